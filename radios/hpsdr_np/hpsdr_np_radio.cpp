#include "radios/hpsdr_np/hpsdr_np_radio.hpp"

#include "core/tasks/log.hpp"
#include "core/tasks/realtime.hpp"
#include "radios/hpsdr/wideband.hpp"
#include "radios/hpsdr/wire.hpp"
#include "radios/transport/datagram_socket.hpp"
#include "radios/transport/slot_ring.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

namespace ferrow {

namespace {

constexpr long long kFirstReceiver = 1000000; // Hz
constexpr long long kFirstTransceiver = 14095600;
constexpr int kDdcTurn = 15, kHighPriorityTurn = 31; // of the count of microphone packets
constexpr int kPacketsPerRefresh = 200;

bool isIqPort(std::uint16_t port) {
    return port >= kNpFirstIqPort && port < kNpFirstIqPort + kNpIqPorts;
}

// Label of the task that reads a packet from that port; null where there is nothing to read.
const char* taskOf(std::uint16_t port) {
    if (port == kNpStatusPort)
        return "HighPriorityStatuspacketRIO";
    if (port == kNpWidebandPort)
        return "handleWbRxPacketRIO";
    return isIqPort(port) ? "handleRxPacketRIO" : nullptr;
}

void pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

} // namespace

// It outlives the radio for as long as the thread needs it.
struct HpsdrNpRadio::Link {
    std::weak_ptr<HpsdrNpRadio> radio;
    DatagramSocket socket;
    SlotRing<257> releaseRing; // radio's queue -> comms thread: receive slots that are read
    std::atomic<bool> running{false};
    std::atomic<bool> exit{false};
    std::mutex sending; // start and stop send from the radio's queue, the periodic packets from the thread
    std::thread thread;

    template <std::size_t N>
    bool send(const std::array<std::uint8_t, N>& packet, std::uint16_t port) {
        const std::lock_guard lock(sending);
        const int slot = socket.allocateSend(N);
        if (slot < 0)
            return false;
        std::memcpy(socket.txData(slot), packet.data(), N);
        socket.sendTo(slot, port, N);
        return true;
    }
};

namespace {

// Gives a receive slot back when its packet has been handled.
struct Returned {
    SlotRing<257>& ring;
    int slot;
    ~Returned() { ring.push(slot); }
};

} // namespace

HpsdrNpRadio::HpsdrNpRadio(const std::shared_ptr<syncTask>& hostContext)
    : Radio(hostContext), link_(std::make_shared<Link>()) {
    constexpr std::pair<int, const char*> rates[] = {{48000, "48k"},   {96000, "96k"},   {192000, "192k"},
                                                     {384000, "384k"}, {768000, "768k"}, {1536000, "1536k"}};
    for (const auto& [rate, label] : rates)
        SampleRates.add(std::make_shared<ValueLabelItem>(context(), rate, label));
    wideSpectrumNext = buff<float>(kWidebandBlock, 0.0f);
    SampleRate.changed = [this] {
        for (std::size_t i = 0; i < hwReceivers.size(); ++i)
            hwReceivers[i].rate = SampleRate.value();
    };
}

HpsdrNpRadio::~HpsdrNpRadio() {
    if (link_->running.load(std::memory_order_acquire))
        stopRadio();
    link_->exit.store(true, std::memory_order_release);
    if (!link_->thread.joinable())
        return;
    if (link_->thread.get_id() == std::this_thread::get_id()) // it held the last reference
        link_->thread.detach();
    else
        link_->thread.join();
}

void HpsdrNpRadio::prepare() {
    in_addr address{};
    if (inet_pton(AF_INET, ipAddress.value().c_str(), &address) != 1)
        logError("HpsdrNpRadio ipAddress \"{}\" is not an IPv4 address", ipAddress.value());
    remoteAddress_ = address.s_addr;
    if (hwReceivers.empty())
        appendHwReceiver(kFirstReceiver, SampleRate.value());
    if (vtrxs.empty())
        addVtrx(kFirstTransceiver, 0, 0);
    wideSpectrumSpan = clockFrequency.value() / 2;
}

void HpsdrNpRadio::startRadio() {
    if (!threadStarted_) {
        prepare();
        if (const int result = link_->socket.openUnconnected(remoteAddress_); result != 0)
            logError("HpsdrNpRadio has no socket {}", result);
        threadStarted_ = true;
        link_->radio = std::static_pointer_cast<HpsdrNpRadio>(shared_from_this());
        link_->thread = std::thread([link = link_] { run(link); });
    }
    link_->send(npGeneralPacket(), kNpGeneralPort);
    pause();
    pause();
    sendDdc();
    pause();
    link_->send(npDucPacket(), kNpDucPort);
    pause();
    link_->running.store(true, std::memory_order_release);
    sendHighPriority();
}

void HpsdrNpRadio::stopRadio() {
    link_->running.store(false, std::memory_order_release);
    sendHighPriority();
}

void HpsdrNpRadio::addHwReceiver(long long frequency) {
    appendHwReceiver(frequency, SampleRate.value());
}

void HpsdrNpRadio::sendDdc() {
    if (!link_->send(
            npDdcPacket(static_cast<int>(hwReceivers.size()), maxHwReceivers.value(), SampleRate.value()),
            kNpDdcPort))
        logError("HpsdrNpRadio has no transmit slot");
}

void HpsdrNpRadio::sendHighPriority() {
    std::array<long long, HwReceiverList::kCapacity> frequencies;
    const std::size_t count = hwReceivers.size();
    for (std::size_t i = 0; i < count; ++i)
        frequencies[i] = hwReceivers[i].frequency;
    NpHighPriority state;
    state.running = link_->running.load(std::memory_order_acquire);
    state.frequencies = std::span<const long long>(frequencies).first(count);
    state.maxReceivers = maxHwReceivers.value();
    state.clockFrequency = clockFrequency.value();
    state.attenuator =
        static_cast<int>(static_cast<unsigned>(maxRxRFGain.value()) - static_cast<unsigned>(rxGain.value()));
    if (!link_->send(npHighPriorityPacket(state), kNpHighPriorityPort))
        logError("HpsdrNpRadio has no transmit slot");
}

void HpsdrNpRadio::run(const std::shared_ptr<Link>& link) {
    nameThread("fc comms");
    if (const int error = enterRealtimeClass(RealtimeLevel::Comms))
        logTrace("sothreadPool::worker() setmm priority failed {}", error);
    DatagramSocket& socket = link->socket;
    int micCount = 0;
    while (!link->exit.load(std::memory_order_acquire)) {
        const int slot = socket.receive(1);
        for (int read; link->releaseRing.pop(read);)
            socket.release(read);
        if (slot < 0)
            continue;
        const auto radio = link->radio.lock();
        if (!radio) {
            socket.release(slot);
            continue;
        }
        const std::uint16_t port = socket.sourcePort(slot);
        if (const char* const label = taskOf(port)) {
            radio->queueSeqItem(seqTask(label, [radio, slot] { radio->readSlot(slot); }));
            continue;
        }
        if (port == kNpMicrophonePort) {
            if (micCount == kDdcTurn)
                radio->sendDdc();
            if (micCount >= kHighPriorityTurn) {
                radio->sendHighPriority();
                micCount = 0;
            } else {
                ++micCount;
            }
        }
        socket.release(slot);
    }
}

void HpsdrNpRadio::readSlot(int slot) {
    const Returned returned{link_->releaseRing, slot};
    readPacket(link_->socket.sourcePort(slot), link_->socket.rxData(slot));
}

void HpsdrNpRadio::readPacket(std::uint16_t port, const std::uint8_t* packet) {
    if (port == kNpStatusPort)
        readStatus(packet);
    else if (port == kNpWidebandPort)
        readWideband(packet);
    else if (isIqPort(port))
        readIq(packet, static_cast<std::size_t>(port - kNpFirstIqPort));
}

void HpsdrNpRadio::readStatus(const std::uint8_t* packet) {
    adcOvl.set(packet[5] != 0);
}

void HpsdrNpRadio::readIq(const std::uint8_t* packet, std::size_t at) {
    if (at >= hwReceivers.size())
        return;
    const std::uint32_t sequence = getBe32(packet);
    if (sequence != expectedSequence_[at]) {
        ep6SeqErrors.set(ep6SeqErrors.value() + 1);
        ++sequenceErrors_;
    }
    expectedSequence_[at] = sequence + 1;
    const auto scale = static_cast<float>(std::ldexp(1.0, -31) / std::pow(10.0, rxGain.value() / 20.0));
    deliverSamples(NpIqReader(packet, scale, npMirrored(hwReceivers[at].frequency, clockFrequency.value())),
                   kNpIqRecords, at);
}

void HpsdrNpRadio::readWideband(const std::uint8_t* packet) {
    const std::size_t position = widebandPosition(getBe32(packet));
    const double scale = 1.1920930376163766e-7 / std::pow(10.0, rxGain.value() / 20.0);
    widebandPeak_ =
        std::max(widebandPeak_, decodeNpWideband(packet + 4, scale, wideSpectrumNext.data() + position));
    if (position + kWidebandQuarter >= wideSpectrumNext.size()) {
        wideSpectrum = wideSpectrumNext;
        wideSpectrumNext = buff<float>(kWidebandBlock, 0.0f);
    }
    if (widebandPackets_++ <= kPacketsPerRefresh)
        return;
    widebandPackets_ = 0;
    const double peak = widebandPeak_ * 3.0517578125e-5;
    adcPeak.set(peak);
    adcPeakDBFS.set(widebandPeak_ == 0 ? -100.0 : 20.0 * std::log10(peak));
    widebandPeak_ = 0;
}

} // namespace ferrow
