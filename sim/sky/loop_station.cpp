#include "sim/sky/loop_station.hpp"

#include "sim/decibel.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <numbers>
#include <random>
#include <string_view>
#include <utility>

namespace ferrow::sim {
namespace {

constexpr std::array<std::pair<char, std::string_view>, 44> kMorse = {
    {{'A', ".-"},     {'B', "-..."},   {'C', "-.-."},   {'D', "-.."},    {'E', "."},     {'F', "..-."},
     {'G', "--."},    {'H', "...."},   {'I', ".."},     {'J', ".---"},   {'K', "-.-"},   {'L', ".-.."},
     {'M', "--"},     {'N', "-."},     {'O', "---"},    {'P', ".--."},   {'Q', "--.-"},  {'R', ".-."},
     {'S', "..."},    {'T', "-"},      {'U', "..-"},    {'V', "...-"},   {'W', ".--"},   {'X', "-..-"},
     {'Y', "-.--"},   {'Z', "--.."},   {'0', "-----"},  {'1', ".----"},  {'2', "..---"}, {'3', "...--"},
     {'4', "....-"},  {'5', "....."},  {'6', "-...."},  {'7', "--..."},  {'8', "---.."}, {'9', "----."},
     {'/', "-..-."},  {'?', "..--.."}, {'.', ".-.-.-"}, {',', "--..--"}, {'=', "-...-"}, {'+', ".-.-."},
     {'-', "-....-"}, {'@', ".--.-."}}};

std::string_view morseOf(char c) {
    const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const auto at =
        std::find_if(kMorse.begin(), kMorse.end(), [upper](const auto& row) { return row.first == upper; });
    return at == kMorse.end() ? std::string_view{} : at->second;
}

} // namespace

LoopStation::LoopStation(std::string name, std::string kind, double frequency, double levelDb,
                         std::vector<Cfloat> loop, int rateFactor)
    : Station(std::move(name), std::move(kind), frequency, levelDb), loop_(std::move(loop)),
      rateFactor_(rateFactor) {
    const auto amplitude = static_cast<float>(amplitudeFromDb(levelDb));
    for (Cfloat& x : loop_)
        x *= amplitude;
}

void LoopStation::render(const SkyTime&, std::int64_t first, std::span<Cfloat> out) const {
    const auto length = static_cast<std::int64_t>(loop_.size());
    std::int64_t at = first % length;
    if (at < 0)
        at += length;
    for (Cfloat& x : out) {
        x = loop_[static_cast<std::size_t>(at)];
        if (++at == length)
            at = 0;
    }
}

std::vector<Cfloat> ssbLoop(const Audio& audio, bool upper) {
    std::vector<Cfloat> loop = analyticSignal(audio);
    float largest = 0.0f;
    for (const Cfloat& x : loop)
        largest = std::max(largest, std::abs(x));
    for (Cfloat& x : loop)
        x = (upper ? x : std::conj(x)) / std::max(largest, 1e-20f);
    return loop;
}

std::vector<Cfloat> amLoop(const Audio& audio, double depth) {
    std::vector<Cfloat> loop;
    loop.reserve(audio.size());
    for (const float x : audio)
        loop.emplace_back(1.0f + static_cast<float>(depth) * x, 0.0f);
    return loop;
}

std::vector<Cfloat> cwLoop(const std::string& text, double wordsPerMinute, double gapSeconds, double jitter,
                           std::uint64_t seed) {
    const double dot = 1.2 / wordsPerMinute;
    std::mt19937_64 random(seed);
    const auto uneven = [&](double seconds) {
        const double chance = static_cast<double>(random() >> 11) * 0x1p-53;
        return seconds * (1.0 + jitter * (2.0 * chance - 1.0));
    };
    std::vector<std::pair<double, double>> marks; // start and end, seconds
    double t = dot;
    for (const char c : text) {
        if (c == ' ') {
            t += uneven(4.0 * dot); // with the 3 behind the letter: 7
            continue;
        }
        const std::string_view code = morseOf(c);
        for (const char element : code) {
            const double length = uneven(element == '-' ? 3.0 * dot : dot);
            marks.emplace_back(t, t + length);
            t += length + uneven(dot);
        }
        if (!code.empty())
            t += uneven(2.0 * dot);
    }
    constexpr double kEdge = 0.005;
    std::vector<Cfloat> loop(static_cast<std::size_t>((t + gapSeconds) * kBaseRate) + 1);
    for (const auto& [from, to] : marks) {
        const auto first = static_cast<std::size_t>((from - kEdge) * kBaseRate);
        const auto last = std::min(loop.size() - 1, static_cast<std::size_t>((to + kEdge) * kBaseRate));
        for (std::size_t i = first; i <= last; ++i) {
            const double now = static_cast<double>(i) / kBaseRate;
            const double rise = std::clamp((now - from + kEdge / 2.0) / kEdge, 0.0, 1.0);
            const double fall = std::clamp((to + kEdge / 2.0 - now) / kEdge, 0.0, 1.0);
            const double level = std::min(rise, fall);
            loop[i] = static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * level));
        }
    }
    return loop;
}

} // namespace ferrow::sim
