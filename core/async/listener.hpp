// A core-side listener of a property or list.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace ferrow {

// Assigned from any one thread at a time, called from another without a lock: a replaced function lives until
// the listener goes.
class Listener {
public:
    Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { delete entry_.load(std::memory_order_acquire); }

    Listener& operator=(std::function<void()> function) {
        Entry* before = entry_.load(std::memory_order_acquire);
        auto* entry = new Entry{std::move(function), std::unique_ptr<Entry>(before)};
        entry_.store(entry, std::memory_order_release);
        return *this;
    }

    // Calls what was assigned last, if anything.
    void operator()() const {
        const Entry* entry = entry_.load(std::memory_order_acquire);
        if (entry != nullptr && entry->function)
            entry->function();
    }

private:
    struct Entry {
        std::function<void()> function;
        std::unique_ptr<Entry> before;
    };

    std::atomic<Entry*> entry_{nullptr};
};

} // namespace ferrow
