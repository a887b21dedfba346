#pragma once
#include "sim/radio/np_receive_stream.hpp"
#include "sim/radio/radio.hpp"
#include "sim/radio/udp.hpp"

namespace ferrow::sim {

/// What a protocol 2 radio has seen and sent. The owner guards it.
struct NpStatistics {
    std::int64_t discoveries = 0;
    std::int64_t generals = 0;
    std::int64_t ddcs = 0;
    std::int64_t ducs = 0;
    std::int64_t highPriorities = 0;
    std::int64_t audio = 0; ///< packets to the two streams that the radio takes and does nothing with
    std::int64_t ducIq = 0;
    std::int64_t foreign = 0;
    std::int64_t starts = 0;
    std::int64_t stops = 0;
    std::int64_t watchdogStops = 0;
    std::array<std::int64_t, p2::kMaxReceivers> iqOut{};
    std::int64_t microphoneOut = 0;
    std::int64_t statusOut = 0;
    std::int64_t widebandOut = 0;
    std::int64_t bytesOut = 0;
    std::int64_t sendErrors = 0;
    double latestMs = 0.0;
    FaultCounts faults{};
};

/// One simulated radio of protocol 2: a socket for each of its ports, a thread that listens and a thread that
/// streams. It only receives.
class NpRadio : public AnyRadio {
public:
    /// Binds the ports and starts to listen. Throws std::runtime_error if that fails. Settings of the
    /// transmitter are ignored.
    NpRadio(RadioSettings settings, std::shared_ptr<const Sky> sky);
    ~NpRadio() override;
    NpRadio(const NpRadio&) = delete;
    NpRadio& operator=(const NpRadio&) = delete;

    const std::string& address() const override { return settings_.address; }
    int port() const override { return settings_.port; }
    nlohmann::json report() const override;
    void shutDown() override;

    bool streaming() const { return streaming_.load(std::memory_order_acquire); }
    NpControl control() const;
    NpStatistics statistics() const;

private:
    struct Command {
        bool run = false;
        std::uint64_t generation = 0; ///< grows with every start
        sockaddr_in peer{};
    };

    void listen();
    void takeGeneralPort(int socket, std::span<const std::uint8_t> datagram, const sockaddr_in& from);
    void takeDatagram(std::uint16_t port, std::span<const std::uint8_t> datagram, const sockaddr_in& from);
    void takeHighPriority(std::span<const std::uint8_t> datagram, const sockaddr_in& from);
    template <class Record>
    void take(const char* kind, std::span<const std::uint8_t> datagram, Record& record, std::int64_t& count);
    void checkWatchdog();

    // the streaming thread
    struct Stream {
        FaultInjector injector;
        Pacer pacer;
        std::int64_t packet = 0;      // since the last change of layout
        std::int64_t sincePacket = 0; // since the start
    };
    void stream();
    bool streamOnce(Command& command);
    void anchor(const NpControl& control, std::int64_t nowNs);
    int buildDueIq(const NpControl& control, std::int64_t nowNs);
    void buildMicrophone(const NpControl& control, std::int64_t nowNs);
    void buildStatus(const NpControl& control, std::int64_t nowNs);
    void buildWideband(const NpControl& control, std::int64_t nowNs);
    void sendDue(const NpControl& control, std::int64_t nowNs, const sockaddr_in& peer);
    std::int64_t nextDue(std::int64_t latest) const;

    RadioSettings settings_;
    int generalSocket_ = -1;
    int broadcastSocket_ = -1;
    int wake_ = -1;
    PortSet ports_;

    mutable std::mutex mutex_; // guards the next five
    std::condition_variable changed_;
    NpControl control_;
    NpStatistics statistics_;
    Command command_;
    std::int64_t lastHighPriorityNs_ = 0;

    std::atomic<bool> quit_{false};
    std::atomic<bool> streaming_{false};

    // the streaming thread's own
    NpReceiveStream samples_;
    std::vector<Stream> streams_;
    Pacer microphonePacer_;
    std::uint64_t generation_ = 0;
    std::array<int, p2::kMaxReceivers> wanted_{}; // rates of the receivers as the host set them last
    std::int64_t anchorNs_ = 0;
    double streamSeconds_ = 0.0; // of the parts of this stream before the last change of layout
    std::int64_t microphonePacket_ = 0;
    std::uint32_t microphoneSequence_ = 0;
    std::uint32_t statusSequence_ = 0;
    std::array<std::uint8_t, 2> statusFlags_{}; // of the last status packet
    std::int64_t statusDueNs_ = 0;
    std::int64_t widebandDueNs_ = 0;

    std::thread listener_;
    std::thread streamer_;
};

void to_json(nlohmann::json& json, const NpStatistics& statistics);

} // namespace ferrow::sim
