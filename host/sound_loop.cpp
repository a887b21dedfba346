#include "host/sound_loop.hpp"

#include "host/failure.hpp"

#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <unistd.h>

namespace ferrow {
namespace {

constexpr const char* kWhatItTakes =
    "a sound file as microphone takes a PulseAudio server (or PipeWire's) and the programs pactl and paplay";

} // namespace

SoundLoop::SoundLoop(std::string file)
    : file_(std::move(file)), control_(programOnPath("pactl")), player_(programOnPath("paplay")),
      sink_(fmt::format("ferrow_{}", getpid())) {
    if (!std::ifstream(file_))
        throw Failure(fmt::format("cannot read {}", file_));
    if (control_.empty() || player_.empty())
        throw Failure(
            fmt::format("{}; {} is not in $PATH", kWhatItTakes, control_.empty() ? "pactl" : "paplay"));
    try {
        module_ = outputOf(control_,
                           {"load-module", "module-null-sink", "sink_name=" + sink_, "rate=48000",
                            "channels=1", "format=float32le", "sink_properties=device.description=" + sink_});
    } catch (const Failure&) {
        throw Failure(fmt::format("{}; no server answers", kWhatItTakes));
    }
    while (!module_.empty() && module_.back() == '\n')
        module_.pop_back();
    setenv("PULSE_SOURCE", (sink_ + ".monitor").c_str(), 1);
}

SoundLoop::~SoundLoop() {
    playing_.reset();
    try {
        outputOf(control_, {"unload-module", module_});
    } catch (const Failure&) {
        fmt::print(stderr, "ferrow: the sink {} is left in the sound server\n", sink_);
    }
}

int SoundLoop::input(const AudioDevices& devices) const {
    for (const char* name : {"pulse", "default"})
        for (const AudioDevice& device : devices.inputs)
            if (device.label == name)
                return device.value;
    throw Failure(fmt::format("{}; no input device \"pulse\" or \"default\" leads there: is the package "
                              "libasound2-plugins installed?",
                              kWhatItTakes));
}

void SoundLoop::play() {
    playing_.emplace(player_, std::vector<std::string>{"--device=" + sink_, "--latency-msec=50", file_});
}

bool SoundLoop::playing() {
    return playing_ && playing_->running();
}

} // namespace ferrow
