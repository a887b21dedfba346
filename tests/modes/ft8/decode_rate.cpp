// Prints the fraction of signals decoded in white noise, for FT8 and FT4. Usage: ft8_decode_rate [TRIALS]
// [SEED]
#include "tests/modes/ft8/decode_trials.hpp"

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    using namespace ferrow::test;
    const int trials = argc > 1 ? std::atoi(argv[1]) : 50;
    const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
    const auto table = [&](const char* name, Mode mode, const std::vector<double>& levels) {
        std::printf("%s, %d periods each\n  SNR in 2500 Hz   decoded   false\n", name, trials);
        for (const double level : levels) {
            const Trials outcome = measureDecodes(mode, level, trials, seed);
            std::printf("  %11.1f dB   %6.1f %%   %5d\n", level, 100.0 * outcome.decoded / outcome.trials,
                        outcome.wrong);
        }
    };
    table("FT8", Mode::Ft8, {-14, -16, -17, -18, -19, -20});
    table("FT4", Mode::Ft4, {-10, -12, -13, -14, -15, -16});
}
