// The RSP family of receivers, through the vendor's API library, version 3.08. Receive only.
//
// One device is one radio; an RSPduo with both tuners is one radio with two ADCs, which it is at 2 MHz only.
// Everything runs on the radio's context unless a line says otherwise. The API calls back on threads of its
// own (SdrplayStream); retunes run on a further context, so that a slow one holds up no samples.
#pragma once

#include "core/async/async_collection.hpp"
#include "core/async/value_label_item.hpp"
#include "radios/sdrplay/sdrplay_library.hpp"
#include "radios/sdrplay/sdrplay_records.hpp"
#include "radios/sdrplay/sdrplay_settings.hpp"
#include "radios/sdrplay/sdrplay_stream.hpp"
#include "trx/radio.hpp"

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace ferrow {

class SDRPlayRadio : public Radio {
public:
    explicit SDRPlayRadio(const std::shared_ptr<syncTask>& hostContext);
    // Any thread but the API's: ends the stream, closes the API and releases the library.
    ~SDRPlayRadio() override;

    asyncCollection<ValueLabelItem> SampleRates;
    asyncCollection<ValueLabelItem> Antennas; // of the model
    asyncProperty<std::string> SerialNo;      // selects the device
    asyncProperty<std::string> Model;         // "RSP1", "RSP1A", "RSP2", "RSPduo" or "RSPdx"
    asyncProperty<int> Antenna{0};
    asyncProperty<int> maxRxRFGain{0}; // LNA states of the model
    asyncProperty<int> minRxRFGain{0};
    asyncProperty<int> rxGain{3};
    asyncProperty<int> maxRxRFGain2{0}; // of tuner B
    asyncProperty<int> minRxRFGain2{0};
    asyncProperty<int> rxGain2{3};
    asyncProperty<bool> BiasT{false};
    asyncProperty<bool> RFNotch{false};
    asyncProperty<bool> DABNotch{false};
    asyncProperty<bool> ClockOut{false};
    asyncProperty<bool> HasClockOut{false};
    asyncProperty<int> maxRxIFGain{0};
    asyncProperty<int> minRxIFGain{0};
    asyncProperty<int> rxIFGain{0}; // stored only: the API's gain control has the IF gain
    asyncProperty<bool> adcOverload{false};
    asyncProperty<bool> adcOverload2{false};
    asyncProperty<double> adcPeak{0}; // 2.02 at full scale
    asyncProperty<double> adcPeak2{0};

    void frequenciesChanged() override;
    void addHwReceiver(long long frequency) override;
    void startRadio() override;
    void stopRadio() override;

    // Samples of stream number `stream`: imaginary parts in `first`, real parts in `second`.
    void NewData(const buff<short>& first, const buff<short>& second, int tuner, int stream);

    const SdrplayLibrary& library() const noexcept { return library_; }
    const SdrplayStream& stream() const noexcept { return *stream_; }

    // Radios made in this process so far; the library's file goes by it.
    static std::atomic<int> made;

private:
    using Setting = std::optional<sdrplay::Change> (*)(const sdrplay::Records&, bool);
    using FailureText = fmt::format_string<const std::string&>;

    void bindListeners();
    void applyModel();
    void applyRate();

    // Start, by its parts. False ends it.
    bool selectDevice();
    bool fetchParams();
    void fillParams();
    void initDevice();
    void resetReceivers();

    bool dualTuner() const noexcept;
    bool running() const noexcept { return device_ != nullptr && rxChannelA_ != nullptr; }
    sdrplay::Records records() const;
    bool passed(int code, FailureText text) const;
    void update(const std::optional<sdrplay::Change>& change, FailureText text);
    void changeSetting(Setting setting, bool value, FailureText text);
    void setGain();
    void setGain2();
    void setLnaState(sdrplay::RxChannelParams& channel, int tuner, long long state, int highest,
                     FailureText text);
    void refresh();

    // Retune context.
    void dotune();
    void retune(std::size_t receiver, sdrplay::RxChannelParams* channel, int tuner, double& last);

    SdrplayLibrary library_;
    std::shared_ptr<SdrplayStream> stream_;
    std::shared_ptr<asyncObject> tuneTask_; // its context carries the retunes
    sdrplay::CallbackFns callbacks_;

    std::array<sdrplay::Device, sdrplay::kMaxDevices> devices_{};

    // Changed with the stream's mutex held, since retunes look at them.
    sdrplay::Device* device_ = nullptr; // one of devices_
    sdrplay::DeviceParams* deviceParams_ = nullptr;
    sdrplay::RxChannelParams* rxChannelA_ = nullptr;
    double lastRfA_ = 0, lastRfB_ = 0; // Hz, as the API last took them
    bool initialised_ = false;

    std::atomic<sdrplay::Model> model_{sdrplay::Model::Unknown};
    std::chrono::steady_clock::time_point tuneTime_{}; // of the last retune

    long long samplesSinceRefresh_ = 0;
    std::array<double, 2> peaks_{};
};

} // namespace ferrow
