#include "sim/radio/radio.hpp"
#include "sim/radio/udp.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow::sim {
namespace {

// A stream that fell behind (a stopped process, a busy machine) catches up in steps, so that the host's
// socket buffer is not flooded; further behind than this it lets the time go.
constexpr std::int64_t kGiveUpNs = 2'000'000'000;
constexpr int kCatchUpPackets = 48;
constexpr std::int64_t kCatchUpPauseNs = 500'000;

} // namespace

void Radio::stream() {
    becomeStreamThread();
    Command command;
    while (!quit_.load(std::memory_order_acquire)) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] {
                return quit_.load(std::memory_order_acquire) ||
                       ((command_.iq || command_.wideband) && !settings_.silent);
            });
            command = command_;
        }
        while (!quit_.load(std::memory_order_acquire) && streamOnce(command)) {
        }
    }
}

void Radio::anchor(const ControlState& control, std::int64_t nowNs) {
    const double factor = 1.0 + settings_.clockPpm * 1e-6;
    const auto [time, block] = skyAt(nowNs, factor);
    streamRate_ = control.rate;
    streamReceivers_ = control.receivers;
    stream_.begin(control, time, block);
    pacer_.begin(nowNs, control.rate * factor, stream_.samplesPerPacket());
    packet_ = 0;
    widePacer_.begin(nowNs, settings_.widebandRate * 4.0, 1);
    widePacket_ = 0;
}

bool Radio::takeTurn(Command& command, ControlState& control, std::int64_t now) {
    const std::lock_guard lock(mutex_);
    command = command_;
    if (!command.iq && !command.wideband)
        return false;
    passTime(now);
    stream_.setTxReport(txBuffer_.levelUnits(),
                        stream_.txEventPending() ? std::uint8_t{0} : txBuffer_.takeEvent());
    for (const I2cWrite& write : i2cAnswers_)
        stream_.telemetry().acknowledge(write);
    i2cAnswers_.clear();
    control = control_;
    return true;
}

bool Radio::streamOnce(Command& command) {
    ControlState control;
    const std::int64_t began = monotonicNs();
    if (!takeTurn(command, control, began))
        return false;
    if (command.generation != generation_) {
        generation_ = command.generation;
        stream_.resetSequence();
        injector_.restart();
        streamPacket_ = 0;
        streamSeconds_ = 0.0;
        anchor(control, began);
    } else if (control.rate != streamRate_ || control.receivers != streamReceivers_ ||
               began - pacer_.dueNs(packet_) > kGiveUpNs) {
        streamSeconds_ += pacer_.seconds(packet_);
        anchor(control, began);
    }

    Packet packet;
    int built = 0;
    while (command.iq && pacer_.dueNs(packet_) <= began && built < kCatchUpPackets) {
        const double seconds = streamSeconds_ + pacer_.seconds(packet_);
        stream_.buildEndpoint6(packet, control, seconds);
        injector_.pass(packet, streamPacket_, seconds, pacer_.dueNs(packet_));
        ++packet_;
        ++streamPacket_;
        ++built;
    }
    const bool wideband = command.wideband && settings_.widebandRate > 0.0;
    for (int i = 0; wideband && i < 4 && widePacer_.dueNs(widePacket_) <= began; ++i) {
        stream_.buildEndpoint4(packet, control);
        injector_.passPlain(packet, widePacer_.dueNs(widePacket_));
        ++widePacket_;
    }
    sendDue(monotonicNs(), command.peer);

    constexpr std::int64_t kIdleNs = 5'000'000;
    std::int64_t next = began + kIdleNs;
    if (command.iq)
        next = std::min(next, pacer_.dueNs(packet_));
    if (wideband)
        next = std::min(next, widePacer_.dueNs(widePacket_));
    if (!injector_.queue().empty())
        next = std::min(next, injector_.queue().front().releaseNs);
    if (built == kCatchUpPackets)
        next = monotonicNs() + kCatchUpPauseNs;
    else
        next = std::max(next, began + static_cast<std::int64_t>(settings_.burstMs * 1e6));
    sleepUntil(next);
    return true;
}

void Radio::sendDue(std::int64_t now, const sockaddr_in& peer) {
    const SendCount sent =
        ferrow::sim::sendDue(injector_.queue(), now, peer, [this](const Datagram&) { return socket_; });
    const std::lock_guard lock(mutex_);
    statistics_.endpoint6Out += sent.stream;
    statistics_.endpoint4Out += sent.other;
    statistics_.bytesOut += sent.bytes;
    statistics_.sendErrors += sent.errors;
    statistics_.latestMs = std::max(statistics_.latestMs, 1e-6 * static_cast<double>(sent.latestNs));
    statistics_.faults = injector_.counts();
}

} // namespace ferrow::sim
