// Blocks of noise, by a seed.
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>
#include <random>

namespace ferrow::test {

// White, complex, of power 2.
inline buff<std::complex<float>> noise(std::size_t count, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::normal_distribution<float> normal;
    buff<std::complex<float>> samples(count);
    for (auto& sample : samples)
        sample = {normal(random), normal(random)};
    return samples;
}

} // namespace ferrow::test
