#include "modes/psk_mod_demod.hpp"

#include "modes/end_transmission.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

namespace {

constexpr int kDecimation = 6;
constexpr double kFullScale = 30000.0;
constexpr double kPeakDecay = 0.999;
constexpr double kLeastPeak = 1e-30; // far below any signal
constexpr int kSpectrumBlocks = 3, kUpdateBlocks = 11;
constexpr int kBusy = 200;
constexpr int kTopStep = CPSKMod::kRate / 2; // Hz
constexpr int kFirstFrequency = 1500;

// What a release lets out beyond the mode's own symbols: a block, the transmit filter, the ramp.
constexpr int kTailMargin = vtrx::kBlock + vtrx::kFilterTaps / 2 + 512;

struct NamedMode {
    int word;
    const char* name;
};
constexpr NamedMode kModes[] = {{0, "PSK31"},  {8, "PSK63"},   {16, "PSK125"}, {1, "QPSK31"},
                                {9, "QPSK63"}, {17, "QPSK125"}}; // of the manual detectors, too

double stepOf(int hz) {
    return 2 * std::numbers::pi * std::clamp(hz, -kTopStep, kTopStep) / CPSKMod::kRate;
}

} // namespace

PskModDemod::PskModDemod(const std::shared_ptr<syncTask>& context)
    : modDemod(context), carrierStep_(stepOf(kFirstFrequency)) {
    fillModes();
    const auto make = [&](std::size_t place, int word, int hz) {
        bank_[place] = std::make_shared<PskDetector>(context, word, hz);
        dets.add(bank_[place]);
    };
    for (std::size_t i = 0; i < 2 * kBank; ++i)
        make(i, i < kBank ? 0 : kPskDouble, 100 * (static_cast<int>(i) % kBank + 1));
    for (std::size_t i = 0; i < std::size(kModes); ++i)
        make(kFirstManual + i, kModes[i].word, kFirstFrequency);
    rxFreq.set(kFirstFrequency);
    txFreq.set(kFirstFrequency);
    mode.set(0);
    primaryDetector.set(kFirstManual);
    modulator_.setSource([this] { return nextCharacter(); });
    rxFreq.changed = [this] { changeFrequency(); };
    mode.changed = [this] { changeMode(); };
    primaryDetector.changed = [this] { tuning_.fetch_add(1, std::memory_order_acq_rel); };
}

void PskModDemod::fillModes() {
    for (const NamedMode& entry : kModes)
        Modes.add(std::make_shared<ValueLabelItem>(context(), entry.word, entry.name));
}

void PskModDemod::init() {
    const auto link = vtrxLink();
    transmitting_.store(link && link->ptt.value(), std::memory_order_release);
}

// Null while the host's choice is no place in the bank.
const PskDetector* PskModDemod::primary() const {
    const int place = primaryDetector.value();
    return place >= 0 && place < kDetectors ? bank_[static_cast<std::size_t>(place)].get() : nullptr;
}

void PskModDemod::changeMode() {
    const int word = knownPskWord(mode.value());
    const PskScheme scheme = pskScheme(word);
    modeWord_.store(word, std::memory_order_release);
    carrierOnly_.store(scheme == PskScheme::Tune || scheme == PskScheme::TuneWithEnd,
                       std::memory_order_release);
    if (primary() != nullptr && primary()->modeWord() == word)
        return;
    for (int place = kFirstManual; place < kDetectors; ++place) {
        PskDetector& detector = *bank_[static_cast<std::size_t>(place)];
        if (detector.modeWord() != word)
            continue;
        detector.requestTune(rxFreq.value());
        detector.requestReset();
        primaryDetector.set(place);
    }
}

void PskModDemod::changeFrequency() {
    const int hz = rxFreq.value();
    for (int place = 0; place < kDetectors; ++place) {
        PskDetector& detector = *bank_[static_cast<std::size_t>(place)];
        const bool isPrimary = &detector == primary();
        // The primary has been there already, and may have moved on since.
        if (isPrimary ? !following_ : place >= kFirstManual)
            detector.requestTune(hz);
    }
    if (!following_)
        tuning_.fetch_add(1, std::memory_order_acq_rel);
    carrierStep_.store(stepOf(hz), std::memory_order_release);
    txFreq.set(hz);
}

void PskModDemod::QueueText(std::string text, int) {
    text_.queue(text);
}

buff<float> PskModDemod::demodulate(buff<std::complex<float>> block) {
    if (!transmitting_.load(std::memory_order_acquire)) {
        const int count = static_cast<int>(block.size());
        int n = decimPhase_;
        for (; n < count; n += kDecimation)
            takeSample(block[static_cast<std::size_t>(n)].real());
        decimPhase_ = n - count;
    }
    return realPart(block);
}

void PskModDemod::takeSample(float sample) {
    const double x = std::isfinite(sample) ? sample : 0;
    peakTrack_ = std::max({kPeakDecay * peakTrack_, std::abs(x), kLeastPeak});
    work_[static_cast<std::size_t>(fill_)] = static_cast<float>(x * kFullScale / peakTrack_);
    if (++fill_ == static_cast<int>(kBlock)) {
        fill_ = 0;
        processBlock();
    }
}

void PskModDemod::processBlock() {
    const std::uint32_t tuning = tuning_.load(std::memory_order_acquire);
    for (const auto& detector : bank_)
        detector->takeRequests();
    spectrum_.add(work_);
    if (++spectrumCount_ == kSpectrumBlocks) {
        spectrumCount_ = 0;
        hunt();
    }
    const PskDetector* chosen = primary();
    for (const auto& detector : bank_) {
        char text[CPSKDet::kMostCharacters];
        const int count = detector->processBlock(work_, text);
        const bool isPrimary = detector.get() == chosen;
        if (count > 0)
            report(*detector, std::string(text, static_cast<std::size_t>(count)), isPrimary);
        else if (detector->busyCount > 0)
            --detector->busyCount;
        if (isPrimary) {
            detector->busyCount = kBusy;
            followPrimary(detector->trackedFrequency(), tuning);
        }
    }
    if (updateCount_ == 0)
        publishFrequencies();
    if (++updateCount_ == kUpdateBlocks)
        updateCount_ = 0;
}

void PskModDemod::hunt() {
    const auto peaks = spectrum_.search();
    const std::span<const std::shared_ptr<PskDetector>> all(bank_);
    huntSignals(all.subspan(0, kBank), peaks);
    huntSignals(all.subspan(kBank, kBank), peaks);
}

void PskModDemod::report(PskDetector& detector, std::string text, bool isPrimary) {
    detector.busyCount = kBusy;
    detector.newChars.send(text);
    if (isPrimary)
        newChars.send(std::move(text));
}

// The properties belong to the object's context. The host may have retuned until the task runs.
void PskModDemod::followPrimary(int hz, std::uint32_t tuning) {
    if ((hz == rxFreq.value() && hz == txFreq.value()) ||
        followPosted_.exchange(true, std::memory_order_acq_rel))
        return;
    queueSeqItem(seqTask("PskModDemod.follow", [this, hz, tuning] {
        followPosted_.store(false, std::memory_order_release);
        if (tuning_.load(std::memory_order_acquire) != tuning)
            return;
        following_ = true;
        rxFreq.set(hz);
        txFreq.set(hz);
        following_ = false;
    }));
}

void PskModDemod::publishFrequencies() {
    const bool moved = std::any_of(bank_.begin(), bank_.end(), [](const auto& detector) {
        return detector->freq.value() != detector->trackedFrequency();
    });
    if (!moved || publishPosted_.exchange(true, std::memory_order_acq_rel))
        return;
    queueSeqItem(seqTask("PskModDemod.publish", [this] {
        publishPosted_.store(false, std::memory_order_release);
        for (const auto& detector : bank_)
            detector->freq.set(detector->trackedFrequency());
    }));
}

void PskModDemod::setPtt(bool on) {
    if (on) {
        keyings_.fetch_add(1, std::memory_order_acq_rel);
        heldChars_.store(0, std::memory_order_release);
        command_.store(Command::Start, std::memory_order_release);
    } else {
        heldChars_.store(1, std::memory_order_release);
        command_.store(Command::Stop, std::memory_order_release);
        const int rest = samplesToEnd_.load(std::memory_order_acquire);
        txTail = rest > 0 ? rest + kTailMargin : 512;
    }
    transmitting_.store(on, std::memory_order_release);
}

void PskModDemod::modulate(buff<std::complex<float>>, buff<std::complex<float>> out) {
    modulator_.setMode(modeWord_.load(std::memory_order_acquire));
    modulator_.setCarrierStep(carrierStep_.load(std::memory_order_acquire));
    switch (command_.exchange(Command::None, std::memory_order_acq_rel)) {
    case Command::Start:
        modulator_.start();
        break;
    case Command::Stop:
        modulator_.requestStop();
        break;
    case Command::None:
        break;
    }
    for (std::size_t done = 0; done < out.size();) {
        const std::size_t count = std::min(out.size() - done, kBlock);
        modulator_.generate(generated_.data(), static_cast<int>(count));
        for (std::size_t i = 0; i < count; ++i)
            out[done + i] = {static_cast<float>(generated_[2 * i]),
                             static_cast<float>(generated_[2 * i + 1])};
        done += count;
    }
    samplesToEnd_.store(modulator_.symbolsToEnd() * modulator_.samplesPerSymbol(), std::memory_order_release);
}

// The modulator's source, on the transmitting thread.
int PskModDemod::nextCharacter() {
    if (heldChars_.load(std::memory_order_acquire) > 0)
        return CPSKMod::kIdle;
    if (carrierOnly_.load(std::memory_order_acquire))
        return CPSKMod::kCarrierOn;
    const int byte = text_.next(sentChars);
    if (byte == TextSender::kNone)
        return CPSKMod::kIdle;
    if (byte != kEndOfText)
        return byte;
    endText();
    return CPSKMod::kCarrierOn;
}

// What is queued behind the end stays for the next press, which may come before the task runs.
void PskModDemod::endText() {
    heldChars_.store(1, std::memory_order_release);
    modulator_.requestStop();
    const std::uint32_t number = keyings_.load(std::memory_order_acquire);
    endTransmission(*this, [this, number] { // lives as long as the task, which holds the mode
        return keyings_.load(std::memory_order_acquire) == number;
    });
}

} // namespace ferrow
