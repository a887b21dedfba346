#include "sim/sdrplay/stand_in.hpp"

#include "sim/decibel.hpp"
#include "sim/radio/pacer.hpp"
#include "sim/sdrplay/environment.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <future>
#include <utility>

namespace ferrow::sim::rsp {

namespace {

constexpr unsigned kPacket = 1344; ///< samples of a callback before decimation
constexpr double kGainStepSeconds = 0.05;
constexpr auto kBurst = std::chrono::milliseconds(1); ///< callbacks of so much time come together
constexpr double kLowestSampling = 2e6, kHighestSampling = 10.66e6;
constexpr int kLeastReduction = 20, kMostReduction = 59;

ChannelT defaultChannel() {
    ChannelT channel{};
    channel.bwType = 200;
    channel.loMode = 1;
    channel.gRdB = 50;
    channel.minGr = 20;
    channel.rfHz = 200e6;
    channel.dcCal = 3;
    channel.trackTime = 1;
    channel.refreshRateTime = 2048;
    channel.DCenable = 1;
    channel.IQenable = 1;
    channel.decimationFactor = 1;
    channel.agcEnable = 2;
    channel.agcSetPoint_dBfs = -60;
    channel.rsp2AntennaSel = 5;
    return channel;
}

DevParamsT defaultDevice() {
    DevParamsT device{};
    device.fsHz = 2e6;
    return device;
}

} // namespace

StandIn& StandIn::instance() {
    static StandIn standIn;
    return standIn;
}

StandIn::StandIn()
    : entries_(devicesFromEnvironment()), carriers_(carriersFromEnvironment()),
      clockFactor_(1.0 + clockPpmFromEnvironment() * 1e-6), unplugAfter_(unplugFromEnvironment()) {}

// A host may leave while it streams.
StandIn::~StandIn() {
    endThreads();
}

void StandIn::endThreads() {
    std::thread stream, events;
    {
        const std::lock_guard lock(mutex_);
        running_ = false;
        stream.swap(streamThread_);
        events.swap(eventThread_);
    }
    wake_.notify_all();
    done_.notify_all();
    for (std::thread* thread : {&stream, &events})
        if (thread->joinable())
            thread->join();
}

int StandIn::record(Function function, int result, const Call& details) {
    Call call = details;
    call.function = function;
    call.result = result;
    call.dev = liveDev_;
    call.a = liveA_;
    call.b = liveB_;
    calls_.push_back(call);
    log_.write(call);
    return result;
}

bool StandIn::takeFailure(Function function, int& code) {
    code = std::exchange(failures_[function], 0);
    return code != 0;
}

int StandIn::open() {
    const std::lock_guard lock(mutex_);
    int code = Success;
    takeFailure(Open, code);
    return record(Open, code);
}

int StandIn::close() {
    const std::lock_guard lock(mutex_);
    int code = Success;
    takeFailure(Close, code);
    return record(Close, code);
}

int StandIn::apiVersion(float* version) {
    const std::lock_guard lock(mutex_);
    int code = Success;
    if (!takeFailure(ApiVersion, code))
        *version = version_;
    return record(ApiVersion, code);
}

int StandIn::lock() {
    const std::lock_guard lock(mutex_);
    int code = Success;
    takeFailure(LockDeviceApi, code);
    return record(LockDeviceApi, code);
}

int StandIn::unlock() {
    const std::lock_guard lock(mutex_);
    int code = Success;
    takeFailure(UnlockDeviceApi, code);
    return record(UnlockDeviceApi, code);
}

int StandIn::getDevices(DeviceT* devices, unsigned* count, unsigned most) {
    const std::lock_guard lock(mutex_);
    int code = Success;
    if (takeFailure(GetDevices, code))
        return record(GetDevices, code);
    *count = 0;
    for (const DeviceEntry& entry : entries_) {
        if (*count == most)
            break;
        if (selected_ && std::strncmp(device_.SerNo, entry.serial, sizeof(entry.serial)) == 0)
            continue;
        DeviceT& device = devices[(*count)++];
        device = {};
        std::memcpy(device.SerNo, entry.serial, sizeof(entry.serial));
        device.hwVer = entry.hwVer;
        device.valid = 1;
        device.tuner = entry.hwVer == RspDuo ? TunerBoth : TunerA;
        device.rspDuoMode = entry.hwVer == RspDuo ? SingleTuner | DualTuner | Master : 0;
    }
    return record(GetDevices, code);
}

int StandIn::selectDevice(DeviceT* device) {
    const std::lock_guard lock(mutex_);
    Call call{};
    call.device = *device;
    int code = Success;
    if (takeFailure(SelectDevice, code))
        return record(SelectDevice, code, call);
    const bool known = std::any_of(entries_.begin(), entries_.end(), [&](const DeviceEntry& entry) {
        return std::strncmp(entry.serial, device->SerNo, sizeof(entry.serial)) == 0;
    });
    const bool duo = device->hwVer == RspDuo;
    const bool fits =
        !duo ? device->tuner == TunerA
             : (device->rspDuoMode == SingleTuner && (device->tuner == TunerA || device->tuner == TunerB)) ||
                   (device->rspDuoMode == DualTuner && device->tuner == TunerBoth);
    if (selected_ || !known || !fits)
        return record(SelectDevice, InvalidParam, call);
    selected_ = true;
    unplugged_ = false;
    device->dev = this;
    device_ = *device;
    dev_ = defaultDevice();
    a_ = b_ = defaultChannel();
    liveDev_ = dev_;
    liveA_ = liveB_ = a_;
    return record(SelectDevice, code, call);
}

int StandIn::releaseDevice(DeviceT* device) {
    const std::lock_guard lock(mutex_);
    Call call{};
    call.device = *device;
    int code = Success;
    if (!takeFailure(ReleaseDevice, code)) {
        if (!selected_ || running_)
            code = Fail;
        selected_ = running_;
    }
    return record(ReleaseDevice, code, call);
}

int StandIn::getDeviceParams(void* dev, DeviceParamsT** params) {
    const std::lock_guard lock(mutex_);
    int code = Success;
    if (takeFailure(GetDeviceParams, code))
        return record(GetDeviceParams, code);
    if (dev != this || !selected_)
        return record(GetDeviceParams, InvalidParam);
    params_ = {hide_ == 2 ? nullptr : &dev_, active(0) ? &a_ : nullptr, active(1) ? &b_ : nullptr};
    *params = hide_ == 1 ? nullptr : &params_;
    return record(GetDeviceParams, code);
}

int StandIn::init(void* dev, const CallbackFnsT* callbacks, void* context) {
    const std::lock_guard lock(mutex_);
    int code = Success;
    if (takeFailure(Init, code))
        return record(Init, code);
    if (running_)
        return record(Init, AlreadyInitialised);
    if (dev != this || !selected_ || callbacks == nullptr || callbacks->streamA == nullptr ||
        callbacks->event == nullptr)
        return record(Init, InvalidParam);
    if (dev_.fsHz < kLowestSampling || dev_.fsHz > kHighestSampling)
        return record(Init, FsUpdateError);
    if (!sky_) {
        try {
            // In a copy of this library with a C library of its own, a caller's thread has no character
            // tables of that: only threads made in here do.
            sky_ = std::async(std::launch::async, skyFromEnvironment).get();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "FERROW_STANDIN_SCENE: %s\n", error.what());
            return record(Init, Fail);
        }
    }
    liveDev_ = dev_;
    liveA_ = a_;
    liveB_ = b_;
    callbacks_ = *callbacks;
    context_ = context;
    for (int index = 0; index < 2; ++index) {
        tuners_[index] = {};
        tuners_[index].rfHz = channel(index).rfHz;
    }
    seconds_ = sinceGainStep_ = 0;
    sampleNumber_ = 0;
    stream_ = {};
    if (sky_)
        sky_->begin(utcSeconds());
    credits_ = 0;
    fsChanged_ = false;
    events_.clear();
    running_ = true;
    for (int index = 0; index < 2; ++index)
        if (active(index))
            postGain(index);
    streamThread_ = std::thread([this] { streamLoop(); });
    eventThread_ = std::thread([this] { eventLoop(); });
    return record(Init, code);
}

int StandIn::uninit(void* dev) {
    {
        const std::lock_guard lock(mutex_);
        int code = Success;
        if (takeFailure(Uninit, code))
            return record(Uninit, code);
        if (dev != this || !running_)
            return record(Uninit, NotInitialised);
        record(Uninit, code);
    }
    endThreads();
    return Success;
}

int StandIn::update(void* dev, int tuner, std::uint32_t reason, std::uint32_t extension) {
    int code = Success;
    {
        const std::lock_guard lock(mutex_);
        Call call{};
        call.tuner = tuner;
        call.reason = reason;
        call.extension = extension;
        if (takeFailure(Update, code))
            return record(Update, code, call);
        if (dev != this || !running_)
            return record(Update, NotInitialised, call);
        code = apply(tuner, reason, extension);
        record(Update, code, call);
    }
    wake_.notify_all();
    return code;
}

// Only the fields that the reasons name: the caller may write the others at this moment.
void StandIn::latchChannel(const ChannelT& from, ChannelT& to, std::uint32_t reason) const {
    const auto take = [&](std::uint32_t bit, auto... fields) {
        if ((reason & bit) != 0)
            ((to.*fields = from.*fields), ...);
    };
    take(Rsp1aBiasT, &ChannelT::rsp1aBiasTEnable);
    take(Rsp2BiasT, &ChannelT::rsp2BiasTEnable);
    take(Rsp2AmPort | Rsp2Antenna, &ChannelT::rsp2AmPortSel, &ChannelT::rsp2AntennaSel);
    take(Rsp2RfNotch, &ChannelT::rsp2RfNotchEnable);
    take(TunerGr, &ChannelT::LNAstate);
    take(TunerFrf, &ChannelT::rfHz);
    take(TunerBwType, &ChannelT::bwType);
    take(TunerIfType, &ChannelT::ifType);
    take(CtrlDecimation, &ChannelT::decimationEnable, &ChannelT::decimationFactor, &ChannelT::wideBandSignal);
    take(DuoBiasT, &ChannelT::duoBiasTEnable);
    take(DuoAmPort, &ChannelT::duoTuner1AmPortSel);
    take(DuoAmNotch, &ChannelT::duoTuner1AmNotchEnable);
    take(DuoRfNotch, &ChannelT::duoRfNotchEnable);
    take(DuoDabNotch, &ChannelT::duoRfDabNotchEnable);
}

void StandIn::latch(std::uint32_t reason, std::uint32_t extension) {
    latchChannel(a_, liveA_, reason);
    latchChannel(b_, liveB_, reason);
    const auto take = [this](bool named, auto field) {
        if (named)
            liveDev_.*field = dev_.*field;
    };
    take(reason & DevFs, &DevParamsT::fsHz);
    take(reason & Rsp1aRfNotch, &DevParamsT::rsp1aRfNotchEnable);
    take(reason & Rsp1aDabNotch, &DevParamsT::rsp1aRfDabNotchEnable);
    take(reason & DuoExtRef, &DevParamsT::duoExtRefOutputEn);
    take(extension & DxBiasT, &DevParamsT::dxBiasTEnable);
    take(extension & DxAntenna, &DevParamsT::dxAntennaSel);
    take(extension & DxRfNotch, &DevParamsT::dxRfNotchEnable);
    take(extension & DxDabNotch, &DevParamsT::dxRfDabNotchEnable);
}

int StandIn::apply(int tuner, std::uint32_t reason, std::uint32_t extension) {
    int code = Success;
    latch(reason, extension);
    if ((reason & (DevFs | CtrlDecimation | TunerBwType | TunerIfType)) != 0) {
        if (liveDev_.fsHz < kLowestSampling || liveDev_.fsHz > kHighestSampling)
            return FsUpdateError;
        fsChanged_ = true;
    }
    for (int index = 0; index < 2; ++index) {
        if ((tuner >> index & 1) == 0 || !active(index))
            continue;
        TunerState& state = tuners_[static_cast<std::size_t>(index)];
        if ((reason & TunerGr) != 0) {
            if (channel(index).LNAstate > lastLnaState(device_.hwVer)) {
                code = OutOfRange;
                continue;
            }
            state.grChanged = true;
            postGain(index);
        }
        if ((reason & TunerFrf) != 0) {
            if (state.retunePending && !loseAcknowledgements_) {
                code = RfUpdateError;
                continue;
            }
            state.rfHz = channel(index).rfHz;
            state.retunePending = state.rfChanged = !loseAcknowledgements_;
        }
        if ((reason & OverloadMsgAck) != 0)
            state.overloaded = false;
    }
    return code;
}

void StandIn::post(int id, int tuner, const EventParamsT& params) {
    stream_.gainEvents += id == GainChange;
    stream_.overloads += id == PowerOverloadChange;
    events_.push_back({id, tuner, params});
    wake_.notify_all();
}

void StandIn::postGain(int index) {
    const ChannelT& of = channel(index);
    EventParamsT params{};
    params.gain.gRdB = static_cast<std::uint32_t>(of.gRdB);
    params.gain.lnaGRdB = static_cast<std::uint32_t>(lnaReduction(of));
    params.gain.currGain = totalGain(of);
    post(GainChange, index + 1, params);
}

void StandIn::followSignal(int index, double amplitude) {
    ChannelT& of = channel(index);
    if (!gainControl_ || of.agcEnable == 0 || amplitude <= 0)
        return;
    const double over = 20 * std::log10(amplitude) - of.agcSetPoint_dBfs;
    const int step = over > 1 ? 1 : over < -1 ? -1 : 0;
    const int reduction = std::clamp(of.gRdB + step, kLeastReduction, kMostReduction);
    if (reduction == of.gRdB)
        return;
    of.gRdB = reduction;
    tuners_[index].grChanged = true;
    postGain(index);
}

// One event a crossing, and no more of them until the last has been acknowledged.
void StandIn::checkOverload(int index, double amplitude) {
    TunerState& state = tuners_[index];
    if (state.overloaded || amplitude < 1)
        return;
    state.overloaded = true;
    post(PowerOverloadChange, index + 1, {});
}

// Retunes take effect within a block: that is made again.
void StandIn::fillFromSky(double rate, unsigned count) {
    std::array<SkySource::Tuner, 2> wanted;
    for (int index = 0; index < 2; ++index)
        wanted[index] = {active(index), tuners_[index].rfHz, channel(index).bwType * 1e3};
    sky_->set(rate, wanted);
    for (std::size_t done = 0; done < count;) {
        const std::size_t some = std::min<std::size_t>(count - done, sky_->available());
        for (int index = 0; index < 2; ++index)
            if (active(index))
                TunerModel::convert(sky_->next(index, some),
                                    totalGain(channel(index)) + (index == 1 ? secondGainDb_ : 0),
                                    std::span(tuners_[index].xi).subspan(done, some),
                                    std::span(tuners_[index].xq).subspan(done, some));
        sky_->advance(some);
        done += some;
    }
}

void StandIn::unplug() {
    unplugged_ = true;
    post(DeviceRemoved, device_.tuner, {});
    done_.notify_all();
}

unsigned StandIn::makeRound(std::array<StreamCbParamsT, 2>& told) {
    const int first = active(0) ? 0 : 1;
    const double rate = outputRate(liveDev_, channel(first));
    const int factor = channel(first).decimationEnable != 0 ? channel(first).decimationFactor : 1;
    const unsigned count =
        samplesPerCall_ != 0 ? samplesPerCall_ : kPacket / static_cast<unsigned>(std::max(factor, 1));
    sinceGainStep_ += count / rate;
    const bool step = sinceGainStep_ >= kGainStepSeconds;
    for (TunerState& state : tuners_) {
        state.xi.resize(count);
        state.xq.resize(count);
    }
    if (sky_)
        fillFromSky(rate, count);
    for (int index = 0; index < 2; ++index) {
        if (!active(index))
            continue;
        TunerState& state = tuners_[index];
        const bool second = index == 1;
        const TunerModel::Setting setting{state.rfHz, rate, channel(index).bwType * 1e3,
                                          totalGain(channel(index)) + (second ? secondGainDb_ : 0),
                                          second ? secondPhase_ : 0};
        const double amplitude =
            sky_ ? static_cast<double>(sky_->peak(index)) * amplitudeFromDb(setting.gainDb)
                 : state.model.make(setting, carriers_, seconds_, state.xi, state.xq);
        told[index] = {sampleNumber_, state.grChanged, state.rfChanged, fsChanged_, count};
        state.retunePending = state.retunePending && !state.rfChanged;
        state.grChanged = state.rfChanged = false;
        checkOverload(index, amplitude);
        if (step)
            followSignal(index, amplitude);
    }
    if (step)
        sinceGainStep_ = 0;
    fsChanged_ = false;
    seconds_ += count / rate;
    sampleNumber_ += count;
    ++stream_.callbacks;
    stream_.samples += count;
    stream_.rate = rate;
    return count;
}

void StandIn::streamLoop() {
    using Clock = std::chrono::steady_clock;
    auto due = Clock::now();
    bool reset = true;
    std::unique_lock lock(mutex_);
    while (running_) {
        if (unplugged_ || (stepped_ && credits_ == 0)) {
            wake_.wait(lock);
            due = Clock::now();
            continue;
        }
        if (!stepped_ && Clock::now() < due) {
            // Whoever changes something wakes this too.
            const auto until = due + kBurst;
            while (running_ && !stepped_ && !unplugged_ && Clock::now() < until)
                wake_.wait_until(lock, until);
            continue;
        }
        const double before = seconds_;
        std::array<StreamCbParamsT, 2> told{};
        const unsigned count = makeRound(told);
        // What the machine was too slow for is lost, as it is on the bus.
        const auto now = Clock::now();
        if (!stepped_)
            stream_.latestMs =
                std::max(stream_.latestMs, std::chrono::duration<double, std::milli>(now - due).count());
        due = std::max(due + std::chrono::duration_cast<Clock::duration>(
                                 std::chrono::duration<double>((seconds_ - before) / clockFactor_)),
                       now - std::chrono::milliseconds(200));
        if (unplugAfter_ > 0.0 && seconds_ >= unplugAfter_)
            unplug();
        const std::array on{active(0), active(1)};
        lock.unlock();
        if (on[0])
            callbacks_.streamA(tuners_[0].xi.data(), tuners_[0].xq.data(), &told[0], count, reset, context_);
        if (on[1]) {
            // A single tuner B streams on the first callback too.
            const auto call = on[0] ? callbacks_.streamB : callbacks_.streamA;
            if (call != nullptr)
                call(tuners_[1].xi.data(), tuners_[1].xq.data(), &told[1], count, reset, context_);
        }
        reset = false;
        lock.lock();
        if (credits_ > 0 && --credits_ == 0)
            done_.notify_all();
    }
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    stream_.cpuSeconds = static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
    stream_.seconds = seconds_;
    log_.write(stream_);
}

void StandIn::eventLoop() {
    std::unique_lock lock(mutex_);
    while (running_) {
        if (events_.empty()) {
            wake_.wait(lock);
            continue;
        }
        PendingEvent event = events_.front();
        events_.pop_front();
        lock.unlock();
        callbacks_.event(event.id, event.tuner, &event.params, context_);
        lock.lock();
        done_.notify_all();
    }
}

} // namespace ferrow::sim::rsp
