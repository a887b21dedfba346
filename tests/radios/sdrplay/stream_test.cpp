// Samples and events, from the API's threads to the radio's chunks.
#include "tests/radios/sdrplay/sdrplay_bench.hpp"

#include <cmath>

namespace ferrow {
namespace {

using test::Sdrplay;
namespace rsp = ferrow::sim::rsp;

TEST(SampleStager, EightCallbacksMakeOneTask) {
    SampleStager stager;
    std::vector<std::size_t> posted;
    std::vector<short> xi(10), xq(10);
    short value = 0;
    const auto post = [&](const buff<short>& first, const buff<short>& second) {
        posted.push_back(first.size());
        ASSERT_EQ(first.size(), second.size());
        for (std::size_t i = 0; i < first.size(); ++i) {
            EXPECT_EQ(first[i], static_cast<short>(i / 10));
            EXPECT_EQ(second[i], static_cast<short>(100 + i / 10));
        }
    };
    for (int i = 0; i < 8; ++i, ++value) {
        std::fill(xi.begin(), xi.end(), value);
        std::fill(xq.begin(), xq.end(), static_cast<short>(100 + value));
        stager.add(xi.data(), xq.data(), 10, post);
    }
    EXPECT_TRUE(posted.empty()) << "goes with the ninth";
    stager.add(xi.data(), xq.data(), 10, post);
    EXPECT_EQ(posted, (std::vector<std::size_t>{80}));
}

TEST(SampleStager, ANumSamplesThatChangesFlushes) {
    SampleStager stager;
    std::vector<std::size_t> posted;
    const std::vector<short> samples(100);
    const auto post = [&](const buff<short>& first, const buff<short>&) { posted.push_back(first.size()); };
    for (int i = 0; i < 3; ++i)
        stager.add(samples.data(), samples.data(), 100, post);
    stager.add(samples.data(), samples.data(), 50, post);
    EXPECT_EQ(posted, (std::vector<std::size_t>{300}));
    stager.add(samples.data(), samples.data(), 0, post);
    stager.add(samples.data(), samples.data(), 51, post);
    EXPECT_EQ(posted, (std::vector<std::size_t>{300, 50}));
    stager.clear();
    stager.add(samples.data(), samples.data(), 50, post);
    EXPECT_EQ(posted.size(), 2u) << "nothing is left of what was cleared";
}

class SdrplayStreaming : public Sdrplay {
protected:
    void carriers(const std::vector<rsp::CarrierEntry>& list) {
        control->setCarriers(list.data(), static_cast<int>(list.size()));
    }
    std::size_t fill(std::size_t receiver = 0) {
        std::size_t n = 0;
        on([&] { n = radio->hwReceivers[receiver].fill; });
        return n;
    }
    void gainEvent(int tuner, double gain) {
        rsp::EventParamsT params{};
        params.gain.currGain = gain;
        control->raise(rsp::GainChange, tuner, &params);
    }
    void overloadEvent(int tuner, int type) {
        rsp::EventParamsT params{};
        params.powerOverloadChangeType = type;
        control->raise(rsp::PowerOverloadChange, tuner, &params);
    }
};

TEST_F(SdrplayStreaming, ANumSamplesThatChangesBetweenCallbacksFlushesTheStagingBuffers) {
    control->setSamplesPerCall(100);
    start("RSP1A", 6144000);
    advance(3);
    EXPECT_EQ(fill(), 0u);
    control->setSamplesPerCall(50);
    advance(1);
    EXPECT_TRUE(eventually([&] { return radio->hwReceivers[0].fill == 300; }));
    advance(8);
    EXPECT_TRUE(eventually([&] { return radio->hwReceivers[0].fill == 700; })) << "eight callbacks together";
}

TEST_F(SdrplayStreaming, Rate2000000HasChunksOf32768SamplesAnd6MhzSampling) {
    start("RSP1A", 2000000);
    EXPECT_EQ(callsOf(rsp::Init).at(0).dev.fsHz, 6e6);
    EXPECT_EQ(control->outputRate(), 2e6);
    EXPECT_EQ(radio->hwReceivers[0].chunk.size(), 32768u);
    control->setSamplesPerCall(4096);
    advance(10);
    on([&] { EXPECT_EQ(radio->hwReceivers[0].chunk.size(), 32768u); });
}

TEST_F(SdrplayStreaming, TheRealPartIsQAndTheImaginaryPartI) {
    start("RSP1A", 6144000);
    gainEvent(1, 20.0); // scale 1 / 32768
    ASSERT_TRUE(test::waitFor([&] { return radio->stream().scale(0) == 3.0517578125e-5f; }));
    buff<short> i(3, 0), q(3, 0);
    i[0] = 100;
    i[1] = -32768;
    q[0] = -200;
    q[2] = 32767;
    on([&] {
        radio->NewData(i, q, 0, radio->stream().number());
        const auto& chunk = radio->hwReceivers[0].chunk;
        EXPECT_EQ(chunk[0], std::complex<float>(-200 / 32768.0f, 100 / 32768.0f));
        EXPECT_EQ(chunk[1], std::complex<float>(0, -1));
        EXPECT_EQ(chunk[2], std::complex<float>(32767 / 32768.0f, 0));
        radio->NewData(i, q, 0, radio->stream().number() - 1);
        EXPECT_EQ(radio->hwReceivers[0].fill, 3u) << "of an earlier stream: dropped";
        radio->NewData(i, q, 1, radio->stream().number());
        EXPECT_EQ(radio->hwReceivers[0].fill, 3u) << "no receiver for tuner B";
    });
}

TEST_F(SdrplayStreaming, ACarrierAboveTheCentreTurnsBackwards) {
    start("RSP1A", 768000);
    on([&] { radio->hwReceivers[0].frequency = 7000000; });
    carriers({{7012000, -60}});
    advance(8); // acknowledged
    on([&] { radio->frequenciesChanged(); });
    ASSERT_TRUE(test::waitFor([&] { return retunes().size() == 2; }));
    control->setSamplesPerCall(128);
    advance(33);
    on([&] {
        const auto& receiver = radio->hwReceivers[0];
        ASSERT_GT(receiver.fill, 256u);
        std::complex<double> turn = 0;
        for (std::size_t k = receiver.fill - 200; k < receiver.fill; ++k)
            turn += std::complex<double>(receiver.chunk[k]) *
                    std::conj(std::complex<double>(receiver.chunk[k - 1]));
        EXPECT_NEAR(std::arg(turn), -2 * std::numbers::pi * 12000 / 768000, 0.002);
    });
}

TEST_F(SdrplayStreaming, TheScaleFollowsTheReportedGain) {
    start("RSPduo", 2000000);
    EXPECT_TRUE(test::waitFor([&] { // gain of 90 - 50 - 6 * 3 dB, told after Init
        return std::abs(radio->stream().scale(0) - 10 / std::pow(10.0, 22.0 / 20) / 32768) < 1e-10;
    }));
    gainEvent(1, 40.0);
    EXPECT_TRUE(
        test::waitFor([&] { return radio->stream().scale(0) == static_cast<float>(3.0517578125e-6); }));
    gainEvent(2, 60.0);
    EXPECT_TRUE(
        test::waitFor([&] { return radio->stream().scale(1) == static_cast<float>(3.0517578125e-7); }));
    EXPECT_EQ(radio->stream().scale(0), static_cast<float>(3.0517578125e-6));
    gainEvent(1, std::numeric_limits<double>::quiet_NaN());
    gainEvent(1, -1e9);
    gainEvent(2, 20.0);
    EXPECT_TRUE(test::waitFor([&] { return radio->stream().scale(1) == 3.0517578125e-5f; }));
    EXPECT_EQ(radio->stream().scale(0), static_cast<float>(3.0517578125e-6)) << "no such gain";
}

TEST_F(SdrplayStreaming, AdcPeakOfAFullScaleQSampleReads2Point02) {
    start("RSP1A", 6144000);
    buff<short> i(1300000, 0), q(1300000, 0);
    q[1000] = 32767;
    i[5] = -32768;
    on([&] {
        radio->NewData(i, q, 0, radio->stream().number());
        EXPECT_EQ(radio->adcPeak.value(), 32767 / 16184.0);
        EXPECT_EQ(radio->adcPeak2.value(), 0);
        q[1000] = 16184;
        radio->NewData(i, q, 0, radio->stream().number());
        EXPECT_EQ(radio->adcPeak.value(), 1.0) << "begins anew with each refresh";
        q[1000] = 0;
        radio->NewData(i.slice(0, 6144 * 200), q.slice(0, 6144 * 200), 0, radio->stream().number());
        EXPECT_EQ(radio->adcPeak.value(), 1.0) << "200 ms exactly are not enough";
        radio->NewData(i.slice(0, 6144), q.slice(0, 6144), 0, radio->stream().number());
        EXPECT_EQ(radio->adcPeak.value(), 0.0);
    });
}

TEST_F(SdrplayStreaming, ARateOfZeroIsNoTrap) {
    start("RSP1A", 768000);
    on([&] { radio->SampleRate.setFromHost(0); });
    advance(20);
    on([&] { radio->SampleRate.setFromHost(-5); });
    advance(20);
    on([&] { radio->SampleRate.setFromHost(768000); });
    control->setSamplesPerCall(0);
    advance(20);
    on([&] { EXPECT_EQ(radio->hwReceivers[0].rate, 768000); });
}

TEST_F(SdrplayStreaming, OverloadIsToldAndAcknowledged) {
    start("RSPduo", 2000000);
    control->forget();
    overloadEvent(1, 0);
    EXPECT_TRUE(eventually([&] { return radio->adcOverload.value(); }));
    auto acks = updatesFor(0x4000000, true);
    ASSERT_EQ(acks.size(), 1u);
    EXPECT_EQ(acks[0].tuner, 1);
    EXPECT_EQ(acks[0].extension, 0u);
    EXPECT_FALSE(radio->adcOverload2.value());
    overloadEvent(2, 0);
    EXPECT_TRUE(eventually([&] { return radio->adcOverload2.value(); }));
    overloadEvent(1, 1);
    EXPECT_TRUE(eventually([&] { return !radio->adcOverload.value(); }));
    overloadEvent(2, 1);
    EXPECT_TRUE(eventually([&] { return !radio->adcOverload2.value(); }));
    acks = updatesFor(0x4000000, true);
    ASSERT_EQ(acks.size(), 4u);
    EXPECT_EQ(acks[1].tuner, 2);
    EXPECT_EQ(acks[2].tuner, 1);
    EXPECT_EQ(acks[3].tuner, 2);
    overloadEvent(3, 0); // neither tuner: acknowledged all the same
    EXPECT_TRUE(test::waitFor([&] { return updatesFor(0x4000000, true).size() == 5; }));
}

TEST_F(SdrplayStreaming, ASignalTooStrongOverloadsAgainAfterItsAcknowledgement) {
    start("RSP1A", 768000);
    on([&] { radio->hwReceivers[0].frequency = 7000000; });
    advance(2);
    on([&] { radio->frequenciesChanged(); });
    ASSERT_TRUE(test::waitFor([&] { return retunes().size() == 2; }));
    carriers({{7010000, 0}});
    advance(2);
    ASSERT_TRUE(test::waitFor([&] { return updatesFor(0x4000000).size() == 1; }));
    advance(2);
    EXPECT_TRUE(test::waitFor([&] { return updatesFor(0x4000000).size() == 2; }));
}

TEST_F(SdrplayStreaming, EventsOfOtherKinds) {
    testing::internal::CaptureStdout();
    start("RSP1A");
    control->raise(rsp::RspDuoModeChange, 1, nullptr);
    control->raise(9, 1, nullptr);
    control->unplug();
    gainEvent(1, 20); // the last of them
    test::waitFor([&] { return radio->stream().scale(0) == 3.0517578125e-5f; });
    stop();
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_NE(said.find("sdrplay_api_EventCb: 9, unknown event\n"), std::string::npos);
    EXPECT_NE(said.find("sdrplay_api_EventCb: sdrplay_api_DeviceRemoved\n"), std::string::npos);
    EXPECT_EQ(said.find("sdrplay_api_EventCb: 3"), std::string::npos) << "ignored";
}

TEST_F(SdrplayStreaming, ADeviceThatVanishesLeavesTheRadioSilent) {
    start("RSP1A");
    advance(20);
    control->unplug();
    const std::size_t before = fill();
    control->advance(20);
    settleSamples();
    EXPECT_EQ(fill(), before);
    stop();
    EXPECT_EQ(callsOf(rsp::Uninit).size(), 1u);
}

TEST_F(SdrplayStreaming, ManyRestartsKeepTheSamplesComing) {
    // A context keeps a place for each thread that posts to it, and has 32; each start has new threads.
    for (int round = 0; round < 40; ++round) {
        start("RSP1A", 6144000);
        control->setSamplesPerCall(64);
        advance(9);
        ASSERT_TRUE(eventually([&] { return radio->hwReceivers[0].fill == 512; })) << round;
        stop();
        control->forget();
    }
}

} // namespace
} // namespace ferrow
