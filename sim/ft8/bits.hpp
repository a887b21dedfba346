#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace ferrow::sim {

/// The 77 bits of a message, one per element, in the order of sending.
using Payload = std::array<std::uint8_t, 77>;

/// Appends unsigned fields to a payload, most significant bit first.
class BitWriter {
public:
    explicit BitWriter(Payload& payload) : payload_(payload) {}
    BitWriter& put(unsigned __int128 value, int width) {
        for (int i = width - 1; i >= 0; --i)
            payload_[at_++] = static_cast<std::uint8_t>((value >> i) & 1);
        return *this;
    }

private:
    Payload& payload_;
    std::size_t at_ = 0;
};

} // namespace ferrow::sim
