#include "modes/morse.hpp"

#include <array>
#include <utility>

namespace ferrow {

namespace {

using Row = std::pair<char, std::string_view>;

constexpr Row kRows[] = {
    {'a', ". -   "},         {'b', "- . . .   "},     {'c', "- . - .   "},       {'d', "- . .   "},
    {'e', ".   "},           {'f', ". . - .   "},     {'g', "- - .   "},         {'h', ". . . .   "},
    {'i', ". .   "},         {'j', ". - - -   "},     {'k', "- . -   "},         {'l', ". - . .   "},
    {'m', "- -   "},         {'n', "- .   "},         {'o', "- - -   "},         {'p', ". - - .   "},
    {'q', "- - . -   "},     {'r', ". - .   "},       {'s', ". . .   "},         {'t', "-   "},
    {'u', ". . -   "},       {'v', ". . . -   "},     {'w', ". - -   "},         {'x', "- . . -   "},
    {'y', "- . - -   "},     {'z', "- - . .   "},     {'0', "- - - - -   "},     {'1', ". - - - -   "},
    {'2', ". . - - -   "},   {'3', ". . . - -   "},   {'4', ". . . . -   "},     {'5', ". . . . .   "},
    {'6', "- . . . .   "},   {'7', "- - . . .   "},   {'8', "- - - . .   "},     {'9', "- - - - .   "},
    {' ', "       "},        {'.', ". - . - . -   "}, {',', "- - . . - -   "},   {'?', ". . - - . .   "},
    {'!', "- . - . - -   "}, {'=', "- . . . -   "},   {'~', ". -   . -   "},     {'<', ". - . . .   "},
    {'>', ". - . - .   "},   {'%', ". . . - . -   "}, {'+', "- . - - .   "},     {'&', ". . - . -   "},
    {'{', ". . . . - -   "}, {'}', ". . . - .   "},   {'#', "- . . . - . -   "}, {'@', kMorseIdle},
};

constexpr auto kPatterns = [] {
    std::array<std::string_view, 256> table{};
    for (const auto& [character, pattern] : kRows) {
        table[static_cast<unsigned char>(character)] = pattern;
        if (character >= 'a' && character <= 'z')
            table[static_cast<unsigned char>(character - 'a' + 'A')] = pattern;
    }
    return table;
}();

// By number of elements, from code 0 upward.
constexpr std::string_view kCharacters[] = {
    "", "et", "ianm", "surwdkgo", "hvf l pjbxcyzq  ", "54 3   2       16       7   8 90"};

constexpr auto kDecode = [] {
    std::array<char, 256> table{};
    table.fill(' ');
    for (std::size_t elements = 1; elements < std::size(kCharacters); ++elements)
        for (std::size_t code = 0; code < kCharacters[elements].size(); ++code)
            table[elements * 32 + code] = kCharacters[elements][code];
    return table;
}();

} // namespace

std::string_view morsePattern(unsigned char character) noexcept {
    return kPatterns[character];
}

char morseCharacter(unsigned elements, unsigned code) noexcept {
    const unsigned index = elements * 32 | code;
    return index < kDecode.size() ? kDecode[index] : ' ';
}

} // namespace ferrow
