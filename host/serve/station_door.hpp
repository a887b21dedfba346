// Between the network's thread and the station's: what listeners ask for one way, what they get the other.
#pragma once

#include "host/serve/outbox.hpp"

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace ferrow::serve {

// A listener's connection as the station sees it. All members may be called on any thread, and return at
// once; after the connection's end they do nothing.
class Peer {
public:
    virtual ~Peer() = default;
    virtual void send(std::string text) = 0;
    virtual void send(OutgoingFrame frame) = 0;
};

struct Arrival {
    std::shared_ptr<Peer> peer;
};
struct Departure {};

// Something that happened on a listener's connection.
struct Visit {
    using Clock = std::chrono::steady_clock;
    int listener = 0;
    std::variant<Arrival, Departure, Order, OrderError, MicrophoneFrame> what;
    Clock::time_point time = Clock::now();
};

// The station takes what the network has put in.
class StationDoor {
public:
    void add(Visit visit) {
        const std::lock_guard lock(mutex_);
        visits_.push_back(std::move(visit));
    }
    std::vector<Visit> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(visits_, {});
    }

    // What HTTP tells of the station: texts that it renews now and then.
    struct Notices {
        std::string status, metrics;
    };
    void post(Notices notices) {
        const std::lock_guard lock(mutex_);
        notices_ = std::move(notices);
    }
    Notices notices() const {
        const std::lock_guard lock(mutex_);
        return notices_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<Visit> visits_;
    Notices notices_;
};

} // namespace ferrow::serve
