#include "host/commands.hpp"
#include "host/discovery.hpp"
#include "host/failure.hpp"

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
};

void printTable(const std::vector<FoundRadio>& radios) {
    if (radios.empty()) {
        fmt::print("no radio answers\n");
        return;
    }
    fmt::print("{:<15}  {:<17}  {:<14}  {:<8}  {:>9}  {}\n", "address", "MAC", "board", "firmware",
               "receivers", "state");
    for (const FoundRadio& radio : radios)
        fmt::print("{:<15}  {:<17}  {:<14}  {:<8}  {:>9}  {}\n", radio.address, radio.macText(),
                   radio.boardName(), radio.firmwareText(), radio.receivers,
                   radio.running ? "running" : "idle");
}

void printJson(const std::vector<FoundRadio>& radios) {
    nlohmann::json list = nlohmann::json::array();
    for (const FoundRadio& radio : radios)
        list.push_back({{"address", radio.address},
                        {"mac", radio.macText()},
                        {"board", radio.boardName()},
                        {"board_id", radio.board},
                        {"firmware", radio.firmwareText()},
                        {"receivers", radio.receivers},
                        {"running", radio.running}});
    fmt::print("{}\n", list.dump(2));
}

int discover(Options options) {
    options.discovery.timeout = std::chrono::milliseconds(static_cast<int>(1000 * options.seconds));
    options.discovery.broadcast = !options.noBroadcast;
    if (options.noBroadcast && options.discovery.addresses.empty())
        throw UsageError("--no-broadcast leaves nobody to ask without an address");
    const auto radios = discoverRadios(options.discovery);
    if (options.json)
        printJson(radios);
    else
        printTable(radios);
    return kExitDone;
}

} // namespace

void addDiscoverCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("discover", "lists the radios that answer on the network");
    command->add_option("ADDRESS", options->discovery.addresses,
                        "ask these too, one by one: a broadcast does not reach other networks");
    command->add_option("--timeout", options->seconds, "seconds to wait for answers")
        ->check(CLI::Range(0.05, 60.0))
        ->capture_default_str();
    command->add_flag("--no-broadcast", options->noBroadcast, "ask the given addresses only");
    command->add_flag("--json", options->json, "print a JSON list");
    command->callback([options, &chosen] { chosen = [options] { return discover(*options); }; });
}

} // namespace ferrow
