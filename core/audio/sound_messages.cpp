#include "core/audio/sound_messages.hpp"

#include "core/tasks/log.hpp"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>

namespace ferrow {

namespace {

// The handlers of the two libraries' published interfaces. Both come with PortAudio if at all: their headers
// and link lines would make them requirements of our own.
using AlsaHandler = void (*)(const char* file, int line, const char* function, int error, const char* format,
                             ...);
using JackHandler = void (*)(const char* message);

void onAlsaMessage(const char*, int, const char* function, int, const char* format, ...) {
    if (!logEnabled(LogLevel::Trace))
        return;
    std::array<char, 512> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    logTrace("alsa {}: {}", function, text.data());
}

void onJackMessage(const char* message) {
    logTrace("jack: {}", message);
}

template <class Function>
void handOver(const char* library, const char* name, Function handler) {
    void* loaded = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (loaded == nullptr)
        return;
    if (void* setter = dlsym(loaded, name))
        reinterpret_cast<void (*)(Function)>(setter)(handler);
    dlclose(loaded);
}

} // namespace

void takeSoundMessages() {
    handOver<AlsaHandler>("libasound.so.2", "snd_lib_error_set_handler", onAlsaMessage);
    handOver<JackHandler>("libjack.so.0", "jack_set_error_function", onJackMessage);
    handOver<JackHandler>("libjack.so.0", "jack_set_info_function", onJackMessage);
}

} // namespace ferrow
