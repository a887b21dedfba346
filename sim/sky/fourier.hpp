#pragma once
#include "sim/sky/station.hpp"

#include <memory>
#include <span>

namespace ferrow::sim {

/// One complex in-place transform of fixed length with its own buffer. Unnormalised. Making and dropping one
/// is guarded inside; `run` may be called on one thread at a time.
class Fourier {
public:
    enum class Direction { Forward, Inverse };

    Fourier(int length, Direction direction);
    ~Fourier();
    Fourier(const Fourier&) = delete;
    Fourier& operator=(const Fourier&) = delete;

    std::span<Cfloat> data();
    void run();

private:
    struct Plan;
    std::unique_ptr<Plan> plan_;
};

} // namespace ferrow::sim
