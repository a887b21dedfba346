#include "modes/psk/morse_table.hpp"

#include <string_view>

namespace ferrow {

namespace {

constexpr unsigned kDot = 1, kDash = 2, kEnd = 3;

constexpr std::uint16_t packed(std::string_view elements) {
    unsigned word = 0;
    int place = 14;
    for (const char element : elements) {
        word |= (element == '.' ? kDot : element == '-' ? kDash : kEnd) << place;
        place -= 2;
    }
    return static_cast<std::uint16_t>(elements.empty() ? 0 : word | kEnd << place);
}

// International Morse code in the order of the characters; "/" stands for a further end.
constexpr std::array<std::string_view, kMorseLetters> kElements = {
    "/",      "-.-.--", ".-..-.", "",       "...-..-", "",       ".-...",  ".----.", // space ! " # $ % & '
    "-.--.",  "-.--.-", "",       ".-.-.",  "--..--",  "-....-", ".-.-.-", "-..-.",  // ( ) * + , - . /
    "-----",  ".----",  "..---",  "...--",  "....-",   ".....",  "-....",  "--...",  // 0 to 7
    "---..",  "----.",  "---...", "-.-.-.", "",        "-...-",  "",       "..--..", // 8 9 : ; < = > ?
    ".--.-.", ".-",     "-...",   "-.-.",   "-..",     ".",      "..-.",   "--.",    // @ A to G
    "....",   "..",     ".---",   "-.-",    ".-..",    "--",     "-.",     "---",    // H to O
    ".--.",   "--.-",   ".-.",    "...",    "-",       "..-",    "...-",   ".--",    // P to W
    "-..-",   "-.--",   "--..",                                                      // X Y Z
};

constexpr auto packAll() {
    std::array<std::uint16_t, kMorseLetters> words{};
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = packed(kElements[i]);
    return words;
}

} // namespace

const std::array<std::uint16_t, kMorseLetters> kMorseWords = packAll();

std::uint16_t morseWord(char character) noexcept {
    const char upper =
        character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
    const int place = upper - kMorseFirst;
    return place >= 0 && place < kMorseLetters ? kMorseWords[static_cast<std::size_t>(place)] : 0;
}

} // namespace ferrow
