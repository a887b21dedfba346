#include "sim/sky/psk_station.hpp"

#include <bit>
#include <cmath>
#include <numbers>

namespace ferrow::sim {
namespace {

constexpr int kTail = 40; // symbols: more than a decoder of the code holds back

std::vector<int> bitsOf(std::string_view text, const PskLine& line) {
    std::vector<int> bits(static_cast<std::size_t>(line.idle * line.baud), 0);
    for (const char character : text) {
        for (const char bit : kPskCodes[static_cast<unsigned char>(character)])
            bits.push_back(bit == '1' ? 1 : 0);
        bits.insert(bits.end(), 2, 0);
    }
    bits.insert(bits.end(), kTail, 0);
    return bits;
}

/// The carrier at the end of each symbol; a change of the phase in quarter turns.
std::vector<std::complex<double>> pointsOf(const std::vector<int>& bits, bool four) {
    constexpr unsigned kOdd = 0b10111;
    constexpr unsigned kEven = 0b11001;
    std::vector<std::complex<double>> points = {0.0, 1.0};
    unsigned history = 0;
    for (const int bit : bits) {
        history = history << 1 | static_cast<unsigned>(bit);
        int turn = bit == 1 ? 0 : 2;
        if (four)
            turn = (2 + 2 * (std::popcount(history & kEven) % 2) + std::popcount(history & kOdd) % 2) % 4;
        points.push_back(points.back() * std::polar(1.0, turn * std::numbers::pi / 2.0));
    }
    points.emplace_back(0.0);
    return points;
}

} // namespace

std::vector<Cfloat> pskLoop(std::string_view text, const PskLine& line) {
    const auto points = pointsOf(bitsOf(text, line), line.four);
    const auto symbol = static_cast<std::size_t>(kBaseRate / line.baud);
    std::vector<Cfloat> loop;
    loop.reserve((points.size() - 1) * symbol);
    for (std::size_t k = 0; k + 1 < points.size(); ++k)
        for (std::size_t n = 0; n < symbol; ++n) {
            const double turn = std::numbers::pi * static_cast<double>(n) / static_cast<double>(symbol);
            const double share = 0.5 - 0.5 * std::cos(turn);
            loop.emplace_back(points[k] * (1.0 - share) + points[k + 1] * share);
        }
    loop.resize(loop.size() + static_cast<std::size_t>(line.gap * kBaseRate));
    return loop;
}

} // namespace ferrow::sim
