#include "sim/sdrplay/environment.hpp"

#include "sim/radio/pacer.hpp"
#include "sim/scene/build_sky.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fftw3.h>
#include <iterator>
#include <sstream>
#include <string>

namespace ferrow::sim::rsp {

namespace {

struct ModelName {
    const char* name;
    HwVersion hwVer;
};
constexpr ModelName kModels[] = {
    {"RSP1", Rsp1}, {"RSP1A", Rsp1A}, {"RSP2", Rsp2}, {"RSPduo", RspDuo}, {"RSPdx", RspDx}};

template <class Take>
void eachPair(const char* variable, const char* otherwise, Take take) {
    const char* text = std::getenv(variable);
    std::istringstream items(text != nullptr ? text : otherwise);
    for (std::string item; std::getline(items, item, ',');) {
        const std::size_t colon = item.find(':');
        if (colon == std::string::npos || !take(item.substr(0, colon), item.substr(colon + 1)))
            std::fprintf(stderr, "%s: '%s' cannot be read\n", variable, item.c_str());
    }
}

bool readNumber(const std::string& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == 0;
}

} // namespace

std::vector<DeviceEntry> devicesFromEnvironment() {
    std::vector<DeviceEntry> entries;
    eachPair("FERROW_STANDIN_DEVICES", "RSP1:F0001,RSP1A:F0002,RSP2:F0003,RSPduo:F0004,RSPdx:F0005",
             [&](const std::string& model, const std::string& serial) {
                 for (const ModelName& known : kModels)
                     if (model == known.name && serial.size() < sizeof(DeviceEntry::serial)) {
                         DeviceEntry entry{};
                         std::memcpy(entry.serial, serial.data(), serial.size());
                         entry.hwVer = known.hwVer;
                         entries.push_back(entry);
                         return true;
                     }
                 return false;
             });
    return entries;
}

std::vector<CarrierEntry> carriersFromEnvironment() {
    std::vector<CarrierEntry> entries;
    eachPair("FERROW_STANDIN_CARRIERS", "7050700:-70,7051900:-70",
             [&](const std::string& frequency, const std::string& level) {
                 CarrierEntry entry{};
                 if (!readNumber(frequency, entry.frequency) || !readNumber(level, entry.level))
                     return false;
                 entries.push_back(entry);
                 return true;
             });
    return entries;
}

namespace {

double numberOf(const char* variable) {
    const char* text = std::getenv(variable);
    double value = 0.0;
    if (text != nullptr && *text != 0 && !readNumber(text, value))
        std::fprintf(stderr, "%s: '%s' is no number\n", variable, text);
    return value;
}

const char* sceneName() {
    const char* name = std::getenv("FERROW_STANDIN_SCENE");
    return name != nullptr && *name != 0 ? name : nullptr;
}

} // namespace

std::unique_ptr<SkySource> skyFromEnvironment() {
    if (sceneName() == nullptr)
        return nullptr;
    setUtcOffset(numberOf("FERROW_STANDIN_UTC_OFFSET"));
    // Copies of this library may share the transforms' one with whoever loaded them.
    fftwf_make_planner_thread_safe();
    return std::make_unique<SkySource>(buildSky(loadScene(sceneName())).sky, clockPpmFromEnvironment());
}

bool sceneInEnvironment() {
    return sceneName() != nullptr;
}

double clockPpmFromEnvironment() {
    return numberOf("FERROW_STANDIN_CLOCK_PPM");
}

double unplugFromEnvironment() {
    return numberOf("FERROW_STANDIN_UNPLUG");
}

} // namespace ferrow::sim::rsp
