#include "radios/hpsdr/telemetry.hpp"

#include "radios/hpsdr/wire.hpp"

#include <algorithm>

namespace ferrow {

namespace {

void average(double& value, const std::uint8_t* sample) {
    value = 0.9 * value + 0.1 * getBe16(sample);
}

} // namespace

TelemetryReport Telemetry::read(const std::uint8_t* c, bool ptt, bool refreshed) {
    TelemetryReport report;
    if ((c[0] & 0x80) != 0) {
        report.skipped = true;
        return report;
    }
    report.radioPtt = (c[0] & 0x01) != 0;
    report.cwKey = (c[0] & 0x04) != 0;
    switch (c[0] >> 3) {
    case 0:
        report.adcOverload = (c[1] & 0x01) != 0;
        if (!ptt)
            break;
        if (c[3] >= 128) {
            report.txUnderflow = (c[3] & 0x40) != 0;
            report.txOverflow = !report.txUnderflow;
            break;
        }
        minLevel = std::min<int>(minLevel, c[3]);
        if (refreshed) {
            report.minTxBufferLevel = minLevel;
            minLevel = 128;
        }
        break;
    case 1:
        average(ain.ain5, c + 1);
        average(ain.ain1, c + 3);
        break;
    case 2:
        average(ain.ain2, c + 1);
        average(ain.ain3, c + 3);
        break;
    case 3:
        average(ain.ain4, c + 1);
        average(ain.ain6, c + 3);
        break;
    default:
        break;
    }
    return report;
}

} // namespace ferrow
