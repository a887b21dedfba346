#include "modes/psk_detector.hpp"

#include <algorithm>
#include <cstdlib>

namespace ferrow {

namespace {

constexpr int kCoveredWithin = 20; // Hz
constexpr int kWatching = 100;     // busyCount of a detector that has a signal
constexpr int kMostBound = 50;     // beyond this nothing is free
constexpr int kFirstBound = 200;
constexpr int kMostRetunes = 3;

const char* nameOf(int modeWord) {
    switch (modeWord) {
    case 0:
        return "PSK31";
    case 8:
        return "PSK63";
    case 16:
        return "PSK125";
    case 1:
        return "QPSK31";
    case 9:
        return "QPSK63";
    case 17:
        return "QPSK125";
    default:
        return "";
    }
}

} // namespace

PskDetector::PskDetector(std::shared_ptr<syncTask> context, int modeWord, int hz)
    : asyncObject(std::move(context)), modeWord_(knownPskWord(modeWord)), detector_(modeWord) {
    detector_.setRxFrequency(hz);
    tracked_.store(detector_.rxFrequency(), std::memory_order_release);
    freq.set(detector_.rxFrequency());
    Mode.set(nameOf(modeWord_));
}

void PskDetector::requestTune(int hz) noexcept {
    tuneWanted_.store(std::clamp(hz, 0, CPSKDet::kTopFrequency), std::memory_order_release);
}

void PskDetector::takeRequests() {
    if (const int hz = tuneWanted_.exchange(kNone, std::memory_order_acq_rel); hz != kNone)
        detector_.setRxFrequency(hz);
    if (resetWanted_.exchange(false, std::memory_order_acq_rel))
        detector_.resetDetector();
    tracked_.store(detector_.rxFrequency(), std::memory_order_release);
}

int PskDetector::processBlock(std::span<const float> block, char* out) {
    const int count = detector_.processBlock(block.data(), static_cast<int>(block.size()), out);
    tracked_.store(detector_.rxFrequency(), std::memory_order_release);
    return count;
}

void PskDetector::retune(int hz) {
    detector_.setRxFrequency(hz);
    detector_.resetDetector();
    tracked_.store(detector_.rxFrequency(), std::memory_order_release);
    reset.send();
}

int huntSignals(std::span<const std::shared_ptr<PskDetector>> bank, std::span<const PskPeak> peaks) {
    int retuned = 0;
    for (const PskPeak& peak : peaks) {
        int bound = kFirstBound;
        PskDetector* choice = nullptr;
        bool covered = false;
        for (const auto& detector : bank) {
            if (detector->busyCount > 0 &&
                std::abs(detector->trackedFrequency() - peak.frequency) <= kCoveredWithin) {
                detector->busyCount = std::max(detector->busyCount, kWatching);
                covered = true;
                break;
            }
            // What is compared and what is kept are two things: the walk ends on the first free detector, or
            // on the last one of all.
            if (detector->activity.value() < bound) {
                choice = detector.get();
                bound = detector->busyCount;
            }
        }
        if (covered)
            continue;
        if (choice == nullptr || bound > kMostBound || retuned == kMostRetunes)
            break;
        choice->retune(peak.frequency);
        choice->busyCount = kWatching;
        ++retuned;
    }
    return retuned;
}

} // namespace ferrow
