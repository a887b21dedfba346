// Measures PSK reception.
//
//     psk_error_rate noise [TRIALS [SEED]]     character error rates in white noise          (20 trials, seed 1)
//     psk_error_rate pull [TRIALS [SEED]]      signals copied by how far off they start      (5 trials)
//     psk_error_rate bank [TRIALS [SEED]]      20 signals at once, 100 Hz apart, by the bank (10 trials)
//
// SNR is the mean power of the keyed signal over that of the noise in 2500 Hz. Every trial has a text of 100
// characters (pull: 40) and a noise of its own.
#include "core/tasks/runtime.hpp"
#include "tests/modes/psk/psk_bank.hpp"
#include "tests/modes/psk/psk_trials.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

using namespace ferrow::test;

namespace {

// Percent; signals start up to 2 Hz off, as an operator's click does. The last column is QPSK31 with the
// squelch open throughout.
void noise(int trials, std::uint64_t seed) {
    std::printf("  dB");
    for (const PskForm& form : kPskForms)
        std::printf("%9s", form.name);
    std::printf("%9s\n", "open");
    const auto percent = [&](const PskForm& form, PskTrial trial) {
        double sum = 0;
        for (int n = 0; n < trials; ++n) {
            const std::uint64_t number = seed * 1000003 + static_cast<std::uint64_t>(n);
            std::mt19937_64 random(number);
            trial.hz = 1500 + std::uniform_real_distribution<double>(-2, 2)(random);
            sum += tryPsk(form, trial, number);
        }
        return 100 * sum / trials;
    };
    for (int snr = -14; snr <= -4; ++snr) {
        std::printf("%4d", snr);
        PskTrial trial;
        trial.snr = snr;
        for (const PskForm& form : kPskForms)
            std::printf("%9.2f", percent(form, trial));
        trial.squelch = 0;
        std::printf("%9.2f\n", percent(kQpsk31, trial));
        std::fflush(stdout);
    }
}

// Percent copied: at most one character in ten wrong. 10 dB, 200 symbols of idling.
// Blocks of 512 are those of the mode, which has the slow frequency control.
void pull(int trials, std::uint64_t seed) {
    struct Control {
        std::size_t block;
        bool fast;
    };
    for (const Control control : {Control{512, false}, {2048, false}, {512, true}}) {
        std::printf("blocks of %zu, %s control\n  Hz", control.block, control.fast ? "fast" : "slow");
        for (const PskForm& form : kPskForms)
            std::printf("%9s", form.name);
        std::printf("\n");
        for (int off = -50; off <= 50; off += 5) {
            std::printf("%4d", off);
            for (const PskForm& form : kPskForms) {
                PskTrial trial;
                trial.snr = 10;
                trial.characters = 40;
                trial.hz = 1500 + off;
                trial.lead = 200;
                trial.block = control.block;
                trial.fastAfc = control.fast;
                int copied = 0;
                for (int n = 0; n < trials; ++n)
                    copied +=
                        tryPsk(form, trial, seed * 1000003 + static_cast<std::uint64_t>(n)) <= 0.1 ? 1 : 0;
                std::printf("%9.0f", 100.0 * copied / trials);
            }
            std::printf("\n");
            std::fflush(stdout);
        }
    }
}

void bank(int trials, std::uint64_t seed) {
    ferrow::initRuntime("/dev/null", 0);
    for (const bool onHundreds : {false, true}) {
        std::array<int, 20> byLevel{};
        std::printf("%s, copied of 20:", onHundreds ? "on the hundreds" : "anywhere");
        for (int n = 0; n < trials; ++n) {
            int copied = 0;
            for (const BankSignal& signal :
                 copyBank(20, seed * 1000 + static_cast<std::uint64_t>(n), onHundreds)) {
                copied += signal.copied ? 1 : 0;
                byLevel[static_cast<std::size_t>((signal.snr - 3) / 17 * 19 + 0.5)] += signal.copied ? 1 : 0;
            }
            std::printf(" %d", copied);
            std::fflush(stdout);
        }
        std::printf("\n  dB  percent\n");
        for (std::size_t k = 0; k < byLevel.size(); ++k)
            std::printf("%4.1f%9.0f\n", 3 + 17.0 * static_cast<double>(k) / 19, 100.0 * byLevel[k] / trials);
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    const int given = argc > 2 ? std::atoi(argv[2]) : 0;
    const auto seed = static_cast<std::uint64_t>(argc > 3 ? std::atoi(argv[3]) : 1);
    if (given >= 0 && what == "noise")
        noise(given > 0 ? given : 20, seed);
    else if (given >= 0 && what == "pull")
        pull(given > 0 ? given : 5, seed);
    else if (given >= 0 && what == "bank")
        bank(given > 0 ? given : 10, seed);
    else {
        std::fprintf(stderr, "usage: psk_error_rate noise|pull|bank [TRIALS [SEED]]\n");
        return 2;
    }
}
