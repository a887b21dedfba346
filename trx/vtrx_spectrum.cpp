#include "core/buff/buff_math.hpp"
#include "core/fft/fft.hpp"
#include "trx/dsp/window.hpp"
#include "trx/hertz.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace ferrow {

namespace {

constexpr double kOutOfBandStep = 3.14;
constexpr float kEmptyBin = 1e-20f;  // outside of all data
constexpr float kZeroPower = 1e-38f; // keeps the logarithm finite
constexpr double kSmallestZoom = 1.0 / 1024;
constexpr int kMaxOverlapExponent = 11; // 2^11 frames for one frame's samples

} // namespace

struct vtrx::SpectrumPass {
    double zoom = 1;
    int overlap = 1;
    int decimation = 1;
    int rate = 0; // after decimation
    int averages = 1;
    long long blockCentre = 0;
    // Of the display, for the present frame.
    double low = 0, high = 0, binWidth = 0;
    int first = 0, last = 0; // bins of the narrow band; may lie outside of the display
};

void vtrx::processRxSpectrumChunk(const Samples& iq, long long rxFrequency, int rate, buff<float> wide,
                                  double wideSpan) {
    const int counted = rate == 2000000 ? 3072000 : rate;
    const double zoomLimit = std::max(counted / 48000 * 512 * 0.125, 1.0);
    SpectrumPass pass;
    pass.zoom = std::min(specZoom.value() > 0 ? std::max(specZoom.value(), kSmallestZoom) : 1.0, zoomLimit);
    pass.rate = rate;
    pass.blockCentre = rxFrequency;
    const bool foreground = foregroundDisplay.value();
    if (!foreground) {
        idleMs_ += static_cast<int>(static_cast<long long>(iq.size()) * 1000 / rate);
        if (idleMs_ < 500 - 2048000 / rate)
            return;
    }
    pass.averages = std::max(1, rate / std::max(1, static_cast<int>(pass.zoom)) / 245760);
    const int overlapBase = 1 << std::clamp(waterfallSpeed.value(), 0, kMaxOverlapExponent);
    const bool zoomed = pass.zoom > 1;
    if (zoomed) {
        // The mixer's stages halve the rate: a zoom between two powers of two shows the wider span.
        pass.decimation = static_cast<int>(std::bit_floor(static_cast<unsigned>(pass.zoom)));
        pass.overlap = foreground ? static_cast<int>(overlapBase * pass.zoom * 0.5) : 1;
    } else {
        pass.overlap = foreground ? overlapBase : 1;
    }
    pass.overlap = std::clamp(pass.overlap, 1, kSpectrum);

    const auto decimation = static_cast<std::size_t>(pass.decimation);
    std::size_t consumed = 0;
    while (consumed < iq.size()) {
        const auto filled = static_cast<std::size_t>(specPos_);
        const std::size_t free = kSpectrum - filled;
        const std::size_t n = std::min(free * decimation, iq.size() - consumed);
        std::size_t m = n;
        const std::span<std::complex<float>> target(specBuffer_.data() + filled, free);
        const std::span<const std::complex<float>> source(iq.data() + consumed, n);
        if (pass.decimation > 1) {
            const double step = 2 * std::numbers::pi * static_cast<double>(rxFrequency - specCentre_) /
                                static_cast<double>(rate);
            // What is no whole multiple of the decimation waits in the mixer for the next chunk.
            m = specMixer_.process(step, pass.decimation, source, target);
            if (std::abs(step) < kOutOfBandStep)
                pass.blockCentre = specCentre_;
            pass.rate = rate / pass.decimation;
        } else {
            std::copy(source.begin(), source.end(), target.begin());
        }
        if (n == 0) {
            std::fprintf(stderr, "%g %zu %zu ############\n", pass.zoom, free, n);
            specPos_ = 0;
            break;
        }
        if (pass.overlap == 1)
            multiplyByWindow(target.data(), specWindow_.data() + filled, target.data(), m);
        consumed += n;
        specPos_ += static_cast<int>(m);
        if (specPos_ == kSpectrum)
            spectrumFrame(pass, wide, wideSpan);
    }
}

void vtrx::spectrumFrame(SpectrumPass& pass, buff<float>& wide, double wideSpan) {
    idleMs_ = 0;
    if (pass.overlap == 1) {
        fft::forward(specBuffer_, specResult_);
    } else {
        multiplyByWindow(specBuffer_.data(), specWindow_.data(), specScratch_.data(), kSpectrum);
        fft::forward(specScratch_, specResult_);
    }

    if (pass.zoom >= 1 || wide.size() != kSpectrum || !(wideSpan > 0))
        wide = {};
    const int halfRate = std::max(pass.rate / 2, 1);
    const bool widened = pass.zoom < 1 && !wide.empty();
    const double half = widened ? halfRate / pass.zoom : halfRate;
    pass.low = static_cast<double>(specCentre_) - half;
    pass.high = static_cast<double>(specCentre_) + half;
    pass.binWidth = (pass.high - pass.low) / kSpectrum;
    const auto binOf = [&pass](double frequency) {
        return static_cast<int>(std::clamp((frequency - pass.low) / pass.binWidth, -1e6, 1e6));
    };
    pass.first = binOf(static_cast<double>(pass.blockCentre - halfRate));
    pass.last = binOf(static_cast<double>(pass.blockCentre + halfRate));

    buff<float> out(kSpectrum, kEmptyBin);
    fillMargins(pass, wide, wideSpan, out);
    if (pass.first < kSpectrum && pass.last > 0) {
        const int stride = widened ? static_cast<int>(1 / pass.zoom) : 1;
        const float scale = 10.0f / (2048.0f * 2048.0f);
        int u = std::max(0, -pass.first);
        const int end = std::min(pass.last, kSpectrum - 1);
        // The halves of the transform change places and are reversed: bin 1023 is the low edge.
        for (int i = std::max(0, pass.first); i <= end && u < kSpectrum; ++i, u += stride) {
            const auto& bin = specResult_[static_cast<std::size_t>(u < 1024 ? 1023 - u : 3071 - u)];
            out[static_cast<std::size_t>(i)] =
                (bin.real() * bin.real() + bin.imag() * bin.imag()) * scale + kZeroPower;
        }
    }

    ++averageCount_;
    if (pass.averages > 1 && averageCount_ <= pass.averages) {
        if (averageCount_ == 1)
            out.copy(averageSum_);
        else
            for (std::size_t i = 0; i < kSpectrum; ++i)
                averageSum_[i] += out[i];
    }
    if (averageCount_ >= pass.averages) {
        if (pass.averages > 1) {
            const float share = 1.0f / static_cast<float>(pass.averages);
            for (std::size_t i = 0; i < kSpectrum; ++i)
                out[i] = averageSum_[i] * share;
        }
        averageCount_ = 0;
        buff<float> frame(kSpectrum);
        log10Into(out, frame);
        newSpectrum.sendRender(frame, pass.low, pass.high, pass.rate);
    }
    specCentre_ = boundedHertz(specFreq.value());

    specPos_ = 0;
    if (pass.overlap > 1) {
        const std::size_t kept = kSpectrum - kSpectrum / static_cast<std::size_t>(pass.overlap);
        specBuffer_.copyTo(kSpectrum - kept, kept, specBuffer_, 0);
        specPos_ = static_cast<int>(kept);
    }
}

// The parts of the display beyond the narrow band, from the wideband samples where they reach.
void vtrx::fillMargins(const SpectrumPass& pass, const buff<float>& wide, double wideSpan,
                       buff<float>& out) const {
    const int left = std::clamp(pass.first - 1, 0, kSpectrum);
    const int right = std::clamp(pass.last + 1, 0, kSpectrum);
    buff<std::complex<float>> transformed;
    int size = 0;
    if (!wide.empty()) {
        buff<float> windowed(kSpectrum);
        multiplyByWindow(wide.data(), wideWindow_.data(), windowed.data(), kSpectrum);
        transformed = fft::forwardReal(windowed);
        size = kSpectrum / 2;
    }
    const float k = 1.0f / (kSpectrum / 2);
    const float scale = k * k * 10;
    const auto fill = [&](int i) {
        const double j = (pass.low + i * pass.binWidth) * size / wideSpan;
        float value = kEmptyBin;
        if (size > 0 && j > -1 && j < size) {
            const auto& bin = transformed[static_cast<std::size_t>(std::max(j, 0.0))];
            value = (bin.real() * bin.real() + bin.imag() * bin.imag()) * scale + kZeroPower;
        }
        out[static_cast<std::size_t>(i)] = value;
    };
    if (pass.first > 0)
        for (int i = 0; i <= std::min(left, kSpectrum - 1); ++i)
            fill(i);
    if (pass.last < kSpectrum - 1)
        for (int i = right; i < kSpectrum; ++i)
            fill(i);
}

} // namespace ferrow
