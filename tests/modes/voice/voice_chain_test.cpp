// The shared transmit chain and its filter design, against slow double-precision forms.
#include "modes/voice_chain.hpp"
#include "tests/modes/voice/voice_signals.hpp"
#include "trx/dsp/weighted_bandpass.hpp"

namespace ferrow {
namespace {

using namespace test;
using cd = std::complex<double>;

Samples impulse(std::size_t taps) {
    Samples b(taps, 0.0f);
    b[0] = 1;
    return b;
}

Samples block(const std::vector<cf>& x, std::size_t n) {
    return toBuff({x.begin() + static_cast<std::ptrdiff_t>(512 * n),
                   x.begin() + static_cast<std::ptrdiff_t>(512 * n + 512)});
}

// Noise into the clipper, a short low-pass that grows peaks back, and the limiter over six samples.
TEST(VoiceChain, ClipsCleansAndLimitsAsTheFormulaSays) {
    constexpr std::size_t blocks = 4, length = 63;
    constexpr double compression = 1.7, scale = 0.94;
    const auto lowpass = lowPass(0.35, length);
    Samples clean(VoiceChain::kCleanTaps, 0.0f);
    for (std::size_t i = 0; i < length; ++i)
        clean[i] = static_cast<float>(lowpass[i]);
    VoiceChain chain(static_cast<float>(scale));
    chain.loadEq(impulse(VoiceChain::kEqTaps));
    chain.loadClean(clean);

    const auto in = noise(512 * blocks);
    std::vector<cd> clipped, cleaned(in.size());
    double peak = 0;
    for (const cf& x : in) {
        const cd z = 2 * compression * cd(x);
        peak = std::max(peak, std::norm(z));
        clipped.push_back(std::norm(z) <= 1 ? z : z / std::abs(z));
    }
    for (std::size_t i = 0; i < in.size(); ++i)
        for (std::size_t k = 0; k < std::min(length, i + 1); ++k)
            cleaned[i] += lowpass[k] * clipped[i - k];
    const auto at = [&](std::ptrdiff_t i) {
        return i < 0 || i >= static_cast<std::ptrdiff_t>(cleaned.size())
                   ? cd()
                   : cleaned[static_cast<std::size_t>(i)];
    };

    bool limited = false;
    const Samples out(512);
    for (std::size_t n = 0; n < blocks; ++n) {
        chain.process(block(in, n), compression, out);
        for (std::size_t i = 0; i < 512; ++i) {
            const auto now = static_cast<std::ptrdiff_t>(512 * n + i);
            double p = 0; // six samples from six back; the third of them leaves
            for (std::ptrdiff_t k = now - 6; k < now; ++k)
                p = std::max(p, std::abs(at(k)));
            const double divisor = p <= 1 ? 1 : 2 * (p - 1) + 1;
            limited = limited || divisor > 1;
            ASSERT_NEAR(std::abs(cd(out[i]) - scale * at(now - 3) / divisor), 0, 3e-5) << now;
        }
    }
    EXPECT_TRUE(limited);
    EXPECT_NEAR(chain.peak(), peak, 1e-4 * peak);
}

TEST(VoiceChain, IsSilentUntilItHasFilters) {
    VoiceChain chain(1);
    const Samples out(512, 1.0f);
    chain.process(Samples(512, 0.5f), 1, out);
    for (const auto& z : out)
        ASSERT_EQ(z, cf());
}

// The transforms as sums.
TEST(WeightedBandpass, IsTheWeightedAndWindowedBandpass) {
    constexpr std::size_t n = 256;
    constexpr double rate = 48000, low = 2000, high = 9000;
    const auto weight = [](double f) { return f >= 3000 && f < 8000 ? 1 + f / 5000 : f < 0 ? 0.5 : 1.0; };
    std::vector<std::pair<std::size_t, double>> asked;
    const auto taps = weightedBandpass(low, high, rate, n, [&](std::size_t bin, double f) {
        asked.emplace_back(bin, f);
        return weight(f);
    });
    ASSERT_EQ(asked.size(), n);
    std::vector<cd> plain(n), spectrum(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double t = double(i) - (n - 1) / 2.0;
        plain[i] = std::sin(std::numbers::pi * (high - low) / rate * t) / (std::numbers::pi * t) *
                   std::polar(1.0, -std::numbers::pi * (high + low) / rate * t);
    }
    for (std::size_t k = 0; k < n; ++k) {
        const double f = k < n / 2 ? -double(k) * rate / n : rate - double(k) * rate / n;
        EXPECT_EQ(asked[k].first, k);
        EXPECT_NEAR(asked[k].second, f, 1e-9);
        for (std::size_t i = 0; i < n; ++i)
            spectrum[k] += plain[i] * std::polar(1.0, -kTau * double(i * k % n) / n) * weight(f);
    }
    for (std::size_t i = 0; i < n; ++i) {
        cd tap = 0;
        for (std::size_t k = 0; k < n; ++k)
            tap += spectrum[k] * std::polar(1.0, kTau * double(i * k % n) / n) / double(n);
        ASSERT_NEAR(std::abs(cd(taps[i]) - tap * cosineWindow(double(i), double(n))), 0, 1e-6) << i;
    }
}

} // namespace
} // namespace ferrow
