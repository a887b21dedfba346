// Signal to noise ratio of a decoded frame, measured in the recording.
#pragma once

#include "host/ft8_bands.hpp"
#include "host/sound_file.hpp"

#include <vector>

namespace ferrow {

// ft8decode's figure is the level of one tone over a floor taken from the whole grid, less a constant: it
// orders signals. This one is the customary figure: mean power of the frame over the noise in 2500 Hz. The
// power is what stands above the noise in the frame's band while it is on the air; the noise density is the
// low level among the bands of 50 Hz between 300 and 2700 Hz. A neighbour in the same band adds to it.
class SnrMeter {
public:
    explicit SnrMeter(const Sound& period);

    // dB for a frame whose lowest tone is at `frequency` Hz and that starts `start` seconds into the
    // recording; never below kLowest.
    double measure(double frequency, double start, const SlotFormat& format) const;

    static constexpr double kLowest = -26;

private:
    double binWidth_ = 1;     // Hz
    double frameSeconds_ = 0; // from one frame to the next
    double windowSeconds_ = 0;
    double noise_ = 0;                      // per bin
    std::vector<std::vector<float>> power_; // [frame][bin]
};

} // namespace ferrow
