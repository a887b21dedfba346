// Cost of PSK reception and transmission. "share" is processing time over signal time: of one core.
#include "core/tasks/runtime.hpp"
#include "modes/psk/psk_mod.hpp"
#include "modes/psk_mod_demod.hpp"
#include "tests/modes/psk/psk_signal.hpp"

#include <benchmark/benchmark.h>

#include <memory>

namespace {

using namespace ferrow;

constexpr double kBlockSeconds = 512.0 / 8000;

// Three signals in noise, ten seconds.
const std::vector<float>& audio() {
    static const std::vector<float> samples = [] {
        std::mt19937_64 random(1);
        std::vector<double> sum = test::pskSignal(test::pskText(30, 1), test::kPsk31, 1000);
        for (const double hz : {1500.0, 2200.0}) {
            const auto other = test::pskSignal(test::pskText(30, 2), test::kPsk31, hz);
            for (std::size_t n = 0; n < std::min(sum.size(), other.size()); ++n)
                sum[n] += other[n];
        }
        test::addNoise(sum, 1, 10, 8000, random);
        std::vector<float> scaled;
        for (const double x : sum)
            scaled.push_back(static_cast<float>(3000 * x));
        scaled.resize(80000 / 512 * 512);
        return scaled;
    }();
    return samples;
}

void share(benchmark::State& state, double seconds) {
    state.counters["share"] = benchmark::Counter(static_cast<double>(state.iterations()) * seconds,
                                                 benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// The bank of the mode: 32 detectors at 31.25 baud, 32 at 62.5, 2 at 125.
void BankOf66(benchmark::State& state) {
    std::vector<std::unique_ptr<CPSKDet>> bank;
    const auto add = [&](int word, int hz) {
        bank.push_back(std::make_unique<CPSKDet>(word));
        bank.back()->setRxFrequency(hz);
    };
    for (const int word : {0, 8})
        for (int n = 1; n <= 30; ++n)
            add(word, 100 * n);
    for (const int word : {0, 8, 16, 1, 9, 17})
        add(word, 1500);
    std::size_t n = 0;
    char text[CPSKDet::kMostCharacters];
    for (auto _ : state) {
        for (auto& detector : bank)
            benchmark::DoNotOptimize(detector->processBlock(audio().data() + n, 512, text));
        n = (n + 512) % audio().size();
    }
    share(state, kBlockSeconds);
}
BENCHMARK(BankOf66);

void OneDetector(benchmark::State& state) {
    CPSKDet detector(static_cast<int>(state.range(0)));
    std::size_t n = 0;
    char text[CPSKDet::kMostCharacters];
    for (auto _ : state) {
        benchmark::DoNotOptimize(detector.processBlock(audio().data() + n, 512, text));
        n = (n + 512) % audio().size();
    }
    share(state, kBlockSeconds);
}
BENCHMARK(OneDetector)->Arg(0)->Arg(8)->Arg(16)->Arg(1)->Arg(9)->Arg(17);

// The whole mode: decimation, spectrum, hunt, detectors, text.
void WholeMode(benchmark::State& state) {
    if (!rootSyncTask)
        initRuntime("/dev/null", 0);
    const auto mode = std::make_shared<PskModDemod>(rootSyncTask);
    std::vector<buff<std::complex<float>>> blocks;
    for (std::size_t n = 0; n + 512 <= 6 * audio().size(); n += 512) {
        blocks.emplace_back(512);
        for (std::size_t i = 0; i < 512; ++i)
            blocks.back()[i] = audio()[(n + i) / 6] / 30000;
    }
    std::size_t n = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(mode->demodulate(blocks[n]));
        n = (n + 1) % blocks.size();
    }
    share(state, 512.0 / 48000);
}
BENCHMARK(WholeMode);

void Modulator(benchmark::State& state) {
    CPSKMod modulator(static_cast<int>(state.range(0)));
    modulator.setSource([] { return 'e'; });
    modulator.start();
    double out[1024];
    for (auto _ : state) {
        modulator.generate(out, 512);
        benchmark::DoNotOptimize(out[0]);
    }
    share(state, 512.0 / 48000);
}
BENCHMARK(Modulator)->Arg(0)->Arg(17);

void PeakSearch(benchmark::State& state) {
    PskPeakSearch search;
    std::size_t n = 0;
    for (auto _ : state) {
        search.add(std::span<const float, 512>(audio().data() + n, 512));
        n = (n + 512) % audio().size();
        if (n % (3 * 512) == 0)
            benchmark::DoNotOptimize(search.search().data());
    }
    share(state, kBlockSeconds);
}
BENCHMARK(PeakSearch);

} // namespace
