// The radio object against a peer that plays the hardware on real sockets, one for each stream.
#include "radios/hpsdr_np/hpsdr_np_radio.hpp"
#include "tests/radios/hpsdr/radio_bench.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace ferrow {
namespace {

using test::Packet;
using test::UdpPeer;

struct Hardware {
    std::string address = test::ownAddress();
    UdpPeer general{address.c_str(), 1024};
    UdpPeer ddc{address.c_str(), 1025};  // status comes from here
    UdpPeer duc{address.c_str(), 1026};  // microphone
    UdpPeer high{address.c_str(), 1027}; // wideband
    UdpPeer unnamed{address.c_str(), 1034};
    UdpPeer iq0{address.c_str(), 1035};
    UdpPeer iq1{address.c_str(), 1036};
    UdpPeer iq15{address.c_str(), 1050};
    std::uint16_t hostPort = 0;
    std::shared_ptr<HpsdrNpRadio> radio;

    Hardware() {
        test::startRuntime();
        radio = std::make_shared<HpsdrNpRadio>(rootSyncTask);
        on([this] { radio->ipAddress.setFromHost(address); });
    }
    void on(std::function<void()> work) { test::onContext(radio, std::move(work)); }

    // The four packets of a start, in order.
    std::vector<Packet> start() {
        on([this] { radio->start(); });
        std::vector<Packet> packets;
        for (UdpPeer* peer : {&general, &ddc, &duc, &high})
            packets.push_back(peer->receive().value_or(Packet{}));
        hostPort = general.lastPort();
        return packets;
    }

    void microphone(int count) {
        for (int i = 0; i < count; ++i) {
            duc.sendTo(hostPort, Packet(132, 0));
            if (i % 8 == 7)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    static Packet iq(std::uint32_t sequence, int value, int q = 0) {
        Packet packet(1444, 0);
        for (std::size_t i = 0; i < 4; ++i)
            packet[i] = static_cast<std::uint8_t>(sequence >> (24 - 8 * i));
        for (std::size_t k = 0; k < 238; ++k)
            for (std::size_t b = 0; b < 3; ++b) {
                packet[16 + 6 * k + b] = static_cast<std::uint8_t>(value >> (16 - 8 * b));
                packet[19 + 6 * k + b] = static_cast<std::uint8_t>(q >> (16 - 8 * b));
            }
        return packet;
    }
    static Packet wide(std::uint32_t sequence, int value) {
        Packet packet(1028, 0);
        packet[3] = static_cast<std::uint8_t>(sequence);
        for (std::size_t k = 0; k < 512; ++k) {
            packet[4 + 2 * k] = static_cast<std::uint8_t>(value >> 8);
            packet[5 + 2 * k] = static_cast<std::uint8_t>(value);
        }
        return packet;
    }

    bool eventually(const std::function<bool()>& condition) {
        for (int i = 0; i < 3000; ++i) {
            bool holds = false;
            on([&] { holds = condition(); });
            if (holds)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }
};

TEST(HpsdrNpRadio, DefaultsAreThoseOfTheTable) {
    test::startRuntime();
    const auto radio = std::make_shared<HpsdrNpRadio>(rootSyncTask);
    ASSERT_EQ(radio->SampleRates.items().size(), 6u);
    EXPECT_EQ(radio->SampleRates.items()[5]->Value.value(), 1536000);
    EXPECT_EQ(radio->SampleRates.items()[5]->Label.value(), "1536k");
    EXPECT_EQ(radio->minTxRFGain.value(), -31);
    EXPECT_EQ(radio->minRxRFGain.value(), -31);
    EXPECT_EQ(radio->maxRxRFGain.value(), 0);
    EXPECT_EQ(radio->clockFrequency.value(), 122880000);
    EXPECT_EQ(radio->frequencyCalibration.value(), 1.0);
    EXPECT_FALSE(radio->canTransmit.value());
    EXPECT_EQ(radio->hwReceivers.size(), 0u);
}

TEST(HpsdrNpRadio, StartSendsTheFourPackets) {
    Hardware hardware;
    const auto packets = hardware.start();
    EXPECT_EQ(packets[0].size(), 60u);
    EXPECT_EQ(packets[1].size(), 1444u);
    EXPECT_EQ(packets[2].size(), 60u);
    EXPECT_EQ(packets[3].size(), 1444u);
    EXPECT_EQ(packets[1][7], 1) << "one receiver";
    EXPECT_EQ(packets[3][4], 1) << "running";
    EXPECT_FALSE(hardware.general.receive(30)) << "one packet of each kind";
    hardware.on([&] {
        EXPECT_EQ(hardware.radio->vtrxs.size(), 1u);
        EXPECT_EQ(hardware.radio->wideSpectrumSpan, 61440000);
        hardware.radio->stop();
    });
    const auto last = hardware.high.receive();
    ASSERT_TRUE(last);
    EXPECT_EQ((*last)[4], 0);
    // Again: same socket, same packets.
    const std::uint16_t port = hardware.hostPort;
    EXPECT_EQ(hardware.start()[3][4], 1);
    EXPECT_EQ(hardware.hostPort, port);
}

TEST(HpsdrNpRadio, TheMicrophoneStreamTimesThePeriodicPackets) {
    Hardware hardware;
    hardware.start();
    hardware.microphone(15);
    EXPECT_FALSE(hardware.ddc.receive(50));
    hardware.microphone(1);
    EXPECT_TRUE(hardware.ddc.receive()) << "the 16th";
    hardware.microphone(15);
    EXPECT_FALSE(hardware.high.receive(50));
    hardware.microphone(1);
    EXPECT_TRUE(hardware.high.receive()) << "the 32nd";
    hardware.microphone(64);
    for (UdpPeer* peer : {&hardware.ddc, &hardware.high}) {
        EXPECT_TRUE(peer->receive());
        EXPECT_TRUE(peer->receive());
        EXPECT_FALSE(peer->receive(50));
    }
}

TEST(HpsdrNpRadio, ANewFrequencyGoesOutWithTheNextHighPriorityPacket) {
    Hardware hardware;
    hardware.start();
    hardware.on([&] {
        hardware.radio->hwReceivers[0].frequency = 30720000;
        hardware.radio->frequenciesChanged();
    });
    EXPECT_FALSE(hardware.high.receive(50));
    hardware.microphone(32);
    const auto packet = hardware.high.receive();
    ASSERT_TRUE(packet);
    EXPECT_EQ((*packet)[9], 0x40);
    EXPECT_EQ((*packet)[10], 0);
}

TEST(HpsdrNpRadio, SamplesReachTheChunkWithTheGainTakenOut) {
    Hardware hardware;
    hardware.on([&] { hardware.radio->rxGain.setFromHost(-31); });
    const auto packets = hardware.start();
    EXPECT_EQ(packets[3][1443], 31) << "attenuator";
    hardware.iq0.sendTo(hardware.hostPort, Hardware::iq(0, 1 << 20, -(1 << 19)));
    auto& radio = *hardware.radio;
    ASSERT_TRUE(hardware.eventually([&] { return radio.hwReceivers[0].fill == 238; }));
    hardware.on([&] {
        const double gain = std::pow(10.0, 31 / 20.0);
        const auto sample = radio.hwReceivers[0].chunk[200];
        EXPECT_NEAR(sample.real(), gain * 0.125, 1e-5);
        EXPECT_NEAR(sample.imag(), -gain * 0.0625, 1e-5);
        EXPECT_EQ(radio.ep6SeqErrors.value(), 0);
    });
}

TEST(HpsdrNpRadio, EachReceiverHasASequenceOfItsOwn) {
    Hardware hardware;
    hardware.on([&] { hardware.radio->maxHwReceivers.setFromHost(4); });
    hardware.start();
    hardware.on([&] { hardware.radio->addHwReceiver(7100000); });
    auto& radio = *hardware.radio;
    for (std::uint32_t i = 0; i < 3; ++i) {
        hardware.iq0.sendTo(hardware.hostPort, Hardware::iq(i, 5));
        hardware.iq1.sendTo(hardware.hostPort, Hardware::iq(i, 9));
    }
    const std::size_t after = 3 * 238 - 512;
    ASSERT_TRUE(hardware.eventually(
        [&] { return radio.hwReceivers[0].fill == after && radio.hwReceivers[1].fill == after; }));
    EXPECT_EQ(radio.ep6SeqErrors.value(), 0);
    hardware.iq1.sendTo(hardware.hostPort, Hardware::iq(7, 9));
    ASSERT_TRUE(hardware.eventually([&] { return radio.ep6SeqErrors.value() == 1; }));
    hardware.iq1.sendTo(hardware.hostPort, Hardware::iq(8, 9));
    hardware.iq0.sendTo(hardware.hostPort, Hardware::iq(3, 9));
    ASSERT_TRUE(hardware.eventually([&] { return radio.hwReceivers[0].fill == after + 238; }));
    EXPECT_EQ(radio.ep6SeqErrors.value(), 1);
    hardware.microphone(16);
    const auto packet = hardware.ddc.receive();
    ASSERT_TRUE(packet);
    EXPECT_EQ((*packet)[7], 3) << "the next specific packet turns the new receiver on";
}

TEST(HpsdrNpRadio, PacketsOfAbsentReceiversAndOtherPortsAreReleasedUnread) {
    Hardware hardware;
    hardware.start();
    for (int i = 0; i < 600; ++i) { // more than there are slots
        hardware.iq15.sendTo(hardware.hostPort, Hardware::iq(99, 1));
        hardware.unnamed.sendTo(hardware.hostPort, Packet(1444, 1));
        hardware.general.sendTo(hardware.hostPort, Packet(3, 1));
        if (i % 16 == 15)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    hardware.iq0.sendTo(hardware.hostPort, Hardware::iq(0, 1));
    EXPECT_TRUE(hardware.eventually([&] { return hardware.radio->hwReceivers[0].fill == 238; }));
    EXPECT_EQ(hardware.radio->ep6SeqErrors.value(), 0);
}

TEST(HpsdrNpRadio, TheStatusPacketTellsTheOverload) {
    Hardware hardware;
    hardware.start();
    Packet status(60, 0);
    status[5] = 4;
    hardware.ddc.sendTo(hardware.hostPort, status);
    EXPECT_TRUE(hardware.eventually([&] { return hardware.radio->adcOvl.value(); }));
    status[5] = 0;
    hardware.ddc.sendTo(hardware.hostPort, status);
    EXPECT_TRUE(hardware.eventually([&] { return !hardware.radio->adcOvl.value(); }));
}

TEST(HpsdrNpRadio, WidebandQuartersMakeABlockAndThePeak) {
    Hardware hardware;
    hardware.start();
    auto& radio = *hardware.radio;
    for (std::uint32_t i = 0; i < 202; ++i) {
        hardware.high.sendTo(hardware.hostPort, Hardware::wide(i, i == 100 ? -16384 : 8192));
        if (i % 8 == 7)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ASSERT_TRUE(hardware.eventually([&] { return radio.adcPeak.value() > 0; })) << "after 202 packets";
    EXPECT_DOUBLE_EQ(radio.adcPeak.value(), 0.5);
    EXPECT_NEAR(radio.adcPeakDBFS.value(), -6.0206, 1e-4);
    hardware.on([&] {
        ASSERT_EQ(radio.wideSpectrum.size(), 2048u);
        EXPECT_NEAR(radio.wideSpectrum[600], 8192 * 1.1920930376163766e-7, 1e-9);
    });
    for (std::uint32_t i = 0; i < 201; ++i) {
        hardware.high.sendTo(hardware.hostPort, Hardware::wide(i, 0));
        if (i % 8 == 7)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_DOUBLE_EQ(radio.adcPeak.value(), 0.5) << "one packet is missing";
    hardware.high.sendTo(hardware.hostPort, Hardware::wide(0, 0));
    EXPECT_TRUE(hardware.eventually([&] { return radio.adcPeakDBFS.value() == -100.0; }));
}

TEST(HpsdrNpRadio, At1536kHzAPacketStillHas238Records) {
    Hardware hardware;
    hardware.on([&] { hardware.radio->SampleRate.setFromHost(1536000); });
    const auto packets = hardware.start();
    EXPECT_EQ(packets[1][18] * 256 + packets[1][19], 1536);
    hardware.iq0.sendTo(hardware.hostPort, Hardware::iq(0, 1));
    EXPECT_TRUE(hardware.eventually([&] { return hardware.radio->hwReceivers[0].fill == 238; }));
    hardware.on([&] { EXPECT_EQ(hardware.radio->hwReceivers[0].rate, 1536000); });
}

TEST(HpsdrNpRadio, AnAddressThatIsNoneIsLogged) {
    test::startRuntime();
    const auto radio = std::make_shared<HpsdrNpRadio>(rootSyncTask);
    test::LogCapture log;
    test::onContext(radio, [&] {
        radio->ipAddress.setFromHost("radio.local");
        radio->start();
        radio->stop();
    });
    EXPECT_EQ(log.exactly("error", "HpsdrNpRadio ipAddress \"radio.local\" is not an IPv4 address"), 1);
}

} // namespace
} // namespace ferrow
