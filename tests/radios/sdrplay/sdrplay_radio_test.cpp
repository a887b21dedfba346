#include "tests/radios/sdrplay/sdrplay_bench.hpp"

#include <chrono>

namespace ferrow {
namespace {

using test::Sdrplay;
namespace rsp = ferrow::sim::rsp;

TEST_F(Sdrplay, DefaultsAreThoseOfTheTable) {
    ASSERT_EQ(radio->SampleRates.items().size(), 6u);
    const std::pair<int, const char*> rates[] = {{768000, "768k"},   {1536000, "1536k"}, {6144000, "6144k"},
                                                 {8000000, "8000k"}, {10000000, "10M"},  {2000000, "2000k"}};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(radio->SampleRates.items()[i]->Value.value(), rates[i].first);
        EXPECT_EQ(radio->SampleRates.items()[i]->Label.value(), rates[i].second);
    }
    EXPECT_TRUE(radio->Antennas.items().empty());
    EXPECT_EQ(radio->rxGain.value(), 3);
    EXPECT_EQ(radio->rxGain2.value(), 3);
    EXPECT_EQ(radio->rxIFGain.value(), 0);
    EXPECT_EQ(radio->maxRxIFGain.value(), 0);
    EXPECT_EQ(radio->minRxIFGain.value(), 0);
    EXPECT_EQ(radio->maxRxRFGain.value(), 0);
    EXPECT_FALSE(radio->HasClockOut.value());
    EXPECT_FALSE(radio->canTransmit.value());
    EXPECT_TRUE(radio->avoidDcSpike);
    ASSERT_EQ(radio->hwReceivers.size(), 1u);
    EXPECT_EQ(radio->hwReceivers[0].frequency, 99000000);
    EXPECT_EQ(radio->hwReceivers[0].rate, 2000000);
}

TEST_F(Sdrplay, EveryModelHasItsGainsAndAntennas) {
    struct Row {
        const char* model;
        int gain;
        std::vector<std::string> antennas;
    };
    for (const Row& row : {Row{"RSP1", 3, {}}, Row{"RSP1A", 9, {}}, Row{"RSP2", 8, {"A", "B", "Hi-Z"}},
                           Row{"RSPdx", 27, {"A", "B", "C"}}, Row{"RSPduo", 9, {"50 ohm", "Hi-Z"}}}) {
        on([&] {
            radio->Model.setFromHost(row.model);
            EXPECT_EQ(radio->maxRxRFGain.value(), row.gain) << row.model;
            EXPECT_EQ(radio->minRxRFGain.value(), 0);
            EXPECT_EQ(radio->maxRxIFGain.value(), 59);
            EXPECT_EQ(radio->minRxIFGain.value(), 20);
            ASSERT_EQ(radio->Antennas.items().size(), row.antennas.size()) << row.model;
            for (std::size_t i = 0; i < row.antennas.size(); ++i) {
                EXPECT_EQ(radio->Antennas.items()[i]->Value.value(), static_cast<int>(i));
                EXPECT_EQ(radio->Antennas.items()[i]->Label.value(), row.antennas[i]);
            }
            const bool duo = row.model == std::string("RSPduo");
            EXPECT_EQ(radio->HasClockOut.value(), duo);
            EXPECT_EQ(radio->maxRxRFGain2.value(), duo ? 9 : 0);
            EXPECT_EQ(radio->maxADCs.value(), duo ? 2 : 1);
            EXPECT_EQ(radio->maxHwReceivers.value(), duo ? 2 : 1);
            ASSERT_EQ(radio->hwReceivers.size(), duo ? 2u : 1u);
        });
    }
    EXPECT_EQ(radio->hwReceivers[1].frequency, 99000000);
    EXPECT_EQ(radio->hwReceivers[1].rate, 2000000);
    EXPECT_EQ(radio->hwReceivers[1].adc, 1);
    on([&] {
        radio->Model.setFromHost("RSP1");
        radio->Model.setFromHost("RSPduo");
        EXPECT_EQ(radio->hwReceivers.size(), 2u) << "one second receiver, however often";
        EXPECT_EQ(radio->Antennas.items().size(), 2u);
    });
}

TEST_F(Sdrplay, AnUnknownModelIsLogged) {
    test::LogCapture log;
    on([&] { radio->Model.setFromHost("RSP9"); });
    EXPECT_EQ(log.count("SDRPlayRadio.Model \"RSP9\""), 1);
}

TEST_F(Sdrplay, StartCallsTheApiInOrder) {
    testing::internal::CaptureStdout();
    start("RSP1A");
    stop();
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_NE(said.find("F0002 select pass \r\n"), std::string::npos);
    EXPECT_NE(said.find("radio started\r\n"), std::string::npos);
    auto functions = order();
    std::erase(functions, static_cast<int>(rsp::Update));
    EXPECT_EQ(functions, (std::vector<int>{rsp::Open, rsp::LockDeviceApi, rsp::GetDevices, rsp::SelectDevice,
                                           rsp::GetDeviceParams, rsp::Init, rsp::UnlockDeviceApi, rsp::Uninit,
                                           rsp::ReleaseDevice}));
    const rsp::Call init = callsOf(rsp::Init).at(0);
    EXPECT_EQ(init.dev.fsHz, 3072000);
    EXPECT_EQ(init.a.decimationFactor, 4);
    EXPECT_EQ(init.a.bwType, 600);
    EXPECT_EQ(init.a.rfHz, 1000.0);
    EXPECT_EQ(init.a.agcEnable, 4);
    EXPECT_EQ(init.a.agcSetPoint_dBfs, -30);
    EXPECT_EQ(init.a.agcAttack_ms, 500);
    EXPECT_EQ(init.a.agcDecay_ms, 500);
    EXPECT_EQ(init.a.agcDecayDelay_ms, 200);
    EXPECT_EQ(init.a.agcDecayThreshold_dB, 5);
    on([&] { EXPECT_EQ(radio->vtrxs.size(), 1u); });
    // Again: the same device.
    start("RSP1A");
    EXPECT_EQ(callsOf(rsp::Init).size(), 2u);
    on([&] { EXPECT_EQ(radio->vtrxs.size(), 1u); });
}

TEST_F(Sdrplay, TheFirstRetuneGoesToTheTransceiversFrequency) {
    start("RSP1A");
    const rsp::Call tuned = retunes().at(0);
    EXPECT_EQ(tuned.reason, 0x20000u);
    EXPECT_EQ(tuned.extension, 0u);
    EXPECT_EQ(tuned.tuner, 1);
    on([&] { EXPECT_EQ(tuned.a.rfHz, static_cast<double>(radio->hwReceivers[0].frequency)); });
}

TEST_F(Sdrplay, AnRspDuoStartsWithBothTunersAt2MHzOnly) {
    start("RSPduo", 768000);
    rsp::Call select = callsOf(rsp::SelectDevice).at(0);
    EXPECT_EQ(select.device.tuner, 1);
    EXPECT_EQ(select.device.rspDuoMode, 1);
    stop();
    control->forget();
    start("RSPduo", 2000000);
    select = callsOf(rsp::SelectDevice).at(0);
    EXPECT_EQ(select.device.tuner, 3);
    EXPECT_EQ(select.device.rspDuoMode, 2);
    const rsp::Call init = callsOf(rsp::Init).at(0);
    EXPECT_EQ(init.dev.fsHz, 6e6);
    for (const rsp::ChannelT& channel : {init.a, init.b}) {
        EXPECT_EQ(channel.rfHz, 1000.0);
        EXPECT_EQ(channel.ifType, 1620);
        EXPECT_EQ(channel.bwType, 1536);
        EXPECT_EQ(channel.agcEnable, 4);
        EXPECT_EQ(channel.agcSetPoint_dBfs, -30);
        EXPECT_EQ(channel.agcDecayThreshold_dB, 5);
    }
    EXPECT_FALSE(radio->avoidDcSpike);
}

TEST_F(Sdrplay, ARateChangeRestartsAnRspDuoBetweenItsModes) {
    start("RSPduo", 768000);
    on([&] {
        EXPECT_EQ(radio->maxADCs.value(), 1);
        EXPECT_EQ(radio->maxHwReceivers.value(), 1);
    });
    control->forget();
    on([&] { radio->SampleRate.setFromHost(1536000); });
    EXPECT_TRUE(callsOf(rsp::Init).empty()) << "within one mode it goes on";
    on([&] { radio->SampleRate.setFromHost(2000000); });
    EXPECT_EQ(callsOf(rsp::Uninit).size(), 1u);
    EXPECT_EQ(callsOf(rsp::ReleaseDevice).size(), 1u);
    ASSERT_EQ(callsOf(rsp::SelectDevice).size(), 1u);
    EXPECT_EQ(callsOf(rsp::SelectDevice)[0].device.tuner, 3);
    EXPECT_EQ(callsOf(rsp::Init).size(), 1u);
    on([&] {
        EXPECT_EQ(radio->maxADCs.value(), 2);
        EXPECT_EQ(radio->maxHwReceivers.value(), 2);
    });
    control->forget();
    on([&] { radio->SampleRate.setFromHost(6144000); });
    ASSERT_EQ(callsOf(rsp::SelectDevice).size(), 1u);
    EXPECT_EQ(callsOf(rsp::SelectDevice)[0].device.tuner, 1);
    EXPECT_EQ(callsOf(rsp::Init).at(0).dev.fsHz, 6144000);
    on([&] { EXPECT_EQ(radio->maxADCs.value(), 1); });
}

TEST_F(Sdrplay, ARateChangeUpdatesAnyOtherModel) {
    start("RSP1A", 768000);
    const auto change = [&](int rate, std::uint32_t reason) {
        control->forget();
        on([&] { radio->SampleRate.setFromHost(rate); });
        const auto updates = settings();
        ASSERT_EQ(updates.size(), 1u) << rate;
        EXPECT_EQ(updates[0].reason, reason) << rate;
        EXPECT_EQ(updates[0].extension, 0u);
        EXPECT_EQ(updates[0].tuner, 1);
        EXPECT_EQ(control->outputRate(), rate);
        EXPECT_EQ(radio->hwReceivers[0].rate, rate);
        EXPECT_EQ(radio->avoidDcSpike, rate != 2000000);
        EXPECT_TRUE(callsOf(rsp::Uninit).empty());
    };
    change(1536000, 0x840000);
    change(6144000, 0x840001);
    change(8000000, 0x40001);
    change(10000000, 0x40001);
    change(2000000, 0xC0001);
    change(768000, 0x8C0001);
}

TEST_F(Sdrplay, AFailedRateChangeIsLogged) {
    start("RSP1A", 768000);
    test::LogCapture log;
    control->failNext(rsp::Update, rsp::FsUpdateError);
    on([&] { radio->SampleRate.setFromHost(1536000); });
    EXPECT_EQ(log.exactly("trace", "sdrplay set smaple rate sdrplay_api_FsUpdateError"), 1);
}

TEST_F(Sdrplay, Rsp1WithRxGain3HasLnaState0AndWithRxGain0TheLargestReduction) {
    start("RSP1");
    EXPECT_TRUE(updatesFor(0x8000).empty()) << "rxGain 3 is LNA state 0, which the device has";
    on([&] { radio->rxGain.setFromHost(0); });
    auto gains = updatesFor(0x8000, true);
    ASSERT_EQ(gains.size(), 1u);
    EXPECT_EQ(gains[0].tuner, 1);
    EXPECT_EQ(gains[0].extension, 0u);
    EXPECT_EQ(gains[0].a.LNAstate, 3);
    on([&] { radio->rxGain.setFromHost(3); });
    gains = updatesFor(0x8000, true);
    ASSERT_EQ(gains.size(), 2u);
    EXPECT_EQ(gains[1].a.LNAstate, 0);
    on([&] { radio->rxGain.setFromHost(99); });
    EXPECT_EQ(updatesFor(0x8000, true).size(), 2u) << "no more than full gain";
    on([&] { radio->rxGain.setFromHost(-99); });
    EXPECT_EQ(updatesFor(0x8000, true).back().a.LNAstate, 3);
}

TEST_F(Sdrplay, TheGainOfBothTunersIsSetAtTheStart) {
    on([&] { radio->rxGain2.setFromHost(7); });
    start("RSPduo", 2000000);
    const auto gains = updatesFor(0x8000, true);
    ASSERT_EQ(gains.size(), 2u);
    EXPECT_EQ(gains[0].tuner, 1);
    EXPECT_EQ(gains[0].a.LNAstate, 6);
    EXPECT_EQ(gains[1].tuner, 2);
    EXPECT_EQ(gains[1].b.LNAstate, 2);
    test::LogCapture log;
    control->failNext(rsp::Update, rsp::GainUpdateError);
    on([&] { radio->rxGain2.setFromHost(6); });
    EXPECT_EQ(log.exactly("trace", "sdrplay set gain2 sdrplay_api_GainUpdateError"), 1);
    control->failNext(rsp::Update, rsp::GainUpdateError);
    on([&] { radio->rxGain.setFromHost(6); });
    EXPECT_EQ(log.exactly("trace", "sdrplay set gain sdrplay_api_GainUpdateError"), 1);
}

TEST_F(Sdrplay, TheSecondGainIsTunerBsAlone) {
    start("RSPduo", 768000);
    control->forget();
    on([&] { radio->rxGain2.setFromHost(7); });
    EXPECT_TRUE(settings().empty()) << "no channel B";
}

TEST_F(Sdrplay, AnUnknownSerialNumberIsAnError) {
    test::LogCapture log;
    choose("RSP1A", 768000);
    on([&] {
        radio->SerialNo.setFromHost("nobody");
        radio->start();
    });
    EXPECT_EQ(log.exactly("error", "sdrplay Serial not found"), 1);
    EXPECT_TRUE(callsOf(rsp::SelectDevice).empty());
    EXPECT_EQ(callsOf(rsp::UnlockDeviceApi).size(), 1u);
    on([&] { EXPECT_EQ(radio->vtrxs.size(), 1u); });
}

TEST_F(Sdrplay, FailuresOfAStartAreLogged) {
    choose("RSP1A", 768000);
    testing::internal::CaptureStdout();
    test::LogCapture log;
    const auto startFailing = [&](int function) {
        control->failNext(function, rsp::HwError);
        on([&] { radio->start(); });
    };
    startFailing(rsp::LockDeviceApi);
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_LockDeviceApi sdrplay_api_HwError"), 1);
    EXPECT_EQ(callsOf(rsp::Init).size(), 1u) << "goes on";
    stop();
    startFailing(rsp::GetDevices);
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_GetDevices sdrplay_api_HwError"), 1);
    EXPECT_EQ(log.exactly("error", "sdrplay Serial not found"), 1);
    startFailing(rsp::SelectDevice);
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_SelectDevice sdrplay_api_HwError"), 1);
    EXPECT_EQ(control->selected(), 0);
    EXPECT_EQ(callsOf(rsp::Init).size(), 1u);
    startFailing(rsp::UnlockDeviceApi);
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_UnLockDeviceApi sdrplay_api_HwError"), 1);
    EXPECT_EQ(callsOf(rsp::Init).size(), 2u);
    stop();
    startFailing(rsp::GetDeviceParams);
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_GetDeviceParams sdrplay_api_HwError"), 1);
    EXPECT_EQ(callsOf(rsp::Init).size(), 2u);
    startFailing(rsp::Init);
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_Init sdrplay_api_HwError"), 1);
    EXPECT_EQ(callsOf(rsp::SelectDevice).size(), 4u) << "a device that is still selected is taken as it is";
    on([&] { radio->start(); });
    EXPECT_EQ(callsOf(rsp::Init).back().result, rsp::Success);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("F0002 select fail \r\n"), std::string::npos);
}

TEST_F(Sdrplay, FailuresOfAStopAreLogged) {
    start("RSP1A");
    test::LogCapture log;
    control->failNext(rsp::Uninit, rsp::HwError);
    stop();
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_Uninit sdrplay_api_HwError"), 1);
    EXPECT_EQ(control->selected(), 1) << "still selected";
    EXPECT_TRUE(callsOf(rsp::ReleaseDevice).empty());
    control->failNext(rsp::ReleaseDevice, rsp::HwError);
    stop();
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_ReleaseDevice sdrplay_api_HwError"), 1);
    stop();
    EXPECT_EQ(callsOf(rsp::Uninit).size(), 2u) << "no device any more";
}

TEST_F(Sdrplay, ADeviceWithoutParametersStartsWithoutSettings) {
    for (const int hide : {1, 2}) {
        control->forget();
        control->hideParams(hide);
        choose("RSPdx", 768000);
        test::LogCapture log;
        on([&] {
            radio->start();
            radio->BiasT.setFromHost(hide == 1);
            radio->rxGain.setFromHost(hide);
        });
        EXPECT_EQ(log.exactly("error", "sdrplay deviceParams == nullptr"), hide == 1 ? 1 : 0);
        EXPECT_EQ(callsOf(rsp::Init).size(), 1u);
        stop();
    }
}

TEST_F(Sdrplay, ALostAcknowledgementUnblocksAfter601Milliseconds) {
    using Clock = std::chrono::steady_clock;
    control->loseAcknowledgements(1);
    const auto before = Clock::now();
    start("RSP1A");
    const auto after = Clock::now(); // the first retune lies between
    on([&] { radio->hwReceivers[0].frequency = 7100000; });
    while (retunes().size() < 2 && Clock::now() - after < std::chrono::seconds(3)) {
        on([&] { radio->frequenciesChanged(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    const auto now = Clock::now();
    ASSERT_EQ(retunes().size(), 2u);
    EXPECT_EQ(retunes()[1].a.rfHz, 7100000);
    EXPECT_GE(now - before, std::chrono::milliseconds(601));
    EXPECT_LE(now - after, std::chrono::milliseconds(601 + 300));
    RecordProperty("ms", static_cast<int>(std::chrono::duration<double, std::milli>(now - after).count()));
}

TEST_F(Sdrplay, AnAcknowledgedRetuneLetsTheNextOneGo) {
    start("RSP1A");
    on([&] {
        radio->hwReceivers[0].frequency = 7100000;
        radio->frequenciesChanged();
    });
    EXPECT_FALSE(test::waitFor([&] { return retunes().size() > 1; }, 0.1)) << "the first is not acknowledged";
    advance(1);
    on([&] { radio->frequenciesChanged(); });
    ASSERT_TRUE(test::waitFor([&] { return retunes().size() == 2; }));
    EXPECT_EQ(retunes()[1].a.rfHz, 7100000);
    EXPECT_EQ(retunes()[1].result, rsp::Success);
}

TEST_F(Sdrplay, AWaitingRetuneGoesWithTheNextRefresh) {
    start("RSP1A");
    on([&] {
        radio->hwReceivers[0].frequency = 7100000;
        radio->frequenciesChanged(); // finds the first unacknowledged
    });
    test::settle(rootSyncTask);
    advanceSeconds(0.5);
    EXPECT_TRUE(test::waitFor([&] { return retunes().size() == 2; }));
}

TEST_F(Sdrplay, ARefusedRetuneIsTriedAgain) {
    start("RSP1A");
    advance(1);
    control->failNext(rsp::Update, rsp::RfUpdateError);
    on([&] {
        radio->hwReceivers[0].frequency = 7100000;
        radio->frequenciesChanged();
    });
    ASSERT_TRUE(test::waitFor([&] { return retunes().size() == 2; }));
    on([&] { radio->frequenciesChanged(); });
    ASSERT_TRUE(test::waitFor([&] { return retunes().size() == 3; }));
    EXPECT_EQ(retunes()[1].result, rsp::RfUpdateError);
    EXPECT_EQ(retunes()[2].result, rsp::Success);
}

TEST_F(Sdrplay, AddHwReceiverSaysSo) {
    testing::internal::CaptureStdout();
    on([&] {
        radio->SampleRate.setFromHost(768000);
        radio->addHwReceiver(5000000);
        EXPECT_EQ(radio->hwReceivers[1].frequency, 5000000);
        EXPECT_EQ(radio->hwReceivers[1].rate, 2000000);
    });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ahwr #############\n");
}

TEST_F(Sdrplay, ARunningRadioMayGoAtAnyTime) {
    control->setStepped(0);
    start("RSP1A");
    std::weak_ptr<SDRPlayRadio> gone = radio;
    radio->Deleted = [](int) {};
    radio.reset();
    EXPECT_TRUE(test::waitFor([&] { return gone.expired(); }));
}

TEST_F(Sdrplay, ADeviceThatRefusesToStopMayCallAfterItsRadioHasGone) {
    start("RSP1A");
    control->failNext(rsp::Uninit, rsp::HwError);
    std::weak_ptr<SDRPlayRadio> gone = radio;
    radio.reset();
    ASSERT_TRUE(test::waitFor([&] { return gone.expired(); }));
    rsp::EventParamsT overload{};
    control->raise(rsp::PowerOverloadChange, 1, &overload);
    control->advance(40);
    EXPECT_TRUE(updatesFor(0x4000000).empty());
    EXPECT_TRUE(callsOf(rsp::Close).empty());
}

} // namespace
} // namespace ferrow
