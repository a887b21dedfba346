// The convolutional code of QPSK31: rate 1/2, constraint length 5, generators 10111 and 11001 (newest bit on
// the right), published with the mode.
#pragma once

#include <array>
#include <cstdint>

namespace ferrow {

inline constexpr int kQpskBranches = 32; // the last five bits, newest at the bottom
inline constexpr int kQpskStates = kQpskBranches / 2;
inline constexpr int kQpskDelay = 20; // symbols from a bit's own symbol to its decision

// By the last five bits the phase change: 0 none, 1 plus 90 degrees, 2 180 degrees, 3 minus 90 degrees.
extern const std::array<std::uint8_t, kQpskBranches> kQpskSymbols;

// Hard to fool and slow: the bit of a symbol comes out 20 symbols later.
class QpskDecoder {
public:
    QpskDecoder() { reset(); }

    // As after a long steady carrier.
    void reset() noexcept;

    // One symbol. `angle` in 0 to 2 pi: 3 pi / 2 for no change, rising with an advancing phase.
    bool decode(double angle) noexcept;

private:
    std::array<double, kQpskStates> metrics_{};
    std::array<std::uint32_t, kQpskStates> paths_{}; // the bits that led to each state, newest at the bottom
    std::uint32_t dice_ = 1;
};

} // namespace ferrow
