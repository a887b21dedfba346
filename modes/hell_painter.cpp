#include "modes/hell_painter.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {

namespace {

constexpr double kPi = 3.1415927f; // the short value stays
constexpr double kRate = 48000.0;
constexpr double kLevel = 0.45; // half of a dot's peak
constexpr int kColumns = 5, kTopRow = 7;
constexpr double kLongestRow = 60 * kRate; // samples

} // namespace

bool HellPainter::beginRow(double frequencyStep) {
    const double length = kRate / frequencyStep;
    rowLength_ = length >= 1 ? static_cast<int>(std::min(length, kLongestRow)) : 1;
    countdown_ = rowLength_;
    rowMask_ <<= 1;
    if (rowIndex_ > 0) {
        --rowIndex_;
        return false;
    }
    rowIndex_ = kTopRow;
    rowMask_ = 1;
    if (columnIndex_ > kColumns - glyph_->width) {
        --columnIndex_;
        return false;
    }
    columnIndex_ = kColumns; // the blank column
    return true;
}

void HellPainter::setGlyph(int character) {
    const bool known = character >= kHellFirst && character < kHellEnd;
    glyph_ = &hellFont[known ? static_cast<std::size_t>(character - kHellFirst) : 0];
}

void HellPainter::keyRow(double frequencyStep) {
    const unsigned column =
        columnIndex_ < kColumns ? glyph_->columns[static_cast<std::size_t>(kColumns - 1 - columnIndex_)] : 0;
    falling_ = rising_;
    const double hertz = std::isfinite(frequencyStep) ? kTopTone - rowIndex_ * frequencyStep : kTopTone;
    const double angle = 2 * std::fmod(hertz, kRate) / kRate * kPi;
    rising_.step = {std::cos(angle), -std::sin(angle)};
    rising_.key = (column & rowMask_) != 0 ? 1.0 : 0.0;
}

std::complex<float> HellPainter::turn() {
    const double c = countdown_, r = rowLength_;
    const double rise = kLevel * rising_.key * (1 + std::cos(kPi * c / r));
    const double fall = kLevel * falling_.key * (1 + std::cos(kPi * (c - r) / r));
    rising_.phasor *= rising_.step;
    falling_.phasor *= falling_.step;
    const std::complex<double> sum = rise * rising_.phasor + fall * falling_.phasor;
    return {static_cast<float>(sum.real()), static_cast<float>(sum.imag())};
}

} // namespace ferrow
