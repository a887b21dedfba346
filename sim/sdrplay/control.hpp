#pragma once
#include "sim/sdrplay/abi.hpp"

namespace ferrow::sim::rsp {

/// Which function a record of calls speaks of.
enum Function : int {
    Open,
    Close,
    ApiVersion,
    LockDeviceApi,
    UnlockDeviceApi,
    GetDevices,
    SelectDevice,
    ReleaseDevice,
    GetDeviceParams,
    Init,
    Uninit,
    Update,
    FunctionCount
};

/// One call as it came in, with the device's records as they stood then.
struct Call {
    int function;
    int result;
    int tuner; ///< of Update
    std::uint32_t reason, extension;
    DeviceT device; ///< of SelectDevice and ReleaseDevice
    DevParamsT dev;
    ChannelT a, b;
};

struct DeviceEntry {
    char serial[64];
    unsigned char hwVer;
};

struct CarrierEntry {
    double frequency; ///< Hz at the antenna
    double level;     ///< dB; with 0 dB of total gain, of the ADC's full scale
};

/// The reins of the stand-in: plain functions, since each loaded copy has a C++ library of its own. The
/// symbol "ferrow_standin_control" is a pointer to this table. Any thread.
struct Control {
    int (*calls)();                    ///< how many are recorded
    int (*call)(int index, Call* out); ///< 0 if there is no such call
    void (*forget)();                  ///< empties the record
    void (*setVersion)(float version); ///< that ApiVersion reports; 3.08 at first
    void (*setDevices)(const DeviceEntry* entries, int count);
    void (*setCarriers)(const CarrierEntry* entries, int count);
    void (*failNext)(int function, int code); ///< the next call of it returns `code` and does nothing
    void (*setStepped)(int on);               ///< samples come by `advance` only, not by the clock
    void (*advance)(int callbacks);           ///< returns when so many rounds of callbacks are done
    void (*setSamplesPerCall)(unsigned count);
    void (*loseAcknowledgements)(int on); ///< retunes are obeyed and never acknowledged
    void (*setGainControl)(int on);       ///< whether the IF gain may follow the signal; on at first
    void (*setIfReduction)(int tuner, int gRdB);
    void (*setSecondTuner)(double gainDb, double phaseDegrees);      ///< of tuner B's antenna against A's
    void (*raise)(int event, int tuner, const EventParamsT* params); ///< an event of one's own
    void (*unplug)();                                                ///< the device is removed
    void (*hideParams)(int what); ///< GetDeviceParams gives 1: null, 2: records without devParams; 0: all
    double (*outputRate)();       ///< samples a second that the stream has
    int (*selected)();            ///< devices that are selected now
};

} // namespace ferrow::sim::rsp
