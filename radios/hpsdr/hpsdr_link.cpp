#include "radios/hpsdr/hpsdr_link.hpp"

#include "core/tasks/crash_note.hpp"
#include "core/tasks/realtime.hpp"

#include <utility>

namespace ferrow {

namespace {

struct LinkHooks {
    HpsdrLink& link;
    HpsdrLink::Post deliver;

    int enterRealtime() {
        nameThread("fc comms");
        return enterRealtimeClass(RealtimeLevel::Comms);
    }
    void post(int slot, long long time) {
        if (!deliver(slot, time))
            link.socket.release(slot);
    }
    void dump(const char* where, const char* what) { writeDump(where, what); }
};

} // namespace

void HpsdrLink::begin(const std::shared_ptr<HpsdrLink>& link, Post post) {
    link->thread = std::thread([link, deliver = std::move(post)]() mutable {
        LinkHooks hooks{*link, std::move(deliver)};
        rxCommsLoopRIO(link->socket, link->comms, hooks);
    });
}

void HpsdrLink::end() {
    comms.exit.store(true, std::memory_order_release);
    if (!thread.joinable())
        return;
    if (thread.get_id() == std::this_thread::get_id())
        thread.detach();
    else
        thread.join();
}

} // namespace ferrow
