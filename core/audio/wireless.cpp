#include "core/audio/wireless.hpp"

#include "core/audio/audio_input.hpp"
#include "core/audio/audio_provider.hpp"
#include "core/tasks/log.hpp"

#include <array>
#include <mutex>
#include <utility>

namespace ferrow {

namespace {

constexpr double kPointSpacing = 24000.0 / Wireless::kEqPoints;

constexpr std::array<std::pair<double, double>, Wireless::kEqLines> kFlatCurve{
    {{0, 1}, {64, 1}, {128, 1}, {300, 1}, {600, 1}, {1200, 1}, {2400, 1}, {4800, 1}, {24000, 1}}};

// The latest object by address, as it publishes itself in its constructor. It stays until another one comes;
// looking at it takes a reference that fails once it has gone.
struct Current {
    std::mutex mutex;
    Wireless* object = nullptr;
};

Current& currentWireless() {
    static auto* current = new Current;
    return *current;
}

} // namespace

Wireless::Wireless(const std::shared_ptr<syncTask>& context)
    : asyncObject(std::make_shared<syncTask>(context->pool())) {
    {
        Current& current = currentWireless();
        const std::lock_guard lock(current.mutex);
        current.object = this;
    }
    const AudioProvider& devices = AudioProvider::instance();
    int place = 0;
    for (const auto& input : devices.inputDeviceList)
        inputDevices.add(std::make_shared<ValueLabelItem>(this->context(), place++, input->name()));
    for (const auto& output : devices.outputDeviceList)
        outputDevices.add(std::make_shared<ValueLabelItem>(this->context(), output.device, output.name));
}

Wireless::~Wireless() {
    Current& current = currentWireless();
    const std::lock_guard lock(current.mutex);
    if (current.object == this)
        current.object = nullptr;
}

void Wireless::Init() {
    if (DefaultMicEQ.items().empty())
        for (const auto& [frequency, gain] : kFlatCurve)
            DefaultMicEQ.add(std::make_shared<calibLine>(context(), frequency, gain));
    const auto& lines = DefaultMicEQ.items();
    if (lines.size() < kEqLines) {
        logError("Wireless.Init() DefaultMicEQ has {} lines instead of {}", lines.size(), kEqLines);
        return;
    }
    for (std::size_t i = 0; i < kEqLines; ++i) {
        if (!lines[i])
            continue;
        // The lines may outlive this object.
        const auto raise = [weak = weak_from_this()] {
            if (const auto self = weak.lock())
                static_cast<Wireless&>(*self).generation_.fetch_add(1, std::memory_order_acq_rel);
        };
        lines[i]->inp.changed = raise;
        lines[i]->outp.changed = raise;
    }
}

std::shared_ptr<Wireless> Wireless::current() {
    Current& current = currentWireless();
    const std::lock_guard lock(current.mutex);
    if (current.object == nullptr)
        return nullptr;
    return std::static_pointer_cast<Wireless>(current.object->weak_from_this().lock());
}

buff<float> Wireless::microphoneEq() const {
    const auto lines = DefaultMicEQ.copy();
    bool complete = lines.size() >= kEqLines;
    for (std::size_t i = 0; complete && i < kEqLines; ++i)
        complete = lines[i] != nullptr;
    if (!complete)
        return buff<float>(kEqPoints, 1.0f);
    const auto frequency = [&](std::size_t line) { return static_cast<float>(lines[line]->inp.value()); };
    const auto gain = [&](std::size_t line) { return static_cast<float>(lines[line]->outp.value()); };
    float x0 = 0, y0 = gain(0), x1 = frequency(1), y1 = gain(1);
    std::size_t next = 1;
    buff<float> out(kEqPoints);
    for (std::size_t n = 0; n < kEqPoints; ++n) {
        const double f = static_cast<double>(n) * kPointSpacing;
        while (f > x1 && next < kEqLines - 1) {
            ++next;
            x0 = x1;
            y0 = y1;
            x1 = frequency(next);
            y1 = gain(next);
        }
        out[n] = static_cast<float>((f - x0) / (x1 - x0) * (y1 - y0) + y0);
    }
    return out;
}

buff<float> microphoneEq() {
    const auto application = Wireless::current();
    return application ? application->microphoneEq() : buff<float>(Wireless::kEqPoints, 1.0f);
}

} // namespace ferrow
