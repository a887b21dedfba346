#include "sim/options.hpp"

#include "sim/wire/protocol2.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace ferrow::sim {
namespace {

std::array<std::uint8_t, 6> parseMac(const std::string& text) {
    std::array<unsigned, 6> parts{};
    char rest = 0;
    const int got = std::sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &parts[0], &parts[1], &parts[2],
                                &parts[3], &parts[4], &parts[5], &rest);
    if (got != 6)
        throw CLI::ValidationError("--mac", "\"" + text + "\" is not of the form 00:1c:c0:a2:00:01");
    std::array<std::uint8_t, 6> mac;
    for (std::size_t i = 0; i < 6; ++i)
        mac[i] = static_cast<std::uint8_t>(parts[i]);
    return mac;
}

/// What differs where the radio is one of protocol 2.
void adaptToProtocol2(const CLI::App& app, RadioSettings& radio, int receivers) {
    for (const char* option : {"--tx-record", "--tx-all"})
        if (app.count(option) != 0)
            throw CLI::ValidationError(option, "a radio of protocol 2 only receives");
    if (receivers > p2::kMaxReceivers)
        throw CLI::ValidationError(
            "--receivers", fmt::format("a radio of protocol 2 has at most {} receivers", p2::kMaxReceivers));
    const Identity usual = p2::usualIdentity();
    if (app.count("--receivers") == 0)
        radio.identity.hardwareReceivers = usual.hardwareReceivers;
    if (app.count("--board-id") == 0)
        radio.identity.boardId = usual.boardId;
    if (app.count("--firmware") == 0)
        radio.identity.firmware = usual.firmware;
    if (app.count("--adc-bits") == 0)
        radio.scale.adcBits = 16;
}

/// Takes over from the radio's settings what counts for a websocket too.
proxy::ServerSettings websocketSettings(const std::string& place, const RadioSettings& radio) {
    proxy::ServerSettings settings;
    settings.clockPpm = radio.clockPpm;
    settings.silent = radio.silent;
    settings.seed = radio.seed;
    try {
        if (!place.empty())
            parsePlace(place, settings);
        proxy::checkFaults(radio.faults);
    } catch (const std::invalid_argument& error) {
        throw CLI::ValidationError("--websocket", error.what());
    }
    return settings;
}

} // namespace

int parseOptions(int argc, const char* const* argv, Options& options) {
    CLI::App app{"A simulated HPSDR radio on a loopback address, with a sky to hear", "ferrow-sim"};
    app.footer("Faults: KIND[:key=value,...], kinds loss duplicate reorder jitter stall restart garbage\n"
               "wrong-endpoint short; keys p every start end ms depth bytes endpoint drop.\n"
               "Exit codes: 0 done, 2 wrong option or scene, 3 socket or file cannot be opened.");
    RadioSettings& radio = options.radio;
    std::string mac;
    int boardId = radio.identity.boardId;
    int firmware = radio.identity.firmware;
    int receivers = radio.identity.hardwareReceivers;
    app.add_option("--protocol", options.protocol, "of HPSDR: 1, or 2 (the new one)")
        ->check(CLI::IsMember({1, 2}))
        ->capture_default_str();
    app.add_option("--address", options.addresses, "IPv4 address; repeat it for several radios (127.0.0.1)");
    app.add_option("--port", radio.port, "UDP port")->check(CLI::Range(1, 65535))->capture_default_str();
    std::string place;
    CLI::Option* websocket =
        app.add_option("--websocket", place,
                       "serve receivers at 48 kHz over websockets in place of radios, at HOST[:PORT][/PATH] "
                       "(127.0.0.1:4810/iq; port 0: a free one)")
            ->expected(0, 1)
            ->excludes("--address")
            ->excludes("--protocol");
    rsp::LaunchSettings sdrplay;
    bool runProgram = false;
    CLI::Option* launch =
        app.add_flag("--sdrplay", runProgram,
                     "run PROGRAM with a stand-in for the SDRplay API in place of radios, or print the "
                     "environment for it; with --duration the device is removed then")
            ->excludes("--address")
            ->excludes("--protocol")
            ->excludes(websocket);
    app.add_option("--devices", sdrplay.devices,
                   "MODEL:SERIAL,... that the stand-in knows (one of each model)")
        ->needs(launch);
    app.add_option("--sdrplay-record", sdrplay.recordFile, "append a JSON line for each call of the API")
        ->needs(launch);
    app.add_option("PROGRAM", options.program, "with its arguments, behind --")->needs(launch);
    app.add_option("--scene", options.scene, "scene file, or builtin")->capture_default_str();
    app.add_flag("--list-scene", options.listScene, "print the scene's stations as JSON and end");
    app.add_option("--write-sources", options.writeSources,
                   "write the audio that the stations send to this folder and end");
    app.add_option("--clock-ppm", radio.clockPpm, "error of the radio's clock")
        ->check(CLI::Range(-1000.0, 1000.0));
    app.add_option("--utc-offset", options.utcOffset,
                   "seconds that the sky's clock is ahead of the machine's");
    app.add_flag("--silent", radio.silent, "answer discovery but never stream");
    app.add_flag("--fixed-gain", radio.fixedGain, "the host's RF gain does not change the level");
    app.add_option("--adc-bits", radio.scale.adcBits, "bits of the ADC")
        ->check(CLI::Range(8, 16))
        ->capture_default_str();
    app.add_option("--wideband-rate", radio.widebandRate, "wideband snapshots a second")
        ->check(CLI::Range(0.0, 1000.0))
        ->capture_default_str();
    app.add_option("--watchdog", radio.watchdogSeconds,
                   "seconds without a data packet that stop the stream; 0 never")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    app.add_option("--burst-ms", radio.burstMs, "packets of so much time leave together")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
    app.add_option("--fault", options.faults, "a fault to order, may be repeated; see below");
    app.add_option("--fault-seed", radio.seed, "seed of the faults")->capture_default_str();
    app.add_option("--mac", mac, "hardware address of the first radio");
    app.add_option("--board-id", boardId, "board type in the discovery reply")
        ->check(CLI::Range(0, 255))
        ->capture_default_str();
    app.add_option("--firmware", firmware, "firmware version")
        ->check(CLI::Range(0, 255))
        ->capture_default_str();
    app.add_option("--receivers", receivers, "number of receivers that discovery tells of")
        ->check(CLI::Range(1, kMaxReceivers))
        ->capture_default_str();
    app.add_option("--tx-record", radio.txRecord,
                   "record what the host transmits as NAME.wav and NAME.csv (several radios: NAME.1, ...)");
    app.add_flag("--tx-all", radio.txAll, "record packets without ptt too");
    app.add_option("--control-trace", options.traceFile, "record every control frame, a JSON line each");
    app.add_option("--stats", options.statsFile, "write statistics here at the end and on SIGUSR1");
    app.add_option("--duration", options.duration, "seconds to run; 0: until SIGINT or SIGTERM")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--ready-fd", options.readyFd, "write the ready lines to this descriptor too");
    app.add_flag("--die-with-parent", options.dieWithParent, "end when the starting process does");
    app.add_flag("--quiet", options.quiet, "no ready lines on stdout");
    try {
        app.parse(argc, argv);
        radio.identity.boardId = static_cast<std::uint8_t>(boardId);
        radio.identity.firmware = static_cast<std::uint8_t>(firmware);
        radio.identity.hardwareReceivers = static_cast<std::uint8_t>(receivers);
        if (options.protocol == 2)
            adaptToProtocol2(app, radio, app.count("--receivers") ? receivers : 1);
        if (!mac.empty())
            radio.identity.mac = parseMac(mac);
        for (const std::string& fault : options.faults) {
            try {
                radio.faults.push_back(parseFault(fault));
            } catch (const std::invalid_argument& error) {
                throw CLI::ValidationError("--fault", error.what());
            }
        }
        if (*launch) {
            if (!radio.faults.empty())
                throw CLI::ValidationError("--fault", "the stand-in for the SDRplay API has none");
            sdrplay.scene = options.scene;
            sdrplay.clockPpm = radio.clockPpm;
            sdrplay.utcOffset = options.utcOffset;
            sdrplay.unplugAfter = options.duration;
            options.sdrplay = sdrplay;
        }
        if (*websocket)
            options.websocket = websocketSettings(place, radio);
    } catch (const CLI::ParseError& error) {
        const bool help = error.get_exit_code() == 0;
        app.exit(error);
        return help ? 0 : 2;
    }
    if (options.addresses.empty())
        options.addresses = {"127.0.0.1"};
    return -1;
}

} // namespace ferrow::sim
