// The API's functions by their published names, and the stand-in's own control.
#include "sim/sdrplay/stand_in.hpp"

using namespace ferrow::sim::rsp;

#define RSP_API __attribute__((visibility("default")))

extern "C" {

RSP_API int sdrplay_api_Open();
RSP_API int sdrplay_api_Close();
RSP_API int sdrplay_api_ApiVersion(float* version);
RSP_API int sdrplay_api_LockDeviceApi();
RSP_API int sdrplay_api_UnlockDeviceApi();
RSP_API int sdrplay_api_GetDevices(DeviceT* devices, unsigned* count, unsigned most);
RSP_API int sdrplay_api_SelectDevice(DeviceT* device);
RSP_API int sdrplay_api_ReleaseDevice(DeviceT* device);
RSP_API const char* sdrplay_api_GetErrorString(int code);
RSP_API void* sdrplay_api_GetLastError(DeviceT* device);
RSP_API int sdrplay_api_DisableHeartbeat();
RSP_API int sdrplay_api_DebugEnable(void* dev, unsigned on);
RSP_API int sdrplay_api_GetDeviceParams(void* dev, DeviceParamsT** params);
RSP_API int sdrplay_api_Init(void* dev, CallbackFnsT* callbacks, void* context);
RSP_API int sdrplay_api_Uninit(void* dev);
RSP_API int sdrplay_api_Update(void* dev, int tuner, std::uint32_t reason, std::uint32_t extension);
RSP_API int sdrplay_api_SwapRspDuoActiveTuner();
RSP_API int sdrplay_api_SwapRspDuoDualTunerModeSampleRate();
RSP_API int sdrplay_api_SwapRspDuoMode();
RSP_API extern const Control* const ferrow_standin_control;

const Control* const ferrow_standin_control = &StandIn::control();

int sdrplay_api_Open() {
    return StandIn::instance().open();
}
int sdrplay_api_Close() {
    return StandIn::instance().close();
}
int sdrplay_api_ApiVersion(float* version) {
    return StandIn::instance().apiVersion(version);
}
int sdrplay_api_LockDeviceApi() {
    return StandIn::instance().lock();
}
int sdrplay_api_UnlockDeviceApi() {
    return StandIn::instance().unlock();
}
int sdrplay_api_GetDevices(DeviceT* devices, unsigned* count, unsigned most) {
    return StandIn::instance().getDevices(devices, count, most);
}
int sdrplay_api_SelectDevice(DeviceT* device) {
    return StandIn::instance().selectDevice(device);
}
int sdrplay_api_ReleaseDevice(DeviceT* device) {
    return StandIn::instance().releaseDevice(device);
}

const char* sdrplay_api_GetErrorString(int code) {
    switch (code) {
    case Success:
        return "sdrplay_api_Success";
    case Fail:
        return "sdrplay_api_Fail";
    case InvalidParam:
        return "sdrplay_api_InvalidParam";
    case OutOfRange:
        return "sdrplay_api_OutOfRange";
    case GainUpdateError:
        return "sdrplay_api_GainUpdateError";
    case RfUpdateError:
        return "sdrplay_api_RfUpdateError";
    case FsUpdateError:
        return "sdrplay_api_FsUpdateError";
    case HwError:
        return "sdrplay_api_HwError";
    case AlreadyInitialised:
        return "sdrplay_api_AlreadyInitialised";
    case NotInitialised:
        return "sdrplay_api_NotInitialised";
    case ServiceNotResponding:
        return "sdrplay_api_ServiceNotResponding";
    default:
        return "unknown error";
    }
}

void* sdrplay_api_GetLastError(DeviceT*) {
    return nullptr;
}
int sdrplay_api_DisableHeartbeat() {
    return Success;
}
int sdrplay_api_DebugEnable(void*, unsigned) {
    return Success;
}
int sdrplay_api_GetDeviceParams(void* dev, DeviceParamsT** params) {
    return StandIn::instance().getDeviceParams(dev, params);
}
int sdrplay_api_Init(void* dev, CallbackFnsT* callbacks, void* context) {
    return StandIn::instance().init(dev, callbacks, context);
}
int sdrplay_api_Uninit(void* dev) {
    return StandIn::instance().uninit(dev);
}
int sdrplay_api_Update(void* dev, int tuner, std::uint32_t reason, std::uint32_t extension) {
    return StandIn::instance().update(dev, tuner, reason, extension);
}
// Changes of tuner and mode while the device is selected: the library does not ask for them.
int sdrplay_api_SwapRspDuoActiveTuner() {
    return Fail;
}
int sdrplay_api_SwapRspDuoDualTunerModeSampleRate() {
    return Fail;
}
int sdrplay_api_SwapRspDuoMode() {
    return Fail;
}

} // extern "C"
