#include "modes/psk/psk_det.hpp"

#include "modes/psk/varicode.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ferrow {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kTurn = 2 * kPi;
constexpr double kAfcRange = kTurn * 50 / CPSKDet::kRate;
constexpr int kAcquisition = 10, kFastAcquisition = 2; // blocks
constexpr double kAudible = 10.0;                      // level below which there is no signal
constexpr double kStrongest = 4.0;                     // power that a burst may add to the timing

constexpr double kQualityAfterReset = 90.0;
constexpr int kSignalQualityAfterReset = 10;
constexpr double kQualityTime = 75;
constexpr double kAfcTime = 100.0;
constexpr int kRun = 21; // reversals, or symbols without one, that settle the quality
constexpr double kQualityOfReversals = 25.0, kQualityOfCarrier = 100.0;
constexpr int kLikeSigns = 5;
constexpr int kImdReversals = 2;

constexpr double kTrace = 1e-200;

constexpr int kClockSpan = 314; // symbols
constexpr double kPpmOfMove = 200;

const RingTaps& decimatorTaps() {
    static const RingTaps taps(kPskDecimatorTaps);
    return taps;
}
const RingTaps& frequencyTaps() {
    static const RingTaps taps(kPskFrequencyTaps);
    return taps;
}
const RingTaps& bitTaps() {
    static const RingTaps taps(kPskBitTaps);
    return taps;
}

double radiansOf(double hz) {
    return kTurn * hz / CPSKDet::kRate;
}

} // namespace

CPSKDet::CPSKDet(int modeWord)
    : decimatorTaps_(decimatorTaps()), frequencyTaps_(frequencyTaps()), bitTaps_(bitTaps()),
      decode_(varicodeDecoding()) {
    setMode(modeWord);
}

void CPSKDet::setMode(int word) {
    word_ = knownPskWord(word);
    scheme_ = pskScheme(word_);
    decimation_ = 4 / pskSpeed(word_);
    nco_ = radiansOf(rxFreqHz_);
    setLimits(nco_);
    afcDelta_ = afcFilter_ = phaseErr_ = phaseErrAvg_ = 0;
    acquiring_ = fastAfc_ ? kFastAcquisition : kAcquisition;
    agcLevel_ = 0;
    slot_ = syncSlot_ = 0;
    syncPeak_ = 5;
    clockError_ = 0;
    firstCount_ = secondCount_ = 0;
    iq_.fill({});
    iqNext_ = 0;
    resetDetector();
}

void CPSKDet::setRxFrequency(int hz) {
    hz = std::clamp(hz, 0, kTopFrequency);
    if (hz == rxFreqHz_)
        return;
    rxFreqHz_ = hz;
    nco_ = radiansOf(hz);
    setLimits(nco_);
    afcFilter_ = phaseErrAvg_ = 0;
    acquiring_ = fastAfc_ ? kFastAcquisition : kAcquisition;
    updateStep();
}

void CPSKDet::setLimits(double centre) {
    ncoHi_ = centre + kAfcRange;
    ncoLo_ = std::max(centre - kAfcRange, 0.0);
}

void CPSKDet::resetDetector() {
    first_.clear();
    second_.clear();
    symbolRing_.clear();
    before_ = {};
    lastSymbol_ = {};
    viterbi_.reset();
    syncBins_.fill(0);
    clockMoves_ = clockSymbols_ = 0;
    quality_ = kQualityAfterReset;
    signalQuality_ = kSignalQualityAfterReset;
    squelchOpen_ = false;
    reversals_ = steadies_ = errorRun_ = 0; // else the last signal's run would open the squelch for this one
    imd_.clear();
    shift_ = 0;
    lastZero_ = false;
    updateStep();
}

int CPSKDet::processBlock(const float* samples, int count, char* out) {
    out_ = out;
    written_ = 0;
    cos_ = std::cos(phase_); // what the rotation has lost in the last block
    sin_ = std::sin(phase_);
    for (int n = 0; n < count; ++n)
        mixAndDecimate(samples[n]);
    if (acquiring_ > 0 && --acquiring_ == 0)
        setLimits(nco_);
    rxFreqHz_ = static_cast<int>((nco_ + afcDelta_) * kRate / kTurn + 0.5);
    flushTraces();
    return written_;
}

// In silence the averages fade for minutes; the slow arithmetic of the tiniest numbers is not worth it.
void CPSKDet::flushTraces() {
    const auto flush = [](double& x) {
        if (std::abs(x) < kTrace)
            x = 0;
    };
    flush(agcLevel_);
    flush(afcFilter_);
    flush(phaseErrAvg_);
    for (double& bin : syncBins_)
        flush(bin);
}

void CPSKDet::mixAndDecimate(double sample) {
    first_.push({cos_ * sample, sin_ * sample});
    const double c = cos_ * stepCos_ - sin_ * stepSin_;
    sin_ = cos_ * stepSin_ + sin_ * stepCos_;
    cos_ = c;
    phase_ += step_;
    if (phase_ >= kTurn)
        phase_ -= kTurn;
    if (++firstCount_ < 4)
        return;
    firstCount_ = 0;
    const Iq slow = filterRing(first_.data(), decimatorTaps_.from(first_.newest()), first_.kDoubles);
    if (decimation_ == 1) {
        filterSymbol(slow);
        return;
    }
    second_.push(slow);
    if (++secondCount_ < decimation_)
        return;
    secondCount_ = 0;
    filterSymbol(filterRing(second_.data(), decimatorTaps_.from(second_.newest()), second_.kDoubles));
}

void CPSKDet::updateStep() {
    if (const double step = nco_ + afcDelta_; step != step_) {
        step_ = step;
        stepCos_ = std::cos(step);
        stepSin_ = std::sin(step);
    }
}

void CPSKDet::filterSymbol(Iq sample) {
    symbolRing_.push(sample);
    auto [frequencyPath, bitPath] =
        filterRingTwice(symbolRing_.data(), frequencyTaps_.from(symbolRing_.newest()),
                        bitTaps_.from(symbolRing_.newest()), symbolRing_.kDoubles);
    trackLevel(frequencyPath, bitPath);
    controlFrequency(frequencyPath);
    if (clockSymbol(bitPath))
        decide(bitPath);
    if (reversals_ > kImdReversals)
        imd_.process(sample);
    else
        imd_.clear();
}

void CPSKDet::trackLevel(Iq& frequencyPath, Iq& bitPath) {
    const double m = std::sqrt(frequencyPath.i * frequencyPath.i + frequencyPath.q * frequencyPath.q);
    if (m > agcLevel_)
        agcLevel_ = 0.005 * m + 0.995 * agcLevel_;
    else
        agcLevel_ = 0.998 * agcLevel_ + 0.002 * m;
    if (agcLevel_ < 1.0)
        return;
    const double gain = 1 / agcLevel_;
    for (Iq* path : {&frequencyPath, &bitPath}) {
        path->i *= gain;
        path->q *= gain;
    }
}

void CPSKDet::controlFrequency(Iq sample) {
    const auto [last, previous] = before_;
    before_ = {sample, last};
    if (!afcOn_) {
        afcFilter_ = phaseErrAvg_ = afcDelta_ = 0;
        updateStep();
        return;
    }
    const double turning = (sample.i - previous.i) * last.q - (sample.q - previous.q) * last.i;
    const double error = std::clamp(turning, -0.3, 0.3);
    afcDelta_ = fastAfc_ ? fastCorrection(error) : slowCorrection(error);
    const double step = nco_ + afcDelta_;
    if (step > ncoHi_ || step < ncoLo_) {
        nco_ = step > ncoHi_ ? ncoHi_ : ncoLo_;
        afcDelta_ = 0;
    }
    updateStep();
}

// The symbols' phase error counts only where the waveform's own turning agrees with its sign.
double CPSKDet::agreedPhaseError() const {
    return phaseErrAvg_ * afcFilter_ > 0 ? phaseErrAvg_ : 0;
}

double CPSKDet::slowCorrection(double error) {
    afcFilter_ = 0.995 * afcFilter_ + 0.25 * error;
    if (acquiring_ > 0) {
        if (std::abs(afcFilter_) > 0.3)
            nco_ += 3e-06 * afcFilter_;
        return 0.0004 * afcFilter_;
    }
    const double a = agreedPhaseError();
    if (std::abs(a) > 0.3)
        nco_ += 1.5e-06 * a;
    return 0.001 * a;
}

double CPSKDet::fastCorrection(double error) {
    afcFilter_ = 0.9966666666666667 * afcFilter_ + error / 6;
    if (std::abs(afcFilter_) > 6.0) {
        nco_ += 1.5e-05 * afcFilter_;
        return 0.002 * afcFilter_;
    }
    const double a = agreedPhaseError();
    if (std::abs(a) > 0.3)
        nco_ += 3e-05 * a;
    return 0.008 * a;
}

// Finds where in the symbol the signal is strongest. True on the sample to decide by.
bool CPSKDet::clockSymbol(Iq sample) {
    double power = sample.i * sample.i + sample.q * sample.q;
    if (power > kStrongest)
        power = 1.0;
    double& bin = syncBins_[static_cast<std::size_t>(slot_)];
    bin = 0.9878048780487805 * bin + 0.012195121951219513 * power;
    const bool decision = slot_ == syncSlot_;
    // Opposite the strongest bin: about half a symbol from it, so that no decision is lost or taken twice.
    const int opposite = syncPeak_ < 8 ? syncPeak_ + 7 : syncPeak_ - 8;
    if (slot_ == opposite)
        moveSymbolSlot();
    if (++slot_ == kSymbolSamples) {
        slot_ = 0;
        syncPeak_ =
            static_cast<int>(std::max_element(syncBins_.begin(), syncBins_.end()) - syncBins_.begin());
    }
    return decision;
}

void CPSKDet::moveSymbolSlot() {
    const int move = (syncPeak_ - syncSlot_ + kSymbolSamples) % kSymbolSamples;
    if (move == 1)
        ++clockMoves_;
    else if (move == kSymbolSamples - 1)
        --clockMoves_;
    syncSlot_ = syncPeak_;
}

void CPSKDet::decide(Iq symbol) {
    const double dot = lastSymbol_.i * symbol.i + lastSymbol_.q * symbol.q;
    const double cross = lastSymbol_.i * symbol.q - lastSymbol_.q * symbol.i;
    lastSymbol_ = symbol;
    Point& point = iq_[iqNext_];
    iqNext_ = (iqNext_ + 1) % iq_.size();
    const double length = std::sqrt(dot * dot + cross * cross);
    if (agcLevel_ > kAudible && length > 0)
        point = {static_cast<std::int32_t>(cross * 1000 / length),
                 static_cast<std::int32_t>(dot * 1000 / length)};
    else
        point = {2, 2};
    // A reversal lies at pi / 2, no change at 3 pi / 2.
    const double angle = std::atan2(dot, scheme_ == PskScheme::QpskLower ? -cross : cross) + kPi;
    measureQuality(angle);
    takeBit(isQpsk(scheme_) ? viterbi_.decode(angle) : dot > 0);
    if (!squelchOpen_) {
        clockMoves_ = clockSymbols_ = 0;
    } else if (++clockSymbols_ == kClockSpan) {
        clockError_ = clockMoves_ * kPpmOfMove;
        clockMoves_ = clockSymbols_ = 0;
    }
}

void CPSKDet::measureQuality(double angle) {
    const bool qpsk = isQpsk(scheme_);
    const bool upper = angle >= kPi;
    const double reference = upper ? 3 * kPi / 2 : kPi / 2;
    double error = angle - reference;
    if (!qpsk || std::abs(error) <= kPi / 4) {
        const double distance = std::abs(error) * (qpsk ? 280 : 150);
        if (scheme_ == PskScheme::QpskLower)
            error = -error;
        const double k = quality_ > distance ? 1 / kQualityTime : 1 / (2 * kQualityTime);
        quality_ = (1 - k) * quality_ + k * distance;
        int& run = upper ? steadies_ : reversals_;
        (upper ? reversals_ : steadies_) = 0;
        if (run < kRun)
            ++run;
        else if (!upper)
            quality_ = kQualityOfReversals;
        else if (!qpsk)
            quality_ = kQualityOfCarrier;
        if (error < 0)
            errorRun_ = std::min(errorRun_, 0) - 1;
        else
            errorRun_ = std::max(errorRun_, 0) + 1;
        errorRun_ = std::clamp(errorRun_, -kLikeSigns, kLikeSigns);
        const double most = qpsk ? 0.6 : 1.0;
        phaseErr_ = std::abs(errorRun_) == kLikeSigns ? std::clamp(error, -most, most) : 0;
    }
    const bool audible = agcLevel_ > kAudible;
    signalQuality_ = audible ? 100 - static_cast<int>(quality_) : 0;
    squelchOpen_ = audible && signalQuality_ >= squelchThreshold_;
    phaseErrAvg_ = (1 - 1 / kAfcTime) * phaseErrAvg_ + (5 / kAfcTime) * phaseErr_;
}

void CPSKDet::takeBit(bool bit) {
    if (bit || !lastZero_) {
        shift_ = shift_ << 1 | static_cast<std::uint32_t>(bit);
        lastZero_ = !bit;
        return;
    }
    if (shift_ == 0)
        return;
    const unsigned char character = decode_[shift_ >> 2 & 0x7ff];
    shift_ = 0;
    if (character != 0 && squelchOpen_ && written_ < kMostCharacters)
        out_[written_++] = static_cast<char>(character);
}

} // namespace ferrow
