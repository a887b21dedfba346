#pragma once
#include "sim/ft8/slot_station.hpp"
#include "sim/radio/faults.hpp"
#include "sim/radio/telemetry.hpp"
#include "sim/sky/carrier.hpp"
#include "sim/sky/psk_station.hpp"
#include "sim/sky/teletype.hpp"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace ferrow::sim {

/// A scene file that cannot be used; the text says where and why.
class SceneError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Where a voice or broadcast station takes its audio from.
struct SourceSpec {
    enum class Kind { Speech, Wav, Tones, Melody } kind = Kind::Speech;
    std::string path;          ///< Wav, relative to the scene file
    std::vector<double> pitch; ///< Hz
    double beat = 0.3;         ///< Melody, seconds a note
    double gap = 0.0;          ///< silence behind, seconds
    double shift = 0.0;        ///< the loop starts that many seconds into the source
};

enum class StationKind { Carrier, Am, Ssb, Cw, Ft8, Ft4, Iq, Rtty, Psk };

/// One station as the scene file gives it. Which members count depends on the kind.
struct StationSpec {
    StationKind kind = StationKind::Carrier;
    std::string name;
    double frequency = 0.0;      ///< Hz: carrier, dial or centre
    std::optional<double> level; ///< dBFS at 0 dB of RF gain
    std::optional<double> snr;   ///< dB in 2500 Hz against the noise floor
    SourceSpec source;
    double low = 300.0; ///< audio band, Hz
    double high = 2700.0;
    double depth = 0.8; ///< AM
    bool upper = true;  ///< SSB
    std::string text;   ///< CW, RTTY, PSK
    double wpm = 20.0;
    double gap = 2.0;
    double jitter = 0.0;   ///< CW
    Pulse pulse;           ///< carrier
    TeletypeLine teletype; ///< RTTY
    PskLine psk;
    std::vector<std::string> messages;
    double offset = 1500.0; ///< audio offset of tone 0
    double dt = 0.0;
    SlotRule slot = SlotRule::Every;
    std::string file;      ///< I/Q recording
    bool inverted = false; ///< its spectrum is upside down
};

struct Scene {
    std::string name = "scene";
    std::uint64_t seed = 1;
    std::optional<double> noiseFloor = -135.0; ///< dBFS in 1 Hz at 0 dB of RF gain; nothing: no noise
    double adc1Gain = 0.0;
    double adc1Phase = 0.0;
    TelemetrySettings telemetry;
    std::vector<FaultSpec> faults;
    std::vector<StationSpec> stations;
    std::string folder; ///< paths in the scene are relative to it

    /// Level of a station, from `level` or `snr`.
    double levelOf(const StationSpec& station) const;
};

/// Reads a scene from its text. `folder` is where its relative paths start. Throws SceneError.
Scene parseScene(std::string_view text, const std::string& folder);
/// Reads a scene file; "builtin" is the demo scene inside the program. Throws SceneError.
Scene loadScene(const std::string& path);

const char* nameOf(StationKind kind);

} // namespace ferrow::sim
