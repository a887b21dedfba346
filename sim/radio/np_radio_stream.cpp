#include "sim/radio/np_radio.hpp"

#include <algorithm>

namespace ferrow::sim {
namespace {

// As for protocol 1: a stream that fell behind catches up in steps, and lets the time go when it is further
// behind than this.
constexpr std::int64_t kGiveUpNs = 2'000'000'000;
constexpr int kCatchUpPackets = 128;
constexpr std::int64_t kCatchUpPauseNs = 500'000;

constexpr std::int64_t kIdleNs = 5'000'000;
constexpr std::int64_t kStatusNs = 100'000'000; // at the latest; a change leaves at once
constexpr std::size_t kMostWidebandSamples = 720;

bool holds(const std::vector<TimeSpan>& spans, double seconds) {
    return std::any_of(spans.begin(), spans.end(), [&](const TimeSpan& s) { return s.holds(seconds); });
}

} // namespace

void NpRadio::stream() {
    becomeStreamThread();
    Command command;
    while (!quit_.load(std::memory_order_acquire)) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] {
                return quit_.load(std::memory_order_acquire) || (command_.run && !settings_.silent);
            });
        }
        while (!quit_.load(std::memory_order_acquire) && streamOnce(command)) {
        }
    }
}

void NpRadio::anchor(const NpControl& control, std::int64_t nowNs) {
    const double factor = 1.0 + settings_.clockPpm * 1e-6;
    const auto [time, block] = skyAt(nowNs, factor);
    for (std::size_t r = 0; r < wanted_.size(); ++r)
        wanted_[r] = static_cast<int>(r) < settings_.identity.hardwareReceivers
                         ? p2::usableRate(control.ddc.receivers[r])
                         : 0;
    samples_.begin(wanted_, time, block);
    for (std::size_t r = 0; r < wanted_.size(); ++r) {
        streams_[r].packet = 0;
        if (wanted_[r] != 0)
            streams_[r].pacer.begin(nowNs, wanted_[r] * factor, p2::kIqRecords);
    }
    microphonePacer_.begin(nowNs, 48000.0 * factor, p2::kMicrophoneSamples);
    microphonePacket_ = 0;
    widebandDueNs_ = nowNs;
    anchorNs_ = nowNs;
}

bool NpRadio::streamOnce(Command& command) {
    const std::int64_t began = monotonicNs();
    NpControl control;
    {
        const std::lock_guard lock(mutex_);
        command = command_;
        control = control_;
    }
    if (!command.run)
        return false;

    bool changed = false;
    for (std::size_t r = 0; r < wanted_.size(); ++r)
        changed |= static_cast<int>(r) < settings_.identity.hardwareReceivers &&
                   wanted_[r] != p2::usableRate(control.ddc.receivers[r]);
    if (command.generation != generation_) {
        generation_ = command.generation;
        samples_.resetSequences();
        for (Stream& one : streams_) {
            one.injector.restart();
            one.sincePacket = 0;
        }
        microphoneSequence_ = statusSequence_ = 0;
        statusDueNs_ = began;
        streamSeconds_ = 0.0;
        anchor(control, began);
    } else if (changed || began - microphonePacer_.dueNs(microphonePacket_) > kGiveUpNs) {
        streamSeconds_ += 1e-9 * static_cast<double>(began - anchorNs_);
        anchor(control, began);
    }

    const int built = buildDueIq(control, began);
    buildMicrophone(control, began);
    buildStatus(control, began);
    buildWideband(control, began);
    sendDue(control, monotonicNs(), command.peer);

    if (built >= kCatchUpPackets)
        sleepUntil(monotonicNs() + kCatchUpPauseNs);
    else
        sleepUntil(
            std::max(nextDue(began + kIdleNs), began + static_cast<std::int64_t>(settings_.burstMs * 1e6)));
    return true;
}

int NpRadio::buildDueIq(const NpControl& control, std::int64_t now) {
    const auto running = std::max<std::ptrdiff_t>(
        1, std::count_if(wanted_.begin(), wanted_.end(), [](int rate) { return rate != 0; }));
    const auto share = static_cast<int>(kCatchUpPackets / running);
    NpIqPacket packet;
    int most = 0;
    for (std::size_t r = 0; r < wanted_.size(); ++r) {
        if (wanted_[r] == 0)
            continue;
        Stream& one = streams_[r];
        int built = 0;
        for (; built < share && one.pacer.dueNs(one.packet) <= now; ++built) {
            samples_.buildIq(static_cast<int>(r), packet, control);
            one.injector.pass(packet, one.sincePacket++, streamSeconds_ + one.pacer.seconds(one.packet),
                              one.pacer.dueNs(one.packet));
            ++one.packet;
        }
        most = std::max(most, built);
    }
    return most == share ? kCatchUpPackets : most;
}

void NpRadio::buildMicrophone(const NpControl& control, std::int64_t now) {
    std::array<std::uint8_t, p2::kMicrophoneBytes> packet{}; // nobody speaks
    std::int64_t count = 0;
    for (; count < kCatchUpPackets && microphonePacer_.dueNs(microphonePacket_) <= now; ++count) {
        writeBig32(packet.data(), microphoneSequence_++);
        streams_[0].injector.passPlain(packet, microphonePacer_.dueNs(microphonePacket_++),
                                       control.general.microphonePort);
    }
    const std::lock_guard lock(mutex_);
    statistics_.microphoneOut += count;
}

void NpRadio::buildStatus(const NpControl& control, std::int64_t now) {
    const TelemetrySettings& t = settings_.telemetry;
    const double seconds = streamSeconds_ + 1e-9 * static_cast<double>(now - anchorNs_);
    const bool keyed = control.high.ptt != 0;
    const auto count = [](int value) { return static_cast<std::uint16_t>(value); };
    p2::Status status;
    status.key = holds(t.cwKey, seconds);
    status.ptt = status.key || holds(t.pttIn, seconds);
    status.overload = samples_.overload() || holds(t.overload, seconds) ? 1 : 0;
    status.forward = count(keyed ? t.ain1Forward : 0);
    status.reverse = count(keyed ? t.ain2Reverse : 0);
    status.current = count(keyed ? t.ain3Current : 0);
    status.user2 = count(t.ain4);
    status.temperature = count(t.ain5Temperature);
    status.supply = count(t.ain6);
    const auto packet = p2::statusPacket(statusSequence_, status);
    const std::array<std::uint8_t, 2> flags{packet[4], packet[5]};
    if (flags == statusFlags_ && now < statusDueNs_)
        return;
    statusFlags_ = flags;
    statusDueNs_ = now + kStatusNs;
    ++statusSequence_;
    streams_[0].injector.passPlain(packet, now, control.general.statusPort);
    const std::lock_guard lock(mutex_);
    ++statistics_.statusOut;
}

void NpRadio::buildWideband(const NpControl& control, std::int64_t now) {
    const p2::General& g = control.general;
    if (settings_.widebandRate <= 0.0 || (g.widebandEnable & 1) == 0 || g.widebandBits != 16 ||
        g.widebandSamples == 0 || g.widebandSamples > kMostWidebandSamples || g.widebandPackets == 0 ||
        now < widebandDueNs_)
        return;
    const double interval = std::max(1e-3 * g.widebandInterval, 1.0 / settings_.widebandRate);
    widebandDueNs_ = std::max(widebandDueNs_ + static_cast<std::int64_t>(1e9 * interval), now);
    const std::size_t bytes = 2U * g.widebandSamples;
    const auto frame = samples_.wideband(std::size_t{g.widebandSamples} * g.widebandPackets, control);
    std::vector<std::uint8_t> packet(4 + bytes);
    for (std::uint32_t i = 0; i < g.widebandPackets; ++i) {
        writeBig32(packet.data(), i); // counts within the frame
        std::copy_n(frame.data() + i * bytes, bytes, packet.data() + 4);
        streams_[0].injector.passPlain(packet, now, g.widebandPort);
    }
    const std::lock_guard lock(mutex_);
    statistics_.widebandOut += g.widebandPackets;
}

void NpRadio::sendDue(const NpControl& control, std::int64_t now, const sockaddr_in& peer) {
    std::array<SendCount, p2::kMaxReceivers> sent;
    for (std::size_t r = 0; r < streams_.size(); ++r) {
        const auto own = static_cast<std::uint16_t>(control.general.firstIqPort + r);
        sent[r] =
            ferrow::sim::sendDue(streams_[r].injector.queue(), now, peer, [&](const Datagram& datagram) {
                return ports_.at(datagram.port != 0 ? datagram.port : own);
            });
    }
    const std::lock_guard lock(mutex_);
    statistics_.faults = {};
    for (std::size_t r = 0; r < streams_.size(); ++r) {
        statistics_.iqOut[r] += sent[r].stream;
        statistics_.bytesOut += sent[r].bytes;
        statistics_.sendErrors += sent[r].errors;
        statistics_.latestMs = std::max(statistics_.latestMs, 1e-6 * static_cast<double>(sent[r].latestNs));
        for (std::size_t i = 0; i < statistics_.faults.size(); ++i)
            statistics_.faults[i] += streams_[r].injector.counts()[i];
    }
}

std::int64_t NpRadio::nextDue(std::int64_t latest) const {
    std::int64_t next = std::min(latest, microphonePacer_.dueNs(microphonePacket_));
    for (std::size_t r = 0; r < streams_.size(); ++r) {
        const Stream& one = streams_[r];
        if (wanted_[r] != 0)
            next = std::min(next, one.pacer.dueNs(one.packet));
        if (!one.injector.queue().empty())
            next = std::min(next, one.injector.queue().front().releaseNs);
    }
    return next;
}

} // namespace ferrow::sim
