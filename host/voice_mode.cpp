#include "host/voice_mode.hpp"

#include "host/failure.hpp"

#include <ferrowcore/modes.h>
#include <fmt/format.h>
#include <memory>

namespace ferrow {
namespace {

using namespace std::chrono_literals;

// From 12 kHz on the library's mode is one for broadcast stations.
constexpr double kLeastDeviation = 500, kMostDeviation = 8000;

Object makeFm(Library& library, const VoiceOptions& options) {
    Object fm(fmModDemod_create());
    fmModDemod_setdeviation(fm.get(), options.deviation);
    fmModDemod_setCTCSS(fm.get(), options.subTone);
    fmModDemod_setcompression(fm.get(), options.compression);
    // The deviation settles the mode's sample rate, which the transceiver asks for when it gets the filter:
    // the answer to a ping comes behind what was set before.
    const auto answered = std::make_shared<bool>(false);
    fm.bind(asyncObject_bindEcho, [answered](int) { *answered = true; });
    asyncObject_Ping(fm.get(), 1);
    if (!library.pumpThrough([&] { return *answered; }, 2s))
        throw Failure("the library does not answer; see its log");
    return fm;
}

} // namespace

void addVoiceOptions(CLI::App& command, VoiceOptions& options) {
    command.add_option("--compression", options.compression, "gain into the transmit clipper")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
    command.add_flag("--plain-microphone", options.plainMicrophone,
                     "single sideband without the microphone curve");
    command.add_option("--ctcss", options.subTone, "fm: a tone under the voice, Hz, e.g. 88.5")
        ->check(CLI::Range(50.0, 300.0));
}

void addDeviationOption(CLI::App& command, VoiceOptions& options) {
    command.add_option("--deviation", options.deviation, "fm: peak deviation, Hz")
        ->check(CLI::Range(kLeastDeviation, kMostDeviation))
        ->capture_default_str();
}

void addNoiseReductionOption(CLI::App& command, std::optional<double>& percent) {
    const auto read = [&percent](const CLI::results_t& words) {
        double value = kNoiseReduction;
        if (!words.empty() && !words[0].empty() && !CLI::detail::lexical_cast(words[0], value))
            return false;
        percent = value;
        return value >= 0 && value <= 100;
    };
    command
        .add_option(
            "--nr", read,
            fmt::format("take noise out of the voice, by this percentage of what can be taken; {} if none "
                        "is given",
                        kNoiseReduction))
        ->type_name("PERCENT")
        ->expected(0, 1);
}

void setVoiceMode(Library& library, Transceiver& transceiver, const Tuning& tuning,
                  const VoiceOptions& options) {
    Object mode;
    switch (tuning.mode) {
    case Mode::Am:
        mode = Object(amModDemod_create());
        amModDemod_setcompression(mode.get(), options.compression);
        break;
    case Mode::Fm:
        mode = makeFm(library, options);
        break;
    case Mode::Usb:
    case Mode::Lsb:
    case Mode::Cw:
        mode = Object(ssbModDemod_create());
        ssbModDemod_setcompression(mode.get(), options.compression);
        ssbModDemod_setUseMicEQ(mode.get(), !options.plainMicrophone);
        break;
    }
    transceiver.setMode(std::move(mode), tuning.low, tuning.high);
    transceiver.setTransmitFilter(tuning.low, tuning.high);
}

} // namespace ferrow
