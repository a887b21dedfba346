#include "tests/modes/psk/psk_trials.hpp"
#include "tests/support/edit_distance.hpp"

#include <algorithm>

namespace ferrow::test {

std::string receive(CPSKDet& detector, const std::vector<double>& samples, double level, std::size_t block) {
    std::string text;
    std::vector<float> scaled(block);
    for (std::size_t n = 0; n < samples.size(); n += block) {
        const std::size_t count = std::min(block, samples.size() - n);
        std::fill(scaled.begin(), scaled.end(), 0.0f);
        for (std::size_t i = 0; i < count; ++i)
            scaled[i] = static_cast<float>(level * samples[n + i]);
        char out[CPSKDet::kMostCharacters];
        const int written = detector.processBlock(scaled.data(), static_cast<int>(block), out);
        text.append(out, static_cast<std::size_t>(written));
    }
    return text;
}

double tryPsk(const PskForm& form, const PskTrial& trial, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    const std::string text = pskText(trial.characters, seed);
    std::vector<double> signal = pskSignal(text, form, trial.hz, 8000, trial.lead);
    std::vector<double> before(8000, 0.0);
    if (trial.snr < 200) {
        const double power = meanPower(signal);
        addNoise(before, power, trial.snr, 8000, random);
        addNoise(signal, power, trial.snr, 8000, random);
    }
    CPSKDet detector(form.modeWord);
    detector.setFastAfc(trial.fastAfc);
    detector.setSquelchThreshold(trial.squelch);
    detector.setRxFrequency(1000);
    receive(detector, before, 3000, trial.block);
    detector.setRxFrequency(trial.tuned);
    detector.resetDetector();
    return characterErrors(text, receive(detector, signal, 3000, trial.block));
}

} // namespace ferrow::test
