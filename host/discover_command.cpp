#include "host/commands.hpp"
#include "host/discovery.hpp"
#include "host/failure.hpp"
#include "host/sdrplay_devices.hpp"

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

struct Options {
    DiscoveryOptions discovery;
    double seconds = 1;
    bool noBroadcast = false;
    bool json = false;
    bool verbose = false;
};

constexpr const char* kNothing = "-"; // in the table, where a kind of radio has no such thing

void printTable(const std::vector<FoundRadio>& radios) {
    if (radios.empty()) {
        fmt::print("no radio answers\n");
        return;
    }
    std::size_t width = 23; // of hpsdr2://255.255.255.255
    for (const FoundRadio& radio : radios)
        width = std::max(width, radio.url().size());
    fmt::print("{:<{}}  {:<17}  {:<14}  {:<8}  {:>9}  {}\n", "radio", width, "MAC", "board", "firmware",
               "receivers", "state");
    for (const FoundRadio& radio : radios) {
        const bool network = radio.kind != RadioKind::SdrPlay;
        fmt::print("{:<{}}  {:<17}  {:<14}  {:<8}  {:>9}  {}\n", radio.url(), width,
                   network ? radio.macText() : kNothing, radio.boardName(),
                   network ? radio.firmwareText() : kNothing, radio.receivers,
                   radio.running ? "running" : "idle");
    }
}

nlohmann::json toJson(const FoundRadio& radio) {
    const char* const kinds[] = {"hpsdr", "hpsdr2", "sdrplay", "ws"};
    nlohmann::json one = {{"url", radio.url()},
                          {"kind", kinds[static_cast<std::size_t>(radio.kind)]},
                          {"board", radio.boardName()},
                          {"receivers", radio.receivers},
                          {"running", radio.running}};
    if (radio.kind == RadioKind::SdrPlay) {
        one["serial"] = radio.address;
        return one;
    }
    one["address"] = radio.address;
    one["mac"] = radio.macText();
    one["board_id"] = radio.board;
    one["firmware"] = radio.firmwareText();
    return one;
}

void printJson(const std::vector<FoundRadio>& radios) {
    nlohmann::json list = nlohmann::json::array();
    for (const FoundRadio& radio : radios)
        list.push_back(toJson(radio));
    fmt::print("{}\n", list.dump(2));
}

// That no API is installed is nothing to tell, unless somebody has asked for one.
void tellOfApi(const SdrplayDevices& found, bool verbose) {
    const char* named = std::getenv("FERROW_SDRPLAY_LIBRARY");
    if (found.tried.empty() || (!verbose && (named == nullptr || *named == 0)))
        return;
    fmt::print(stderr, "ferrow: the SDRplay API library is not there; tried\n");
    for (const std::string& one : found.tried)
        fmt::print(stderr, "  {}\n", one);
}

void addSdrplayDevices(std::vector<FoundRadio>& radios, bool verbose) {
    LibraryOptions quiet;
    quiet.verbose = verbose;
    quiet.sound = quiet.keepLog = false;
    Library library(quiet);
    const SdrplayDevices found = findSdrplayDevices(library);
    tellOfApi(found, verbose);
    radios.insert(radios.end(), found.devices.begin(), found.devices.end());
}

int discover(Options options) {
    options.discovery.timeout = std::chrono::milliseconds(static_cast<int>(1000 * options.seconds));
    options.discovery.broadcast = !options.noBroadcast;
    if (options.noBroadcast && options.discovery.addresses.empty())
        throw UsageError("--no-broadcast leaves nobody to ask without an address");
    auto radios = discoverRadios(options.discovery);
    if (!options.noBroadcast)
        addSdrplayDevices(radios, options.verbose);
    if (options.json)
        printJson(radios);
    else
        printTable(radios);
    return kExitDone;
}

} // namespace

void addDiscoverCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "discover", "lists radios: those that answer on the network, and those that the SDRplay API knows");
    command->add_option("ADDRESS", options->discovery.addresses,
                        "ask these too, one by one: a broadcast does not reach other networks");
    command->add_option("--timeout", options->seconds, "seconds to wait for answers")
        ->check(CLI::Range(0.05, 60.0))
        ->capture_default_str();
    command->add_flag("--no-broadcast", options->noBroadcast,
                      "ask the given addresses only, and not the SDRplay API");
    command->add_flag("--json", options->json, "print a JSON list");
    command->add_flag("--verbose", options->verbose, "tell where the SDRplay API was looked for");
    command->footer(
        "What stands in the first column is for --radio. Receivers behind a websocket cannot be looked for.");
    command->callback([options, &chosen] { chosen = [options] { return discover(*options); }; });
}

} // namespace ferrow
