#include "modes/baudot.hpp"

namespace ferrow {

namespace {

constexpr std::array<unsigned char, 64> kCharacters{
    0,    'E',           '\n', 'A', ' ', 'S',           'I', 'U',           '\r', 'D', 'R', 'J',          'N',
    'F',  'C',           'K',  'T', 'Z', 'L',           'W', 'H',           'Y',  'P', 'Q', 'O',          'B',
    'G',  kFiguresShift, 'M',  'X', 'V', kLettersShift, 0,   '3',           '\n', '-', ' ', '\'',         '8',
    '7',  '\r',          5,    '4', 7,   ',',           '!', ':',           '(',  '5', '+', ')',          '2',
    0xA3, '6',           '0',  '1', '9', '?',           '&', kFiguresShift, '.',  '/', '=', kLettersShift};

constexpr auto kEntries = [] {
    std::array<int, 256> entries{};
    for (int i = 0; i < 64; ++i) {
        const int code = i & 31, figures = i >> 5;
        const unsigned char character = kCharacters[static_cast<std::size_t>(i)];
        const bool both = kCharacters[static_cast<std::size_t>(i ^ 32)] == character;
        const int entry = (code | 32) * 8 + (both ? kEntryBoth : figures * kEntryFigures);
        entries[character] = entry;
        if (character >= 'A' && character <= 'Z')
            entries[static_cast<std::size_t>(character - 'A' + 'a')] = entry;
    }
    return entries;
}();

} // namespace

constinit const std::array<unsigned char, 64> baudotCharacters = kCharacters;
constinit const std::array<int, 256> baudotEntries = kEntries;

} // namespace ferrow
