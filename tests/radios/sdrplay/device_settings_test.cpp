// The table of settings, row by row, against the stand-in's record of calls.
#include "tests/radios/sdrplay/sdrplay_bench.hpp"

namespace ferrow {
namespace {

using test::Sdrplay;
namespace rsp = ferrow::sim::rsp;

class SdrplayDevice : public Sdrplay {
protected:
    // Changes a setting of the running radio: one update, as expected, and the API sees `field` hold.
    void expectUpdate(std::function<void()> change, int tuner, std::uint32_t reason, std::uint32_t extension,
                      const std::function<bool(const rsp::Call&)>& field, const char* what) {
        control->forget();
        on(std::move(change));
        const auto updates = settings();
        ASSERT_EQ(updates.size(), 1u) << what;
        EXPECT_EQ(updates[0].tuner, tuner) << what;
        EXPECT_EQ(updates[0].reason, reason) << what;
        EXPECT_EQ(updates[0].extension, extension) << what;
        EXPECT_EQ(updates[0].result, rsp::Success) << what;
        EXPECT_TRUE(field(updates[0])) << what;
    }
    void expectNothing(std::function<void()> change, const char* what) {
        control->forget();
        on(std::move(change));
        EXPECT_TRUE(settings().empty()) << what;
    }
    std::function<void()> turn(asyncProperty<bool> SDRPlayRadio::*property, bool to) {
        return [this, property, to] { (radio.get()->*property).setFromHost(to); };
    }
    std::function<void()> antenna(int value) {
        return [this, value] { radio->Antenna.setFromHost(value); };
    }
    void expectFailureText(std::function<void()> change, const std::string& text) {
        test::LogCapture log;
        control->failNext(rsp::Update, rsp::HwError);
        on(std::move(change));
        EXPECT_EQ(log.exactly("trace", text + " sdrplay_api_HwError"), 1) << text;
    }
};

TEST_F(SdrplayDevice, Rsp1HasNoneOfThem) {
    start("RSP1");
    expectNothing(turn(&SDRPlayRadio::BiasT, true), "BiasT on RSP1 is ignored");
    expectNothing(turn(&SDRPlayRadio::RFNotch, true), "RFNotch");
    expectNothing(turn(&SDRPlayRadio::DABNotch, true), "DABNotch");
    expectNothing(turn(&SDRPlayRadio::ClockOut, true), "ClockOut");
    expectNothing(antenna(1), "Antenna");
}

TEST_F(SdrplayDevice, Rsp1A) {
    start("RSP1A");
    expectUpdate(
        turn(&SDRPlayRadio::BiasT, true), 1, 0x10, 0,
        [](const rsp::Call& c) { return c.a.rsp1aBiasTEnable == 1; }, "BiasT");
    expectUpdate(
        turn(&SDRPlayRadio::RFNotch, true), 1, 0x20, 0,
        [](const rsp::Call& c) { return c.dev.rsp1aRfNotchEnable == 1; }, "RFNotch");
    expectUpdate(
        turn(&SDRPlayRadio::DABNotch, true), 1, 0x40, 0,
        [](const rsp::Call& c) { return c.dev.rsp1aRfDabNotchEnable == 1; }, "DABNotch");
    expectNothing(turn(&SDRPlayRadio::ClockOut, true), "ClockOut");
    expectNothing(antenna(1), "Antenna");
    expectUpdate(
        turn(&SDRPlayRadio::BiasT, false), 1, 0x10, 0,
        [](const rsp::Call& c) { return c.a.rsp1aBiasTEnable == 0; }, "BiasT off");
}

TEST_F(SdrplayDevice, Rsp2) {
    start("RSP2");
    expectUpdate(
        turn(&SDRPlayRadio::BiasT, true), 1, 0x80, 0,
        [](const rsp::Call& c) { return c.a.rsp2BiasTEnable == 1; }, "BiasT");
    expectUpdate(
        turn(&SDRPlayRadio::RFNotch, true), 1, 0x400, 0,
        [](const rsp::Call& c) { return c.a.rsp2RfNotchEnable == 1; }, "RFNotch");
    expectNothing(turn(&SDRPlayRadio::DABNotch, true), "DABNotch");
    expectNothing(turn(&SDRPlayRadio::ClockOut, true), "ClockOut");
    expectUpdate(
        antenna(1), 1, 0x200, 0,
        [](const rsp::Call& c) { return c.a.rsp2AntennaSel == 6 && c.a.rsp2AmPortSel == 0; }, "B");
    expectUpdate(
        antenna(2), 1, 0x100, 0, [](const rsp::Call& c) { return c.a.rsp2AmPortSel == 1; }, "Hi-Z");
    expectUpdate(
        antenna(0), 1, 0x100, 0,
        [](const rsp::Call& c) { return c.a.rsp2AntennaSel == 5 && c.a.rsp2AmPortSel == 0; }, "A");
    expectNothing(antenna(7), "no such port");
}

TEST_F(SdrplayDevice, RspDuoWithOneTuner) {
    start("RSPduo", 768000);
    expectUpdate(
        turn(&SDRPlayRadio::BiasT, true), 2, 0x8000000, 0,
        [](const rsp::Call& c) { return c.a.duoBiasTEnable == 1; }, "BiasT");
    expectUpdate(
        turn(&SDRPlayRadio::RFNotch, true), 1, 0x40000000, 0,
        [](const rsp::Call& c) { return c.a.duoRfNotchEnable == 1; }, "RFNotch, 50 ohm");
    expectUpdate(
        turn(&SDRPlayRadio::DABNotch, true), 1, 0x80000000, 0,
        [](const rsp::Call& c) { return c.a.duoRfDabNotchEnable == 1; }, "DABNotch");
    expectUpdate(
        turn(&SDRPlayRadio::ClockOut, true), 1, 0x1000, 0,
        [](const rsp::Call& c) { return c.dev.duoExtRefOutputEn == 1; }, "ClockOut");
    expectUpdate(
        antenna(1), 1, 0x10000000, 0, [](const rsp::Call& c) { return c.a.duoTuner1AmPortSel == 1; }, "Hi-Z");
    expectUpdate(
        turn(&SDRPlayRadio::RFNotch, false), 1, 0x20000000, 0,
        [](const rsp::Call& c) { return c.a.duoTuner1AmNotchEnable == 0; }, "RFNotch, Hi-Z");
    expectNothing(antenna(2), "Antenna 2 on an RSPduo is ignored");
}

TEST_F(SdrplayDevice, RspDuoWithBothTuners) {
    start("RSPduo", 2000000);
    expectUpdate(
        turn(&SDRPlayRadio::BiasT, true), 2, 0x8000000, 0,
        [](const rsp::Call& c) { return c.a.duoBiasTEnable == 1 && c.b.duoBiasTEnable == 1; }, "BiasT");
    expectUpdate(
        turn(&SDRPlayRadio::RFNotch, true), 1, 0x40000000, 0,
        [](const rsp::Call& c) { return c.a.duoRfNotchEnable == 1; }, "RFNotch, 50 ohm");
    expectUpdate(
        antenna(1), 1, 0x10000000, 0, [](const rsp::Call& c) { return c.a.duoTuner1AmPortSel == 1; }, "Hi-Z");
    expectUpdate(
        turn(&SDRPlayRadio::RFNotch, false), 3, 0x20000000, 0,
        [](const rsp::Call& c) { return c.a.duoTuner1AmNotchEnable == 0; }, "RFNotch, Hi-Z");
    expectUpdate(
        turn(&SDRPlayRadio::ClockOut, true), 3, 0x1000, 0,
        [](const rsp::Call& c) { return c.dev.duoExtRefOutputEn == 1; }, "ClockOut");
}

TEST_F(SdrplayDevice, RspDx) {
    start("RSPdx");
    expectUpdate(
        turn(&SDRPlayRadio::BiasT, true), 1, 0, 2,
        [](const rsp::Call& c) { return c.dev.dxBiasTEnable == 1; }, "BiasT");
    expectUpdate(
        turn(&SDRPlayRadio::RFNotch, true), 1, 0, 8,
        [](const rsp::Call& c) { return c.dev.dxRfNotchEnable == 1; }, "RFNotch");
    expectUpdate(
        turn(&SDRPlayRadio::DABNotch, true), 1, 0, 0x10,
        [](const rsp::Call& c) { return c.dev.dxRfDabNotchEnable == 1; }, "DABNotch");
    expectNothing(turn(&SDRPlayRadio::ClockOut, true), "ClockOut");
    for (const int port : {1, 2, 0})
        expectUpdate(
            antenna(port), 1, 0, 4, [port](const rsp::Call& c) { return c.dev.dxAntennaSel == port; },
            "Antenna");
    expectNothing(antenna(3), "no such port");
}

TEST_F(SdrplayDevice, EachFailureHasItsText) {
    start("RSPduo", 768000);
    expectFailureText(turn(&SDRPlayRadio::BiasT, true), "sdrplay set biasT");
    expectFailureText(turn(&SDRPlayRadio::RFNotch, true), "sdrplay set rfnotch");
    expectFailureText(turn(&SDRPlayRadio::DABNotch, true), "sdrplay set dabnotch");
    expectFailureText(antenna(1), "sdrplay set antenna");
    expectFailureText(turn(&SDRPlayRadio::ClockOut, true), "sdrplay set clockout");
}

TEST_F(SdrplayDevice, AtTheStartTheFieldsAreSetWithoutUpdates) {
    const auto all = [&](int port) {
        on([&] {
            radio->BiasT.setFromHost(true);
            radio->RFNotch.setFromHost(true);
            radio->DABNotch.setFromHost(true);
            radio->ClockOut.setFromHost(true);
            radio->Antenna.setFromHost(port);
        });
    };
    all(1);
    EXPECT_EQ(control->calls(), 1) << "nothing is called before the start";
    start("RSPduo", 768000);
    rsp::Call init = callsOf(rsp::Init).at(0);
    EXPECT_EQ(init.a.duoBiasTEnable, 1);
    EXPECT_EQ(init.a.duoRfNotchEnable, 1) << "the port was still the 50 ohm one";
    EXPECT_EQ(init.a.duoRfDabNotchEnable, 1);
    EXPECT_EQ(init.a.duoTuner1AmPortSel, 1);
    EXPECT_EQ(init.dev.duoExtRefOutputEn, 1);
    for (const rsp::Call& update : settings())
        EXPECT_EQ(update.reason, 0x8000u) << "the gain alone";
    stop();
    control->forget();
    start("RSPdx");
    init = callsOf(rsp::Init).at(0);
    EXPECT_EQ(init.dev.dxBiasTEnable, 1);
    EXPECT_EQ(init.dev.dxRfNotchEnable, 1);
    EXPECT_EQ(init.dev.dxRfDabNotchEnable, 1);
    EXPECT_EQ(init.dev.dxAntennaSel, 1);
    for (const rsp::Call& update : settings())
        EXPECT_EQ(update.reason, 0x8000u);
}

} // namespace
} // namespace ferrow
