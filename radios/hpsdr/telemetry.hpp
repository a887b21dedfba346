// What the radio reports of itself in the control bytes of its receive frames.
#pragma once

#include "radios/hpsdr/power_meter.hpp"

#include <cstdint>
#include <optional>

namespace ferrow {

// What one frame's control bytes said.
struct TelemetryReport {
    bool skipped = false; // C0 bit 7: nothing else here counts
    bool radioPtt = false;
    bool cwKey = false;
    std::optional<bool> adcOverload;
    bool txOverflow = false;
    bool txUnderflow = false;
    std::optional<int> minTxBufferLevel; // to be shown now
};

class Telemetry {
public:
    // `c` are C0 to C4. `ptt`: the radio transmits, and reports its transmit buffer. `refreshed`: this is the
    // first frame behind a refresh of the telemetry, which publishes the lowest level since the last one.
    TelemetryReport read(const std::uint8_t* c, bool ptt, bool refreshed);

    // Averaged analogue inputs, 0 to 4095.
    const AnalogInputs& inputs() const { return ain; }

private:
    AnalogInputs ain;
    int minLevel = 128;
};

} // namespace ferrow
