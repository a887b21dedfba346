#include "host/audio_devices.hpp"

#include <algorithm>
#include <ferrowcore/wireless.h>
#include <memory>

namespace ferrow {
namespace {

using namespace std::chrono_literals;

using ListBinder = void (*)(void*, ferrow_list_callback);

// What the callbacks write; they keep it, since they stay bound to the items.
struct Reading {
    std::vector<Object> items;
    std::vector<AudioDevice> devices;
    std::size_t labels = 0;
    bool answered = false;
};

std::vector<AudioDevice> readList(Library& library, ListBinder binder) {
    const auto reading = std::make_shared<Reading>();
    Object& wireless = library.wireless();
    wireless.bind(binder, [reading](unsigned long long operation, unsigned long long, void* item) {
        if (operation == ferrow_list_append)
            reading->items.emplace_back(item);
    });
    // The answer to a ping comes behind what was told before it.
    wireless.bind(asyncObject_bindEcho, [reading](int) { reading->answered = true; });
    asyncObject_Ping(wireless.get(), 1);
    library.pumpUntil([&] { return reading->answered; }, 2s);
    binder(wireless.get(), nullptr);

    reading->devices.resize(reading->items.size());
    for (std::size_t i = 0; i < reading->items.size(); ++i) {
        Object& item = reading->items[i];
        item.bind(ValueLabelItem_bindValue, [reading, i](int value) { reading->devices[i].value = value; });
        item.bind(ValueLabelItem_bindLabel, [reading, i](const char* text) {
            reading->devices[i].label = text;
            ++reading->labels;
        });
    }
    library.pumpUntil([&] { return reading->labels >= reading->items.size(); }, 2s);
    reading->items.clear();
    return reading->devices;
}

} // namespace

bool AudioDevices::hasOutput(int value) const {
    return std::any_of(outputs.begin(), outputs.end(),
                       [value](const AudioDevice& device) { return device.value == value; });
}

AudioDevices listAudioDevices(Library& library) {
    AudioDevices devices;
    devices.outputs = readList(library, Wireless_bindoutputDevices);
    devices.inputs = readList(library, Wireless_bindinputDevices);
    return devices;
}

} // namespace ferrow
