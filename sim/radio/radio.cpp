#include "sim/radio/radio.hpp"

#include "sim/radio/udp.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrow::sim {
namespace {

constexpr int kPollMs = 100;

} // namespace

Radio::Radio(RadioSettings settings, std::shared_ptr<const Sky> sky)
    : settings_(std::move(settings)),
      stream_(std::move(sky), settings_.clockPpm, settings_.scale, settings_.fixedGain, settings_.telemetry,
              settings_.identity.firmware),
      injector_(settings_.faults, settings_.seed) {
    if (!settings_.txRecord.empty())
        txRecorder_ = std::make_unique<TxRecorder>(settings_.txRecord, settings_.txAll);
    socket_ = bindUdp(settings_.address, settings_.port, false);
    try {
        // hosts may also look for radios with one broadcast into the loopback net
        broadcastSocket_ = bindUdp("127.255.255.255", settings_.port, true);
    } catch (const std::runtime_error&) {
        broadcastSocket_ = -1;
    }
    wake_ = eventfd(0, EFD_CLOEXEC);
    listener_ = std::thread([this] { listen(); });
    streamer_ = std::thread([this] { stream(); });
}

Radio::~Radio() {
    shutDown();
}

void Radio::shutDown() {
    if (!listener_.joinable())
        return;
    quit_.store(true, std::memory_order_release);
    {
        const std::lock_guard lock(mutex_);
        command_.iq = command_.wideband = false;
    }
    changed_.notify_all();
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(wake_, &one, sizeof one);
    listener_.join();
    streamer_.join();
    close(socket_);
    if (broadcastSocket_ >= 0)
        close(broadcastSocket_);
    close(wake_);
    streaming_.store(false, std::memory_order_release);
}

ControlState Radio::control() const {
    const std::lock_guard lock(mutex_);
    return control_;
}

Statistics Radio::statistics() const {
    const std::lock_guard lock(mutex_);
    return statistics_;
}

nlohmann::json Radio::report() const {
    nlohmann::json all = statistics();
    const ControlState c = control();
    const std::vector<std::uint32_t> frequencies(c.rxFrequency.begin(), c.rxFrequency.begin() + c.receivers);
    all["address"] = address();
    all["port"] = port();
    all["streaming"] = streaming();
    all["control"] = {{"rate", c.rate},
                      {"receivers", c.receivers},
                      {"rx_frequency", frequencies},
                      {"tx_frequency", c.txFrequency},
                      {"ptt", c.ptt},
                      {"drive", c.drive},
                      {"filter", c.filterWord},
                      {"gain_byte", c.gainByte},
                      {"gain_db", c.lnaGainDb()},
                      {"bank_count", c.bankCount}};
    return all;
}

void Radio::flush() {
    const std::lock_guard lock(mutex_);
    if (txRecorder_)
        txRecorder_->flush();
}

void Radio::listen() {
    pollfd fds[3] = {{socket_, POLLIN, 0}, {wake_, POLLIN, 0}, {broadcastSocket_, POLLIN, 0}};
    std::array<std::uint8_t, 2048> buffer;
    while (!quit_.load(std::memory_order_acquire)) {
        poll(fds, 3, kPollMs);
        for (const int fd : {socket_, broadcastSocket_}) {
            while (fd >= 0) {
                sockaddr_in from{};
                socklen_t length = sizeof from;
                const ssize_t size = recvfrom(fd, buffer.data(), buffer.size(), MSG_DONTWAIT,
                                              reinterpret_cast<sockaddr*>(&from), &length);
                if (size < 0)
                    break;
                takeDatagram({buffer.data(), static_cast<std::size_t>(size)}, from);
            }
        }
        {
            const std::lock_guard lock(mutex_);
            passTime(monotonicNs());
        }
        checkWatchdog();
    }
}

void Radio::takeDatagram(std::span<const std::uint8_t> datagram, const sockaddr_in& from) {
    switch (classify(datagram)) {
    case HostPacket::Discovery: {
        const auto reply = discoveryReply(settings_.identity, streaming());
        sendto(socket_, reply.data(), reply.size(), 0, reinterpret_cast<const sockaddr*>(&from), sizeof from);
        const std::lock_guard lock(mutex_);
        ++statistics_.discoveries;
        break;
    }
    case HostPacket::Command:
        takeCommand(datagram[3], from);
        break;
    case HostPacket::Data:
        takeData(datagram);
        break;
    case HostPacket::Foreign: {
        const std::lock_guard lock(mutex_);
        ++statistics_.foreign;
        break;
    }
    }
}

void Radio::takeCommand(std::uint8_t bits, const sockaddr_in& from) {
    {
        const std::lock_guard lock(mutex_);
        ++statistics_.commands;
        const bool start = (bits & (kCommandIq | kCommandWideband)) != 0;
        command_.iq = (bits & kCommandIq) != 0;
        command_.wideband = (bits & kCommandWideband) != 0;
        command_.watchdog = (bits & kCommandNoWatchdog) == 0;
        if (start) {
            command_.peer = from;
            ++command_.generation;
            lastDataNs_ = monotonicNs();
            statistics_.countStart(lastDataNs_);
        } else {
            ++statistics_.stops;
            control_.ptt = false;
            txBuffer_.key(false, control_.txLatencyMs, control_.pttHangTime);
        }
        record(start ? TxEvent::Start : TxEvent::Stop);
        streaming_.store(start && !settings_.silent, std::memory_order_release);
    }
    changed_.notify_all();
}

void Radio::takeData(std::span<const std::uint8_t> packet) {
    const std::int64_t now = monotonicNs();
    const auto utcNs = static_cast<std::int64_t>(utcSeconds() * 1e9);
    const std::uint32_t sequence = readBig32(packet.data() + 4);
    const std::lock_guard lock(mutex_);
    lastDataNs_ = now;
    passTime(now);
    statistics_.countData(sequence, now);
    for (int frame = 0; frame < 2; ++frame) {
        const ControlBytes c = controlBytes(packet, frame);
        if (settings_.trace)
            settings_.trace->write(settings_.address, utcNs, sequence, frame, c);
        I2cWrite i2c{};
        if (control_.apply(c, i2c)) {
            ++statistics_.i2cWrites;
            i2cAnswers_.push_back(i2c);
        }
    }
    txBuffer_.key(control_.ptt, control_.txLatencyMs, control_.pttHangTime);
    txBuffer_.fill(2 * kFrameSamples);
    countBuffer();
    if (txRecorder_) {
        TxMoment at = moment();
        at.utcNs = utcNs;
        txRecorder_->write(packet, control_, at);
    }
}

void Radio::checkWatchdog() {
    if (settings_.watchdogSeconds <= 0.0)
        return;
    const std::lock_guard lock(mutex_);
    if (!(command_.iq || command_.wideband) || !command_.watchdog)
        return;
    if (static_cast<double>(monotonicNs() - lastDataNs_) < settings_.watchdogSeconds * 1e9)
        return;
    command_.iq = command_.wideband = false;
    control_.ptt = false;
    txBuffer_.key(false, control_.txLatencyMs, control_.pttHangTime);
    ++statistics_.watchdogStops;
    record(TxEvent::Watchdog);
    streaming_.store(false, std::memory_order_release);
}

/// Empties the transmit buffer up to now. A radio that runs dry leaves the air.
void Radio::passTime(std::int64_t now) {
    if (now > drainedNs_ && drainedNs_ != 0)
        txBuffer_.drain(1e-9 * static_cast<double>(now - drainedNs_), 1.0 + settings_.clockPpm * 1e-6);
    drainedNs_ = std::max(now, drainedNs_);
    countBuffer();
    if (!txBuffer_.takeUnkeyed())
        return;
    control_.ptt = false;
    ++statistics_.txUnkeyed;
    record(TxEvent::Unkey);
}

void Radio::countBuffer() {
    statistics_.txOverflows = txBuffer_.overflows();
    statistics_.txUnderflows = txBuffer_.underflows();
    statistics_.txHighest = std::max(statistics_.txHighest, txBuffer_.level());
}

TxMoment Radio::moment() const {
    return {static_cast<std::int64_t>(utcSeconds() * 1e9), txBuffer_.onAir(), txBuffer_.level(),
            txBuffer_.overflows(), txBuffer_.underflows()};
}

void Radio::record(TxEvent event) {
    if (txRecorder_)
        txRecorder_->write(event, control_, moment());
}

} // namespace ferrow::sim
