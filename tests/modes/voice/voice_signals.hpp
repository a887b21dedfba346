// Microphone signals, curves and measurements for the voice modes, worked in double precision.
#pragma once

#include "core/audio/wireless.hpp"
#include "core/buff/buff.hpp"
#include "tests/support/runtime.hpp"
#include "tests/trx/dsp/reference.hpp"
#include "trx/mod_demod.hpp"

#include <array>
#include <complex>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace ferrow::test {

using Samples = buff<std::complex<float>>;
using Complexes = std::vector<std::complex<double>>;

struct Tone {
    double frequency, amplitude;
    double phase = 0;
};

// A real signal as a function of the number of its sample.
using Signal = std::function<double(std::size_t)>;

inline Signal tones(std::vector<Tone> list, double rate = 48000) {
    return [list = std::move(list), rate](std::size_t n) {
        double sum = 0;
        for (const Tone& t : list)
            sum += t.amplitude * std::sin(kTau * std::fmod(t.frequency / rate * double(n), 1.0) + t.phase);
        return sum;
    };
}

inline Signal silence() {
    return [](std::size_t) { return 0.0; };
}

// Block `number` of a microphone, as the transmit chain hands it to a mode.
inline Samples microphoneBlock(const Signal& signal, std::size_t number) {
    Samples block(512);
    for (std::size_t i = 0; i < 512; ++i) {
        const auto x = static_cast<float>(0.707 * signal(512 * number + i));
        block[i] = {x, x};
    }
    return block;
}

// What a mode sends for `blocks` blocks of a microphone, without the first `dropped` ones.
inline Complexes sent(modDemod& mode, const Signal& signal, std::size_t blocks, std::size_t dropped = 10) {
    Complexes out;
    Samples block(512);
    for (std::size_t n = 0; n < blocks + dropped; ++n) {
        mode.modulate(microphoneBlock(signal, n), block);
        if (n >= dropped)
            out.insert(out.end(), block.begin(), block.end());
    }
    return out;
}

// Complex amplitude of what lies `frequency` Hz above the centre (that is, what turns backward), behind a
// window whose side lobes lie below -170 dB, 7 bins wide to either side.
inline std::complex<double> lineAt(const Complexes& z, double frequency, double rate = 48000) {
    std::complex<double> sum = 0;
    double weight = 0;
    for (std::size_t n = 0; n < z.size(); ++n) {
        const double w = cosineWindow(double(n), double(z.size()));
        sum += w * z[n] * std::polar(1.0, kTau * std::fmod(frequency / rate * double(n), 1.0));
        weight += w;
    }
    return sum / weight;
}

inline double level(const Complexes& z, double frequency, double rate = 48000) {
    return std::abs(lineAt(z, frequency, rate));
}

// Amplitude of a tone in real samples.
template <class Values>
double toneLevel(const Values& x, double frequency, double rate = 48000) {
    return 2 * level(Complexes(x.begin(), x.end()), frequency, rate);
}

inline double largest(const Complexes& z) {
    double most = 0;
    for (const auto& sample : z)
        most = std::max(most, std::abs(sample));
    return most;
}

using Curve = std::vector<std::pair<double, double>>;

inline const Curve kFlat{{0, 1},    {64, 1},   {128, 1},  {300, 1},  {600, 1},
                         {1200, 1}, {2400, 1}, {4800, 1}, {24000, 1}};
inline const Curve kBent{{0, 1},      {64, 1},     {128, 1},    {300, 0.4}, {600, 1.0},
                         {1200, 1.8}, {2400, 0.8}, {4800, 1.4}, {24000, 1}};

// The modes read the curve one point of 1024 early where the frequency is positive.
inline constexpr double kEarly = 24000.0 / 1024;

// Linear interpolation of a curve.
inline double gainOf(const Curve& curve, double frequency) {
    for (std::size_t i = 1; i < curve.size(); ++i)
        if (frequency <= curve[i].first) {
            const auto &low = curve[i - 1], &high = curve[i];
            return low.second +
                   (frequency - low.first) / (high.first - low.first) * (high.second - low.second);
        }
    return curve.back().second;
}

// The application object with a microphone curve.
class Application {
public:
    explicit Application(const Curve& curve = kFlat) {
        onContext([&] {
            for (const auto& [frequency, gain] : curve)
                wireless->DefaultMicEQ.add(std::make_shared<calibLine>(wireless->context(), frequency, gain));
            wireless->Init();
        });
    }

    void bend(const Curve& curve) {
        onContext([&] {
            for (std::size_t i = 0; i < curve.size(); ++i) {
                wireless->DefaultMicEQ.items()[i]->inp.setFromHost(curve[i].first);
                wireless->DefaultMicEQ.items()[i]->outp.setFromHost(curve[i].second);
            }
        });
    }

    std::shared_ptr<Wireless> wireless = std::make_shared<Wireless>(rootSyncTask);

private:
    void onContext(std::function<void()> what) {
        wireless->queueSeqItem(seqTask("test", std::move(what)));
        settle(wireless->context());
    }
};

} // namespace ferrow::test
