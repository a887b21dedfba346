#pragma once
#include "sim/sky/station.hpp"

#include <cstdint>
#include <span>

namespace ferrow::sim {

/// Gaussian white noise, a few operations a value: the bit count of a random word (64 fair coins, variance
/// 16) plus a uniform part that fills the steps between the integers.
class NoiseSource {
public:
    explicit NoiseSource(std::uint64_t seed) : state_(seed) {}

    /// Adds noise of standard deviation `sigma` to I and to Q each.
    void add(std::span<Cfloat> out, float sigma) {
        addReal({reinterpret_cast<float*>(out.data()), 2 * out.size()}, sigma);
    }
    void addReal(std::span<float> out, float sigma);

    std::uint64_t next();

private:
    std::uint64_t state_;
};

/// A fixed hash of two numbers, for decisions that must not depend on the order in which they are asked.
std::uint64_t hashOf(std::uint64_t a, std::uint64_t b);

} // namespace ferrow::sim
