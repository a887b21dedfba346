#include "modes/rtty_transmitter.hpp"

#include "modes/baudot.hpp"

#include <cmath>

namespace ferrow {

namespace {

constexpr double kSpaceAngle = 0.26179939166666666; // radians a sample: 2000 Hz
constexpr double kMarkAngle = 0.2840523399583333;   // 2170 Hz
constexpr int kElement = 1056;                      // samples, 22 ms
constexpr int kStopElement = 1584;                  // 33 ms
constexpr int kBits = 6;                            // behind the start element, the stop element included
constexpr int kBitsWithShift = 13;
constexpr int kStopOfShift = 7; // bits left at the stop element between a shift and its character

std::complex<double> stepOf(double angle) {
    return {std::cos(angle), -std::sin(angle)};
}

} // namespace

const std::complex<double> RttyTransmitter::kMarkStep = stepOf(kMarkAngle);
const std::complex<double> RttyTransmitter::kSpaceStep = stepOf(kSpaceAngle);

bool RttyTransmitter::nextElement() {
    if (--bitsLeft_ < 0)
        return false;
    shiftRegister_ >>= 1;
    mark_ = (shiftRegister_ & 1) != 0;
    elementCount_ = bitsLeft_ == 0 || bitsLeft_ == kStopOfShift ? kStopElement : kElement;
    return true;
}

void RttyTransmitter::beginCharacter(int byte) {
    int entry = byte > 0 ? baudotEntries[static_cast<unsigned char>(byte)] : 0;
    if (entry == 0) // nothing to send, or nothing that has a code
        entry = baudotEntries[kLettersShift];
    bitsLeft_ = kBits;
    mark_ = false;
    elementCount_ = kElement;
    const bool figures = (entry & kEntryFigures) != 0;
    if ((entry & kEntryBoth) == 0 && figures != figures_) {
        figures_ = figures;
        bitsLeft_ = kBitsWithShift;
        const int shift = baudotEntries[figures ? kFiguresShift : kLettersShift];
        shiftRegister_ = static_cast<std::uint32_t>(shift >> 2 | (entry & ~3) << 5);
    } else {
        shiftRegister_ = static_cast<std::uint32_t>(entry >> 2);
    }
}

} // namespace ferrow
