// The features and the whole frame against vectors that tools/denoise/reference.py computed in double
// precision, with transforms, prediction and pitch search of its own.
#include "trx/denoise/denoise.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

namespace ferrow {
namespace {

using namespace denoise;

constexpr std::size_t kFrames = 90, kSamples = kFrames * FRAME_SIZE;

// The same integers as reference.py makes: a buzz of gliding period through a resonance, noise, and gaps.
std::vector<float> testSignal() {
    std::vector<float> out;
    std::uint32_t seed = 12345;
    long count = 0;
    long long a = 0, b = 0;
    const auto floorDivide = [](long long x, long long y) { return x >= 0 ? x / y : -((y - 1 - x) / y); };
    for (long n = 0; n < static_cast<long>(kSamples); ++n) {
        seed = (seed * 1103515245U + 12345U) & 0x7fffffffU;
        const long long noise = static_cast<long long>((seed >> 16) % 2001) - 1000;
        long long pulse = 0;
        if (++count >= 300 + (n / 4096) * 17 % 240) {
            count = 0;
            pulse = 9000;
        }
        const long long next = pulse + floorDivide(31000 * a - 15700 * b, 16384);
        b = a;
        a = next;
        const bool voiced = (n / 8192) % 3 != 2;
        const long frame = n / FRAME_SIZE;
        const long long hiss = floorDivide(frame % 29 < 26 ? noise : 0, n < 16384 ? 1 : 4);
        const long long sample = std::clamp((voiced ? a : 0) + hiss, -32000LL, 32000LL);
        out.push_back(frame < 4 ? 0.0f : static_cast<float>(sample));
    }
    return out;
}

std::vector<std::vector<double>> readVectors(const std::string& name) {
    std::ifstream file(std::string(FERROW_SOURCE_DIR "/tests/data/denoise/") + name);
    std::vector<std::vector<double>> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream words(line);
        rows.emplace_back();
        for (double value = 0; words >> value;)
            rows.back().push_back(value);
    }
    return rows;
}

TEST(DenoiseVectors, FeaturesAgreeTo1e4) {
    const auto rows = readVectors("features.txt");
    ASSERT_EQ(rows.size(), kFrames);
    const std::vector<float> signal = testSignal();
    DenoiseState state;
    Analysis analysis;
    int silent = 0;
    double worst = 0;
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        const auto begin = signal.begin() + static_cast<std::ptrdiff_t>(frame * FRAME_SIZE);
        ASSERT_EQ(std::accumulate(begin, begin + FRAME_SIZE, 0.0), rows[frame][0])
            << "another signal: " << frame;
        analyse(state, &*begin, analysis);
        EXPECT_EQ(state.last_period, static_cast<int>(rows[frame][1])) << frame;
        EXPECT_EQ(analysis.silent, rows[frame].size() == 2) << frame;
        silent += analysis.silent;
        for (std::size_t i = 2; i < rows[frame].size(); ++i) {
            const double error = std::abs(static_cast<double>(analysis.features[i - 2]) - rows[frame][i]);
            worst = std::max(worst, error);
            EXPECT_LT(error, 1e-4) << "frame " << frame << ", feature " << i - 2;
        }
    }
    EXPECT_EQ(silent, 4);
    RecordProperty("worst", std::to_string(worst));
}

TEST(DenoiseVectors, TheWholeFrameAgrees) {
    const auto rows = readVectors("gains.txt");
    ASSERT_EQ(rows.size(), kFrames);
    const std::vector<float> signal = testSignal();
    DenoiseState state;
    std::vector<float> out(FRAME_SIZE);
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        const float voice = rnnoise_process_frame(&state, out.data(), signal.data() + frame * FRAME_SIZE, 80);
        EXPECT_NEAR(voice, rows[frame][0], 1e-4) << frame;
        double sum = 0, squares = 0;
        for (const float x : out) {
            sum += x;
            squares += static_cast<double>(x) * x;
        }
        EXPECT_NEAR(sum, rows[frame][1], 0.5 + 1e-4 * std::abs(rows[frame][1])) << frame;
        EXPECT_NEAR(squares, rows[frame][2], 1 + 1e-4 * rows[frame][2]) << frame;
    }
}

} // namespace
} // namespace ferrow
