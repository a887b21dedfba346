#include "sim/radio/radio.hpp"
#include "sim/sky/carrier.hpp"

#include <CLI/CLI.hpp>
#include <csignal>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

using namespace ferrow::sim;

int main(int argc, char** argv) {
    CLI::App app{"A simulated HPSDR protocol 1 radio", "ferrow-sim"};
    std::vector<std::string> addresses{"127.0.0.1"};
    RadioSettings settings;
    double duration = 0.0;
    app.add_option("--address", addresses, "loopback address, may be repeated")->capture_default_str();
    app.add_option("--clock-ppm", settings.clockPpm, "error of the sample clock");
    app.add_option("--duration", duration, "seconds to run; 0: until a signal");
    app.add_flag("--silent", settings.silent, "answer discovery but never stream");
    CLI11_PARSE(app, argc, argv);

    sigset_t signals;
    sigemptyset(&signals);
    for (const int one : {SIGINT, SIGTERM, SIGUSR1})
        sigaddset(&signals, one);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    auto sky = std::make_shared<Sky>();
    sky->stations.push_back(std::make_shared<CarrierStation>("carrier 14.1", 14.1e6, -70.0));
    sky->stations.push_back(std::make_shared<CarrierStation>("carrier 7.1", 7.1e6, -70.0));
    std::vector<std::unique_ptr<Radio>> radios;
    try {
        for (const auto& address : addresses) {
            settings.address = address;
            radios.push_back(std::make_unique<Radio>(settings, sky));
            fmt::print("ready {}:{}\n", address, radios.back()->port());
            std::fflush(stdout);
        }
    } catch (const std::exception& error) {
        fmt::print(stderr, "ferrow-sim: {}\n", error.what());
        return 3;
    }
    timespec wait{static_cast<time_t>(duration > 0.0 ? duration : 1e9), 0};
    sigtimedwait(&signals, nullptr, &wait);
    for (const auto& radio : radios)
        fmt::print("{}\n", nlohmann::json(radio->statistics()).dump());
    return 0;
}
