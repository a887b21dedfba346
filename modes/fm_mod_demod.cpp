#include "modes/fm_mod_demod.hpp"

#include "modes/bounded_number.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

namespace {

constexpr int kNarrowRate = 48000;
constexpr double kBroadcastFrom = 12000; // Hz of deviation
constexpr double kPreEmphasisFrom = 300; // Hz
constexpr float kToneLevel = 0.1f;
constexpr double kShareWithTone = 0.85;
constexpr double kLevel = 0.99;
// Bounds of what a host may ask for.
constexpr double kMaxDeviation = 1e6, kMaxTone = 24000;

// NaN counts as broadcast.
int rateOf(double deviation) {
    return deviation < kBroadcastFrom ? kNarrowRate : kNarrowRate * FmReceiver::kBroadcastRatio;
}

} // namespace

fmModDemod::fmModDemod(std::shared_ptr<syncTask> context)
    : fixedBandVoice(
          std::move(context), 300, [](double frequency) { return frequency / kPreEmphasisFrom; },
          "fmModDemod.micEQ") {}

int fmModDemod::sampleRate() {
    return rateOf(deviation.value());
}

buff<float> fmModDemod::demodulate(buff<std::complex<float>> block) {
    const double full = deviation.value();
    return receiver_.process(block, rateOf(full) / kNarrowRate, full, Stereo.value());
}

void fmModDemod::modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) {
    const auto& audio = shape(in, compression.value());
    double share = 1;
    if (const double tone = boundedNumber(CTCSS.value(), kMaxTone); tone > 0) {
        toneOsc_.tune(static_cast<float>(tone));
        for (auto& sample : audio)
            sample += kToneLevel * std::complex<float>(toneOsc_.next());
        toneOsc_.normalise();
        share = kShareWithTone;
    }
    const double scale =
        2 * boundedNumber(deviation.value(), kMaxDeviation) * share * std::numbers::pi / kNarrowRate;
    for (std::size_t i = 0; i < std::min(out.size(), audio.size()); ++i) {
        txPhase_ += audio[i].real() * scale;
        out[i] = {static_cast<float>(kLevel * std::cos(txPhase_)),
                  static_cast<float>(-kLevel * std::sin(txPhase_))};
    }
    constexpr double turn = 2 * std::numbers::pi;
    if (std::abs(txPhase_) > turn)
        txPhase_ -= std::copysign(turn, txPhase_);
    if (std::abs(txPhase_) > 1e6) // far out by a wild deviation
        txPhase_ = std::remainder(txPhase_, turn);
}

} // namespace ferrow
