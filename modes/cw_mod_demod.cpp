#include "modes/cw_mod_demod.hpp"

#include "core/tasks/log.hpp"
#include "modes/end_transmission.hpp"
#include "modes/morse.hpp"
#include "trx/radio.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace ferrow {

namespace {

constexpr double kPi = 3.1415927f; // the short value stays
constexpr double kRate = 48000.0;
constexpr double kTextLevel = 0.95;
constexpr double kKeyLevel = 0.99;
constexpr int kIdleLength = 6;
constexpr std::string_view kOpeningGap = "     ";
constexpr double kDotRate = 57600; // samples times words a minute
constexpr double kDashRate = 172800;
constexpr double kLongestElement = 60 * kRate; // samples

} // namespace

cwModDemod::cwModDemod(const std::shared_ptr<syncTask>& context) : modDemod(context) {
    bufferedTx = false; // delay is felt in the fingers
    freq.changed = [this] {
        if (!std::isfinite(freq.value()))
            logError("cwModDemod.freq {} is no frequency", freq.value());
        if (const auto link = vtrxLink())
            showSidetone(*link);
    };
    sidetoneVolume.changed = [this] {
        if (const auto link = vtrxLink())
            showSidetone(*link);
    };
    wpm.changed = [this] {
        if (!(wpm.value() > 0))
            logError("cwModDemod.wpm {} is no speed", wpm.value());
    };
}

void cwModDemod::init() {
    const auto link = vtrxLink();
    if (!link)
        return;
    transmitting_ = link->ptt.value();
    showSidetone(*link);
}

bool cwModDemod::keyIsDown() const noexcept {
    return keyDown_.load(std::memory_order_acquire) || radioKeySends_.load(std::memory_order_acquire);
}

void cwModDemod::showSidetone(vtrx& transceiver) const {
    Sidetone& tone = transceiver.sidetone();
    const double pitch = freq.value(), volume = sidetoneVolume.value();
    if (std::isfinite(pitch))
        tone.frequency.store(static_cast<int>(std::clamp(pitch, 0.0, kRate / 2)), std::memory_order_relaxed);
    if (std::isfinite(volume))
        tone.level.store(static_cast<float>(std::clamp(volume, 0.0, 1.0)), std::memory_order_relaxed);
    tone.fromKey.store(keyDown_.load(std::memory_order_acquire) ||
                           radioKeyDown_.load(std::memory_order_acquire),
                       std::memory_order_release);
}

void cwModDemod::KeyDown() {
    presses_.fetch_add(1, std::memory_order_acq_rel);
    keyDown_.store(true, std::memory_order_release);
    tapped_.store(true, std::memory_order_release);
    const auto link = vtrxLink();
    if (!link)
        return;
    showSidetone(*link);
    link->queueSeqItem(seqTask("vtrx.ptt.set", [link] { link->ptt.set(true); }));
}

void cwModDemod::KeyUp() {
    keyDown_.store(false, std::memory_order_release);
    if (const auto link = vtrxLink())
        showSidetone(*link);
}

void cwModDemod::setPtt(bool on) {
    transmitting_.store(on, std::memory_order_release);
    ending_.store(false, std::memory_order_release);
    if (on) {
        pressed_.store(true, std::memory_order_release);
        return;
    }
    if (const auto link = vtrxLink())
        link->sidetone().fromMode.store(false, std::memory_order_release);
}

// The radio's key works like KeyDown and KeyUp, unless the radio makes the carrier by itself.
void cwModDemod::watchRadioKey() {
    const auto link = vtrxLink();
    if (!link)
        return;
    const bool down = link->hardwareKey.load(std::memory_order_acquire);
    if (down == radioKeyDown_.load(std::memory_order_relaxed))
        return;
    radioKeyDown_.store(down, std::memory_order_release);
    showSidetone(*link);
    const auto radio = link->radio.lock();
    const bool sends = down && !(radio && radio->cwInternal.value());
    radioKeySends_.store(sends, std::memory_order_release);
    if (sends) {
        presses_.fetch_add(1, std::memory_order_acq_rel);
        tapped_.store(true, std::memory_order_release);
        link->ptt.set(true);
    }
}

buff<float> cwModDemod::demodulate(buff<std::complex<float>> block) {
    watchRadioKey();
    if (!transmitting_.load(std::memory_order_acquire)) {
        for (const auto& sample : block) {
            if (decimation_ == 0) {
                const double envelope =
                    std::hypot(static_cast<double>(sample.real()), static_cast<double>(sample.imag()));
                decoder_.push(envelope, [this](char c) { newChars.send(std::string(1, c)); });
            }
            decimation_ = (decimation_ + 1) % CwDecoder::kDecimation;
        }
        rxwpm.set(decoder_.wpm());
    }
    const double pitch = freq.value();
    const double step = std::isfinite(pitch) ? 2 * std::numbers::pi * std::fmod(pitch, kRate) / kRate : 0;
    const std::complex<double> turn(std::cos(step), -std::sin(step));
    tone_ /= std::abs(tone_);
    buff<float> out(block.size());
    for (std::size_t i = 0; i < block.size(); ++i) {
        out[i] = static_cast<float>(block[i].real() * tone_.real() - block[i].imag() * tone_.imag());
        tone_ *= turn;
    }
    return out;
}

void cwModDemod::modulate(buff<std::complex<float>>, buff<std::complex<float>> out) {
    hangChecked_ = false;
    if (pressed_.exchange(false, std::memory_order_acq_rel)) { // what a release cut off is lost
        pattern_ = kOpeningGap;
        patternPos_ = -1;
        elementLength_ = elementPos_ = 0;
    }
    const std::size_t keyed = sendKey(out.span());
    sendText(out.span().subspan(keyed));
}

// Returns the samples that the key has filled, all of them unless its last fall ended on the way.
std::size_t cwModDemod::sendKey(std::span<std::complex<float>> out) {
    const bool down = keyIsDown();
    if (tapped_.exchange(false, std::memory_order_acq_rel))
        keyRising_ = true; // a press that was over at once still sounds
    if (!down && !keyRising_ && keyRamp_ == 0)
        return 0;
    if (keyRamp_ == 0 && amplitude_ > 0 && elementPos_ < elementLength_) {
        keyRamp_ = std::min({elementPos_, elementLength_ - elementPos_, kRamp}); // no click on a break-in
        elementPos_ = elementLength_;
        setTextTone(false);
    }
    if (pattern_ == kOpeningGap) {
        pattern_ = kMorseIdle;
        elementPos_ = elementLength_;
    }
    std::size_t filled = 0;
    while (filled < out.size()) {
        const bool up = down || keyRising_;
        keyRamp_ = std::clamp(keyRamp_ + (up ? 1 : -1), 0, kRamp);
        keyRising_ = keyRising_ && keyRamp_ < kRamp;
        const double shape = 0.5 * std::cos(kPi * (kRamp - keyRamp_) / kRamp) + 0.5;
        out[filled++] = {static_cast<float>(kKeyLevel * shape), 0};
        if (!up && keyRamp_ == 0)
            break;
    }
    idleSamples_ = 0;
    return filled;
}

void cwModDemod::sendText(std::span<std::complex<float>> out) {
    for (auto& sample : out) {
        while (elementPos_ >= elementLength_)
            beginElement();
        const int remaining = elementLength_ - elementPos_;
        const int k = kRamp - std::min({elementPos_, remaining, kRamp});
        const double shape = amplitude_ > 0 && k > 0 ? 0.5 * std::cos(kPi * k / kRamp) + 0.5 : 1;
        sample = {static_cast<float>(amplitude_ * shape), 0};
        ++elementPos_;
    }
}

// May leave an element of no length: of a character that has no code.
void cwModDemod::beginElement() {
    elementPos_ = elementLength_ = 0;
    if (++patternPos_ >= static_cast<int>(pattern_.size()))
        nextCharacter();
    if (pattern_.empty())
        return;
    const char element = pattern_[static_cast<std::size_t>(patternPos_)];
    if (element == kMorseIdle[0]) {
        amplitude_ = 0;
        elementLength_ = kIdleLength;
        idleSamples_ = std::min(idleSamples_, std::numeric_limits<int>::max() - kIdleLength) + kIdleLength;
        if (1000.0 * idleSamples_ / kRate > swHangTime.value())
            checkHang();
    } else {
        idleSamples_ = 0;
        amplitude_ = element == ' ' ? 0 : kTextLevel;
        const double speed = wpm.value() > 0 ? wpm.value() : 20.0;
        const double length = (element == '-' ? kDashRate : kDotRate) / speed;
        elementLength_ = static_cast<int>(std::clamp(length, 1.0, kLongestElement));
    }
    setTextTone(amplitude_ > 0);
}

void cwModDemod::nextCharacter() {
    patternPos_ = 0;
    int character = text_.next(sentChars);
    if (character == TextSender::kNone)
        character = '@';
    if (character == '`' || character == '\r' || character == '\n') {
        endTransmission(*this);
        character = ' ';
    }
    pattern_ = morsePattern(static_cast<unsigned char>(character));
}

void cwModDemod::setTextTone(bool on) {
    if (on == textTone_)
        return;
    textTone_ = on;
    if (const auto link = vtrxLink())
        link->sidetone().fromMode.store(on && transmitting_.load(std::memory_order_acquire),
                                        std::memory_order_release);
}

// Once a block at most: off the air, unless the radio is keyed.
void cwModDemod::checkHang() {
    if (hangChecked_ || !transmitting_.load(std::memory_order_acquire))
        return;
    hangChecked_ = true;
    const auto link = vtrxLink();
    if (!link || link->hardwareKey.load(std::memory_order_acquire))
        return;
    if (const auto radio = link->radio.lock(); radio && radio->RadioPtt.value())
        return;
    if (ending_.exchange(true, std::memory_order_acq_rel))
        return;
    const auto presses = presses_.load(std::memory_order_acquire);
    endTransmission(*this, [this, presses] { // lives as long as the task, which holds the mode
        ending_.store(false, std::memory_order_release);
        return presses == presses_.load(std::memory_order_acquire) && text_.empty();
    });
}

} // namespace ferrow
