// Base of every kind of radio: which hardware receiver serves which transceiver, dealing out samples, and who
// transmits.
#pragma once

#include "core/async/async_event.hpp"
#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"
#include "core/buff/buff.hpp"
#include "trx/hw_receiver.hpp"
#include "trx/published_list.hpp"

#include <algorithm>
#include <complex>
#include <memory>
#include <vector>

namespace ferrow {

class vtrx;

// Everything runs on the radio's own context unless a line says otherwise.
class Radio : public asyncObject {
public:
    // Makes a context of its own on the pool of `context`.
    explicit Radio(const std::shared_ptr<syncTask>& context);
    ~Radio() override;

    asyncProperty<bool> ptt{false};         // the radio is transmitting
    asyncProperty<int> maxHwReceivers{1};   // set by the backend
    asyncProperty<int> maxADCs{1};          // at most 4 are used
    asyncProperty<bool> canTransmit{false}; // false makes every ptt request a no-op
    asyncProperty<double> rxLevelCalibration{1.0};
    asyncProperty<int> sentPackets{0};
    asyncProperty<int> receivedPackets{0};
    asyncProperty<int> SampleRate{48000};               // of the hardware receivers, Hz
    asyncProperty<bool> disableVirtualReceivers{false}; // one hardware receiver per transceiver
    asyncProperty<long long> TransceiverOffset{
        0}; // converter in front of the radio: hardware = logical - this, Hz
    asyncProperty<int> drive{0};
    asyncProperty<int> TuneDrive{0};
    asyncProperty<bool> RadioPtt{false};             // ptt as the hardware reports it
    asyncProperty<int> cwHangTime{120};              // ms
    asyncProperty<bool> cwInternal{false};           // CW is keyed inside the hardware
    asyncProperty<double> ValidBandwidthRatio{0.95}; // usable fraction of a receiver's bandwidth

    // (transceiver, its frequency in Hz, SampleRate, owner)
    asyncEvent<std::shared_ptr<vtrx>, long long, int, int> vtrxAdded;

    // What a backend implements; the base does nothing.
    virtual void frequenciesChanged() {}
    virtual void addHwReceiver(long long frequency);
    virtual void transmit(buff<std::complex<float>> block); // 126 samples at 48000 a second
    virtual void startRadio() {}
    virtual void stopRadio() {}

    // What the host calls.
    void addVtrx(long long frequency, int hwReceiverHint, int ownerId);
    void removeVtrx(std::shared_ptr<vtrx> transceiver);
    void start();
    void stop();

    // What a vtrx posts here. The allocator finds a hardware receiver for `transceiver` at `frequency`
    // (logical, Hz) on every ADC of the bit mask, and retunes or adds receivers as needed.
    // Both ignore a transceiver that has been removed.
    void setRxFrequency(long long frequency, vtrx& transceiver, int adcMask);
    void setPtt(vtrx& transceiver);

    // ValidBandwidthRatio as the arithmetic takes it: 0 to 2, what is no number as the default. Any thread.
    double bandwidthRatio() const noexcept;

    // The backend's receive thread, one at a time; must not block. `filler(destination, n)` writes exactly n
    // samples of the backend's stream; `count` samples are there for receiver `index`.
    template <class Filler>
    void deliverSamples(Filler&& filler, std::size_t count, std::size_t index) {
        if (index >= hwReceivers.size())
            return;
        HwReceiver& receiver = hwReceivers[index];
        while (count > 0) {
            const std::size_t fill = receiver.fill.load(std::memory_order_relaxed);
            const std::size_t n =
                std::min(receiver.chunk.size() - std::min(fill, receiver.chunk.size()), count);
            filler(receiver.chunk.data() + fill, n);
            receiver.fill.store(fill + n, std::memory_order_relaxed);
            count -= n;
            if (fill + n >= receiver.chunk.size())
                dealChunk(receiver, index);
        }
    }

    // Samples of a chunk at `rate`: (rate / 48000) * 512, the rate 2000000 counting as 3072000. At least 512,
    // and at most 2^20, which a rate beyond every radio's would exceed.
    static std::size_t chunkSize(int rate) noexcept;

    // In order of creation. Other threads see it through the published copy.
    std::vector<std::shared_ptr<vtrx>> vtrxs;
    HwReceiverList hwReceivers;
    vtrx* txVtrx = nullptr; // has or last had ptt; one of vtrxs

    buff<float> wideSpectrum;     // latest finished block of wideband ADC samples, if the backend offers one
    buff<float> wideSpectrumNext; // being filled
    double wideSpectrumSpan = 0;  // Hz that it spans

    bool firstStart = true;
    int edgeMargin = 1000;                   // Hz lost at each band edge
    static constexpr int filterGuard = 1000; // Hz added on each side of a filter
    bool avoidDcSpike = false;
    bool adcSwapAllowed = true;

protected:
    // Appends a receiver with its first chunk; without room that is logged.
    void appendHwReceiver(long long frequency, int rate);

private:
    struct Wanted {
        long long frequency, low, high; // hardware Hz: centre and band with guards
    };

    void dealChunk(HwReceiver& receiver, std::size_t index);
    void publishVtrxs();
    bool holds(const vtrx& transceiver) const;
    long long hardwareHertz(long long frequency) const;
    void updateEdgeMargin();
    long long usableWidth(const HwReceiver& receiver) const;

    void allocateOwnReceiver(vtrx& transceiver, long long wanted);
    int allocate(vtrx& transceiver, int adc, int adcMask, const Wanted& wanted);
    bool covers(const HwReceiver& receiver, const Wanted& wanted) const;
    bool alone(const vtrx& transceiver, int adc, int index) const;
    int needCount(const vtrx& transceiver, const HwReceiver& receiver, int adc, int adcMask) const;
    bool retuneShared(const vtrx& transceiver, int adc, std::size_t index, const Wanted& wanted);
    void repack();
    void repack(int adc);

    PublishedList<std::shared_ptr<vtrx>> publishedVtrxs_;
};

} // namespace ferrow
