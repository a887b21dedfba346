#pragma once
#include <complex>
#include <cstdint>
#include <span>
#include <string>

namespace ferrow::sim {

using Cfloat = std::complex<float>;

/// Rate of the complex baseband in which every narrow station is made, Hz.
inline constexpr int kBaseRate = 12000;

/// Where base samples stand in time: sample i is at UTC `utcOfZero` + i / `trueRate` seconds.
struct SkyTime {
    double utcOfZero = 0.0;
    double trueRate = kBaseRate; ///< 12000 times the radio's clock error

    double utcOf(std::int64_t sample) const { return utcOfZero + static_cast<double>(sample) / trueRate; }
};

/// One transmitter of the sky. Its signal is a function of time alone, so that any receiver may join at any
/// moment. Immutable after construction: shared by all radios and threads.
class Station {
public:
    Station(std::string name, std::string kind, double frequency, double levelDb)
        : name_(std::move(name)), kind_(std::move(kind)), frequency_(frequency), levelDb_(levelDb) {}
    virtual ~Station() = default;

    /// Complex baseband around `frequency()`, level included, full scale 1; above the centre is a positive
    /// frequency. Fills `out` with the samples from `first` on, at kBaseRate * rateFactor().
    virtual void render(const SkyTime& time, std::int64_t first, std::span<Cfloat> out) const = 0;

    /// 1 for narrow stations, more for recordings of a wider span.
    virtual int rateFactor() const { return 1; }

    const std::string& name() const { return name_; }
    const std::string& kind() const { return kind_; }
    double frequency() const { return frequency_; } ///< Hz at the antenna
    double levelDb() const { return levelDb_; }     ///< dB below ADC full scale at 0 dB of RF gain

private:
    std::string name_;
    std::string kind_;
    double frequency_;
    double levelDb_;
};

} // namespace ferrow::sim
