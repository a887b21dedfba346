#include "core/buff/buff_math.hpp"
#include "trx/hertz.hpp"
#include "trx/radio.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>
#include <utility>

namespace ferrow {

namespace {

constexpr int kLevelBlocks = 16;        // the level is taken when the counter stood above this
constexpr double kOutOfBandStep = 3.14; // radians a sample: beyond this the chunk does not hold the frequency
constexpr int kMuteBlocks = 50;         // after a transmission, and before one
constexpr int kFrozenBlocks = 21;       // the last of them are audible, with frozen gain

constexpr float kDenoiseScale = 32000.0f, kDenoiseBack = 3.125e-05f; // the noise reduction's sample range
constexpr float kDenoiseMaxGain = 10;                                // dB, for what it has taken away

// A transceiver that no radio made has no gains.
buff<float> passed(const std::shared_ptr<agc>& gain, buff<float> audio, bool hold, float level,
                   bool applyVolume = true) {
    return gain ? gain->process(std::move(audio), hold, applyVolume, level) : audio;
}

} // namespace

void vtrx::processRxChunk(Samples iq, long long rxFrequency, int rate, buff<float> wide, double wideSpan,
                          int adc) {
    if (!running_ || iq.empty() || rate <= 0)
        return;
    if (!combineAdcs(iq, adc & 3))
        return;
    if (SendIQ.value() && newIQ.bound()) {
        Samples copy(iq.size());
        iq.copy(copy);
        newIQ.send(copy, static_cast<double>(rxFrequency), rate);
    }
    if (OwnerID.value() > 0 || !mode_)
        return;
    const int modeRate = mode_->sampleRate();
    if (rate != lastChunkRate_ || modeRate != lastModeRate_) {
        lastChunkRate_ = rate;
        lastModeRate_ = modeRate;
        rxOutPos_ = 0;
    }
    const double seconds = static_cast<double>(iq.size()) / rate;
    const Ratio ratio = rateRatio(rate, modeRate);
    if (ratio.factor < 1) {
        bandwidthSufficient.set(false);
        processRxSpectrumChunk(iq, rxFrequency, rate, std::move(wide), wideSpan);
        return;
    }
    bandwidthSufficient.set(true);
    prepareResampler(ratio);
    const double step = 2 * std::numbers::pi * static_cast<double>(rxFrequency - boundedHertz(vfo.value())) /
                        static_cast<double>(rate);
    std::size_t consumed = 0;
    while (consumed < iq.size()) {
        consumed += feedFilter(step, ratio, iq, consumed);
        if (rxOutPos_ >= kBlock) {
            rxOutPos_ = 0;
            processBlock(step);
        }
    }
    processRxSpectrumChunk(iq, rxFrequency, rate, std::move(wide), wideSpan);
    if (foregroundDisplay.value() && useVox.value())
        checkVox(seconds);
}

// Two-ADC diversity. False while the other ADC's chunk is awaited.
bool vtrx::combineAdcs(Samples& iq, int adc) {
    adcSeen_ |= 1 << adc;
    if (ADCs.value() != 3)
        return true;
    adcSlots_[static_cast<std::size_t>(adc)] = iq;
    if ((adcSeen_ & 3) != 3)
        return false;
    const double phase = std::numbers::pi * ADC1Phase.value() / 180;
    const double gain = ADC1Gain.value();
    const auto re = static_cast<float>(gain * std::cos(phase));
    const auto im = static_cast<float>(gain * std::sin(phase));
    const Samples &first = adcSlots_[0], &second = adcSlots_[1];
    if (first.size() == second.size()) {
        iq = Samples(first.size());
        for (std::size_t i = 0; i < iq.size(); ++i)
            iq[i] = {first[i].real() + second[i].real() * re - second[i].imag() * im,
                     first[i].imag() + second[i].real() * im + second[i].imag() * re};
    }
    adcSeen_ = 0;
    adcSlots_.fill({});
    return true;
}

vtrx::Ratio vtrx::rateRatio(int rate, int modeRate) {
    const bool narrow = modeRate == 48000;
    switch (rate) {
    case 2000000:
        return {96, 125, narrow ? 32 : 4};
    case 8000000:
        return {96, 125, narrow ? 128 : 16};
    case 10000000:
        return {384, 625, narrow ? 128 : 16};
    default:
        return {1, 1, rate / modeRate};
    }
}

void vtrx::prepareResampler(const Ratio& ratio) {
    if (ratio.up == 1 && ratio.down == 1) {
        if (rxResampler_.upFactor() != 0)
            rxResampler_ = rationalResampler();
    } else if (rxResampler_.upFactor() != ratio.up || rxResampler_.downFactor() != ratio.down) {
        rxResampler_ = rationalResampler(ratio.up, ratio.down);
    }
}

// Mixes and decimates as much of `iq` as the filter's input block takes; returns the samples used.
std::size_t vtrx::feedFilter(double step, const Ratio& ratio, const Samples& iq, std::size_t consumed) {
    const auto factor = static_cast<std::size_t>(ratio.factor);
    const std::size_t remaining = iq.size() - consumed;
    const auto space = static_cast<std::size_t>(kBlock - rxOutPos_);
    const std::span<std::complex<float>> out(rxFilter_.input.data() + rxOutPos_, space);
    if (ratio.up == 1 && ratio.down == 1) {
        const std::size_t n = std::min(space * factor, remaining);
        rxOutPos_ += static_cast<int>(rxMixer_.process(step, ratio.factor, {iq.data() + consumed, n}, out));
        return n;
    }
    std::size_t n = std::min((space + 1) * static_cast<std::size_t>(ratio.down) * factor /
                                 static_cast<std::size_t>(ratio.up),
                             remaining);
    n = std::min((n + factor - 1) / factor * factor, remaining);
    rxMixer_.process(step, ratio.factor, {iq.data() + consumed, n}, rxResampler_.feed(n / factor).span());
    rxOutPos_ += static_cast<int>(rxResampler_.produce(out));
    return n;
}

void vtrx::processBlock(double step) {
    rxFilter_.run();
    const Samples block = rxFilter_.output;
    if (std::abs(step) >= kOutOfBandStep)
        std::fill(block.begin(), block.end(), std::complex<float>());
    micPeak_ = std::max(micPeak_, static_cast<double>(micIn_.peak()));
    if (levelBlockCount_++ > kLevelBlocks)
        updateLevels();
    const modDemod::Turn turn = mode_->turnToReceive(*this);
    if (!turn)
        return;
    buff<float> audio = mode_->demodulate(block);
    if (audio.empty())
        return;
    const bool stereo = audio.size() != static_cast<std::size_t>(kBlock);
    if (ptt.value())
        playTransmitting(std::move(audio), stereo);
    else
        playReceived(std::move(audio), stereo);
}

void vtrx::updateLevels() {
    levelBlockCount_ = 0;
    const double peak = peakPower(rxFilter_.output);
    signalStrength.set(10 * std::log10(10 * peak + 1e-180));
    micLevel.set(micPeak_);
    micPeak_ = 0;
    TuningValid.set(tuningIsValid());
}

bool vtrx::tuningIsValid() const {
    const auto owner = radio.lock();
    if (!owner)
        return false;
    const long long tuned = boundedHertz(vfo.value());
    for (const auto& slot : hwReceiverOfAdc) {
        const int index = slot.load(std::memory_order_acquire);
        if (index == -1)
            continue;
        if (index < 0 || static_cast<std::size_t>(index) >= owner->hwReceivers.size())
            return false;
        const long long centre = owner->hwReceivers[static_cast<std::size_t>(index)].frequency +
                                 boundedHertz(owner->TransceiverOffset.value());
        const auto half = static_cast<long long>(owner->hwReceivers[0].rate * owner->bandwidthRatio() * 0.5);
        if (centre - half > tuned + filterLow - Radio::filterGuard ||
            tuned + filterHigh + Radio::filterGuard > centre + half)
            return false;
    }
    return true;
}

void vtrx::playReceived(buff<float> audio, bool stereo) {
    const bool muting = rxMuteBlocks_ > 0;
    if (muting)
        --rxMuteBlocks_;
    txMuteBlocks_ = kMuteBlocks;
    const auto level = static_cast<float>(signalStrength.value());
    const bool reducing = mode_->rnnoise.value();
    buff<float> out = rxMuteBlocks_ < kFrozenBlocks
                          ? passed(rxagc.value(), std::move(audio), muting, level, !reducing)
                          : passed(txagc.value(), std::move(audio), muting, level);
    if (reducing)
        out = reduceNoise(std::move(out), muting, level);
    audioOut_.write(out, useResampler.value(), stereo);
    if (SendAudio.value() && newAudio.bound()) {
        buff<float> copy(out.size());
        out.copy(copy);
        newAudio.send(copy);
    }
}

// The gain behind the noise reduction brings back the level that it took; the volume waits until there.
buff<float> vtrx::reduceNoise(buff<float> audio, bool hold, float level) {
    if (!denoiser_) {
        denoiser_ = std::make_unique<DenoiseState>();
        denoiseBuffer_ = buff<float>(kBlock, 0.0f);
    }
    const auto squelch = static_cast<float>(mode_->rnnoiseSquelch.value());
    const auto process = [&](std::span<float> block) {
        for (float& x : block)
            x *= kDenoiseScale;
        rnnoise_process_frame(denoiser_.get(), block.data(), block.data(), squelch);
        for (float& x : block)
            x *= kDenoiseBack;
    };
    if (audio.size() == static_cast<std::size_t>(kBlock)) {
        process(audio.span());
    } else {
        // Each sample takes the place of one that has been through.
        for (float& x : audio) {
            std::swap(x, denoiseBuffer_[static_cast<std::size_t>(denoisePos_)]);
            if (++denoisePos_ == kBlock) {
                process(denoiseBuffer_.span());
                denoisePos_ = 0;
            }
        }
    }
    if (!modeAgc_ || !rxagc.value())
        return audio;
    const agc& settings = *rxagc.value();
    modeAgc_->Attack.set(settings.Attack.value());
    modeAgc_->Decay.set(settings.Decay.value());
    modeAgc_->Hang.set(settings.Hang.value());
    modeAgc_->Volume.set(settings.Volume.value());
    modeAgc_->MaxGain.set(kDenoiseMaxGain);
    return modeAgc_->process(std::move(audio), hold, true, level);
}

// Demodulation goes on during a transmission, inaudibly unless txagc has volume.
void vtrx::playTransmitting(buff<float> audio, bool stereo) {
    const bool hold = txMuteBlocks_ > 0;
    if (hold)
        --txMuteBlocks_;
    const auto level = static_cast<float>(signalStrength.value());
    audioOut_.write(passed(txagc.value(), std::move(audio), hold, level), useResampler.value(), stereo);
    rxMuteBlocks_ = kMuteBlocks;
}

void vtrx::checkVox(double seconds) {
    const double level = micIn_.peak();
    if (!ptt.value()) {
        if (VoxThreshold.value() < level) {
            ptt.set(true);
            voxHoldLeft_ = VoxHold.value();
        }
        return;
    }
    if (0.5 * VoxThreshold.value() < level) {
        voxHoldLeft_ = VoxHold.value();
        return;
    }
    voxHoldLeft_ -= seconds;
    if (!(voxHoldLeft_ > 0)) // also when VoxHold is no number
        ptt.set(false);
}

} // namespace ferrow
