// Sound at half its rate.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace ferrow::serve {

// From 48000 samples a second to 24000: flat within 0.1 dB up to 10 kHz, what would fold back below 10 kHz is
// at least 70 dB down. It delays by 47.5 samples of the input (1 ms).
class HalfRate {
public:
    static constexpr std::size_t kTaps = 96;

    // Appends to `out`. Blocks may have any size.
    void process(std::span<const float> in, std::vector<float>& out);

private:
    std::array<float, 2 * kTaps> line_{}; // the newest kTaps samples, twice: one of the copies is in order
    std::size_t place_ = 0;
    bool odd_ = false;
};

} // namespace ferrow::serve
