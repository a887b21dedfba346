#include "host/transmitter.hpp"

#include "host/failure.hpp"

#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 2s; // of a press or release

} // namespace

Transmitter::Transmitter(Library& library, RadioSession& session, Transceiver& transceiver,
                         TransmitGuard& guard)
    : library_(library), session_(session), transceiver_(transceiver), guard_(guard) {
    library_.onPump = [this] { guard_.beat(); };
}

Transmitter::~Transmitter() {
    library_.onPump = nullptr;
}

void Transmitter::arm() {
    guard_.arm();
}

void Transmitter::disarm() {
    if (!busy())
        guard_.disarm();
}

void Transmitter::press() {
    guard_.arm();
    transceiver_.setPtt(true);
    const bool keyed = library_.pumpUntil([&] { return session_.keyed() && transceiver_.ptt(); }, kPatience);
    if (!keyed && !session_.keyed()) {
        release();
        throw Failure("the radio is not keyed; does it transmit at all?");
    }
}

void Transmitter::release() {
    transceiver_.setPtt(false);
    if (!library_.pumpThrough([&] { return !busy(); }, kPatience)) {
        session_.halt();
        throw Failure("the radio stayed keyed, and has been stopped");
    }
    guard_.disarm();
}

void Transmitter::check() const {
    session_.checkSamples();
    guard_.check();
}

std::string showReadings(const TransmitReadings& r) {
    std::string text =
        fmt::format("{:.1f} W, SWR {:.1f}, {:.0f} mA, {:.1f} °C", r.forward, r.swr, r.current, r.temperature);
    if (r.underflows > 0)
        text += fmt::format(", buffer dry {} times", r.underflows);
    if (r.overflows > 0)
        text += fmt::format(", buffer over {} times", r.overflows);
    return text;
}

nlohmann::json readingsJson(const TransmitReadings& r) {
    const auto rounded = [](double value) { return std::round(value * 1000) / 1000; };
    return {{"forward_w", rounded(r.forward)},
            {"reverse_w", rounded(r.reverse)},
            {"swr", rounded(r.swr)},
            {"current_ma", rounded(r.current)},
            {"temperature_c", rounded(r.temperature)},
            {"buffer", {{"lowest", r.lowestFill}, {"underflows", r.underflows}, {"overflows", r.overflows}}}};
}

} // namespace ferrow
