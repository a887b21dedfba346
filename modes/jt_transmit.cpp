// The transmit side of JTModDemod.

#include "modes/end_transmission.hpp"
#include "modes/jt_mod_demod.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <span>

namespace ferrow {

namespace {

constexpr double kPi = 3.1415927f; // the short value stays
constexpr double kRate = 48000.0;
constexpr double kAmplitude = 0.98;
constexpr std::int64_t kFarthestSymbol = 1 << 30;
constexpr int kTableSpan = 1024; // of a symbol; a table has one entry more

using StepTable = std::array<double, kTableSpan + 1>;

// A step from 0 to 1 smoothed by a Gaussian of bandwidth-time product `product`, across entry 512.
StepTable smoothStep(double product) {
    StepTable table;
    const double slope = std::numbers::pi * product * std::sqrt(2 / std::numbers::ln2);
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = 0.5 * (1 + std::erf(slope * (static_cast<double>(i) / kTableSpan - 0.5)));
    return table;
}

const StepTable& tableFor(int choice) {
    static const StepTable one = smoothStep(1), two = smoothStep(2), ten = smoothStep(10),
                           fifty = smoothStep(50);
    switch (choice) {
    case 2:
        return two;
    case 10:
        return ten;
    case 50:
        return fifty;
    default:
        return one;
    }
}

double at(std::span<const double> table, double x) {
    const double bounded = std::clamp(x, 0.0, static_cast<double>(kTableSpan));
    const auto i = std::min(static_cast<std::size_t>(bounded), table.size() - 2);
    const double share = bounded - static_cast<double>(i);
    return table[i] + share * (table[i + 1] - table[i]);
}

} // namespace

void JTModDemod::startTransmission() {
    if (Queued* arrived = incoming_.exchange(nullptr, std::memory_order_acq_rel))
        queued_.reset(arrived);
    if (!queued_ || queued_->tones.empty())
        return;
    const std::int64_t length = periodMs();
    const auto link = vtrxLink();
    if (!periodOpen_ || !link || link->ptt.value() || queued_->startMs < periodStartMs_ ||
        queued_->startMs >= periodStartMs_ + length)
        return;
    if (captureCount_ >= length / 2000 * 12000) {
        dropTones_ = true;
        return; // too late; it stays queued, and its time has gone by the next period
    }
    const std::int64_t symbol = std::max(samplesPerSymbol.value(), 1);
    const std::int64_t first =
        std::max(Decimation.value(), 1) * captureCount_ / symbol - StartDelaySamples.value() / symbol - 1;
    auto message = std::make_unique<Message>();
    message->symbolIndex =
        static_cast<int>(std::clamp<std::int64_t>(first, -kFarthestSymbol, kFarthestSymbol));
    message->tones = queued_->tones;
    txMarker_ = queued_->marker;
    queued_.reset();
    transmissions_.fetch_add(1, std::memory_order_acq_rel);
    delete outgoing_.exchange(message.release(), std::memory_order_acq_rel);
    link->ptt.set(true);
}

// Ends the present transmission only: another one may have started when the task runs.
void JTModDemod::endTransmission() {
    const auto link = vtrxLink();
    if (!link || !link->ptt.value())
        return;
    const std::uint32_t number = transmissions_.load(std::memory_order_acquire);
    ferrow::endTransmission(*this, [this, number] { // lives as long as the task, which holds the mode
        return transmissions_.load(std::memory_order_acquire) == number;
    });
}

double JTModDemod::frequencyOf(int symbol) const {
    const int last = static_cast<int>(tones_.size()) - 1;
    return tones_[static_cast<std::size_t>(std::clamp(symbol, 0, last))] * toneSpacing.value() +
           txFreq.value();
}

// False when the message is over.
bool JTModDemod::nextSymbol() {
    if (++symbolIndex_ >= static_cast<int>(tones_.size())) {
        tones_ = {};
        endTransmission();
        return false;
    }
    symbolLength_ = std::max(samplesPerSymbol.value(), 1);
    symbolLeft_ = symbolLength_;
    prevHz_ = frequencyOf(symbolIndex_ - 1);
    curHz_ = frequencyOf(symbolIndex_);
    nextHz_ = frequencyOf(symbolIndex_ + 1);
    const double x = 2 * curHz_ * kPi / kRate;
    stepCos_ = std::cos(x);
    stepSin_ = -std::sin(x);
    return true;
}

// Frequency at this sample, with the steps to both neighbours smoothed by `table`.
double JTModDemod::smoothed(std::span<const double> table, int position, int length) const {
    const std::int64_t half = length / 2;
    const auto place = [&](std::int64_t x) { return static_cast<double>(x) * kTableSpan / length; };
    if (position >= half)
        return at(table, place(position - half)) * nextHz_ +
               at(table, place(half - 1 + symbolLeft_)) * curHz_;
    return at(table, place(half - 1 + symbolLeft_ - length)) * prevHz_ +
           at(table, place(position + half)) * curHz_;
}

double JTModDemod::amplitude() const {
    const int taper = TaperSamples.value();
    const bool last = symbolIndex_ + 1 == static_cast<int>(tones_.size());
    std::int64_t place = -1;
    if (last && symbolLeft_ < taper)
        place = symbolLeft_;
    else if (txSamples_ < taper)
        place = txSamples_;
    if (place < 0)
        return kAmplitude;
    return kAmplitude * (0.5 * std::cos(std::numbers::pi * static_cast<double>(taper - place) / taper) + 0.5);
}

void JTModDemod::modulate(buff<std::complex<float>>, buff<std::complex<float>> out) {
    if (dropTones_.exchange(false, std::memory_order_acq_rel))
        tones_ = {};
    if (Message* message = outgoing_.exchange(nullptr, std::memory_order_acq_rel)) {
        tones_ = message->tones;
        symbolIndex_ = message->symbolIndex;
        symbolLeft_ = 0;
        txSamples_ = 0;
        delete message;
    }
    if (!Enabled.value() || tones_.empty()) {
        tones_ = {};
        std::fill(out.begin(), out.end(), std::complex<float>());
        endTransmission(); // there is nothing to send
        return;
    }
    const double norm = std::hypot(phaseRe_, phaseIm_);
    if (norm > 0 && std::isfinite(norm)) {
        phaseRe_ /= norm;
        phaseIm_ /= norm;
    } else { // a tone that was no number
        phaseRe_ = 1;
        phaseIm_ = 0;
    }
    const bool smooth = FreqDevTable.value() >= 1;
    const StepTable& table = tableFor(FreqDevTable.value());
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (symbolLeft_ == 0 && !nextSymbol()) {
            std::fill(out.begin() + i, out.end(), std::complex<float>());
            return;
        }
        double level = kAmplitude;
        if (smooth) {
            const double x = 2 * smoothed(table, symbolLength_ - symbolLeft_, symbolLength_) * kPi / kRate;
            stepCos_ = std::cos(x);
            stepSin_ = -std::sin(x);
            level = amplitude();
        }
        const double re = stepCos_ * phaseRe_ - stepSin_ * phaseIm_;
        phaseIm_ = stepCos_ * phaseIm_ + stepSin_ * phaseRe_;
        phaseRe_ = re;
        if (symbolIndex_ < 0)
            level = 0;
        else
            ++txSamples_;
        out[i] = {static_cast<float>(phaseRe_ * level), static_cast<float>(phaseIm_ * level)};
        --symbolLeft_;
    }
}

} // namespace ferrow
