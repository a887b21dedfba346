// Takes noise out of a recording: it is received as a signal by a transceiver of the library, through a
// server of our own.
#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/library.hpp"
#include "host/quiet_stream.hpp"
#include "host/resample.hpp"
#include "host/sample_server.hpp"
#include "host/sound_file.hpp"
#include "host/transceiver.hpp"
#include "host/voice_mode.hpp"

#include <algorithm>
#include <cmath>
#include <ferrowcore/modes.h>
#include <ferrowcore/radio.h>
#include <ferrowcore/wsproxy.h>
#include <fmt/format.h>
#include <memory>

namespace ferrow {
namespace {

using namespace std::chrono_literals;

constexpr int kRate = 48000;
constexpr std::size_t kBlock = std::tuple_size_v<SampleServer::Block>;
constexpr long long kCentre = 14095600;
constexpr int kEdge = 23000;                   // Hz of the receive filter, on either side
constexpr std::size_t kLatency = 767 + kBlock; // of the filter and of the noise reduction
constexpr std::size_t kAhead = 32;             // blocks that are under way at most
constexpr auto kPatience = 5s;
constexpr float kNever = 1e9F; // seconds

// The gain behind the noise reduction stands at its 10 dB, once its times are without end; and there the
// sound may just not reach full scale.
const double kGainBehind = std::sqrt(10.0);
constexpr double kPeak = 0.9;

struct Options {
    std::string in, out;
    double mix = kNoiseReduction;
    LibraryOptions library;
};

class Reducer {
public:
    Reducer(Library& library, double percent) : library_(library), server_(kCentre) {
        WsProxyRadio_setURI(radio_.get(), server_.uri().c_str());
        radio_.bind(Radio_bindvtrxAdded, [this](void* vtrx, long long, int, int) { arrived_ = vtrx; });
        Radio_start(radio_.get());
        await([this] { return arrived_ != nullptr; });
        transceiver_ = std::make_unique<Transceiver>(arrived_, kCentre);
        await([this] { return transceiver_->ready(); });
        transceiver_->setMode(Object(ssbModDemod_create()), -kEdge, kEdge);
        transceiver_->setNoiseReduction(percent);
        transceiver_->setManualGain(0);
        transceiver_->setGainTimes(kNever, kNever, 0);
        transceiver_->onAudio = [this](std::span<const float> sound) {
            heard_.insert(heard_.end(), sound.begin(), sound.end());
        };
        transceiver_->start();
        settle(transceiver_->mode());
        settle(transceiver_->object());
    }
    ~Reducer() {
        Radio_stop(radio_.get());
        server_.nudge();
        if (transceiver_) {
            transceiver_->remove();
            transceiver_->release();
        }
        radio_.reset();
        library_.settle(before_);
    }
    Reducer(const Reducer&) = delete;
    Reducer& operator=(const Reducer&) = delete;

    std::vector<float> run(std::span<const float> samples) {
        float peak = 0;
        for (const float x : samples)
            peak = std::max(peak, std::abs(x));
        const double scale = peak > 0 ? kPeak / kGainBehind / static_cast<double>(peak) : 1;
        const std::size_t blocks = (samples.size() + kLatency + kBlock - 1) / kBlock;
        heard_.reserve(blocks * kBlock);
        for (std::size_t sent = 0; sent < blocks || heard_.size() < sent * kBlock;) {
            for (; sent < blocks && sent * kBlock < heard_.size() + kAhead * kBlock; ++sent)
                server_.send(blockAt(samples, sent, scale));
            await([&, already = heard_.size()] { return heard_.size() > already; });
        }
        std::vector<float> out(heard_.begin() + kLatency,
                               heard_.begin() + static_cast<std::ptrdiff_t>(kLatency + samples.size()));
        for (float& x : out)
            x = static_cast<float>(static_cast<double>(x) / (scale * kGainBehind));
        return out;
    }

private:
    static SampleServer::Block blockAt(std::span<const float> samples, std::size_t index, double scale) {
        SampleServer::Block block{};
        for (std::size_t i = 0; i < kBlock && index * kBlock + i < samples.size(); ++i)
            block[i] = scale * static_cast<double>(samples[index * kBlock + i]);
        return block;
    }

    // The answer to a ping comes behind what was set before.
    void settle(const Object& object) {
        const auto answered = std::make_shared<bool>(false);
        const_cast<Object&>(object).bind(asyncObject_bindEcho, [answered](int) { *answered = true; });
        asyncObject_Ping(object.get(), 1);
        await([&] { return *answered; });
    }

    void await(const std::function<bool()>& done) {
        if (!library_.pumpUntil(done, kPatience))
            throw Failure(interrupted() ? "interrupted" : "the library does not answer; see its log");
    }

    Library& library_;
    int before_ = liveObjects();
    SampleServer server_;
    void* arrived_ = nullptr;
    std::vector<float> heard_;
    Object radio_{WsProxyRadio_create()};
    std::unique_ptr<Transceiver> transceiver_;
};

int denoise(const Options& options) {
    const Sound sound = readWav(options.in);
    std::vector<float> reduced;
    {
        const QuietStream quiet(stdout,
                                !options.library.verbose); // the library's radio tells of its connection
        Library library(options.library);
        watchInterrupts();
        reduced = Reducer(library, options.mix).run(resample(sound.samples, sound.rate, kRate));
    }
    std::vector<float> out = resample(reduced, kRate, sound.rate);
    out.resize(sound.samples.size());
    WavWriter file(options.out, sound.rate);
    file.write(out);
    file.close();
    fmt::print("{}: {:.1f} s\n", options.out, static_cast<double>(out.size()) / sound.rate);
    return kExitDone;
}

} // namespace

void addDenoiseCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("denoise", "takes noise out of a recorded voice");
    command->add_option("IN", options->in, "WAV file: mono, 16 bit, any rate")->required();
    command->add_option("OUT", options->out, "WAV file to write, of the same rate and length")->required();
    command
        ->add_option("--mix", options->mix, "percentage of what can be taken away: 0 nothing, 100 all of it")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
    command->add_option("--log", options->library.logFile, "the library's log file");
    command->add_flag("--verbose", options->library.verbose,
                      "log more, and show what the library says of its connection");
    command->callback([options, &chosen] { chosen = [options] { return denoise(*options); }; });
}

} // namespace ferrow
