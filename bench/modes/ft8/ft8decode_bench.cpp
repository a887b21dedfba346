// A full period through the decoder, and where its time goes. The period holds noise and fifteen signals.
#include "core/buff/buff.hpp"
#include "modes/ft8/ft8decode.hpp"
#include "modes/ft8/wav_file.hpp"
#include "tests/modes/ft8/ft8_signal.hpp"

#include <array>
#include <benchmark/benchmark.h>

namespace {

using namespace ferrow::test;

struct Period {
    Mode mode;
    std::string path;
    ferrow::buff<short> samples;
    ferrow::buff<unsigned char> magnitudes;
    ferrow::Waterfall grid;
    ferrow::CandidateHeap candidates;
    const ferrow::Ft8Variant& variant;

    explicit Period(Mode m) : mode(m), grid{}, variant(ferrow::ft8Variant(static_cast<int>(m))) {
        std::vector<double> audio(static_cast<std::size_t>(periodSamples(mode)));
        std::mt19937_64 random(1);
        addNoise(audio, 500.0, random);
        const std::vector<Vector> vectors = readVectors(mode);
        for (int i = 0; i < 15; ++i)
            addSignal(audio, mode, vectors[static_cast<std::size_t>(i)].tones, 300.0 + 160.0 * i,
                      0.5 + 0.02 * i, amplitudeFor(5.0 - 1.5 * i, 500.0));
        path = writeFile(mode == Mode::Ft8 ? "ft8.wav" : "ft4.wav", wavBytes(audio));
        std::int32_t count = variant.capacity;
        std::int32_t rate = 0;
        samples = ferrow::buff<short>(static_cast<std::size_t>(count));
        ferrow::loadWav(samples, count, rate, path.c_str());
        grid = ferrow::waterfallGrid(rate, count, variant);
        magnitudes = ferrow::buff<unsigned char>(grid.magnitudeCount());
        grid.mag = magnitudes.data();
        ferrow::buildWaterfall(samples.data(), grid);
        ferrow::findSyncCandidates(grid, variant, candidates);
    }
};

Period& period(const benchmark::State& state) {
    static Period ft8(Mode::Ft8);
    static Period ft4(Mode::Ft4);
    return state.range(0) == 8 ? ft8 : ft4;
}

void wholePeriod(benchmark::State& state) {
    const Period& p = period(state);
    std::array<ferrow_ft8_result, FERROW_FT8_MAX_RESULTS> results;
    int count = 0;
    for (auto _ : state)
        count = ::ft8decode(p.path.c_str(), results.data(), 0, static_cast<int>(p.mode));
    state.counters["decodes"] = count;
}

void loading(benchmark::State& state) {
    Period& p = period(state);
    for (auto _ : state) {
        std::int32_t count = p.variant.capacity;
        std::int32_t rate = 0;
        benchmark::DoNotOptimize(ferrow::loadWav(p.samples, count, rate, p.path.c_str()));
    }
}

void waterfall(benchmark::State& state) {
    Period& p = period(state);
    for (auto _ : state)
        ferrow::buildWaterfall(p.samples.data(), p.grid);
}

void syncSearch(benchmark::State& state) {
    Period& p = period(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(ferrow::findSyncCandidates(p.grid, p.variant, p.candidates));
    state.counters["candidates"] = p.candidates.size();
}

void candidates(benchmark::State& state) {
    Period& p = period(state);
    for (auto _ : state)
        for (ferrow::SyncCandidate& candidate : p.candidates.entries())
            benchmark::DoNotOptimize(ferrow::decodeCandidate(p.grid, p.variant, candidate));
}

BENCHMARK(wholePeriod)->Arg(8)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(loading)->Arg(8)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(waterfall)->Arg(8)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(syncSearch)->Arg(8)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(candidates)->Arg(8)->Arg(4)->Unit(benchmark::kMillisecond);

} // namespace
