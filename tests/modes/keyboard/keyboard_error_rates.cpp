// Prints the error rates of docs/keyboard-modes.md and docs/chirp.md, one table a call:
//
//     keyboard_error_rates cw|rtty|chirp [TRIALS] [SEED]
//
// or writes a frame of the chirp beacon and what follows, in noise of 0 dB, to a WAV file:
//
//     keyboard_error_rates chirp-wav FILE

#include "modes/chirp/chirp_receiver.hpp"
#include "modes/chirp/chirp_transmitter.hpp"
#include "modes/cw_decoder.hpp"
#include "modes/rtty_decoder.hpp"
#include "tests/modes/cw/morse_signal.hpp"
#include "tests/modes/keyboard/text_peers.hpp"
#include "tests/modes/receive_filter.hpp"
#include "tests/modes/rtty/teletype_signal.hpp"
#include "tests/support/edit_distance.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

using namespace ferrow;

namespace {

using Signal = std::vector<std::complex<float>>;

// White noise for an SNR in `bandwidth` Hz against a signal of power `power`.
void addNoise(Signal& signal, double snr, double bandwidth, double power, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    const double noise = power * std::pow(10, -snr / 10) * 48000 / bandwidth;
    std::normal_distribution<float> gauss(0.0f, static_cast<float>(std::sqrt(noise / 2)));
    for (auto& sample : signal)
        sample += std::complex<float>(gauss(random), gauss(random));
}

double errors(const std::string& sent, const std::string& heard) {
    return test::characterErrors(sent, heard, test::Around::free);
}

// One kind of case, and a space for each stretch of white.
std::string folded(const std::string& text) {
    std::string out;
    for (const char c : text) {
        const bool white = static_cast<unsigned char>(c) <= ' ';
        if (white && (out.empty() || out.back() == ' '))
            continue;
        out += white ? ' ' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return out;
}

std::string decodeMorse(const Signal& signal) {
    CwDecoder decoder;
    std::string text;
    for (std::size_t i = 0; i < signal.size(); i += CwDecoder::kDecimation)
        decoder.push(std::abs(signal[i]), [&](char c) { text += c; });
    return text;
}

void cwTable(int trials, std::uint64_t seed) {
    std::printf("| WPM | SNR in 500 Hz, dB | filter of 500 Hz | filter of 150 Hz | multimon-ng, 500 Hz |\n"
                "|---|---|---|---|---|\n");
    for (const double wpm : {12.0, 20.0, 30.0})
        for (const double snr : {0.0, 5.0, 10.0, 15.0, 20.0}) {
            double own = 0, narrow = 0, peer = 0;
            for (int trial = 0; trial < trials; ++trial) {
                const std::uint64_t number = seed * 1000 + static_cast<std::uint64_t>(trial);
                const std::string text = test::randomGroups(8, number);
                // Four words from which the speed is learnt, which do not count.
                Signal signal = test::morseSignal("PARIS PARIS PARIS PARIS " + text,
                                                  {.wpm = wpm, .jitter = 0.1, .seed = number});
                addNoise(signal, snr, 500, 1, number + 7);
                const Signal wide = test::receiveFilter(signal, -250, 250);
                own += errors(text, folded(decodeMorse(wide)));
                narrow += errors(text, folded(decodeMorse(test::receiveFilter(signal, -75, 75))));
                peer += errors(text, folded(test::multimonMorse(wide, wpm)));
            }
            std::printf("| %.0f | %.0f | %.1f %% | %.1f %% | %.1f %% |\n", wpm, snr, 100 * own / trials,
                        100 * narrow / trials, 100 * peer / trials);
            std::fflush(stdout);
        }
}

// Without the marks of slipped phases, which are diagnostics: "#" with a number, lines of four numbers.
std::string withoutMarks(const std::string& text) {
    std::string out, line;
    const auto flush = [&] {
        std::string kept;
        for (std::size_t i = 0; i < line.size(); ++i) {
            if (line[i] == '#')
                i = std::min(line.find_first_not_of("0123456789", i + 1), line.size()) - 1;
            else
                kept += line[i];
        }
        double number[4];
        char rest = 0;
        if (std::sscanf(line.c_str(), "%lf %lf %lf %lf%c", number, number + 1, number + 2, number + 3,
                        &rest) != 4)
            out += kept;
        line.clear();
    };
    for (const char c : text) {
        if (c == '\n')
            flush();
        else
            line += c;
    }
    flush();
    return out;
}

void rttyTable(int trials, std::uint64_t seed) {
    std::printf("| SNR in 2500 Hz, dB | this decoder | minimodem |\n|---|---|---|\n");
    for (const double snr : {-9.0, -8.0, -7.0, -6.0, -5.0, -4.0, -3.0, -2.0, 0.0, 3.0, 6.0}) {
        double own = 0, peer = 0;
        for (int trial = 0; trial < trials; ++trial) {
            const std::uint64_t number = seed * 1000 + static_cast<std::uint64_t>(trial);
            const std::string text = test::randomGroups(12, number);
            Signal signal = test::teletypeSignal(test::teletypeCodes("RYRYRYRY " + text, true), {});
            addNoise(signal, snr, 2500, 1, number + 7);
            signal = test::receiveFilter(signal, 2210 - 250, 2210 + 250);
            RttyDecoder decoder;
            std::string heard;
            for (std::size_t at = 0; at + 512 <= signal.size(); at += 512)
                heard += decoder.process({signal.data() + at, 512}, 2125);
            own += errors(text, folded(withoutMarks(heard)));
            peer += errors(text, folded(test::minimodemTeletype(signal, 2125, 2295)));
        }
        std::printf("| %.0f | %.1f %% | %.1f %% |\n", snr, 100 * own / trials, 100 * peer / trials);
        std::fflush(stdout);
    }
}

void chirpTable(int trials, std::uint64_t seed) {
    std::printf("| SNR in 2500 Hz, dB | decoded at 0 Hz | at +100 Hz | at -100 Hz |\n|---|---|---|---|\n");
    for (const double snr : {-13.0, -14.0, -15.0, -16.0, -17.0, -18.0, -19.0, -20.0}) {
        int decoded[3] = {}, wrong = 0;
        for (int trial = 0; trial < trials; ++trial)
            for (int column = 0; column < 3; ++column) {
                std::mt19937_64 random(seed * 1000 + static_cast<std::uint64_t>(trial));
                Signal signal(random() % 4800 + static_cast<std::size_t>(11.5 * 48000));
                const std::size_t lead = signal.size() - static_cast<std::size_t>(11.5 * 48000);
                ChirpTransmitter transmitter("Q9ZZZ");
                const double centre = ChirpWave::kCentre + (column == 0 ? 0 : column == 1 ? 100 : -100);
                transmitter.process({signal.data() + lead, signal.size() - lead}, centre);
                double power = 0, count = 0;
                for (const auto& sample : signal)
                    if (std::norm(sample) > 0) {
                        power += std::norm(sample);
                        ++count;
                    }
                addNoise(signal, snr, 2500, power / count, random());
                ChirpReceiver receiver;
                for (std::size_t at = 0; at + 512 <= signal.size(); at += 512)
                    if (const auto report = receiver.process({signal.data() + at, 512}, ChirpWave::kCentre)) {
                        decoded[column] += report->callsign == "Q9ZZZ";
                        wrong += report->callsign != "Q9ZZZ";
                    }
            }
        std::printf("| %.0f | %d of %d | %d of %d | %d of %d |%s\n", snr, decoded[0], trials, decoded[1],
                    trials, decoded[2], trials, wrong != 0 ? " and wrong ones" : "");
        std::fflush(stdout);
    }
}

void chirpWav(const std::string& path) {
    Signal signal(12 * 48000);
    ChirpTransmitter transmitter("Q9ZZZ");
    transmitter.process(signal, ChirpWave::kCentre);
    addNoise(signal, 0, 2500, 0.85, 1);
    test::writeWav(path, test::asAudio(test::receiveFilter(signal, 300, 2700), 0, 48000));
}

} // namespace

int main(int argc, char** argv) {
    const std::string which = argc > 1 ? argv[1] : "";
    const int trials = argc > 2 ? std::atoi(argv[2]) : 10;
    const std::uint64_t seed = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 1;
    if (which == "cw")
        cwTable(trials, seed);
    else if (which == "rtty")
        rttyTable(trials, seed);
    else if (which == "chirp")
        chirpTable(trials, seed);
    else if (which == "chirp-wav" && argc == 3)
        chirpWav(argv[2]);
    else {
        std::fprintf(stderr, "keyboard_error_rates cw|rtty|chirp [TRIALS] [SEED]\n"
                             "keyboard_error_rates chirp-wav FILE\n");
        return 2;
    }
    return 0;
}
