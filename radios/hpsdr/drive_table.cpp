#include "radios/hpsdr/drive_table.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {

void DriveTable::build(bool fineSteps) {
    if (!fineSteps) {
        for (int i = 0; i < 256; ++i)
            entries[static_cast<std::size_t>(i)] = {i, 1.0};
        return;
    }
    int step = 15;
    int fine = 0;
    for (std::size_t i = 255; i >= 1; --i) {
        entries[i] = {step * 16, std::pow(10.0, -(fine * 0.1) / 20.0)};
        ++fine;
        if (fine == 5 && step >= 1) {
            --step;
            fine = 0;
        }
    }
    entries[0] = {0, 0.0};
}

const DriveEntry& DriveTable::operator[](int level) const {
    return entries[static_cast<std::size_t>(std::clamp(level, 0, 255))];
}

} // namespace ferrow
