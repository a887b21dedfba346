#include "host/audio_devices.hpp"

#include "host/failure.hpp"

#include <algorithm>
#include <charconv>
#include <ferrowcore/wireless.h>
#include <fmt/format.h>
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

bool has(const std::vector<AudioDevice>& devices, int value) {
    return std::any_of(devices.begin(), devices.end(),
                       [value](const AudioDevice& device) { return device.value == value; });
}

AudioChoice usable(const AudioChoice& choice, const std::vector<AudioDevice>& devices, const char* what) {
    using Kind = AudioChoice::Kind;
    if (choice.kind == Kind::Device && !has(devices, choice.device))
        throw UsageError(fmt::format("no {} device {}; see `ferrow devices`", what, choice.device));
    return choice.kind == Kind::Default && devices.size() < 2 ? AudioChoice{} : choice;
}

} // namespace

AudioChoice parseAudioChoice(const std::string& text) {
    if (text == "default")
        return {AudioChoice::Kind::Default, -1};
    if (text == "none")
        return {AudioChoice::Kind::None, -1};
    int value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || stop != text.data() + text.size())
        throw UsageError(
            fmt::format("\"{}\" is no device: give a number of `ferrow devices`, default or none", text));
    return {AudioChoice::Kind::Device, value};
}

AudioChoice AudioDevices::usableOutput(const AudioChoice& choice) const {
    return usable(choice, outputs, "output");
}

AudioChoice AudioDevices::usableInput(const AudioChoice& choice) const {
    return usable(choice, inputs, "input");
}

AudioDevices listAudioDevices(Library& library) {
    AudioDevices devices;
    devices.outputs = readList(library, Wireless_bindoutputDevices);
    devices.inputs = readList(library, Wireless_bindinputDevices);
    return devices;
}

} // namespace ferrow
