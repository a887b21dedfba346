// Cost of the noise reduction. "of_signal_time" is a frame's time over the 10.67 ms of signal that it holds:
// the share of a core that one transceiver takes.
#include "trx/denoise/denoise.hpp"
#include "trx/denoise/inner_product.hpp"
#include "trx/denoise/pitch.hpp"

#include <benchmark/benchmark.h>
#include <random>
#include <vector>

using namespace ferrow;
using namespace ferrow::denoise;

namespace {

constexpr std::size_t kFrames = 64;

std::vector<float> noise() {
    std::mt19937 random(1);
    std::normal_distribution<float> normal(0, 3000);
    std::vector<float> out(kFrames * FRAME_SIZE);
    for (float& x : out)
        x = normal(random);
    return out;
}

void ofSignalTime(benchmark::State& state) {
    state.counters["of_signal_time"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * FRAME_SIZE / 48000.0,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void wholeFrame(benchmark::State& state) {
    const auto in = noise();
    DenoiseState memory;
    float out[FRAME_SIZE];
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            rnnoise_process_frame(&memory, out, in.data() + FRAME_SIZE * (i++ % kFrames), 80));
        benchmark::ClobberMemory();
    }
    ofSignalTime(state);
}
BENCHMARK(wholeFrame);

void silentFrame(benchmark::State& state) {
    DenoiseState memory;
    float block[FRAME_SIZE] = {};
    for (auto _ : state)
        benchmark::DoNotOptimize(rnnoise_process_frame(&memory, block, block, 80));
    ofSignalTime(state);
}
BENCHMARK(silentFrame);

void analysis(benchmark::State& state) {
    const auto in = noise();
    DenoiseState memory;
    Analysis result;
    std::size_t i = 0;
    for (auto _ : state) {
        analyse(memory, in.data() + FRAME_SIZE * (i++ % kFrames), result);
        benchmark::ClobberMemory();
    }
    ofSignalTime(state);
}
BENCHMARK(analysis);

void pitch(benchmark::State& state) {
    const auto in = noise();
    std::array<float, PITCH_BUF_SIZE> scratch;
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            findPitch(std::span<const float, PITCH_BUF_SIZE>(in.data() + i++ % FRAME_SIZE, PITCH_BUF_SIZE),
                      scratch, {}));
    ofSignalTime(state);
}
BENCHMARK(pitch);

void network(benchmark::State& state) {
    RNNState memory;
    Features features{};
    Bands gains;
    for (auto _ : state)
        benchmark::DoNotOptimize(runNetwork(memory, features, gains));
    ofSignalTime(state);
}
BENCHMARK(network);

} // namespace
