// Independent programs that read Morse and teletype, as black boxes. Empty text where one is not installed.
#pragma once

#include <complex>
#include <string>
#include <vector>

namespace ferrow::test {

bool hasProgram(const std::string& name);

// A signal at 48000 samples a second as audio: moved up by `hertz`, the real part, at `rate` samples a
// second, the largest sample at 0.7.
std::vector<float> asAudio(const std::vector<std::complex<float>>& signal, double hertz, int rate);

// 16-bit WAV, mono, 48000 samples a second.
void writeWav(const std::string& path, const std::vector<float>& audio);

// multimon-ng, told the speed to start from.
std::string multimonMorse(const std::vector<std::complex<float>>& signal, double wpm);

// minimodem, told the tones, Hz above the tuned frequency.
std::string minimodemTeletype(const std::vector<std::complex<float>>& signal, double mark, double space);

// Teletype that minimodem makes, 48000 samples a second.
std::vector<std::complex<float>> minimodemSends(const std::string& text, double mark, double space);

} // namespace ferrow::test
