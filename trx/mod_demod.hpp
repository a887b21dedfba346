// Base of every mode: filtered complex blocks to audio, microphone blocks to complex samples.
#pragma once

#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"
#include "core/buff/buff.hpp"

#include <atomic>
#include <complex>
#include <memory>
#include <mutex>

namespace ferrow {

class vtrx;

// Usable by itself: silent, and it transmits nothing. The transceiver that a mode is given to calls it on its
// own context, while the mode's properties change on the mode's.
class modDemod : public asyncObject {
public:
    explicit modDemod(std::shared_ptr<syncTask> context) : asyncObject(std::move(context)) {}

    asyncProperty<int> rxFreq{0}; // audio frequency at which a digital mode receives, Hz
    asyncProperty<int> txFreq{0}; // and transmits
    asyncProperty<bool> rnnoise{false};
    asyncProperty<double> rnnoiseSquelch{80.0}; // percentage of the noise reduction's gains that is kept
    asyncProperty<int> db1{0};

    // 512 samples at the mode's rate; valid until the filter's next run, so a mode that keeps them copies.
    // Returns 512 floats for mono, any other size for interleaved stereo, or nothing.
    virtual buff<float> demodulate(buff<std::complex<float>> block);

    // Fills `out` from `in`, of the same size. May run at the same time as demodulate.
    virtual void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out);

    virtual int sampleRate() { return 48000; }

    virtual void setRxFilter(int low, int high); // Hz, after the filter is loaded
    virtual void setTxFilter(int low, int high);
    virtual void setFrequency(long long vfo);
    virtual void init(); // after the link to the transceiver is set
    virtual void setPtt(bool on);

    std::atomic<int> txTail{512};          // samples that a release lets out before the ramp ends
    std::atomic<bool> receiving{false};    // true on release, false on press
    std::atomic<bool> useTxFilter{true};   // the buffered transmit path runs the transmit filter
    std::atomic<bool> bufferedTx{true};    // modulate is called with blocks of 512
    std::atomic<bool> minimumPhase{false}; // the receive filter is made minimum-phase

    // The transceiver that runs this mode: the last one that it was given to; null for none. Any thread.
    std::shared_ptr<vtrx> vtrxLink() const;
    void linkTo(const std::shared_ptr<vtrx>& transceiver);
    // Ends the link unless another transceiver has taken the mode meanwhile.
    void unlinkFrom(const vtrx& transceiver);

    // Leave to call demodulate, or modulate, while it lives. Refused to a transceiver that has lost the mode
    // to another one, and while that one is still inside. Takes no lock.
    class Turn {
    public:
        Turn(std::atomic<bool>& busy, bool linked)
            : busy_(linked && !busy.exchange(true, std::memory_order_acq_rel) ? &busy : nullptr) {}
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn() {
            if (busy_ != nullptr)
                busy_->store(false, std::memory_order_release);
        }
        explicit operator bool() const noexcept { return busy_ != nullptr; }

    private:
        std::atomic<bool>* busy_;
    };
    Turn turnToReceive(const vtrx& transceiver) { return {receiveBusy_, isLinkedTo(transceiver)}; }
    Turn turnToTransmit(const vtrx& transceiver) { return {transmitBusy_, isLinkedTo(transceiver)}; }

protected:
    // A new block with the real parts of `block`.
    static buff<float> realPart(const buff<std::complex<float>>& block);

private:
    bool isLinkedTo(const vtrx& transceiver) const noexcept {
        return linked_.load(std::memory_order_acquire) == &transceiver;
    }

    mutable std::mutex linkMutex_;
    std::weak_ptr<vtrx> link_;
    std::atomic<const vtrx*> linked_{nullptr}; // the same, for comparison only
    std::atomic<bool> receiveBusy_{false}, transmitBusy_{false};
};

} // namespace ferrow
