// The library's records against the stand-in's, which are written apart: the same field at the same place.
#include "radios/sdrplay/sdrplay_records.hpp"
#include "sim/sdrplay/abi.hpp"

#include <gtest/gtest.h>

namespace ferrow {
namespace {

namespace lib = sdrplay;
namespace sim = ferrow::sim::rsp;

TEST(SdrplayRecords, DeviceLiesAsTheApiHasIt) {
    EXPECT_EQ(sizeof(lib::Device), sizeof(sim::DeviceT));
    EXPECT_EQ(offsetof(lib::Device, hwVer), offsetof(sim::DeviceT, hwVer));
    EXPECT_EQ(offsetof(lib::Device, tuner), offsetof(sim::DeviceT, tuner));
    EXPECT_EQ(offsetof(lib::Device, rspDuoMode), offsetof(sim::DeviceT, rspDuoMode));
    EXPECT_EQ(offsetof(lib::Device, valid), offsetof(sim::DeviceT, valid));
    EXPECT_EQ(offsetof(lib::Device, rspDuoSampleFreq), offsetof(sim::DeviceT, rspDuoSampleFreq));
    EXPECT_EQ(offsetof(lib::Device, dev), offsetof(sim::DeviceT, dev));
}

TEST(SdrplayRecords, DeviceParametersLieAsTheApiHasThem) {
    EXPECT_EQ(sizeof(lib::DevParams), sizeof(sim::DevParamsT));
    lib::DevParams ours{};
    const auto place = [&](const auto& field) {
        return static_cast<std::size_t>(reinterpret_cast<const char*>(&field) -
                                        reinterpret_cast<const char*>(&ours));
    };
    EXPECT_EQ(place(ours.fsFreq.fsHz), offsetof(sim::DevParamsT, fsHz));
    EXPECT_EQ(place(ours.fsFreq.reCal), offsetof(sim::DevParamsT, reCal));
    EXPECT_EQ(place(ours.syncUpdate.period), offsetof(sim::DevParamsT, period));
    EXPECT_EQ(place(ours.resetFlags.resetFsUpdate), offsetof(sim::DevParamsT, resetFsUpdate));
    EXPECT_EQ(place(ours.mode), offsetof(sim::DevParamsT, transferMode));
    EXPECT_EQ(place(ours.samplesPerPkt), offsetof(sim::DevParamsT, samplesPerPkt));
    EXPECT_EQ(place(ours.rsp1aParams.rfDabNotchEnable), offsetof(sim::DevParamsT, rsp1aRfDabNotchEnable));
    EXPECT_EQ(place(ours.rsp2Params.extRefOutputEn), offsetof(sim::DevParamsT, rsp2ExtRefOutputEn));
    EXPECT_EQ(place(ours.rspDuoParams.extRefOutputEn), offsetof(sim::DevParamsT, duoExtRefOutputEn));
    EXPECT_EQ(place(ours.rspDxParams.biasTEnable), offsetof(sim::DevParamsT, dxBiasTEnable));
    EXPECT_EQ(place(ours.rspDxParams.antennaSel), offsetof(sim::DevParamsT, dxAntennaSel));
    EXPECT_EQ(place(ours.rspDxParams.rfDabNotchEnable), offsetof(sim::DevParamsT, dxRfDabNotchEnable));
}

TEST(SdrplayRecords, ChannelParametersLieAsTheApiHasThem) {
    EXPECT_EQ(sizeof(lib::RxChannelParams), sizeof(sim::ChannelT));
    lib::RxChannelParams ours{};
    const auto place = [&](const auto& field) {
        return static_cast<std::size_t>(reinterpret_cast<const char*>(&field) -
                                        reinterpret_cast<const char*>(&ours));
    };
    EXPECT_EQ(place(ours.tunerParams.ifType), offsetof(sim::ChannelT, ifType));
    EXPECT_EQ(place(ours.tunerParams.gain.gRdB), offsetof(sim::ChannelT, gRdB));
    EXPECT_EQ(place(ours.tunerParams.gain.LNAstate), offsetof(sim::ChannelT, LNAstate));
    EXPECT_EQ(place(ours.tunerParams.gain.gainVals.min), offsetof(sim::ChannelT, gainMin));
    EXPECT_EQ(place(ours.tunerParams.rfFreq.rfHz), offsetof(sim::ChannelT, rfHz));
    EXPECT_EQ(place(ours.tunerParams.dcOffsetTuner.refreshRateTime),
              offsetof(sim::ChannelT, refreshRateTime));
    EXPECT_EQ(place(ours.ctrlParams.dcOffset.IQenable), offsetof(sim::ChannelT, IQenable));
    EXPECT_EQ(place(ours.ctrlParams.decimation.wideBandSignal), offsetof(sim::ChannelT, wideBandSignal));
    EXPECT_EQ(place(ours.ctrlParams.agc.enable), offsetof(sim::ChannelT, agcEnable));
    EXPECT_EQ(place(ours.ctrlParams.agc.decay_threshold_dB), offsetof(sim::ChannelT, agcDecayThreshold_dB));
    EXPECT_EQ(place(ours.ctrlParams.adsbMode), offsetof(sim::ChannelT, adsbMode));
    EXPECT_EQ(place(ours.rsp1aTunerParams.biasTEnable), offsetof(sim::ChannelT, rsp1aBiasTEnable));
    EXPECT_EQ(place(ours.rsp2TunerParams.biasTEnable), offsetof(sim::ChannelT, rsp2BiasTEnable));
    EXPECT_EQ(place(ours.rsp2TunerParams.antennaSel), offsetof(sim::ChannelT, rsp2AntennaSel));
    EXPECT_EQ(place(ours.rsp2TunerParams.rfNotchEnable), offsetof(sim::ChannelT, rsp2RfNotchEnable));
    EXPECT_EQ(place(ours.rspDuoTunerParams.biasTEnable), offsetof(sim::ChannelT, duoBiasTEnable));
    EXPECT_EQ(place(ours.rspDuoTunerParams.rfDabNotchEnable), offsetof(sim::ChannelT, duoRfDabNotchEnable));
    EXPECT_EQ(place(ours.rspDxTunerParams.hdrBw), offsetof(sim::ChannelT, dxHdrBw));
}

TEST(SdrplayRecords, StreamAndEventRecordsLieAsTheApiHasThem) {
    EXPECT_EQ(sizeof(lib::StreamCbParams), sizeof(sim::StreamCbParamsT));
    EXPECT_EQ(offsetof(lib::StreamCbParams, rfChanged), offsetof(sim::StreamCbParamsT, rfChanged));
    EXPECT_EQ(sizeof(lib::EventParams), sizeof(sim::EventParamsT));
    EXPECT_EQ(sizeof(lib::CallbackFns), sizeof(sim::CallbackFnsT));
    EXPECT_EQ(sizeof(lib::DeviceParams), sizeof(sim::DeviceParamsT));
}

} // namespace
} // namespace ferrow
