#include "sim/sky/teletype.hpp"

#include <array>
#include <cctype>
#include <cmath>
#include <numbers>
#include <string_view>

namespace ferrow::sim {
namespace {

// ITA2 with the figures of the United States where they print; '_' stands for what is no character.
constexpr std::string_view kLetters = "_E\nA SIU\rDRJNFCKTZLWHYPQOBG_MXV_";
constexpr std::string_view kFigures = "_3\n- '87\r_4_,!:(5+)2_6019?&_./=_";
constexpr int kToFigures = 27;
constexpr int kToLetters = 31;
constexpr double kSteadyMark = 0.25; // seconds

} // namespace

std::vector<int> teletypeCodes(const std::string& text) {
    std::vector<int> codes(4, kToLetters);
    bool figures = false;
    for (const char raw : text) {
        const char c = static_cast<char>(std::toupper(static_cast<unsigned char>(raw)));
        const auto letter = kLetters.find(c);
        const auto figure = kFigures.find(c);
        if (c == '_' || (letter == std::string_view::npos && figure == std::string_view::npos))
            continue;
        const bool wanted = letter == std::string_view::npos;
        if (letter != figure && wanted != figures) {
            codes.push_back(wanted ? kToFigures : kToLetters);
            figures = wanted;
        }
        codes.push_back(static_cast<int>(wanted ? figure : letter));
        if (c == ' ')
            figures = false;
    }
    return codes;
}

std::vector<Cfloat> teletypeLoop(const std::string& text, const TeletypeLine& line) {
    std::vector<Cfloat> loop;
    double end = 0.0;
    double phase = 0.0;
    const double space = (line.reverse ? line.shift : -line.shift) * 2.0 * std::numbers::pi / kBaseRate;
    const auto element = [&](bool mark, double seconds) {
        end += seconds * kBaseRate;
        while (static_cast<double>(loop.size()) < end) {
            loop.push_back(static_cast<Cfloat>(std::polar(1.0, phase)));
            phase = std::fmod(phase + (mark ? 0.0 : space), 2.0 * std::numbers::pi);
        }
    };
    element(true, kSteadyMark);
    for (const int code : teletypeCodes(text)) {
        element(false, 1.0 / line.baud);
        for (int bit = 0; bit < 5; ++bit)
            element((code >> bit & 1) != 0, 1.0 / line.baud);
        element(true, line.stop / line.baud);
    }
    element(true, kSteadyMark);
    loop.resize(loop.size() + static_cast<std::size_t>(line.gap * kBaseRate));
    return loop;
}

} // namespace ferrow::sim
