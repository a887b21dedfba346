// The vendor's API library, found and loaded at run time: the core builds, loads and works without it.
#pragma once

#include "radios/sdrplay/sdrplay_records.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace ferrow {

// The library's functions, by their names without "sdrplay_api_". Each but GetErrorString and GetLastError
// returns an error code, 0 for success.
struct SdrplayFunctions {
    int (*Open)();
    int (*Close)();
    int (*ApiVersion)(float* version);
    int (*LockDeviceApi)();
    int (*UnlockDeviceApi)();
    int (*GetDevices)(sdrplay::Device* devices, unsigned* count, unsigned most);
    int (*SelectDevice)(sdrplay::Device* device);
    int (*ReleaseDevice)(sdrplay::Device* device);
    const char* (*GetErrorString)(int code);
    int (*GetDeviceParams)(void* dev, sdrplay::DeviceParams** params);
    int (*Init)(void* dev, sdrplay::CallbackFns* callbacks, void* context);
    int (*Uninit)(void* dev);
    int (*Update)(void* dev, int tuner, std::uint32_t reason, std::uint32_t extension);
    // Looked up, so that a library without them is refused; never called.
    void* GetLastError;
    void* DisableHeartbeat;
    void* DebugEnable;
    void* SwapRspDuoActiveTuner;
    void* SwapRspDuoDualTunerModeSampleRate;
    void* SwapRspDuoMode;
};

// A file to try, and whether its state is to be this holder's alone.
struct SdrplayCandidate {
    std::string file; // a path, or a soname for the system to find
    bool ownCopy;
};

// Loaded from the first candidate that can be, or empty. Released with the object.
class SdrplayLibrary {
public:
    // Names a library file that is then the only one tried, by radios and controllers.
    static constexpr const char* kVariable = "FERROW_SDRPLAY_LIBRARY";
    static constexpr const char* kSoname = "libsdrplay_api.so.3";

    // For the radio made after `before` others in this process: the file of its own, then a copy of the
    // system's library. None for the eighth and later ones.
    static std::vector<SdrplayCandidate> ofRadio(int before);
    // The system's library as it is.
    static std::vector<SdrplayCandidate> ofController();

    SdrplayLibrary() = default;
    // Logs what was tried if all fail.
    explicit SdrplayLibrary(const std::vector<SdrplayCandidate>& candidates);
    SdrplayLibrary(const SdrplayLibrary&) = delete;
    SdrplayLibrary& operator=(const SdrplayLibrary&) = delete;
    ~SdrplayLibrary();

    explicit operator bool() const noexcept { return handle_ != nullptr; }
    const SdrplayFunctions& api() const noexcept { return functions_; }
    std::string errorString(int code) const;
    // Any symbol of the library; null if it has none of that name.
    void* find(const char* name) const noexcept;

    // Leaves the library loaded for good: its threads may still run.
    void abandon() noexcept;

private:
    void release() noexcept;
    bool lookUp();

    void* handle_ = nullptr;
    int copy_ = -1; // descriptor of a copy of the file; open as long as that is loaded
    SdrplayFunctions functions_{};
};

} // namespace ferrow
