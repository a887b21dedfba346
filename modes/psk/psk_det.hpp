// Receiver of one PSK signal at one audio frequency.
#pragma once

#include "modes/psk/calc_imd.hpp"
#include "modes/psk/mode_word.hpp"
#include "modes/psk/qpsk_code.hpp"
#include "modes/psk/ring_filter.hpp"

#include <array>
#include <cstdint>

namespace ferrow {

// From a real stream of 8000 samples a second to characters: mixer, two decimators, filters at 16 samples a
// symbol, frequency control, symbol clock, decision, Varicode. Made once and retuned. One thread at a time;
// only construction allocates.
class CPSKDet {
public:
    static constexpr int kRate = 8000;
    static constexpr int kMostCharacters = 10; // of one block
    static constexpr int kSymbolSamples = 16;  // after the decimators
    static constexpr int kTopFrequency = kRate / 2;

    // What the constellation display shows of a symbol: the phase change as a point on a circle of 1000.
    struct Point {
        std::int32_t i = 0, q = 0;
    };

    explicit CPSKDet(int modeWord = 0);
    virtual ~CPSKDet() = default;

    // A new mode word clears everything but the frequency and the settings.
    void setMode(int word);
    int mode() const noexcept { return word_; }

    // Hz, held within 0 to 4000. The present tracked frequency is no change. Starts a new acquisition.
    void setRxFrequency(int hz);
    int rxFrequency() const noexcept { return rxFreqHz_; } // as tracked at the end of the last block

    // For another signal on the frequency at hand: clears filters, Viterbi decoder, symbol timing, quality
    // and the character in progress.
    void resetDetector();

    // Reads `count` samples; writes at most ten characters (never NUL) to `out` and returns how many. More of
    // one block are dropped. Levels: up to some 30000; signals below about 20 are taken for silence.
    int processBlock(const float* samples, int count, char* out);

    void setAfc(bool on) noexcept { afcOn_ = on; }       // default true
    void setFastAfc(bool on) noexcept { fastAfc_ = on; } // default false: pulls farther, follows noise
    void setSquelchThreshold(int quality) noexcept { squelchThreshold_ = quality; } // default 50

    int signalQuality() const noexcept { return signalQuality_; } // 0 to 100; 10 after a reset
    bool squelchOpen() const noexcept { return squelchOpen_; }
    double agcLevel() const noexcept { return agcLevel_; }
    double clockError() const noexcept { return clockError_; } // of the sender's symbol rate, ppm
    const CCalcIMD& imd() const noexcept { return imd_; }
    const std::array<Point, 16>& points() const noexcept { return iq_; }

private:
    void mixAndDecimate(double sample);
    void filterSymbol(Iq sample);
    void trackLevel(Iq& frequencyPath, Iq& bitPath);
    void controlFrequency(Iq sample);
    double slowCorrection(double error);
    double fastCorrection(double error);
    double agreedPhaseError() const;
    bool clockSymbol(Iq sample);
    void moveSymbolSlot();
    void decide(Iq symbol);
    void measureQuality(double angle);
    void takeBit(bool bit);
    void setLimits(double centre);
    void updateStep();
    void flushTraces();

    int word_ = 0;
    PskScheme scheme_ = PskScheme::Bpsk;
    int decimation_ = 4; // of the second stage: 4, 2 or 1

    // Settings.
    bool afcOn_ = true, fastAfc_ = false;
    int squelchThreshold_ = 50;

    // Mixer; angles in radians, steps in radians a sample.
    int rxFreqHz_ = 1500;
    double nco_ = 0, afcDelta_ = 0, phase_ = 0;
    double ncoLo_ = 0, ncoHi_ = 0;
    double step_ = 0; // nco_ + afcDelta_, as the mixer has it
    double stepCos_ = 1, stepSin_ = 0;
    double cos_ = 1, sin_ = 0; // of phase_

    // Decimators and filters.
    const RingTaps &decimatorTaps_, &frequencyTaps_, &bitTaps_;
    SampleRing<35> first_, second_;
    SampleRing<65> symbolRing_;
    int firstCount_ = 0, secondCount_ = 0; // samples since the last output

    double agcLevel_ = 0;

    // Frequency control.
    std::array<Iq, 2> before_{}; // the last two samples, the newer one first
    double afcFilter_ = 0, phaseErr_ = 0, phaseErrAvg_ = 0;
    int acquiring_ = 0; // blocks left

    // Symbol clock.
    std::array<double, kSymbolSamples> syncBins_{};
    int slot_ = 0;     // of the next sample
    int syncSlot_ = 0; // where decisions are taken
    int syncPeak_ = 5; // the strongest bin
    int clockMoves_ = 0, clockSymbols_ = 0;
    double clockError_ = 0;

    // Decision and quality.
    Iq lastSymbol_;
    QpskDecoder viterbi_;
    double quality_ = 90;
    int signalQuality_ = 10;
    bool squelchOpen_ = false;
    int reversals_ = 0, steadies_ = 0; // in a row, up to 21
    int errorRun_ = 0;                 // like signs in a row; negative for negative ones
    std::array<Point, 16> iq_{};
    std::size_t iqNext_ = 0;
    CCalcIMD imd_;

    // Characters.
    const std::array<unsigned char, 2048>& decode_;
    std::uint32_t shift_ = 0;
    bool lastZero_ = false;
    char* out_ = nullptr;
    int written_ = 0;
};

} // namespace ferrow
