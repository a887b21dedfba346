// Lets the MultiPSK program demodulate: serves it the receive baseband over TCP, and lets it tune.
#pragma once

#include "modes/multi_psk/multi_psk_packets.hpp"
#include "modes/multi_psk/port_lease.hpp"
#include "modes/multi_psk/tcp_packet_server.hpp"
#include "trx/mod_demod.hpp"

#include <atomic>
#include <string>

namespace ferrow {

// Properties and the client's commands belong to the object's context; demodulate runs on the transceiver's
// and hands its packets to the server's thread. It transmits nothing.
class MultiPskModDemod : public modDemod {
public:
    static constexpr int kFirstPort = 50001;
    static constexpr std::uint32_t kPacketLimit = 128; // bytes of a packet from the client

    explicit MultiPskModDemod(const std::shared_ptr<syncTask>& context);

    asyncProperty<bool> connected{false}; // a client is there
    asyncProperty<bool> sending{false};   // it has asked for the stream; outlives the connection
    asyncProperty<int> port{kFirstPort};  // wanted; from init on the one that is used

    // A packet of each block while `sending`. Returns the real part.
    buff<float> demodulate(buff<std::complex<float>> block) override;
    // Tells the client, unless it was it that asked.
    void setFrequency(long long vfo) override;
    // Posts the start of the server: `port`, or the next one that no other object of the process has taken.
    // The port and address of a server that is there already stay, unless another port was set meanwhile.
    void init() override;

    // Where the server listens: FERROW_MULTIPSK_ADDRESS of the environment, 127.0.0.1 without it.
    static std::string listenAddress();

private:
    // On the object's context.
    void startServer();
    void obey(const buff<char>& body);
    void tune(long long hertz);

    std::string address_;
    std::atomic<bool> tuningForClient_{false};
    MultiPskStream stream_; // of demodulate
    PortLease lease_;
    asyncTcpIpPacketServer server_; // gone before the lease
};

} // namespace ferrow
