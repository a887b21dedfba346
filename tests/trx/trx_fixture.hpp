// A radio without hardware, and transceivers fed by hand.
#pragma once

#include "core/buff/buff.hpp"
#include "tests/support/runtime.hpp"
#include "trx/radio.hpp"
#include "trx/vtrx.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <functional>
#include <numbers>
#include <vector>

namespace ferrow::test {

using Samples = buff<std::complex<float>>;

class FakeRadio : public Radio {
public:
    explicit FakeRadio(const std::shared_ptr<syncTask>& context) : Radio(context) {}

    void addReceiver(long long frequency, int rate) { appendHwReceiver(frequency, rate); }
    void addHwReceiver(long long frequency) override {
        ++added;
        appendHwReceiver(frequency, SampleRate.value());
    }
    void frequenciesChanged() override { ++changes; }
    void startRadio() override { ++starts; }
    void stopRadio() override { ++stops; }
    void transmit(buff<std::complex<float>> block) override { sent.push_back(block); }

    int added = 0, changes = 0, starts = 0, stops = 0;
    std::vector<buff<std::complex<float>>> sent;
};

// A mode of any rate that keeps what it is given and answers with `answer` samples a block.
class ProbeMode : public modDemod {
public:
    explicit ProbeMode(std::shared_ptr<syncTask> context, int rate = 48000, std::size_t answer = 0)
        : modDemod(std::move(context)), rate_(rate), answer_(answer) {}

    buff<float> demodulate(buff<std::complex<float>> block) override {
        ++blocks;
        for (const auto& sample : block)
            heard.push_back(sample);
        return answer_ == 0 ? buff<float>() : buff<float>(answer_, 0.5f);
    }
    int sampleRate() override { return rate_; }
    void setRxFilter(int low, int high) override { rxFilters.emplace_back(low, high); }
    void setTxFilter(int low, int high) override { txFilters.emplace_back(low, high); }
    void setFrequency(long long vfo) override { frequencies.push_back(vfo); }
    void init() override { ++inits; }
    void setPtt(bool on) override { ptts.push_back(on); }

    int blocks = 0, inits = 0;
    std::vector<std::complex<float>> heard;
    std::vector<std::pair<int, int>> rxFilters, txFilters;
    std::vector<long long> frequencies;
    std::vector<bool> ptts;

private:
    int rate_;
    std::size_t answer_;
};

// e^(-j 2 pi f n / rate): a carrier `f` Hz above the receiver's centre, in the system's convention.
class Carrier {
public:
    Carrier(double frequency, double rate, double amplitude = 1)
        : step_(-2 * std::numbers::pi * frequency / rate), amplitude_(amplitude) {}

    Samples next(std::size_t count) {
        Samples out(count);
        for (std::size_t i = 0; i < count; ++i, ++n_) {
            const double phase = std::fmod(step_ * static_cast<double>(n_), 2 * std::numbers::pi);
            out[i] = {static_cast<float>(amplitude_ * std::cos(phase)),
                      static_cast<float>(amplitude_ * std::sin(phase))};
        }
        return out;
    }

private:
    double step_, amplitude_;
    std::size_t n_ = 0;
};

// Least-squares amplitude of a real tone in `x` (independent of any transform).
inline double toneAmplitude(const std::vector<float>& x, double frequency, double rate) {
    double re = 0, im = 0, weight = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double w = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * (static_cast<double>(i) + 0.5) /
                                              static_cast<double>(x.size()));
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        re += w * x[i] * std::cos(phase);
        im -= w * x[i] * std::sin(phase);
        weight += w;
    }
    return 2 * std::hypot(re, im) / weight;
}

// Frequency of the strongest tone near `guess`, by golden-section search of toneAmplitude.
inline double toneFrequency(const std::vector<float>& x, double guess, double rate, double span = 3) {
    double a = guess - span, b = guess + span;
    const double g = (std::sqrt(5.0) - 1) / 2;
    while (b - a > 1e-4) {
        const double c = b - g * (b - a), d = a + g * (b - a);
        if (toneAmplitude(x, c, rate) > toneAmplitude(x, d, rate))
            b = d;
        else
            a = c;
    }
    return (a + b) / 2;
}

class TrxTest : public ::testing::Test {
protected:
    Runtime runtime;
    std::shared_ptr<FakeRadio> radio = std::make_shared<FakeRadio>(rootSyncTask);

    // Runs `what` on an object's context, and waits.
    static void on(asyncObject& object, std::function<void()> what) {
        object.queueSeqItem(seqTask("test", std::move(what)));
        settle(object.context());
    }

    std::shared_ptr<vtrx> addVtrx(long long frequency, int hint = 0, int owner = 0) {
        on(*radio, [&] { radio->addVtrx(frequency, hint, owner); });
        auto transceiver = radio->vtrxs.back();
        settle(radio->context());
        return transceiver;
    }

    // A running transceiver with a mode, without sound devices.
    std::shared_ptr<vtrx> listen(long long frequency, std::shared_ptr<modDemod> mode) {
        auto transceiver = addVtrx(frequency);
        on(*transceiver, [&] {
            transceiver->muted.setFromHost(true);
            transceiver->setModulation(std::move(mode));
            transceiver->start();
        });
        return transceiver;
    }

    // Feeds one chunk and waits until it has been worked.
    static void feed(vtrx& transceiver, const Samples& chunk, long long centre, int rate, int adc = 0,
                     buff<float> wide = {}, double span = 0) {
        on(transceiver, [&] { transceiver.processRxChunk(chunk, centre, rate, wide, span, adc); });
    }
};

} // namespace ferrow::test
