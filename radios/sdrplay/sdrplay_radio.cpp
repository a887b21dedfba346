#include "radios/sdrplay/sdrplay_radio.hpp"

#include "core/tasks/log.hpp"
#include "radios/sdrplay/say.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

namespace ferrow {

namespace {

using sdrplay::Device;
using sdrplay::RxChannelParams;
using sdrplay::say;

constexpr long long kFirstFrequency = 99000000;
constexpr int kLowIfRate = 2000000; // the one rate without a spike at the centre, and with both tuners
constexpr double kInitialRf = 1000.0;
constexpr double kPeakScale = 16184.0;
constexpr long long kRefreshMs = 200;
constexpr auto kLostAcknowledgement = std::chrono::milliseconds(601);

std::string serialOf(const Device& device) {
    return {device.SerNo, strnlen(device.SerNo, sizeof(device.SerNo))};
}

// Streams that could not be ended, for good: the API may still call them.
void keepForGood(std::shared_ptr<SdrplayStream> stream) {
    static std::mutex mutex;
    static auto* const kept = new std::vector<std::shared_ptr<SdrplayStream>>;
    const std::lock_guard lock(mutex);
    kept->push_back(std::move(stream));
}

} // namespace

std::atomic<int> SDRPlayRadio::made{0};

SDRPlayRadio::SDRPlayRadio(const std::shared_ptr<syncTask>& hostContext)
    : Radio(hostContext), library_(SdrplayLibrary::ofRadio(made.fetch_add(1))),
      stream_(std::make_shared<SdrplayStream>(context(), library_)),
      tuneTask_(std::make_shared<asyncObject>(std::make_shared<syncTask>(context()->pool()))),
      callbacks_(SdrplayStream::callbacks()) {
    const auto rate = [this](int value, const char* label) {
        SampleRates.add(std::make_shared<ValueLabelItem>(context(), value, label));
    };
    rate(768000, "768k");
    rate(1536000, "1536k");
    rate(6144000, "6144k");
    rate(8000000, "8000k");
    rate(10000000, "10M");
    rate(2000000, "2000k");
    avoidDcSpike = true;
    appendHwReceiver(kFirstFrequency, kLowIfRate);
    bindListeners();
    if (library_)
        passed(library_.api().Open(), "sdrplay_api_Open {}");
}

SDRPlayRadio::~SDRPlayRadio() {
    if (!library_)
        return;
    stopRadio();
    stream_->end();
    if (device_ != nullptr && initialised_) {
        {
            const std::unique_lock lock(stream_->mutex);
            stream_->device = nullptr;
        }
        keepForGood(stream_);
        library_.abandon();
        return;
    }
    library_.api().Close();
}

void SDRPlayRadio::bindListeners() {
    Model.changed = [this] { applyModel(); };
    SampleRate.changed = [this] { applyRate(); };
    rxGain.changed = [this] { setGain(); };
    rxGain2.changed = [this] { setGain2(); };
    BiasT.changed = [this] { changeSetting(sdrplay::setBiasT, BiasT.value(), "sdrplay set biasT {}"); };
    RFNotch.changed = [this] {
        changeSetting(sdrplay::setRfNotch, RFNotch.value(), "sdrplay set rfnotch {}");
    };
    DABNotch.changed = [this] {
        changeSetting(sdrplay::setDabNotch, DABNotch.value(), "sdrplay set dabnotch {}");
    };
    ClockOut.changed = [this] {
        changeSetting(sdrplay::setClockOut, ClockOut.value(), "sdrplay set clockout {}");
    };
    Antenna.changed = [this] {
        if (running())
            update(sdrplay::setAntenna(records(), Antenna.value()), "sdrplay set antenna {}");
    };
}

void SDRPlayRadio::applyModel() {
    maxRxIFGain.set(59);
    minRxIFGain.set(20);
    minRxRFGain.set(0);
    const bool wasDuo = model_ == sdrplay::Model::RspDuo;
    const sdrplay::ModelRow* row = sdrplay::findModel(Model.value());
    model_ = row != nullptr ? row->model : sdrplay::Model::Unknown;
    Antennas.reset();
    if (wasDuo) {
        HasClockOut.set(false);
        maxRxRFGain2.set(0);
        maxADCs.set(1);
        maxHwReceivers.set(1);
        adcSwapAllowed = true;
    }
    if (row == nullptr) {
        logError("SDRPlayRadio.Model \"{}\" is none of RSP1, RSP1A, RSP2, RSPduo, RSPdx", Model.value());
        return;
    }
    maxRxRFGain.set(row->lnaStates);
    for (const sdrplay::AntennaRow& antenna : row->antennas)
        Antennas.add(std::make_shared<ValueLabelItem>(context(), antenna.value, antenna.label));
    if (row->model != sdrplay::Model::RspDuo)
        return;
    HasClockOut.set(true);
    minRxRFGain2.set(0);
    maxRxRFGain2.set(row->lnaStates);
    maxADCs.set(2);
    maxHwReceivers.set(2);
    // With both tuners receiver 0 is A and receiver 1 is B: neither may stand for the other.
    adcSwapAllowed = SampleRate.value() != kLowIfRate;
    if (hwReceivers.size() < 2) {
        appendHwReceiver(kFirstFrequency, kLowIfRate);
        hwReceivers[1].adc = 1;
    }
}

void SDRPlayRadio::applyRate() {
    const int rate = SampleRate.value();
    avoidDcSpike = rate != kLowIfRate;
    if (running()) {
        const std::uint32_t reasons = sdrplay::applyRate(rate, deviceParams_->devParams, rxChannelA_);
        if (dualTuner())
            sdrplay::applyRate(rate, nullptr, deviceParams_->rxChannelB);
        update(sdrplay::Change{device_->tuner, reasons, sdrplay::extension::kNone},
               "sdrplay set smaple rate {}");
    }
    for (std::size_t i = 0; i < hwReceivers.size(); ++i)
        hwReceivers[i].rate = rate;
    if (model_ != sdrplay::Model::RspDuo)
        return;
    const bool dual = rate == kLowIfRate;
    maxADCs.set(dual ? 2 : 1);
    maxHwReceivers.set(dual ? 2 : 1);
    adcSwapAllowed = !dual;
    if (device_ != nullptr && (device_->tuner == sdrplay::kTunerBoth) != dual) {
        stopRadio();
        startRadio();
    }
}

bool SDRPlayRadio::dualTuner() const noexcept {
    return device_ != nullptr && device_->hwVer == sdrplay::kRspDuo &&
           device_->rspDuoMode == sdrplay::kDualTuner && deviceParams_ != nullptr &&
           deviceParams_->rxChannelB != nullptr;
}

sdrplay::Records SDRPlayRadio::records() const {
    return {model_, device_->tuner, deviceParams_->devParams, rxChannelA_, deviceParams_->rxChannelB};
}

bool SDRPlayRadio::passed(int code, FailureText text) const {
    if (code == sdrplay::kSuccess)
        return true;
    const std::string error = library_.errorString(code);
    logTrace(text, error);
    return false;
}

void SDRPlayRadio::update(const std::optional<sdrplay::Change>& change, FailureText text) {
    if (change)
        passed(library_.api().Update(device_->dev, change->tuner, change->reason, change->extension), text);
}

void SDRPlayRadio::changeSetting(Setting setting, bool value, FailureText text) {
    if (running())
        update(setting(records(), value), text);
}

void SDRPlayRadio::setGain() {
    if (running())
        setLnaState(*rxChannelA_, sdrplay::kTunerA,
                    static_cast<long long>(minRxRFGain.value()) - rxGain.value() + maxRxRFGain.value(),
                    maxRxRFGain.value(), "sdrplay set gain {}");
}

void SDRPlayRadio::setGain2() {
    if (running() && model_ == sdrplay::Model::RspDuo && deviceParams_->rxChannelB != nullptr)
        setLnaState(*deviceParams_->rxChannelB, sdrplay::kTunerB,
                    static_cast<long long>(minRxRFGain2.value()) - rxGain2.value() + maxRxRFGain2.value(),
                    maxRxRFGain2.value(), "sdrplay set gain2 {}");
}

void SDRPlayRadio::setLnaState(RxChannelParams& channel, int tuner, long long state, int highest,
                               FailureText text) {
    const long long most = std::clamp(highest, 0, 255);
    const auto code = static_cast<unsigned char>(std::clamp(state, 0LL, most));
    if (channel.tunerParams.gain.LNAstate == code)
        return;
    channel.tunerParams.gain.LNAstate = code;
    update(sdrplay::Change{tuner, sdrplay::reason::kGain, sdrplay::extension::kNone}, text);
}

void SDRPlayRadio::startRadio() {
    if (!library_)
        return;
    {
        const std::unique_lock lock(stream_->mutex);
        lastRfA_ = lastRfB_ = 0;
    }
    if (vtrxs.empty())
        addVtrx(kFirstFrequency, 0, 0);
    passed(library_.api().LockDeviceApi(), "sdrplay_api_LockDeviceApi {}");
    // A device that could not be let go, or begun, is still this radio's.
    if ((device_ != nullptr || selectDevice()) && fetchParams())
        initDevice();
    passed(library_.api().UnlockDeviceApi(), "sdrplay_api_UnLockDeviceApi {}");
}

bool SDRPlayRadio::selectDevice() {
    unsigned count = 0;
    devices_ = {};
    passed(library_.api().GetDevices(devices_.data(), &count, sdrplay::kMaxDevices),
           "sdrplay_api_GetDevices {}");
    const auto end = devices_.begin() + std::min(count, sdrplay::kMaxDevices);
    const auto found = std::find_if(devices_.begin(), end, [this](const Device& candidate) {
        return serialOf(candidate) == SerialNo.value();
    });
    if (found == end) {
        logError("sdrplay Serial not found");
        return false;
    }
    if (found->hwVer == sdrplay::kRspDuo && (found->rspDuoMode & sdrplay::kMaster) != 0) {
        const bool dual = SampleRate.value() == kLowIfRate;
        found->tuner = dual ? sdrplay::kTunerBoth : sdrplay::kTunerA;
        found->rspDuoMode = dual ? sdrplay::kDualTuner : sdrplay::kSingleTuner;
    }
    if (!passed(library_.api().SelectDevice(&*found), "sdrplay_api_SelectDevice {}")) {
        say(SerialNo.value() + " select fail \r\n");
        return false;
    }
    say(SerialNo.value() + " select pass \r\n");
    resetReceivers();
    const auto self = std::static_pointer_cast<SDRPlayRadio>(shared_from_this());
    stream_->restart(self);
    const std::unique_lock lock(stream_->mutex);
    device_ = &*found;
    return true;
}

// The two tuners' chunks must cover the same time.
void SDRPlayRadio::resetReceivers() {
    for (std::size_t i = 0; i < hwReceivers.size(); ++i) {
        hwReceivers[i].chunk = buff<std::complex<float>>(chunkSize(hwReceivers[i].rate));
        hwReceivers[i].fill = 0;
    }
}

bool SDRPlayRadio::fetchParams() {
    sdrplay::DeviceParams* params = nullptr;
    if (!passed(library_.api().GetDeviceParams(device_->dev, &params), "sdrplay_api_GetDeviceParams {}"))
        return false;
    const std::unique_lock lock(stream_->mutex);
    deviceParams_ = params;
    rxChannelA_ = params != nullptr ? params->rxChannelA : nullptr;
    if (params == nullptr)
        logError("sdrplay deviceParams == nullptr");
    else if (rxChannelA_ != nullptr)
        fillParams();
    stream_->device = device_->dev;
    return true;
}

void SDRPlayRadio::fillParams() {
    const auto channel = [this](sdrplay::DevParams* device, RxChannelParams& rx) {
        sdrplay::applyRate(SampleRate.value(), device, &rx);
        rx.tunerParams.rfFreq.rfHz = kInitialRf;
        sdrplay::setGainControl(rx);
    };
    channel(deviceParams_->devParams, *rxChannelA_);
    if (dualTuner())
        channel(nullptr, *deviceParams_->rxChannelB);
    const sdrplay::Records all = records();
    sdrplay::setBiasT(all, BiasT.value());
    sdrplay::setRfNotch(all, RFNotch.value());
    sdrplay::setDabNotch(all, DABNotch.value());
    sdrplay::setAntenna(all, Antenna.value());
    sdrplay::setClockOut(all, ClockOut.value());
}

void SDRPlayRadio::initDevice() {
    if (!passed(library_.api().Init(device_->dev, &callbacks_, stream_.get()), "sdrplay_api_Init {}"))
        return;
    {
        const std::unique_lock lock(stream_->mutex);
        initialised_ = true;
    }
    setGain();
    setGain2();
    for (const auto& transceiver : vtrxs)
        setRxFrequency(transceiver->vfo.value(), *transceiver, transceiver->ADCs.value());
    say("radio started\r\n");
}

void SDRPlayRadio::stopRadio() {
    if (device_ == nullptr)
        return;
    bool ran = false;
    {
        // From here on no other thread calls the API for the device; its end would wait for them.
        const std::unique_lock lock(stream_->mutex);
        ran = std::exchange(initialised_, false);
        stream_->device = nullptr;
    }
    if (!passed(library_.api().Uninit(device_->dev), "sdrplay_api_Uninit {}")) {
        const std::unique_lock lock(stream_->mutex);
        initialised_ = ran;
        stream_->device = device_->dev;
        return;
    }
    passed(library_.api().ReleaseDevice(device_), "sdrplay_api_ReleaseDevice {}");
    const std::unique_lock lock(stream_->mutex);
    device_ = nullptr;
    deviceParams_ = nullptr;
    rxChannelA_ = nullptr;
}

void SDRPlayRadio::addHwReceiver(long long frequency) {
    appendHwReceiver(frequency, kLowIfRate);
    say("ahwr #############\n");
}

void SDRPlayRadio::frequenciesChanged() {
    tuneTask_->queueSeqItem(seqTask(
        "dotune", [radio = std::weak_ptr<Radio>(std::static_pointer_cast<Radio>(shared_from_this()))] {
            if (const auto self = std::static_pointer_cast<SDRPlayRadio>(radio.lock()))
                self->dotune();
        }));
}

void SDRPlayRadio::dotune() {
    const std::shared_lock lock(stream_->mutex);
    if (!stream_->tuneReady.load(std::memory_order_acquire) &&
        std::chrono::steady_clock::now() - tuneTime_ >= kLostAcknowledgement)
        stream_->tuneReady.store(true, std::memory_order_release);
    if (!initialised_ || device_ == nullptr || rxChannelA_ == nullptr)
        return;
    retune(0, rxChannelA_, sdrplay::kTunerA, lastRfA_);
    if (model_ == sdrplay::Model::RspDuo && hwReceivers.size() >= 2 &&
        device_->rspDuoMode == sdrplay::kDualTuner && deviceParams_->rxChannelB != nullptr)
        retune(1, deviceParams_->rxChannelB, sdrplay::kTunerB, lastRfB_);
}

void SDRPlayRadio::retune(std::size_t receiver, RxChannelParams* channel, int tuner, double& last) {
    const auto frequency = static_cast<double>(hwReceivers[receiver].frequency.load());
    if (frequency == last || !stream_->tuneReady.load(std::memory_order_acquire))
        return;
    channel->tunerParams.rfFreq.rfHz = frequency;
    // Cleared before: the acknowledgement may come before the call returns.
    stream_->tuneReady.store(false, std::memory_order_release);
    if (library_.api().Update(device_->dev, tuner, sdrplay::reason::kFrequency, sdrplay::extension::kNone) ==
        sdrplay::kSuccess)
        last = frequency;
    else
        stream_->tuneReady.store(true, std::memory_order_release);
    tuneTime_ = std::chrono::steady_clock::now();
}

void SDRPlayRadio::NewData(const buff<short>& first, const buff<short>& second, int tuner, int stream) {
    if (stream != stream_->number() || device_ == nullptr)
        return;
    const auto index = static_cast<std::size_t>(tuner);
    const float scale = stream_->scale(tuner);
    std::size_t at = 0;
    int largest = 0;
    deliverSamples(
        [&](std::complex<float>* out, std::size_t count) {
            const short* imaginary = first.data() + at;
            const short* real = second.data() + at;
            for (std::size_t i = 0; i < count; ++i) {
                out[i] = {static_cast<float>(real[i]) * scale, static_cast<float>(imaginary[i]) * scale};
                largest = std::max(largest, std::abs(static_cast<int>(real[i])));
            }
            at += count;
        },
        first.size(), index);
    samplesSinceRefresh_ += static_cast<long long>(first.size());
    peaks_[index] = std::max(peaks_[index], largest / kPeakScale);
    const long long rate = std::max(SampleRate.value(), 1);
    if (samplesSinceRefresh_ * 1000 / rate > kRefreshMs)
        refresh();
}

void SDRPlayRadio::refresh() {
    samplesSinceRefresh_ = 0;
    adcPeak.set(peaks_[0]);
    adcPeak2.set(peaks_[1]);
    peaks_ = {};
    frequenciesChanged();
}

} // namespace ferrow
