#include "host/ft8_sender.hpp"

#include "host/failure.hpp"
#include "host/ft8_encode.hpp"

#include <algorithm>
#include <cmath>
#include <ferrowcore/arrays.h>
#include <ferrowcore/jt.h>
#include <ferrowcore/modes.h>
#include <ferrowcore/vtrx.h>
#include <fmt/format.h>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr int kRate = 48000;
constexpr auto kHour = 3600s;
constexpr auto kShortestNotice = 200ms; // before a slot
constexpr auto kLongestWait = 1500ms;   // into the slot, until the library has keyed
constexpr auto kSpareTime = 1500ms;     // after the last symbol, until the radio is off the air

// The frame is to begin half a second into the slot. Of that the transmit filter takes 768 samples (16 ms)
// and the road to the radio some 10 ms; the library counts the rest in whole symbols, and these are 480 ms in
// both modes: 3 of FT8, 10 of FT4.
constexpr int kStartDelaySamples = 23040;

constexpr int kFilterMargin = 500; // Hz beside the signal: its flanks lie outside of the filter's own

// Samples of a symbol, smoothing (bandwidth-time product) and ramp at both ends.
struct Keying {
    int symbol;
    int product;
    int ramp;
};
Keying keyingOf(SlotMode mode) {
    return mode == SlotMode::Ft8 ? Keying{7680, 2, 960} : Keying{2304, 1, 2304};
}

milliseconds utcNow() {
    return std::chrono::duration_cast<milliseconds>(std::chrono::system_clock::now().time_since_epoch());
}

} // namespace

std::vector<float> smoothedToneTable(const std::vector<int>& tones, int txFrequency, double rest,
                                     SlotMode mode, bool plain) {
    const double spacing = formatOf(mode).toneSpacing;
    const double lift = plain ? 0.0 : 1.0 / keyingOf(mode).symbol;
    std::vector<float> table;
    for (const int tone : tones) {
        const double hertz = tone * spacing + rest;
        table.push_back(static_cast<float>((hertz + (txFrequency + hertz) * lift) / spacing));
    }
    return table;
}

SlotSender::SlotSender(SlotMode mode, const SlotOrder& order, Transmitter& transmitter)
    : mode_(mode), order_(order), transmitter_(transmitter) {}

void SlotSender::prepare() {
    const Keying keying = keyingOf(mode_);
    const SlotFormat& format = formatOf(mode_);
    Transceiver& transceiver = transmitter_.transceiver();
    void* jt = transceiver.mode().get();
    JTModDemod_setsamplesPerSymbol(jt, keying.symbol);
    JTModDemod_settoneSpacing(jt, format.toneSpacing);
    JTModDemod_setFreqDevTable(jt, order_.plain ? 0 : keying.product);
    JTModDemod_setTaperSamples(jt, order_.plain ? 0 : keying.ramp);
    JTModDemod_setStartDelaySamples(jt, kStartDelaySamples);
    modDemod_settxFreq(jt, static_cast<int>(order_.frequency));
    const auto width = static_cast<int>(format.toneSpacing * format.tones);
    const int low = static_cast<int>(order_.frequency) - kFilterMargin;
    transceiver.setTransmitFilter(std::max(low, 0), low + width + 2 * kFilterMargin);
}

SlotSender::UtcMs SlotSender::nextSlot(UtcMs now) const {
    const milliseconds period(formatOf(mode_).periodMs);
    auto number = (now + kShortestNotice) / period + 1;
    const bool odd = number % 2 != 0;
    if ((order_.parity == SlotParity::Even && odd) || (order_.parity == SlotParity::Odd && !odd))
        ++number;
    return number * period;
}

void SlotSender::queue(UtcMs now) {
    slot_ = nextSlot(now);
    const int whole = static_cast<int>(order_.frequency);
    const std::vector<float> table = smoothedToneTable(ft8Tones(order_.message, mode_), whole,
                                                       order_.frequency - whole, mode_, order_.plain);
    void* array = floatArray_create(static_cast<int>(table.size()));
    std::copy(table.begin(), table.end(), floatArray_data(array));
    transmitter_.arm();
    JTModDemod_queueMsg(transmitter_.transceiver().mode().get(), array, kSentMarker,
                        static_cast<int>((slot_ % kHour).count()));
    floatArray_delete(array);
    state_ = State::Queued;
}

void SlotSender::poll() {
    const UtcMs now = utcNow();
    switch (state_) {
    case State::Idle:
        if (!done())
            queue(now);
        break;
    case State::Queued:
        if (transmitter_.transceiver().ptt())
            state_ = State::OnAir;
        else if (now > slot_ + kLongestWait)
            throw Failure(
                "the message was not sent in its slot; is the computer too busy, or its clock set?");
        break;
    case State::OnAir: {
        const milliseconds airTime(
            static_cast<long long>(1000 * (kCustomaryStart + formatOf(mode_).airTime)));
        if (!transmitter_.busy()) {
            state_ = State::Idle;
            ++sent_;
            transmitter_.disarm();
        } else if (now > slot_ + airTime + kSpareTime) {
            transmitter_.release();
            throw Failure("the transmission did not end, and has been ended");
        }
        break;
    }
    }
}

void SlotSender::cancel() {
    if (state_ != State::Idle) {
        JTModDemod_setEnabled(transmitter_.transceiver().mode().get(), false);
        transmitter_.release();
    }
    state_ = State::Idle;
}

} // namespace ferrow
