#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/radio_options.hpp"
#include "host/serve/server.hpp"
#include "host/serve/station.hpp"
#include "host/transmit_options.hpp"

#include <fmt/format.h>
#include <memory>
#include <unistd.h>

namespace ferrow {
namespace {

struct Options {
    RadioArguments radio;
    TransmitArguments arguments;
    std::string listen = "127.0.0.1:8073", token;
    std::vector<std::string> names;
    int listeners = 32, transceivers = 4;
    double limit = 180;
    bool transmit = false;
    NeighbourOptions neighbours;
    double s9 = -73;
};

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::milliseconds(static_cast<long long>(1000 * seconds));
}

serve::ServerOptions serverOptions(const Options& options) {
    serve::ServerOptions server;
    server.listen = serve::parseListenAddress(options.listen);
    server.token = options.token;
    server.names = options.names;
    server.mostListeners = options.listeners;
    if (!server.listen.loopback() && server.token.empty())
        server.token = serve::makeToken();
    return server;
}

// What the library prints on the standard output (text of RTTY) is not ours to show.
void closeStdout() {
    std::fflush(stdout);
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        std::fclose(stdout);
}

int serveRadio(const Options& options) {
    const serve::ServerOptions serverChoice = serverOptions(options);
    const RadioAddress address = options.radio.address(options.transmit);
    const FoundRadio found = findRadio(address);
    std::optional<TransmitGuard> guard;
    if (options.transmit)
        guard.emplace(found.address, options.arguments.watchdog());
    Library library(options.radio.library);
    watchInterrupts();
    serve::StationDoor door;
    serve::Traffic traffic;
    serve::StationOptions stationOptions;
    stationOptions.address = address;
    stationOptions.radio = options.radio.session();
    stationOptions.power = options.arguments.power;
    stationOptions.limits.longest = milliseconds(options.limit);
    stationOptions.mostTransceivers = options.transceivers;
    stationOptions.neighbours = options.neighbours;
    stationOptions.s9 = options.s9;
    serve::Station station(library, found, stationOptions, guard ? &*guard : nullptr, door, traffic);
    station.awaitRadio();
    const serve::Server server(serverChoice, door, traffic);
    if (!serverChoice.listen.loopback())
        fmt::print(stderr,
                   "ferrow: {} can be reached from the network; who knows the token may listen{}. What is "
                   "sent is not encrypted.\n",
                   options.listen, options.transmit ? " and transmit" : "");
    fmt::print("ready {}\n", server.url());
    closeStdout();
    station.run();
    return kExitDone;
}

} // namespace

void addServeCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "serve", "serves the radio to web browsers: spectrum, sound, digital modes, for many listeners");
    command->footer("Prints \"ready http://ADDRESS:PORT/\" once the page is there. Ctrl-C ends it.");
    addRadioArguments(*command, options->radio)->required();
    command
        ->add_option(
            "--listen", options->listen,
            "ADDRESS:PORT; port 0: a free one. Any address but one of 127.0.0.0/8 or [::1] opens the "
            "radio to others, and takes a token")
        ->capture_default_str();
    command->add_option(
        "--token", options->token,
        "what /?token=... must say; made up and printed where one is needed and none is given");
    command->add_option(
        "--host-name", options->names,
        "another name that browsers reach this server by, as through a proxy; may be repeated");
    command->add_option("--listeners", options->listeners, "at most so many at once")
        ->check(CLI::Range(1, 32))
        ->capture_default_str();
    command->add_option("--transceivers", options->transceivers, "of each listener at most")
        ->check(CLI::Range(1, 4))
        ->capture_default_str();
    CLI::Option* transmit =
        command->add_flag("--transmit", options->transmit, "lets listeners transmit, one at a time");
    command->add_option("--limit", options->limit, "seconds that a transmission may last")
        ->check(CLI::Range(1.0, 3600.0))
        ->capture_default_str()
        ->needs(transmit);
    addTransmitArguments(*command, options->arguments)->needs(transmit);
    addNeighbourOptions(*command, options->neighbours);
    command->add_option("--s9", options->s9, "level in dB that reads as S9, for rig control")
        ->capture_default_str();
    command->callback([options, &chosen] { chosen = [options] { return serveRadio(*options); }; });
}

} // namespace ferrow
