// One transceiver of a radio, with its mode and its gain control.
#pragma once

#include "host/handle.hpp"
#include "host/spectrum.hpp"
#include "host/tuning.hpp"

#include <chrono>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace ferrow {

// Where a transceiver's sound goes, or where it comes from.
struct AudioChoice {
    enum class Kind { Default, None, Device } kind = Kind::None;
    int device = -1; // with Kind::Device: Value of an item of Wireless.outputDevices or inputDevices
};

class Transceiver {
public:
    using Clock = std::chrono::steady_clock;

    // Takes over the handle that vtrxAdded brought. Silent, and without a mode, until told otherwise.
    // `strengthAbove`: dB to take off the library's signal strength.
    Transceiver(void* handle, long long vfo, double strengthAbove = 0);
    Transceiver(const Transceiver&) = delete;
    Transceiver& operator=(const Transceiver&) = delete;

    // Whether the library has handed over all that belongs to it.
    bool ready() const { return static_cast<bool>(agc_); }

    // Takes over a mode object and sets the filter for it, in Hz relative to vfo.
    void setMode(Object mode, int low, int high);
    void setFilter(int low, int high);
    void setVfo(long long vfo);
    void setAudio(const AudioChoice& output, const AudioChoice& microphone = {});

    // Band of the transmit filter in Hz relative to vfo, and how far above vfo the carrier stands.
    void setTransmitFilter(int low, int high);
    void setTransmitOffset(int hertz);
    void setDrive(int drive); // 0 to 255
    // A transmission is a plain carrier.
    void setTune(bool on);
    // Asks for the transmitter. The library may do so too: by voice, or when a slot begins.
    void setPtt(bool on);
    bool ptt() const { return ptt_; }
    // Voice-operated transmit: linear peak of the microphone that keys, and seconds that it holds.
    void setVox(bool on, double threshold = 0.4, double hold = 0.5);
    double microphoneLevel() const { return microphoneLevel_; } // linear peak
    // Plain gain in dB in place of the automatic one.
    void setManualGain(double decibel);
    // The automatic one again, with seconds as of setGainTimes.
    void setAutomaticGain(float attack, float decay, float hang);
    // Takes noise out of the voice, by that percentage of what the library would take away; needs a mode.
    void setNoiseReduction(double percent);
    // Audio frequency at which a text mode receives, Hz; CW has one of its own.
    void setTextAt(int hertz);
    void endNoiseReduction();
    // Seconds in which the gain falls and rises, and for which it hangs.
    void setGainTimes(float attack, float decay, float hang);
    // Width of the display: the radio's rate divided by `zoom`, a power of two, around vfo + offset.
    void setSpectrum(bool foreground, double zoom, long long offset);

    // Blocks of sound at 48000 a second, on the pumping thread.
    std::function<void(std::span<const float>)> onAudio;
    // Frames, on the render thread; set it before start().
    std::function<void(const Spectrum&)> onSpectrum;

    void start();
    // Asks the radio for its frequency once more.
    void retune();
    // Takes it off the radio.
    void remove();
    // Gives all handles back. The callbacks may still come until the library calls Deleted.
    void release();
    // Behind release(): whether the library has let go of all, and no callback comes any more.
    bool released() const;

    // A single answer of the hardware receiver that serves this transceiver: its centre in Hz. Asks for it;
    // the answer stands here some blocks later, once samples flow.
    void askCentre();
    std::optional<double> centre() const { return centre_; }

    long long vfo() const { return vfo_; }
    // dB, the peak power after the filter; nothing until the library has given one.
    std::optional<double> signalStrength() const { return strength_; }
    bool tuningValid() const { return tuningValid_; }
    // Time of the last block of sound; nothing before the first.
    std::optional<Clock::time_point> lastSamples() const { return lastSamples_; }
    const Object& object() const { return vtrx_; }
    const Object& mode() const { return mode_; }

private:
    void takeAudio(void* array);
    void takeSpectrum(void* array, double low, double high, int rate);

    long long vfo_;
    Object mode_;
    Object agc_;
    std::optional<double> strength_;
    bool tuningValid_ = true;
    bool ptt_ = false;
    double microphoneLevel_ = 0;
    std::optional<Clock::time_point> lastSamples_;
    std::optional<double> centre_;
    std::vector<std::weak_ptr<const void>> lives_; // of what has been released
    Object vtrx_;                                  // last: goes first
};

} // namespace ferrow
