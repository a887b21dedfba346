#include "modes/chirp/golay.hpp"

#include <bit>

namespace ferrow {

namespace {

constexpr int kCheckBits = GolayCode::kWordBits - GolayCode::kDataBits;

} // namespace

GolayCode::GolayCode() {
    auto& [a, b, c] = positions_;
    for (a = 0; a < kWordBits; ++a)
        enter(1);
    for (a = 0; a < kWordBits; ++a)
        for (b = a + 1; b < kWordBits; ++b)
            enter(2);
    for (a = 0; a < kWordBits; ++a)
        for (b = a + 1; b < kWordBits; ++b)
            for (c = b + 1; c < kWordBits; ++c)
                enter(3);
}

void GolayCode::enter(int weight) {
    std::uint32_t pattern = 0;
    for (int i = 0; i < weight; ++i)
        pattern |= 1u << positions_[static_cast<std::size_t>(i)];
    const std::uint32_t at = syndrome(pattern);
    patterns_[at] = pattern;
    weights_[at] = static_cast<std::uint8_t>(weight);
}

std::uint32_t GolayCode::syndrome(std::uint32_t word) noexcept {
    word &= (1u << kWordBits) - 1;
    while (word >> kCheckBits != 0)
        word ^= kGenerator << (std::bit_width(word) - 1 - kCheckBits);
    return word;
}

std::uint32_t GolayCode::encode(std::uint32_t data) noexcept {
    const std::uint32_t shifted = (data & 0xFFF) << kCheckBits;
    return shifted | syndrome(shifted);
}

GolayCode::Decoded GolayCode::decode(std::uint32_t word) const noexcept {
    const std::uint32_t at = syndrome(word);
    return {((word ^ patterns_[at]) >> kCheckBits) & 0xFFF, weights_[at]};
}

} // namespace ferrow
