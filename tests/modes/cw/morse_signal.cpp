#include "tests/modes/cw/morse_signal.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <random>

namespace ferrow::test {

std::string dotsAndDashes(char character) {
    static const std::map<char, std::string> code{
        {'A', ".-"},    {'B', "-..."},   {'C', "-.-."},   {'D', "-.."},    {'E', "."},     {'F', "..-."},
        {'G', "--."},   {'H', "...."},   {'I', ".."},     {'J', ".---"},   {'K', "-.-"},   {'L', ".-.."},
        {'M', "--"},    {'N', "-."},     {'O', "---"},    {'P', ".--."},   {'Q', "--.-"},  {'R', ".-."},
        {'S', "..."},   {'T', "-"},      {'U', "..-"},    {'V', "...-"},   {'W', ".--"},   {'X', "-..-"},
        {'Y', "-.--"},  {'Z', "--.."},   {'1', ".----"},  {'2', "..---"},  {'3', "...--"}, {'4', "....-"},
        {'5', "....."}, {'6', "-...."},  {'7', "--..."},  {'8', "---.."},  {'9', "----."}, {'0', "-----"},
        {'/', "-..-."}, {'?', "..--.."}, {'.', ".-.-.-"}, {',', "--..--"}, {'=', "-...-"}};
    const auto at = code.find(static_cast<char>(std::toupper(static_cast<unsigned char>(character))));
    return at == code.end() ? "" : at->second;
}

std::vector<std::pair<double, double>> morseMarks(const std::string& text, const Keying& keying) {
    const double dot = 1.2 / keying.wpm;
    std::mt19937_64 random(keying.seed);
    std::uniform_real_distribution<double> share(1 - keying.jitter, 1 + keying.jitter);
    std::vector<std::pair<double, double>> marks;
    double now = keying.lead, gap = 0;
    for (const char character : text) {
        if (character == ' ') {
            gap = 7;
            continue;
        }
        for (const char element : dotsAndDashes(character)) {
            if (!marks.empty())
                now += gap * dot * share(random);
            const double length = (element == '-' ? 3 : 1) * dot * share(random);
            marks.emplace_back(now, now + length);
            now += length;
            gap = 1;
        }
        gap = 3;
    }
    return marks;
}

std::vector<std::complex<float>> morseSignal(const std::string& text, const Keying& keying) {
    const auto marks = morseMarks(text, keying);
    const double end = (marks.empty() ? keying.lead : marks.back().second) + keying.tail;
    std::vector<std::complex<float>> out(static_cast<std::size_t>(end * 48000));
    for (const auto& [from, to] : marks) {
        const auto first = static_cast<std::size_t>(std::max(0.0, (from - keying.edge) * 48000));
        const auto last = std::min(out.size(), static_cast<std::size_t>((to + keying.edge) * 48000));
        for (std::size_t i = first; i < last; ++i) {
            const double now = static_cast<double>(i) / 48000;
            const double inside = std::min(now - from, to - now) / keying.edge + 0.5;
            out[i] =
                static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * std::clamp(inside, 0.0, 1.0)));
        }
    }
    return out;
}

std::string randomGroups(int groups, std::uint64_t seed) {
    static const std::string kinds = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::mt19937_64 random(seed);
    std::string out;
    for (int i = 0; i < groups * 6 - 1; ++i)
        out += i % 6 == 5 ? ' ' : kinds[random() % kinds.size()];
    return out;
}

} // namespace ferrow::test
