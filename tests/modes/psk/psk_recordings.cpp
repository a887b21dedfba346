// PSK31 signals in noise as sound files, for other programs to read, with what this library's detector reads
// in them.
//
//     psk_recordings FOLDER [TRIALS [CHARACTERS [SEED]]]     (3 trials of 100 characters, seed 1)
//
// For each SNR from -14 to -8 dB in 2500 Hz and each trial it writes psk31_<SNR>_<trial>.wav (8000 samples a
// second, 16 bits, the signal at 1000 Hz behind three seconds of idling), .txt with the text sent, .read with
// the text read and .open with that read without a squelch. tools/compare_psk31.py makes a table of them.
#include "tests/modes/psk/psk_trials.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>

using namespace ferrow::test;

namespace {

void put(std::ofstream& file, std::uint32_t value, int bytes) {
    for (int n = 0; n < bytes; ++n)
        file.put(static_cast<char>(value >> 8 * n));
}

void writeWav(const std::string& path, const std::vector<double>& samples) {
    std::ofstream file(path, std::ios::binary);
    const auto size = static_cast<std::uint32_t>(2 * samples.size());
    file << "RIFF";
    put(file, 36 + size, 4);
    file << "WAVEfmt ";
    put(file, 16, 4);
    put(file, 1, 2); // PCM
    put(file, 1, 2); // channels
    put(file, 8000, 4);
    put(file, 16000, 4);
    put(file, 2, 2);
    put(file, 16, 2);
    file << "data";
    put(file, size, 4);
    for (const double x : samples)
        put(file, static_cast<std::uint16_t>(static_cast<std::int16_t>(x)), 2);
}

} // namespace

int main(int argc, char** argv) {
    const int trials = argc > 2 ? std::atoi(argv[2]) : 3;
    const int characters = argc > 3 ? std::atoi(argv[3]) : 100;
    const auto seed = static_cast<std::uint64_t>(argc > 4 ? std::atoi(argv[4]) : 1);
    if (argc < 2 || trials < 1 || characters < 1) {
        std::fprintf(stderr, "usage: psk_recordings FOLDER [TRIALS [CHARACTERS [SEED]]]\n");
        return 2;
    }
    for (int snr = -14; snr <= -8; ++snr)
        for (int trial = 0; trial < trials; ++trial) {
            const std::uint64_t number = seed * 1000 + static_cast<std::uint64_t>(trial);
            std::mt19937_64 random(number * 100 + static_cast<std::uint64_t>(-snr));
            const std::string text = pskText(static_cast<std::size_t>(characters), number);
            std::vector<double> signal = pskSignal(text, kPsk31, 1000, 8000, 96);
            addNoise(signal, meanPower(signal), snr, 8000, random);
            double peak = 0;
            for (const double x : signal)
                peak = std::max(peak, std::abs(x));
            for (double& x : signal)
                x = std::round(20000 * x / peak);
            const std::string name =
                std::string(argv[1]) + "/psk31_" + std::to_string(snr) + "_" + std::to_string(trial);
            writeWav(name + ".wav", signal);
            std::ofstream(name + ".txt") << text;
            for (const bool open : {false, true}) {
                ferrow::CPSKDet detector;
                detector.setRxFrequency(1000);
                detector.setSquelchThreshold(open ? 0 : 50);
                std::ofstream(name + (open ? ".open" : ".read")) << receive(detector, signal, 1);
            }
        }
}
