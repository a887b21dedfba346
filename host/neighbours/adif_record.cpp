#include "host/neighbours/adif_record.hpp"

#include <algorithm>
#include <charconv>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <optional>

namespace ferrow {
namespace {

struct Band {
    const char* name;
    long long lowest, highest; // Hz
};
// The format's enumeration of bands.
constexpr Band kBands[] = {
    {"2190m", 135'700, 137'800},
    {"630m", 472'000, 479'000},
    {"560m", 501'000, 504'000},
    {"160m", 1'800'000, 2'000'000},
    {"80m", 3'500'000, 4'000'000},
    {"60m", 5'060'000, 5'450'000},
    {"40m", 7'000'000, 7'300'000},
    {"30m", 10'100'000, 10'150'000},
    {"20m", 14'000'000, 14'350'000},
    {"17m", 18'068'000, 18'168'000},
    {"15m", 21'000'000, 21'450'000},
    {"12m", 24'890'000, 24'990'000},
    {"10m", 28'000'000, 29'700'000},
    {"8m", 40'000'000, 45'000'000},
    {"6m", 50'000'000, 54'000'000},
    {"5m", 54'000'001, 69'900'000},
    {"4m", 70'000'000, 71'000'000},
    {"2m", 144'000'000, 148'000'000},
    {"1.25m", 222'000'000, 225'000'000},
    {"70cm", 420'000'000, 450'000'000},
    {"33cm", 902'000'000, 928'000'000},
    {"23cm", 1'240'000'000, 1'300'000'000},
    {"13cm", 2'300'000'000, 2'450'000'000},
    {"9cm", 3'300'000'000, 3'500'000'000},
    {"6cm", 5'650'000'000, 5'925'000'000},
    {"3cm", 10'000'000'000, 10'500'000'000},
};

// Modes that the format files under another one.
constexpr const char* kSubmodes[][2] = {
    {"FT4", "MFSK"},    {"JS8", "MFSK"},     {"MFSK16", "MFSK"}, {"USB", "SSB"},     {"LSB", "SSB"},
    {"PSK31", "PSK"},   {"PSK63", "PSK"},    {"PSK125", "PSK"},  {"PSK250", "PSK"},  {"PSK500", "PSK"},
    {"QPSK31", "PSK"},  {"QPSK63", "PSK"},   {"QPSK125", "PSK"}, {"QPSK250", "PSK"}, {"QPSK500", "PSK"},
    {"FMHELL", "HELL"}, {"FELDHELL", "HELL"}};

constexpr std::string_view kSpace = " \t\r\n";

void add(std::string& record, const char* name, std::string_view value) {
    if (value.empty())
        return;
    record += fmt::format("<{}:{}>", name, value.size());
    for (const char c : value)
        record += c >= ' ' && c <= '~' ? c : '?';
    record += ' ';
}

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool equal(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return upper(a) == upper(b); });
}

struct Tag {
    std::string_view name;
    std::size_t end = 0; // in the text, behind its data
};

// The next <...> at or behind `from` with its data; nothing if that is cut short. What states no length has
// no data.
std::optional<Tag> nextTag(std::string_view text, std::size_t from) {
    const std::size_t open = text.find('<', from);
    const std::size_t close = open == std::string_view::npos ? open : text.find('>', open);
    if (close == std::string_view::npos)
        return std::nullopt;
    const std::string_view inside = text.substr(open + 1, close - open - 1);
    const std::size_t colon = inside.find(':');
    if (colon == std::string_view::npos)
        return Tag{inside, close + 1};
    const std::string_view number = inside.substr(colon + 1, inside.find(':', colon + 1) - colon - 1);
    std::size_t length = 0;
    const auto [stop, error] = std::from_chars(number.data(), number.data() + number.size(), length);
    if (error != std::errc() || stop != number.data() + number.size())
        return Tag{{}, close + 1};
    if (length > text.size() - close - 1)
        return std::nullopt;
    return Tag{inside.substr(0, colon), close + 1 + length};
}

} // namespace

std::string adifHeader() {
    return "Contacts made with ferrow\n<ADIF_VER:5>3.1.4 <PROGRAMID:6>ferrow <EOH>\n";
}

std::string adifRecord(const Contact& contact) {
    const AdifMode mode = adifMode(contact.mode);
    std::string record;
    add(record, "CALL", contact.call);
    add(record, "GRIDSQUARE", contact.grid);
    add(record, "MODE", mode.mode);
    add(record, "SUBMODE", mode.submode);
    add(record, "RST_SENT", contact.reportSent);
    add(record, "RST_RCVD", contact.reportReceived);
    add(record, "QSO_DATE", fmt::format("{:%Y%m%d}", contact.timeOn));
    add(record, "TIME_ON", fmt::format("{:%H%M%S}", contact.timeOn));
    add(record, "QSO_DATE_OFF", fmt::format("{:%Y%m%d}", contact.timeOff));
    add(record, "TIME_OFF", fmt::format("{:%H%M%S}", contact.timeOff));
    add(record, "BAND", adifBand(contact.frequency));
    if (contact.frequency > 0)
        add(record, "FREQ",
            fmt::format("{}.{:06}", contact.frequency / 1'000'000, contact.frequency % 1'000'000));
    add(record, "STATION_CALLSIGN", contact.myCall);
    add(record, "MY_GRIDSQUARE", contact.myGrid);
    add(record, "TX_PWR", contact.power);
    add(record, "NAME", contact.name);
    add(record, "COMMENT", contact.comment);
    return record + "<EOR>\n";
}

std::string adifBand(long long hertz) {
    for (const Band& band : kBands)
        if (hertz >= band.lowest && hertz <= band.highest)
            return band.name;
    return "";
}

AdifMode adifMode(std::string_view mode) {
    for (const auto& [submode, parent] : kSubmodes)
        if (mode == submode)
            return {parent, submode};
    return {std::string(mode), ""};
}

std::size_t adifWholeLength(std::string_view text) {
    std::size_t whole = 0;
    // What does not begin with a tag begins with a header, whose text is free.
    const std::size_t first = text.find_first_not_of(kSpace);
    bool header = first != std::string_view::npos && text[first] != '<';
    for (std::size_t at = 0;;) {
        const auto tag = nextTag(text, at);
        if (!tag)
            break;
        at = tag->end;
        if (equal(tag->name, "EOH"))
            header = false;
        if (equal(tag->name, "EOH") || (!header && equal(tag->name, "EOR")))
            whole = at;
    }
    while (whole > 0 && whole < text.size() && kSpace.find(text[whole]) != std::string_view::npos)
        ++whole;
    return whole;
}

} // namespace ferrow
