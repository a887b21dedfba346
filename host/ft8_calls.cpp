#include "host/ft8_calls.hpp"

#include <algorithm>

namespace ferrow {
namespace {

constexpr std::string_view kAlphabet38 = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ/";
constexpr std::string_view kAlphabet37 = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kAlphabet36 = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kAlphabet27 = " ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kDigits = "0123456789";
constexpr std::uint32_t kTokens = 2063592;
constexpr std::uint32_t kHashes = 4194304;
constexpr std::uint32_t kFirstNumberedCq = 3;
constexpr std::uint32_t kFirstLetteredCq = 1003;
constexpr std::uint32_t kFirstUnusedToken = 532444;
constexpr std::size_t kLongestCall = 11;

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

char lastDigit(std::uint32_t& value, std::string_view alphabet) {
    const auto base = static_cast<std::uint32_t>(alphabet.size());
    const char digit = alphabet[value % base];
    value /= base;
    return digit;
}

bool isLetter(char c) {
    return c >= 'A' && c <= 'Z';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::optional<Call> token(std::uint32_t value) {
    if (value == 0)
        return Call{CallKind::Token, "DE"};
    if (value == 1)
        return Call{CallKind::Token, "QRZ"};
    if (value == 2)
        return Call{CallKind::Cq, "CQ"};
    if (value < kFirstLetteredCq) {
        std::uint32_t number = value - kFirstNumberedCq;
        std::string digits(3, '0');
        for (std::size_t i = 3; i-- > 0;)
            digits[i] = lastDigit(number, kDigits);
        return Call{CallKind::Cq, "CQ " + digits};
    }
    if (value >= kFirstUnusedToken)
        return std::nullopt;
    std::uint32_t letters = value - kFirstLetteredCq;
    char word[4];
    for (std::size_t i = 4; i-- > 0;)
        word[i] = lastDigit(letters, kAlphabet27);
    const std::string_view all(word, 4);
    const auto first = all.find_first_not_of(' ');
    if (first == std::string_view::npos || all.find(' ', first) != std::string_view::npos)
        return std::nullopt;
    return Call{CallKind::Cq, "CQ " + std::string(all.substr(first))};
}

std::optional<Call> standardCall(std::uint32_t value) {
    char c[6];
    c[5] = lastDigit(value, kAlphabet27);
    c[4] = lastDigit(value, kAlphabet27);
    c[3] = lastDigit(value, kAlphabet27);
    c[2] = lastDigit(value, kDigits);
    c[1] = lastDigit(value, kAlphabet36);
    if (value >= kAlphabet37.size())
        return std::nullopt;
    c[0] = kAlphabet37[value];
    const std::string_view call = trim(std::string_view(c, 6));
    if (call.find(' ') != std::string_view::npos || call.size() < 3 || call.front() == 'Q' ||
        !(isLetter(c[0]) || isLetter(c[1])))
        return std::nullopt;
    return Call{CallKind::Standard, std::string(call)};
}

// Adds a digit of base alphabet.size(); false if `c` is not of the alphabet.
template <typename Number>
bool append(Number& value, char c, std::string_view alphabet) {
    const std::size_t place = alphabet.find(c);
    value = value * static_cast<Number>(alphabet.size()) + static_cast<Number>(place);
    return place != std::string_view::npos;
}

} // namespace

std::uint32_t callHash22(std::string_view call) {
    std::uint64_t n = 0;
    for (std::size_t i = 0; i < kLongestCall; ++i) {
        const auto place = kAlphabet38.find(i < call.size() ? call[i] : ' ');
        n = n * 38 + (place == std::string_view::npos ? 0 : place);
    }
    return static_cast<std::uint32_t>((47055833459ULL * n) >> 42);
}

void CallTable::add(std::string_view call) {
    if (call.size() < 3 || call.size() > kLongestCall ||
        call.find_first_not_of(kAlphabet38.substr(1)) != std::string_view::npos)
        return;
    const std::uint32_t hash = callHash22(call);
    by22[hash] = call;
    by12[hash >> 10] = call;
    by10[hash >> 12] = call;
}

std::string CallTable::show(const Calls& calls, std::uint32_t hash) {
    const auto found = calls.find(hash);
    return found == calls.end() ? "<...>" : "<" + found->second + ">";
}

std::optional<Call> call28(std::uint32_t value, const CallTable& table) {
    if (value < kTokens)
        return token(value);
    if (value < kTokens + kHashes)
        return Call{CallKind::Hashed, table.show22(value - kTokens)};
    return standardCall(value - kTokens - kHashes);
}

std::optional<std::string> call58(std::uint64_t value) {
    std::string digits(kLongestCall, ' ');
    for (std::size_t i = kLongestCall; i-- > 0; value /= 38)
        digits[i] = kAlphabet38[value % 38];
    const std::string_view call = trim(digits);
    if (value != 0 || call.empty() || call.find(' ') != std::string_view::npos)
        return std::nullopt;
    return std::string(call);
}

std::optional<std::uint32_t> packToken(std::string_view text) {
    if (text == "DE")
        return 0;
    if (text == "QRZ")
        return 1;
    if (text == "CQ")
        return 2;
    if (!text.starts_with("CQ "))
        return std::nullopt;
    const std::string_view word = text.substr(3);
    std::uint32_t value = 0;
    if (word.size() == 3 && std::all_of(word.begin(), word.end(), isDigit)) {
        for (const char c : word)
            append(value, c, kDigits);
        return kFirstNumberedCq + value;
    }
    if (word.empty() || word.size() > 4 || !std::all_of(word.begin(), word.end(), isLetter))
        return std::nullopt;
    for (const char c : word)
        append(value, c, kAlphabet27);
    return kFirstLetteredCq + value;
}

std::optional<std::uint32_t> packStandardCall(std::string_view call) {
    // the area digit is the third of the six characters, so it may be the second or third of the call
    std::string six(call);
    if (call.size() >= 2 && isDigit(call[1]) && !(call.size() >= 3 && isDigit(call[2])))
        six.insert(six.begin(), ' ');
    if (six.size() > 6)
        return std::nullopt;
    six.resize(6, ' ');
    std::uint32_t value = 0;
    const bool fits = append(value, six[0], kAlphabet37) && append(value, six[1], kAlphabet36) &&
                      append(value, six[2], kDigits) && append(value, six[3], kAlphabet27) &&
                      append(value, six[4], kAlphabet27) && append(value, six[5], kAlphabet27);
    if (!fits)
        return std::nullopt;
    const std::optional<Call> back = standardCall(value); // knows what a call may look like
    if (!back || back->text != call)
        return std::nullopt;
    return kTokens + kHashes + value;
}

std::uint32_t packHashedCall(std::string_view call) {
    return kTokens + callHash22(call);
}

std::optional<std::uint64_t> packCall58(std::string_view call) {
    if (call.empty() || call.size() > kLongestCall)
        return std::nullopt;
    std::uint64_t value = 0;
    for (const char c : call)
        if (c == ' ' || !append(value, c, kAlphabet38))
            return std::nullopt;
    return value;
}

} // namespace ferrow
