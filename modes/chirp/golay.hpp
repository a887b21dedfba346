// The (23, 12) Golay code with generator 3189: every word lies within three bits of exactly one code word.
#pragma once

#include <array>
#include <cstdint>

namespace ferrow {

class GolayCode {
public:
    static constexpr int kWordBits = 23, kDataBits = 12;
    static constexpr std::uint32_t kGenerator = 3189; // 0xC75

    struct Decoded {
        std::uint32_t data = 0;
        int corrected = 0; // bits, 0 to 3
    };

    GolayCode(); // makes the tables

    // Data in the upper twelve bits of the code word.
    static std::uint32_t encode(std::uint32_t data) noexcept;
    static std::uint32_t syndrome(std::uint32_t word) noexcept;

    Decoded decode(std::uint32_t word) const noexcept;

private:
    void enter(int weight);

    std::array<std::uint32_t, 2048> patterns_{}; // by syndrome
    std::array<std::uint8_t, 2048> weights_{};
    std::array<int, 3> positions_{}; // of the pattern being entered
};

} // namespace ferrow
