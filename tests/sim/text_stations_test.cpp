#include "sim/sky/loop_station.hpp"
#include "sim/sky/teletype.hpp"
#include "tests/sim/sky_probe.hpp"

#include <gtest/gtest.h>

using namespace ferrow::sim;
using namespace ferrow::sim::testing;

namespace {

struct Run {
    bool mark;
    std::size_t length;
};

std::vector<Run> runs(const std::vector<Cfloat>& loop) {
    std::vector<Run> out;
    for (const Cfloat& v : loop) {
        const bool mark = std::abs(v) > 0.5f;
        if (out.empty() || out.back().mark != mark)
            out.push_back({mark, 0});
        ++out.back().length;
    }
    return out;
}

std::string scene(const std::string& station) {
    return R"({"noise_floor": null, "seed": 4, "stations": [)" + station + "]}";
}

} // namespace

TEST(TextStations, CwJitterStaysInsideItsShare) {
    const auto even = runs(cwLoop("PARIS PARIS", 20.0, 0.0));
    const auto uneven = runs(cwLoop("PARIS PARIS", 20.0, 0.0, 0.1, 4));
    ASSERT_EQ(even.size(), uneven.size());
    double most = 0.0;
    double sum = 0.0;
    for (std::size_t i = 1; i + 1 < even.size(); ++i) {
        const double share =
            static_cast<double>(uneven[i].length) / static_cast<double>(even[i].length) - 1.0;
        EXPECT_LT(std::abs(share), 0.103) << i; // and a sample at either end
        most = std::max(most, std::abs(share));
        sum += share;
    }
    EXPECT_GT(most, 0.07);
    EXPECT_LT(std::abs(sum) / static_cast<double>(even.size()), 0.03);
    EXPECT_EQ(cwLoop("PARIS", 20.0, 0.0, 0.1, 4), cwLoop("PARIS", 20.0, 0.0, 0.1, 4));
    EXPECT_NE(cwLoop("PARIS", 20.0, 0.0, 0.1, 4), cwLoop("PARIS", 20.0, 0.0, 0.1, 5));
}

TEST(TextStations, TeletypeCodesShiftWhereTheyMust) {
    EXPECT_EQ(teletypeCodes("ry 12 3a\r\n"),
              (std::vector<int>{31, 31, 31, 31, 10, 21, 4, 27, 23, 19, 4, 27, 1, 31, 3, 8, 2}));
    EXPECT_EQ(teletypeCodes("_%#"), std::vector<int>(4, 31));
}

TEST(TextStations, TeletypeElementsLieInTheirPlaces) {
    for (const bool reverse : {false, true}) {
        const auto loop = teletypeLoop("RY", {.reverse = reverse, .gap = 0.5});
        // 264 samples an element, 396 of stop; six characters between two quarters of a second of mark.
        ASSERT_EQ(loop.size(), 3000u + 6 * 1980 + 3000 + 6000);
        const std::vector<int> codes{31, 31, 31, 31, 10, 21};
        const auto hertz = [&](std::size_t i) {
            return std::arg(loop[i + 1] * std::conj(loop[i])) * kBaseRate / (2 * std::numbers::pi);
        };
        const double space = reverse ? 170.0 : -170.0;
        for (std::size_t c = 0; c < codes.size(); ++c)
            for (std::size_t i = 0; i + 1 < 1980; ++i) {
                const std::size_t element = std::min<std::size_t>(i / 264, 6);
                const bool mark = element == 6 || (element > 0 && (codes[c] >> (element - 1) & 1) != 0);
                ASSERT_NEAR(hertz(3000 + c * 1980 + i), mark ? 0.0 : space, 0.1) << c << " " << i;
            }
        EXPECT_EQ(loop.back(), Cfloat());
    }
}

TEST(TextStations, RttyStandsOnItsMark) {
    const auto x =
        listen(scene(R"({"kind": "rtty", "frequency": 14085000, "level": -20, "text": "RYRYRYRYRYRY"})"),
               {.frequency = 14085000.0}, 2.0);
    double mark = 0.0, space = 0.0, other = 0.0;
    for (std::size_t i = 4800; i + 1 < x.size(); ++i) {
        const double hertz = std::arg(x[i + 1] * std::conj(x[i])) * 48000 / (2 * std::numbers::pi);
        mark += std::abs(hertz) < 10.0;
        space += std::abs(hertz - 170.0) < 10.0; // the wire turns frequencies over
        other += std::abs(hertz + 170.0) < 10.0;
    }
    const double count = static_cast<double>(x.size()) - 4800.0;
    EXPECT_GT(mark / count, 0.4);
    EXPECT_GT(space / count, 0.3);
    EXPECT_LT(other / count, 0.01);
    EXPECT_NEAR(dbOfAmplitude(std::sqrt(meanPower(x))), -20.0, 0.1);
}

TEST(TextStations, FieldsAreChecked) {
    EXPECT_NO_THROW(parseScene(
        scene(R"({"kind": "cw", "frequency": 1e6, "level": 0, "text": "A", "jitter": 0.1})"), "."));
    EXPECT_THROW(
        parseScene(scene(R"({"kind": "cw", "frequency": 1e6, "level": 0, "text": "A", "jitter": 0.6})"), "."),
        SceneError);
    EXPECT_THROW(parseScene(scene(R"({"kind": "rtty", "frequency": 1e6, "level": 0})"), "."), SceneError);
    EXPECT_THROW(
        parseScene(scene(R"({"kind": "rtty", "frequency": 1e6, "level": 0, "text": "A", "baud": 0})"), "."),
        SceneError);
}
