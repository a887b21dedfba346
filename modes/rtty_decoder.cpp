#include "modes/rtty_decoder.hpp"

#include "modes/baudot.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fmt/format.h>
#include <utility>

namespace ferrow {

namespace {

constexpr double kPi = 3.1415927f; // the short value stays
constexpr int kDebugEvery = 256;   // input samples
constexpr int kSlot = 16;          // samples at 6000 a second, and 17 every other time

} // namespace

RttyDecoder::RttyDecoder() : debugBuffer_(kDebugValues) {}

void RttyDecoder::Tone::retune(double hertz) {
    const double angle = std::fmod(hertz * 2 * kPi * (1.0 / 6000), 2 * kPi);
    step = {std::cos(angle), -std::sin(angle)};
}

void RttyDecoder::Tone::push(std::complex<double> sample, int at) {
    correlator.push(sample * std::conj(phasor), at);
    phasor *= step;
}

std::string_view RttyDecoder::process(std::span<const std::complex<float>> block, double rxFreq) {
    textLength_ = 0;
    upper_.retune(rxFreq + kShift);
    lower_.retune(rxFreq);
    for (std::size_t i = 0; i < block.size(); ++i) {
        const bool forDebug = debugAt_ == 0;
        debugAt_ = (debugAt_ + 1) % kDebugEvery;
        const bool counts = sampleAt_ == 0;
        sampleAt_ = (sampleAt_ + 1) % kDecimation;
        if (!counts)
            continue;
        std::complex<double> sample(block[i].real(), block[i].imag());
        if (!std::isfinite(sample.real()) || !std::isfinite(sample.imag()))
            sample = 0; // it would stay in the sums for ever
        upper_.push(sample, productAt_);
        lower_.push(sample, productAt_);
        productAt_ = (productAt_ + 1) % kBit;
        if (forDebug) {
            debugBuffer_[static_cast<std::size_t>(debugFill_)] =
                static_cast<float>(upper_.magnitude() - lower_.magnitude());
            if (++debugFill_ == kDebugValues) {
                finishedDebug_ = debugBuffer_;
                debugBuffer_ = buff<float>(kDebugValues);
                debugFill_ = 0;
            }
        }
        if (--slotCountdown_ > 0)
            continue;
        slotCountdown_ = kSlot + (slotToggle_ ? 1 : 0);
        slotToggle_ = !slotToggle_;
        slot();
    }
    upper_.phasor /= std::abs(upper_.phasor);
    lower_.phasor /= std::abs(lower_.phasor);
    return {text_.data(), textLength_};
}

void RttyDecoder::slot() {
    ring_[static_cast<std::size_t>(ringPos_)] = {static_cast<float>(upper_.magnitude()),
                                                 static_cast<float>(lower_.magnitude())};
    // Seven bit times back, the newest first: stop, five bits from the last to the first, start.
    std::array<double, 7> e;
    for (int k = 0; k < 7; ++k) {
        const Magnitudes& at = ring_[static_cast<std::size_t>((ringPos_ - kSlotsPerBit * k) & (kRing - 1))];
        e[static_cast<std::size_t>(k)] = at.lower - at.upper;
    }
    const auto [least, most] = std::minmax_element(e.begin(), e.end());
    const double threshold = 0.5 * (*least + *most);
    for (double& value : e)
        value -= threshold;
    int code = 0;
    double score = 2 * e[0] - e[6];
    for (std::size_t k = 1; k <= 5; ++k) {
        code = code << 1 | (e[k] > 0 ? 1 : 0);
        score += std::abs(e[k]);
    }
    PhaseRecord& record = phaseRecords_[static_cast<std::size_t>(phase_)];
    record.scores = {score, record.scores[0], record.scores[1]};
    record.code = code;
    if (score > bestScore_) {
        bestScore_ = score;
        bestCode_ = code;
        bestPhase_ = phase_;
    }
    if (++phase_ == kPhases)
        endCharacter();
    ringPos_ = (ringPos_ + 1) & (kRing - 1);
}

void RttyDecoder::endCharacter() {
    int distance = std::abs(bestPhase_ - lastPhase_);
    if (distance > kPhases / 2)
        distance = kPhases - distance;
    if (distance > kSteady) {
        const PhaseRecord& best = phaseRecords_[static_cast<std::size_t>(bestPhase_)];
        const PhaseRecord& last = phaseRecords_[static_cast<std::size_t>(lastPhase_)];
        if (!(best.sum() > last.sum())) {
            bestCode_ = last.code;
            bestPhase_ = lastPhase_;
            distance = 0;
        } else {
            std::array<char, 160> line;
            const auto end = fmt::format_to_n(line.data(), line.size(), "\n{:g} {:g} {:g} {:g}\n",
                                              best.scores[0], best.scores[2], last.scores[0], last.scores[2]);
            write({line.data(), std::min(end.size, line.size())});
        }
    }
    if (bestCode_ == kSpaceCode)
        figures_ = false;
    const unsigned char character =
        baudotCharacters[static_cast<std::size_t>(bestCode_ + (figures_ ? 32 : 0))];
    if (character == kFiguresShift) {
        figures_ = true;
    } else if (character == kLettersShift) {
        figures_ = false;
    } else {
        if (distance > kSteady) {
            std::array<char, 8> mark;
            const auto end = fmt::format_to_n(mark.data(), mark.size(), "#{}", distance);
            write({mark.data(), end.size});
        }
        const char text = static_cast<char>(character);
        write({&text, 1});
    }
    phase_ = 0;
    bestScore_ = -1e15;
    lastPhase_ = bestPhase_;
}

void RttyDecoder::write(std::string_view text) {
    const std::size_t taken = std::min(text.size(), text_.size() - textLength_);
    std::copy_n(text.begin(), taken, text_.begin() + static_cast<std::ptrdiff_t>(textLength_));
    textLength_ += taken;
}

buff<float> RttyDecoder::takeDebug() {
    return std::exchange(finishedDebug_, {});
}

} // namespace ferrow
