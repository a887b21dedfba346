// The radio object's life: defaults, start, stop, receivers, and its end.
#include "tests/radios/hpsdr/radio_bench.hpp"
#include "tests/support/sanitizer.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ferrow {
namespace {

using test::banksOf;
using test::Bench;
using test::control;
using test::isCommand;
using test::isData;
using test::LogCapture;
using test::onContext;
using test::Packet;
using test::ReceivePacket;
using test::sequenceOf;

TEST(HpsdrRadio, Defaults) {
    test::startRuntime();
    const auto radio = std::make_shared<HpsdrRadio>(rootSyncTask);
    EXPECT_EQ(radio->Mac.copy(), "");
    EXPECT_EQ(radio->ipAddress.copy(), "");
    EXPECT_EQ(radio->txGain.value(), 0);
    EXPECT_EQ(radio->rxGain.value(), 24);
    EXPECT_EQ(radio->maxTxRFGain.value(), 19);
    EXPECT_EQ(radio->minTxRFGain.value(), -12);
    EXPECT_EQ(radio->maxRxRFGain.value(), 48);
    EXPECT_EQ(radio->minRxRFGain.value(), -12);
    EXPECT_EQ(radio->frequencyCalibration.value(), 1.0);
    EXPECT_EQ(radio->adcOvl.value(), false);
    EXPECT_EQ(radio->ep6SeqErrors.value(), 0);
    EXPECT_EQ(radio->ep4SeqErrors.value(), 0);
    EXPECT_EQ(radio->adcPeak.value(), 0);
    EXPECT_EQ(radio->adcPeakDBFS.value(), 0);
    EXPECT_EQ(radio->maxAdcValue.value(), 2048);
    EXPECT_EQ(radio->clockFrequency.value(), 73728000);
    EXPECT_TRUE(radio->J16Set.copy().empty());
    EXPECT_EQ(radio->UseJ16.value(), true);
    ASSERT_TRUE(radio->FilterSet.copy());
    EXPECT_TRUE(radio->FilterSet.copy()->FilterBands.copy().empty());
    EXPECT_TRUE(radio->FilterSet.copy()->FilterRx.copy().empty());
    EXPECT_EQ(radio->rfAgcMode.value(), 0);
    EXPECT_EQ(radio->autoFreqCalib.value(), false);
    EXPECT_EQ(radio->hasHL2PA.value(), false);
    EXPECT_EQ(radio->enablePA.value(), false);
    EXPECT_EQ(radio->disableTR.value(), false);
    EXPECT_EQ(radio->biasEnabled.value(), false);
    EXPECT_EQ(radio->paBias0.value(), 0);
    EXPECT_EQ(radio->paBias1.value(), 0);
    EXPECT_EQ(radio->paExtBias0.value(), 0);
    EXPECT_EQ(radio->HLiteGain.value(), true);
    EXPECT_EQ(radio->HLite2Gain.value(), false);
    EXPECT_EQ(radio->HLiteRxTxGain.value(), false);
    EXPECT_EQ(radio->FwVersion.value(), 0);
    EXPECT_EQ(radio->TypeID.value(), 0);
    EXPECT_EQ(radio->Temp.value(), 0);
    EXPECT_EQ(radio->Current.value(), 0);
    EXPECT_EQ(radio->FwdPwr.value(), 0);
    EXPECT_EQ(radio->RevPwr.value(), 0);
    EXPECT_EQ(radio->Swr.value(), 0);
    EXPECT_EQ(radio->MinTxBufferLevel.value(), 0);
    EXPECT_EQ(radio->TxBufferOverflow.value(), 0);
    EXPECT_EQ(radio->TxBufferUnderflow.value(), 0);
    EXPECT_TRUE(radio->FwdPwrCalibration.copy().empty());
    EXPECT_EQ(radio->stopToAddReceiver.value(), true);
    EXPECT_EQ(radio->MercurySerial.value(), 0);
    EXPECT_EQ(radio->PenelopeSerial.value(), 0);
    EXPECT_EQ(radio->RXAntenna.value(), false);
    EXPECT_EQ(radio->DisableWatchdog.value(), false);
    EXPECT_EQ(radio->TXBufferLatency.value(), 10);
    EXPECT_EQ(radio->PTTHangTime.value(), 22);
    EXPECT_EQ(radio->ATUTune.value(), false);
    EXPECT_EQ(radio->canTransmit.value(), true);
    EXPECT_TRUE(radio->avoidDcSpike);
    EXPECT_EQ(radio->remotePort, 1024);
    ASSERT_EQ(radio->hwReceivers.size(), 1u);
    EXPECT_EQ(radio->hwReceivers[0].frequency, 14095600);
    EXPECT_EQ(radio->hwReceivers[0].rate, 48000);
    EXPECT_EQ(radio->hwReceivers[0].chunk.size(), 512u);
}

TEST(HpsdrRadio, ChoiceListsAndObjectsOfItsOwnReplayOnBind) {
    test::startRuntime();
    const auto radio = std::make_shared<HpsdrRadio>(rootSyncTask);
    std::vector<std::pair<std::string, int>> rates, modes;
    for (const auto& item : radio->SampleRates.copy())
        rates.emplace_back(item->Label.copy(), item->Value.value());
    for (const auto& item : radio->rfAgcModes.copy())
        modes.emplace_back(item->Label.copy(), item->Value.value());
    using Choices = std::vector<std::pair<std::string, int>>;
    EXPECT_EQ(rates, (Choices{{"48k", 48000}, {"96k", 96000}, {"192k", 192000}, {"384k", 384000}}));
    EXPECT_EQ(modes, (Choices{{"off", 0}, {"max", 2}}));
    EXPECT_TRUE(radio->FilterSet.valid());
    EXPECT_TRUE(radio->canTransmit.valid());
    EXPECT_FALSE(radio->rxGain.valid()) << "a default is not given by core code";
}

TEST(J16Objects, AllValuesDefaultTo0) {
    test::startRuntime();
    J16 row(rootSyncTask);
    EXPECT_EQ(row.maxfrequency.value(), 0);
    EXPECT_EQ(row.rx.value(), 0);
    EXPECT_EQ(row.tx.value(), 0);
    J16FilterBands band(rootSyncTask);
    EXPECT_EQ(band.maxfrequency.value(), 0);
    EXPECT_EQ(band.tx.value(), 0);
    J16FilterRx receive(rootSyncTask);
    EXPECT_EQ(receive.bands.value(), 0);
    EXPECT_EQ(receive.rx.value(), 0);
}

TEST(HpsdrRadio, StartSendsBanks0To9TwiceAndThenTheStartPacket) {
    Bench bench;
    bench.start();
    const auto packets = bench.take(11);
    ASSERT_EQ(packets.size(), 11u);
    for (std::size_t i = 0; i < 10; ++i) {
        ASSERT_TRUE(isData(packets[i])) << i;
        EXPECT_EQ(sequenceOf(packets[i]), i);
        const int first = 2 * static_cast<int>(i % 5);
        EXPECT_EQ(banksOf(packets[i]), std::make_pair(first, first + 1)) << i;
        for (const std::size_t frame : {std::size_t{8}, std::size_t{520}})
            for (std::size_t at = frame + 8; at < frame + 512; ++at)
                ASSERT_EQ(packets[i][at], 0) << "silence";
    }
    Packet start(64, 0);
    start[0] = 0xEF;
    start[1] = 0xFE;
    start[2] = 4;
    start[3] = 3;
    EXPECT_EQ(packets[10], start);
}

TEST(HpsdrRadio, ControlWordsOfTheStartFollowTheProperties) {
    Bench bench;
    bench.on([&] {
        bench.radio->SampleRate.setFromHost(192000);
        bench.radio->RXAntenna.setFromHost(true);
        bench.radio->frequencyCalibration.setFromHost(1.000001);
        bench.radio->rxGain.setFromHost(10);
        bench.radio->DisableWatchdog.setFromHost(true);
        auto row = std::make_shared<J16>(bench.radio->context());
        row->maxfrequency.setFromHost(30000000);
        row->rx.setFromHost(0x21);
        bench.radio->J16Set.set(3, 0, row);
    });
    bench.start();
    const auto packets = bench.take(11);
    ASSERT_EQ(packets.size(), 11u);
    EXPECT_EQ(control(packets[0], 0, 1), 2) << "rate code";
    EXPECT_EQ(control(packets[0], 0, 2), 0x42) << "the host's own filter row";
    EXPECT_EQ(control(packets[0], 0, 3), 0x28) << "antenna, and the extra gain: 63 − 12 − 10 is 41";
    EXPECT_EQ(control(packets[0], 0, 4), 0x04);
    const auto word = [&](const Packet& packet, int frame) {
        return control(packet, frame, 1) << 24 | control(packet, frame, 2) << 16 |
               control(packet, frame, 3) << 8 | control(packet, frame, 4);
    };
    EXPECT_EQ(word(packets[0], 1), 14095614) << "transmit frequency, calibrated";
    long long received = 0;
    bench.on([&] { received = bench.radio->hwReceivers[0].frequency; });
    EXPECT_EQ(word(packets[1], 0), received + 14)
        << "receiver 0 stands beside the passband of the transceiver";
    EXPECT_NE(received, 14095600);
    EXPECT_TRUE(isCommand(packets[10], 0x83)) << "watchdog off";
    int tables = 0;
    bench.on([&] { tables = static_cast<int>(bench.radio->J16Set.items().size()); });
    EXPECT_EQ(tables, 1) << "no defaults beside the host's rows";
}

TEST(HpsdrRadio, TheFirstStartFillsEmptyTablesAndMakesATransceiver) {
    Bench bench;
    bench.start();
    bench.on([&] {
        const int edges[] = {2498270,  4282749,  5995849,  8565498,  11991698,
                             16655136, 18737028, 23060958, 27253859, 42827494};
        ASSERT_EQ(bench.radio->J16Set.items().size(), 10u);
        for (std::size_t i = 0; i < 10; ++i) {
            EXPECT_EQ(bench.radio->J16Set.items()[i]->maxfrequency.value(), edges[i]);
            EXPECT_EQ(bench.radio->J16Set.items()[i]->rx.value(), 0);
            EXPECT_EQ(bench.radio->J16Set.items()[i]->tx.value(), 0);
        }
        ASSERT_EQ(bench.radio->FwdPwrCalibration.items().size(), 15u);
        EXPECT_EQ(bench.radio->FwdPwrCalibration.items()[14]->inp.value(), static_cast<double>(4952.746f));
        EXPECT_EQ(bench.radio->FwdPwrCalibration.items()[14]->outp.value(), static_cast<double>(10.673214f));
        ASSERT_EQ(bench.radio->vtrxs.size(), 1u);
        EXPECT_EQ(bench.radio->vtrxs[0]->vfo.value(), 14095600);
        EXPECT_EQ(bench.radio->txVtrx, bench.radio->vtrxs[0].get());
        EXPECT_EQ(bench.radio->wideSpectrumSpan, 36864000);
    });
    bench.stop();
    bench.on([&] { bench.radio->J16Set.reset(); });
    bench.start();
    bench.on([&] {
        EXPECT_TRUE(bench.radio->J16Set.items().empty()) << "only the first start fills it";
        EXPECT_EQ(bench.radio->vtrxs.size(), 1u);
    });
}

TEST(HpsdrRadio, StopAndStartKeepTheSocketAndStartTheSequenceAnew) {
    Bench bench;
    bench.run();
    const auto port = bench.peer.lastPort();
    for (int round = 0; round < 3; ++round) {
        bench.stop();
        auto packets = bench.take(1);
        ASSERT_EQ(packets.size(), 1u);
        EXPECT_TRUE(isCommand(packets[0], 0));
        bench.start();
        packets = bench.take(11);
        ASSERT_EQ(packets.size(), 11u);
        EXPECT_EQ(sequenceOf(packets[0]), 0u);
        EXPECT_EQ(sequenceOf(packets[9]), 9u);
        EXPECT_TRUE(isCommand(packets[10], 3));
        EXPECT_EQ(bench.peer.lastPort(), port);
    }
}

TEST(HpsdrRadio, AfterStopArrivingPacketsDoNotReachTheRadio) {
    Bench bench;
    bench.run();
    bench.stop();
    bench.drain();
    for (std::uint32_t i = 0; i < 300; ++i)
        bench.send(ReceivePacket{i}.bytes());
    EXPECT_TRUE(bench.drain(100).empty()) << "no tick, so nothing is sent";
    bench.on([&] {
        EXPECT_EQ(bench.radio->ep6SeqErrors.value(), 0);
        EXPECT_EQ(bench.radio->hwReceivers[0].fill, 0u);
    });
}

TEST(HpsdrRadio, ARadioThatNeverAnswersGetsTheStartAndNothingMore) {
    Bench bench;
    LogCapture log;
    bench.start();
    EXPECT_EQ(bench.take(11).size(), 11u);
    EXPECT_EQ(log.count("[error]"), 1) << "only the capture's own record:\n" << log.text();
}

TEST(HpsdrRadio, AnAddressThatCannotBeReachedIsLoggedAndTriedAgain) {
    test::startRuntime();
    for (const char* address : {"", "no address", "255.255.255.255"}) {
        const auto radio = std::make_shared<HpsdrRadio>(rootSyncTask);
        LogCapture log;
        onContext(radio, [&] {
            radio->ipAddress.setFromHost(address);
            radio->start();
        });
        EXPECT_EQ(log.count("[trace] create rio failed "), 1) << address;
        EXPECT_EQ(log.count("[error] RIO connect "), 1) << address;
        onContext(radio, [&] {
            radio->stop();
            radio->start();
        });
        EXPECT_EQ(log.count("[error] RIO connect "), 2) << address;
    }
}

TEST(HpsdrRadio, WithoutTransmitSlotsEverythingIsRefusedWithAWord) {
    test::startRuntime();
    const auto radio = std::make_shared<HpsdrRadio>(rootSyncTask);
    LogCapture log;
    onContext(radio, [&] {
        radio->stop();
        radio->transmit(buff<std::complex<float>>(126, 0.0f));
    });
    EXPECT_EQ(log.exactly("error", "HpsdrRadio::stopRadio no tx buffers -2"), 1);
    EXPECT_EQ(log.exactly("error", "scc no tx buffers"), 1);
    if (test::kAddressSanitizer)
        GTEST_SKIP() << "its type checks need descriptors of their own";
    // A region that cannot be had leaves the socket without slots.
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    rlimit none = before;
    none.rlim_cur = 0;
    onContext(radio, [&] {
        radio->addVtrx(7100000, 0, 0);
        radio->ipAddress.setFromHost("127.0.0.1");
        setrlimit(RLIMIT_NOFILE, &none);
        radio->start();
        setrlimit(RLIMIT_NOFILE, &before);
    });
    EXPECT_EQ(log.exactly("error", "***no tx buffers****"), 1);
    EXPECT_EQ(log.exactly("error", "scc no tx buffers"), 11);
}

TEST(HpsdrRadio, AFullSendRingIsReported) {
    Bench bench;
    bench.run();
    LogCapture log;
    bench.on([&] {
        for (int i = 0; i < 200; ++i)
            bench.radio->transmit(buff<std::complex<float>>(126, 0.0f));
    });
    EXPECT_GE(log.exactly("error", "HpsdrRadio::sendcommandcontrol can't queue"), 50);
    bench.on([&] { bench.radio->transmit(buff<std::complex<float>>(100, 0.0f)); });
    EXPECT_EQ(log.count("block of 100 samples"), 1);
}

TEST(HpsdrRadio, ANewReceiverRestartsTheStream) {
    Bench bench;
    bench.on([&] { bench.radio->maxHwReceivers.setFromHost(4); });
    bench.run();
    bench.on([&] { bench.radio->addHwReceiver(7100000); });
    auto packets = bench.take(12);
    ASSERT_EQ(packets.size(), 12u);
    EXPECT_TRUE(isCommand(packets[0], 0));
    EXPECT_EQ(control(packets[1], 0, 4), 1 << 3 | 4) << "two receivers";
    EXPECT_TRUE(isCommand(packets[11], 3));
    bench.on([&] {
        EXPECT_EQ(bench.radio->hwReceivers.size(), 2u);
        EXPECT_EQ(bench.radio->hwReceivers[1].frequency, 7100000);
        EXPECT_EQ(bench.radio->hwReceivers[1].chunk.size(), 512u);
    });

    bench.on([&] {
        bench.radio->stopToAddReceiver.setFromHost(false);
        bench.radio->SampleRate.setFromHost(96000);
        bench.radio->addHwReceiver(3600000);
        EXPECT_EQ(bench.radio->hwReceivers.size(), 3u);
        EXPECT_EQ(bench.radio->hwReceivers[2].rate, 96000);
        EXPECT_EQ(bench.radio->hwReceivers[0].rate, 96000);
    });
    EXPECT_TRUE(bench.drain().empty()) << "the firmware copes: no restart";
    bench.on([&] { bench.radio->transmit(buff<std::complex<float>>(126, 0.0f)); });
    packets = bench.take(1);
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(banksOf(packets[0]), std::make_pair(0, 1));
    EXPECT_EQ(control(packets[0], 0, 4), 2 << 3 | 4);
    EXPECT_EQ(control(packets[0], 0, 1), 1);
}

TEST(HpsdrRadio, PacketsThatWaitedThroughARestartAreNotTakenForTheNewStream) {
    Bench bench;
    bench.on([&] { bench.radio->maxHwReceivers.setFromHost(4); });
    bench.run();
    // The queue is held up while old packets pile up behind, and is restarted before it comes to them.
    bench.on([&] {
        for (std::uint32_t i = 0; i < 20; ++i)
            bench.send(ReceivePacket{i}.bytes());
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        bench.radio->addHwReceiver(7100000);
    });
    bench.drain();
    for (std::uint32_t i = 0; i < 5; ++i) {
        ReceivePacket packet{i};
        packet.receivers = 2;
        bench.send(packet.bytes());
    }
    EXPECT_TRUE(bench.eventually([&] { return bench.radio->hwReceivers[1].fill == 5u * 72; }));
    bench.on([&] { EXPECT_EQ(bench.radio->ep6SeqErrors.value(), 0); });
}

TEST(HpsdrRadio, DroppingTheLastHandleOfARunningRadioStopsIt) {
    Bench bench;
    bench.run();
    std::weak_ptr<HpsdrRadio> gone = bench.radio;
    bench.radio.reset();
    for (int i = 0; i < 1000 && !gone.expired(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(gone.expired());
    const auto packets = bench.take(1);
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_TRUE(isCommand(packets[0], 0));
}

TEST(HpsdrRadio, AProcessMayEndWithARunningRadio) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static const std::string address = test::ownAddress();
            test::UdpPeer peer(address.c_str(), 1024);
            test::startRuntime();
            // Kept, as by a host that never releases its handle.
            static std::shared_ptr<HpsdrRadio>* const kept =
                new std::shared_ptr<HpsdrRadio>(std::make_shared<HpsdrRadio>(rootSyncTask));
            onContext(*kept, [] {
                (*kept)->ipAddress.setFromHost(address);
                (*kept)->start();
            });
            std::thread traffic([&] {
                peer.receive();
                for (std::uint32_t i = 0;; ++i)
                    peer.reply(ReceivePacket{i}.bytes());
            });
            traffic.detach();
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(HpsdrRadio, DroppedAmidTrafficOnAnyThreadItEndsCleanly) {
    // The last reference may go on this thread, on a worker or on the comms thread itself.
    for (int round = 0; round < 12; ++round) {
        Bench bench;
        bench.run();
        std::atomic<bool> done{false};
        std::thread traffic([&] {
            for (std::uint32_t i = 0; !done; ++i) {
                bench.send(ReceivePacket{i}.bytes());
                if (i % 4 == 0)
                    std::this_thread::sleep_for(std::chrono::microseconds(300));
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + round));
        std::weak_ptr<HpsdrRadio> gone = bench.radio;
        bench.radio.reset();
        for (int i = 0; i < 3000 && !gone.expired(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_TRUE(gone.expired());
        done = true;
        traffic.join();
    }
}

} // namespace
} // namespace ferrow
