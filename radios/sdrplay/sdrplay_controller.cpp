#include "radios/sdrplay/sdrplay_controller.hpp"

#include "core/tasks/log.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace ferrow {

namespace {

const char* suffixOf(int hwVer) {
    switch (hwVer) {
    case sdrplay::kRsp1:
        return "-RSP1";
    case sdrplay::kRsp1A:
        return "-RSP1A";
    case sdrplay::kRsp2:
        return "-RSP2";
    case sdrplay::kRspDuo:
        return "-RSPduo";
    case sdrplay::kRspDx:
        return "-RSPdx";
    default:
        return "";
    }
}

} // namespace

SDRPlayController::~SDRPlayController() {
    if (library_ && *library_)
        library_->api().Close();
}

bool SDRPlayController::passed(int code, fmt::format_string<const std::string&> text) const {
    if (code == sdrplay::kSuccess)
        return true;
    const std::string error = library_->errorString(code);
    logTrace(text, error);
    return false;
}

void SDRPlayController::Discover() {
    if (!library_ || !*library_)
        library_ = std::make_unique<SdrplayLibrary>(SdrplayLibrary::ofController());
    if (!*library_)
        return;
    const SdrplayFunctions& api = library_->api();
    if (!passed(api.Open(), "controller sdrplay_api_Open {}"))
        return;
    float version = 0;
    passed(api.ApiVersion(&version), "sdrplay_api_ApiVersion failed {}");
    if (version != sdrplay::kApiVersion) {
        logTrace("sdrplay API version don't match {} {}", sdrplay::kApiVersion, version);
        return;
    }
    api.LockDeviceApi();
    std::array<sdrplay::Device, sdrplay::kMaxDevices> devices{};
    unsigned count = 0;
    if (passed(api.GetDevices(devices.data(), &count, sdrplay::kMaxDevices), "sdrplay_api_GetDevices {}")) {
        for (unsigned i = 0; i < std::min(count, sdrplay::kMaxDevices); ++i) {
            const sdrplay::Device& device = devices[i];
            const int hwVer = device.hwVer;
            const std::string name =
                std::string(device.SerNo, strnlen(device.SerNo, sizeof(device.SerNo))) + suffixOf(hwVer);
            logTrace("sdrplay found hwVer {} {}", hwVer, name);
            newRadio.send(name);
        }
    }
    api.UnlockDeviceApi();
}

} // namespace ferrow
