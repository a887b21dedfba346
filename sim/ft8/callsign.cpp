#include "sim/ft8/callsign.hpp"

#include <algorithm>

namespace ferrow::sim {
namespace {

constexpr std::string_view kCallAlphabet = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ/";
constexpr std::string_view kFirst = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kSecond = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kLast = " ABCDEFGHIJKLMNOPQRSTUVWXYZ";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isLetter(char c) {
    return c >= 'A' && c <= 'Z';
}

/// The call in its six places, or empty.
std::string sixPlaces(std::string_view call) {
    for (const std::size_t digit : {std::size_t{2}, std::size_t{1}}) {
        if (call.size() <= digit + 1 || call.size() > digit + 4 || !isDigit(call[digit]))
            continue;
        const std::string_view prefix = call.substr(0, digit);
        const std::string_view suffix = call.substr(digit + 1);
        const bool fits =
            std::all_of(prefix.begin(), prefix.end(), [](char c) { return isDigit(c) || isLetter(c); }) &&
            std::any_of(prefix.begin(), prefix.end(), isLetter) &&
            std::all_of(suffix.begin(), suffix.end(), isLetter) && call[0] != 'Q';
        if (!fits)
            continue;
        std::string places = (digit == 1 ? " " : "") + std::string(call);
        places.resize(6, ' ');
        return places;
    }
    return {};
}

std::optional<std::uint64_t> base38(std::string_view elevenCharacters) {
    std::uint64_t n = 0;
    for (const char c : elevenCharacters) {
        const auto at = kCallAlphabet.find(c);
        if (at == std::string_view::npos)
            return std::nullopt;
        n = n * 38 + at;
    }
    return n;
}

} // namespace

bool isBracketed(std::string_view word) {
    return word.size() > 2 && word.front() == '<' && word.back() == '>';
}

std::string_view bare(std::string_view word) {
    return isBracketed(word) ? word.substr(1, word.size() - 2) : word;
}

bool isStandardCall(std::string_view call) {
    return !sixPlaces(call).empty();
}

std::optional<std::uint32_t> packCall28(std::string_view word) {
    if (isBracketed(word))
        return kTokens + hashCall(bare(word), 22);
    const std::string c = sixPlaces(word);
    if (c.empty())
        return std::nullopt;
    std::size_t n = kFirst.find(c[0]);
    n = n * 36 + kSecond.find(c[1]);
    n = n * 10 + static_cast<std::size_t>(c[2] - '0');
    for (std::size_t i = 3; i < 6; ++i)
        n = n * 27 + kLast.find(c[i]);
    return static_cast<std::uint32_t>(n) + kTokens + kHashes;
}

std::optional<std::uint64_t> packCall58(std::string_view call) {
    if (call.size() < 3 || call.size() > 11 || call.find(' ') != std::string_view::npos)
        return std::nullopt;
    return base38(std::string(11 - call.size(), ' ') + std::string(call));
}

std::uint32_t hashCall(std::string_view call, int bits) {
    std::string padded(call);
    padded.resize(11, ' ');
    const std::uint64_t x = 47055833459ull * base38(padded).value_or(0);
    return static_cast<std::uint32_t>(x >> (64 - bits));
}

} // namespace ferrow::sim
