// What waits to be sent to one listener.
#pragma once

#include "host/serve/frames.hpp"

#include <deque>
#include <optional>
#include <string>

namespace ferrow::serve {

struct OutgoingFrame {
    bool audio = false; // else a spectrum
    SharedBytes bytes;
};

struct OutboxLimits {
    std::size_t audio = 64, spectrum = 16; // frames of each kind
    std::size_t text = 1 << 20;            // bytes
};

// Frames make room for newer ones of their kind, oldest first; texts never go, they overflow. For one thread
// at a time.
class Outbox {
public:
    using Limits = OutboxLimits;

    explicit Outbox(Limits limits = {}) : limits_(limits) {}

    // False once more text waits than may: the listener is past help.
    bool add(std::string text);
    // Returns how many frames had to go for it.
    std::size_t add(OutgoingFrame frame);

    bool empty() const { return waiting_.empty(); }
    struct Item {
        std::optional<std::string> text; // else the frame
        OutgoingFrame frame;
    };
    // The oldest; not for an empty one.
    Item take();

private:
    Limits limits_;
    std::deque<Item> waiting_;
    std::size_t text_ = 0;                // bytes
    std::size_t audio_ = 0, spectrum_ = 0; // frames
};

} // namespace ferrow::serve
