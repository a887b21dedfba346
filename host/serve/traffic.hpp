// Counters of the server, from all threads.
#pragma once

#include <atomic>
#include <cstdint>

namespace ferrow::serve {

struct Traffic {
    using Count = std::atomic<std::uint64_t>;
    Count bytesOut{0};     // of websocket messages
    Count bytesIn{0};
    Count texts{0}, audioFrames{0}, spectrumFrames{0};      // sent
    Count audioDropped{0}, spectrumDropped{0};              // for want of room
    Count orders{0}, badOrders{0};                          // texts of listeners
    Count requests{0}, refused{0};                          // of HTTP; refused: by access rules
    Count connections{0}, turnedAway{0};                    // accepted; beyond the limit
    Count closedSlow{0}, closedFast{0};                     // ended: too slow to read, too many messages
    std::atomic<int> open{0};                               // connections of any kind now
};

} // namespace ferrow::serve
