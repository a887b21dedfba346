#include "radios/sdrplay/sdrplay_settings.hpp"

#include <gtest/gtest.h>

namespace ferrow::sdrplay {
namespace {

struct Expected {
    int rate;
    double fsHz;
    int factor, bandwidth, ifType;
};
constexpr Expected kExpected[] = {{9600, 307200, 32, 200, 0},     {192000, 3072000, 16, 200, 0},
                                  {384000, 3072000, 8, 300, 0},   {768000, 3072000, 4, 600, 0},
                                  {1536000, 3072000, 2, 1536, 0}, {2000000, 6000000, 1, 1536, 1620},
                                  {3072000, 3072000, 1, 5000, 0}, {6144000, 6144000, 1, 5000, 0},
                                  {8000000, 8000000, 1, 7000, 0}, {10000000, 10000000, 1, 8000, 0}};

TEST(SdrplayRates, EveryRowOfTheTable) {
    for (const Expected& row : kExpected) {
        DevParams device{};
        RxChannelParams channel{};
        channel.tunerParams.ifType = -1;
        channel.ctrlParams.decimation.decimationFactor = 99;
        EXPECT_EQ(applyRate(row.rate, &device, &channel), 0x8C0001u) << row.rate;
        EXPECT_EQ(device.fsFreq.fsHz, row.fsHz) << row.rate;
        EXPECT_EQ(channel.ctrlParams.decimation.decimationFactor, row.factor) << row.rate;
        EXPECT_EQ(channel.ctrlParams.decimation.enable, row.factor != 1) << row.rate;
        EXPECT_EQ(channel.ctrlParams.decimation.wideBandSignal, row.rate != 2000000) << row.rate;
        EXPECT_EQ(channel.tunerParams.bwType, row.bandwidth) << row.rate;
        EXPECT_EQ(channel.tunerParams.ifType, row.ifType) << row.rate;
        EXPECT_EQ(applyRate(row.rate, &device, &channel), 0u) << row.rate << " again changes nothing";
    }
}

TEST(SdrplayRates, TheReasonNamesWhatChanged) {
    DevParams device{};
    RxChannelParams channel{};
    applyRate(1536000, &device, &channel);
    EXPECT_EQ(applyRate(768000, &device, &channel), 0x840000u) << "factor and bandwidth";
    EXPECT_EQ(applyRate(3072000, &device, &channel), 0x840000u);
    EXPECT_EQ(applyRate(6144000, &device, &channel), 0x1u) << "the rate alone";
    EXPECT_EQ(applyRate(2000000, &device, &channel), 0xC0001u) << "rate, bandwidth and IF";
    EXPECT_EQ(applyRate(1536000, &device, &channel), 0x880001u) << "factor, rate and IF";
}

TEST(SdrplayRates, AnyOtherRateLeavesAllAsTheyAre) {
    for (const int rate : {0, -1, 48000, 2000001}) {
        DevParams device{};
        RxChannelParams channel{};
        device.fsFreq.fsHz = 5;
        channel.tunerParams.bwType = 7;
        EXPECT_EQ(applyRate(rate, &device, &channel), 0u);
        EXPECT_EQ(device.fsFreq.fsHz, 5);
        EXPECT_EQ(channel.tunerParams.bwType, 7);
    }
    EXPECT_EQ(applyRate(2000000, nullptr, nullptr), 0u);
}

class SdrplaySettings : public testing::Test {
protected:
    Records of(Model model, int tuner = 1) { return {model, tuner, &device, &a, nullptr}; }

    DevParams device{};
    RxChannelParams a{}, b{};
};

TEST_F(SdrplaySettings, BiasT) {
    EXPECT_EQ(setBiasT(of(Model::Rsp2), true), (Change{1, 0x80, 0}));
    EXPECT_EQ(a.rsp2TunerParams.biasTEnable, 1);
    EXPECT_EQ(setBiasT(of(Model::RspDuo), true), (Change{2, 0x8000000, 0}));
    EXPECT_EQ(a.rspDuoTunerParams.biasTEnable, 1);
    EXPECT_EQ(setBiasT(of(Model::Rsp1A), true), (Change{1, 0x10, 0}));
    EXPECT_EQ(a.rsp1aTunerParams.biasTEnable, 1);
    EXPECT_EQ(setBiasT(of(Model::RspDx), true), (Change{1, 0, 2}));
    EXPECT_EQ(device.rspDxParams.biasTEnable, 1);
    EXPECT_EQ(setBiasT(of(Model::Rsp2), false), (Change{1, 0x80, 0}));
    EXPECT_EQ(a.rsp2TunerParams.biasTEnable, 0);
}

TEST_F(SdrplaySettings, BiasTOnRsp1IsIgnored) {
    EXPECT_EQ(setBiasT(of(Model::Rsp1), true), std::nullopt);
    EXPECT_EQ(setBiasT(of(Model::Unknown), true), std::nullopt);
}

TEST_F(SdrplaySettings, BiasTOfBothTunersStandsInTunerBsRecordToo) {
    setBiasT({Model::RspDuo, 3, &device, &a, &b}, true);
    EXPECT_EQ(a.rspDuoTunerParams.biasTEnable, 1);
    EXPECT_EQ(b.rspDuoTunerParams.biasTEnable, 1);
}

TEST_F(SdrplaySettings, RfNotch) {
    EXPECT_EQ(setRfNotch(of(Model::Rsp2), true), (Change{1, 0x400, 0}));
    EXPECT_EQ(a.rsp2TunerParams.rfNotchEnable, 1);
    a.rspDuoTunerParams.tuner1AmPortSel = 1;
    EXPECT_EQ(setRfNotch(of(Model::RspDuo, 3), true), (Change{3, 0x20000000, 0}));
    EXPECT_EQ(a.rspDuoTunerParams.tuner1AmNotchEnable, 1);
    EXPECT_EQ(a.rspDuoTunerParams.rfNotchEnable, 0);
    a.rspDuoTunerParams.tuner1AmPortSel = 0;
    EXPECT_EQ(setRfNotch(of(Model::RspDuo, 3), true), (Change{1, 0x40000000, 0}));
    EXPECT_EQ(a.rspDuoTunerParams.rfNotchEnable, 1);
    EXPECT_EQ(setRfNotch(of(Model::Rsp1A), true), (Change{1, 0x20, 0}));
    EXPECT_EQ(device.rsp1aParams.rfNotchEnable, 1);
    EXPECT_EQ(setRfNotch(of(Model::RspDx), true), (Change{1, 0, 8}));
    EXPECT_EQ(device.rspDxParams.rfNotchEnable, 1);
    EXPECT_EQ(setRfNotch(of(Model::Rsp1), true), std::nullopt);
}

TEST_F(SdrplaySettings, DabNotch) {
    EXPECT_EQ(setDabNotch(of(Model::RspDuo, 3), true), (Change{1, 0x80000000, 0}));
    EXPECT_EQ(a.rspDuoTunerParams.rfDabNotchEnable, 1);
    EXPECT_EQ(setDabNotch(of(Model::Rsp1A), true), (Change{1, 0x40, 0}));
    EXPECT_EQ(device.rsp1aParams.rfDabNotchEnable, 1);
    EXPECT_EQ(setDabNotch(of(Model::RspDx), true), (Change{1, 0, 0x10}));
    EXPECT_EQ(device.rspDxParams.rfDabNotchEnable, 1);
    EXPECT_EQ(setDabNotch(of(Model::Rsp1), true), std::nullopt);
    EXPECT_EQ(setDabNotch(of(Model::Rsp2), true), std::nullopt);
}

TEST_F(SdrplaySettings, AntennaOfRsp2) {
    EXPECT_EQ(setAntenna(of(Model::Rsp2), 1), (Change{1, 0x200, 0}));
    EXPECT_EQ(a.rsp2TunerParams.antennaSel, 6);
    EXPECT_EQ(setAntenna(of(Model::Rsp2), 0), (Change{1, 0x200, 0}));
    EXPECT_EQ(a.rsp2TunerParams.antennaSel, 5);
    EXPECT_EQ(setAntenna(of(Model::Rsp2), 2), (Change{1, 0x100, 0}));
    EXPECT_EQ(a.rsp2TunerParams.amPortSel, 1);
    EXPECT_EQ(setAntenna(of(Model::Rsp2), 1), (Change{1, 0x100, 0})) << "leaves the Hi-Z port";
    EXPECT_EQ(a.rsp2TunerParams.amPortSel, 0);
    EXPECT_EQ(a.rsp2TunerParams.antennaSel, 6);
    EXPECT_EQ(setAntenna(of(Model::Rsp2), 3), std::nullopt);
    EXPECT_EQ(setAntenna(of(Model::Rsp2), -1), std::nullopt);
}

TEST_F(SdrplaySettings, AntennaOfRspDuoOnlyOnChange) {
    EXPECT_EQ(setAntenna(of(Model::RspDuo, 3), 0), std::nullopt);
    EXPECT_EQ(setAntenna(of(Model::RspDuo, 3), 1), (Change{1, 0x10000000, 0}));
    EXPECT_EQ(a.rspDuoTunerParams.tuner1AmPortSel, 1);
    EXPECT_EQ(setAntenna(of(Model::RspDuo, 3), 1), std::nullopt);
    EXPECT_EQ(setAntenna(of(Model::RspDuo, 3), 0), (Change{1, 0x10000000, 0}));
}

TEST_F(SdrplaySettings, Antenna2OnRspDuoIsIgnored) {
    EXPECT_EQ(setAntenna(of(Model::RspDuo), 2), std::nullopt);
    EXPECT_EQ(a.rspDuoTunerParams.tuner1AmPortSel, 0);
}

TEST_F(SdrplaySettings, AntennaOfRspDx) {
    for (const int value : {2, 1, 0}) {
        EXPECT_EQ(setAntenna(of(Model::RspDx), value), (Change{1, 0, 4}));
        EXPECT_EQ(device.rspDxParams.antennaSel, value);
    }
    EXPECT_EQ(setAntenna(of(Model::Rsp1A), 1), std::nullopt);
}

TEST_F(SdrplaySettings, ClockOut) {
    EXPECT_EQ(setClockOut(of(Model::RspDuo, 3), true), (Change{3, 0x1000, 0}));
    EXPECT_EQ(device.rspDuoParams.extRefOutputEn, 1);
    EXPECT_EQ(setClockOut(of(Model::Rsp2), true), std::nullopt);
}

TEST_F(SdrplaySettings, ADeviceWithoutItsRecordIsLeftAlone) {
    for (const Model model : {Model::Rsp1A, Model::RspDx, Model::RspDuo}) {
        const Records none{model, 1, nullptr, &a, nullptr};
        EXPECT_EQ(setClockOut(none, true), std::nullopt);
        if (model == Model::RspDuo)
            continue;
        EXPECT_EQ(setRfNotch(none, true), std::nullopt);
        EXPECT_EQ(setDabNotch(none, true), std::nullopt);
    }
}

} // namespace
} // namespace ferrow::sdrplay
