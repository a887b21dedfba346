// What the fuzz targets share. A target is one source file that defines LLVMFuzzerTestOneInput; libFuzzer or
// fuzz/replay.cpp brings main().
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

// Runs one input. Always 0: no input is to be left out of a corpus.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace ferrow {

class asyncObject;

namespace fuzz {

// Starts the library, once: no log, no audio. For targets that use its objects.
void startLibrary();
// Lets the host's callbacks run, so that no queue fills. After each input.
void pumpLibrary();
// Waits until everything that stands in the object's queue now has run.
void settle(asyncObject& object);

// Takes an input apart, front to back. What is beyond its end reads as 0.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    bool empty() const { return rest_.empty(); }
    std::uint8_t byte() {
        const auto one = take(1);
        return one.empty() ? std::uint8_t{0} : one[0];
    }
    unsigned word() { // little-endian, 16 bit
        const unsigned low = byte();
        return low | static_cast<unsigned>(byte()) << 8;
    }
    std::span<const std::uint8_t> take(std::size_t count) {
        const auto taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }
    // A datagram: its length as a word, then its bytes, in a slot of `slotSize` with zeros behind them.
    std::vector<std::uint8_t> datagram(std::size_t slotSize) {
        const auto bytes = take(std::min<std::size_t>(word(), slotSize));
        std::vector<std::uint8_t> slot(slotSize);
        std::copy(bytes.begin(), bytes.end(), slot.begin());
        return slot;
    }
    std::span<const std::uint8_t> rest() { return take(rest_.size()); }

private:
    std::span<const std::uint8_t> rest_;
};

} // namespace fuzz
} // namespace ferrow
