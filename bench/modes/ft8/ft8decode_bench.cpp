// A full period through the decoder, and where its time goes. The period holds noise and fifteen signals, or
// forty. Beside the library's decoder stands WSJT-X's as a program, at its fastest depth, by the processor
// time that the program takes, where it is installed.
#include "core/buff/buff.hpp"
#include "modes/ft8/ft8decode.hpp"
#include "modes/ft8/wav_file.hpp"
#include "tests/modes/ft8/ft8_signal.hpp"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>

namespace {

using namespace ferrow::test;

// Tones of a CQ whose caller has another letter at the end, for each number up to 63.
std::string neighbourOf(const std::vector<Vector>& vectors, int number) {
    for (const Vector& vector : vectors) {
        if (!vector.message.starts_with("CQ "))
            continue;
        std::vector<int> bits = messageBits(vector.payload);
        for (int i = 0; i < 6; ++i) // the low bits of the caller's 28, from bit 29 on
            bits[static_cast<std::size_t>(51 + i)] ^= number >> i & 1;
        return ft8Tones(encode(bits));
    }
    return {};
}

struct Period {
    Mode mode;
    std::string path;
    ferrow::buff<short> samples;
    ferrow::buff<unsigned char> magnitudes;
    ferrow::Waterfall grid;
    ferrow::CandidateHeap candidates;
    const ferrow::Ft8Variant& variant;

    Period(Mode m, int signals) : mode(m), grid{}, variant(ferrow::ft8Variant(static_cast<int>(m))) {
        std::vector<double> audio(static_cast<std::size_t>(periodSamples(mode)));
        std::mt19937_64 random(1);
        addNoise(audio, 500.0, random);
        const std::vector<Vector> vectors = readVectors(mode);
        const double spacing = 2400.0 / signals;
        for (int i = 0; i < signals; ++i)
            addSignal(audio, mode,
                      signals > 15 ? neighbourOf(vectors, i) : vectors[static_cast<std::size_t>(i)].tones,
                      300.0 + spacing * i, 0.5 + 0.3 * i / signals,
                      amplitudeFor(5.0 - 22.5 * i / signals, 500.0));
        path = writeFile((mode == Mode::Ft8 ? "ft8-" : "ft4-") + std::to_string(signals) + ".wav",
                         wavBytes(audio));
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
    static Period ft8(Mode::Ft8, 15), ft4(Mode::Ft4, 15), crowded(Mode::Ft8, 40);
    return state.range(0) == 8 ? ft8 : state.range(0) == 4 ? ft4 : crowded;
}

void wholePeriod(benchmark::State& state) {
    const Period& p = period(state);
    std::array<ferrow_ft8_result, FERROW_FT8_MAX_RESULTS> results;
    int count = 0;
    for (auto _ : state)
        count = ::ft8decode(p.path.c_str(), results.data(), 0, static_cast<int>(p.mode));
    state.counters["decodes"] = count;
}

void registryDecoder(benchmark::State& state) {
    const Period& p = period(state);
    const std::string folder = std::filesystem::path(p.path).parent_path().string();
    const std::string command = "cd '" + folder + "' && jt9 -8 -d 1 '" + p.path + "' > jt9.txt 2> jt9.err";
    if (std::system("command -v jt9 > /dev/null") != 0)
        return state.SkipWithError("jt9 is not installed");
    rusage before{}, after{};
    for (auto _ : state) {
        getrusage(RUSAGE_CHILDREN, &before);
        if (std::system(command.c_str()) != 0)
            return state.SkipWithError("jt9 failed");
        getrusage(RUSAGE_CHILDREN, &after);
        const auto seconds = [](const timeval& t) {
            return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
        };
        state.SetIterationTime(seconds(after.ru_utime) + seconds(after.ru_stime) - seconds(before.ru_utime) -
                               seconds(before.ru_stime));
    }
    int lines = 0;
    std::ifstream output(folder + "/jt9.txt");
    for (std::string line; std::getline(output, line);)
        lines += line.find('~') != std::string::npos ? 1 : 0;
    state.counters["decodes"] = lines;
}
BENCHMARK(registryDecoder)->Arg(8)->Arg(840)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

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

// The second form of the argument is FT8 with forty signals.
BENCHMARK(wholePeriod)->Arg(8)->Arg(4)->Arg(840)->Unit(benchmark::kMillisecond);
BENCHMARK(loading)->Arg(8)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(waterfall)->Arg(8)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(syncSearch)->Arg(8)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(candidates)->Arg(8)->Arg(4)->Unit(benchmark::kMillisecond);

} // namespace
