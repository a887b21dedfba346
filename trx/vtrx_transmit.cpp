#include "trx/radio.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

namespace {

constexpr int kUnkeyAt = -503;             // samples after the ramp: the radio is unkeyed below this
constexpr float kMicrophoneShare = 0.707f; // of a real sample, in each component
constexpr float kTuneLevel = 0.99f;

float raisedCosine(int position, int length) {
    return static_cast<float>(0.5 * std::cos(position * std::numbers::pi / length) + 0.5);
}

} // namespace

void vtrx::setPtt() {
    if (ptt.value()) {
        postPtt();
        startRamp_.active = true;
        stopRamp_.active = false;
        startRamp_.count = startRamp_.length + startRamp_.silence;
        txFilter_.clear();
        txReadPos_ = kBlock;
        if (mode_) {
            if (!mode_->bufferedTx)
                startRamp_.count = startRamp_.length;
            mode_->receiving = false;
            mode_->setPtt(true);
        }
        transmitting_ = true;
        return;
    }
    if (mode_)
        mode_->setPtt(false);
    stopRamp_.active = true;
    startRamp_.active = false;
    if (mode_) {
        stopRamp_.count = mode_->txTail;
        mode_->receiving = true;
    } else {
        stopRamp_.count = 0;
        postPtt();
        transmitting_ = false;
    }
}

void vtrx::readMicrophone(std::span<float> block) {
    if (delayLine_.empty()) {
        micIn_.read(block);
        return;
    }
    const auto wrap = [&] {
        if (delayLine_.size() - static_cast<std::size_t>(delayPos_) >= block.size())
            return;
        delayFilled_ = true;
        delayPos_ = 0;
    };
    wrap(); // blocks change their size with the mode and with tune
    if (!delayFilled_)
        micIn_.read(block);
    const auto position = static_cast<std::size_t>(delayPos_);
    for (std::size_t i = 0; i < block.size(); ++i) {
        if (delayFilled_)
            block[i] = delayLine_[position + i];
        else
            delayLine_[position + i] = block[i];
    }
    delayPos_ += static_cast<long>(block.size());
    wrap();
}

void vtrx::modulate(const Samples& in, const Samples& out) {
    if (const modDemod::Turn turn = mode_->turnToTransmit(*this))
        mode_->modulate(in, out);
    else
        std::fill(out.begin(), out.end(), std::complex<float>());
}

void vtrx::produceTxChunk() {
    const Samples out(kTxChunk, 0.0f);
    const auto toComplex = [](std::span<const float> from, const Samples& to) {
        for (std::size_t i = 0; i < from.size(); ++i)
            to[i] = {kMicrophoneShare * from[i], kMicrophoneShare * from[i]};
    };
    if (tune.value() || (mode_ && !mode_->bufferedTx)) {
        const std::span<float> microphone(txMicrophone_.data(), kTxChunk);
        readMicrophone(microphone);
        if (tune.value()) {
            std::fill(out.begin(), out.end(), std::complex<float>(kTuneLevel, 0));
        } else {
            const Samples in = txIn_.slice(0, kTxChunk);
            toComplex(microphone, in);
            modulate(in, out);
        }
    } else if (mode_) {
        const bool filtered = mode_->useTxFilter;
        for (std::size_t filled = 0; filled < out.size();) {
            const std::size_t available =
                std::min(out.size() - filled, static_cast<std::size_t>(kBlock - txReadPos_));
            if (available == 0) {
                const std::span<float> microphone(txMicrophone_.data(), kBlock);
                readMicrophone(microphone);
                toComplex(microphone, txIn_);
                // A mode may leave the block alone.
                std::fill(txFilter_.input.begin(), txFilter_.input.end(), std::complex<float>());
                modulate(txIn_, txFilter_.input);
                if (filtered)
                    txFilter_.run();
                txReadPos_ = 0;
                continue;
            }
            const Samples from = filtered ? txFilter_.output : txFilter_.input;
            from.copyTo(static_cast<std::size_t>(txReadPos_), available, out, filled);
            txReadPos_ += static_cast<long>(available);
            filled += available;
        }
    }
    envelope(out);
    if (const auto owner = radio.lock())
        owner->queueSeqItem(seqTask("radio.transmit", [owner, out] { owner->transmit(out); }));
    if (transmitting_ && stopRamp_.active && stopRamp_.count < kUnkeyAt) {
        postPtt();
        transmitting_ = false;
    }
}

void vtrx::envelope(const Samples& out) {
    if (startRamp_.active) {
        for (auto& sample : out) {
            const int c = startRamp_.count;
            if (c < 0) {
                startRamp_.active = false;
                break;
            }
            sample *= c > startRamp_.length ? 0.0f : raisedCosine(c, startRamp_.length);
            --startRamp_.count;
        }
    } else if (stopRamp_.active) {
        for (auto& sample : out) {
            const int c = stopRamp_.count;
            if (c >= kUnkeyAt) // no further: a mode may be pulled for days after its transmission
                --stopRamp_.count;
            if (c < 1)
                sample = 0;
            else if (c <= stopRamp_.length)
                sample *= raisedCosine(stopRamp_.length - c, stopRamp_.length);
        }
    }
}

} // namespace ferrow
