#pragma once
#include <cstddef>
#include <cstdint>

/// The binary interface of the SDRplay API, version 3.08, as this stand-in serves it: the records by their
/// published field names. Declared apart from the library's own, so that a mistake in one does not hide in
/// the other.
namespace ferrow::sim::rsp {

enum Error : int {
    Success = 0,
    Fail = 1,
    InvalidParam = 2,
    OutOfRange = 3,
    GainUpdateError = 4,
    RfUpdateError = 5,
    FsUpdateError = 6,
    HwError = 7,
    AlreadyInitialised = 9,
    NotInitialised = 10,
    ServiceNotResponding = 14,
};

enum HwVersion : unsigned char { Rsp1 = 1, Rsp2 = 2, RspDuo = 3, RspDx = 4, Rsp1A = 255 };
enum Tuner : int { TunerA = 1, TunerB = 2, TunerBoth = 3 };
enum DuoMode : int { SingleTuner = 1, DualTuner = 2, Master = 4 };

enum Reason : std::uint32_t {
    DevFs = 1u << 0,
    Rsp1aBiasT = 1u << 4,
    Rsp1aRfNotch = 1u << 5,
    Rsp1aDabNotch = 1u << 6,
    Rsp2BiasT = 1u << 7,
    Rsp2AmPort = 1u << 8,
    Rsp2Antenna = 1u << 9,
    Rsp2RfNotch = 1u << 10,
    DuoExtRef = 1u << 12,
    TunerGr = 1u << 15,
    TunerFrf = 1u << 17,
    TunerBwType = 1u << 18,
    TunerIfType = 1u << 19,
    CtrlDecimation = 1u << 23,
    OverloadMsgAck = 1u << 26,
    DuoBiasT = 1u << 27,
    DuoAmPort = 1u << 28,
    DuoAmNotch = 1u << 29,
    DuoRfNotch = 1u << 30,
    DuoDabNotch = 1u << 31,
};

/// The second word of reasons.
enum Extension : std::uint32_t { DxBiasT = 2, DxAntenna = 4, DxRfNotch = 8, DxDabNotch = 16 };

struct DeviceT {
    char SerNo[64];
    std::uint8_t hwVer, pad0[3];
    std::int32_t tuner, rspDuoMode;
    std::uint8_t valid, pad1[3];
    double rspDuoSampleFreq;
    void* dev;
};

struct DevParamsT {
    double ppm;
    double fsHz;
    std::uint8_t fsSyncUpdate, reCal, pad0[6];
    std::uint32_t sampleNum, period;
    std::uint8_t resetGainUpdate, resetRfUpdate, resetFsUpdate, pad1;
    std::int32_t transferMode;
    std::uint32_t samplesPerPkt;
    std::uint8_t rsp1aRfNotchEnable, rsp1aRfDabNotchEnable;
    std::uint8_t rsp2ExtRefOutputEn, pad2;
    std::int32_t duoExtRefOutputEn;
    std::uint8_t dxHdrEnable, dxBiasTEnable, pad3[2];
    std::int32_t dxAntennaSel;
    std::uint8_t dxRfNotchEnable, dxRfDabNotchEnable, pad4[2];
};

struct ChannelT {
    // tunerParams
    std::int32_t bwType, ifType, loMode;
    std::int32_t gRdB;
    std::uint8_t LNAstate, gainSyncUpdate, pad0[2];
    std::int32_t minGr;
    float gainCurr, gainMax, gainMin;
    std::uint8_t pad1[4];
    double rfHz;
    std::uint8_t rfSyncUpdate, pad2[7];
    std::uint8_t dcCal, speedUp, pad3[2];
    std::int32_t trackTime, refreshRateTime;
    std::uint8_t pad4[4];
    // ctrlParams
    std::uint8_t DCenable, IQenable;
    std::uint8_t decimationEnable, decimationFactor, wideBandSignal, pad5[3];
    std::int32_t agcEnable, agcSetPoint_dBfs;
    std::uint16_t agcAttack_ms, agcDecay_ms, agcDecayDelay_ms, agcDecayThreshold_dB;
    std::int32_t agcSyncUpdate;
    std::int32_t adsbMode;
    // the models' own
    std::uint8_t rsp1aBiasTEnable, pad6[3];
    std::uint8_t rsp2BiasTEnable, pad7[3];
    std::int32_t rsp2AmPortSel, rsp2AntennaSel;
    std::uint8_t rsp2RfNotchEnable, pad8[3];
    std::uint8_t duoBiasTEnable, pad9[3];
    std::int32_t duoTuner1AmPortSel;
    std::uint8_t duoTuner1AmNotchEnable, duoRfNotchEnable, duoRfDabNotchEnable;
    std::uint8_t duoResetGainUpdate, duoResetRfUpdate, pad10[3];
    std::int32_t dxHdrBw;
};

static_assert(sizeof(DeviceT) == 96 && sizeof(DevParamsT) == 64 && sizeof(ChannelT) == 144);

struct DeviceParamsT {
    DevParamsT* devParams;
    ChannelT* rxChannelA;
    ChannelT* rxChannelB;
};

struct StreamCbParamsT {
    std::uint32_t firstSampleNum;
    std::int32_t grChanged, rfChanged, fsChanged;
    std::uint32_t numSamples;
};

enum Event : int { GainChange = 0, PowerOverloadChange = 1, DeviceRemoved = 2, RspDuoModeChange = 3 };

union EventParamsT {
    struct {
        std::uint32_t gRdB, lnaGRdB;
        double currGain;
    } gain;
    std::int32_t powerOverloadChangeType;
};

struct CallbackFnsT {
    void (*streamA)(short* xi, short* xq, StreamCbParamsT* params, unsigned numSamples, unsigned reset,
                    void* context);
    void (*streamB)(short* xi, short* xq, StreamCbParamsT* params, unsigned numSamples, unsigned reset,
                    void* context);
    void (*event)(int eventId, int tuner, EventParamsT* params, void* context);
};

} // namespace ferrow::sim::rsp
