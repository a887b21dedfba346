#include "radios/sdrplay/sdrplay_stream.hpp"

#include "core/tasks/log.hpp"
#include "radios/sdrplay/say.hpp"
#include "radios/sdrplay/sdrplay_radio.hpp"

#include <cmath>
#include <exception>
#include <mutex>
#include <utility>

namespace ferrow {

namespace {

constexpr double kUnitScale = 3.0517578125e-5; // 1 / 32768

} // namespace

SdrplayStream::SdrplayStream(std::shared_ptr<syncTask> context, const SdrplayLibrary& library)
    : asyncObject(std::move(context)), library_(library),
      courier_([this](seqTask task) { queueSeqItem(std::move(task)); }) {
    for (auto& scale : scales_)
        scale = kUnitScale;
}

sdrplay::CallbackFns SdrplayStream::callbacks() {
    return {&streamA, &streamB, &event};
}

void SdrplayStream::restart(std::weak_ptr<SDRPlayRadio> radio) {
    radio_ = std::move(radio);
    for (SampleStager& stager : stagers_)
        stager.clear();
    number_.fetch_add(1, std::memory_order_acq_rel);
    tuneReady.store(true, std::memory_order_release);
}

void SdrplayStream::streamA(short* xi, short* xq, sdrplay::StreamCbParams* params, unsigned count, unsigned,
                            void* context) {
    static_cast<SdrplayStream*>(context)->samples(xi, xq, params, count, 0);
}

void SdrplayStream::streamB(short* xi, short* xq, sdrplay::StreamCbParams* params, unsigned count, unsigned,
                            void* context) {
    static_cast<SdrplayStream*>(context)->samples(xi, xq, params, count, 1);
}

void SdrplayStream::samples(const short* xi, const short* xq, const sdrplay::StreamCbParams* params,
                            unsigned count, int tuner) noexcept {
    try {
        if (xi != nullptr && xq != nullptr)
            stage(xi, xq, count, tuner);
    } catch (const std::exception& failure) {
        logError("sdrplay samples lost: {}", failure.what());
    }
    if (params != nullptr && params->rfChanged != 0)
        tuneReady.store(true, std::memory_order_release);
}

void SdrplayStream::stage(const short* xi, const short* xq, unsigned count, int tuner) {
    stagers_[static_cast<std::size_t>(tuner)].add(
        xi, xq, count, [&](const buff<short>& first, const buff<short>& second) {
            courier_.send(seqTask("NewData", [radio = radio_, first, second, tuner, stream = number()] {
                if (const auto target = radio.lock())
                    target->NewData(first, second, tuner, stream);
            }));
        });
}

void SdrplayStream::event(int id, int tuner, sdrplay::EventParams* params, void* context) {
    auto& self = *static_cast<SdrplayStream*>(context);
    try {
        switch (id) {
        case sdrplay::kGainChange:
            if (params != nullptr)
                self.gainChanged(tuner, params->gainParams.currGain);
            break;
        case sdrplay::kPowerOverloadChange:
            if (params != nullptr)
                self.overload(tuner, params->powerOverloadParams.powerOverloadChangeType == 0);
            break;
        case sdrplay::kDeviceRemoved:
            sdrplay::say("sdrplay_api_EventCb: sdrplay_api_DeviceRemoved\n");
            break;
        case sdrplay::kRspDuoModeChange:
            break;
        default:
            sdrplay::say(fmt::format("sdrplay_api_EventCb: {}, unknown event\n", id));
        }
    } catch (const std::exception& failure) {
        logError("sdrplay event lost: {}", failure.what());
    }
}

void SdrplayStream::gainChanged(int tuner, double gain) noexcept {
    const double scale = 10 / std::pow(10.0, gain / 20) * kUnitScale;
    if (!std::isfinite(scale))
        return;
    if (tuner == sdrplay::kTunerA)
        scales_[0].store(scale, std::memory_order_release);
    else if (tuner == sdrplay::kTunerB)
        scales_[1].store(scale, std::memory_order_release);
}

void SdrplayStream::overload(int tuner, bool overloaded) {
    const std::shared_lock lock(mutex);
    if (device == nullptr)
        return;
    const auto post = [&](const char* label, asyncProperty<bool> SDRPlayRadio::*property) {
        courier_.send(seqTask(label, [radio = radio_, property, overloaded] {
            if (const auto target = radio.lock())
                (target.get()->*property).set(overloaded);
        }));
    };
    if (tuner == sdrplay::kTunerA)
        post("Set Overload", &SDRPlayRadio::adcOverload);
    else if (tuner == sdrplay::kTunerB)
        post("Set Overload 2", &SDRPlayRadio::adcOverload2);
    library_.api().Update(device, tuner, sdrplay::reason::kOverloadAck, sdrplay::extension::kNone);
}

} // namespace ferrow
