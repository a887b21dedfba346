#include "radios/hpsdr/sample_writer.hpp"

#include "radios/hpsdr/wire.hpp"

#include <cmath>
#include <cstring>

namespace ferrow {

namespace {

constexpr double kFullScale = 32766.0;
constexpr double kFullScaleSquared = 1073610756.0;

std::uint16_t toWord(double value) {
    // Not a number: silence.
    if (!(std::fabs(value) < 65536.0))
        return 0;
    return static_cast<std::uint16_t>(static_cast<int>(std::round(value)));
}

bool keyDown(float i) {
    if (!(std::fabs(i) < 2147483648.0f))
        return false;
    return (static_cast<int>(i) & 0xFF) != 0;
}

} // namespace

void AudioRamp::write(std::uint8_t* pair) {
    putBe16(pair, static_cast<std::uint16_t>(index));
    putBe16(pair + 2, static_cast<std::uint16_t>(16 * index));
    index = (index + 1) % kLength;
}

void writeSamples(std::uint8_t* records, std::span<const std::complex<float>> samples,
                  const TransmitFormat& format, AudioRamp& ramp) {
    const double gain = kFullScale * format.gain;
    for (const std::complex<float>& sample : samples) {
        if (format.audioRamp)
            ramp.write(records);
        else
            std::memset(records, 0, 4);
        if (format.cwInternal) {
            putBe16(records + 4, keyDown(sample.real()) ? 3 : 0);
            putBe16(records + 6, 0);
        } else {
            double i = sample.real() * gain;
            double q = sample.imag() * gain;
            const double power = i * i + q * q;
            if (power >= kFullScaleSquared) {
                const double magnitude = std::sqrt(power);
                i = i * kFullScale / magnitude;
                q = q * kFullScale / magnitude;
            }
            const std::uint16_t wordI = toWord(-i);
            const std::uint16_t wordQ = toWord(q);
            putBe16(records + 4, format.oddZone ? wordI : wordQ);
            putBe16(records + 6, format.oddZone ? wordQ : wordI);
        }
        records += 8;
    }
}

} // namespace ferrow
