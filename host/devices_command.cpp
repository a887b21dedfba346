#include "host/audio_devices.hpp"
#include "host/commands.hpp"
#include "host/failure.hpp"

#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

struct Options {
    LibraryOptions library;
    bool json = false;
};

void printTable(const char* title, const std::vector<AudioDevice>& devices) {
    fmt::print("{}\n", title);
    for (const AudioDevice& device : devices)
        fmt::print("{:>6}  {}\n", device.value, device.label);
}

nlohmann::json tableJson(const std::vector<AudioDevice>& devices) {
    nlohmann::json list = nlohmann::json::array();
    for (const AudioDevice& device : devices)
        list.push_back({{"value", device.value}, {"label", device.label}});
    return list;
}

int listDevices(const Options& options) {
    Library library(options.library);
    const AudioDevices devices = listAudioDevices(library);
    if (options.json) {
        const nlohmann::json all = {{"outputs", tableJson(devices.outputs)},
                                    {"inputs", tableJson(devices.inputs)}};
        fmt::print("{}\n", all.dump(2));
    } else {
        printTable("outputs (for --device; -L: low latency)", devices.outputs);
        printTable("inputs", devices.inputs);
    }
    return kExitDone;
}

} // namespace

void addDevicesCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("devices", "lists the sound devices");
    command->add_flag("--json", options->json, "print JSON");
    command->add_option("--log", options->library.logFile, "the library's log file");
    command->add_flag("--verbose", options->library.verbose, "log more, and show what sound drivers say");
    command->callback([options, &chosen] { chosen = [options] { return listDevices(*options); }; });
}

} // namespace ferrow
