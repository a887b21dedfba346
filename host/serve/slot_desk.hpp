// Decodes the FT8 and FT4 periods of all listeners: each once, however many have recorded it.
#pragma once

#include "host/ft8_recorder.hpp"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ferrow::serve {

// For the thread that pumps the library.
class SlotDesk {
public:
    using Take = std::function<void(const DecodedSlot&)>;

    // Once for each period that has been decoded, however many have recorded it.
    std::function<void(SlotMode, const DecodedSlot&)> onDecoded;

    // A folder of its own for a transceiver's recordings, with a separator at its end.
    std::string folder(int id) const { return recordings_.subfolder(std::to_string(id)); }

    // A recorded period. `take` gets what was read, by poll(); it must not throw.
    void add(SlotMode mode, long long dial, const NewFile& file, Take take);

    // From the loop of the station.
    void poll();

private:
    using Clock = std::chrono::steady_clock;

    // The receivers that stand on one dial frequency.
    struct Channel {
        explicit Channel(SlotMode mode) : decoder(mode, true) {}
        SlotDecoder decoder;
        std::map<std::string, std::vector<Take>> waiting; // by the period's time
        std::map<std::string, DecodedSlot> done;          // of the last few minutes
        Clock::time_point used = Clock::now();
    };

    RecordingFolder recordings_{""};
    std::map<std::pair<SlotMode, long long>, Channel> channels_;
};

} // namespace ferrow::serve
