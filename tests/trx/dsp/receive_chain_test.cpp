// The figures of mixer and filter together, as the receive chain runs them: hardware centre, tuned frequency,
// upper sideband filter, blocks of 512.
#include "reference.hpp"
#include "trx/dsp/bandpass_design.hpp"
#include "trx/dsp/decimating_mixer.hpp"
#include "trx/dsp/overlap_filter.hpp"

#include <cstdio>
#include <gtest/gtest.h>

using namespace ferrow;
using namespace ferrow::test;

namespace {

constexpr double kCentre = 14100000, kVfo = 14171234;

// Seconds of filter output for a carrier at `offset` Hz from the tuned frequency.
std::vector<cf> receive(int rate, double offset, double seconds) {
    const int factor = rate / 48000;
    const size_t chunk = 512 * size_t(factor);
    const double theta = kTau * (kCentre - kVfo) / rate;
    const size_t blocks = size_t(seconds * 48000 / 512);
    const auto in = carrier(blocks * chunk, kVfo + offset - kCentre, rate);
    decimatingMixer mixer;
    overlapFilter filter(designBandpass(300, 2700, 48000, 1536, 1536));
    std::vector<cf> out;
    for (size_t block = 0; block < blocks; ++block) {
        EXPECT_EQ(
            mixer.process(theta, factor, std::span(in).subspan(block * chunk, chunk), filter.input.span()),
            512u);
        filter.run();
        out.insert(out.end(), filter.output.begin(), filter.output.end());
    }
    return out;
}

double steadyPeak(const std::vector<cf>& x) {
    double peak = 0;
    for (size_t i = 2048; i < x.size(); ++i)
        peak = std::max(peak, std::abs(cd(x[i])));
    return peak;
}

} // namespace

TEST(ReceiveChain, ACarrierAtVfoPlus1000ComesOutAt1000WithinATenthHz) {
    for (int rate : {192000, 384000}) {
        const auto out = receive(rate, 1000, 1.2);
        // Phase of the audio, the real part, against 1000 Hz over two half seconds.
        const auto phaseAt = [&](size_t first) {
            cd sum = 0;
            for (size_t i = first; i < first + 4800; ++i)
                sum += double(out[i].real()) * std::polar(1.0, -kTau * 1000 * double(i) / 48000);
            return std::arg(sum);
        };
        const double drift = std::remainder(phaseAt(50400) - phaseAt(2400), kTau);
        const double frequency = 1000 + drift / kTau;
        std::printf("%d Hz: %.6f Hz\n", rate, frequency);
        EXPECT_NEAR(frequency, 1000, 0.1);
        EXPECT_NEAR(decibels(steadyPeak(out)), 0, 0.01);
    }
}

TEST(ReceiveChain, OppositeSidebandIsAtLeast90DbDown) {
    for (int rate : {192000, 384000})
        for (double offset : {-1000.0, -350.0, -2600.0}) {
            const double level = decibels(steadyPeak(receive(rate, offset, 0.3)));
            std::printf("%d Hz, %5.0f Hz: %.1f dB\n", rate, offset, level);
            EXPECT_LT(level, -90);
        }
}
