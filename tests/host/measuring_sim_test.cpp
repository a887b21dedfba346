// The commands that measure: as programs, with the simulated radio that they start themselves.
#include "tests/host/program.hpp"

#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

using namespace test;
using nlohmann::json;

// stderr, where progress goes, comes first.
json jsonOf(const Outcome& outcome) {
    const std::size_t begin = outcome.output.find("\n{");
    return json::parse(outcome.output.substr(begin == std::string::npos ? 0 : begin), nullptr, false);
}

TEST(StressSim, AFewTransceiversMissNothing) {
    const Outcome outcome = runFerrow({"stress", "--transceivers", "5", "--seconds", "3", "--json"});
    ASSERT_EQ(outcome.code, 0) << outcome.output;
    const json all = jsonOf(outcome);
    ASSERT_TRUE(all.is_object()) << outcome.output;
    EXPECT_EQ(all["largest"], 5);
    const json& trial = all["trials"][0];
    EXPECT_EQ(trial["missed_blocks"], 0);
    EXPECT_EQ(trial["dropped_chunks"], 0);
    EXPECT_EQ(trial["sequence_errors"], 0);
    EXPECT_GT(trial["cores"].get<double>(), 0.0);
    EXPECT_GE(trial["worst_block_ms"].get<double>(), 10.6) << "blocks come every 10.67 ms";
    EXPECT_GT(trial["resident_mb"].get<double>(), 5.0);
    EXPECT_LT(trial["resident_mb"].get<double>(), 400.0);
}

TEST(StressSim, TheSearchEndsWhereItIsTold) {
    const Outcome outcome = runFerrow({"stress", "--most", "6", "--seconds", "1", "--rate", "48", "--json"});
    ASSERT_EQ(outcome.code, 0) << outcome.output;
    const json all = jsonOf(outcome);
    ASSERT_TRUE(all.is_object()) << outcome.output;
    EXPECT_EQ(all["largest"], 6);
    EXPECT_EQ(all["rate_khz"], 48);
    EXPECT_EQ(all["trials"].back()["transceivers"], 6);
}

TEST(Stress, WrongNumbersAreRefused) {
    EXPECT_EQ(runFerrow({"stress", "--transceivers", "0"}).code, 2);
    EXPECT_EQ(runFerrow({"stress", "--rate", "100"}).code, 2);
    EXPECT_EQ(runFerrow({"latency", "--seconds", "x"}).code, 2);
}

// What the structure alone takes is known: less would be a wrong measurement.
TEST(LatencySim, TheMarkerComesThroughWithinTheStructuresTimeAndALittle) {
    const Outcome outcome = runFerrow({"latency", "--seconds", "6", "--rate", "192", "--json"});
    ASSERT_EQ(outcome.code, 0) << outcome.output;
    const json all = jsonOf(outcome);
    ASSERT_TRUE(all.is_object()) << outcome.output;
    EXPECT_GE(all["block_in_ring"]["markers"].get<int>(), 8);
    const double filter = 16, block = 512 / 48.0;
    EXPECT_GT(all["sample_through_chain"]["least_ms"].get<double>(), filter - 1);
    EXPECT_LT(all["sample_through_chain"]["median_ms"].get<double>(), filter + block + 30);
    EXPECT_GE(all["block_in_ring"]["median_ms"].get<double>(),
              all["sample_through_chain"]["median_ms"].get<double>());
    EXPECT_GT(all["spectrum"]["least_ms"].get<double>(), 0);
    EXPECT_LT(all["spectrum"]["median_ms"].get<double>(), 80);
    EXPECT_EQ(all["sequence_errors"], 0);
}

} // namespace
} // namespace ferrow
