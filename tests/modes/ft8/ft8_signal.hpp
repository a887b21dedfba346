// Test signals for the FT8 and FT4 decoder, made without any of its code: published vectors, an encoder of
// its own from the generator matrix, GFSK in double precision, noise of a known level, WAV files.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace ferrow::test {

inline constexpr int kRate = 12000;
inline constexpr int kFt8PeriodSamples = 180000;
inline constexpr int kFt4PeriodSamples = 90000;

enum class Mode { Ft8 = 8, Ft4 = 4 };

inline int periodSamples(Mode mode) {
    return mode == Mode::Ft8 ? kFt8PeriodSamples : kFt4PeriodSamples;
}
inline double symbolSeconds(Mode mode) {
    return mode == Mode::Ft8 ? 0.16 : 0.048;
}

// One record of a vector file.
struct Vector {
    std::string message;
    std::string unhashed;
    std::string payload;  // 20 lower-case hex digits
    std::string crc;      // 4 hex digits
    std::string codeword; // 174 digits 0 and 1
    std::string tones;
};

std::vector<Vector> readVectors(Mode mode);

// Lines of numbers of a table file in tests/data/ft8, comments dropped.
std::vector<std::vector<int>> readTable(const std::string& name);

// 14-bit CRC of 77 message bits, by long division of their polynomial.
std::vector<int> crcBits(const std::vector<int>& message);

// The 174 bits for 77 message bits, from the generator matrix.
std::vector<int> encode(const std::vector<int>& message);

// FT8 channel tones of 174 bits.
std::string ft8Tones(const std::vector<int>& codeword);

// Lower-case hex digits of `count` bytes.
std::string hex(const std::uint8_t* bytes, std::size_t count);

// The first 77 bits of a payload in hex.
std::vector<int> messageBits(const std::string& payload);

// Adds one transmission. `frequency` is that of tone 0, `start` the seconds at which the first listed symbol
// begins (FT4's ramp symbol lies before it).
void addSignal(std::vector<double>& audio, Mode mode, const std::string& tones, double frequency,
               double start, double amplitude);

// Adds white Gaussian noise of the given standard deviation per sample.
void addNoise(std::vector<double>& audio, double sigma, std::mt19937_64& random);

// Amplitude of a constant-envelope signal at `snrDb` in 2500 Hz against such noise.
double amplitudeFor(double snrDb, double sigma);

// Bytes of a WAV file with the canonical header over the samples, rounded to 16 bit.
std::vector<unsigned char> wavBytes(const std::vector<double>& audio, int rate = kRate);

// Writes a file below the test's own folder for temporary files and returns its path.
std::string writeFile(const std::string& name, const std::vector<unsigned char>& bytes);

} // namespace ferrow::test
