// Text painted into a spectrogram: a multi-tone form of Hellschreiber in which each dot of the raster is a
// pulse of its own tone, one row after the other.
#pragma once

#include "modes/hell_font.hpp"

#include <complex>
#include <span>

namespace ferrow {

// One thread. A column is eight rows from the lowest tone to the highest, 1300 Hz; a character is a blank
// column and the columns of its glyph. Tones lie above the tuned frequency.
class HellPainter {
public:
    static constexpr double kTopTone = 1300.0; // Hz

    // `frequencyStep` in Hz between rows sets the length of a row too: it lasts 1 / frequencyStep seconds,
    // cut to whole samples. `next()` gives the characters; what the font does not have is a blank.
    template <class Next>
    void process(std::span<std::complex<float>> out, double frequencyStep, Next&& next) {
        for (auto& sample : out) {
            if (--countdown_ <= 0) {
                if (beginRow(frequencyStep))
                    setGlyph(next());
                keyRow(frequencyStep);
            }
            sample = turn();
        }
        rising_.phasor /= std::abs(rising_.phasor);
        falling_.phasor /= std::abs(falling_.phasor);
    }

private:
    struct Oscillator {
        std::complex<double> phasor{1, 0};
        std::complex<double> step{1, 0};
        double key = 0;
    };

    // True when the next character is due.
    bool beginRow(double frequencyStep);
    void setGlyph(int character);
    void keyRow(double frequencyStep);
    std::complex<float> turn();

    Oscillator rising_, falling_;
    const HellGlyph* glyph_ = &hellFont[0];
    int countdown_ = 0, rowLength_ = 1; // samples
    int rowIndex_ = 0, columnIndex_ = 0;
    unsigned rowMask_ = 0;
};

} // namespace ferrow
