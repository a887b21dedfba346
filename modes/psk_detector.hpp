// One receiver of the PSK bank, as the host sees it.
#pragma once

#include "core/async/async_event.hpp"
#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"
#include "modes/psk/peak_search.hpp"
#include "modes/psk/psk_det.hpp"

#include <atomic>
#include <memory>
#include <span>
#include <string>

namespace ferrow {

// Properties belong to the object's context; the detector itself and `busyCount` to the thread that
// demodulates, which takes wishes from the context at the start of each block.
class PskDetector : public asyncObject {
public:
    explicit PskDetector(std::shared_ptr<syncTask> context) : PskDetector(std::move(context), 0, 1500) {}
    PskDetector(std::shared_ptr<syncTask> context, int modeWord, int hz);

    asyncProperty<int> freq{0};           // tracked frequency, Hz
    asyncProperty<int> signalStrength{0}; // stored for the host
    asyncProperty<int> activity{0};       // stored for the host; the hunt reads it
    asyncProperty<std::string> Mode;      // name of the mode word
    asyncEvent<std::string> newChars;     // text received
    asyncEvent<> reset;                   // the detector has been given another signal

    // Any thread.
    int modeWord() const noexcept { return modeWord_; }
    int trackedFrequency() const noexcept { return tracked_.load(std::memory_order_acquire); }
    void requestTune(int hz) noexcept; // Hz, held within the band
    void requestReset() noexcept { resetWanted_.store(true, std::memory_order_release); }

    // The demodulating thread.
    void takeRequests();
    // As CPSKDet::processBlock.
    int processBlock(std::span<const float> block, char* out);
    // Gives the detector to a signal at `hz` and tells the host.
    void retune(int hz);

    int busyCount = 0; // 0 free, 200 text has just been received

private:
    static constexpr int kNone = -1;

    const int modeWord_;
    CPSKDet detector_;
    std::atomic<int> tracked_;
    std::atomic<int> tuneWanted_{kNone};
    std::atomic<bool> resetWanted_{false};
};

// Gives the signals found, strongest first, to free detectors of `bank`; those that are watched already only
// keep their detectors busy. Returns how many were retuned: at most 3. On the demodulating thread.
int huntSignals(std::span<const std::shared_ptr<PskDetector>> bank, std::span<const PskPeak> peaks);

} // namespace ferrow
