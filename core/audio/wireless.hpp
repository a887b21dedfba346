// The application object: audio device lists, and the microphone curve of all voice modes.
#pragma once

#include "core/async/async_collection.hpp"
#include "core/async/async_event.hpp"
#include "core/async/async_object.hpp"
#include "core/async/value_label_item.hpp"
#include "core/buff/buff.hpp"

#include <atomic>
#include <complex>
#include <cstdint>

namespace ferrow {

// Created once by the host, on a context of its own; a second one takes the first one's place for the modes.
class Wireless : public asyncObject {
public:
    // Points of a microphone curve, 23.4375 Hz apart from 0.
    static constexpr std::size_t kEqPoints = 1024;
    // Lines of the curve that count.
    static constexpr std::size_t kEqLines = 9;

    explicit Wireless(const std::shared_ptr<syncTask>& context);
    ~Wireless() override;

    asyncCollection<ValueLabelItem> outputDevices;     // Value: device number
    asyncCollection<ValueLabelItem> inputDevices;      // Value: place in the provider's list
    asyncPersistantCollection<calibLine> DefaultMicEQ; // inp: Hz, outp: linear gain
    asyncEvent<buff<std::complex<float>>> PlotCplxF;   // may be bound; nothing sends it

    // Fills an empty DefaultMicEQ with the flat curve and watches its first nine lines. A list of fewer lines
    // is logged and left alone.
    void Init();

    // Rises by one whenever one of the first nine lines changes. Any thread.
    std::uint64_t micEqGeneration() const noexcept { return generation_.load(std::memory_order_acquire); }

    // The latest one, or null.
    static std::shared_ptr<Wireless> current();

    // Gains of this object's curve: linear interpolation between its lines, the last segment's slope going on
    // past the last line. All ones while there are fewer than nine lines. Any thread.
    buff<float> microphoneEq() const;

private:
    std::atomic<std::uint64_t> generation_{0};
};

// Gains of the current Wireless; all ones without one. Any thread.
buff<float> microphoneEq();

} // namespace ferrow
