// What a radio shares with its comms thread. It outlives the radio for as long as the thread needs it: the
// thread may be the one that drops the radio's last reference.
#pragma once

#include "radios/transport/comms_loop.hpp"
#include "radios/transport/datagram_socket.hpp"

#include <functional>
#include <memory>
#include <thread>

namespace ferrow {

class HpsdrLink {
public:
    // Hands a received slot to the radio's queue, with its time in units of 100 ns since 1970. False: there
    // is no radio any more, or no room in its queue, and the slot stays with the caller.
    using Post = std::function<bool(int slot, long long time)>;

    DatagramSocket socket;
    CommsState comms;

    // Runs the comms loop in a thread of its own until `end`.
    static void begin(const std::shared_ptr<HpsdrLink>& link, Post post);

    // Ends the thread within about 10 ms, with all queued packets sent, and waits for it, unless it is the
    // caller's own. Safe when there is none.
    void end();

private:
    std::thread thread;
};

} // namespace ferrow
