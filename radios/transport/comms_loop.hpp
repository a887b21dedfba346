// The comms thread of a connected radio: moves packets between the socket and the radio's serial queue.
#pragma once

#include "core/tasks/log.hpp"
#include "radios/transport/slot_ring.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>

namespace ferrow {

// What the comms thread and its radio share.
struct CommsState {
    SlotRing<129> sendRing;           // radio's queue -> comms thread: packets to send
    SlotRing<4097> releaseRing;       // radio's queue -> comms thread: receive slots that are read
    std::atomic<bool> running{false}; // received packets go to the radio
    std::atomic<bool> exit{false};    // ends the loop within one wait of the socket, 10 ms
    std::atomic<int> batch{1};        // packets to take from the system at once
    std::atomic<std::uint32_t> sentPackets{0};
    std::atomic<std::uint32_t> receivedPackets{0};
};

// Wall clock in units of 100 ns since 1970.
inline long long wallClock100ns() {
    using namespace std::chrono;
    return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count() / 100;
}

// Sends the oldest packet of the send ring, which keeps its place until it is sent: the radio may write to a
// slot again as soon as it has left the ring. False when there is none.
template <class Socket>
bool sendOne(Socket& socket, CommsState& state) {
    int slot;
    if (!state.sendRing.front(slot))
        return false;
    struct Drop {
        SlotRing<129>& ring;
        ~Drop() { ring.drop(); }
    } const drop{state.sendRing};
    socket.send(slot);
    return true;
}

// Runs until `state.exit`. `Socket` has receive, release and send of DatagramSocket. `Hooks` has
//   int  enterRealtime()                          0, or the system's error number
//   void post(int slot, long long time)           hands a received packet to the radio's serial queue, which
//                                                 pushes the slot on the release ring when it has read it
//   void dump(const char* where, const char* what) the crash note
// No exception leaves the loop. A packet that comes while `running` is clear is released at once.
template <class Socket, class Hooks>
void rxCommsLoopRIO(Socket& socket, CommsState& state, Hooks& hooks) {
    if (const int error = hooks.enterRealtime())
        logTrace("sothreadPool::worker() setmm priority failed {}", error);
    while (!state.exit.load(std::memory_order_acquire)) {
        try {
            int slot = -1;
            try {
                slot = socket.receive(state.batch.load(std::memory_order_relaxed));
            } catch (...) {
                logError("rxCommsLoopRIO rx");
            }
            const long long time = wallClock100ns();
            try {
                int released;
                while (state.releaseRing.pop(released))
                    socket.release(released);
            } catch (...) {
                logError("rxCommsLoopRIO release rx ");
            }
            try {
                if (sendOne(socket, state))
                    state.sentPackets.fetch_add(1, std::memory_order_relaxed);
            } catch (...) {
                logError("rxCommsLoopRIO send");
            }
            if (slot < 0)
                continue;
            state.receivedPackets.fetch_add(1, std::memory_order_relaxed);
            if (state.running.load(std::memory_order_acquire))
                hooks.post(slot, time);
            else
                socket.release(slot);
        } catch (const std::exception& failure) {
            logTrace("rxCommsLoopRIOx {}", failure.what());
        } catch (...) {
            hooks.dump("rxCommsLoopRIO", "??");
            logError("rxCommsLoopRIO ??");
        }
    }
    // A stop packet queued just before the end still has to reach the radio.
    while (sendOne(socket, state)) {
    }
}

} // namespace ferrow
