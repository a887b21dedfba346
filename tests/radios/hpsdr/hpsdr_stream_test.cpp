// The running radio: ticks, samples, gain, keying, bus writes, foreign bytes.
#include "tests/radios/hpsdr/radio_bench.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace ferrow {
namespace {

using test::banksOf;
using test::Bench;
using test::control;
using test::isCommand;
using test::isData;
using test::LogCapture;
using test::Packet;
using test::ReceivePacket;
using test::sequenceOf;
using test::Stream;

TEST(HpsdrStream, At96kHzWithOneReceiverABlockOnEverySecondPacket) {
    Bench bench;
    bench.on([&] { bench.radio->SampleRate.setFromHost(96000); });
    bench.run();
    Stream stream{bench};
    stream.send(100);
    const auto packets = bench.take(50);
    ASSERT_EQ(packets.size(), 50u);
    for (std::size_t i = 0; i < 50; ++i) {
        ASSERT_TRUE(isData(packets[i]));
        EXPECT_EQ(sequenceOf(packets[i]), 10 + i);
        const int bank = static_cast<int>(2 * i % 46);
        ASSERT_EQ(banksOf(packets[i]), std::make_pair(bank, bank + 1))
            << "the rotation restarts behind the start";
    }
}

TEST(HpsdrStream, At48kHzWithTwoReceiversFourBlocksInSevenPackets) {
    Bench bench;
    bench.on([&] {
        bench.radio->maxHwReceivers.setFromHost(2);
        bench.radio->addHwReceiver(7100000);
    });
    bench.run();
    Stream stream{bench};
    stream.like.receivers = 2;
    for (int round = 0; round < 4; ++round) {
        stream.send(7);
        EXPECT_EQ(bench.take(4).size(), 4u);
    }
}

TEST(HpsdrStream, AGapInTheSequenceCountsOnceAndAMissedTickIsLost) {
    Bench bench;
    bench.on([&] { bench.radio->SampleRate.setFromHost(96000); });
    bench.run();
    Stream stream{bench};
    stream.send(3);  // 0, 1, 2: a tick on 1
    stream.next = 4; // 3, which would have been a tick, is lost
    stream.send(4);  // 4, 5, 6, 7: ticks on 5 and 7
    EXPECT_EQ(bench.take(3).size(), 3u);
    bench.on([&] { EXPECT_EQ(bench.radio->ep6SeqErrors.value(), 1); });
    stream.next = 6; // a duplicate run: one error at its start, then in step again
    stream.send(6);
    EXPECT_EQ(bench.take(3).size(), 3u);
    bench.on([&] {
        EXPECT_EQ(bench.radio->ep6SeqErrors.value(), 2);
        EXPECT_EQ(bench.radio->ep4SeqErrors.value(), 0);
    });
}

TEST(HpsdrStream, SamplesOfEachReceiverComeInOrderAtTheRightLevel) {
    Bench bench;
    bench.on([&] {
        bench.radio->maxHwReceivers.setFromHost(2);
        bench.radio->addHwReceiver(40000000); // in an odd zone of the clock
        bench.radio->rxGain.setFromHost(20);
        bench.radio->maxAdcValue.setFromHost(32768);
        bench.radio->rxLevelCalibration.setFromHost(2.0);
    });
    bench.run();
    Stream stream{bench};
    stream.like.receivers = 2;
    stream.like.value = [](int r, int k) { return std::pair{1000 * (k + 1) + r, -2000 * (k + 1)}; };
    stream.send(3);
    ASSERT_TRUE(bench.eventually([&] { return bench.radio->hwReceivers[1].fill == 3u * 72; }));
    bench.on([&] {
        const double scale = 0.1 * 2.0 / 8388608.0;
        for (std::size_t i = 0; i < 216; ++i) {
            const int k = static_cast<int>(i % 72);
            const auto straight = bench.radio->hwReceivers[0].chunk[i];
            const auto mirrored = bench.radio->hwReceivers[1].chunk[i];
            ASSERT_NEAR(straight.real(), (1000 * (k + 1)) * scale, 1e-9) << i;
            ASSERT_NEAR(straight.imag(), (-2000 * (k + 1)) * scale, 1e-9);
            ASSERT_NEAR(mirrored.imag(), (1000 * (k + 1) + 1) * scale, 1e-9);
            ASSERT_NEAR(mirrored.real(), (-2000 * (k + 1)) * scale, 1e-9);
        }
    });
}

TEST(HpsdrStream, TheThirdSyncByteMaySayThatAFrameHoldsFewerReceivers) {
    Bench bench;
    bench.on([&] {
        bench.radio->maxHwReceivers.setFromHost(3);
        bench.radio->addHwReceiver(7100000);
        bench.radio->addHwReceiver(3600000);
    });
    bench.run();
    Stream stream{bench};
    stream.like.receivers = 2;
    stream.like.sync = 1;
    stream.send(2);
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->hwReceivers[0].fill == 2u * 72; }));
    bench.on([&] {
        EXPECT_EQ(bench.radio->hwReceivers[1].fill, 2u * 72);
        EXPECT_EQ(bench.radio->hwReceivers[2].fill, 0u);
    });
}

TEST(HpsdrStream, WhileTransmittingTheTransceiverIsPulledForEachBlock) {
    Bench bench;
    bench.run();
    Stream stream{bench};
    bench.on([&] {
        bench.radio->txVtrx->drive.setFromHost(100);
        bench.radio->TuneDrive.setFromHost(200);
        bench.radio->ptt.set(true);
    });
    stream.send(1);
    auto packets = bench.take(1);
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(banksOf(packets[0]), std::make_pair(0, 10));
    EXPECT_EQ(control(packets[0], 0, 0), 1);
    EXPECT_EQ(control(packets[0], 1, 0), 2 * 10 + 1);
    // The carrier of a tuning transceiver goes out at full scale once its ramp is over.
    const auto transceiver = bench.radio->vtrxs[0];
    test::onContext(transceiver, [&] { transceiver->tune.setFromHost(true); });
    stream.send(60);
    packets = bench.take(60);
    ASSERT_EQ(packets.size(), 60u);
    const Packet& last = packets.back();
    const auto word = [&](std::size_t at) { return static_cast<std::int16_t>(last[at] << 8 | last[at + 1]); };
    EXPECT_EQ(word(1032 - 4), 0) << "Q";
    EXPECT_EQ(word(1032 - 2), -32438) << "−I: 0.99 of full scale";
    for (const Packet& packet : packets)
        for (int frame = 0; frame < 2; ++frame)
            if (control(packet, frame, 0) >> 1 == 9) {
                EXPECT_EQ(control(packet, frame, 1), 200);
            }
}

TEST(HpsdrStream, Drive0OnTheSecondHermesLiteIsSilence) {
    Bench bench;
    bench.on([&] { bench.radio->HLite2Gain.setFromHost(true); });
    bench.run();
    bench.on([&] { bench.radio->transmit(buff<std::complex<float>>(126, std::complex<float>(0.9f, 0.3f))); });
    auto packets = bench.take(1);
    ASSERT_EQ(packets.size(), 1u);
    for (const std::size_t frame : {std::size_t{16}, std::size_t{528}})
        for (std::size_t i = 0; i < 504; ++i)
            ASSERT_EQ(packets[0][frame + i], 0);
    bench.on([&] {
        bench.radio->txVtrx->drive.setFromHost(255);
        bench.radio->transmit(buff<std::complex<float>>(126, std::complex<float>(0.5f, 0.0f)));
    });
    packets = bench.take(1);
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(static_cast<std::int16_t>(packets[0][1030] << 8 | packets[0][1031]), -16383);
}

TEST(HpsdrStream, StopWhilePttEndsTheTicksAndLeavesPtt) {
    Bench bench;
    bench.run();
    Stream stream{bench};
    bench.on([&] { bench.radio->ptt.set(true); });
    stream.send(3);
    bench.drain();
    bench.stop();
    ASSERT_EQ(bench.take(1).size(), 1u);
    stream.send(20);
    EXPECT_TRUE(bench.drain().empty());
    bench.on([&] { EXPECT_TRUE(bench.radio->ptt.value()); });
}

TEST(HpsdrStream, NewFrequenciesAreInTheNextPacket) {
    Bench bench;
    bench.run();
    Stream stream{bench};
    stream.send(7);
    bench.drain();
    bench.on([&] { bench.radio->vtrxs[0]->setRxFrequency(7030000); });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    stream.send(1);
    const auto packets = bench.take(1);
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(banksOf(packets[0]), std::make_pair(2, 3));
    const int word = control(packets[0], 0, 1) << 24 | control(packets[0], 0, 2) << 16 |
                     control(packets[0], 0, 3) << 8 | control(packets[0], 0, 4);
    bench.on([&] { EXPECT_EQ(word, bench.radio->hwReceivers[0].frequency); });
    EXPECT_NEAR(word, 7030000, 10000);
}

// C4 of bank 10 as it would go out now.
int gainByte(Bench& bench) {
    bench.drain(20);
    bench.on([&] {
        for (int i = 0; i < 23; ++i)
            bench.radio->transmit(buff<std::complex<float>>(126, 0.0f));
    });
    int found = -1;
    for (const Packet& packet : bench.take(23))
        for (int frame = 0; frame < 2; ++frame)
            if (control(packet, frame, 0) >> 1 == 10)
                found = control(packet, frame, 4);
    return found;
}

TEST(HpsdrStream, GainFollowsItsPropertiesAndPtt) {
    Bench bench;
    bench.run();
    EXPECT_EQ(gainByte(bench), 27 + 32) << "63 − 12 − 24";
    bench.on([&] { bench.radio->rxGain.setFromHost(30); });
    EXPECT_EQ(gainByte(bench), 21 + 32);
    bench.on([&] { bench.radio->txGain.setFromHost(10); });
    EXPECT_EQ(gainByte(bench), 21 + 32) << "not while receiving";
    bench.on([&] { bench.radio->ptt.set(true); });
    EXPECT_EQ(gainByte(bench), 41 % 32 + 32);
    bench.on([&] { bench.radio->ptt.set(false); });
    EXPECT_EQ(gainByte(bench), 21 + 32);
}

TEST(HpsdrStream, AStreamThatWasStoppedInATransmissionsTailHasTheReceiveGainBehindIt) {
    Bench bench;
    bench.on([&] {
        bench.radio->rxGain.setFromHost(30);
        bench.radio->txGain.setFromHost(10);
    });
    bench.run();
    bench.on([&] {
        bench.radio->ptt.set(true);
        bench.radio->transmit(buff<std::complex<float>>(126, 0.0f));
        bench.radio->ptt.set(false);
        bench.radio->transmit(buff<std::complex<float>>(126, 0.0f));
    });
    bench.stop();
    bench.drain();
    bench.start();
    EXPECT_EQ(gainByte(bench), 41 % 32 + 32) << "the tail goes on: 33 of 49 packets";
    EXPECT_EQ(gainByte(bench), 21 + 32);
    EXPECT_EQ(gainByte(bench), 21 + 32);
}

TEST(HpsdrStream, ReceivedSamplesFollowAGainChangeFourPacketsLate) {
    Bench bench;
    bench.on([&] {
        bench.radio->rxGain.setFromHost(20);
        bench.radio->txGain.setFromHost(0);
        bench.radio->maxAdcValue.setFromHost(32768);
    });
    bench.run();
    Stream stream{bench};
    stream.like.value = [](int, int) { return std::pair{4194304, 0}; };
    const auto latest = [&](std::size_t fill) {
        double value = 0;
        EXPECT_TRUE(bench.eventually([&] { return bench.radio->hwReceivers[0].fill == fill; }));
        bench.on([&] { value = bench.radio->hwReceivers[0].chunk[fill - 1].real(); });
        return value;
    };
    stream.send(1);
    EXPECT_NEAR(latest(126), 0.05, 1e-6);
    bench.on([&] {
        bench.radio->ptt.set(true);
        for (int i = 0; i < 4; ++i)
            bench.radio->transmit(buff<std::complex<float>>(126, 0.0f));
    });
    // This packet's own tick posts to the transceiver and comes back behind it.
    stream.send(1);
    EXPECT_NEAR(latest(252), 0.05, 1e-6) << "the four packets that pass with the old gain";
    bench.drain();
    stream.send(1);
    EXPECT_NEAR(latest(378), 0.5, 1e-6);
}

TEST(HpsdrStream, BusWritesOnlyWhileTheBiasIsEnabled) {
    Bench bench;
    bench.run();
    const auto entries = [&] {
        bench.drain(20);
        bench.on([&] {
            for (int i = 0; i < 60; ++i)
                bench.radio->transmit(buff<std::complex<float>>(126, 0.0f));
        });
        std::vector<std::array<int, 3>> found;
        for (const Packet& packet : bench.take(60))
            for (int frame = 0; frame < 2; ++frame)
                if (control(packet, frame, 0) == 0xFA)
                    found.push_back(
                        {control(packet, frame, 2), control(packet, frame, 3), control(packet, frame, 4)});
        return found;
    };
    using Entries = std::vector<std::array<int, 3>>;
    bench.on([&] {
        bench.radio->paBias0.setFromHost(1);
        bench.radio->paBias1.setFromHost(2);
        bench.radio->paExtBias0.setFromHost(3);
        bench.radio->writeBias();
        bench.radio->writeExtBias();
    });
    EXPECT_EQ(entries(), Entries{});
    bench.on([&] {
        bench.radio->biasEnabled.setFromHost(true);
        bench.radio->FwVersion.setFromHost(60);
        bench.radio->paBias0.setFromHost(0x11);
        bench.radio->paBias1.setFromHost(0x12);
        bench.radio->paExtBias0.setFromHost(0x13);
        bench.radio->writeBias();
    });
    EXPECT_EQ(entries(), (Entries{{0xAC, 0x00, 0x11},
                                  {0xAC, 0x10, 0x12},
                                  {0xAE, 0x00, 0x13},
                                  {0xAC, 0x20, 0x11},
                                  {0xAC, 0x30, 0x12}}));
    bench.on([&] {
        bench.radio->FwVersion.setFromHost(59);
        bench.radio->writeExtBias();
        bench.radio->writeStatus(0x1234);
    });
    EXPECT_EQ(entries(), (Entries{{0xAE, 0x20, 0x13}, {0xA8, 0x60, 0x34}}));
    bench.on([&] { bench.radio->writeMac(0xABCD); });
    EXPECT_EQ(entries(), (Entries{{0xA8, 0xC0, 0xAB}, {0xA8, 0xD0, 0xCD}}));
}

TEST(HpsdrStream, TheFilterSetServesAllReceiversAtOnce) {
    Bench bench;
    bench.on([&] {
        bench.radio->UseJ16.setFromHost(false);
        bench.radio->maxHwReceivers.setFromHost(2);
        bench.radio->addHwReceiver(3600000);
        const auto set = bench.radio->FilterSet.value();
        for (const int edge : {5000000, 10000000, 30000000}) {
            auto band = std::make_shared<J16FilterBands>(bench.radio->context());
            band->maxfrequency.setFromHost(edge);
            band->tx.setFromHost(edge / 1000000);
            set->FilterBands.set(3, 0, band);
        }
        for (int i = 0; i < 6; ++i) {
            auto row = std::make_shared<J16FilterRx>(bench.radio->context());
            row->rx.setFromHost(0x10 + i);
            set->FilterRx.set(3, 0, row);
        }
    });
    bench.start();
    auto packets = bench.take(11);
    ASSERT_EQ(packets.size(), 11u);
    EXPECT_EQ(control(packets[0], 0, 2), 0x15 * 2) << "bands 0 and 2";
    bench.on([&] {
        bench.radio->ptt.set(true);
        bench.radio->transmit(buff<std::complex<float>>(126, 0.0f));
    });
    packets = bench.take(1);
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(control(packets[0], 0, 2), 30 * 2) << "the transmit frequency's own band";
}

TEST(HpsdrStream, ForeignAndBrokenDatagramsDoNoHarm) {
    Bench bench;
    bench.on([&] {
        bench.radio->maxHwReceivers.setFromHost(3);
        bench.radio->addHwReceiver(7100000);
        bench.radio->addHwReceiver(3600000);
    });
    bench.run();
    bench.on([&] { bench.radio->ptt.set(true); });
    std::mt19937 random(5);
    for (int i = 0; i < 2000; ++i) {
        Packet packet(random() % 4 == 0 ? random() % 1500 : 1032);
        for (auto& byte : packet)
            byte = static_cast<std::uint8_t>(random());
        if (packet.size() > 8 && i % 2 == 0) {
            packet[2] = 1;
            packet[3] = i % 10 == 0 ? 4 : 6;
        }
        bench.send(packet);
        if (i % 32 == 31)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    bench.drain();
    // It still works.
    bench.on([&] { bench.radio->ptt.set(false); });
    bench.stop();
    bench.drain();
    bench.start();
    bench.drain();
    int before = 0;
    bench.on([&] { before = bench.radio->ep6SeqErrors.value(); });
    Stream stream{bench};
    stream.like.receivers = 3;
    stream.send(126);
    EXPECT_EQ(bench.take(50).size(), 50u);
    bench.on([&] { EXPECT_EQ(bench.radio->ep6SeqErrors.value(), before); });
}

TEST(HpsdrStream, WrongEndpointsAndShortPacketsAreDropped) {
    Bench bench;
    bench.run();
    for (const int endpoint : {0, 1, 2, 3, 5, 7, 255}) {
        Packet packet = ReceivePacket{0}.bytes();
        packet[3] = static_cast<std::uint8_t>(endpoint);
        bench.send(packet);
    }
    Packet packet = ReceivePacket{0}.bytes();
    packet[2] = 2;
    bench.send(packet);
    bench.send(Packet{});
    bench.send(Packet{0xEF});
    EXPECT_TRUE(bench.drain().empty());
    bench.on([&] {
        EXPECT_EQ(bench.radio->ep6SeqErrors.value(), 0);
        EXPECT_EQ(bench.radio->hwReceivers[0].fill, 0u);
    });
}

TEST(HpsdrStream, AStalledQueueRidesOutABurstWithoutLoss) {
    Bench bench;
    bench.on([&] { bench.radio->SampleRate.setFromHost(384000); });
    bench.run();
    Stream stream{bench};
    bench.on([&] {
        // 40 ms of packets at 384 kHz while the radio's queue stands still.
        stream.send(122);
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
    });
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->hwReceivers[0].fill > 0; }));
    bench.drain();
    bench.on([&] { EXPECT_EQ(bench.radio->ep6SeqErrors.value(), 0); });
}

} // namespace
} // namespace ferrow
