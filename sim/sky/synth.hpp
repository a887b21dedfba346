#pragma once
#include "sim/sky/fourier.hpp"
#include "sim/sky/noise.hpp"
#include "sim/sky/sky.hpp"

#include <array>
#include <memory>
#include <span>
#include <vector>

namespace ferrow::sim {

/// ADC clock of a protocol 1 radio and its first Nyquist zone, Hz.
inline constexpr double kAdcClock = 73728000.0;
inline constexpr double kNyquist = kAdcClock / 2.0;

/// What one receiver is set to.
struct ReceiverSetting {
    double frequency = 0.0; ///< of its oscillator, Hz, 0 to half the clock
    int adc = 0;
    bool reversed = false; ///< the oscillator turns backwards: the output is the conjugate
    double gainDb = 0.0;   ///< beside the gain of all
    int copyOf = -1;       ///< an earlier receiver whose samples this one shares, noise included
};

/// Makes the I/Q of a radio's receivers, block by block: a block is 64 base samples, 5.33 ms.
///
/// Each station's baseband is transformed once per block; its bins are laid into the spectrum of every
/// receiver that sees it, and one inverse transform per receiver (overlap-save) brings all of them up to the
/// receiver's rate. A station's offset from the grid of 93.75 Hz is turned in its baseband, a receiver's
/// after the inverse transform.
///
/// Wire convention: in the samples as sent, a signal above the oscillator has a negative frequency; a station
/// in an odd Nyquist zone of the ADC clock arrives at its alias, mirrored. One thread.
class Synth {
public:
    static constexpr int kHop = 64;             ///< base samples in a block
    static constexpr int kTransform = 2 * kHop; ///< bins of a narrow station's transform
    static constexpr double kBin = 93.75;       ///< Hz

    /// `clockPpm`: error of the radio's clock; a fast clock hears every station lower. `adcClock`: Hz.
    Synth(std::shared_ptr<const Sky> sky, double clockPpm, double adcClock = kAdcClock);
    ~Synth();

    /// Sets the rate of each receiver: 48000 times a power of two, at most 1536000, or 0 for one that makes
    /// nothing. Allocates.
    void configure(std::span<const int> rates);
    /// So many receivers of one rate.
    void configure(int receivers, int rate);

    /// Samples of that receiver in a block.
    int blockSamples(int receiver = 0) const;

    /// Makes block number `block` (counted from the zero of `time`) for all receivers at `gainDb` of RF gain.
    void makeBlock(const SkyTime& time, std::int64_t block, std::span<const ReceiverSetting> settings,
                   double gainDb);

    /// The finished block of one receiver, full scale 1, in the wire convention.
    std::span<const Cfloat> samples(int receiver) const;

    /// One wideband snapshot of ADC 0: real samples at the ADC clock, full scale 1, not yet limited.
    void makeWideband(const SkyTime& time, std::int64_t baseSample, double gainDb, std::span<float> out);

    /// Largest sum of the amplitudes of all stations that the last block could have put on ADC 0, full
    /// scale 1.
    float peak() const { return peak_; }

private:
    struct Voice;
    struct Channel;

    void makeChannel(Channel& channel, std::int64_t block, const ReceiverSetting& setting, double gainDb);
    void transformStations(const SkyTime& time, std::int64_t block);
    void layStation(const Voice& voice, Channel& channel, std::int64_t block, std::int64_t centreBin,
                    Cfloat weight);

    std::shared_ptr<const Sky> sky_;
    std::vector<std::unique_ptr<Voice>> voices_;
    std::vector<std::unique_ptr<Channel>> channels_;
    std::vector<int> source_; // whose samples each receiver has
    NoiseSource wideNoise_;
    double adcClock_;
    float peak_ = 0.0f;
};

} // namespace ferrow::sim
