#include "sim/ft8/message.hpp"

#include "sim/ft8/callsign.hpp"
#include "sim/ft8/exchanges.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <vector>

namespace ferrow::sim {
namespace {

using Words = std::vector<std::string>;
using Packed = std::optional<Payload>;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isLetter(char c) {
    return c >= 'A' && c <= 'Z';
}

template <typename Test>
bool all(std::string_view text, Test test) {
    return !text.empty() && std::all_of(text.begin(), text.end(), test);
}

std::optional<int> decimal(std::string_view text) {
    int value = 0;
    if (!all(text, isDigit) ||
        std::from_chars(text.data(), text.data() + text.size(), value).ec != std::errc{})
        return std::nullopt;
    return value;
}

/// "+05", "-11" as dB.
std::optional<int> signedReport(std::string_view text) {
    if (text.size() != 3 || (text[0] != '+' && text[0] != '-'))
        return std::nullopt;
    const auto size = decimal(text.substr(1));
    if (!size)
        return std::nullopt;
    return text[0] == '-' ? -*size : *size;
}

std::optional<unsigned> grid4(std::string_view text) {
    const auto field = [](char c) { return c >= 'A' && c <= 'R'; };
    if (text.size() != 4 || !field(text[0]) || !field(text[1]) || !isDigit(text[2]) || !isDigit(text[3]))
        return std::nullopt;
    return static_cast<unsigned>((text[0] - 'A') * 1800 + (text[1] - 'A') * 100 + (text[2] - '0') * 10 +
                                 (text[3] - '0'));
}

std::optional<unsigned> grid6(std::string_view text) {
    const auto square = grid4(text.substr(0, 4));
    const auto sub = [](char c) { return c >= 'A' && c <= 'X'; };
    if (text.size() != 6 || !square || !sub(text[4]) || !sub(text[5]))
        return std::nullopt;
    return (*square * 24 + static_cast<unsigned>(text[4] - 'A')) * 24 + static_cast<unsigned>(text[5] - 'A');
}

/// Takes an "R" at words[at], moving on past it.
unsigned takeRoger(const Words& words, std::size_t& at) {
    if (at >= words.size() || words[at] != "R")
        return 0;
    ++at;
    return 1;
}

Packed packTelemetry(const Words& words) {
    if (words.size() != 1 || words[0].size() < 14 || words[0].size() > 18)
        return std::nullopt;
    unsigned __int128 value = 0;
    for (const char c : words[0]) {
        if (!isDigit(c) && !(c >= 'A' && c <= 'F'))
            return std::nullopt;
        value = value * 16 + static_cast<unsigned>(isDigit(c) ? c - '0' : c - 'A' + 10);
    }
    if (value >> 71)
        return std::nullopt;
    Payload bits;
    BitWriter(bits).put(value, 71).put(5, 3).put(0, 3);
    return bits;
}

Packed packDxpedition(const Words& words) {
    if (words.size() != 5 || words[1] != "RR73;" || !isBracketed(words[3]))
        return std::nullopt;
    const auto a = packCall28(words[0]);
    const auto b = packCall28(words[2]);
    const auto report = signedReport(words[4]);
    if (!a || !b || !report || *report < -30 || *report > 32 || *report % 2 != 0)
        return std::nullopt;
    Payload bits;
    BitWriter(bits)
        .put(*a, 28)
        .put(*b, 28)
        .put(hashCall(bare(words[3]), 10), 10)
        .put(static_cast<unsigned>((*report + 30) / 2), 5)
        .put(1, 3)
        .put(0, 3);
    return bits;
}

Packed packRoundup(const Words& words) {
    std::size_t at = 0;
    const unsigned thanks = !words.empty() && words[0] == "TU;" ? 1 : 0;
    at += thanks;
    if (words.size() < at + 4)
        return std::nullopt;
    const auto a = packCall28(words[at]);
    const auto b = packCall28(words[at + 1]);
    at += 2;
    const unsigned roger = takeRoger(words, at);
    if (!a || !b || words.size() != at + 2)
        return std::nullopt;
    const std::string& rst = words[at];
    if (rst.size() != 3 || rst[0] != '5' || rst[2] != '9' || rst[1] < '2' || rst[1] > '9')
        return std::nullopt;
    const std::string& exchange = words[at + 1];
    unsigned number = 0;
    if (const auto serial = decimal(exchange);
        serial && exchange.size() == 4 && *serial >= 1 && *serial <= 7999)
        number = static_cast<unsigned>(*serial);
    else if (const int index = roundupIndex(exchange); index > 0)
        number = 8000 + static_cast<unsigned>(index);
    else
        return std::nullopt;
    Payload bits;
    BitWriter(bits)
        .put(thanks, 1)
        .put(*a, 28)
        .put(*b, 28)
        .put(roger, 1)
        .put(static_cast<unsigned>(rst[1] - '2'), 3)
        .put(number, 13)
        .put(3, 3);
    return bits;
}

Packed packFieldDay(const Words& words) {
    if (words.size() < 4)
        return std::nullopt;
    const auto a = packCall28(words[0]);
    const auto b = packCall28(words[1]);
    std::size_t at = 2;
    const unsigned roger = takeRoger(words, at);
    if (!a || !b || words.size() != at + 2 || words[at].size() < 2)
        return std::nullopt;
    const char letter = words[at].back();
    const auto transmitters = decimal(std::string_view(words[at]).substr(0, words[at].size() - 1));
    const int section = fieldDayIndex(words[at + 1]);
    if (!transmitters || *transmitters < 1 || *transmitters > 32 || letter < 'A' || letter > 'H' ||
        section == 0)
        return std::nullopt;
    const bool many = *transmitters > 16;
    Payload bits;
    BitWriter(bits)
        .put(*a, 28)
        .put(*b, 28)
        .put(roger, 1)
        .put(static_cast<unsigned>(*transmitters - (many ? 17 : 1)), 4)
        .put(static_cast<unsigned>(letter - 'A'), 3)
        .put(static_cast<unsigned>(section), 7)
        .put(many ? 4 : 3, 3)
        .put(0, 3);
    return bits;
}

Packed packEuVhf(const Words& words) {
    if (words.size() < 4 || !isBracketed(words[0]) || !isBracketed(words[1]))
        return std::nullopt;
    std::size_t at = 2;
    const unsigned roger = takeRoger(words, at);
    if (words.size() != at + 2 || words[at].size() != 6)
        return std::nullopt;
    const auto number = decimal(words[at]);
    const auto grid = grid6(words[at + 1]);
    if (!number || !grid || *number < 520000 || *number >= 600000 || *number % 10000 < 1 ||
        *number % 10000 > 2047)
        return std::nullopt;
    Payload bits;
    BitWriter(bits)
        .put(hashCall(bare(words[0]), 12), 12)
        .put(hashCall(bare(words[1]), 22), 22)
        .put(roger, 1)
        .put(static_cast<unsigned>(*number / 10000 - 52), 3)
        .put(static_cast<unsigned>(*number % 10000), 11)
        .put(*grid, 25)
        .put(5, 3);
    return bits;
}

/// A 28-bit call that may end in /R or /P.
struct SuffixedCall {
    std::uint32_t number;
    char suffix; // 'R', 'P' or 0
};

std::optional<SuffixedCall> suffixedCall(const std::string& word) {
    char suffix = 0;
    std::string call = word;
    if (!isBracketed(word) && word.size() > 2 && word[word.size() - 2] == '/' &&
        (word.back() == 'R' || word.back() == 'P')) {
        suffix = word.back();
        call.resize(call.size() - 2);
    }
    const auto number = packCall28(call);
    if (!number)
        return std::nullopt;
    return SuffixedCall{*number, suffix};
}

/// DE, QRZ, CQ and CQ with a number or letters behind, moving on past the words used.
std::optional<std::uint32_t> takeToken(const Words& words, std::size_t& at) {
    if (words[0] == "DE" || words[0] == "QRZ") {
        at = 1;
        return words[0] == "DE" ? 0u : 1u;
    }
    if (words[0] != "CQ")
        return std::nullopt;
    at = 1;
    if (words.size() < 3)
        return 2;
    const std::string& word = words[1];
    if (const auto number = decimal(word); number && word.size() == 3) {
        at = 2;
        return 3 + static_cast<std::uint32_t>(*number);
    }
    if (word.size() <= 4 && all(word, isLetter)) {
        at = 2;
        std::uint32_t m = 0;
        for (const char c : word)
            m = m * 27 + static_cast<std::uint32_t>(c - 'A' + 1);
        return 1003 + m;
    }
    return 2;
}

/// What stands behind the calls of a standard message.
struct Tail {
    unsigned roger;
    unsigned g15;
};

std::optional<Tail> standardTail(const Words& words, std::size_t at) {
    if (at == words.size())
        return Tail{0, 32401};
    const unsigned roger = takeRoger(words, at);
    if (words.size() != at + 1)
        return std::nullopt;
    const std::string& word = words[at];
    if (const auto grid = grid4(word))
        return Tail{roger, *grid};
    if (roger)
        return std::nullopt;
    if (word == "RRR")
        return Tail{0, 32402};
    if (word == "73")
        return Tail{0, 32404};
    const bool rogered = word.size() == 4 && word[0] == 'R';
    const auto report = signedReport(rogered ? std::string_view(word).substr(1) : std::string_view(word));
    if (!report || *report < -50 || *report > 50)
        return std::nullopt;
    return Tail{rogered ? 1u : 0u, static_cast<unsigned>(32435 + *report + (*report < -30 ? 101 : 0))};
}

Packed packStandard(const Words& words) {
    if (words.size() < 2)
        return std::nullopt;
    std::size_t at = 0;
    std::optional<SuffixedCall> a;
    if (const auto token = takeToken(words, at)) {
        a = SuffixedCall{*token, 0};
    } else {
        a = suffixedCall(words[0]);
        at = 1;
    }
    if (!a || at >= words.size())
        return std::nullopt;
    const bool calling = a->number >= 2 && a->number < kTokens;
    const auto b = suffixedCall(words[at]);
    const auto tail = standardTail(words, at + 1);
    if (!b || !tail || (calling && isBracketed(words[at])) ||
        (isBracketed(words[0]) && isBracketed(words[at])))
        return std::nullopt;
    if (calling && (tail->roger || tail->g15 > 32401))
        return std::nullopt;
    if (a->suffix && b->suffix && a->suffix != b->suffix)
        return std::nullopt;
    const bool portable = a->suffix == 'P' || b->suffix == 'P';
    Payload bits;
    BitWriter(bits)
        .put(a->number, 28)
        .put(a->suffix ? 1 : 0, 1)
        .put(b->number, 28)
        .put(b->suffix ? 1 : 0, 1)
        .put(tail->roger, 1)
        .put(tail->g15, 15)
        .put(portable ? 2 : 1, 3);
    return bits;
}

Packed packNonstandard(const Words& words) {
    if (words.size() < 2 || words.size() > 3)
        return std::nullopt;
    Payload bits;
    if (words[0] == "CQ") {
        const auto call = packCall58(words[1]);
        if (words.size() != 2 || !call)
            return std::nullopt;
        BitWriter(bits)
            .put(hashCall(words[1], 12), 12)
            .put(*call, 58)
            .put(0, 1)
            .put(0, 2)
            .put(1, 1)
            .put(4, 3);
        return bits;
    }
    static const Words kClosing = {"", "RRR", "RR73", "73"};
    const auto closing = std::find(kClosing.begin(), kClosing.end(), words.size() == 3 ? words[2] : "");
    if (closing == kClosing.end())
        return std::nullopt;
    // The hashed call is the one in brackets, or else the one that would have gone into 28 bits.
    bool firstHashed = isBracketed(words[0]);
    if (firstHashed == isBracketed(words[1])) {
        if (firstHashed || isStandardCall(words[0]) == isStandardCall(words[1]))
            return std::nullopt;
        firstHashed = isStandardCall(words[0]);
    }
    const auto call = packCall58(firstHashed ? words[1] : words[0]);
    if (!call)
        return std::nullopt;
    BitWriter(bits)
        .put(hashCall(bare(firstHashed ? words[0] : words[1]), 12), 12)
        .put(*call, 58)
        .put(firstHashed ? 0 : 1, 1)
        .put(static_cast<unsigned>(closing - kClosing.begin()), 2)
        .put(0, 1)
        .put(4, 3);
    return bits;
}

Packed packFreeText(const std::string& text) {
    constexpr std::string_view kAlphabet = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ+-./?";
    if (text.empty() || text.size() > 13)
        return std::nullopt;
    unsigned __int128 value = 0;
    for (const char c : text) {
        const auto at = kAlphabet.find(c);
        if (at == std::string_view::npos)
            return std::nullopt;
        value = value * 42 + at;
    }
    Payload bits;
    BitWriter(bits).put(value, 71).put(0, 3).put(0, 3);
    return bits;
}

} // namespace

Payload packMessage(const std::string& text) {
    Words words;
    std::string joined;
    for (const char c : text + " ") {
        if (!std::isspace(static_cast<unsigned char>(c))) {
            joined += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        } else if (!joined.empty()) {
            words.push_back(std::move(joined));
            joined.clear();
        }
    }
    for (const auto& word : words)
        joined += (joined.empty() ? "" : " ") + word;
    for (const auto pack :
         {packTelemetry, packDxpedition, packRoundup, packFieldDay, packEuVhf, packStandard, packNonstandard})
        if (const Packed bits = pack(words))
            return *bits;
    if (const Packed bits = packFreeText(joined))
        return *bits;
    throw std::invalid_argument("no message form holds \"" + text + "\"");
}

} // namespace ferrow::sim
