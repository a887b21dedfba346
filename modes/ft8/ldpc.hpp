// Error correction of FT8 and FT4: sum-product decoding of the LDPC(174,91) code in single precision.
#pragma once

#include "modes/ft8/bit_metrics.hpp"

#include <array>
#include <cstdint>

namespace ferrow {

inline constexpr int kBeliefIterations = 25;

// A codeword, 0 or 1 in each place.
using CodewordBits = std::array<std::uint8_t, kLdpcBits>;

// Checks with odd parity, 0 to 83.
int countParityErrors(const CodewordBits& bits);

// Hard decisions of the iteration that ended the work: the first without parity errors, or the 25th. Returns
// the lowest number of parity errors that any iteration had; 0 means that `bits` is a codeword.
int beliefPropagate(const BitMetrics& metrics, CodewordBits& bits);

// Rational stand-ins for tanh and atanh, close to them where it matters: the first saturates at +-4.97, the
// second stays finite at +-1.
constexpr float fastTanh(float x) {
    const float x2 = x * x;
    const float y = x * (945.0f + x2 * (105.0f + x2)) / (945.0f + x2 * (420.0f + 15.0f * x2));
    return x < -4.97f ? -1.0f : x > 4.97f ? 1.0f : y;
}

constexpr float fastAtanh(float x) {
    const float x2 = x * x;
    return x * (945.0f + x2 * (-735.0f + 64.0f * x2)) / (945.0f + x2 * (-1050.0f + 225.0f * x2));
}

} // namespace ferrow
