#include "tests/modes/ft8/decode_trials.hpp"

#include <array>
#include <ferrowcore/ft8.h>

namespace ferrow::test {

Trials measureDecodes(Mode mode, double snrDb, int trials, unsigned seed) {
    const std::vector<Vector> vectors = readVectors(mode);
    const double sigma = 1500.0;
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> anyFrequency(300.0, 2700.0);
    std::uniform_real_distribution<double> anyStart(0.2, 0.9);
    Trials outcome;
    for (int trial = 0; trial < trials; ++trial) {
        const Vector& vector = vectors[static_cast<std::size_t>(trial) % vectors.size()];
        std::vector<double> audio(static_cast<std::size_t>(periodSamples(mode)));
        const double frequency = anyFrequency(random);
        const double start = anyStart(random);
        addSignal(audio, mode, vector.tones, frequency, start, amplitudeFor(snrDb, sigma));
        addNoise(audio, sigma, random);
        const std::string path = writeFile("trial.wav", wavBytes(audio));
        std::array<ferrow_ft8_result, FERROW_FT8_MAX_RESULTS> results;
        const int count = ::ft8decode(path.c_str(), results.data(), 0, static_cast<int>(mode));
        for (int i = 0; i < count; ++i) {
            if (hex(results[static_cast<std::size_t>(i)].payload, 10) == vector.payload)
                ++outcome.decoded;
            else
                ++outcome.wrong;
        }
        ++outcome.trials;
    }
    return outcome;
}

} // namespace ferrow::test
