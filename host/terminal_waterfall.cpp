#include "host/terminal_waterfall.hpp"

#include "host/colour_map.hpp"
#include "host/frequency.hpp"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace ferrow {
namespace {

constexpr int kColumnsPerTick = 16;

} // namespace

std::string TerminalWaterfall::line(const Spectrum& spectrum) {
    const std::size_t bins = spectrum.decibel.size();
    std::vector<float> columns(static_cast<std::size_t>(columns_));
    for (std::size_t c = 0; c < columns.size(); ++c) {
        const std::size_t from = std::min(c * bins / columns.size(), bins - 1);
        const std::size_t to = std::max(from + 1, (c + 1) * bins / columns.size());
        columns[c] = *std::max_element(spectrum.decibel.begin() + static_cast<std::ptrdiff_t>(from),
                                       spectrum.decibel.begin() + static_cast<std::ptrdiff_t>(to));
    }
    range_.follow(columns, kNoSpectrum);
    std::string text;
    int last = -1;
    for (const float value : columns) {
        const int colour =
            value <= kNoSpectrum + 1 ? 16 : terminalColour(waterfallColour(range_.level(value)));
        if (colour != last)
            text += fmt::format("\x1b[48;5;{}m", colour);
        last = colour;
        text += ' ';
    }
    return text + "\x1b[0m";
}

int TerminalWaterfall::columnOf(const Spectrum& spectrum, double frequency) const {
    const double bins = static_cast<double>(spectrum.decibel.size());
    return static_cast<int>(std::floor((spectrum.binOf(frequency) + 0.5) / bins * columns_));
}

std::string TerminalWaterfall::axis(const Spectrum& spectrum) const {
    std::string text(static_cast<std::size_t>(columns_), ' ');
    const double perColumn = (spectrum.high - spectrum.low) / columns_;
    const double step = tickStep(perColumn * kColumnsPerTick);
    for (double f = std::ceil(spectrum.low / step) * step; f < spectrum.high; f += step) {
        const std::string label = "|" + showMegahertz(std::round(f));
        const int column = columnOf(spectrum, f);
        if (column >= 0 && column + static_cast<int>(label.size()) <= columns_)
            text.replace(static_cast<std::size_t>(column), label.size(), label);
    }
    return text;
}

int terminalColumns(int otherwise) {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return otherwise;
    return size.ws_col;
}

bool stdoutIsTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

double tickStep(double smallest) {
    const double decade = std::pow(10, std::floor(std::log10(smallest)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * decade >= smallest)
            return factor * decade;
    return 10 * decade;
}

} // namespace ferrow
