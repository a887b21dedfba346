#include "sim/radio/telemetry.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ferrow::sim {
namespace {

constexpr double kReference = 3.26; // volts at 4096 counts
constexpr double kLevelUnit = 32.0; // samples

bool anyHolds(const std::vector<TimeSpan>& spans, double t) {
    return std::any_of(spans.begin(), spans.end(), [t](const TimeSpan& s) { return s.holds(t); });
}

int count(double volts) {
    return static_cast<int>(std::lround(std::clamp(volts * 4096.0 / kReference, 0.0, 4095.0)));
}

void pair16(ControlBytes& c, int first, int second) {
    c[1] = static_cast<std::uint8_t>(first >> 8);
    c[2] = static_cast<std::uint8_t>(first);
    c[3] = static_cast<std::uint8_t>(second >> 8);
    c[4] = static_cast<std::uint8_t>(second);
}

} // namespace

int countOfTemperature(double celsius) {
    return count(celsius * 0.01 + 0.5);
}

int countOfCurrent(double milliamperes) {
    // 0.04 ohm shunt, gain 50, divider 1000 / 1270
    return count(milliamperes / 1000.0 / 1.27 * 0.04 * 50.0);
}

void TxBuffer::clear() {
    draining_ = false;
    level_ = dry_ = 0.0;
}

void TxBuffer::key(bool on, int latencyMs, int hangMs) {
    if (on != keyed_)
        clear();
    if (!on) // what made the radio leave the air is told when it is back there
        tellOverflow_ = tellUnderflow_ = false;
    keyed_ = on;
    start_ = std::clamp(latencyMs * 48.0, 1.0, kCapacity / 2.0);
    hang_ = 0.001 * std::max(hangMs, 1);
}

void TxBuffer::fill(int samples) {
    if (!keyed_)
        return;
    dry_ = 0.0;
    level_ += samples;
    if (level_ > kCapacity) {
        level_ = kCapacity;
        ++overflows_;
        tellOverflow_ = true;
    }
    if (level_ >= start_)
        draining_ = true;
}

void TxBuffer::drain(double seconds, double clockFactor) {
    if (!keyed_)
        return;
    if (draining_) {
        level_ -= seconds * 48000.0 * clockFactor;
        if (level_ >= 0.0)
            return;
        seconds = -level_ / (48000.0 * clockFactor);
        level_ = 0.0;
        draining_ = false; // fills up to the latency again first
        ++underflows_;
        tellUnderflow_ = true;
    }
    dry_ += seconds;
    if (dry_ < hang_)
        return;
    clear();
    keyed_ = false;
    unkeyed_ = true;
}

bool TxBuffer::takeUnkeyed() {
    return std::exchange(unkeyed_, false);
}

std::uint8_t TxBuffer::levelUnits() const {
    return static_cast<std::uint8_t>(std::min(127.0, level_ / kLevelUnit));
}

std::uint8_t TxBuffer::takeEvent() {
    if (std::exchange(tellUnderflow_, false))
        return 0xC0;
    return std::exchange(tellOverflow_, false) ? 0x80 : 0x00;
}

ControlBytes Telemetry::next(const Inputs& in) {
    ControlBytes c{};
    const bool key = anyHolds(settings_.cwKey, in.seconds);
    const bool ptt = key || anyHolds(settings_.pttIn, in.seconds);
    const auto bits = static_cast<std::uint8_t>((ptt ? 0x01 : 0) | (key ? 0x04 : 0));
    if (!acks_.empty()) {
        const I2cWrite w = acks_.front();
        acks_.erase(acks_.begin());
        return {static_cast<std::uint8_t>(0xFA | (ptt ? 1 : 0)), w.command, w.device, w.reg, w.data};
    }
    c[0] = static_cast<std::uint8_t>(turn_ << 3 | bits);
    switch (turn_) {
    case 0:
        c[1] = in.overload || anyHolds(settings_.overload, in.seconds) ? 1 : 0;
        c[3] = in.keyed ? in.txReport : 0;
        c[4] = in.firmware;
        break;
    case 1:
        pair16(c, settings_.ain5Temperature, in.keyed ? settings_.ain1Forward : 0);
        break;
    case 2:
        pair16(c, in.keyed ? settings_.ain2Reverse : 0, in.keyed ? settings_.ain3Current : 0);
        break;
    default:
        pair16(c, settings_.ain4, settings_.ain6);
        break;
    }
    turn_ = (turn_ + 1) & 3;
    return c;
}

} // namespace ferrow::sim
