// What a transceiver is to receive, as written on the command line.
#pragma once

#include <string>
#include <string_view>

namespace ferrow {

enum class Mode { Usb, Lsb, Am, Fm, Cw };

const char* nameOf(Mode mode);

struct Tuning {
    long long frequency = 0; // of the signal: suppressed or full carrier, Hz
    Mode mode = Mode::Usb;
    int low = 0; // filter, Hz relative to vfo(); low < high
    int high = 0;

    // Where the transceiver is tuned. CW stands kCwPitch below the signal, which so becomes audible.
    long long vfo() const;
    // "14200000_usb", for file names.
    std::string slug() const;
};

inline constexpr int kCwPitch = 600; // Hz

// FREQUENCY[:MODE[LOW:HIGH]], as in 14.200M:usb, 7.1M:am or 14.2M:usb[200:2900]. Without a mode: below 10 MHz
// lsb, above usb. LOW and HIGH are audio frequencies in Hz for usb, cw and lsb (which mirrors them), and
// distances from the carrier for am and fm. Throws UsageError.
Tuning parseTuning(std::string_view text);

} // namespace ferrow
