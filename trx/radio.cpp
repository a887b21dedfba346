#include "trx/radio.hpp"

#include "core/tasks/log.hpp"
#include "trx/hertz.hpp"
#include "trx/vtrx.hpp"

#include <cmath>
#include <utility>

namespace ferrow {

namespace {

constexpr double kDefaultRatio = 0.95;
constexpr double kLargestRatio = 2;
constexpr int kMostBlocks = 2048; // of a chunk

} // namespace

Radio::Radio(const std::shared_ptr<syncTask>& context)
    : asyncObject(std::make_shared<syncTask>(context->pool())) {
    ValidBandwidthRatio.changed = [this] {
        if (const double ratio = ValidBandwidthRatio.value(); !(ratio >= 0 && ratio <= kLargestRatio))
            logError("Radio.ValidBandwidthRatio {} counts as {}", ratio, bandwidthRatio());
        repack();
    };
}

Radio::~Radio() = default;

void Radio::addHwReceiver(long long) {}

void Radio::transmit(buff<std::complex<float>>) {}

std::size_t Radio::chunkSize(int rate) noexcept {
    const int counted = rate == 2000000 ? 3072000 : rate;
    return static_cast<std::size_t>(std::clamp(counted / 48000, 1, kMostBlocks)) * 512;
}

double Radio::bandwidthRatio() const noexcept {
    const double ratio = ValidBandwidthRatio.value();
    return std::isnan(ratio) ? kDefaultRatio : std::clamp(ratio, 0.0, kLargestRatio);
}

void Radio::appendHwReceiver(long long frequency, int rate) {
    auto receiver = std::make_unique<HwReceiver>();
    receiver->frequency = frequency;
    receiver->rate = rate;
    receiver->chunk = buff<std::complex<float>>(512);
    if (!hwReceivers.append(std::move(receiver)))
        logError("Radio has no room for another hardware receiver");
}

bool Radio::holds(const vtrx& transceiver) const {
    return std::any_of(vtrxs.begin(), vtrxs.end(),
                       [&](const auto& entry) { return entry.get() == &transceiver; });
}

void Radio::addVtrx(long long frequency, int hint, int ownerId) {
    if (hint < -1 || hint >= static_cast<int>(hwReceivers.size())) {
        logError("Radio.addVtrx() has no hardware receiver {}", hint);
        hint = -1;
    }
    auto transceiver = std::make_shared<vtrx>(std::make_shared<syncTask>(context()->pool()));
    transceiver->hwReceiverOfAdc[0] = hint;
    transceiver->radio = std::static_pointer_cast<Radio>(shared_from_this());
    if (frequency == -1)
        frequency = hint >= 0 ? hwReceivers[static_cast<std::size_t>(hint)].frequency.load()
                              : transceiver->vfo.value();
    transceiver->OwnerID.set(ownerId);
    transceiver->create();
    transceiver->vfo.set(frequency);
    vtrxs.push_back(transceiver);
    publishVtrxs();
    setRxFrequency(frequency, *transceiver, transceiver->ADCs.value());
    vtrxAdded.send(transceiver, frequency, SampleRate.value(), ownerId);
    if (txVtrx == nullptr)
        txVtrx = transceiver.get();
}

void Radio::removeVtrx(std::shared_ptr<vtrx> transceiver) {
    const auto place = std::find(vtrxs.begin(), vtrxs.end(), transceiver);
    if (place == vtrxs.end())
        return;
    const bool wasTransmitter = txVtrx == transceiver.get();
    if (wasTransmitter)
        ptt.set(false);
    vtrxs.erase(place);
    publishVtrxs();
    if (wasTransmitter)
        txVtrx = vtrxs.empty() ? nullptr : vtrxs.front().get();
}

void Radio::start() {
    startRadio();
    if (!firstStart)
        for (const auto& transceiver : vtrxs)
            transceiver->queueSeqItem(seqTask("vtrx.start", [transceiver] { transceiver->start(); }));
    firstStart = false;
}

void Radio::stop() {
    stopRadio();
    for (const auto& transceiver : vtrxs)
        transceiver->queueSeqItem(seqTask("vtrx.stop", [transceiver] { transceiver->stop(); }));
}

void Radio::setPtt(vtrx& transceiver) {
    if (!canTransmit.value() || !holds(transceiver))
        return;
    if (transceiver.ptt.value()) {
        txVtrx = &transceiver;
        ptt.set(true);
    } else {
        ptt.set(false);
    }
}

void Radio::dealChunk(HwReceiver& receiver, std::size_t index) {
    const int rate = receiver.rate.load(std::memory_order_acquire);
    const long long frequency =
        boundedHertz(TransceiverOffset.value()) + receiver.frequency.load(std::memory_order_acquire);
    const int adc = receiver.adc.load(std::memory_order_acquire);
    publishedVtrxs_.forEach([&](const std::shared_ptr<vtrx>& transceiver) {
        for (const auto& slot : transceiver->hwReceiverOfAdc) {
            if (slot.load(std::memory_order_acquire) != static_cast<int>(index))
                continue;
            transceiver->queueSeqItem(
                seqTask("vtrx.processRxChunk", [transceiver, chunk = receiver.chunk, frequency, rate,
                                                wide = wideSpectrum, span = wideSpectrumSpan, adc] {
                    transceiver->processRxChunk(chunk, frequency, rate, wide, span, adc);
                }));
        }
    });
    receiver.chunk = buff<std::complex<float>>(chunkSize(rate));
    receiver.fill.store(0, std::memory_order_relaxed);
}

void Radio::publishVtrxs() {
    publishedVtrxs_.publish(vtrxs);
}

} // namespace ferrow
