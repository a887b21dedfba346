// Each kernel that is written for AVX2, argument 1, beside its plain form, argument 0, on the same input of a
// fixed seed. Behind the timing both forms run once more and have to agree. "per_item" is the time for one
// item of what the kernel is made for.
#include "core/buff/buff_math.hpp"
#include "modes/ft8/sync_search.hpp"
#include "modes/psk/ring_filter.hpp"
#include "radios/hpsdr/receive_frame.hpp"
#include "trx/denoise/inner_product.hpp"
#include "trx/dsp/half_band.hpp"
#include "trx/dsp/mixing.hpp"
#include "trx/dsp/overlap_filter.hpp"
#include "trx/dsp/rational_resampler.hpp"
#include "trx/dsp/window.hpp"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <random>
#include <span>
#include <utility>
#include <vector>

using namespace ferrow;
using cf = std::complex<float>;

namespace {

template <class T>
std::vector<T> noise(std::size_t n, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    std::vector<T> out(n);
    for (auto& x : out)
        x = static_cast<T>(normal(random));
    return out;
}

std::vector<cf> complexNoise(std::size_t n, unsigned seed = 1) {
    const auto parts = noise<float>(2 * n, seed);
    std::vector<cf> out(n);
    for (std::size_t i = 0; i < n; ++i)
        out[i] = {parts[2 * i], parts[2 * i + 1]};
    return out;
}

void append(std::vector<double>& all, float x) {
    all.push_back(static_cast<double>(x));
}
void append(std::vector<double>& all, std::int16_t x) {
    all.push_back(x);
}
void append(std::vector<double>& all, cf z) {
    append(all, z.real());
    append(all, z.imag());
}
void append(std::vector<double>& all, Iq z) {
    all.push_back(z.i);
    all.push_back(z.q);
}

// `run(fast)` writes to `out`, which begins empty of results each time that it is compared. They agree if no
// value is off by more than `tolerance` of the largest.
template <class Run, class Out>
void kernel(benchmark::State& state, std::size_t items, double tolerance, Out& out, Run run) {
    const bool fast = state.range(0) != 0;
    for (auto _ : state) {
        run(fast);
        benchmark::ClobberMemory();
    }
    state.counters["per_item"] =
        benchmark::Counter(static_cast<double>(items) * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    const auto results = [&](bool form) {
        std::fill(out.begin(), out.end(), typename Out::value_type{});
        run(form);
        std::vector<double> all;
        for (const auto& x : out)
            append(all, x);
        return all;
    };
    const auto one = results(true), other = results(false);
    double largest = 0, apart = 0;
    for (std::size_t i = 0; i < one.size(); ++i) {
        largest = std::max(largest, std::abs(other[i]));
        apart = std::max(apart, std::abs(one[i] - other[i]));
    }
    if (!(largest > 0) || !(apart <= tolerance * largest))
        state.SkipWithError("the forms differ");
}

constexpr double kRounding = 1e-5;

void mixing(benchmark::State& state) {
    const auto in = complexNoise(512);
    std::vector<cf> out(512);
    const PhasorSteps steps(0.1234);
    kernel(state, 512, kRounding, out, [&](bool fast) {
        if (fast)
            mix(in.data(), 512, 1.0, steps, out.data());
        else
            mix_ref(in.data(), 512, 1.0, 0.1234, out.data());
    });
}
BENCHMARK(mixing)->Arg(0)->Arg(1);

void splitMixing(benchmark::State& state) {
    constexpr std::size_t n = 2048;
    const auto in = complexNoise(n);
    std::vector<float> out(2 * n);
    const PhasorSteps steps(0.1234);
    const SplitOutput rows{&out[0], &out[n / 2], &out[n], &out[n + n / 2]};
    kernel(state, n, kRounding, out, [&](bool fast) {
        if (fast)
            mixSplit(in.data(), n, 1.0, steps, rows);
        else
            mixSplit_ref(in.data(), n, 1.0, 0.1234, rows);
    });
}
BENCHMARK(splitMixing)->Arg(0)->Arg(1);

// A stage with what it keeps between calls, beside the plain sums alone.
template <HalfBandKind Kind>
void halfBand(benchmark::State& state) {
    constexpr std::size_t pairs = 1024;
    const auto taps = halfBandTaps(Kind);
    const std::size_t history = 2 * taps.size() - 1;
    // Zeros first, as in a new stage.
    std::vector<float> rows[4];
    for (unsigned r = 0; r < 4; ++r) {
        rows[r].assign(history, 0.0f);
        const auto fresh = noise<float>(pairs, r + 1);
        rows[r].insert(rows[r].end(), fresh.begin(), fresh.end());
    }
    std::vector<float> out(2 * pairs);
    HalfBandStage stage(Kind, pairs);
    const auto feed = [&](HalfBandStage& to) {
        const SplitOutput in = to.input();
        const std::pair<float*, const std::vector<float>*> copies[] = {
            {in.evenRe, &rows[0]}, {in.evenIm, &rows[1]}, {in.oddRe, &rows[2]}, {in.oddIm, &rows[3]}};
        for (const auto& [at, row] : copies)
            std::copy(row->begin() + static_cast<std::ptrdiff_t>(history), row->end(), at);
    };
    bool same = true;
    const auto plain = [&] {
        halfBand_ref(taps, rows[0].data(), rows[2].data(), out.data(), pairs);
        halfBand_ref(taps, rows[1].data(), rows[3].data(), out.data() + pairs, pairs);
    };
    const bool fast = state.range(0) != 0;
    feed(stage);
    for (auto _ : state) {
        if (fast)
            stage.run(pairs, out.data(), out.data() + pairs);
        else
            plain();
        benchmark::ClobberMemory();
    }
    state.counters["per_item"] =
        benchmark::Counter(2.0 * pairs * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    HalfBandStage fresh(Kind, pairs);
    feed(fresh);
    fresh.run(pairs, out.data(), out.data() + pairs);
    const auto one = out;
    plain();
    for (std::size_t i = 0; i < out.size(); ++i)
        same = same && std::abs(one[i] - out[i]) <= 1e-5f;
    if (!same)
        state.SkipWithError("the forms differ");
}
BENCHMARK(halfBand<HalfBandKind::Short>)->Arg(0)->Arg(1);
BENCHMARK(halfBand<HalfBandKind::Medium>)->Arg(0)->Arg(1);
BENCHMARK(halfBand<HalfBandKind::Long>)->Arg(0)->Arg(1);

void resamplerSum(benchmark::State& state) {
    constexpr std::size_t taps = 47;
    const auto in = complexNoise(512 + taps);
    auto twice = complexNoise(taps, 2);
    for (auto& tap : twice)
        tap = {tap.real(), tap.real()};
    std::vector<cf> out(512);
    kernel(state, out.size(), kRounding, out, [&](bool fast) {
        const auto sum = fast ? dotTwiceStored : dotTwiceStored_ref;
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] = sum(in.data() + i, twice.data(), taps);
    });
}
BENCHMARK(resamplerSum)->Arg(0)->Arg(1);

void spectraProduct(benchmark::State& state) {
    const auto a = complexNoise(1024), b = complexNoise(1024, 2);
    std::vector<cf> out(1024);
    kernel(state, 1024, kRounding, out, [&](bool fast) {
        (fast ? multiplySpectra : multiplySpectra_ref)(a.data(), b.data(), out.data(), 1024, true);
    });
}
BENCHMARK(spectraProduct)->Arg(0)->Arg(1);

void windowing(benchmark::State& state) {
    const auto in = complexNoise(2048);
    const auto window = noise<float>(2048, 2);
    std::vector<cf> out(2048);
    kernel(state, 2048, kRounding, out, [&](bool fast) {
        if (fast)
            multiplyByWindow(in.data(), window.data(), out.data(), 2048);
        else
            multiplyByWindow_ref(in.data(), window.data(), out.data(), 2048);
    });
}
BENCHMARK(windowing)->Arg(0)->Arg(1);

void powers(benchmark::State& state) {
    buff<cf> in(2048);
    std::ranges::copy(complexNoise(2048), in.begin());
    buff<float> made(2048), plain(2048);
    std::span<float> out;
    kernel(state, 2048, kRounding, out, [&](bool fast) {
        if (fast)
            made = power(in, 1.0f);
        else
            power_ref(in.data(), plain.data(), 2048, 1.0f);
        out = {(fast ? made : plain).data(), 2048};
    });
}
BENCHMARK(powers)->Arg(0)->Arg(1);

void logarithms(benchmark::State& state) {
    buff<float> in(2048), made(2048);
    const auto values = noise<float>(2048);
    for (std::size_t i = 0; i < 2048; ++i)
        in[i] = values[i] * values[i] + 1e-9f;
    const std::span<float> out(made.data(), 2048);
    kernel(state, 2048, kRounding, out, [&](bool fast) {
        if (fast)
            log10Into(in, made);
        else
            log10_ref(in.data(), made.data(), 2048);
    });
}
BENCHMARK(logarithms)->Arg(0)->Arg(1);

// Pairs of 24 bits in records of so many bytes: 6 is a packet of protocol 2, 8 and 26 protocol 1 with one and
// four receivers.
template <std::size_t Stride>
void samples(benchmark::State& state) {
    constexpr std::size_t count = 1428 / Stride;
    std::mt19937 random(1);
    std::vector<std::uint8_t> bytes(Stride * count);
    for (auto& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    std::vector<cf> out(count);
    kernel(state, count, 0, out, [&](bool fast) {
        (fast ? decodeIq : decodeIq_ref)(bytes.data(), Stride, count, 0x1p-31f, false, out.data());
    });
}
BENCHMARK(samples<6>)->Arg(0)->Arg(1);
BENCHMARK(samples<8>)->Arg(0)->Arg(1);
BENCHMARK(samples<26>)->Arg(0)->Arg(1);

// All frequencies of one start of an FT8 frame.
void syncRow(benchmark::State& state) {
    const Ft8Variant variant = ft8Variant(8);
    Waterfall grid{93, 960, 2, 2, 0, nullptr};
    std::vector<std::uint8_t> memory(grid.magnitudeCount());
    std::mt19937 random(1);
    for (auto& byte : memory)
        byte = static_cast<std::uint8_t>(random() % 256);
    grid.mag = memory.data();
    std::vector<std::int16_t> out(static_cast<std::size_t>(grid.numBins - variant.binMargin));
    kernel(state, out.size(), 0, out, [&](bool fast) {
        if (fast) {
            syncScoreRow(grid, variant, 5, 1, 0, out);
            return;
        }
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] = static_cast<std::int16_t>(
                syncScore_ref(grid, variant, {0, 5, static_cast<std::int16_t>(i + 1), 1, 0, 0}).sum);
    });
}
BENCHMARK(syncRow)->Arg(0)->Arg(1);

// The filter of a PSK detector, for each of its samples.
void detectorFilter(benchmark::State& state) {
    constexpr std::size_t doubles = 132;
    const auto in = noise<double>(doubles + 64), taps = noise<double>(doubles, 2);
    std::vector<Iq> out(32);
    kernel(state, out.size(), 1e-12, out, [&](bool fast) {
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] = (fast ? filterRing : filterRing_ref)(in.data() + 2 * i, taps.data(), doubles);
    });
}
BENCHMARK(detectorFilter)->Arg(0)->Arg(1);

// The largest layer of the noise reduction, and the sums of its pitch search.
void layer(benchmark::State& state) {
    std::vector<std::int8_t> weights(114 * 288);
    std::mt19937 random(1);
    for (auto& weight : weights)
        weight = static_cast<std::int8_t>(random());
    const auto in = noise<float>(114);
    std::vector<float> out(288);
    kernel(state, weights.size(), kRounding, out, [&](bool fast) {
        (fast ? denoise::addWeighted : denoise::addWeighted_ref)(weights, in, 1e-3f, out);
    });
}
BENCHMARK(layer)->Arg(0)->Arg(1);

void pitchSum(benchmark::State& state) {
    const auto a = noise<float>(480), b = noise<float>(480 + 32, 2);
    std::vector<float> out(32);
    kernel(state, 480 * out.size(), kRounding, out, [&](bool fast) {
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] = (fast ? denoise::innerProduct : denoise::innerProduct_ref)(a.data(), b.data() + i, 480);
    });
}
BENCHMARK(pitchSum)->Arg(0)->Arg(1);

} // namespace
