#include "radios/sdrplay/sdrplay_library.hpp"

#include "core/tasks/log.hpp"

#include <array>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

namespace ferrow {

namespace {

constexpr int kFirstWithout = 7; // as many radios before: no file is left
constexpr int kFlags = RTLD_NOW | RTLD_LOCAL;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kNamespaces = false; // a second copy of the sanitizer's runtime would come along
#else
constexpr bool kNamespaces = true;
#endif

std::vector<SdrplayCandidate> fromEnvironment(bool ownCopy) {
    const char* file = std::getenv(SdrplayLibrary::kVariable);
    if (file == nullptr || *file == 0)
        return {};
    return {{file, ownCopy}};
}

std::string loaderError() {
    const char* text = dlerror();
    return text != nullptr ? text : "unknown error";
}

// The file that the system finds for a name without a folder; empty if it finds none.
std::string pathOf(const std::string& name) {
    if (name.find('/') != std::string::npos)
        return name;
    void* handle = dlopen(name.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (handle == nullptr)
        return {};
    std::string path;
    link_map* map = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map != nullptr && map->l_name != nullptr)
        path = map->l_name;
    dlclose(handle);
    return path;
}

bool copyInto(int target, int source) {
    std::array<char, 65536> block{};
    for (;;) {
        const ssize_t count = read(source, block.data(), block.size());
        if (count <= 0)
            return count == 0;
        for (ssize_t done = 0; done < count;) {
            const ssize_t written =
                write(target, block.data() + done, static_cast<std::size_t>(count - done));
            if (written <= 0)
                return false;
            done += written;
        }
    }
}

// A copy of the file in memory, under a name that nothing else is loaded by. -1 if there is no such file.
int copyOf(const std::string& name) {
    const std::string path = pathOf(name);
    const int source = path.empty() ? -1 : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (source < 0)
        return -1;
    int copy = memfd_create("sdrplay_api", MFD_CLOEXEC);
    if (copy >= 0 && !copyInto(copy, source)) {
        close(copy);
        copy = -1;
    }
    close(source);
    return copy;
}

// The loaded library, with `copy` the descriptor to keep, if any; or null with the reason in `error`.
void* load(const SdrplayCandidate& candidate, int& copy, std::string& error) {
    if (!candidate.ownCopy) {
        void* handle = dlopen(candidate.file.c_str(), kFlags);
        if (handle == nullptr)
            error = loaderError();
        return handle;
    }
    if constexpr (kNamespaces) {
        if (void* handle = dlmopen(LM_ID_NEWLM, candidate.file.c_str(), kFlags))
            return handle;
        error = loaderError();
    }
    // The system has few namespaces. A copy of the file has variables of its own as well.
    copy = copyOf(candidate.file);
    if (copy < 0) {
        if (error.empty())
            error = "no such file";
        return nullptr;
    }
    void* handle = dlopen(fmt::format("/proc/self/fd/{}", copy).c_str(), kFlags);
    if (handle == nullptr) {
        error = loaderError();
        close(copy);
        copy = -1;
    }
    return handle;
}

} // namespace

std::vector<SdrplayCandidate> SdrplayLibrary::ofRadio(int before) {
    if (before < 0 || before >= kFirstWithout)
        return {};
    if (auto chosen = fromEnvironment(true); !chosen.empty())
        return chosen;
    const int number = before <= 1 ? 1 : before;
    return {{fmt::format("sdrplay/libsdrplay_api_i{}.so", number), false}, {kSoname, true}};
}

std::vector<SdrplayCandidate> SdrplayLibrary::ofController() {
    if (auto chosen = fromEnvironment(false); !chosen.empty())
        return chosen;
    return {{kSoname, false}};
}

SdrplayLibrary::SdrplayLibrary(const std::vector<SdrplayCandidate>& candidates) {
    std::vector<std::string> tried;
    for (const SdrplayCandidate& candidate : candidates) {
        std::string error;
        handle_ = load(candidate, copy_, error);
        if (handle_ != nullptr)
            break;
        tried.push_back(fmt::format("{}: {}", candidate.file, error));
    }
    if (handle_ == nullptr) {
        logError("sdrplay failed to load dll");
        for (const std::string& attempt : tried)
            logError("sdrplay tried {}", attempt);
        if (tried.empty())
            logError("sdrplay has no library left for a further radio");
        return;
    }
    if (!lookUp()) {
        logError("sdrplay failed to load functions");
        release();
        return;
    }
    logInfo("sdrplay dll loaded");
}

SdrplayLibrary::~SdrplayLibrary() {
    release();
}

bool SdrplayLibrary::lookUp() {
    bool complete = true;
    const auto take = [&](auto& function, const char* name) {
        void* symbol = dlsym(handle_, name);
        if (symbol == nullptr) {
            logError("sdrplay has no function {}", name);
            complete = false;
        }
        function = reinterpret_cast<std::decay_t<decltype(function)>>(symbol);
    };
    take(functions_.Open, "sdrplay_api_Open");
    take(functions_.Close, "sdrplay_api_Close");
    take(functions_.ApiVersion, "sdrplay_api_ApiVersion");
    take(functions_.LockDeviceApi, "sdrplay_api_LockDeviceApi");
    take(functions_.UnlockDeviceApi, "sdrplay_api_UnlockDeviceApi");
    take(functions_.GetDevices, "sdrplay_api_GetDevices");
    take(functions_.SelectDevice, "sdrplay_api_SelectDevice");
    take(functions_.ReleaseDevice, "sdrplay_api_ReleaseDevice");
    take(functions_.GetErrorString, "sdrplay_api_GetErrorString");
    take(functions_.GetLastError, "sdrplay_api_GetLastError");
    take(functions_.DisableHeartbeat, "sdrplay_api_DisableHeartbeat");
    take(functions_.DebugEnable, "sdrplay_api_DebugEnable");
    take(functions_.GetDeviceParams, "sdrplay_api_GetDeviceParams");
    take(functions_.Init, "sdrplay_api_Init");
    take(functions_.Uninit, "sdrplay_api_Uninit");
    take(functions_.Update, "sdrplay_api_Update");
    take(functions_.SwapRspDuoActiveTuner, "sdrplay_api_SwapRspDuoActiveTuner");
    take(functions_.SwapRspDuoDualTunerModeSampleRate, "sdrplay_api_SwapRspDuoDualTunerModeSampleRate");
    take(functions_.SwapRspDuoMode, "sdrplay_api_SwapRspDuoMode");
    return complete;
}

std::string SdrplayLibrary::errorString(int code) const {
    const char* text = handle_ != nullptr ? functions_.GetErrorString(code) : nullptr;
    return text != nullptr ? text : fmt::format("error {}", code);
}

void* SdrplayLibrary::find(const char* name) const noexcept {
    return handle_ != nullptr ? dlsym(handle_, name) : nullptr;
}

void SdrplayLibrary::abandon() noexcept {
    handle_ = nullptr;
    copy_ = -1;
}

void SdrplayLibrary::release() noexcept {
    if (handle_ != nullptr)
        dlclose(handle_);
    if (copy_ >= 0)
        close(copy_);
    abandon();
}

} // namespace ferrow
