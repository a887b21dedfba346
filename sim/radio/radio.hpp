#pragma once
#include "sim/radio/any_radio.hpp"
#include "sim/radio/control_trace.hpp"
#include "sim/radio/faults.hpp"
#include "sim/radio/pacer.hpp"
#include "sim/radio/receive_stream.hpp"
#include "sim/radio/statistics.hpp"
#include "sim/radio/tx_recorder.hpp"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <string>
#include <thread>

namespace ferrow::sim {

struct RadioSettings {
    std::string address = "127.0.0.1";
    int port = kRadioPort;
    Identity identity;
    double clockPpm = 0.0;
    bool silent = false;    ///< answers discovery, takes commands, never streams
    bool fixedGain = false; ///< the host's gain bytes do not change the level
    WireScale scale;
    double widebandRate = 20.0;   ///< snapshots a second
    double watchdogSeconds = 3.0; ///< stops streaming after so long without a data packet; 0 never
    double burstMs = 1.0;         ///< packets of so much time leave together
    TelemetrySettings telemetry;
    std::vector<FaultSpec> faults;
    std::uint64_t seed = 1;
    std::string txRecord; ///< name of the two files, or empty
    bool txAll = false;
    std::shared_ptr<ControlTrace> trace;
};

/// One simulated radio of protocol 1: a UDP socket, a thread that listens and a thread that streams. The
/// streaming clock is the monotonic one, times the clock error.
class Radio : public AnyRadio {
public:
    /// Binds the socket and starts to listen. Throws std::runtime_error if that fails.
    Radio(RadioSettings settings, std::shared_ptr<const Sky> sky);
    ~Radio() override;
    Radio(const Radio&) = delete;
    Radio& operator=(const Radio&) = delete;

    const std::string& address() const override { return settings_.address; }
    int port() const override { return settings_.port; }
    bool streaming() const { return streaming_.load(std::memory_order_acquire); }
    ControlState control() const;
    Statistics statistics() const;
    nlohmann::json report() const override;
    void flush() override;
    /// The destructor does it too.
    void shutDown() override;

private:
    struct Command {
        bool iq = false;
        bool wideband = false;
        bool watchdog = true;
        std::uint64_t generation = 0; ///< grows with every start
        sockaddr_in peer{};
    };

    void listen();
    void takeDatagram(std::span<const std::uint8_t> datagram, const sockaddr_in& from);
    void takeCommand(std::uint8_t bits, const sockaddr_in& from);
    void takeData(std::span<const std::uint8_t> packet);
    void checkWatchdog();
    void passTime(std::int64_t now);
    void countBuffer();
    void record(TxEvent event);
    TxMoment moment() const;

    void stream();
    bool takeTurn(Command& command, ControlState& control, std::int64_t now);
    bool streamOnce(Command& command);
    void anchor(const ControlState& control, std::int64_t nowNs);
    void sendDue(std::int64_t nowNs, const sockaddr_in& peer);

    RadioSettings settings_;
    int socket_ = -1;
    int broadcastSocket_ = -1;
    int wake_ = -1;
    std::unique_ptr<TxRecorder> txRecorder_;

    mutable std::mutex mutex_; // guards the next seven
    std::condition_variable changed_;
    ControlState control_;
    Statistics statistics_;
    Command command_;
    TxBuffer txBuffer_;
    std::vector<I2cWrite> i2cAnswers_;
    std::int64_t lastDataNs_ = 0;
    std::int64_t drainedNs_ = 0; // how far the transmit buffer has been emptied

    std::atomic<bool> quit_{false};
    std::atomic<bool> streaming_{false};

    // the streaming thread's own
    ReceiveStream stream_;
    FaultInjector injector_;
    Pacer pacer_;
    Pacer widePacer_;
    std::uint64_t generation_ = 0;
    int streamRate_ = 0;
    int streamReceivers_ = 0;
    std::int64_t packet_ = 0;
    std::int64_t widePacket_ = 0;
    std::int64_t streamPacket_ = 0;
    double streamSeconds_ = 0.0; // of the parts of this stream before the last change of layout

    std::thread listener_;
    std::thread streamer_;
};

} // namespace ferrow::sim
