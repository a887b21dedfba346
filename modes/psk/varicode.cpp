#include "modes/psk/varicode.hpp"

#include <bit>

namespace ferrow {

const std::array<unsigned char, kVaricodePlaces>& varicodeDecoding() {
    static const auto table = [] {
        std::array<unsigned char, kVaricodePlaces> places{};
        for (unsigned byte = 0; byte < kVaricode.size(); ++byte) {
            const auto code = static_cast<unsigned>(kVaricode[byte] >> 4);
            places[code >> (std::countr_zero(code) + 1)] = static_cast<unsigned char>(byte);
        }
        return places;
    }();
    return table;
}

} // namespace ferrow
