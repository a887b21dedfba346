// What the API's own threads touch: the target of its callbacks, and the device that they and retunes may
// use.
#pragma once

#include "core/async/async_object.hpp"
#include "radios/sdrplay/sample_stager.hpp"
#include "radios/sdrplay/sdrplay_library.hpp"
#include "radios/sdrplay/sdrplay_records.hpp"
#include "radios/sdrplay/task_courier.hpp"

#include <array>
#include <atomic>
#include <memory>
#include <shared_mutex>

namespace ferrow {

class SDRPlayRadio;

// On the radio's context, and no owner of the radio: an API thread never holds the last reference to it,
// since its end waits for those threads.
class SdrplayStream : public asyncObject {
public:
    SdrplayStream(std::shared_ptr<syncTask> context, const SdrplayLibrary& library);

    // For the API's Init, with this object as the context.
    static sdrplay::CallbackFns callbacks();

    // The radio's context, while no stream runs: the next one's samples are told from those of the last.
    void restart(std::weak_ptr<SDRPlayRadio> radio);
    // Ends what carries tasks to the context: whatever the API still sends is dropped.
    void end() noexcept { courier_.end(); }
    // Whether all that the API has sent is on the context.
    bool idle() const { return courier_.idle(); }

    int number() const noexcept { return number_.load(std::memory_order_acquire); }

    // What turns a sample of a tuner into the system's level, at the gain that the API last reported.
    float scale(int tuner) const noexcept {
        return static_cast<float>(scales_[static_cast<std::size_t>(tuner)].load(std::memory_order_acquire));
    }

    // Set by the acknowledgement of a retune, cleared by the next one.
    std::atomic<bool> tuneReady{true};

    // The selected device while the API may be called for it, else null. Held shared by who calls the API on
    // a thread of its own, exclusive by the radio's context to change the device.
    std::shared_mutex mutex;
    void* device = nullptr;

private:
    static void streamA(short* xi, short* xq, sdrplay::StreamCbParams* params, unsigned count, unsigned reset,
                        void* context);
    static void streamB(short* xi, short* xq, sdrplay::StreamCbParams* params, unsigned count, unsigned reset,
                        void* context);
    static void event(int id, int tuner, sdrplay::EventParams* params, void* context);

    void samples(const short* xi, const short* xq, const sdrplay::StreamCbParams* params, unsigned count,
                 int tuner) noexcept;
    void stage(const short* xi, const short* xq, unsigned count, int tuner);
    void gainChanged(int tuner, double gain) noexcept;
    void overload(int tuner, bool overloaded);

    const SdrplayLibrary& library_;
    std::weak_ptr<SDRPlayRadio> radio_;
    std::array<SampleStager, 2> stagers_;
    std::array<std::atomic<double>, 2> scales_;
    std::atomic<int> number_{0};
    TaskCourier courier_;
};

} // namespace ferrow
