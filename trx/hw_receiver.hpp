// A radio's hardware receivers: the digital down-converters that it offers.
#pragma once

#include "core/buff/buff.hpp"

#include <array>
#include <atomic>
#include <complex>
#include <cstddef>
#include <memory>
#include <utility>

namespace ferrow {

struct HwReceiver {
    // Tuned hardware frequency in Hz, without the radio's TransceiverOffset.
    std::atomic<long long> frequency{0};
    std::atomic<int> rate{48000}; // samples a second
    std::atomic<int> adc{0};      // the ADC that feeds it, 0 to 3

    // Touched by the delivering thread, and by the allocator's reset of `fill`.
    buff<std::complex<float>> chunk; // being filled
    std::atomic<std::size_t> fill{0};
};

// Grows only. The radio's context appends; any thread may look, and what it has seen stays where it is.
class HwReceiverList {
public:
    static constexpr std::size_t kCapacity = 64;

    std::size_t size() const noexcept { return count_.load(std::memory_order_acquire); }
    bool empty() const noexcept { return size() == 0; }
    HwReceiver& operator[](std::size_t index) const noexcept { return *receivers_[index]; }

    // The radio's context. Takes a whole receiver, so that nobody sees half of one; false when the list is
    // full.
    bool append(std::unique_ptr<HwReceiver> receiver) {
        const std::size_t count = size();
        if (count == kCapacity)
            return false;
        receivers_[count] = std::move(receiver);
        count_.store(count + 1, std::memory_order_release);
        return true;
    }

private:
    std::array<std::unique_ptr<HwReceiver>, kCapacity> receivers_;
    std::atomic<std::size_t> count_{0};
};

} // namespace ferrow
