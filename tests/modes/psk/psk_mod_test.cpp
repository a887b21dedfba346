#include "modes/psk/psk_mod.hpp"

#include "modes/psk/morse_table.hpp"
#include "tests/modes/psk/psk_trials.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace ferrow {
namespace {

using Samples = std::vector<std::complex<double>>;
constexpr double kPi = std::numbers::pi;

Samples generate(CPSKMod& modulator, int count) {
    std::vector<double> pairs(static_cast<std::size_t>(2 * count));
    modulator.generate(pairs.data(), count);
    Samples out(static_cast<std::size_t>(count));
    for (std::size_t n = 0; n < out.size(); ++n)
        out[n] = {pairs[2 * n], pairs[2 * n + 1]};
    return out;
}

// Everything that a transmission of `text` sends, with a little silence behind. The text comes `idle` symbols
// after the start: a receiver that has heard nothing before needs about two seconds of PSK31 to open its
// squelch.
Samples transmission(CPSKMod& modulator, std::string_view text, int idle = 96) {
    modulator.start();
    Samples out = generate(modulator, idle * modulator.samplesPerSymbol());
    modulator.queue(text);
    modulator.requestStop(); // once the text is out
    while (modulator.sending() && out.size() < 48000 * 120) {
        const Samples part = generate(modulator, 512);
        out.insert(out.end(), part.begin(), part.end());
    }
    return out;
}

// The audio that a receiver takes of it, at 8000 samples a second.
std::vector<double> heard(const Samples& sent) {
    std::vector<double> out;
    for (std::size_t n = 0; n < sent.size(); n += 6)
        out.push_back(sent[n].real());
    return out;
}

// Envelope in the middle of each symbol; the first is under way when a transmission starts.
std::vector<double> symbolLevels(const Samples& sent, int symbol) {
    std::vector<double> levels;
    for (std::size_t n = static_cast<std::size_t>(symbol / 2); n < sent.size();
         n += static_cast<std::size_t>(symbol))
        levels.push_back(std::abs(sent[n]));
    return levels;
}

TEST(PskMod, EveryModeReadsItsOwnText) {
    for (const auto& form : test::kPskForms) {
        CPSKMod modulator(form.modeWord);
        CPSKDet detector(form.modeWord);
        const std::string text = test::pskText(50, 41) + "\r\nUML \xe4\xff!";
        EXPECT_EQ(test::receive(detector, heard(transmission(modulator, text))), text) << form.name;
    }
}

TEST(PskMod, QpskInLowerSidebandReadsItsOwnText) {
    CPSKMod modulator(2);
    CPSKDet detector(2);
    EXPECT_EQ(test::receive(detector, heard(transmission(modulator, "lower sideband"))), "lower sideband");
}

TEST(PskMod, TextComesFromTheCallbackIfThereIsOne) {
    CPSKMod modulator;
    const std::string text = "from a source";
    int calls = 0;
    modulator.setSource([&] {
        const int place = calls++ - 96;
        return place >= 0 && place < static_cast<int>(text.size()) ? text[static_cast<std::size_t>(place)]
                                                                   : CPSKMod::kIdle;
    });
    CPSKDet detector;
    EXPECT_EQ(test::receive(detector, heard(transmission(modulator, "ring", 160))), text);
}

// The stop asked for together with the answer, as at the end of a text.
TEST(PskMod, ACarrierBehindACharacterDoesNotSpoilIt) {
    for (const int word : {0, 1}) {
        CPSKMod modulator(word);
        int calls = 0;
        modulator.setSource([&]() -> int {
            switch (calls++ - 96) {
            case 0:
                return 'o';
            case 1:
                return 'k';
            case 2:
                modulator.requestStop();
                return CPSKMod::kCarrierOn;
            default:
                return CPSKMod::kIdle;
            }
        });
        CPSKDet detector(word);
        modulator.start();
        const std::vector<double> audio = heard(generate(modulator, 1536 * 200));
        EXPECT_FALSE(modulator.sending());
        EXPECT_EQ(test::receive(detector, audio).substr(0, 3), "ok") << word;
    }
}

TEST(PskMod, FullAmplitudeIsOne) {
    CPSKMod modulator(3); // a steady carrier
    modulator.start();
    const Samples out = generate(modulator, 8 * 1536);
    for (std::size_t n = 3 * 1536; n < out.size(); ++n)
        ASSERT_NEAR(std::abs(out[n]), 0.707 * std::numbers::sqrt2, 1e-9);
    modulator.setAmplitude(0.1);
    EXPECT_NEAR(std::abs(generate(modulator, 10)[5]), 0.1 * std::numbers::sqrt2, 1e-9);
}

TEST(PskMod, TheCarrierHasANegativeFrequency) {
    CPSKMod modulator(3);
    modulator.setCarrierStep(2 * kPi * 1000 / 48000);
    modulator.start();
    generate(modulator, 4 * 1536);
    const Samples out = generate(modulator, 480);
    for (std::size_t n = 1; n < out.size(); ++n)
        ASSERT_NEAR(std::arg(out[n] / out[n - 1]), -2 * kPi * 1000 / 48000, 1e-6);
}

TEST(PskMod, BeforeATransmissionThereIsSilence) {
    CPSKMod modulator;
    modulator.queue("waiting");
    for (const auto& sample : generate(modulator, 5000))
        ASSERT_EQ(std::abs(sample), 0);
    EXPECT_FALSE(modulator.sending());
    EXPECT_EQ(modulator.symbolsToEnd(), 0);
}

// One symbol of rest until the first boundary, 32 of preamble, the idle symbol that sees the stop, 32 of
// carrier.
TEST(PskMod, PreambleAndPostambleHave32SymbolsEach) {
    CPSKMod modulator(16);
    const int symbol = modulator.samplesPerSymbol();
    const Samples out = transmission(modulator, "", 0);
    // Reversals pass through zero in the middle of a symbol; a carrier does not.
    const auto levels = symbolLevels(out, symbol);
    std::size_t n = 1;
    EXPECT_LT(levels[0], 1e-9);
    while (n < levels.size() && levels[n] < 0.5)
        ++n;
    EXPECT_EQ(n, 1 + 32 + 1u);
    std::size_t carrier = 0;
    while (n < levels.size() && levels[n] > 0.99) {
        ++n;
        ++carrier;
    }
    EXPECT_NEAR(static_cast<double>(carrier), 32, 1); // its first symbol may be a reversal
    EXPECT_LT(levels[std::min(n + 1, levels.size() - 1)], 1e-9);
}

TEST(PskMod, TheWaveIsThatOfAnIndependentSender) {
    for (const auto& form : test::kPskForms) {
        CPSKMod modulator(form.modeWord);
        modulator.setCarrierStep(0);
        const int symbol = modulator.samplesPerSymbol();
        modulator.queue("e t Q");
        modulator.start();
        const int count = 90;
        const Samples out = generate(modulator, symbol * (count + 1));
        // The rise ends on the reference's first phase; a character starts with one more zero.
        const auto phases = test::pskPhases(test::pskBits("e t Q", 32, 40), form.qpsk);
        double worst = 0;
        for (int k = 2; k < count; ++k)
            for (const double part : {0.25, 0.5, 0.75}) {
                const auto place = static_cast<std::size_t>(k - 2);
                const auto point = [&](std::size_t n) { return std::polar(1.0, kPi / 2 * phases[n]); };
                const double weight = 0.5 + 0.5 * std::cos(kPi * part);
                const std::complex<double> expected = weight * point(place) + (1 - weight) * point(place + 1);
                const auto at = static_cast<std::size_t>((k + part) * symbol);
                // Phase 0 is I and Q alike, on the other side of the axis.
                const std::complex<double> got =
                    std::conj(out[at]) * std::polar(1 / 0.707 / std::numbers::sqrt2, kPi / 4);
                worst = std::max(worst, std::abs(got - expected));
            }
        EXPECT_LT(worst, 0.03)
            << form.name; // symbol times are sums of sample times: a sample or two may be amiss
    }
}

TEST(PskMod, SymbolsKeepTheirAverageLength) {
    CPSKMod modulator(16);
    modulator.start();
    generate(modulator, 384 * 2);
    const Samples out = generate(modulator, 48000 * 20);
    // Zeros of the idling signal: one a symbol.
    int dips = 0;
    for (std::size_t n = 1; n + 1 < out.size(); ++n)
        if (std::abs(out[n]) < 0.02 && std::abs(out[n]) <= std::abs(out[n - 1]) &&
            std::abs(out[n]) < std::abs(out[n + 1]))
            ++dips;
    EXPECT_NEAR(dips, 20 * 125, 2);
}

TEST(PskMod, IdlingIsTwoTonesHalfASymbolRateApartFromTheCarrier) {
    CPSKMod modulator;
    modulator.start();
    generate(modulator, 1536 * 3);
    const Samples out = generate(modulator, 1536 * 24);
    const auto power = [&](double hz) {
        std::complex<double> sum;
        for (std::size_t n = 0; n < out.size(); ++n)
            sum += out[n] * std::polar(1.0, 2 * kPi * hz * static_cast<double>(n) / 48000);
        return std::norm(sum / static_cast<double>(out.size()));
    };
    EXPECT_NEAR(power(1500 - 15.625), 0.25, 0.01);
    EXPECT_NEAR(power(1500 + 15.625), 0.25, 0.01);
    EXPECT_LT(power(1500), 1e-4);
    EXPECT_LT(power(1500 + 3 * 15.625), 1e-4);
}

TEST(PskMod, ASignalDoesNotSpread) {
    CPSKMod modulator;
    const Samples out = transmission(modulator, test::pskText(10, 42), 0);
    const auto power = [&](double hz) {
        // A window over the whole, so that its ends do not show.
        std::complex<double> sum;
        for (std::size_t n = 0; n < out.size(); ++n) {
            const double w =
                0.5 - 0.5 * std::cos(2 * kPi * static_cast<double>(n) / static_cast<double>(out.size()));
            sum += w * out[n] * std::polar(1.0, 2 * kPi * hz * static_cast<double>(n) / 48000);
        }
        return std::norm(sum);
    };
    double inside = 0, outside = 0;
    for (double hz = 1470; hz < 1530; hz += 4.7)
        inside = std::max(inside, power(hz));
    for (double hz = 1650; hz < 1750; hz += 4.7)
        outside = std::max(outside, power(hz));
    EXPECT_LT(10 * std::log10(outside / inside), -45);
}

TEST(PskMod, AFullRingTakesNoMore) {
    CPSKMod modulator;
    EXPECT_EQ(modulator.queue(std::string(3000, 'x')), 2048u);
    EXPECT_EQ(modulator.queue("y"), 0u);
}

TEST(PskMod, TuneEndsWithAPostambleIfTheModeSaysSo) {
    for (const auto& [word, symbols] : {std::pair{3, 0}, std::pair{4, 32}}) {
        CPSKMod modulator(word | 16);
        modulator.start();
        EXPECT_EQ(modulator.txState(), CPSKMod::State::Tune);
        generate(modulator, 384 * 10);
        modulator.requestStop();
        int left = 0;
        while (modulator.sending() && left < 100) {
            generate(modulator, 384);
            ++left;
        }
        EXPECT_NEAR(left, symbols + 2, 2) << word;
    }
}

TEST(PskMod, AModeChangesBetweenSymbolsAndKeepsTheWaveWhole) {
    CPSKMod modulator;
    modulator.setCarrierStep(0);
    modulator.start();
    generate(modulator, 1536 * 5 + 700);
    modulator.setMode(8);
    EXPECT_EQ(modulator.mode(), 0);
    const Samples out = generate(modulator, 1536 * 6);
    EXPECT_EQ(modulator.mode(), 8);
    EXPECT_EQ(modulator.samplesPerSymbol(), 768);
    for (std::size_t n = 1; n < out.size(); ++n)
        ASSERT_LT(std::abs(out[n] - out[n - 1]), 0.01) << n;
}

TEST(PskMod, SymbolsToEndCoverTheRestOfTheTransmission) {
    for (const std::string text : {"", "a", "~~~"}) {
        CPSKMod modulator(16);
        modulator.setIdentification("K1ABC");
        modulator.queue(text);
        modulator.start();
        generate(modulator, 384 * 45); // within the text, or idle behind it
        const int promised = modulator.symbolsToEnd();
        modulator.requestStop();
        int left = 0;
        while (modulator.sending() && left < 5000) {
            generate(modulator, 384);
            ++left;
        }
        if (text.size() < 2) {
            EXPECT_LE(left, promised) << text;
            EXPECT_LE(promised, left + 12) << text;
        }
    }
}

// Morse code.

std::string morseOf(char character) {
    std::string elements;
    for (std::uint16_t word = morseWord(character); word != 0; word = static_cast<std::uint16_t>(word << 2))
        elements += " .-/"[word >> 14];
    return elements;
}

TEST(Morse, FiftyNineWordsFromSpaceToZ) {
    EXPECT_EQ(kMorseWords.size(), 59u);
    EXPECT_EQ(morseOf('E'), "./");
    EXPECT_EQ(morseOf('k'), "-.-/");
    EXPECT_EQ(morseOf('Z'), "--../");
    EXPECT_EQ(morseOf('0'), "-----/");
    EXPECT_EQ(morseOf('?'), "..--../");
    EXPECT_EQ(morseOf('/'), "-..-./");
    EXPECT_EQ(morseOf('$'), "...-..-/");
    EXPECT_EQ(morseOf(' '), "//");
    EXPECT_EQ(morseOf('#'), "");
    EXPECT_EQ(morseOf('['), "");
    EXPECT_EQ(morseOf('\n'), "");
    EXPECT_EQ(morseOf('\xe4'), "");
}

// Runs of on and off symbols behind the postamble.
std::vector<int> identificationRuns(std::string_view text, int word) {
    CPSKMod modulator(word);
    modulator.setIdentification(text);
    const int symbol = modulator.samplesPerSymbol();
    const Samples out = transmission(modulator, "", 0);
    EXPECT_EQ(modulator.mode(), word); // as before
    // Near the end of each symbol the wave rests.
    std::vector<int> runs;
    bool on = true;
    for (std::size_t n = static_cast<std::size_t>(symbol) * 64; n < out.size();
         n += static_cast<std::size_t>(symbol)) {
        const bool now = std::abs(out[n - 8]) > 0.5;
        if (runs.empty() || now != on)
            runs.push_back(0);
        on = now;
        ++runs.back();
    }
    runs.erase(runs.begin()); // the end of the carrier
    runs.erase(runs.begin()); // the rest before the first element
    if (!on)
        runs.pop_back();
    return runs;
}

TEST(Morse, IdentificationFollowsThePostambleElementByElement) {
    const std::vector<int> expected = {6, 2, 2, 2, 6, 6, 2, 14, 2}; // k, e, space, e in units of a third dash
    EXPECT_EQ(identificationRuns("ke#e e", 0).size(), 11u);
    const auto runs = identificationRuns("Ke e", 0);
    EXPECT_EQ(runs, expected);
}

TEST(Morse, ADotLastsAsLongAtEverySpeed) {
    EXPECT_EQ(identificationRuns("t", 0), std::vector<int>{6});
    EXPECT_EQ(identificationRuns("t", 8), std::vector<int>{12});
    EXPECT_EQ(identificationRuns("t", 17), std::vector<int>{24});
}

TEST(Morse, TheModeComesBackBehindTheIdentification) {
    CPSKMod modulator(9);
    modulator.setIdentification("K1ABC");
    transmission(modulator, "one");
    EXPECT_EQ(modulator.mode(), 9);
    EXPECT_EQ(modulator.txState(), CPSKMod::State::Off);
    modulator.setIdentification("");
    CPSKDet detector(9);
    EXPECT_EQ(test::receive(detector, heard(transmission(modulator, "two"))), "two");
}

} // namespace
} // namespace ferrow
