#include "sim/radio/faults.hpp"
#include "sim/radio/pacer.hpp"

#include <gtest/gtest.h>
#include <set>

using namespace ferrow::sim;

namespace {

constexpr std::int64_t kPacketNs = 1'000'000;

struct Outcome {
    std::vector<std::uint32_t> sequences; ///< of the full stream packets, in order of sending
    std::vector<int> sizes;
    std::vector<std::int64_t> releases;
    std::vector<int> endpoints;
    std::array<std::int64_t, kFaultKinds> counts{};
};

Outcome run(const std::vector<std::string>& faults, int packets, std::uint64_t seed = 1) {
    std::vector<FaultSpec> specs;
    for (const auto& text : faults)
        specs.push_back(parseFault(text));
    FaultInjector injector(specs, seed);
    Outcome out;
    for (int i = 0; i < packets; ++i) {
        Packet packet{};
        writeHeader(packet, 6, static_cast<std::uint32_t>(i));
        injector.pass(packet, i, i * 1e-3, (i + 1) * kPacketNs);
    }
    for (const Datagram& d : injector.queue()) {
        if (d.stream)
            out.sequences.push_back(readBig32(d.bytes.data() + 4));
        else
            out.endpoints.push_back(d.bytes[3]);
        out.sizes.push_back(d.size);
        out.releases.push_back(d.releaseNs);
    }
    out.counts = injector.counts();
    return out;
}

std::int64_t countOf(const Outcome& out, FaultKind kind) {
    return out.counts[static_cast<std::size_t>(kind)];
}

} // namespace

TEST(Faults, NoneLeavesTheStreamAlone) {
    const Outcome out = run({}, 100);
    ASSERT_EQ(out.sequences.size(), 100u);
    for (std::uint32_t i = 0; i < 100; ++i) {
        EXPECT_EQ(out.sequences[i], i);
        EXPECT_EQ(out.sizes[i], kDataBytes);
        EXPECT_EQ(out.releases[i], (i + 1) * kPacketNs);
    }
}

TEST(Faults, LossEveryNth) {
    const Outcome out = run({"loss:every=10"}, 100);
    EXPECT_EQ(countOf(out, FaultKind::Loss), 10);
    EXPECT_EQ(out.sequences.size(), 90u);
    for (const auto sequence : out.sequences)
        EXPECT_NE(sequence % 10, 9u);
}

TEST(Faults, LossByProbabilityIsExactAndRepeatable) {
    const Outcome a = run({"loss:p=0.05"}, 20000, 7);
    const Outcome b = run({"loss:p=0.05"}, 20000, 7);
    const Outcome c = run({"loss:p=0.05"}, 20000, 8);
    EXPECT_EQ(a.sequences, b.sequences);
    EXPECT_NE(a.sequences, c.sequences);
    EXPECT_EQ(static_cast<std::int64_t>(a.sequences.size()), 20000 - countOf(a, FaultKind::Loss));
    EXPECT_NEAR(static_cast<double>(countOf(a, FaultKind::Loss)), 1000.0, 120.0);
}

TEST(Faults, OnlyWithinItsTime) {
    const Outcome out = run({"loss:start=0.02,end=0.03"}, 100);
    EXPECT_EQ(countOf(out, FaultKind::Loss), 10);
    EXPECT_EQ(out.sequences[19], 19u);
    EXPECT_EQ(out.sequences[20], 30u);
}

TEST(Faults, DuplicateSendsTwice) {
    const Outcome out = run({"duplicate:every=4"}, 8);
    EXPECT_EQ(out.sequences, (std::vector<std::uint32_t>{0, 1, 2, 3, 3, 4, 5, 6, 7, 7}));
    EXPECT_EQ(countOf(out, FaultKind::Duplicate), 2);
}

TEST(Faults, ReorderLetsOthersPass) {
    EXPECT_EQ(run({"reorder:every=3"}, 7).sequences, (std::vector<std::uint32_t>{0, 1, 3, 2, 4, 6, 5}));
    EXPECT_EQ(run({"reorder:every=3,end=0.004,depth=2"}, 7).sequences,
              (std::vector<std::uint32_t>{0, 1, 3, 4, 2, 5, 6}));
}

TEST(Faults, JitterDelaysButKeepsTheOrder) {
    const Outcome out = run({"jitter:ms=5"}, 1000);
    std::int64_t most = 0;
    for (std::size_t i = 0; i < out.releases.size(); ++i) {
        EXPECT_EQ(out.sequences[i], i);
        const std::int64_t late = out.releases[i] - static_cast<std::int64_t>(i + 1) * kPacketNs;
        EXPECT_GE(late, 0);
        EXPECT_LE(late, 5'000'000);
        most = std::max(most, late);
        if (i > 0) {
            EXPECT_GE(out.releases[i], out.releases[i - 1]);
        }
    }
    EXPECT_GT(most, 4'000'000);
}

TEST(Faults, StallHoldsPacketsBack) {
    const Outcome out = run({"stall:start=0.010,ms=20"}, 50);
    EXPECT_EQ(countOf(out, FaultKind::Stall), 1);
    ASSERT_EQ(out.sequences.size(), 50u);
    EXPECT_EQ(out.releases[9], 10 * kPacketNs);
    for (std::size_t i = 10; i < 30; ++i)
        EXPECT_EQ(out.releases[i], 31 * kPacketNs) << i;
    EXPECT_EQ(out.releases[31], 32 * kPacketNs);
}

TEST(Faults, StallMayLosePackets) {
    const Outcome out = run({"stall:start=0.010,ms=20,drop=1"}, 50);
    EXPECT_EQ(out.sequences.size(), 30u);
    EXPECT_EQ(out.sequences[9], 9u);
    EXPECT_EQ(out.sequences[10], 30u);
}

TEST(Faults, RestartSetsTheSequenceBack) {
    const Outcome out = run({"restart:start=0.005"}, 10);
    EXPECT_EQ(out.sequences, (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 0, 1, 2, 3, 4}));
    EXPECT_EQ(countOf(out, FaultKind::Restart), 1);
}

TEST(Faults, GarbageComesBesides) {
    const Outcome a = run({"garbage:every=10"}, 100, 3);
    const Outcome b = run({"garbage:every=10"}, 100, 3);
    EXPECT_EQ(a.sequences.size(), 100u);
    EXPECT_EQ(a.sizes.size(), 110u);
    EXPECT_EQ(a.sizes, b.sizes);
    EXPECT_GT(std::set<int>(a.sizes.begin(), a.sizes.end()).size(), 8u) << "of all lengths";
    EXPECT_EQ(countOf(a, FaultKind::Garbage), 10);
}

TEST(Faults, WrongEndpointComesBesides) {
    const Outcome out = run({"wrong-endpoint:every=5,endpoint=9"}, 10);
    EXPECT_EQ(out.sequences.size(), 10u);
    EXPECT_EQ(out.endpoints, (std::vector<int>{9, 9}));
}

TEST(Faults, ShortCutsThePacket) {
    const Outcome out = run({"short:every=5,bytes=100"}, 10);
    EXPECT_EQ(out.sequences.size(), 10u);
    EXPECT_EQ(out.sizes, (std::vector<int>{1032, 1032, 1032, 1032, 100, 1032, 1032, 1032, 1032, 100}));
}

TEST(Faults, TextFormsAndMistakes) {
    const FaultSpec f = parseFault("stall:every=100,ms=7.5,drop=1");
    EXPECT_EQ(f.kind, FaultKind::Stall);
    EXPECT_EQ(f.every, 100);
    EXPECT_EQ(f.milliseconds, 7.5);
    EXPECT_TRUE(f.drop);
    for (const char* wrong : {"", "los", "loss:p", "loss:p=", "loss:p=x", "loss:p=1.5", "loss:what=1",
                              "loss:p=0.1x", "short:bytes=2000", "loss:every=0", "jitter:ms=-1"})
        EXPECT_THROW(parseFault(wrong), std::invalid_argument) << wrong;
}

TEST(Pacing, PacketsAreDueWhenTheirLastSampleIsTaken) {
    Pacer pacer;
    pacer.begin(5'000'000'000, 48000.0, 126);
    EXPECT_EQ(pacer.dueNs(0), 5'000'000'000 + 2'625'000);
    EXPECT_EQ(pacer.dueNs(399), 5'000'000'000 + 400ll * 2'625'000);
    EXPECT_DOUBLE_EQ(pacer.seconds(8), 0.021);
    pacer.begin(0, 384000.0 * 1.0001, 38);
    EXPECT_NEAR(static_cast<double>(pacer.dueNs(10'000'000 - 1)), 1e9 * 3.8e8 / 384038.4, 100.0);
}
