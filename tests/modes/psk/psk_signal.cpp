#include "tests/modes/psk/psk_signal.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <fstream>
#include <numbers>
#include <sstream>

namespace ferrow::test {

const PskForm kPsk31{"PSK31", 0, 31.25, false}, kPsk63{"PSK63", 8, 62.5, false},
    kPsk125{"PSK125", 16, 125, false}, kQpsk31{"QPSK31", 1, 31.25, true}, kQpsk63{"QPSK63", 9, 62.5, true},
    kQpsk125{"QPSK125", 17, 125, true};
const std::vector<PskForm> kPskForms = {kPsk31, kPsk63, kPsk125, kQpsk31, kQpsk63, kQpsk125};

namespace {

const std::array<std::string, 256>& codes() {
    static const auto table = [] {
        std::array<std::string, 256> read;
        std::ifstream file(FERROW_SOURCE_DIR "/tests/data/psk_varicode.txt");
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            int byte = 0;
            std::string code;
            if (line[0] != '#' && words >> byte >> code)
                read.at(static_cast<std::size_t>(byte)) = code;
        }
        return read;
    }();
    return table;
}

} // namespace

std::vector<int> pskBits(std::string_view text, int lead, int tail) {
    std::vector<int> bits(static_cast<std::size_t>(lead), 0);
    for (const char character : text) {
        for (const char bit : codes()[static_cast<unsigned char>(character)])
            bits.push_back(bit - '0');
        bits.insert(bits.end(), {0, 0});
    }
    bits.insert(bits.end(), static_cast<std::size_t>(tail), 0);
    return bits;
}

std::vector<int> pskPhases(const std::vector<int>& bits, bool qpsk, bool inverted) {
    // The two parities of the last five bits choose the quarter turns.
    constexpr unsigned kGenerators[] = {0b10111, 0b11001};
    constexpr int kTurns[] = {2, 3, 0, 1}; // by the second parity times two plus the first
    std::vector<int> phases{0};
    unsigned last = 0;
    for (const int bit : bits) {
        last = last << 1 | static_cast<unsigned>(bit);
        int turn = bit != 0 ? 0 : 2;
        if (qpsk)
            turn = kTurns[(std::popcount(last & kGenerators[1]) % 2) * 2 +
                          std::popcount(last & kGenerators[0]) % 2];
        phases.push_back((phases.back() + (inverted ? 4 - turn : turn)) % 4);
    }
    return phases;
}

std::vector<double> pskSignal(const std::vector<int>& phases, double baud, double hz, double rate) {
    const double symbol = rate / baud;
    std::vector<double> out(static_cast<std::size_t>(symbol * static_cast<double>(phases.size() - 1)));
    for (std::size_t n = 0; n < out.size(); ++n) {
        const double place = static_cast<double>(n) / symbol;
        const auto k = std::min(static_cast<std::size_t>(place), phases.size() - 2);
        const auto point = [&](std::size_t at) { return std::polar(1.0, std::numbers::pi / 2 * phases[at]); };
        const double weight = 0.5 + 0.5 * std::cos(std::numbers::pi * (place - static_cast<double>(k)));
        const std::complex<double> z = weight * point(k) + (1 - weight) * point(k + 1);
        const double turns = hz * static_cast<double>(n) / rate;
        out[n] = (z * std::polar(1.0, 2 * std::numbers::pi * (turns - std::floor(turns)))).real();
    }
    return out;
}

std::vector<double> pskSignal(std::string_view text, const PskForm& form, double hz, double rate, int lead) {
    return pskSignal(pskPhases(pskBits(text, lead, 40), form.qpsk), form.baud, hz, rate);
}

double meanPower(const std::vector<double>& x) {
    double sum = 0;
    for (const double value : x)
        sum += value * value;
    return sum / static_cast<double>(x.size());
}

void addNoise(std::vector<double>& x, double power, double snr, double rate, std::mt19937_64& random) {
    const double density = power / std::pow(10, snr / 10) / 2500;
    std::normal_distribution<double> noise(0, std::sqrt(density * rate / 2));
    for (double& value : x)
        value += noise(random);
}

std::string pskText(std::size_t length, std::uint64_t seed) {
    static const char* const kWords[] = {"the",     "name",   "is",  "rig",   "here",  "antenna",
                                         "dipole",  "CQ",     "de",  "K1ABC", "599",   "QTH",
                                         "weather", "sunny",  "73",  "power", "watts", "fine",
                                         "copy",    "thanks", "for", "call",  "hello", "PSE"};
    std::mt19937_64 random(seed);
    std::string text;
    while (text.size() < length)
        text += std::string(text.empty() ? "" : " ") + kWords[random() % std::size(kWords)];
    text.resize(length - 1);
    return text + "k";
}

} // namespace ferrow::test
