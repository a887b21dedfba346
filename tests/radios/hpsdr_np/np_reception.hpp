// HpsdrNpRadio through the exported functions, on the air of a ferrow-sim of protocol 2: two processes, real
// sockets, and wire code that they do not share.
#pragma once

#include "host/library.hpp"
#include "host/transceiver.hpp"
#include "host/voice_mode.hpp"
#include "tests/host/program.hpp"
#include "tests/host/temporary.hpp"

#include <ferrowcore/hpsdr_np.h>
#include <ferrowcore/modes.h>
#include <ferrowcore/radio.h>
#include <ferrowcore/vtrx.h>

#include <chrono>
#include <cmath>
#include <complex>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <numbers>
#include <string>
#include <unistd.h>
#include <vector>

namespace ferrow::test {

using namespace std::chrono_literals;
using nlohmann::json;

// One for the process, as the library is.
inline Library& library() {
    static auto* const made = new Library(LibraryOptions{});
    return *made;
}

// A loopback address of this process's own.
inline std::string ownAddress() {
    const int pid = getpid();
    return "127." + std::to_string(64 + (pid >> 16 & 63)) + "." + std::to_string(pid >> 8 & 255) + "." +
           std::to_string(pid & 255);
}

class NpSimulator {
public:
    explicit NpSimulator(const std::string& scene, std::vector<std::string> more = {})
        : more_(std::move(more)) {
        if (scene == "builtin")
            scene_ = scene;
        else
            std::ofstream(scene_ = folder_.file("scene.json")) << scene;
        begin();
    }

    void begin() {
        std::vector<std::string> all = {FERROW_SIM_PROGRAM,
                                        "--protocol",
                                        "2",
                                        "--address",
                                        address,
                                        "--scene",
                                        scene_,
                                        "--stats",
                                        folder_.file("stats.json"),
                                        "--control-trace",
                                        folder_.file("trace"),
                                        "--die-with-parent"};
        all.insert(all.end(), more_.begin(), more_.end());
        running_ = std::make_unique<Running>(all);
        EXPECT_TRUE(running_->waitFor("ready")) << running_->finish().output;
    }

    // Ends the program; its statistics.
    json end() {
        running_->signal(SIGTERM);
        const Outcome outcome = running_->finish();
        EXPECT_EQ(outcome.code, 0) << outcome.output;
        json all;
        std::ifstream(folder_.file("stats.json")) >> all;
        cpuShare = all["cpu_s"].get<double>() / all["up_s"].get<double>();
        return all["radios"][0];
    }
    void kill() {
        running_->signal(SIGKILL);
        running_->finish();
    }

    // Every packet that came from the host so far, in order of arrival.
    std::vector<json> trace() {
        running_->signal(SIGUSR1); // flushes it
        std::vector<json> lines;
        std::ifstream file(folder_.file("trace"));
        for (std::string line; std::getline(file, line);)
            if (!file.eof())
                lines.push_back(json::parse(line));
        return lines;
    }

    const std::string address = ownAddress();
    double cpuShare = 0;

private:
    TemporaryFolder folder_;
    std::vector<std::string> more_;
    std::string scene_;
    std::unique_ptr<Running> running_;
};

// A radio with its transceivers, all in upper-sideband mode and silent.
class NpReception {
public:
    NpReception(const NpSimulator& simulator, int rate, int receivers = 1) : radio_(HpsdrNpRadio_create()) {
        void* const radio = radio_.get();
        radio_.bind(Radio_bindvtrxAdded, [this](void* vtrx, long long, int, int) { arrived_ = vtrx; });
        radio_.bind(HpsdrNpRadio_bindep6SeqErrors, [this](int value) { sequenceErrors = value; });
        radio_.bind(HpsdrNpRadio_bindadcOvl, [this](bool value) {
            overload = value;
            ++overloadChanges;
        });
        radio_.bind(HpsdrNpRadio_bindadcPeakDBFS, [this](double value) { peakDb = value; });
        HpsdrNpRadio_setipAddress(radio, simulator.address.c_str());
        Radio_setmaxHwReceivers(radio, receivers);
        Radio_setSampleRate(radio, rate);
    }
    ~NpReception() {
        stop();
        for (auto& one : transceivers) {
            one->remove();
            one->release();
        }
        if (arrived_ != nullptr)
            vtrx_release(arrived_);
        radio_.reset();
        EXPECT_TRUE(library().settle(before_, 5s));
    }

    // The first start makes a transceiver of its own; the radio has no receivers before.
    void start() {
        Radio_start(radio_.get());
        EXPECT_TRUE(library().pumpUntil([this] { return arrived_ != nullptr; }, 5s));
    }
    void stop() { Radio_stop(radio_.get()); }

    Transceiver& add(long long vfo) {
        if (arrived_ == nullptr)
            Radio_addVtrx(radio_.get(), vfo, 0, 0);
        EXPECT_TRUE(library().pumpUntil([this] { return arrived_ != nullptr; }, 5s));
        transceivers.push_back(std::make_unique<Transceiver>(std::exchange(arrived_, nullptr), vfo));
        Transceiver& made = *transceivers.back();
        EXPECT_TRUE(library().pumpUntil([&] { return made.ready(); }, 5s));
        vtrx_setvfo(made.object().get(), vfo);
        made.setMode(Object(ssbModDemod_create()), 300, 2700);
        made.setManualGain(40);
        const std::size_t place = transceivers.size() - 1;
        made.onAudio = [this, place](std::span<const float> block) {
            auto& sound = audio[place];
            sound.insert(sound.end(), block.begin(), block.end());
        };
        made.start();
        return made;
    }

    void* radio() const { return radio_.get(); }

    // Waits until that transceiver has given so many seconds of new sound, and returns the latter part.
    std::vector<double> listen(std::size_t place, double seconds, std::chrono::milliseconds limit = 20s) {
        const std::size_t first = audio[place].size();
        const auto wanted = static_cast<std::size_t>(48000 * seconds);
        library().pumpUntil([&] { return audio[place].size() >= first + wanted; }, limit);
        std::vector<double> heard(audio[place].begin() + static_cast<std::ptrdiff_t>(first),
                                  audio[place].end());
        heard.erase(heard.begin(), heard.begin() + static_cast<std::ptrdiff_t>(heard.size() / 3));
        return heard;
    }

    std::map<std::size_t, std::vector<float>> audio;
    std::vector<std::unique_ptr<Transceiver>> transceivers;
    int sequenceErrors = 0;
    bool overload = false;
    int overloadChanges = 0;
    double peakDb = 0;

private:
    const int before_ = (library(), liveObjects());
    void* arrived_ = nullptr;
    Object radio_;
};

// Share of a sound's power that lies at one frequency of a rate of 48000, 0 to 1.
inline double shareAt(const std::vector<double>& sound, double frequency) {
    std::complex<double> sum = 0;
    double power = 0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        sum += sound[i] * std::polar(1.0, -2 * std::numbers::pi * frequency * static_cast<double>(i) / 48000);
        power += sound[i] * sound[i];
    }
    return power > 0 ? 2 * std::norm(sum) / static_cast<double>(sound.size()) / power : 0;
}

} // namespace ferrow::test
