#include "host/ft8_snr.hpp"

#include "host/arrays.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {
namespace {

constexpr std::size_t kWindow = 2048, kHop = 1024;
constexpr double kReference = 2500;                                   // Hz
constexpr double kNoiseLow = 300, kNoiseHigh = 2700, kNoiseBand = 50; // Hz
constexpr double kNoiseRank = 0.2;                                    // place among the bands' levels
constexpr double kEdge = 12; // Hz that a window spreads a tone to either side

} // namespace

SnrMeter::SnrMeter(const Sound& period) {
    if (period.rate <= 0 || period.samples.size() < kWindow)
        return;
    binWidth_ = static_cast<double>(period.rate) / kWindow;
    frameSeconds_ = static_cast<double>(kHop) / period.rate;
    windowSeconds_ = static_cast<double>(kWindow) / period.rate;
    std::vector<double> window(kWindow);
    for (std::size_t i = 0; i < kWindow; ++i)
        window[i] = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * (static_cast<double>(i) + 0.5) / kWindow);
    ComplexSeries series(kWindow);
    std::vector<double> mean(kWindow / 2);
    for (std::size_t at = 0; at + kWindow <= period.samples.size(); at += kHop) {
        for (std::size_t i = 0; i < kWindow; ++i)
            series[i] = window[i] * static_cast<double>(period.samples[at + i]);
        series.forward();
        std::vector<float>& frame = power_.emplace_back(kWindow / 2);
        for (std::size_t k = 0; k < frame.size(); ++k) {
            frame[k] = static_cast<float>(std::norm(series[k]));
            mean[k] += static_cast<double>(frame[k]);
        }
    }
    const auto bandBins = static_cast<std::size_t>(std::max(1.0, kNoiseBand / binWidth_));
    std::vector<double> bands;
    for (auto k = static_cast<std::size_t>(kNoiseLow / binWidth_);
         k + bandBins < mean.size() && static_cast<double>(k) * binWidth_ < kNoiseHigh; k += bandBins) {
        double sum = 0;
        for (std::size_t i = 0; i < bandBins; ++i)
            sum += mean[k + i];
        bands.push_back(sum / static_cast<double>(bandBins * power_.size()));
    }
    if (bands.empty())
        return;
    const auto rank =
        bands.begin() + static_cast<std::ptrdiff_t>(kNoiseRank * static_cast<double>(bands.size()));
    std::nth_element(bands.begin(), rank, bands.end());
    noise_ = *rank;
}

double SnrMeter::measure(double frequency, double start, const SlotFormat& format) const {
    const double low = frequency - format.toneSpacing / 2 - kEdge;
    const double high = frequency + (format.tones - 0.5) * format.toneSpacing + kEdge;
    const auto first = static_cast<std::size_t>(std::max(0.0, std::ceil(low / binWidth_)));
    double above = 0;
    int frames = 0;
    for (std::size_t t = 0; t < power_.size(); ++t) {
        const double begins = static_cast<double>(t) * frameSeconds_;
        if (begins < start || begins + windowSeconds_ > start + format.airTime)
            continue;
        for (std::size_t k = first; k < power_[t].size() && static_cast<double>(k) * binWidth_ <= high; ++k)
            above += static_cast<double>(power_[t][k]) - noise_;
        ++frames;
    }
    if (frames == 0 || noise_ <= 0 || above <= 0)
        return kLowest;
    return std::max(kLowest, 10 * std::log10(above / frames / noise_ * binWidth_ / kReference));
}

} // namespace ferrow
