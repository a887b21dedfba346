#pragma once
#include "sim/wire/protocol1.hpp"

#include <array>
#include <cstdint>
#include <deque>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <vector>

namespace ferrow::sim {

enum class FaultKind { Loss, Duplicate, Reorder, Jitter, Stall, Restart, Garbage, WrongEndpoint, Short };
inline constexpr int kFaultKinds = 9;
const char* nameOf(FaultKind kind);

/// Times that each kind has struck.
using FaultCounts = std::array<std::int64_t, kFaultKinds>;
/// The counts by the kinds' names, for the statistics.
nlohmann::json countsByName(const FaultCounts& counts);

/// One fault to order. It strikes packets whose time in the stream lies in [start, end): each `every`-th one,
/// else each with `probability`, else (both 0) all of them. Stall and restart without a rule strike once, at
/// `start`.
struct FaultSpec {
    FaultKind kind = FaultKind::Loss;
    double probability = 0.0;
    std::int64_t every = 0;
    double start = 0.0; ///< seconds of the stream
    double end = 1e18;
    double milliseconds = 20.0; ///< jitter: largest delay; stall: its length
    int depth = 1;              ///< reorder: packets that overtake
    int bytes = 500;            ///< short: what is left of the packet
    int endpoint = 5;           ///< wrong endpoint: its number
    bool drop = false;          ///< stall: packets of the gap are lost instead of late
};

/// Reads "kind[:key=value[,key=value]...]", keys p, every, start, end, ms, depth, bytes, endpoint, drop.
/// Throws std::invalid_argument with a message for the user.
FaultSpec parseFault(const std::string& text);

/// What the injector has to know of the packets of a protocol.
struct PacketForm {
    std::size_t sequenceAt = 4; ///< offset of the sequence number
    int endpointAt = 3;         ///< offset of the endpoint, or -1: then a stray packet leaves from
    int strayPort = 0;          ///< this port plus its endpoint
};

/// A datagram on its way out.
struct Datagram {
    std::array<std::uint8_t, 1472> bytes;
    int size = 0;
    std::uint16_t port = 0;     ///< that it leaves from; 0: the stream's own
    std::int64_t releaseNs = 0; ///< monotonic clock; never before that of the datagram in front of it
    bool stream = false;        ///< a receive packet that counts as sent
};

/// Sits between the packet builder and the socket. Decisions depend on seed, fault and packet number alone,
/// so that a run can be repeated. One thread.
class FaultInjector {
public:
    FaultInjector(std::vector<FaultSpec> faults, std::uint64_t seed, PacketForm form = {});

    /// Takes receive packet number `index` of this stream, due at `dueNs`, `seconds` into the stream.
    void pass(std::span<const std::uint8_t> packet, std::int64_t index, double seconds, std::int64_t dueNs);
    /// Takes a packet that no fault touches but a stall.
    void passPlain(std::span<const std::uint8_t> packet, std::int64_t dueNs, std::uint16_t port = 0);
    /// A new stream: what is held or queued is dropped.
    void restart();

    std::deque<Datagram>& queue() { return queue_; }
    const std::deque<Datagram>& queue() const { return queue_; }
    const FaultCounts& counts() const { return counts_; }

private:
    struct Held {
        Datagram datagram;
        int overtaken;
    };
    bool strikes(std::size_t fault, std::int64_t index, double seconds);
    Datagram* push(std::span<const std::uint8_t> bytes, std::int64_t dueNs, bool stream);
    double uniform(std::size_t fault, std::int64_t index, std::uint64_t salt) const;

    std::vector<FaultSpec> faults_;
    std::vector<bool> struck_; // one-shot faults already done
    std::uint64_t seed_;
    PacketForm form_;
    std::deque<Datagram> queue_;
    std::vector<Held> held_;
    FaultCounts counts_{};
    std::uint32_t sequenceBase_ = 0;
    std::int64_t stallUntil_ = 0;
    std::int64_t lastRelease_ = 0;
    bool stallDrops_ = false;
};

} // namespace ferrow::sim
