// Radioteletype read from a transceiver's sound: the library writes what it reads to the standard output, of
// all transceivers alike.
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <span>
#include <string>

namespace ferrow::serve {

// 45.45 baud, 170 Hz shift, five-unit code with a space ending figures. Takes either sense: the one whose
// characters end as they should.
class RttyEar {
public:
    // Audio frequency of the lower tone, Hz.
    void setLowerTone(double hertz);

    // Sound at 48000 samples a second. Returns the characters that have ended in it.
    std::string process(std::span<const float> sound);

private:
    static constexpr std::size_t kStep = 24, kElement = 44; // samples of a sum; sums of an element (22 ms)

    // One tone's level over the last element.
    struct Tone {
        std::complex<double> turn{1, 0}, at{1, 0}, sum{}, total{};
        std::array<std::complex<double>, kElement> sums{};
        void set(double hertz);
        double level(std::size_t place);
    };

    // Characters out of marks and spaces, each a sum's time long.
    struct Reader {
        int wait = -1; // sums until the next look; below 0: waits for a start
        int element = 0;
        unsigned bits = 0;
        bool last = true, figures = false;
        double faults = 0.4; // recent share of characters without a stop
        // A character, or '\0'.
        char take(bool mark);
    };

    Tone lower_, upper_;
    std::size_t filled_ = 0, place_ = 0;
    double strength_ = 0; // how much one tone stands above the other, 0 to 1, lately
    Reader usual_, reversed_;
};

} // namespace ferrow::serve
