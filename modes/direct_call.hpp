// A host callback that is called at once, on a library thread, and waited for.
#pragma once

#include "core/async/async_object.hpp"
#include "core/async/host_arg.hpp"

#include <atomic>

namespace ferrow {

template <class... Args>
class DirectCall {
public:
    using Callback = void (*)(HostType<Args>...);

    DirectCall() = default;
    DirectCall(const DirectCall&) = delete;
    DirectCall& operator=(const DirectCall&) = delete;

    // Host's thread. Null unbinds.
    void bind(Callback hostCallback, asyncObject*) {
        callback_.store(hostCallback, std::memory_order_release);
    }

    // Calls it with fresh handles for arrays, which the host owns; false when nothing is bound.
    bool operator()(const Args&... args) const {
        const Callback target = callback_.load(std::memory_order_acquire);
        if (target == nullptr)
            return false;
        target(HostArg<Args>::pass(args)...);
        return true;
    }

private:
    std::atomic<Callback> callback_{nullptr};
};

} // namespace ferrow
