#pragma once
#include "sim/sdrplay/abi.hpp"
#include "sim/sdrplay/control.hpp"
#include "sim/sky/station.hpp"

#include <cstdint>
#include <span>
#include <vector>

namespace ferrow::sim::rsp {

/// One tuner of the device: carriers at the antenna to 16-bit samples at the gain and frequency that are in
/// force. One thread.
class TunerModel {
public:
    /// Signal above the tuned frequency: positive frequency in I + jQ.
    struct Setting {
        double rfHz = 200e6;
        double rate = 2e6;        ///< of the samples
        double bandwidth = 200e3; ///< carriers outside of it do not come through
        double gainDb = 0;        ///< antenna to ADC
        double phaseDegrees = 0;
    };

    /// `seconds`: time of the first sample. Noise of one step of the ADC is added. Returns the largest
    /// sum of amplitudes, full scale 1.
    double make(const Setting& setting, std::span<const CarrierEntry> carriers, double seconds,
                std::span<short> xi, std::span<short> xq);

    /// The same for samples at 0 dB of gain, full scale 1, which bring their own noise.
    static void convert(std::span<const Cfloat> samples, double gainDb, std::span<short> xi,
                        std::span<short> xq);

private:
    std::vector<float> re_, im_;
    std::uint32_t random_ = 1;
};

/// Rate of the samples that the device gives with these settings, Hz: low IF at 6 MHz comes out at 2 MHz,
/// all else at fsHz over the decimation.
double outputRate(const DevParamsT& device, const ChannelT& channel);

/// Gain in dB from the antenna to the ADC, as the gain event reports it.
double totalGain(const ChannelT& channel);
/// Reduction by the LNA state, dB.
int lnaReduction(const ChannelT& channel);
/// Highest LNA state of a model.
int lastLnaState(unsigned char hwVer);

} // namespace ferrow::sim::rsp
