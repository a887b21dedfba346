#include "sim/radio/np_radio.hpp"

#include <nlohmann/json.hpp>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrow::sim {
namespace {

constexpr int kPollMs = 100;
constexpr PacketForm kIqForm{0, -1, kRadioPort};

/// The ports that a host sends to.
std::array<std::uint16_t, 5> inwardPorts(const p2::General& general) {
    return {general.ddcPort, general.ducPort, general.highPriorityPort, general.audioPort, general.ducIqPort};
}

bool samePeer(const sockaddr_in& a, const sockaddr_in& b) {
    return a.sin_addr.s_addr == b.sin_addr.s_addr && a.sin_port == b.sin_port;
}

} // namespace

NpRadio::NpRadio(RadioSettings settings, std::shared_ptr<const Sky> sky)
    : settings_(std::move(settings)), ports_(settings_.address),
      samples_(std::move(sky), settings_.clockPpm, settings_.scale, settings_.fixedGain) {
    for (std::size_t r = 0; r < p2::kMaxReceivers; ++r)
        streams_.push_back({FaultInjector(settings_.faults, settings_.seed + 7919 * r, kIqForm), {}});
    generalSocket_ = bindUdp(settings_.address, settings_.port, false);
    try {
        broadcastSocket_ = bindUdp("127.255.255.255", settings_.port, true);
    } catch (const std::runtime_error&) {
        broadcastSocket_ = -1;
    }
    for (const std::uint16_t port : inwardPorts(control_.general)) {
        if (ports_.at(port) < 0) {
            close(generalSocket_);
            if (broadcastSocket_ >= 0)
                close(broadcastSocket_);
            throw std::runtime_error("a port of the radio is taken");
        }
    }
    wake_ = eventfd(0, EFD_CLOEXEC);
    listener_ = std::thread([this] { listen(); });
    streamer_ = std::thread([this] { stream(); });
}

NpRadio::~NpRadio() {
    shutDown();
}

void NpRadio::shutDown() {
    if (!listener_.joinable())
        return;
    quit_.store(true, std::memory_order_release);
    {
        const std::lock_guard lock(mutex_);
        command_.run = false;
    }
    changed_.notify_all();
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(wake_, &one, sizeof one);
    listener_.join();
    streamer_.join();
    ports_.close();
    for (const int fd : {generalSocket_, broadcastSocket_, wake_})
        if (fd >= 0)
            close(fd);
    streaming_.store(false, std::memory_order_release);
}

NpControl NpRadio::control() const {
    const std::lock_guard lock(mutex_);
    return control_;
}

NpStatistics NpRadio::statistics() const {
    const std::lock_guard lock(mutex_);
    return statistics_;
}

void NpRadio::listen() {
    std::array<std::uint8_t, 2048> buffer;
    const auto drain = [&](int fd, const auto& handle) {
        for (;;) {
            sockaddr_in from{};
            socklen_t length = sizeof from;
            const ssize_t size = recvfrom(fd, buffer.data(), buffer.size(), MSG_DONTWAIT,
                                          reinterpret_cast<sockaddr*>(&from), &length);
            if (size < 0)
                return;
            handle(std::span<const std::uint8_t>(buffer.data(), static_cast<std::size_t>(size)), from);
        }
    };
    while (!quit_.load(std::memory_order_acquire)) {
        const auto inward = inwardPorts(control().general);
        std::vector<pollfd> fds = {
            {wake_, POLLIN, 0}, {generalSocket_, POLLIN, 0}, {broadcastSocket_, POLLIN, 0}};
        for (const std::uint16_t port : inward)
            fds.push_back({ports_.at(port), POLLIN, 0});
        poll(fds.data(), fds.size(), kPollMs);
        for (std::size_t i = 1; i < 3; ++i)
            if ((fds[i].revents & POLLIN) != 0)
                drain(fds[i].fd, [&](auto datagram, const sockaddr_in& from) {
                    takeGeneralPort(generalSocket_, datagram, from);
                });
        for (std::size_t i = 0; i < inward.size(); ++i)
            if ((fds[3 + i].revents & POLLIN) != 0)
                drain(fds[3 + i].fd, [&](auto datagram, const sockaddr_in& from) {
                    takeDatagram(inward[i], datagram, from);
                });
        checkWatchdog();
    }
}

void NpRadio::takeGeneralPort(int socket, std::span<const std::uint8_t> datagram, const sockaddr_in& from) {
    switch (p2::classify(datagram)) {
    case p2::GeneralPacket::Discovery: {
        const auto reply = p2::discoveryReply(settings_.identity, streaming());
        sendto(socket, reply.data(), reply.size(), 0, reinterpret_cast<const sockaddr*>(&from), sizeof from);
        const std::lock_guard lock(mutex_);
        ++statistics_.discoveries;
        break;
    }
    case p2::GeneralPacket::General:
        take("general", datagram, control_.general, statistics_.generals);
        break;
    case p2::GeneralPacket::Foreign: {
        const std::lock_guard lock(mutex_);
        ++statistics_.foreign;
        break;
    }
    }
}

void NpRadio::takeDatagram(std::uint16_t port, std::span<const std::uint8_t> datagram,
                           const sockaddr_in& from) {
    const p2::General general = control().general;
    if (port == general.ddcPort) {
        take("ddc", datagram, control_.ddc, statistics_.ddcs);
    } else if (port == general.ducPort) {
        take("duc", datagram, control_.duc, statistics_.ducs);
    } else if (port == general.highPriorityPort) {
        takeHighPriority(datagram, from);
    } else {
        const std::lock_guard lock(mutex_);
        ++(port == general.audioPort ? statistics_.audio : statistics_.ducIq);
    }
}

template <class Record>
void NpRadio::take(const char* kind, std::span<const std::uint8_t> datagram, Record& record,
                   std::int64_t& count) {
    const auto utcNs = static_cast<std::int64_t>(utcSeconds() * 1e9);
    const std::lock_guard lock(mutex_);
    if (!p2::read(datagram, record)) {
        ++statistics_.foreign;
        return;
    }
    ++count;
    if (settings_.trace)
        settings_.trace->write(settings_.address, utcNs, kind, datagram, record);
}

void NpRadio::takeHighPriority(std::span<const std::uint8_t> datagram, const sockaddr_in& from) {
    if (datagram.size() != p2::kLongBytes) {
        const std::lock_guard lock(mutex_);
        ++statistics_.foreign;
        return;
    }
    take("high_priority", datagram, control_.high, statistics_.highPriorities);
    {
        const std::lock_guard lock(mutex_);
        lastHighPriorityNs_ = monotonicNs();
        const bool run = control_.high.run;
        if (run && (!command_.run || !samePeer(from, command_.peer))) {
            ++statistics_.starts;
            ++command_.generation;
            command_.peer = from;
        } else if (!run && command_.run) {
            ++statistics_.stops;
        }
        command_.run = run;
        streaming_.store(run && !settings_.silent, std::memory_order_release);
    }
    changed_.notify_all();
}

void NpRadio::checkWatchdog() {
    const std::lock_guard lock(mutex_);
    if (settings_.watchdogSeconds <= 0.0 || !command_.run || !control_.general.watchdog())
        return;
    if (static_cast<double>(monotonicNs() - lastHighPriorityNs_) < settings_.watchdogSeconds * 1e9)
        return;
    command_.run = false;
    ++statistics_.watchdogStops;
    streaming_.store(false, std::memory_order_release);
}

nlohmann::json NpRadio::report() const {
    const NpControl c = control();
    nlohmann::json all = statistics();
    nlohmann::json receivers = nlohmann::json::array();
    for (std::size_t r = 0; r < p2::kMaxReceivers; ++r)
        receivers.push_back({{"rate", p2::usableRate(c.ddc.receivers[r])},
                             {"frequency", p2::frequencyOf(c.high.receiverWord[r], c.general)}});
    all["protocol"] = 2;
    all["address"] = address();
    all["port"] = port();
    all["streaming"] = streaming();
    all["receivers"] = receivers;
    all["control"] = {{"general", c.general}, {"ddc", c.ddc}, {"duc", c.duc}, {"high_priority", c.high}};
    return all;
}

void to_json(nlohmann::json& json, const NpStatistics& s) {
    json = {{"in",
             {{"discovery", s.discoveries},
              {"general", s.generals},
              {"ddc", s.ddcs},
              {"duc", s.ducs},
              {"high_priority", s.highPriorities},
              {"audio", s.audio},
              {"duc_iq", s.ducIq},
              {"foreign", s.foreign}}},
            {"out",
             {{"iq", s.iqOut},
              {"microphone", s.microphoneOut},
              {"status", s.statusOut},
              {"wideband", s.widebandOut},
              {"bytes", s.bytesOut},
              {"errors", s.sendErrors},
              {"latest_ms", s.latestMs}}},
            {"starts", s.starts},
            {"stops", s.stops},
            {"watchdog_stops", s.watchdogStops},
            {"faults", countsByName(s.faults)}};
}

} // namespace ferrow::sim
