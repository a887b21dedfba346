#pragma once
#include "sim/sdrplay/abi.hpp"
#include "sim/sdrplay/call_log.hpp"
#include "sim/sdrplay/control.hpp"
#include "sim/sdrplay/sky_source.hpp"
#include "sim/sdrplay/tuner.hpp"

#include <array>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace ferrow::sim::rsp {

/// An API without hardware: devices by name, records of parameters, and a stream of a scene's stations, or of
/// a few carriers, at the rate, frequency and gain that they ask for. One device can be selected at a time,
/// as with the real one.
///
/// Samples and events come on two threads of its own, from Init to Uninit.
class StandIn {
public:
    static StandIn& instance();

    int open();
    int close();
    int apiVersion(float* version);
    int lock();
    int unlock();
    int getDevices(DeviceT* devices, unsigned* count, unsigned most);
    int selectDevice(DeviceT* device);
    int releaseDevice(DeviceT* device);
    int getDeviceParams(void* dev, DeviceParamsT** params);
    int init(void* dev, const CallbackFnsT* callbacks, void* context);
    int uninit(void* dev);
    int update(void* dev, int tuner, std::uint32_t reason, std::uint32_t extension);

    static const Control& control();

private:
    struct PendingEvent {
        int id, tuner;
        EventParamsT params;
    };
    struct TunerState {
        TunerModel model;
        double rfHz = 200e6;
        bool rfChanged = false; ///< to be told with the next samples
        bool grChanged = false;
        bool retunePending = false;
        bool overloaded = false;
        std::vector<short> xi, xq;
    };

    StandIn();
    ~StandIn();
    void endThreads();

    // With the mutex held.
    int record(Function function, int result, const Call& details = {});
    bool takeFailure(Function function, int& code);
    ChannelT& channel(int index) { return index == 0 ? liveA_ : liveB_; }
    void latch(std::uint32_t reason, std::uint32_t extension);
    void latchChannel(const ChannelT& from, ChannelT& to, std::uint32_t reason) const;
    bool active(int index) const { return (device_.tuner >> index & 1) != 0; }
    void postGain(int index);
    void post(int id, int tuner, const EventParamsT& params);
    void followSignal(int index, double amplitude);
    void checkOverload(int index, double amplitude);
    unsigned makeRound(std::array<StreamCbParamsT, 2>& told);
    void fillFromSky(double rate, unsigned count);
    void unplug();
    int apply(int tuner, std::uint32_t reason, std::uint32_t extension);

    void streamLoop();
    void eventLoop();

    std::mutex mutex_;
    std::condition_variable wake_, done_;

    // What the control sets.
    float version_ = 3.08f;
    std::vector<DeviceEntry> entries_;
    std::vector<CarrierEntry> carriers_;
    std::array<int, FunctionCount> failures_{};
    bool stepped_ = false;
    long long credits_ = 0; ///< rounds to make in stepped mode
    unsigned samplesPerCall_ = 0;
    bool loseAcknowledgements_ = false;
    bool gainControl_ = true;
    double secondGainDb_ = 0, secondPhase_ = 0;
    int hide_ = 0;
    std::vector<Call> calls_;
    CallLog log_;

    // What the environment sets.
    std::unique_ptr<SkySource> sky_; ///< made by the first Init
    double clockFactor_ = 1.0;
    double unplugAfter_ = 0.0; ///< seconds; 0: never

    // The selected device.
    bool selected_ = false;
    DeviceT device_{};
    // What the caller writes, at any time, ...
    DevParamsT dev_{};
    ChannelT a_{}, b_{};
    DeviceParamsT params_{};
    // ... and what Init and the reasons of Update have put in force.
    DevParamsT liveDev_{};
    ChannelT liveA_{}, liveB_{};

    // The stream.
    bool running_ = false;
    bool unplugged_ = false;
    CallbackFnsT callbacks_{};
    void* context_ = nullptr;
    std::array<TunerState, 2> tuners_;
    bool fsChanged_ = false;
    double seconds_ = 0;
    double sinceGainStep_ = 0;
    std::uint32_t sampleNumber_ = 0;
    CallLog::Stream stream_; ///< the present one's figures
    std::deque<PendingEvent> events_;
    std::thread streamThread_, eventThread_;
};

} // namespace ferrow::sim::rsp
