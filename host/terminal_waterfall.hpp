// A waterfall in the lines of a terminal.
#pragma once

#include "host/level_range.hpp"
#include "host/spectrum.hpp"

#include <string>

namespace ferrow {

class TerminalWaterfall {
public:
    explicit TerminalWaterfall(int columns) : columns_(columns) {}

    void setColumns(int columns) { columns_ = columns; }

    // One line, with the escapes for its colours and without a line's end; each column shows the strongest
    // bin under it.
    std::string line(const Spectrum& spectrum);

    // The axis: a tick mark under each round frequency, with its MHz beside it.
    std::string axis(const Spectrum& spectrum) const;

    // Column of a frequency, 0 to columns - 1; outside of the spectrum, outside of these.
    int columnOf(const Spectrum& spectrum, double frequency) const;

private:
    int columns_;
    LevelRange range_;
};

// Width of the terminal behind stdout, or `otherwise`.
int terminalColumns(int otherwise = 100);
bool stdoutIsTerminal();

// A step of 1, 2 or 5 times a power of ten, such that at least `smallest` lies between ticks.
double tickStep(double smallest);

} // namespace ferrow
