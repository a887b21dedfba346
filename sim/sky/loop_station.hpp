#pragma once
#include "sim/sky/audio.hpp"
#include "sim/sky/station.hpp"

#include <vector>

namespace ferrow::sim {

/// A station that repeats one stretch of baseband for ever.
class LoopStation : public Station {
public:
    /// `loop` at kBaseRate * rateFactor, amplitude 1 standing for `levelDb`.
    LoopStation(std::string name, std::string kind, double frequency, double levelDb,
                std::vector<Cfloat> loop, int rateFactor = 1);
    void render(const SkyTime& time, std::int64_t first, std::span<Cfloat> out) const override;
    int rateFactor() const override { return rateFactor_; }

private:
    std::vector<Cfloat> loop_;
    int rateFactor_;
};

/// Suppressed carrier, one sideband; the largest envelope is 1.
std::vector<Cfloat> ssbLoop(const Audio& audio, bool upper);
/// Carrier of 1 with the audio, of largest magnitude 1, at that depth (0 to 1).
std::vector<Cfloat> amLoop(const Audio& audio, double depth);
/// Keyed carrier of 1: Morse text with edges of 5 ms, then `gapSeconds` of silence. Unknown characters are
/// skipped. With `jitter` each mark and each space is longer or shorter by up to that share, by chance from
/// `seed`.
std::vector<Cfloat> cwLoop(const std::string& text, double wordsPerMinute, double gapSeconds,
                           double jitter = 0.0, std::uint64_t seed = 1);

} // namespace ferrow::sim
