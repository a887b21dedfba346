#include "modes/chirp/chirp_receiver.hpp"

#include "core/fft/fft.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ferrow {

ChirpReceiver::ChirpReceiver()
    : decimated_(kMost / kDecimation + 1), folded_(kTransform, Cfloat()), spectrum_(kTransform, Cfloat()),
      history_(kHistory) {
    mixer_.configure(kDecimation);
    for (int i = 0; i < kWindow; ++i) {
        const double phase = ChirpWave::phase((i + 0.5) * kDecimation / ChirpWave::kRate);
        rising_[static_cast<std::size_t>(i)] = Cfloat(std::polar(1.0, -phase));
        falling_[static_cast<std::size_t>(i)] = Cfloat(std::polar(1.0, phase));
    }
}

std::optional<ChirpReport> ChirpReceiver::process(std::span<const std::complex<float>> block, double centre) {
    const double step = -2 * std::numbers::pi * std::fmod(centre, ChirpWave::kRate) / ChirpWave::kRate;
    const std::size_t count = mixer_.process(
        step, kDecimation, block.first(std::min<std::size_t>(block.size(), kMost)), decimated_);
    std::optional<ChirpReport> heard;
    for (std::size_t i = 0; i < count; ++i) {
        // What lies above the tuned frequency has a negative one in the samples.
        const Cfloat sample = std::conj(decimated_[i]);
        const bool sound = std::isfinite(sample.real()) && std::isfinite(sample.imag());
        window_[static_cast<std::size_t>(windowAt_)] = sound ? sample : Cfloat();
        windowAt_ = (windowAt_ + 1) % kWindow;
        if (--untilHop_ > 0)
            continue;
        untilHop_ = kHop;
        hop();
        if (filled_ < kHistory)
            continue;
        if (const Sync sync = findSync(); sync.strength > kSyncThreshold) {
            auto report = read(sync);
            if (report && (!pending_ || report->sync > pending_->sync)) {
                if (!pending_)
                    pendingHops_ = 0;
                report->age -= pendingHops_ * kHop * kDecimation / ChirpWave::kRate;
                pending_ = std::move(report);
            }
        }
        if (pending_ && ++pendingHops_ > kSettle) {
            pending_->age += pendingHops_ * kHop * kDecimation / ChirpWave::kRate;
            heard = std::exchange(pending_, std::nullopt);
        }
    }
    return heard;
}

void ChirpReceiver::hop() {
    newest_ = (newest_ + 1) % kHistory;
    filled_ = std::min(filled_ + 1, kHistory);
    Energies& energies = history_[static_cast<std::size_t>(newest_)];
    correlate(rising_, energies.rising);
    correlate(falling_, energies.falling);
}

void ChirpReceiver::correlate(const std::array<Cfloat, kWindow>& reference,
                              std::array<float, kBins>& energies) {
    std::size_t from = static_cast<std::size_t>(windowAt_);
    for (std::size_t i = 0; i < kWindow / kFold; ++i) {
        Cfloat sum = 0;
        for (std::size_t k = 0; k < kFold; ++k) {
            const Cfloat x = window_[from], r = reference[i * kFold + k];
            sum +=
                Cfloat(x.real() * r.real() - x.imag() * r.imag(), x.real() * r.imag() + x.imag() * r.real());
            if (++from == kWindow)
                from = 0;
        }
        folded_[i] = sum;
    }
    fft::forward(folded_, spectrum_);
    for (int b = -kReach; b <= kReach; ++b)
        energies[static_cast<std::size_t>(b + kReach)] =
            std::norm(spectrum_[static_cast<std::size_t>(b & (kTransform - 1))]);
}

const ChirpReceiver::Energies& ChirpReceiver::at(int symbol) const {
    const int back = (ChirpFrame::kSymbols - 1 - symbol) * kHopsPerSymbol;
    return history_[static_cast<std::size_t>((newest_ + kHistory - back) % kHistory)];
}

ChirpReceiver::Sync ChirpReceiver::findSync() const {
    std::array<float, kBins> rising{}, falling{};
    double total = 0;
    for (int symbol = 0; symbol < ChirpFrame::kSync; ++symbol) {
        const Energies& energies = at(symbol);
        const float sign = ChirpFrame::kSyncRises[static_cast<std::size_t>(symbol)] ? 1.0f : -1.0f;
        float sum = 0;
        for (std::size_t b = 0; b < kBins; ++b) {
            rising[b] += sign * energies.rising[b];
            falling[b] -= sign * energies.falling[b];
            sum += energies.rising[b] + energies.falling[b];
        }
        total += sum;
    }
    const double noise = total / (2.0 * kBins * ChirpFrame::kSync);
    if (!(noise > 0))
        return {0, 0, 0};
    const auto best = static_cast<int>(std::max_element(rising.begin(), rising.end()) - rising.begin());
    const auto from = falling.begin() + std::max(best - kSkew, 0);
    const auto to = falling.begin() + std::min(best + kSkew + 1, kBins);
    const auto other = std::max_element(from, to);
    return {best, static_cast<int>(other - falling.begin()),
            (static_cast<double>(rising[static_cast<std::size_t>(best)]) + static_cast<double>(*other)) /
                noise};
}

std::optional<ChirpReport> ChirpReceiver::read(const Sync& sync) const {
    std::array<bool, ChirpFrame::kPayload> rises;
    double with = 0, without = 0;
    for (int symbol = 0; symbol < ChirpFrame::kSymbols; ++symbol) {
        const double up = at(symbol).rising[static_cast<std::size_t>(sync.rising)];
        const double down = at(symbol).falling[static_cast<std::size_t>(sync.falling)];
        with += std::max(up, down);
        without += std::min(up, down);
        if (symbol >= ChirpFrame::kSync)
            rises[static_cast<std::size_t>(symbol - ChirpFrame::kSync)] = up > down;
    }
    const auto message = readChirps(code_, rises);
    if (!message || message->corrected > kMostCorrected)
        return std::nullopt;
    ChirpReport report;
    report.callsign = message->callsign;
    report.corrected = message->corrected;
    report.sync = sync.strength;
    // A window that begins late sees a rising chirp high and a falling one low.
    const double middle = 0.5 * (sync.rising + sync.falling) - kReach;
    const double skew = 0.5 * (sync.rising - sync.falling) * kBin / ChirpWave::kSlope;
    report.offset = middle * kBin;
    report.age = ChirpFrame::kSymbols * ChirpWave::kSeconds + skew;
    const double ratio = std::max(with - without, 1e-30) / std::max(without, 1e-30);
    report.snr = 10 * std::log10(ratio / (2500 * ChirpWave::kSeconds));
    return report;
}

} // namespace ferrow
