#include "host/commands.hpp"
#include "host/failure.hpp"

#include <fmt/format.h>

namespace ferrow {

int runFerrow(int argc, const char* const* argv) {
    CLI::App program{
        "Receives and transmits amateur radio with HPSDR radios, and receives with SDRplay receivers and\n"
        "receivers behind a websocket",
        "ferrow"};
    program.require_subcommand(1);
    program.footer("ferrow COMMAND --help tells more.\n"
                   "Exit codes: 0 done, 1 something failed, 2 the command line is wrong.");
    Action chosen;
    addDiscoverCommand(program, chosen);
    addDevicesCommand(program, chosen);
    addListenCommand(program, chosen);
    addFt8Command(program, chosen);
    addTalkCommand(program, chosen);
    addTuneCommand(program, chosen);
    addTextCommand(program, chosen);
    addSendCommand(program, chosen);
    addServeCommand(program, chosen);
    addDenoiseCommand(program, chosen);
    addDemoCommand(program, chosen);
    addStressCommand(program, chosen);
    addLatencyCommand(program, chosen);
    try {
        program.parse(argc, argv);
        return chosen ? chosen() : kExitUsage;
    } catch (const CLI::ParseError& error) {
        const bool asked = error.get_exit_code() == 0; // --help
        program.exit(error);
        return asked ? kExitDone : kExitUsage;
    } catch (const UsageError& error) {
        fmt::print(stderr, "ferrow: {}\n", error.what());
        return kExitUsage;
    } catch (const std::exception& error) {
        fmt::print(stderr, "ferrow: {}\n", error.what());
        return kExitFailed;
    }
}

} // namespace ferrow
