// What the running radio tells of itself: telemetry, wideband blocks, automatic gain, hardware keys.
#include "tests/radios/hpsdr/radio_bench.hpp"

#include <cmath>
#include <gtest/gtest.h>

namespace ferrow {
namespace {

using test::Bench;
using test::Packet;
using test::Stream;

TEST(HpsdrTelemetry, TelemetryIsRefreshedEvery82FramesAt48kHzAndOneReceiver) {
    Bench bench;
    bench.run();
    Stream stream{bench};
    stream.like.control[0] = 1 << 3;
    stream.like.control[1] = 0x04; // ain5 = 1024
    stream.send(40);               // 80 frames
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    bench.on([&] { EXPECT_EQ(bench.radio->Temp.value(), 0); });
    stream.send(1);
    const double ain5 = 1024 * (1 - std::pow(0.9, 82));
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->Temp.value() != 0; }));
    bench.on([&] {
        EXPECT_NEAR(bench.radio->Temp.value(), (3.26 * ain5 / 4096 - 0.5) * 100, 1e-9);
        EXPECT_EQ(bench.radio->receivedPackets.value(), 41);
        EXPECT_GE(bench.radio->sentPackets.value(), 11);
    });
}

TEST(HpsdrTelemetry, TheRefreshScalesWithTheNumberOfReceivers) {
    Bench bench;
    bench.on([&] {
        bench.radio->maxHwReceivers.setFromHost(2);
        bench.radio->addHwReceiver(7100000);
    });
    bench.run();
    Stream stream{bench};
    stream.like.receivers = 2;
    stream.send(80); // 160 frames; 162 are needed
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    bench.on([&] { EXPECT_EQ(bench.radio->Temp.value(), 0); });
    stream.send(1);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->Temp.value() == -50.0; }));
}

TEST(HpsdrTelemetry, AdcPeakComesFromTheWidebandStreamOnly) {
    Bench bench;
    bench.run();
    Stream stream{bench};
    stream.like.value = [](int, int) { return std::pair{8388607, 8388607}; };
    stream.send(41);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->adcPeakDBFS.value() == -100.0; }));
    bench.on([&] { EXPECT_EQ(bench.radio->adcPeak.value(), 0); });

    Packet wide(1032, 0);
    wide[2] = 1;
    wide[3] = 4;
    wide[8 + 200] = 0x00;
    wide[8 + 201] = 0xFC; // −1024
    bench.send(wide);
    stream.send(41);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->adcPeak.value() == 0.5; }));
    bench.on([&] { EXPECT_NEAR(bench.radio->adcPeakDBFS.value(), -6.0206, 1e-4); });
    stream.send(41);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->adcPeak.value() == 0; })) << "a peak counts once";
}

TEST(HpsdrTelemetry, FourWidebandPacketsMakeABlock) {
    Bench bench;
    bench.on([&] { bench.radio->rxGain.setFromHost(0); });
    bench.run();
    const auto quarter = [&](std::uint32_t sequence, int sample) {
        Packet wide(1032, 0);
        wide[2] = 1;
        wide[3] = 4;
        wide[7] = static_cast<std::uint8_t>(sequence);
        for (std::size_t i = 0; i < 512; ++i) {
            wide[8 + 2 * i] = static_cast<std::uint8_t>(sample & 0xFF);
            wide[9 + 2 * i] = static_cast<std::uint8_t>(sample >> 8 & 0xFF);
        }
        bench.send(wide);
    };
    for (std::uint32_t i = 0; i < 3; ++i)
        quarter(4 + i, static_cast<int>(100 * (i + 1)));
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    bench.on([&] { EXPECT_EQ(bench.radio->wideSpectrum.size(), 0u); });
    quarter(7, -400);
    ASSERT_TRUE(bench.eventually([&] { return bench.radio->wideSpectrum.size() == 2048; }));
    bench.on([&] {
        const int values[] = {100, 200, 300, -400};
        for (std::size_t i = 0; i < 2048; ++i)
            ASSERT_FLOAT_EQ(bench.radio->wideSpectrum[i],
                            static_cast<float>(values[i / 512] * 0.0004886962890625));
        EXPECT_EQ(bench.radio->wideSpectrumNext.size(), 2048u);
        EXPECT_NE(bench.radio->wideSpectrumNext.data(), bench.radio->wideSpectrum.data());
    });
    // Quarter 3 alone ends a block too; what was lost is silence.
    quarter(11, 50);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->wideSpectrum[2047] > 0; }));
    bench.on([&] { EXPECT_EQ(bench.radio->wideSpectrum[0], 0.0f); });
}

TEST(HpsdrTelemetry, Gain40WithRfAgcMaxGoesTo30AtTheFirstWindow) {
    Bench bench;
    bench.on([&] {
        bench.radio->rxGain.setFromHost(40);
        bench.radio->rfAgcMode.setFromHost(2);
    });
    bench.run();
    Stream stream{bench};
    stream.send(500); // 1000 frames
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    bench.on([&] { EXPECT_EQ(bench.radio->rxGain.value(), 40); });
    stream.send(1);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->rxGain.value() == 30; }));
    stream.send(600);
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    bench.on([&] { EXPECT_EQ(bench.radio->rxGain.value(), 30); });
}

TEST(HpsdrTelemetry, OverloadTurnsTheGainDown) {
    Bench bench;
    bench.on([&] { bench.radio->rfAgcMode.setFromHost(2); });
    bench.run();
    Stream stream{bench};
    stream.like.control[1] = 1;
    stream.send(501);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->rxGain.value() == 18; }));
    bench.on([&] { EXPECT_TRUE(bench.radio->adcOvl.value()); });
}

TEST(HpsdrTelemetry, HardwarePttAndKeyAreStored) {
    Bench bench;
    bench.run();
    Stream stream{bench};
    stream.like.control[0] = 0x05;
    stream.send(1);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->RadioPtt.value(); }));
    bench.on([&] { EXPECT_TRUE(bench.radio->txVtrx->hardwareKey.load()); });
    stream.like.control[0] = 0x80; // skipped whole
    stream.send(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    bench.on([&] { EXPECT_TRUE(bench.radio->RadioPtt.value()); });
    stream.like.control[0] = 0;
    stream.send(1);
    EXPECT_TRUE(bench.eventually([&] { return !bench.radio->RadioPtt.value(); }));
    bench.on([&] { EXPECT_FALSE(bench.radio->txVtrx->hardwareKey.load()); });
}

TEST(HpsdrTelemetry, TransmitBufferReportsAndPowerWhileTransmitting) {
    Bench bench;
    bench.run();
    Stream stream{bench};
    bench.on([&] { bench.radio->ptt.set(true); });
    stream.like.control[3] = 60;
    stream.send(2);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->MinTxBufferLevel.value() == 60; }));
    stream.like.control[3] = 0x80;
    stream.send(1);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->TxBufferOverflow.value() == 2; })) << "two frames";
    stream.like.control[3] = 0xC0;
    stream.send(1);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->TxBufferUnderflow.value() == 2; }));
    stream.like.control[3] = 0;
    stream.like.control[0] = 1 << 3;
    stream.like.control[3] = 0x0A; // ain1 = 2560
    stream.send(1);
    stream.like.control[0] = 2 << 3;
    stream.like.control[1] = 0x01; // ain2 = 256
    stream.like.control[3] = 0x04; // ain3 = 1024
    stream.send(41);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->Current.value() > 0; }));
    bench.on([&] {
        EXPECT_GT(bench.radio->FwdPwr.value(), bench.radio->RevPwr.value());
        EXPECT_GT(bench.radio->Swr.value(), 1.0f);
        bench.radio->ptt.set(false);
    });
    stream.send(42);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->Current.value() == 0; }));
    bench.on([&] {
        EXPECT_EQ(bench.radio->FwdPwr.value(), 0);
        EXPECT_EQ(bench.radio->RevPwr.value(), 0);
        EXPECT_EQ(bench.radio->Swr.value(), 0);
    });
}

} // namespace
} // namespace ferrow
