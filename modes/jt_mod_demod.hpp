// The slotted weak-signal modes: reception cut into periods of UTC and saved as files, and tables of tones
// sent.
#pragma once

#include "core/async/async_event.hpp"
#include "modes/jt_period_file.hpp"
#include "trx/mod_demod.hpp"

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <span>
#include <string>

namespace ferrow {

// One class serves every slotted mode: all numbers of a mode are properties. It has no decoder.
class JTModDemod : public modDemod {
public:
    // Marker of a period without a transmission.
    static constexpr int kNoMarker = 8;

    // Time of day as 100 ns ticks of UTC since 1970.
    using UtcClock = std::int64_t (*)();

    explicit JTModDemod(const std::shared_ptr<syncTask>& context);
    ~JTModDemod() override;

    asyncProperty<std::string> saveDirectory;   // prefix of every file name
    asyncProperty<int> samplesPerSymbol{7680};  // at 48000 a second
    asyncProperty<double> toneSpacing{6.25};    // Hz per unit of tone number
    asyncProperty<int> samplesPerBlock{151200}; // stored values: real samples, or two per complex one
    asyncProperty<int> endPadding{0};           // stored values at the end that are not captured but zero
    asyncProperty<int> period{15000};           // ms
    asyncProperty<int> Decimation{4};           // one input sample in this many is kept
    asyncProperty<int> SaveMode{0};             // 1: .c2 files, else WAV
    asyncProperty<int> FreqDevTable{0};      // transmit smoothing: 0 none; 2, 10, 50, or else 1: its product
    asyncProperty<int> TaperSamples{0};      // amplitude ramp, samples at 48000 a second
    asyncProperty<int> StartDelaySamples{0}; // silence before the first symbol, the same
    asyncProperty<bool> Enabled{true};

    // Name of a saved file, directly followed by its marker in decimal digits.
    asyncEvent<std::string> newFile;

    // On the mode's context. One number per symbol; `startMs` in ms since the top of the hour.
    void queueMsg(buff<float> tones, int marker, int startMs);

    buff<float> demodulate(buff<std::complex<float>> block) override;
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;

    // For tests: another clock, before anything runs.
    void setClock(UtcClock clock) { clock_ = clock; }

private:
    struct Queued {
        buff<float> tones;
        int marker = kNoMarker;
        int startMs = 0;
    };
    struct Message {
        buff<float> tones;
        int symbolIndex = 0;
    };

    int periodMs() const;
    int blockLength() const;
    void beginPeriod();
    void capture(const buff<std::complex<float>>& block);
    void finishPeriod();
    void handOver();
    void startTransmission();
    bool nextSymbol();
    double frequencyOf(int symbol) const;
    double smoothed(std::span<const double> table, int position, int length) const;
    double amplitude() const;
    void endTransmission();

    UtcClock clock_;
    std::shared_ptr<asyncObject> saver_; // a context of its own for writing files

    // Reception, on the transceiver's context; both flags are cleared from the mode's.
    std::atomic<bool> capturing_{false};
    std::atomic<bool> periodOpen_{false}; // captureCount_ tells how far the present period is
    std::int64_t captureCount_ = 0;
    float peak_ = 0;
    double absSum_ = 0, absCount_ = 0;
    buff<float> block_;
    int periodStartMs_ = 0;
    std::string filePath_;
    std::future<std::string> saveFuture_;
    double mixPhase_ = 0;
    int txMarker_ = kNoMarker, doneMarker_ = kNoMarker;

    // From the mode's context to the transceiver's, and from there to the transmit path.
    std::atomic<Queued*> incoming_{nullptr};
    std::unique_ptr<Queued> queued_;
    std::atomic<Message*> outgoing_{nullptr};
    std::atomic<bool> dropTones_{false};
    std::atomic<std::uint32_t> transmissions_{0}; // started so far

    // Transmission, on the thread that pulls it.
    buff<float> tones_;
    int symbolIndex_ = 0, symbolLeft_ = 0, symbolLength_ = 1;
    double stepCos_ = 1, stepSin_ = 0;
    double prevHz_ = 0, curHz_ = 0, nextHz_ = 0;
    std::int64_t txSamples_ = 0;
    double phaseRe_ = 1.0, phaseIm_ = 0.0;
};

} // namespace ferrow
