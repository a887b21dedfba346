#pragma once
#include "sim/sky/station.hpp"

#include <span>
#include <string>
#include <vector>

namespace ferrow::sim {

/// Mono audio at kBaseRate, meant to be played in a loop.
using Audio = std::vector<float>;

/// Reads a sound file, mixed to mono, at kBaseRate. Throws std::runtime_error.
Audio readAudio(const std::string& path);
/// The same from a sound file in memory.
Audio readAudio(std::span<const std::uint8_t> file);
/// Writes 16-bit mono at kBaseRate. Throws std::runtime_error.
void writeAudio(const std::string& path, const Audio& audio);

/// Two channels as I and Q at a multiple of kBaseRate (the next one up from the file's rate).
struct IqRecording {
    std::vector<Cfloat> samples;
    int rateFactor = 1;
};
IqRecording readIq(const std::string& path);

/// Equal steady tones, 8 s; every frequency is moved to a whole number of cycles so that the loop is
/// seamless.
Audio makeTones(const std::vector<double>& hertz);
/// Notes in turn, `beat` seconds each, with soft attack, decay and two overtones; 0 Hz is a rest.
Audio makeMelody(const std::vector<double>& notes, double beat);

/// Keeps `low` to `high` Hz of the loop, with edges of 100 Hz.
void limitBand(Audio& audio, double low, double high);
/// Analytic signal of the loop: positive frequencies only, the real part being the audio.
std::vector<Cfloat> analyticSignal(const Audio& audio);
/// Scales to a largest magnitude of 1.
void normalise(Audio& audio);

} // namespace ferrow::sim
