// A virtual transceiver: one receive and transmit chain on a radio.
#pragma once

#include "core/async/async_event.hpp"
#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"
#include "core/audio/audio_input.hpp"
#include "core/audio/audio_output.hpp"
#include "core/buff/buff.hpp"
#include "trx/agc.hpp"
#include "trx/denoise/denoise.hpp"
#include "trx/dsp/decimating_mixer.hpp"
#include "trx/dsp/overlap_filter.hpp"
#include "trx/dsp/rational_resampler.hpp"
#include "trx/mod_demod.hpp"

#include <array>
#include <atomic>
#include <complex>
#include <memory>

namespace ferrow {

class Radio;

// Everything runs on the transceiver's own context unless a line says otherwise. The class has four sources:
// lifecycle, receive, spectrum and transmit.
class vtrx : public asyncObject {
public:
    using Samples = buff<std::complex<float>>;

    static constexpr int kBlock = 512; // samples at the mode's rate
    static constexpr int kFilterTaps = 1536;
    static constexpr int kSpectrum = 2048;    // points
    static constexpr int kTxChunk = 126;      // samples at 48000 a second
    static constexpr int kDelayLine = 240000; // 5 s of microphone

    explicit vtrx(std::shared_ptr<syncTask> context);
    ~vtrx() override;

    asyncProperty<bool> ptt{false};              // transmit request
    asyncProperty<bool> tune{false};             // send a carrier
    asyncProperty<long long> specFreq{14095600}; // centre of the spectrum, Hz: vfo + specOffset
    asyncProperty<long long> specOffset{0};
    asyncProperty<double> specZoom{1.0};
    asyncProperty<int> audioInput{0};   // place in the list of capture devices
    asyncProperty<int> audioOutput{-1}; // device number
    asyncProperty<bool> muted{false};   // no audio device at all
    asyncProperty<std::shared_ptr<agc>> rxagc;
    asyncProperty<std::shared_ptr<agc>> txagc;    // gain while audio must be silent
    asyncProperty<double> signalStrength{0};      // dB
    asyncProperty<bool> foregroundDisplay{false}; // full spectrum rate; also gates vox
    asyncProperty<int> oversample{1};
    asyncProperty<int> waterfallSpeed{0};   // spectrum overlap exponent
    asyncProperty<long long> vfo{14095600}; // Hz
    asyncProperty<int> TxOffset{0};         // Hz
    asyncProperty<bool> useResampler{true}; // clock tracking of the audio output
    asyncProperty<double> micLevel{0};
    asyncProperty<bool> bandwidthSufficient{true}; // false: the radio's rate is below the mode's
    asyncProperty<bool> useVox{false};
    asyncProperty<double> VoxThreshold{0.4}; // linear peak
    asyncProperty<double> VoxHold{0.5};      // seconds
    asyncProperty<int> drive{0};
    asyncProperty<int> ADCs{1}; // bit mask; 3 selects diversity
    asyncProperty<double> ADC1Gain{1.0};
    asyncProperty<double> ADC1Phase{0};    // degrees
    asyncProperty<bool> DelayAudio{false}; // replay the microphone
    asyncProperty<bool> SendAudio{false};
    asyncProperty<bool> SendIQ{false};
    asyncProperty<bool> TuningValid{true}; // vfo and filter lie inside a hardware receiver
    asyncProperty<int> OwnerID{0};         // above 0: belongs to a remote client

    asyncEvent<buff<float>, double, double, int> newSpectrum; // 2048 values, low Hz, high Hz, rate
    asyncEvent<buff<float>> newAudio;
    asyncEvent<Samples, double, int> newIQ; // block, centre in Hz, rate

    // Makes gains and filters, takes the default devices and binds the change handlers; once, before any
    // chunk.
    void create();
    void start();
    void stop();
    void remove();

    // Asks the radio for a receiver at `frequency` (Hz); vfo stays.
    void setRxFrequency(long long frequency);

    // Null takes the mode away.
    void setModulation(std::shared_ptr<modDemod> mode);
    void setRxFilter(int low, int high); // Hz
    void setTxFilter(int low, int high);

    // One chunk of a hardware receiver whose centre lies at `rxFrequency` Hz, converter included. A signal
    // above the centre has a negative frequency in `iq`. `wide` spans `wideSpan` Hz from 0.
    void processRxChunk(Samples iq, long long rxFrequency, int rate, buff<float> wide, double wideSpan,
                        int adc);

    // 126 samples for the radio, posted to it as "radio.transmit".
    void produceTxChunk();

    // Receiver that serves each ADC, or -1. Written on the radio's context, read by its receive thread and
    // here.
    std::array<std::atomic<int>, 4> hwReceiverOfAdc{-1, -1, -1, -1};
    std::atomic<int> filterLow{-3000}; // Hz, receive
    std::atomic<int> filterHigh{3000};
    std::weak_ptr<Radio> radio; // set before anything runs

    // The hardware's CW key, stored by the radio's receive path.
    std::atomic<bool> hardwareKey{false};

    const std::shared_ptr<modDemod>& mode() const noexcept { return mode_; }
    bool running() const noexcept { return running_; }
    const ferrow::audioOutput& output() const noexcept { return audioOut_; }
    Sidetone& sidetone() noexcept { return audioOut_.sidetone(); } // any thread
    const audioInputReader& microphone() const noexcept { return micIn_; }

private:
    struct Ratio {
        int up, down, factor;
    };
    struct StopRamp {
        bool active = false;
        int count = 0;
        int length = 512;
    };
    struct StartRamp {
        bool active = true;
        int silence = 768;
        int length = 512;
        int count = 0;
    };
    // What one pass of the spectrum loop works with.
    struct SpectrumPass;

    // Lifecycle.
    void bindHandlers();
    void updateSpecFreq();
    void openOutput();
    void openInput();
    void changeDelayAudio();
    void setPtt();
    void postPtt();

    // Receive.
    bool combineAdcs(Samples& iq, int adc);
    static Ratio rateRatio(int rate, int modeRate);
    void prepareResampler(const Ratio& ratio);
    std::size_t feedFilter(double step, const Ratio& ratio, const Samples& iq, std::size_t consumed);
    void processBlock(double step);
    void updateLevels();
    bool tuningIsValid() const;
    void playReceived(buff<float> audio, bool stereo);
    buff<float> reduceNoise(buff<float> audio, bool hold, float level);
    void playTransmitting(buff<float> audio, bool stereo);
    void checkVox(double seconds);

    // Spectrum.
    void processRxSpectrumChunk(const Samples& iq, long long rxFrequency, int rate, buff<float> wide,
                                double wideSpan);
    void spectrumFrame(SpectrumPass& pass, buff<float>& wide, double wideSpan);
    void fillMargins(const SpectrumPass& pass, const buff<float>& wide, double wideSpan,
                     buff<float>& out) const;

    // Transmit.
    void readMicrophone(std::span<float> block);
    void modulate(const Samples& in, const Samples& out);
    void envelope(const Samples& out);

    ferrow::audioOutput audioOut_;
    audioInputReader micIn_;
    std::shared_ptr<modDemod> mode_;
    std::shared_ptr<agc> modeAgc_;
    bool running_ = false;

    decimatingMixer rxMixer_;
    rationalResampler rxResampler_;
    overlapFilter rxFilter_;
    int rxOutPos_ = 0; // samples already in the filter's input block
    int lastChunkRate_ = 0;
    int lastModeRate_ = 0;
    int adcSeen_ = 0;
    std::array<Samples, 4> adcSlots_;
    int levelBlockCount_ = 0;
    double micPeak_ = 0;
    int rxMuteBlocks_ = 0;
    int txMuteBlocks_ = 0;
    double voxHoldLeft_ = 0;

    std::unique_ptr<DenoiseState> denoiser_; // made at the first block that wants it
    buff<float> denoiseBuffer_;              // blocks of other sizes than 512 pass through it
    long denoisePos_ = 0;

    decimatingMixer specMixer_;
    Samples specBuffer_, specScratch_, specResult_;
    buff<float> specWindow_, wideWindow_;
    buff<float> averageSum_;
    int specPos_ = 0;
    long long specCentre_ = 14095600;
    int idleMs_ = 0;
    int averageCount_ = 0;

    overlapFilter txFilter_;
    Samples txIn_;
    buff<float> txMicrophone_;
    long txReadPos_ = 512;
    buff<float> delayLine_;
    long delayPos_ = 0;
    bool delayFilled_ = false;
    StopRamp stopRamp_;
    StartRamp startRamp_;
    bool transmitting_ = false;
};

} // namespace ferrow
