#include "host/serve/orders.hpp"

#include "host/failure.hpp"
#include "host/serve/serve_modes.hpp"

#include <bit>
#include <cmath>
#include <fmt/format.h>

namespace ferrow::serve {
namespace {

using nlohmann::json;

// What is wrong with a text; never leaves this file.
struct Wrong {
    std::string text;
};

// The fields of one order. What is asked for must be there; `maybe` leaves it open.
class Fields {
public:
    explicit Fields(const json& object) : object_(object) {}

    bool has(const char* name) const { return object_.contains(name); }
    bool null(const char* name) const { return object_.at(name).is_null(); }

    double number(const char* name, double low, double high) const {
        const json& value = at(name);
        if (!value.is_number())
            throw Wrong{fmt::format("\"{}\" is no number", name)};
        const double number = value.get<double>();
        if (!(number >= low && number <= high))
            throw Wrong{fmt::format("\"{}\" lies outside of {} to {}", name, low, high)};
        return number;
    }
    long long whole(const char* name, long long low, long long high) const {
        const double value = number(name, static_cast<double>(low), static_cast<double>(high));
        if (value != std::floor(value))
            throw Wrong{fmt::format("\"{}\" is no whole number", name)};
        return static_cast<long long>(value);
    }
    int integer(const char* name, int low, int high) const { return static_cast<int>(whole(name, low, high)); }
    bool flag(const char* name) const {
        const json& value = at(name);
        if (!value.is_boolean())
            throw Wrong{fmt::format("\"{}\" is neither true nor false", name)};
        return value.get<bool>();
    }
    std::string text(const char* name, std::size_t least, std::size_t most) const {
        const json& value = at(name);
        if (!value.is_string())
            throw Wrong{fmt::format("\"{}\" is no text", name)};
        std::string text = value.get<std::string>();
        if (text.size() < least || text.size() > most)
            throw Wrong{fmt::format("\"{}\" has not {} to {} characters", name, least, most)};
        return text;
    }
    int powerOfTwo(const char* name, int low, int high) const {
        const int value = integer(name, low, high);
        if (!std::has_single_bit(static_cast<unsigned>(value)))
            throw Wrong{fmt::format("\"{}\" is no power of two", name)};
        return value;
    }
    int id() const { return integer("id", 1, kHighestId); }
    std::string mode() const {
        const std::string name = text("mode", 1, 16);
        if (!findMode(name))
            throw Wrong{fmt::format("there is no mode \"{}\"", name)};
        return name;
    }
    long long frequency() const { return whole("frequency", 0, kHighestFrequency); }

private:
    const json& at(const char* name) const {
        const auto found = object_.find(name);
        if (found == object_.end())
            throw Wrong{fmt::format("\"{}\" is missing", name)};
        return *found;
    }

    const json& object_;
};

AddOrder readAdd(const Fields& fields) {
    return {fields.frequency(), fields.mode()};
}

Agc agcOf(const std::string& name) {
    for (const Agc agc : {Agc::Fast, Agc::Medium, Agc::Slow, Agc::Off})
        if (name == nameOf(agc))
            return agc;
    throw Wrong{"\"agc\" is fast, medium, slow or off"};
}

// A number, or null for off.
std::optional<double> numberOrOff(const Fields& fields, const char* name, double low, double high) {
    return fields.null(name) ? std::nullopt : std::optional(fields.number(name, low, high));
}

SetOrder readSet(const Fields& fields) {
    SetOrder order;
    order.id = fields.id();
    if (fields.has("frequency"))
        order.frequency = fields.frequency();
    if (fields.has("mode"))
        order.mode = fields.mode();
    if (fields.has("low"))
        order.low = fields.integer("low", -kWidestEdge, kWidestEdge);
    if (fields.has("high"))
        order.high = fields.integer("high", -kWidestEdge, kWidestEdge);
    if (order.low && order.high && *order.low >= *order.high)
        throw Wrong{"\"low\" is not below \"high\""};
    if (fields.has("agc"))
        order.agc = agcOf(fields.text("agc", 1, 16));
    if (fields.has("gain"))
        order.gain = fields.number("gain", -60, 160);
    if (fields.has("squelch"))
        order.squelch = numberOrOff(fields, "squelch", -200, 20);
    if (fields.has("nr"))
        order.nr = numberOrOff(fields, "nr", 0, 100);
    if (fields.has("volume"))
        order.volume = fields.number("volume", 0, 1);
    if (fields.has("mute"))
        order.mute = fields.flag("mute");
    if (fields.has("marker") && !fields.null("marker"))
        order.marker = fields.integer("marker", 0, kHighestMarker);
    return order;
}

ViewOrder readView(const Fields& fields) {
    ViewOrder order;
    order.id = fields.id();
    if (fields.has("zoom"))
        order.zoom = fields.powerOfTwo("zoom", 1, kMostZoom);
    if (fields.has("offset"))
        order.offset = std::llround(fields.number("offset", -1e9, 1e9));
    if (fields.has("bins"))
        order.bins = fields.powerOfTwo("bins", kLeastBins, kMostBins);
    if (fields.has("rate"))
        order.rate = fields.number("rate", 0, kMostFrames);
    return order;
}

AudioOrder readAudio(const Fields& fields) {
    const std::string name = fields.text("format", 1, 16);
    if (name == "off")
        return {AudioFormat::Off};
    if (name == "pcm")
        return {AudioFormat::Pcm};
    if (name == "opus")
        return {AudioFormat::Opus};
    throw Wrong{"\"format\" is pcm, opus or off"};
}

PingOrder readPing(const Fields& fields, const json& object) {
    fields.number("t", -1e300, 1e300);
    return {object.at("t")};
}

Ft8Order readFt8(const Fields& fields) {
    Ft8Order order;
    order.id = fields.id();
    order.message = fields.text("message", 1, 64);
    if (fields.has("frequency"))
        order.frequency = fields.number("frequency", 100, 3200);
    try {
        if (fields.has("parity"))
            order.parity = parseSlotParity(fields.text("parity", 1, 8));
    } catch (const UsageError& error) {
        throw Wrong{error.what()};
    }
    if (fields.has("times"))
        order.times = fields.integer("times", 1, kMostTimes);
    return order;
}

LogOrder readLog(const Fields& fields) {
    const auto text = [&](const char* name) { return fields.has(name) ? fields.text(name, 0, 32) : ""; };
    LogOrder order{fields.text("call", 1, 32), text("grid"), text("sent"), text("received"), text("mode"), 0};
    if (fields.has("frequency"))
        order.frequency = fields.frequency();
    return order;
}

Order read(const std::string& word, const json& object) {
    const Fields fields(object);
    if (word == "add")
        return readAdd(fields);
    if (word == "remove")
        return RemoveOrder{fields.id()};
    if (word == "set")
        return readSet(fields);
    if (word == "view")
        return readView(fields);
    if (word == "audio")
        return readAudio(fields);
    if (word == "ping")
        return readPing(fields, object);
    if (word == "key")
        return KeyOrder{fields.id(), fields.flag("on")};
    if (word == "tune")
        return TuneOrder{fields.id(), fields.flag("on")};
    if (word == "send")
        return SendOrder{fields.id(), fields.text("text", 1, kMostText)};
    if (word == "stop")
        return StopOrder{};
    if (word == "ft8")
        return readFt8(fields);
    if (word == "log")
        return readLog(fields);
    throw Wrong{"there is no such order"};
}

} // namespace

const char* nameOf(Agc agc) {
    switch (agc) {
    case Agc::Fast:
        return "fast";
    case Agc::Medium:
        return "medium";
    case Agc::Slow:
        return "slow";
    case Agc::Off:
        break;
    }
    return "off";
}

std::variant<Order, OrderError> readOrder(std::string_view text) {
    const json object = json::parse(text, nullptr, false);
    if (!object.is_object())
        return OrderError{"", "this is no JSON object"};
    const auto word = object.find("do");
    if (word == object.end() || !word->is_string())
        return OrderError{"", "\"do\" is missing"};
    const std::string about = word->get<std::string>().substr(0, 16);
    try {
        return read(word->get<std::string>(), object);
    } catch (const Wrong& wrong) {
        return OrderError{about, wrong.text};
    }
}

} // namespace ferrow::serve
