// Blocks of 512 samples, 10.7 ms, through the receivers of the keyboard modes. The counter "core" is the
// share of a core that one of them takes in real time.

#include "modes/chirp/chirp_receiver.hpp"
#include "modes/cw_decoder.hpp"
#include "modes/rtty_decoder.hpp"

#include <benchmark/benchmark.h>

#include <cmath>
#include <complex>
#include <random>
#include <vector>

namespace {

using namespace ferrow;

std::vector<std::complex<float>> noise() {
    std::mt19937 random(1);
    std::normal_distribution<float> gauss;
    std::vector<std::complex<float>> out(512);
    for (auto& sample : out)
        sample = {gauss(random), gauss(random)};
    return out;
}

void tellShare(benchmark::State& state) {
    state.counters["core"] = benchmark::Counter(static_cast<double>(state.iterations()) * 512 / 48000,
                                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void cw(benchmark::State& state) {
    const auto block = noise();
    CwDecoder decoder;
    int characters = 0;
    for (auto _ : state)
        for (std::size_t i = 0; i < block.size(); i += CwDecoder::kDecimation)
            decoder.push(std::abs(block[i]), [&](char) { ++characters; });
    benchmark::DoNotOptimize(characters);
    tellShare(state);
}
BENCHMARK(cw);

void rtty(benchmark::State& state) {
    const auto block = noise();
    RttyDecoder decoder;
    for (auto _ : state)
        benchmark::DoNotOptimize(decoder.process(block, 2125));
    tellShare(state);
}
BENCHMARK(rtty);

void chirp(benchmark::State& state) {
    const auto block = noise();
    ChirpReceiver receiver;
    for (int i = 0; i < 1200; ++i) // a whole frame of history
        receiver.process(block, 1500);
    for (auto _ : state)
        benchmark::DoNotOptimize(receiver.process(block, 1500));
    tellShare(state);
}
BENCHMARK(chirp);

} // namespace
