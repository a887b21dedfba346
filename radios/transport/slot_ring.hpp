// Ring of packet slot numbers between exactly one producing and one consuming thread, without a lock.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

namespace ferrow {

// `Length` is one above the usable depth: the ring is full when advancing the head would meet the tail. A
// push makes everything that the producer wrote before it (the packet, the slot's length) visible to the
// consumer.
template <std::size_t Length>
class SlotRing {
public:
    static constexpr std::size_t kUsable = Length - 1;

    // Producer only. False when the ring is full; the ring is then as it was.
    bool push(int slot) noexcept {
        const std::size_t at = head.load(std::memory_order_relaxed);
        const std::size_t next = at + 1 == Length ? 0 : at + 1;
        if (next == tail.load(std::memory_order_acquire))
            return false;
        slots[at] = slot;
        head.store(next, std::memory_order_release);
        return true;
    }

    // Producer only: whether a push would be refused. What has left the ring, the producer may write to
    // again.
    bool full() const noexcept {
        const std::size_t at = head.load(std::memory_order_relaxed);
        return (at + 1 == Length ? 0 : at + 1) == tail.load(std::memory_order_acquire);
    }

    // Consumer only: the oldest entry, which stays in the ring until drop(). False when the ring is empty.
    bool front(int& slot) const noexcept {
        const std::size_t at = tail.load(std::memory_order_relaxed);
        if (at == head.load(std::memory_order_acquire))
            return false;
        slot = slots[at];
        return true;
    }

    // Consumer only, after front().
    void drop() noexcept {
        const std::size_t at = tail.load(std::memory_order_relaxed);
        tail.store(at + 1 == Length ? 0 : at + 1, std::memory_order_release);
    }

    // Consumer only. False when the ring is empty.
    bool pop(int& slot) noexcept {
        if (!front(slot))
            return false;
        drop();
        return true;
    }

private:
    alignas(64) std::atomic<std::size_t> head{0};
    alignas(64) std::atomic<std::size_t> tail{0};
    alignas(64) std::array<int, Length> slots{};
};

} // namespace ferrow
