#include "sim/radio/radio.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/socket.h>

namespace ferrow::sim {
namespace {

constexpr int kBatch = 64;
// A stream that fell behind (a stopped process, a busy machine) catches up in steps, so that the host's
// socket buffer is not flooded; further behind than this it lets the time go.
constexpr std::int64_t kGiveUpNs = 2'000'000'000;
constexpr int kCatchUpPackets = 48;
constexpr std::int64_t kCatchUpPauseNs = 500'000;

/// Base samples since the process began, so that stations go on through stops and starts.
double skySeconds(std::int64_t nowNs) {
    static const std::int64_t epoch = monotonicNs();
    return 1e-9 * static_cast<double>(std::max<std::int64_t>(0, nowNs - epoch));
}

} // namespace

void Radio::stream() {
    prctl(PR_SET_TIMERSLACK, 1000UL);
    // a radio's clock does not wait for a busy machine; where the limits forbid it, normal priority has to do
    const sched_param priority{1};
    pthread_setschedparam(pthread_self(), SCHED_RR, &priority);
    skySeconds(monotonicNs());
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
    SkyTime time;
    time.trueRate = kBaseRate * factor;
    const auto block = static_cast<std::int64_t>(skySeconds(nowNs) * time.trueRate / Synth::kHop);
    time.utcOfZero = utcSeconds() - static_cast<double>(block * Synth::kHop) / time.trueRate;
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
    auto& queue = injector_.queue();
    sockaddr_in to = peer;
    std::int64_t endpoint6 = 0;
    std::int64_t endpoint4 = 0;
    std::int64_t bytes = 0;
    std::int64_t errors = 0;
    std::int64_t latest = 0;
    while (!queue.empty() && queue.front().releaseNs <= now) {
        std::array<iovec, kBatch> pieces;
        std::array<mmsghdr, kBatch> messages{};
        std::size_t count = 0;
        while (count < kBatch && count < queue.size() && queue[count].releaseNs <= now) {
            Datagram& datagram = queue[count];
            pieces[count] = {datagram.bytes.data(), static_cast<std::size_t>(datagram.size)};
            messages[count].msg_hdr.msg_name = &to;
            messages[count].msg_hdr.msg_namelen = sizeof to;
            messages[count].msg_hdr.msg_iov = &pieces[count];
            messages[count].msg_hdr.msg_iovlen = 1;
            latest = std::max(latest, now - datagram.releaseNs);
            ++count;
        }
        int sent = sendmmsg(socket_, messages.data(), static_cast<unsigned>(count), 0);
        if (sent <= 0) {
            if (sent < 0 && errno == EINTR)
                continue;
            ++errors; // the first one cannot leave: drop it and go on
            sent = 1;
        } else {
            for (std::size_t i = 0; i < static_cast<std::size_t>(sent); ++i) {
                (queue[i].stream ? endpoint6 : endpoint4) += 1;
                bytes += queue[i].size;
            }
        }
        queue.erase(queue.begin(), queue.begin() + sent);
    }
    const std::lock_guard lock(mutex_);
    statistics_.endpoint6Out += endpoint6;
    statistics_.endpoint4Out += endpoint4;
    statistics_.bytesOut += bytes;
    statistics_.sendErrors += errors;
    statistics_.latestMs = std::max(statistics_.latestMs, 1e-6 * static_cast<double>(latest));
    statistics_.faults = injector_.counts();
}

} // namespace ferrow::sim
