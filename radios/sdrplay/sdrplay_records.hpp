// The records that the SDRplay API shares with its callers, as API version 3.08 publishes them for 64-bit
// Linux. Field names are the published ones; enumerations cross as ints.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ferrow::sdrplay {

inline constexpr float kApiVersion = 3.08f;
inline constexpr unsigned kMaxDevices = 6; // that this library asks for

inline constexpr int kSuccess = 0;

// Device::hwVer
inline constexpr int kRsp1 = 1, kRsp2 = 2, kRspDuo = 3, kRspDx = 4, kRsp1A = 255;

// Device::tuner
inline constexpr int kTunerA = 1, kTunerB = 2, kTunerBoth = 3;

// Device::rspDuoMode, also as a set of what is possible
inline constexpr int kSingleTuner = 1, kDualTuner = 2, kMaster = 4;

// What sdrplay_api_Update is told has changed.
namespace reason {
inline constexpr std::uint32_t kNone = 0;
inline constexpr std::uint32_t kSampleRate = 0x1;
inline constexpr std::uint32_t kRsp1ABiasT = 0x10;
inline constexpr std::uint32_t kRsp1ARfNotch = 0x20;
inline constexpr std::uint32_t kRsp1ADabNotch = 0x40;
inline constexpr std::uint32_t kRsp2BiasT = 0x80;
inline constexpr std::uint32_t kRsp2AmPort = 0x100;
inline constexpr std::uint32_t kRsp2Antenna = 0x200;
inline constexpr std::uint32_t kRsp2RfNotch = 0x400;
inline constexpr std::uint32_t kDuoExtRef = 0x1000;
inline constexpr std::uint32_t kGain = 0x8000;
inline constexpr std::uint32_t kFrequency = 0x20000;
inline constexpr std::uint32_t kBandwidth = 0x40000;
inline constexpr std::uint32_t kIfType = 0x80000;
inline constexpr std::uint32_t kDecimation = 0x800000;
inline constexpr std::uint32_t kOverloadAck = 0x4000000;
inline constexpr std::uint32_t kDuoBiasT = 0x8000000;
inline constexpr std::uint32_t kDuoAmPort = 0x10000000;
inline constexpr std::uint32_t kDuoAmNotch = 0x20000000;
inline constexpr std::uint32_t kDuoRfNotch = 0x40000000;
inline constexpr std::uint32_t kDuoDabNotch = 0x80000000;
} // namespace reason

// The second word of reasons, of the RSPdx.
namespace extension {
inline constexpr std::uint32_t kNone = 0;
inline constexpr std::uint32_t kDxBiasT = 0x2;
inline constexpr std::uint32_t kDxAntenna = 0x4;
inline constexpr std::uint32_t kDxRfNotch = 0x8;
inline constexpr std::uint32_t kDxDabNotch = 0x10;
} // namespace extension

struct Device {
    char SerNo[64];
    unsigned char hwVer;
    int tuner;
    int rspDuoMode;
    unsigned char valid; // lies in what would be padding
    double rspDuoSampleFreq;
    void* dev;
};
static_assert(sizeof(Device) == 96 && offsetof(Device, hwVer) == 64 && offsetof(Device, tuner) == 68 &&
              offsetof(Device, rspDuoMode) == 72 && offsetof(Device, valid) == 76 &&
              offsetof(Device, rspDuoSampleFreq) == 80 && offsetof(Device, dev) == 88);

// Of the whole device.

struct FsFreq {
    double fsHz;
    unsigned char syncUpdate;
    unsigned char reCal;
};
struct SyncUpdate {
    unsigned int sampleNum;
    unsigned int period;
};
struct ResetFlags {
    unsigned char resetGainUpdate;
    unsigned char resetRfUpdate;
    unsigned char resetFsUpdate;
};
struct Rsp1aParams {
    unsigned char rfNotchEnable;
    unsigned char rfDabNotchEnable;
};
struct Rsp2Params {
    unsigned char extRefOutputEn;
};
struct RspDuoParams {
    int extRefOutputEn;
};
struct RspDxParams {
    unsigned char hdrEnable;
    unsigned char biasTEnable;
    int antennaSel; // 0 A, 1 B, 2 C
    unsigned char rfNotchEnable;
    unsigned char rfDabNotchEnable;
};
struct DevParams {
    double ppm;
    FsFreq fsFreq;
    SyncUpdate syncUpdate;
    ResetFlags resetFlags;
    int mode; // of the USB transfer
    unsigned int samplesPerPkt;
    Rsp1aParams rsp1aParams;
    Rsp2Params rsp2Params;
    RspDuoParams rspDuoParams;
    RspDxParams rspDxParams;
};
static_assert(sizeof(FsFreq) == 16 && sizeof(RspDxParams) == 12 && sizeof(DevParams) == 64);
static_assert(offsetof(DevParams, fsFreq) == 8 && offsetof(DevParams, syncUpdate) == 24 &&
              offsetof(DevParams, resetFlags) == 32 && offsetof(DevParams, mode) == 36 &&
              offsetof(DevParams, samplesPerPkt) == 40 && offsetof(DevParams, rsp1aParams) == 44 &&
              offsetof(DevParams, rsp2Params) == 46 && offsetof(DevParams, rspDuoParams) == 48 &&
              offsetof(DevParams, rspDxParams) == 52);
static_assert(offsetof(RspDxParams, antennaSel) == 4 && offsetof(RspDxParams, rfNotchEnable) == 8);

// Of one tuner's channel.

struct GainValues {
    float curr, max, min;
};
struct Gain {
    int gRdB;
    unsigned char LNAstate; // 0: full gain
    unsigned char syncUpdate;
    int minGr;
    GainValues gainVals;
};
struct RfFreq {
    double rfHz;
    unsigned char syncUpdate;
};
struct DcOffsetTuner {
    unsigned char dcCal;
    unsigned char speedUp;
    int trackTime;
    int refreshRateTime;
};
struct TunerParams {
    int bwType; // kHz
    int ifType; // kHz
    int loMode;
    Gain gain;
    RfFreq rfFreq;
    DcOffsetTuner dcOffsetTuner;
};
struct DcOffset {
    unsigned char DCenable;
    unsigned char IQenable;
};
struct Decimation {
    unsigned char enable;
    unsigned char decimationFactor;
    unsigned char wideBandSignal;
};
struct Agc {
    int enable; // 4: with the times below
    int setPoint_dBfs;
    unsigned short attack_ms;
    unsigned short decay_ms;
    unsigned short decay_delay_ms;
    unsigned short decay_threshold_dB;
    int syncUpdate;
};
struct ControlParams {
    DcOffset dcOffset;
    Decimation decimation;
    Agc agc;
    int adsbMode;
};
struct Rsp1aTunerParams {
    unsigned char biasTEnable;
};
struct Rsp2TunerParams {
    unsigned char biasTEnable;
    int amPortSel;  // 1: Hi-Z
    int antennaSel; // 5 A, 6 B
    unsigned char rfNotchEnable;
};
struct ResetSlaveFlags {
    unsigned char resetGainUpdate;
    unsigned char resetRfUpdate;
};
struct RspDuoTunerParams {
    unsigned char biasTEnable;
    int tuner1AmPortSel; // 1: Hi-Z, 0: 50 ohm
    unsigned char tuner1AmNotchEnable;
    unsigned char rfNotchEnable;
    unsigned char rfDabNotchEnable;
    // Nothing from here on is used by this library.
    ResetSlaveFlags resetSlaveFlags;
};
struct RspDxTunerParams {
    int hdrBw;
};
struct RxChannelParams {
    TunerParams tunerParams;
    ControlParams ctrlParams;
    Rsp1aTunerParams rsp1aTunerParams;
    Rsp2TunerParams rsp2TunerParams;
    RspDuoTunerParams rspDuoTunerParams;
    RspDxTunerParams rspDxTunerParams;
};
static_assert(sizeof(Gain) == 24 && sizeof(TunerParams) == 72 && sizeof(Agc) == 20 &&
              sizeof(ControlParams) == 32 && sizeof(Rsp2TunerParams) == 16 &&
              sizeof(RspDuoTunerParams) == 16 && sizeof(RxChannelParams) == 144);
static_assert(offsetof(Gain, LNAstate) == 4 && offsetof(Gain, minGr) == 8 && offsetof(Gain, gainVals) == 12 &&
              offsetof(TunerParams, gain) == 12 && offsetof(TunerParams, rfFreq) == 40 &&
              offsetof(TunerParams, dcOffsetTuner) == 56);
static_assert(offsetof(ControlParams, decimation) == 2 && offsetof(ControlParams, agc) == 8 &&
              offsetof(ControlParams, adsbMode) == 28 && offsetof(Agc, attack_ms) == 8 &&
              offsetof(Agc, decay_threshold_dB) == 14);
static_assert(offsetof(RxChannelParams, ctrlParams) == 72 &&
              offsetof(RxChannelParams, rsp1aTunerParams) == 104 &&
              offsetof(RxChannelParams, rsp2TunerParams) == 108 &&
              offsetof(RxChannelParams, rspDuoTunerParams) == 124 &&
              offsetof(RxChannelParams, rspDxTunerParams) == 140);
static_assert(offsetof(RspDuoTunerParams, tuner1AmPortSel) == 4 &&
              offsetof(RspDuoTunerParams, tuner1AmNotchEnable) == 8 &&
              offsetof(RspDuoTunerParams, rfDabNotchEnable) == 10);

struct DeviceParams {
    DevParams* devParams;        // null on a slave
    RxChannelParams* rxChannelA; // null where the tuner is not in use
    RxChannelParams* rxChannelB;
};
static_assert(sizeof(DeviceParams) == 24);

// What comes with samples and events.

struct StreamCbParams {
    unsigned int firstSampleNum;
    int grChanged;
    int rfChanged;
    int fsChanged;
    unsigned int numSamples;
};
static_assert(sizeof(StreamCbParams) == 20);

inline constexpr int kGainChange = 0, kPowerOverloadChange = 1, kDeviceRemoved = 2, kRspDuoModeChange = 3;

struct GainCbParam {
    unsigned int gRdB;
    unsigned int lnaGRdB;
    double currGain; // dB
};
struct PowerOverloadCbParam {
    int powerOverloadChangeType; // 0: overloaded, 1: no more
};
struct RspDuoModeCbParam {
    int modeChangeType;
};
union EventParams {
    GainCbParam gainParams;
    PowerOverloadCbParam powerOverloadParams;
    RspDuoModeCbParam rspDuoModeParams;
};
static_assert(sizeof(EventParams) == 16 && offsetof(GainCbParam, currGain) == 8);

using StreamCallback = void (*)(short* xi, short* xq, StreamCbParams* params, unsigned int numSamples,
                                unsigned int reset, void* cbContext);
using EventCallback = void (*)(int eventId, int tuner, EventParams* params, void* cbContext);

struct CallbackFns {
    StreamCallback StreamACbFn;
    StreamCallback StreamBCbFn;
    EventCallback EventCbFn;
};
static_assert(sizeof(CallbackFns) == 24);

} // namespace ferrow::sdrplay
