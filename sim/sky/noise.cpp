#include "sim/sky/noise.hpp"

#include <bit>

namespace ferrow::sim {
namespace {

// splitmix64's finaliser
std::uint64_t scramble(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15ull;

} // namespace

std::uint64_t NoiseSource::next() {
    state_ += kStep;
    return scramble(state_);
}

void NoiseSource::addReal(std::span<float> out, float sigma) {
    // variance 64/4 of the count and 1/12 of a uniform part one step wide
    constexpr float kUnit = 0.249351f; // 1 / sqrt(16 + 1/12)
    constexpr float kFraction = 1.0f / 65536.0f;
    const float scale = sigma * kUnit;
    std::size_t i = 0;
    while (i < out.size()) {
        std::uint64_t fine = next();
        for (int k = 0; k < 4 && i < out.size(); ++k, ++i, fine >>= 16) {
            const auto count = static_cast<float>(std::popcount(next()) - 32);
            const auto part =
                (static_cast<float>(static_cast<std::int32_t>(fine & 0xFFFF)) - 32767.5f) * kFraction;
            out[i] += scale * (count + part);
        }
    }
}

std::uint64_t hashOf(std::uint64_t a, std::uint64_t b) {
    return scramble(scramble(a + kStep) + b * kStep);
}

} // namespace ferrow::sim
