// 45.45 baud teletype from complex samples: no start-bit detector, but a score of every place at which a
// character may have ended, over one character time.
#pragma once

#include "core/buff/buff.hpp"

#include <array>
#include <complex>
#include <span>
#include <string_view>

namespace ferrow {

// Bits count as mark at the tone at `rxFreq`, and as space 170 Hz above it. One thread.
class RttyDecoder {
public:
    static constexpr int kDecimation = 8; // of 48000 samples a second
    static constexpr double kShift = 170.0;
    static constexpr int kDebugValues = 1024;

    RttyDecoder();

    // `block` at 48000 samples a second. Returns what the decoder writes for it: characters, marks of slipped
    // phases ("#" with the slots), and a line of four numbers before a slip. Valid until the next call.
    std::string_view process(std::span<const std::complex<float>> block, double rxFreq);

    // Difference of the two tones, upper less lower, twice a block of 512; empty until 1024 values are
    // together, and given once.
    buff<float> takeDebug();

    bool figures() const noexcept { return figures_; }

private:
    static constexpr int kBit = 132;   // samples at 6000 a second
    static constexpr int kRing = 128;  // slots
    static constexpr int kPhases = 60; // slots of a character, 8 a bit
    static constexpr int kSlotsPerBit = 8;
    static constexpr int kSteady = 2; // slots by which the phase may wander

    // The sum of the last kBit products.
    struct Correlator {
        std::array<std::complex<double>, kBit> products{};
        std::complex<double> sum{};

        void push(std::complex<double> product, int at) {
            auto& oldest = products[static_cast<std::size_t>(at)];
            sum += product - oldest;
            oldest = product;
        }
    };
    struct Tone {
        Correlator correlator;
        std::complex<double> phasor{1, 0};
        std::complex<double> step{1, 0};
        double magnitude() const { return std::abs(correlator.sum); }
        void retune(double hertz);
        void push(std::complex<double> sample, int at);
    };
    struct Magnitudes {
        double upper = 0, lower = 0;
    };
    struct PhaseRecord {
        std::array<double, 3> scores{}; // newest first
        int code = 0;
        double sum() const { return scores[0] + scores[1] + scores[2]; }
    };

    void slot();
    void endCharacter();
    void write(std::string_view text);

    Tone upper_, lower_;
    int productAt_ = 0;
    int sampleAt_ = 0; // input samples to the next one that counts
    int debugAt_ = 0;
    std::array<Magnitudes, kRing> ring_{};
    int ringPos_ = 0;
    int slotCountdown_ = 0;
    bool slotToggle_ = false;
    std::array<PhaseRecord, kPhases> phaseRecords_{};
    int phase_ = 0;
    double bestScore_ = -1e15;
    int bestCode_ = 0;
    int bestPhase_ = 0, lastPhase_ = 0;
    bool figures_ = false;

    buff<float> debugBuffer_, finishedDebug_;
    int debugFill_ = 0;
    std::array<char, 1024> text_{};
    std::size_t textLength_ = 0;
};

} // namespace ferrow
