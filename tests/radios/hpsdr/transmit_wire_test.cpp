// Press and release, counted in the samples that reach the radio.
#include "tests/radios/hpsdr/radio_bench.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace ferrow {
namespace {

using test::Packet;

constexpr std::size_t kPacket = 126, kSilence = 768, kRise = 512, kFall = 512, kTailPackets = 9;

// Sends ones, and past no filter.
class OnesMode : public modDemod {
public:
    OnesMode(const std::shared_ptr<syncTask>& context, bool direct) : modDemod(context) {
        bufferedTx = !direct;
        useTxFilter = false;
    }
    void modulate(buff<std::complex<float>>, buff<std::complex<float>> out) override {
        std::fill(out.begin(), out.end(), std::complex<float>(0.99f, 0));
    }
};

// The larger of the two transmit words of each sample.
std::vector<int> words(const std::vector<Packet>& packets) {
    std::vector<int> all;
    for (const Packet& packet : packets)
        for (const std::size_t frame : {std::size_t{8}, std::size_t{520}})
            for (std::size_t i = 0; i < kPacket / 2; ++i) {
                const std::uint8_t* record = &packet[frame + 8 + 8 * i];
                const auto word = [&](std::size_t at) {
                    return std::abs(
                        static_cast<int>(static_cast<std::int16_t>(record[at] << 8 | record[at + 1])));
                };
                all.push_back(std::max(word(4), word(6)));
            }
    return all;
}

struct Case {
    const char* name;
    bool direct, tune;
};

class TransmitOnTheWire : public testing::TestWithParam<Case> {
protected:
    test::Bench bench;
    std::shared_ptr<vtrx> transceiver;
    std::unique_ptr<test::Stream> stream;

    void SetUp() override {
        bench.run();
        bench.on([&] { transceiver = bench.radio->vtrxs[0]; });
        test::onContext(transceiver, [&] {
            transceiver->setModulation(std::make_shared<OnesMode>(rootSyncTask, GetParam().direct));
            transceiver->tune.setFromHost(GetParam().tune);
        });
        bench.on([&] {
            bench.radio->TuneDrive.setFromHost(255);
            bench.radio->drive.setFromHost(255);
        });
        stream = std::make_unique<test::Stream>(test::Stream{bench});
    }

    void press(bool down) {
        test::onContext(transceiver, [&] { transceiver->ptt.setFromHost(down); });
        bench.on([] {});
    }

    // At 48 kHz and with one receiver each packet from the radio brings one back.
    std::vector<Packet> exchange(int count) {
        stream->send(count);
        std::vector<Packet> data;
        for (const Packet& packet : bench.take(static_cast<std::size_t>(count)))
            if (test::isData(packet))
                data.push_back(packet);
        EXPECT_EQ(data.size(), static_cast<std::size_t>(count));
        return data;
    }
};

double raised(double c) {
    return 0.5 * std::cos(c * std::numbers::pi / 512) + 0.5;
}

TEST_P(TransmitOnTheWire, PressAndReleaseAreTheSamplesThatTheyShouldBe) {
    press(true);
    const auto up = exchange(20);
    for (const Packet& packet : up)
        EXPECT_EQ(test::control(packet, 0, 0) & 1, 1) << "keyed from the first packet on";
    const auto rise = words(up);
    const int full = rise.back();
    ASSERT_GT(full, 30000);
    const std::size_t silence = GetParam().direct ? 0 : kSilence;
    for (std::size_t i = 0; i < silence; ++i)
        ASSERT_EQ(rise[i], 0) << i;
    for (std::size_t i = 0; i < kRise; ++i)
        ASSERT_NEAR(rise[silence + i], full * raised(static_cast<double>(kRise - i)), 1.01) << i;
    for (std::size_t i = silence + kRise; i < rise.size(); ++i)
        ASSERT_EQ(rise[i], full) << i;

    press(false);
    const auto down = exchange(14);
    for (std::size_t p = 0; p < down.size(); ++p)
        EXPECT_EQ(test::control(down[p], 0, 0) & 1, p < kTailPackets ? 1 : 0) << p;
    const auto fall = words(down);
    for (std::size_t i = 0; i < kFall; ++i)
        ASSERT_NEAR(fall[i], full * raised(static_cast<double>(i)), 1.01) << i;
    for (std::size_t i = kFall; i < fall.size(); ++i)
        ASSERT_EQ(fall[i], 0) << i;
}

INSTANTIATE_TEST_SUITE_P(, TransmitOnTheWire,
                         testing::Values(Case{"Buffered", false, false}, Case{"BufferedTune", false, true},
                                         Case{"Direct", true, false}, Case{"DirectTune", true, true}),
                         [](const auto& param) { return std::string(param.param.name); });

} // namespace
} // namespace ferrow
