// A queue of many producers and one consumer, made of one ring per producing thread and a global ticket.
#pragma once

#include "core/tasks/log.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace ferrow {

inline constexpr std::size_t kCacheLine = 64;

std::uint32_t newThreadId() noexcept;
// In the static block of the process: the library has a few words there only.
[[gnu::tls_model("initial-exec")]] inline constinit thread_local std::uint32_t threadId = 0;

// A number of this thread that no other thread of the process ever has; never 0.
inline std::uint32_t currentThreadId() noexcept {
    if (threadId == 0)
        threadId = newThreadId();
    return threadId;
}

// The elements of one thread come out in their order. Those of several come out in the order of their tickets
// whenever all of them are visible at the heads of their rings; a ticket taken but not yet stored can be
// overtaken by later ones of other threads, and, once stored, for as long as the ticket that follows on the
// last one taken lies in an older ring. Each of the first 32 threads that push gets a ring of N-1 usable
// places and keeps it for ever; every later thread is refused. A ring is allocated when its thread first
// pushes; no push or take allocates after that.
template <class T, std::size_t N>
class mpscQueue {
public:
    static constexpr std::size_t kRings = 32;

    mpscQueue() = default;
    mpscQueue(const mpscQueue&) = delete;
    mpscQueue& operator=(const mpscQueue&) = delete;

    ~mpscQueue() {
        for (auto& slot : rings_)
            delete slot.load(std::memory_order_acquire);
    }

    // Any thread. False, with `element` as it was, when this thread's ring is full or there is no ring left.
    bool push(T&& element) {
        const std::uint32_t ticket = ticketCounter_.fetch_add(1, std::memory_order_relaxed) + 1;
        Ring* ring = ringOfThisThread();
        if (ring == nullptr)
            return false;
        const std::size_t write = ring->write.load(std::memory_order_relaxed);
        const std::size_t next = write + 1 == N ? 0 : write + 1;
        if (next == ring->readSeen) {
            ring->readSeen = ring->read.load(std::memory_order_acquire);
            if (next == ring->readSeen)
                return false;
        }
        ring->slots[write].ticket = ticket;
        ::new (ring->slots[write].storage) T(std::move(element));
        ring->write.store(next, std::memory_order_release);
        __builtin_prefetch(&ring->slots[next], 1);
        return true;
    }

    // The single consumer's thread. False when nothing waits.
    bool take(T& element) {
        Ring* best = nullptr;
        std::uint32_t bestTicket = 0;
        for (std::size_t i = 0, count = ringsMade(); i < count; ++i) {
            Ring* ring = rings_[i].load(std::memory_order_acquire);
            if (ring == nullptr)
                continue;
            const std::size_t read = ring->read.load(std::memory_order_relaxed);
            if (read == ring->writeSeen) {
                ring->writeSeen = ring->write.load(std::memory_order_acquire);
                if (read == ring->writeSeen)
                    continue;
            }
            const std::uint32_t ticket = ring->slots[read].ticket;
            if (ticket == nextTicket_) {
                takeFrom(*ring, element);
                return true;
            }
            if (best == nullptr || static_cast<std::int32_t>(ticket - bestTicket) < 0) {
                best = ring;
                bestTicket = ticket;
            }
        }
        if (best == nullptr)
            return false;
        takeFrom(*best, element);
        return true;
    }

    // Whether take() has seen another element than the one that it took last. The consumer's thread; touches
    // nothing that producers write.
    bool seenWaiting() const noexcept {
        for (std::size_t i = 0, count = ringsMade(); i < count; ++i) {
            const Ring* ring = rings_[i].load(std::memory_order_acquire);
            if (ring != nullptr && ring->read.load(std::memory_order_relaxed) != ring->writeSeen)
                return true;
        }
        return false;
    }

    // Whether any ring holds an element. Any thread; a hint unless the caller is the consumer.
    bool waiting() const noexcept {
        for (std::size_t i = 0, count = ringsMade(); i < count; ++i) {
            const Ring* ring = rings_[i].load(std::memory_order_acquire);
            if (ring != nullptr &&
                ring->read.load(std::memory_order_acquire) != ring->write.load(std::memory_order_acquire))
                return true;
        }
        return false;
    }

private:
    // On cache lines of its own: a small task fits into the first.
    struct alignas(kCacheLine) Slot {
        std::uint32_t ticket;
        alignas(T) unsigned char storage[sizeof(T)];

        T& element() noexcept { return *std::launder(reinterpret_cast<T*>(storage)); }
    };

    // Each side looks at the other's index only when its copy of it says full, or empty: with both at work
    // the lines of the indices would travel between the processors for every element.
    struct Ring {
        std::atomic<std::size_t> write{0};
        std::size_t readSeen = 0; // the producer's
        alignas(kCacheLine) std::atomic<std::size_t> read{0};
        std::size_t writeSeen = 0; // the consumer's
        // Uninitialised on purpose: pages that no element ever touched stay uncommitted.
        alignas(kCacheLine) const std::unique_ptr<Slot[]> slots{new Slot[N]};

        Ring() = default;
        Ring(const Ring&) = delete;
        Ring& operator=(const Ring&) = delete;
        ~Ring() {
            for (std::size_t i = read; i != write; i = i + 1 == N ? 0 : i + 1)
                slots[i].element().~T();
        }
    };

    // Places that may hold a ring. One that is counted late belongs to a push that has not ended.
    std::size_t ringsMade() const noexcept {
        return std::min(static_cast<std::size_t>(ringCount_.load(std::memory_order_acquire)), kRings);
    }

    Ring* ringOfThisThread() {
        const std::uint32_t id = currentThreadId();
        for (std::size_t i = 0, count = ringsMade(); i < count; ++i)
            if (threadIds_[i].load(std::memory_order_relaxed) == id)
                return rings_[i].load(std::memory_order_relaxed);
        std::int32_t n = ringCount_.load(std::memory_order_relaxed);
        if (n < static_cast<std::int32_t>(kRings))
            n = ringCount_.fetch_add(1, std::memory_order_acq_rel);
        if (n >= static_cast<std::int32_t>(kRings)) {
            logError("Too many threads accessing mpsc queue");
            return nullptr;
        }
        auto* ring = new Ring;
        rings_[static_cast<std::size_t>(n)].store(ring, std::memory_order_release);
        threadIds_[static_cast<std::size_t>(n)].store(id, std::memory_order_release);
        return ring;
    }

    void takeFrom(Ring& ring, T& element) {
        const std::size_t read = ring.read.load(std::memory_order_relaxed);
        Slot& slot = ring.slots[read];
        nextTicket_ = slot.ticket + 1;
        element = std::move(slot.element());
        slot.element().~T();
        ring.read.store(read + 1 == N ? 0 : read + 1, std::memory_order_release);
    }

    alignas(kCacheLine) std::array<std::atomic<std::uint32_t>, kRings> threadIds_{};
    std::array<std::atomic<Ring*>, kRings> rings_{};
    std::atomic<std::int32_t> ringCount_{0};
    alignas(kCacheLine) std::atomic<std::uint32_t> ticketCounter_{1};
    alignas(kCacheLine) std::uint32_t nextTicket_ = 0; // the consumer's
};

} // namespace ferrow
