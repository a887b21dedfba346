#include "tests/modes/rtty/teletype_signal.hpp"

#include <cmath>
#include <numbers>

namespace ferrow::test {

namespace {

// Ordered by the number of each code; '_' for codes that print nothing here.
const std::string kLetters = "_E\nA SIU\rDRJNFCKTZLWHYPQOBG_MXV_";
const std::string kFigures = "_3\n- '87\r\x05"
                             "4\x07,!:(5+)2\xA3"
                             "6019?&_./=_";

} // namespace

std::vector<int> teletypeCodes(const std::string& text, bool unshiftOnSpace) {
    std::vector<int> codes{kLtrs};
    bool figures = false;
    for (const char c : text) {
        const auto letter = kLetters.find(c), figure = kFigures.find(c);
        const bool both = letter != std::string::npos && letter == figure;
        if (letter == std::string::npos && figure == std::string::npos)
            continue;
        const bool wanted = letter == std::string::npos;
        if (!both && wanted != figures) {
            codes.push_back(wanted ? kFigs : kLtrs);
            figures = wanted;
        }
        codes.push_back(static_cast<int>(wanted ? figure : letter));
        if (c == ' ' && unshiftOnSpace)
            figures = false;
    }
    return codes;
}

std::vector<std::complex<float>> teletypeSignal(const std::vector<int>& codes, const Line& line) {
    std::vector<std::complex<float>> out;
    double phase = 0, until = 0;
    const auto element = [&](bool mark, double seconds) {
        until += seconds * 48000;
        const double step = -2 * std::numbers::pi * (mark ? line.mark : line.space) / 48000;
        while (static_cast<double>(out.size()) < until) {
            phase = std::fmod(phase + step, 2 * std::numbers::pi);
            out.emplace_back(std::polar(1.0f, static_cast<float>(phase)));
        }
    };
    element(true, line.lead);
    for (const int code : codes) {
        element(false, 1 / line.baud);
        for (int bit = 0; bit < 5; ++bit)
            element((code >> bit & 1) != 0, 1 / line.baud);
        element(true, line.stop / line.baud);
    }
    element(true, line.tail);
    return out;
}

std::vector<Tone> tones(const std::vector<std::complex<float>>& signal) {
    std::vector<Tone> out;
    for (std::size_t i = 1; i < signal.size(); ++i) {
        const std::complex<double> turn =
            std::complex<double>(signal[i]) * std::conj(std::complex<double>(signal[i - 1]));
        const double hertz = -std::arg(turn) * 48000 / (2 * std::numbers::pi);
        if (out.empty() || std::abs(hertz - out.back().hertz) > 20)
            out.push_back({hertz, i == 1 ? std::size_t{1} : 0});
        ++out.back().samples;
    }
    return out;
}

} // namespace ferrow::test
