// A one-way notice to the host.
#pragma once

#include "core/async/async_object.hpp"
#include "core/async/host_arg.hpp"

#include <atomic>
#include <utility>

namespace ferrow {

// Keeps no value: a late bind sees nothing of what went before. Arrays and objects reach the host as handles
// that are made when the call is made, so a dropped notice leaks nothing.
template <class... Args>
class asyncEvent {
public:
    using Callback = void (*)(HostType<Args>...);

    asyncEvent() = default;
    asyncEvent(const asyncEvent&) = delete;
    asyncEvent& operator=(const asyncEvent&) = delete;

    // Host's thread. Null unbinds.
    void bind(Callback hostCallback, asyncObject* owner) {
        owner_.store(owner, std::memory_order_relaxed);
        callback_.store(hostCallback, std::memory_order_release);
    }

    Callback callback() const noexcept { return callback_.load(std::memory_order_acquire); }
    bool bound() const noexcept { return callback() != nullptr; }

    // Any library thread; false when nothing is bound or the queue is full.
    bool send(Args... args) { return post(&asyncObject::postUpdate, std::move(args)...); }

    // The same by way of the render queue, for display data.
    bool sendRender(Args... args) { return post(&asyncObject::postRenderUpdate, std::move(args)...); }

private:
    bool post(bool (asyncObject::*queue)(std::function<void()>), Args... args) {
        const Callback target = callback();
        if (target == nullptr)
            return false;
        asyncObject* owner = owner_.load(std::memory_order_relaxed);
        return (owner->*queue)(
            [target, ... values = std::move(args)] { target(HostArg<Args>::pass(values)...); });
    }

    std::atomic<Callback> callback_{nullptr};
    std::atomic<asyncObject*> owner_{nullptr};
};

} // namespace ferrow
