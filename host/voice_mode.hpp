// A transceiver's mode for voice, both ways.
#pragma once

#include "host/library.hpp"
#include "host/transceiver.hpp"

#include <CLI/CLI.hpp>
#include <optional>

namespace ferrow {

struct VoiceOptions {
    double compression = 1; // gain into the transmit clipper
    bool plainMicrophone = false;
    double deviation = 2500; // of fm, Hz, both ways
    double subTone = 0;      // of fm, Hz; 0: none
};

inline constexpr double kNoiseReduction = 80; // percent; the library's own default

// What concerns transmission.
void addVoiceOptions(CLI::App& command, VoiceOptions& options);
void addDeviationOption(CLI::App& command, VoiceOptions& options);
// --nr [PERCENT]
void addNoiseReductionOption(CLI::App& command, std::optional<double>& percent);

// Gives the transceiver the mode of the tuning, with its filter for reception and transmission.
void setVoiceMode(Library& library, Transceiver& transceiver, const Tuning& tuning,
                  const VoiceOptions& options = {});

} // namespace ferrow
