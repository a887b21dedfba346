#include "sim/decibel.hpp"
#include "sim/options.hpp"
#include "sim/radio/np_radio.hpp"
#include "sim/scene/build_sky.hpp"
#include "sim/websocket/proxy_server.hpp"

#include <csignal>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace ferrow::sim;

namespace {

constexpr int kWrongInput = 2;
constexpr int kCannotOpen = 3;

double cpuSeconds() {
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    return seconds(use.ru_utime) + seconds(use.ru_stime);
}

using Radios = std::vector<std::unique_ptr<AnyRadio>>;

void writeStatistics(const std::string& path, const Radios& radios, double upSeconds) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& radio : radios) {
        list.push_back(radio->report());
    }
    std::ofstream file(path, std::ios::trunc);
    file << nlohmann::json{{"up_s", upSeconds}, {"cpu_s", cpuSeconds()}, {"radios", list}}.dump(2) << "\n";
    if (!file)
        fmt::print(stderr, "ferrow-sim: cannot write {}\n", path);
}

void tellReady(const Options& options, const std::string& place) {
    const std::string line = fmt::format("ready {}\n", place);
    if (!options.quiet) {
        fmt::print("{}", line);
        std::fflush(stdout);
    }
    if (options.readyFd >= 0 && write(options.readyFd, line.data(), line.size()) < 0)
        fmt::print(stderr, "ferrow-sim: cannot write to descriptor {}\n", options.readyFd);
}

void writeStatistics(const std::string& path, const proxy::Server& server, double upSeconds) {
    std::ofstream file(path, std::ios::trunc);
    file << nlohmann::json{{"up_s", upSeconds}, {"cpu_s", cpuSeconds()}, {"websocket", server.statistics()}}
                .dump(2)
         << "\n";
    if (!file)
        fmt::print(stderr, "ferrow-sim: cannot write {}\n", path);
}

/// Runs until the time is up or a signal asks to end; SIGUSR1 calls `onUser`.
template <typename OnUser>
void waitForEnd(const sigset_t& signals, double duration, OnUser onUser) {
    const std::int64_t end = monotonicNs() + static_cast<std::int64_t>(duration * 1e9);
    for (;;) {
        constexpr std::int64_t kLong = 3'600'000'000'000;
        const std::int64_t left = duration > 0.0 ? end - monotonicNs() : kLong;
        if (left <= 0)
            return;
        const timespec wait{static_cast<time_t>(left / 1'000'000'000),
                            static_cast<long>(left % 1'000'000'000)};
        const int caught = sigtimedwait(&signals, nullptr, &wait);
        if (caught == SIGUSR1)
            onUser();
        else if (caught == SIGINT || caught == SIGTERM)
            return;
    }
}

int serveWebsocket(const Options& options, const Scene& scene, const BuiltScene& built,
                   const sigset_t& signals) {
    proxy::ServerSettings settings = *options.websocket;
    settings.faults = options.radio.faults;
    settings.faults.insert(settings.faults.end(), scene.faults.begin(), scene.faults.end());
    proxy::checkFaults(scene.faults);
    const std::int64_t began = monotonicNs();
    const proxy::Server server(settings, built.sky);
    tellReady(options, server.url());
    const auto report = [&] {
        if (!options.statsFile.empty())
            writeStatistics(options.statsFile, server, 1e-9 * static_cast<double>(monotonicNs() - began));
    };
    waitForEnd(signals, options.duration, report);
    report();
    return 0;
}

int run(Options options) {
    const Scene scene = loadScene(options.scene);
    if (options.listScene) {
        fmt::print("{}\n", listStations(scene).dump(2));
        return 0;
    }
    const BuiltScene built = buildSky(scene);
    if (!options.writeSources.empty()) {
        for (const std::string& path : writeSources(built, options.writeSources))
            fmt::print("{}\n", path);
        return 0;
    }

    if (options.sdrplay) {
        if (options.dieWithParent)
            prctl(PR_SET_PDEATHSIG, SIGTERM);
        return rsp::launch(*options.sdrplay, options.program);
    }

    sigset_t signals;
    sigemptyset(&signals);
    for (const int one : {SIGINT, SIGTERM, SIGUSR1})
        sigaddset(&signals, one);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // whoever read the ready line may close the pipe
    if (options.dieWithParent)
        prctl(PR_SET_PDEATHSIG, SIGTERM);

    setUtcOffset(options.utcOffset);
    if (options.websocket)
        return serveWebsocket(options, scene, built, signals);
    RadioSettings settings = options.radio;
    settings.telemetry = scene.telemetry;
    settings.faults.insert(settings.faults.end(), scene.faults.begin(), scene.faults.end());
    if (!options.traceFile.empty())
        settings.trace = std::make_shared<ControlTrace>(options.traceFile);
    const std::int64_t began = monotonicNs();
    Radios radios;
    for (const std::string& address : options.addresses) {
        settings.address = address;
        if (!options.radio.txRecord.empty() && options.addresses.size() > 1)
            settings.txRecord = fmt::format("{}.{}", options.radio.txRecord, radios.size() + 1);
        if (options.protocol == 2)
            radios.push_back(std::make_unique<NpRadio>(settings, built.sky));
        else
            radios.push_back(std::make_unique<Radio>(settings, built.sky));
        ++settings.identity.mac[5];
        tellReady(options, fmt::format("{}:{}", radios.back()->address(), radios.back()->port()));
    }
    const auto report = [&] {
        for (const auto& radio : radios)
            radio->flush();
        if (settings.trace)
            settings.trace->flush();
        if (!options.statsFile.empty())
            writeStatistics(options.statsFile, radios, 1e-9 * static_cast<double>(monotonicNs() - began));
    };
    waitForEnd(signals, options.duration, report);
    for (const auto& radio : radios)
        radio->shutDown();
    report();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (const int code = parseOptions(argc, argv, options); code >= 0)
        return code;
    try {
        return run(std::move(options));
    } catch (const SceneError& error) {
        fmt::print(stderr, "ferrow-sim: scene: {}\n", error.what());
        return kWrongInput;
    } catch (const std::invalid_argument& error) {
        fmt::print(stderr, "ferrow-sim: {}\n", error.what());
        return kWrongInput;
    } catch (const std::exception& error) {
        fmt::print(stderr, "ferrow-sim: {}\n", error.what());
        return kCannotOpen;
    }
}
