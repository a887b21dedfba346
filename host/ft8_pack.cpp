#include "host/ft8_pack.hpp"

#include "host/failure.hpp"
#include "host/ft8_sections.hpp"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <vector>

namespace ferrow {
namespace {

using Packed = std::optional<Ft8MessageBits>;
using Words = std::vector<std::string>;
using Iterator = Words::const_iterator;

constexpr unsigned kNoRemark = 32401;
constexpr unsigned kReportZero = 32435;
constexpr std::size_t kLongestFreeText = 13, kFewestTelemetryDigits = 14, kMostTelemetryDigits = 18;
constexpr std::string_view kFreeAlphabet = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ+-./?";

// The message as a row of fields, written front to back.
class Fields {
public:
    Fields& add(std::uint64_t value, unsigned width) {
        for (unsigned bit = width; bit-- > 0; ++at_)
            if ((value >> bit) & 1)
                bytes_[at_ / 8] = static_cast<std::uint8_t>(bytes_[at_ / 8] | 0x80 >> at_ % 8);
        return *this;
    }
    Packed type(unsigned i3) { return add(i3, 3).bytes_; }
    Packed subtype(unsigned n3) { return add(n3, 3).type(0); }

private:
    Ft8MessageBits bytes_{};
    unsigned at_ = 0;
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::optional<int> number(std::string_view text) {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || text.empty())
        return std::nullopt;
    return value;
}

// A word that names a station.
struct Station {
    std::string call; // without < >, /R and /P
    char suffix = 0;  // R or P: may go as a flag
    bool bracketed = false;
    std::optional<std::uint32_t> standard; // of a call that fits 28 bits in full

    std::string full() const { return suffix ? call + "/" + suffix : call; }
    bool hashed() const { return bracketed || !standard; }
    // In a field that has no flag for the suffix.
    std::uint32_t field() const { return hashed() || suffix ? packHashedCall(full()) : *standard; }
};

std::optional<Station> stationOf(std::string word) {
    Station station;
    if (word.size() > 2 && word.front() == '<' && word.back() == '>') {
        word = word.substr(1, word.size() - 2);
        station.bracketed = true;
    }
    const auto letters = std::count_if(word.begin(), word.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    const auto digits = std::count_if(word.begin(), word.end(), isDigit);
    if (word.size() < 3 || letters == 0 || digits == 0 || !packCall58(word))
        return std::nullopt;
    if (!station.bracketed && (word.ends_with("/R") || word.ends_with("/P"))) {
        const std::string base = word.substr(0, word.size() - 2);
        if (packStandardCall(base)) {
            station.suffix = word.back();
            word = base;
        }
    }
    station.call = word;
    station.standard = packStandardCall(word);
    return station;
}

std::optional<unsigned> gridOf(std::string_view text) {
    if (text.size() != 4 || text[0] < 'A' || text[0] > 'R' || text[1] < 'A' || text[1] > 'R' ||
        !isDigit(text[2]) || !isDigit(text[3]))
        return std::nullopt;
    const auto of = [&](std::size_t i, char zero) { return static_cast<unsigned>(text[i] - zero); };
    return ((of(0, 'A') * 18 + of(1, 'A')) * 10 + of(2, '0')) * 10 + of(3, '0');
}

// A sign and one or two digits.
std::optional<int> reportOf(std::string_view text) {
    if (text.size() < 2 || text.size() > 3 || (text[0] != '+' && text[0] != '-'))
        return std::nullopt;
    const auto value = number(text.substr(1));
    if (!value || !isDigit(text[1]))
        return std::nullopt;
    return text[0] == '-' ? -*value : *value;
}

// What stands behind the two calls: the R flag and the 15 bits.
struct Remark {
    bool roger = false;
    unsigned g15 = kNoRemark;
};

std::optional<Remark> remarkOf(Iterator word, Iterator end) {
    if (word == end)
        return Remark{};
    Remark remark;
    std::string text = *word;
    if (text == "R" && end - word == 2) {
        remark.roger = true;
        const auto grid = gridOf(word[1]);
        if (!grid)
            return std::nullopt;
        remark.g15 = *grid;
        return remark;
    }
    if (end - word != 1)
        return std::nullopt;
    if (text == "RRR")
        return Remark{false, 32402};
    if (text == "73")
        return Remark{false, 32404};
    if (const auto grid = gridOf(text)) // RR73 too
        return Remark{false, *grid};
    if (text.starts_with("R")) {
        remark.roger = true;
        text.erase(0, 1);
    }
    const auto report = reportOf(text);
    if (!report || *report < -50 || *report > 49)
        return std::nullopt;
    remark.g15 = kReportZero + static_cast<unsigned>(*report < -30 ? *report + 101 : *report);
    return remark;
}

// CQ, CQ with a word or number, DE or QRZ at the front; moves `word` behind it.
std::optional<std::uint32_t> tokenAt(Iterator& word, Iterator end) {
    if (*word == "CQ" && end - word > 2) {
        if (const auto token = packToken("CQ " + word[1]); token && stationOf(word[2])) {
            word += 2;
            return token;
        }
    }
    const auto token = packToken(*word);
    if (token)
        ++word;
    return token;
}

Packed standard(const Words& words) {
    Iterator word = words.begin();
    const auto token = tokenAt(word, words.end());
    std::optional<Station> to;
    if (!token) {
        to = stationOf(*word++);
        if (!to)
            return std::nullopt;
    }
    if (word == words.end())
        return std::nullopt;
    const auto from = stationOf(*word++);
    const auto remark = remarkOf(word, words.end());
    if (!from || !remark)
        return std::nullopt;
    // A CQ says who calls, and has at most a grid behind.
    if (token && (from->hashed() || remark->roger || remark->g15 > kNoRemark))
        return std::nullopt;
    if (to && to->suffix && from->suffix && to->suffix != from->suffix)
        return std::nullopt;
    const bool portable = from->suffix == 'P' || (to && to->suffix == 'P');
    const auto field = [](const Station& s) { return s.hashed() ? packHashedCall(s.full()) : *s.standard; };
    return Fields()
        .add(token ? *token : field(*to), 28)
        .add(to && to->suffix, 1)
        .add(field(*from), 28)
        .add(from->suffix != 0, 1)
        .add(remark->roger, 1)
        .add(remark->g15, 15)
        .type(portable ? 2 : 1);
}

// With a nonstandard call in full, and the other one as a hash.
Packed nonstandard(const Words& words) {
    if (words.size() < 2)
        return std::nullopt;
    const auto second = stationOf(words[1]);
    if (!second)
        return std::nullopt;
    if (words[0] == "CQ") {
        if (words.size() > 2 || second->standard || second->bracketed)
            return std::nullopt;
        return Fields()
            .add(callHash12(second->full()), 12)
            .add(*packCall58(second->call), 58)
            .add(0, 3)
            .add(1, 1)
            .type(4);
    }
    const auto first = stationOf(words[0]);
    constexpr std::string_view kClosings[] = {"", "RRR", "RR73", "73"};
    const std::string_view last = words.size() > 2 ? std::string_view(words[2]) : "";
    const auto* closing = std::find(std::begin(kClosings), std::end(kClosings), last);
    if (!first || words.size() > 3 || closing == std::end(kClosings))
        return std::nullopt;
    const auto plain = [](const Station& s) { return !s.bracketed && !s.standard; };
    if (plain(*first) == plain(*second))
        return std::nullopt;
    const bool flip = plain(*first);
    const Station& full = flip ? *first : *second;
    const Station& hashed = flip ? *second : *first;
    return Fields()
        .add(callHash12(hashed.full()), 12)
        .add(*packCall58(full.call), 58)
        .add(flip, 1)
        .add(static_cast<unsigned>(closing - std::begin(kClosings)), 2)
        .add(0, 1)
        .type(4);
}

Packed dxpedition(const Words& words) {
    if (words.size() != 5 || words[1] != "RR73;")
        return std::nullopt;
    const auto done = stationOf(words[0]), next = stationOf(words[2]), sender = stationOf(words[3]);
    const auto report = reportOf(words[4]);
    if (!done || !next || !sender || !report || *report < -30 || *report > 32 || *report % 2 != 0)
        return std::nullopt;
    return Fields()
        .add(done->field(), 28)
        .add(next->field(), 28)
        .add(callHash10(sender->full()), 10)
        .add(static_cast<unsigned>(*report + 30) / 2, 5)
        .subtype(1);
}

// The two calls at the front and an R behind them, as the contest exchanges have them.
struct Exchange {
    Station to, from;
    bool roger = false;
    Words rest;
};

std::optional<Exchange> exchangeOf(Iterator word, Iterator end, std::size_t rest) {
    if (end - word < 3)
        return std::nullopt;
    const auto to = stationOf(*word), from = stationOf(word[1]);
    if (!to || !from)
        return std::nullopt;
    Exchange exchange{*to, *from, word[2] == "R", {}};
    exchange.rest.assign(word + (exchange.roger ? 3 : 2), end);
    if (exchange.rest.size() != rest)
        return std::nullopt;
    return exchange;
}

Packed fieldDay(const Words& words) {
    const auto exchange = exchangeOf(words.begin(), words.end(), 2);
    if (!exchange)
        return std::nullopt;
    const std::string& entry = exchange->rest[0];
    const unsigned section = fieldDaySectionNumber(exchange->rest[1]);
    const auto transmitters = number(std::string_view(entry).substr(0, entry.size() - 1));
    if (section == 0 || entry.front() == '0' || !transmitters || *transmitters < 1 || *transmitters > 32 ||
        entry.back() < 'A' || entry.back() > 'H')
        return std::nullopt;
    const bool many = *transmitters > 16;
    return Fields()
        .add(exchange->to.field(), 28)
        .add(exchange->from.field(), 28)
        .add(exchange->roger, 1)
        .add(static_cast<unsigned>(*transmitters - (many ? 17 : 1)), 4)
        .add(static_cast<unsigned>(entry.back() - 'A'), 3)
        .add(section, 7)
        .subtype(many ? 4 : 3);
}

Packed roundup(const Words& words) {
    const bool thanks = words[0] == "TU;";
    const auto exchange = exchangeOf(words.begin() + thanks, words.end(), 2);
    if (!exchange)
        return std::nullopt;
    const std::string& rst = exchange->rest[0];
    const std::string& sent = exchange->rest[1];
    if (rst.size() != 3 || rst[0] != '5' || rst[1] < '2' || rst[1] > '9' || rst[2] != '9')
        return std::nullopt;
    unsigned field = 0;
    if (const auto serial = number(sent); serial && sent.size() == 4 && *serial >= 1 && *serial <= 7999)
        field = static_cast<unsigned>(*serial);
    else if (const unsigned multiplier = roundupMultiplierNumber(sent); multiplier != 0)
        field = 8000 + multiplier;
    else
        return std::nullopt;
    return Fields()
        .add(thanks, 1)
        .add(exchange->to.field(), 28)
        .add(exchange->from.field(), 28)
        .add(exchange->roger, 1)
        .add(static_cast<unsigned>(rst[1] - '2'), 3)
        .add(field, 13)
        .type(3);
}

Packed europeanVhf(const Words& words) {
    const auto exchange = exchangeOf(words.begin(), words.end(), 2);
    if (!exchange)
        return std::nullopt;
    const std::string& report = exchange->rest[0];
    const std::string& place = exchange->rest[1];
    if (report.size() != 6 || place.size() != 6 || !std::all_of(report.begin(), report.end(), isDigit))
        return std::nullopt;
    const auto strength = number(std::string_view(report).substr(0, 2));
    const auto serial = number(std::string_view(report).substr(2));
    const auto grid = gridOf(std::string_view(place).substr(0, 4));
    const auto fine = [&](std::size_t i) { return static_cast<unsigned>(place[i] - 'A'); };
    if (*strength < 52 || *strength > 59 || *serial < 1 || *serial > 2047 || !grid || fine(4) > 23 ||
        fine(5) > 23)
        return std::nullopt;
    return Fields()
        .add(callHash12(exchange->to.full()), 12)
        .add(callHash22(exchange->from.full()), 22)
        .add(exchange->roger, 1)
        .add(static_cast<unsigned>(*strength - 52), 3)
        .add(static_cast<unsigned>(*serial), 11)
        .add((*grid * 24 + fine(4)) * 24 + fine(5), 25)
        .type(5);
}

Packed telemetry(const Words& words) {
    std::string digits = words[0];
    if (words.size() != 1 || digits.size() < kFewestTelemetryDigits || digits.size() > kMostTelemetryDigits ||
        digits.find_first_not_of("0123456789ABCDEF") != std::string::npos)
        return std::nullopt;
    digits.insert(0, kMostTelemetryDigits - digits.size(), '0');
    if (digits[0] > '7')
        return std::nullopt;
    const auto value = [&](std::size_t at, std::size_t count) {
        std::uint64_t bits = 0;
        std::from_chars(digits.data() + at, digits.data() + at + count, bits, 16);
        return bits;
    };
    return Fields().add(value(0, 9), 35).add(value(9, 9), 36).subtype(5);
}

Packed freeText(const std::string& text) {
    if (text.empty() || text.size() > kLongestFreeText ||
        text.find_first_not_of(kFreeAlphabet) != std::string::npos)
        return std::nullopt;
    std::array<unsigned, 9> bytes{}; // 71 bits are too many for machine arithmetic
    for (const char c : text) {
        auto carry = static_cast<unsigned>(kFreeAlphabet.find(c));
        for (std::size_t i = bytes.size(); i-- > 0; carry >>= 8) {
            carry += bytes[i] * static_cast<unsigned>(kFreeAlphabet.size());
            bytes[i] = carry & 0xFF;
        }
    }
    Fields fields;
    fields.add(bytes[0], 7);
    for (std::size_t i = 1; i < bytes.size(); ++i)
        fields.add(bytes[i], 8);
    return fields.subtype(0);
}

Words split(std::string_view text) {
    Words words;
    std::string word;
    for (char c : text) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
        if (c != ' ') {
            word += c;
        } else if (!word.empty()) {
            words.push_back(std::move(word));
            word.clear();
        }
    }
    if (!word.empty())
        words.push_back(std::move(word));
    return words;
}

} // namespace

Ft8MessageBits packFt8Message(std::string_view text) {
    const Words words = split(text);
    if (words.empty())
        throw UsageError("an empty message cannot be sent");
    for (const auto form : {dxpedition, fieldDay, telemetry, nonstandard, standard, roundup, europeanVhf})
        if (const Packed packed = form(words))
            return *packed;
    std::string plain = words[0];
    for (std::size_t i = 1; i < words.size(); ++i)
        plain += " " + words[i];
    if (const Packed packed = freeText(plain))
        return *packed;
    throw UsageError(
        fmt::format("\"{}\" fits no form of message; a free text has at most {} letters, digits, "
                    "blanks and + - . / ?",
                    text, kLongestFreeText));
}

} // namespace ferrow
