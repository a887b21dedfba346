#include "host/serve/microphone.hpp"

#include <algorithm>
#include <boost/lockfree/spsc_queue.hpp>
#include <cmath>
#include <ferrowcore/arrays.h>
#include <ferrowcore/utility_modes.h>
#include <numbers>

namespace ferrow::serve {
namespace {

constexpr std::size_t kRoom = 24000;  // samples: half a second
constexpr std::size_t kAhead = 4800;  // that are there before the voice begins, against the network's moods
constexpr double kRate = 48000;
constexpr float kHeadroom = 0.7F;     // of single sideband: its envelope is higher than the voice's peaks
constexpr float kLevel = 0.95F;
constexpr double kEmphasis = 1000;    // Hz, where it changes nothing

} // namespace

// Between the pump's thread, which puts in, and the library's, which takes out.
struct Microphone::Line {
    Line(Mode sent, double swing) : mode(sent), deviation(swing) {}

    const Mode mode;
    const double deviation;
    boost::lockfree::spsc_queue<float, boost::lockfree::capacity<kRoom>> samples;
    // Of the library's thread.
    bool flowing = false;
    double phase = 0;
    float last = 0;

    float next() {
        float sample = 0;
        flowing = flowing && samples.pop(sample);
        return sample;
    }

    // `out`: pairs of real and imaginary parts.
    void fill(float* out, std::size_t count) {
        flowing = flowing || samples.read_available() >= kAhead;
        for (std::size_t i = 0; i < count; ++i)
            modulate(next(), out[2 * i], out[2 * i + 1]);
    }

    void modulate(float voice, float& re, float& im) {
        switch (mode) {
        case Mode::Am:
            re = kLevel * 0.5F * (1 + voice);
            im = 0;
            break;
        case Mode::Fm: {
            constexpr double kGain = kRate / (2 * std::numbers::pi * kEmphasis);
            const double swing = std::clamp(kGain * static_cast<double>(voice - last), -1.0, 1.0);
            phase = std::remainder(phase + 2 * std::numbers::pi * deviation * swing / kRate,
                                   2 * std::numbers::pi);
            re = kLevel * static_cast<float>(std::cos(phase));
            im = kLevel * static_cast<float>(std::sin(phase));
            break;
        }
        default: // both sidebands, half the voice in each; the filter leaves one of them
            re = im = std::numbers::sqrt2_v<float> * kHeadroom * voice;
            break;
        }
        last = voice;
    }
};

Microphone::Microphone(Mode mode, double deviation)
    : line_(std::make_shared<Line>(mode, deviation)), object_(proxyModDemod_create()) {
    object_.bind(proxyModDemod_bindgetTxChunk, [line = line_](void* out, void*) {
        line->fill(complexArray_data(out), static_cast<std::size_t>(complexArray_size(out)));
    });
}

Microphone::~Microphone() = default;

void Microphone::put(std::span<const float> samples) {
    line_->samples.push(samples.data(), samples.size());
}

} // namespace ferrow::serve
