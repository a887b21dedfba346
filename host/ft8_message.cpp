#include "host/ft8_message.hpp"

#include "host/ft8_sections.hpp"

#include <cstdio>
#include <cstdlib>

namespace ferrow {
namespace {

using Text = std::optional<std::string>;

constexpr unsigned kGrids = 32400;
constexpr unsigned kNothing = kGrids + 1;
constexpr unsigned kRrr = kGrids + 2;
constexpr unsigned kRr73 = kGrids + 3;
constexpr unsigned k73 = kGrids + 4;
constexpr unsigned kLastReport = kGrids + 105;
constexpr unsigned kLongGrids = 18 * 18 * 100 * 24 * 24;

// The message as a row of fields, read front to back.
class Fields {
public:
    explicit Fields(const Ft8MessageBits& payload, unsigned start = 0) : bytes(payload), at(start) {}

    std::uint64_t take(unsigned width) {
        std::uint64_t value = 0;
        for (; width > 0; --width, ++at)
            value = value << 1 | ((bytes[at / 8] >> (7 - at % 8)) & 1u);
        return value;
    }
    unsigned number(unsigned width) { return static_cast<unsigned>(take(width)); }
    bool flag() { return take(1) != 0; }

private:
    const Ft8MessageBits& bytes;
    unsigned at;
};

unsigned typeOf(const Ft8MessageBits& payload) {
    return Fields(payload, 74).number(3);
}
unsigned subtypeOf(const Ft8MessageBits& payload) {
    return Fields(payload, 71).number(3);
}

std::string report(int db) {
    char text[16];
    std::snprintf(text, sizeof text, "%c%02d", db < 0 ? '-' : '+', std::abs(db));
    return text;
}

std::string fourDigits(unsigned number) {
    char text[16];
    std::snprintf(text, sizeof text, "%04u", number);
    return text;
}

char letter(unsigned n) {
    return static_cast<char>('A' + n);
}
char digit(unsigned n) {
    return static_cast<char>('0' + n);
}

std::string grid4(unsigned g) {
    return {letter(g / 1800), letter(g / 100 % 18), digit(g / 10 % 10), digit(g % 10)};
}

std::string grid6(unsigned g) {
    const unsigned square = g / (24 * 24);
    return grid4(square) + letter(g / 24 % 24) + letter(g % 24);
}

// A call where only stations stand, not CQ and its like.
std::optional<Call> station(std::uint32_t value, const CallTable& table) {
    std::optional<Call> call = call28(value, table);
    if (call && (call->kind == CallKind::Cq || call->kind == CallKind::Token))
        return std::nullopt;
    return call;
}

void heard(const Call& sender, CallTable& table) {
    if (sender.kind == CallKind::Standard)
        table.add(sender.text);
}

// 71 bits as text: thirteen remainders of a number too wide for machine arithmetic.
Text freeText(Fields fields) {
    constexpr const char* alphabet = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ+-./?";
    std::array<unsigned, 9> limbs;
    limbs[0] = fields.number(7);
    for (std::size_t i = 1; i < limbs.size(); ++i)
        limbs[i] = fields.number(8);
    std::string text(13, ' ');
    for (std::size_t i = text.size(); i-- > 0;) {
        unsigned remainder = 0;
        for (unsigned& limb : limbs) {
            const unsigned value = remainder << 8 | limb;
            limb = value / 42;
            remainder = value % 42;
        }
        text[i] = alphabet[remainder];
    }
    for (const unsigned limb : limbs)
        if (limb != 0)
            return std::nullopt;
    const auto first = text.find_first_not_of(' ');
    if (first == std::string::npos)
        return std::nullopt;
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

Text dxpedition(Fields fields, CallTable& table) {
    const auto done = station(fields.number(28), table);
    const auto next = station(fields.number(28), table);
    const unsigned sender = fields.number(10);
    const unsigned rpt = fields.number(5);
    if (!done || !next)
        return std::nullopt;
    return done->text + " RR73; " + next->text + " " + table.show10(sender) + " " +
           report(2 * static_cast<int>(rpt) - 30);
}

Text fieldDay(Fields fields, unsigned firstCount, CallTable& table) {
    const auto to = station(fields.number(28), table);
    const auto from = station(fields.number(28), table);
    const bool roger = fields.flag();
    const unsigned transmitters = fields.number(4) + firstCount;
    const unsigned entryClass = fields.number(3);
    const std::string section = fieldDaySection(fields.number(7));
    if (!to || !from || section.empty())
        return std::nullopt;
    heard(*from, table);
    return to->text + " " + from->text + (roger ? " R " : " ") + std::to_string(transmitters) +
           letter(entryClass) + " " + section;
}

std::string telemetry(Fields fields) {
    char text[24];
    const auto high = static_cast<unsigned long long>(fields.take(35));
    const auto low = static_cast<unsigned long long>(fields.take(36));
    std::snprintf(text, sizeof text, "%09llX%09llX", high, low);
    const std::string digits = text;
    const auto first = digits.find_first_not_of('0');
    return first == std::string::npos ? "0" : digits.substr(first);
}

// What stands behind the two calls, with its leading blank.
Text closing(unsigned g15, bool roger, bool afterCq) {
    if (g15 == kGrids || g15 > kLastReport)
        return std::nullopt;
    if (afterCq && (g15 > kNothing || (roger && g15 < kGrids)))
        return std::nullopt;
    if (g15 < kGrids)
        return (roger ? " R " : " ") + grid4(g15);
    switch (g15) {
    case kNothing:
        return "";
    case kRrr:
        return " RRR";
    case kRr73:
        return " RR73";
    case k73:
        return " 73";
    default: {
        const int db = static_cast<int>(g15 - kGrids) - 35;
        return (roger ? " R" : " ") + report(db > 50 ? db - 101 : db);
    }
    }
}

Text standard(Fields fields, const char* suffix, CallTable& table) {
    auto to = call28(fields.number(28), table);
    const bool toSuffix = fields.flag();
    auto from = station(fields.number(28), table);
    const bool fromSuffix = fields.flag();
    const bool roger = fields.flag();
    if (!to || !from)
        return std::nullopt;
    const bool cq = to->kind == CallKind::Cq;
    if (cq && from->kind == CallKind::Hashed)
        return std::nullopt;
    const Text end = closing(fields.number(15), roger, cq);
    if (!end)
        return std::nullopt;
    if (toSuffix && to->kind == CallKind::Standard)
        to->text += suffix;
    if (fromSuffix && from->kind == CallKind::Standard)
        from->text += suffix;
    heard(*from, table);
    return to->text + " " + from->text + *end;
}

Text roundup(Fields fields, CallTable& table) {
    const bool thanks = fields.flag();
    const auto to = station(fields.number(28), table);
    const auto from = station(fields.number(28), table);
    const bool roger = fields.flag();
    const unsigned rst = fields.number(3);
    const unsigned exchange = fields.number(13);
    const std::string sent = exchange >= 1 && exchange <= 7999 ? fourDigits(exchange)
                             : exchange > 8000                 ? roundupMultiplier(exchange - 8000)
                                                               : "";
    if (!to || !from || sent.empty())
        return std::nullopt;
    heard(*from, table);
    return (thanks ? "TU; " : "") + to->text + " " + from->text + (roger ? " R 5" : " 5") + digit(rst + 2) +
           "9 " + sent;
}

Text nonstandard(Fields fields, CallTable& table) {
    const unsigned hash = fields.number(12);
    const Text call = call58(fields.take(58));
    const bool flip = fields.flag();
    const unsigned word = fields.number(2);
    const bool cq = fields.flag();
    if (!call)
        return std::nullopt;
    // The hash is looked up before the call is entered: the two may collide.
    const std::string other = table.show12(hash);
    table.add(*call);
    if (cq)
        return "CQ " + *call;
    constexpr const char* words[] = {"", " RRR", " RR73", " 73"};
    return (flip ? *call + " " + other : other + " " + *call) + words[word];
}

Text europeanVhf(Fields fields, const CallTable& table) {
    const unsigned to = fields.number(12);
    const unsigned from = fields.number(22);
    const bool roger = fields.flag();
    const unsigned rst = fields.number(3);
    const unsigned serial = fields.number(11);
    const unsigned grid = fields.number(25);
    if (serial == 0 || grid >= kLongGrids)
        return std::nullopt;
    return table.show12(to) + " " + table.show22(from) + (roger ? " R " : " ") + std::to_string(52 + rst) +
           fourDigits(serial) + " " + grid6(grid);
}

} // namespace

std::optional<std::string> unpackFt8Message(const Ft8MessageBits& payload, CallTable& table) {
    const Fields fields(payload);
    switch (typeOf(payload)) {
    case 0:
        switch (subtypeOf(payload)) {
        case 0:
            return freeText(fields);
        case 1:
            return dxpedition(fields, table);
        case 3:
            return fieldDay(fields, 1, table);
        case 4:
            return fieldDay(fields, 17, table);
        case 5:
            return telemetry(fields);
        default:
            return std::nullopt;
        }
    case 1:
        return standard(fields, "/R", table);
    case 2:
        return standard(fields, "/P", table);
    case 3:
        return roundup(fields, table);
    case 4:
        return nonstandard(fields, table);
    case 5:
        return europeanVhf(fields, table);
    default:
        return std::nullopt;
    }
}

std::string ft8MessageType(const Ft8MessageBits& payload) {
    const std::string type(1, digit(typeOf(payload)));
    return type == "0" ? type + "." + digit(subtypeOf(payload)) : type;
}

} // namespace ferrow
