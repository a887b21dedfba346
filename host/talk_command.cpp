#include "host/commands.hpp"
#include "host/failure.hpp"
#include "host/frequency.hpp"
#include "host/interrupt.hpp"
#include "host/radio_options.hpp"
#include "host/sound_loop.hpp"
#include "host/terminal_keys.hpp"
#include "host/terminal_waterfall.hpp"
#include "host/transmit_options.hpp"
#include "host/transmitter.hpp"
#include "host/voice_mode.hpp"

#include <cmath>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace ferrow {
namespace {

using namespace std::chrono_literals;
using Clock = Transmitter::Clock;
using Seconds = std::chrono::duration<double>;

constexpr auto kStatusPause = 500ms;
// From the end of the playing to the last of its sound on the air: sound server, capture, reader.
constexpr auto kSoundDelay = 500ms;
constexpr double kQuietest = 1e-4; // of the microphone, for display

struct Options {
    RadioArguments radio;
    TransmitArguments transmit;
    VoiceOptions voice;
    std::string tune, microphone = "default", device, wav;
    std::optional<double> ptt;
    bool vox = false;
    double voxThreshold = 0.4, voxHold = 0.5;
    double limit = 180;
    double duration = 0;
    bool json = false;

    // What presses the transmit key.
    bool byKeys() const { return !ptt && !vox && wav.empty(); }
};

class Talker {
public:
    Talker(const Options& options, Library& library, Transmitter& transmitter, SoundLoop* sound)
        : options_(options), library_(library), transmitter_(transmitter), sound_(sound),
          screen_(!options.json && stdoutIsTerminal()) {}

    void run() {
        began_ = nextStatus_ = Clock::now();
        if (options_.vox)
            byVoice();
        else if (options_.byKeys())
            byKeys();
        else
            once();
        if (screen_)
            fmt::print("\r\x1b[K");
    }

private:
    bool over() const {
        return interrupted() ||
               (options_.duration > 0 && Clock::now() - began_ >= Seconds(options_.duration));
    }

    // One press, for a time or for the length of the file.
    void once() {
        transmitter_.press();
        note("keyed");
        if (sound_)
            sound_->play();
        std::optional<Clock::time_point> silentSince;
        const auto ended = [&] {
            if (options_.ptt)
                return Clock::now() - pressed_ >= Seconds(*options_.ptt);
            if (!sound_->playing() && !silentSince)
                silentSince = Clock::now();
            return silentSince && Clock::now() - *silentSince >= kSoundDelay;
        };
        while (!over() && !ended() && !pastLimit())
            turn();
        release();
    }

    void byKeys() {
        const TerminalKeys keys;
        fmt::print("space or enter: press and release; q: end\n");
        while (!over()) {
            turn();
            if (transmitter_.busy() && pastLimit())
                release();
            const auto key = keys.take();
            if (!key)
                continue;
            if (*key == 'q' || *key == '\x04')
                break;
            if (*key != ' ' && *key != '\n' && *key != '\r')
                continue;
            if (transmitter_.busy()) {
                release();
            } else {
                transmitter_.press();
                note("keyed");
            }
        }
        if (transmitter_.busy())
            release();
    }

    // The library keys; the watchdog is armed all the time.
    void byVoice() {
        transmitter_.arm();
        Transceiver& transceiver = transmitter_.transceiver();
        transceiver.setVox(true, options_.voxThreshold, options_.voxHold);
        if (sound_)
            sound_->play();
        bool keyed = false, tooLong = false;
        while (!over() && !tooLong && (!sound_ || sound_->playing() || transmitter_.busy())) {
            turn();
            if (transceiver.ptt() != keyed) {
                keyed = transceiver.ptt();
                note(keyed ? "keyed" : "unkeyed");
            }
            tooLong = keyed && pastLimit();
        }
        transceiver.setVox(false);
        if (keyed)
            release();
        transmitter_.disarm();
    }

    void turn() {
        library_.pumpUntil([] { return false; }, 10ms);
        transmitter_.check();
        if (Clock::now() < nextStatus_)
            return;
        nextStatus_ += kStatusPause;
        status();
    }

    bool pastLimit() const {
        if (Clock::now() - pressed_ < Seconds(options_.limit))
            return false;
        fmt::print(stderr, "{}ferrow: the transmission has reached its limit of {:g} s\n",
                   screen_ ? "\r\x1b[K" : "", options_.limit);
        return true;
    }

    void release() {
        transmitter_.release();
        note("unkeyed");
    }

    void note(const char* event) {
        const bool keyed = std::string_view(event) == "keyed";
        if (keyed)
            pressed_ = Clock::now();
        const double seconds = Seconds(Clock::now() - pressed_).count();
        if (options_.json) {
            nlohmann::json line = {{"event", event}};
            if (!keyed)
                line["seconds"] = std::round(seconds * 1000) / 1000;
            fmt::print("{}\n", line.dump());
        } else if (!screen_) {
            fmt::print("{}\n", keyed ? std::string("keyed") : fmt::format("unkeyed after {:.1f} s", seconds));
        }
        std::fflush(stdout);
    }

    void status() const {
        const Transceiver& transceiver = transmitter_.transceiver();
        const double level = 20 * std::log10(std::max(transceiver.microphoneLevel(), kQuietest));
        const TransmitReadings& readings = transmitter_.session().readings();
        if (options_.json) {
            nlohmann::json line = readingsJson(readings);
            line["keyed"] = transmitter_.busy();
            line["microphone_db"] = std::round(level * 10) / 10;
            fmt::print("{}\n", line.dump());
        } else if (screen_) {
            fmt::print("\r\x1b[K{} {}  microphone {:4.0f} dB  {}",
                       transmitter_.busy() ? "TRANSMIT" : "receive ", showFrequency(transceiver.vfo()), level,
                       transmitter_.busy() ? showReadings(readings) : "");
        } else {
            return;
        }
        std::fflush(stdout);
    }

    const Options& options_;
    Library& library_;
    Transmitter& transmitter_;
    SoundLoop* sound_;
    bool screen_;
    Clock::time_point began_, nextStatus_, pressed_;
};

void checkKeying(const Options& options) {
    if (options.vox && options.ptt)
        throw UsageError("give one of --ptt and --vox");
    if (options.byKeys() && (!TerminalKeys::there() || options.json))
        throw UsageError("no terminal for a transmit key: give --ptt SECONDS, --vox or --wav");
}

int talk(const Options& options) {
    checkKeying(options);
    const Tuning tuning = parseTuning(options.tune);
    if (tuning.mode == Mode::Cw)
        throw UsageError("voice is sent in usb, lsb, am or fm");
    const RadioAddress address = options.radio.address(true);
    AudioChoice output = parseAudioChoice(options.device.empty() && !options.wav.empty() ? "none"
                                          : options.device.empty()                       ? "default"
                                                                                         : options.device);
    AudioChoice microphone = parseAudioChoice(options.microphone);
    std::optional<SoundLoop> sound;
    if (!options.wav.empty())
        sound.emplace(options.wav);
    const FoundRadio found = findRadio(address);
    TransmitGuard guard(found.address, options.transmit.watchdog());
    Library library(options.radio.library);
    const AudioDevices devices = listAudioDevices(library);
    if (sound)
        microphone = {AudioChoice::Kind::Device, sound->input(devices)};
    output = devices.usableOutput(output);
    microphone = devices.usableInput(microphone);
    watchInterrupts();
    RadioSession session(library, found, options.radio.session());
    Transceiver& transceiver = session.add(tuning.vfo());
    setVoiceMode(library, transceiver, tuning, options.voice);
    transceiver.setAudio(output, microphone);
    session.setPower(options.transmit.power);
    Transmitter transmitter(library, session, transceiver, guard);
    session.start();
    Talker(options, library, transmitter, sound ? &*sound : nullptr).run();
    session.stop();
    return kExitDone;
}

} // namespace

void addTalkCommand(CLI::App& program, Action& chosen) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("talk", "transmits voice, and receives in between");
    command->footer("Without --ptt, --vox and --wav the space bar and enter key press and release.");
    addRadioArguments(*command, options->radio)->required();
    command->add_option("--tune", options->tune, "FREQUENCY[:MODE[LOW:HIGH]], as of `ferrow listen`")
        ->required();
    CLI::Option* microphone = command->add_option("--microphone", options->microphone,
                                                  "an input of `ferrow devices`, default, or none");
    microphone->capture_default_str();
    command
        ->add_option("--wav", options->wav,
                     "a sound file in place of a microphone, sent once; takes a sound server")
        ->excludes(microphone);
    command->add_option("--ptt", options->ptt, "press at once, for so many seconds, and end")
        ->check(CLI::Range(0.1, 3600.0));
    command->add_flag("--vox", options->vox, "the voice presses");
    command->add_option("--vox-threshold", options->voxThreshold, "peak that presses; half of it holds")
        ->check(CLI::Range(0.001, 1.0))
        ->capture_default_str();
    command->add_option("--vox-hold", options->voxHold, "seconds from the last word to the release")
        ->check(CLI::Range(0.05, 10.0))
        ->capture_default_str();
    command->add_option("--limit", options->limit, "longest transmission, seconds")
        ->check(CLI::Range(0.5, 3600.0))
        ->capture_default_str();
    command->add_option("--duration", options->duration, "seconds after which it ends; 0: until Ctrl-C")
        ->check(CLI::NonNegativeNumber);
    addTransmitArguments(*command, options->transmit);
    addVoiceOptions(*command, options->voice);
    addDeviationOption(*command, options->voice);
    command->add_option("--device", options->device,
                        "sound: an output of `ferrow devices`, default, or none (with --wav: none)");
    command->add_flag("--json", options->json, "print JSON lines: presses, and every half second the state");
    command->callback([options, &chosen] { chosen = [options] { return talk(*options); }; });
}

} // namespace ferrow
