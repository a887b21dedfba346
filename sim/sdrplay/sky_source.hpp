#pragma once
#include "sim/sky/noise.hpp"
#include "sim/sky/sky.hpp"

#include <array>
#include <memory>
#include <span>
#include <vector>

namespace ferrow::sim::rsp {

/// What a scene sounds like at the converters of two tuners, at 0 dB of gain, full scale 1. One thread.
///
/// As in the network radios' synthesizer each station is transformed once a block, here for each tuner, and
/// one inverse transform (overlap-save) brings all to the tuner's rate. The block is 8 ms, the shortest in
/// which all rates of the device have whole samples and the transforms small factors.
class SkySource {
public:
    struct Tuner {
        bool on = false;
        double rfHz = 0.0;
        double bandwidth = 0.0; ///< Hz; what lies outside does not come through
        bool operator==(const Tuner&) const = default;
    };

    /// `clockPpm`: error of the device's clock; a fast clock hears every station lower.
    SkySource(std::shared_ptr<const Sky> sky, double clockPpm);
    ~SkySource();

    /// The stream begins at that moment, UTC seconds.
    void begin(double utc);
    /// Takes effect with the next sample. `rate`: samples a second, a multiple of 125.
    void set(double rate, const std::array<Tuner, 2>& tuners);

    /// How many samples the present block still has; makes the next one if none is left.
    std::size_t available();
    /// The next `count` of these, at most available(), above the tuned frequency turning forwards.
    std::span<const Cfloat> next(int tuner, std::size_t count) const;
    void advance(std::size_t count) { position_ += count; }

    /// Largest magnitude of the block.
    float peak(int tuner) const;

private:
    struct Voice;
    struct Channel;

    void makeBlock();
    void lay(Voice& voice, Channel& channel, Cfloat weight);

    std::shared_ptr<const Sky> sky_;
    double clockPpm_;
    SkyTime time_;
    std::vector<std::unique_ptr<Voice>> voices_;
    std::array<std::unique_ptr<Channel>, 2> channels_;
    std::array<Tuner, 2> tuners_{};
    double rate_ = 0.0;
    std::size_t blockSamples_ = 0;
    std::size_t position_ = 0;
    std::int64_t block_ = 0;
};

} // namespace ferrow::sim::rsp
