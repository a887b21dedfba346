#include "host/neighbours/neighbours.hpp"

#include "host/failure.hpp"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>

namespace ferrow {
namespace {

constexpr const char* kPlaceName = "[ADDRESS:PORT]";

// An option whose value may be left out.
void addPlace(CLI::App& command, const char* name, std::optional<std::string>& place,
              const std::string& help) {
    const auto read = [&place, name](const CLI::results_t& words) {
        place = words.empty() ? "" : words[0];
        parseEndpoint(*place, {}, name); // what cannot be read ends here
        return true;
    };
    command.add_option(name, read, help)->type_name(kPlaceName)->expected(0, 1);
}

bool isGrid(const std::string& text) {
    const auto within = [](char c, char first, char last) {
        const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return upper >= first && upper <= last;
    };
    constexpr const char* kLimits[] = {"AR", "AR", "09", "09", "AX", "AX", "09", "09"};
    if (text.size() < 4 || text.size() > std::size(kLimits) || text.size() % 2 != 0)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (!within(text[i], kLimits[i][0], kLimits[i][1]))
            return false;
    return true;
}

bool isCall(const std::string& text) {
    return text.size() >= 3 && std::all_of(text.begin(), text.end(), [](char c) {
               return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '/';
           });
}

} // namespace

void addRigctlOptions(CLI::App& command, NeighbourOptions& options) {
    addPlace(command, "--rigctl", options.rigctl,
             fmt::format(
                 "serve rig control, as rigctld does, to programs that speak with one (model 2 of Hamlib); "
                 "127.0.0.1:{} if no place is given",
                 kRigPort));
    command.add_flag("--rigctl-vfo", options.rigctlVfo,
                     "have rig-control clients name the VFO in each command, as rigctld --vfo does");
}

void addNeighbourOptions(CLI::App& command, NeighbourOptions& options) {
    addRigctlOptions(command, options);
    addPlace(command, "--wsjtx", options.wsjtx,
             fmt::format(
                 "tell a logger or map of decodes and contacts, in the messages of WSJT-X; 127.0.0.1:{} if "
                 "no place is given",
                 kWsjtxPort));
    command.add_option("--adif", options.adif, "add contacts to this log, in ADIF")->type_name("FILE");
    command.add_option("--call", options.call, "call sign of this station")
        ->check(
            [](const std::string& text) { return isCall(text) ? "" : "\"" + text + "\" is no call sign"; });
    command.add_option("--grid", options.grid, "locator of this station, such as FN42")
        ->check([](const std::string& text) { return isGrid(text) ? "" : "\"" + text + "\" is no locator"; });
}

Neighbours::Neighbours(boost::asio::io_context& io, RigPort& port, const NeighbourOptions& options)
    : call_(options.call), grid_(options.grid) {
    std::optional<Endpoint> server, logger;
    if (options.rigctl)
        server = parseEndpoint(*options.rigctl, {"127.0.0.1", kRigPort}, "--rigctl");
    if (options.wsjtx)
        logger = parseEndpoint(*options.wsjtx, {"127.0.0.1", kWsjtxPort}, "--wsjtx");
    if (logger && logger->port == 0)
        throw UsageError("--wsjtx: a logger has a port");
    if (!options.adif.empty()) {
        adif_ = std::make_unique<AdifLog>(options.adif);
        if (adif_->repaired() > 0)
            fmt::print(stderr, "ferrow: the end of {} had been cut short; its {} bytes have been taken off\n",
                       options.adif, adif_->repaired());
    }
    if (server) {
        server_ = std::make_unique<RigServer>(io, port, *server, options.rigctlVfo);
        const std::string at = server_->endpoint().text();
        if (server->port == 0)
            fmt::print(stderr, "ferrow: rig control at {}\n", at);
        if (!server->loopback())
            fmt::print(stderr, "ferrow: whoever reaches {} can control the radio\n", at);
    }
    if (logger)
        wsjtx_ = std::make_unique<WsjtxLink>(io, *logger);
}

void Neighbours::logged(Contact contact) {
    if (contact.myCall.empty())
        contact.myCall = call_;
    if (contact.myGrid.empty())
        contact.myGrid = grid_;
    if (wsjtx_)
        wsjtx_->logged(contact);
    if (adif_)
        adif_->add(contact);
}

} // namespace ferrow
