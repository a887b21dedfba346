#include "host/neighbours/wsjtx_messages.hpp"

#include <bit>
#include <chrono>

namespace ferrow {
namespace {

constexpr std::uint32_t kMagic = 0xADBC'CBDA;
constexpr std::uint32_t kNullText = 0xFFFF'FFFF;
constexpr std::uint8_t kUtc = 1;
constexpr std::int64_t kJulianDayOf1970 = 2'440'588;
constexpr std::uint32_t kMillisecondsOfDay = 86'400'000;

enum Type : std::uint32_t {
    kHeartbeat = 0,
    kStatus = 1,
    kDecode = 2,
    kClear = 3,
    kReply = 4,
    kQsoLogged = 5,
    kClose = 6,
    kReplay = 7,
    kHaltTx = 8,
    kFreeText = 9,
    kLoggedAdif = 12,
};

class Writer {
public:
    Writer(const WsjtxSender& sender, Type type) {
        add(kMagic).add(sender.schema).add(static_cast<std::uint32_t>(type)).add(sender.id);
    }
    template <std::unsigned_integral T>
    Writer& add(T value) {
        for (int shift = 8 * (static_cast<int>(sizeof(T)) - 1); shift >= 0; shift -= 8)
            bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }
    Writer& add(bool value) { return add(static_cast<std::uint8_t>(value)); }
    Writer& add(std::int32_t value) { return add(static_cast<std::uint32_t>(value)); }
    Writer& add(double value) { return add(std::bit_cast<std::uint64_t>(value)); }
    Writer& add(std::string_view text) {
        add(static_cast<std::uint32_t>(text.size()));
        bytes_.insert(bytes_.end(), text.begin(), text.end());
        return *this;
    }
    Writer& add(const std::string& text) { return add(std::string_view(text)); }
    Writer& add(Contact::Time time) {
        const auto day = std::chrono::floor<std::chrono::days>(time);
        const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(time - day);
        add(static_cast<std::uint64_t>(day.time_since_epoch().count() + kJulianDayOf1970));
        return add(static_cast<std::uint32_t>(since.count())).add(kUtc);
    }
    Datagram take() { return std::move(bytes_); }

private:
    Datagram bytes_;
};

// Reading beyond the end gives zeros, and is remembered.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

    bool good() const { return good_; }
    template <std::unsigned_integral T>
    T number() {
        if (rest_.size() < sizeof(T)) {
            good_ = false;
            rest_ = {};
            return 0;
        }
        std::uint64_t value = 0;
        for (const std::uint8_t byte : rest_.first(sizeof(T)))
            value = value << 8 | byte;
        rest_ = rest_.subspan(sizeof(T));
        return static_cast<T>(value);
    }
    std::uint32_t word() { return number<std::uint32_t>(); }
    std::uint8_t byte() { return number<std::uint8_t>(); }
    bool flag() { return byte() != 0; }
    double real() { return std::bit_cast<double>(number<std::uint64_t>()); }
    std::string text() {
        const std::uint32_t length = word();
        if (length == kNullText)
            return {};
        if (length > rest_.size()) {
            good_ = false;
            rest_ = {};
            return {};
        }
        const auto bytes = rest_.first(length);
        rest_ = rest_.subspan(length);
        return {bytes.begin(), bytes.end()};
    }
    bool more() const { return !rest_.empty(); }

private:
    std::span<const std::uint8_t> rest_;
    bool good_ = true;
};

WsjtxReply readReply(Reader& reader) {
    WsjtxReply reply;
    reply.decode.time = reader.word();
    reply.decode.snr = static_cast<std::int32_t>(reader.word());
    reply.decode.deltaTime = reader.real();
    reply.decode.offset = reader.word();
    reply.decode.mode = reader.text();
    reply.decode.message = reader.text();
    // Older peers leave these out.
    if (reader.more())
        reply.decode.lowConfidence = reader.flag();
    if (reader.more())
        reply.modifiers = reader.byte();
    return reply;
}

} // namespace

std::string wsjtxModeSign(std::string_view mode) {
    return mode == "FT4" ? "+" : "~";
}

Datagram wsjtxHeartbeat(const WsjtxSender& sender, std::string_view version, std::string_view revision) {
    return Writer(sender, kHeartbeat).add(kWsjtxHighestSchema).add(version).add(revision).take();
}

Datagram wsjtxStatus(const WsjtxSender& sender, const WsjtxStatus& s) {
    return Writer(sender, kStatus)
        .add(s.dialFrequency)
        .add(s.mode)
        .add(s.dxCall)
        .add(s.report)
        .add(s.txMode)
        .add(s.txEnabled)
        .add(s.transmitting)
        .add(s.decoding)
        .add(s.rxOffset)
        .add(s.txOffset)
        .add(s.deCall)
        .add(s.deGrid)
        .add(s.dxGrid)
        .add(s.txWatchdog)
        .add(s.subMode)
        .add(s.fastMode)
        .add(s.specialOperation)
        .add(s.frequencyTolerance)
        .add(s.period)
        .add(s.configuration)
        .add(s.txMessage)
        .take();
}

Datagram wsjtxDecode(const WsjtxSender& sender, const WsjtxDecode& d) {
    return Writer(sender, kDecode)
        .add(d.isNew)
        .add(d.time)
        .add(d.snr)
        .add(d.deltaTime)
        .add(d.offset)
        .add(d.mode)
        .add(d.message)
        .add(d.lowConfidence)
        .add(d.offAir)
        .take();
}

Datagram wsjtxClear(const WsjtxSender& sender) {
    return Writer(sender, kClear).take();
}

Datagram wsjtxQsoLogged(const WsjtxSender& sender, const Contact& c) {
    const std::string_view nothing; // exchanges and the mode of propagation
    return Writer(sender, kQsoLogged)
        .add(c.timeOff)
        .add(c.call)
        .add(c.grid)
        .add(static_cast<std::uint64_t>(c.frequency))
        .add(c.mode)
        .add(c.reportSent)
        .add(c.reportReceived)
        .add(c.power)
        .add(c.comment)
        .add(c.name)
        .add(c.timeOn)
        .add(c.myCall) // the operator's, and the station's
        .add(c.myCall)
        .add(c.myGrid)
        .add(nothing)
        .add(nothing)
        .add(nothing)
        .take();
}

Datagram wsjtxClose(const WsjtxSender& sender) {
    return Writer(sender, kClose).take();
}

Datagram wsjtxLoggedAdif(const WsjtxSender& sender, std::string_view adif) {
    return Writer(sender, kLoggedAdif).add(adif).take();
}

std::optional<WsjtxRequest> readWsjtxRequest(std::span<const std::uint8_t> datagram, std::string_view id) {
    Reader reader(datagram);
    const bool known = reader.word() == kMagic;
    const std::uint32_t schema = reader.word();
    const std::uint32_t type = reader.word();
    if (!known || schema < kWsjtxLowestSchema || schema > kWsjtxHighestSchema || reader.text() != id ||
        !reader.good())
        return std::nullopt;
    WsjtxRequest request;
    switch (type) {
    case kHeartbeat:
        // The earliest peers state no schema.
        request = WsjtxPeerHeartbeat{reader.more() ? reader.word() : kWsjtxLowestSchema};
        break;
    case kClear:
        request = WsjtxClear{reader.more() ? reader.byte() : std::uint8_t{0}};
        break;
    case kReply: {
        const WsjtxReply reply = readReply(reader);
        if (reply.decode.time >= kMillisecondsOfDay)
            return std::nullopt;
        request = reply;
        break;
    }
    case kClose:
        request = WsjtxClose{};
        break;
    case kReplay:
        request = WsjtxReplay{};
        break;
    case kHaltTx:
        request = WsjtxHaltTx{reader.flag()};
        break;
    case kFreeText: {
        WsjtxFreeText text;
        text.text = reader.text();
        text.send = reader.flag();
        request = text;
        break;
    }
    default:
        return std::nullopt;
    }
    return reader.good() ? std::optional(request) : std::nullopt;
}

} // namespace ferrow
