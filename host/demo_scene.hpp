// What the simulated sky holds, as ferrow-sim tells it.
#pragma once

#include <string>
#include <vector>

namespace ferrow {

struct SceneStation {
    std::string name, kind;   // kind: ft8, ft4, ssb, am, cw, carrier
    double frequency = 0;     // Hz: of the carrier, or the dial
    double offset = 0;        // FT8 and FT4: audio frequency of the lowest tone
    double level = 0;         // dB of full scale
    double snr = 0;           // FT8 and FT4
    double low = 0, high = 0; // audio band of ssb and am
    bool upper = true;        // ssb
    std::string message;      // FT8 and FT4

    double onAir() const { return frequency + offset; }
    bool voice() const { return kind == "ssb" || kind == "am"; }
    // One line in the spectrum at its frequency.
    bool narrow() const { return kind == "carrier" || kind == "am" || kind == "cw"; }
    // Name of the file with its sound.
    std::string fileName() const;
};

// Reads the simulator's list. Throws Failure.
std::vector<SceneStation> readScene(const std::string& json);

} // namespace ferrow
