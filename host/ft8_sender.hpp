// FT8 and FT4 messages on the air, in the slots of a recording transceiver.
#pragma once

#include "host/ft8_bands.hpp"
#include "host/ft8_message.hpp"
#include "host/transmitter.hpp"

#include <chrono>
#include <string>
#include <vector>

namespace ferrow {

struct SlotOrder {
    Ft8MessageBits message{};
    double frequency = 1500; // of the lowest tone, Hz above the dial
    SlotParity parity = SlotParity::Any;
    int times = 1;      // 0: for ever
    bool plain = false; // tones without smoothing and ramps, as a comparison
};

// Marker of a period that was sent in, behind its file's name.
inline constexpr int kSentMarker = 1;

// The tone table that the library is given, of one number per symbol in units of the tone spacing. `rest` is
// what the frequency lacks to whole Hz.
//
// The library's smoothing gives the two sides of a step weights that together fall short of 1 by the table's
// slope over one sample; over a symbol of S samples that adds up to 1/S of the frequency. The numbers are so
// much higher, and the mean frequency is right.
std::vector<float> smoothedToneTable(const std::vector<int>& tones, int txFrequency, double rest,
                                     SlotMode mode, bool plain);

// Puts the order into the library, slot by slot. For the thread that pumps it.
class SlotSender {
public:
    SlotSender(SlotMode mode, const SlotOrder& order, Transmitter& transmitter);
    // Sets the mode object of the transmitter's transceiver up, and its transmit filter.
    void prepare();

    // For the loop of a command. Throws Failure if a transmission does not begin or end as it should.
    void poll();
    bool done() const { return order_.times > 0 && sent_ >= order_.times; }
    int sent() const { return sent_; }
    // Ends a transmission early.
    void cancel();

private:
    using UtcMs = std::chrono::milliseconds; // since 1970
    enum class State { Idle, Queued, OnAir };

    UtcMs nextSlot(UtcMs now) const;
    void queue(UtcMs now);

    SlotMode mode_;
    SlotOrder order_;
    Transmitter& transmitter_;
    State state_ = State::Idle;
    UtcMs slot_{};
    int sent_ = 0;
};

} // namespace ferrow
