// The serial context: at most one worker runs its tasks at a time, so the objects of one context may touch
// each other freely.
#pragma once

#include "core/tasks/mpsc_queue.hpp"
#include "core/tasks/seq_task.hpp"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

namespace ferrow {

class asyncObject;
class sothreadpool;

class syncTask {
public:
    static constexpr std::size_t kPropertyRing = 1025; // 1024 usable
    static constexpr std::size_t kSeqRing = 1025;      // 1024 usable per producing thread

    explicit syncTask(sothreadpool* pool) noexcept : pool_(pool) {}
    syncTask(const syncTask&) = delete;
    syncTask& operator=(const syncTask&) = delete;
    // What remains in the rings is destroyed unrun.
    ~syncTask();

    // Host to object; one producing thread at a time. A full ring drops the task and logs
    // "Can't queue property set". True: the context was idle, and the caller must schedule it.
    [[nodiscard]] bool pushPropertySet(seqTask&& task);

    // Library to object; any thread. A full ring drops the task and logs "Can't queue seq process". The
    // result is as above.
    [[nodiscard]] bool pushSeq(seqTask&& task);

    // Puts the context on the wake queue of the pool; `object` keeps it alive.
    void schedule(std::shared_ptr<asyncObject> object) noexcept;

    // One round of a worker: all waiting property sets, then at most one seq task. True if anything is left:
    // the worker then puts the context on the wake queue again.
    [[nodiscard]] bool TryProcess();

    sothreadpool* pool() const noexcept { return pool_; }

private:
    struct PropertySlot {
        alignas(seqTask) unsigned char storage[sizeof(seqTask)];
        seqTask& task() noexcept { return *std::launder(reinterpret_cast<seqTask*>(storage)); }
    };

    void processPropertySetQueue();
    void processSeqQueue();
    bool claim() noexcept { return scheduled_.exchange(1, std::memory_order_acq_rel) == 0; }

    std::atomic<std::uint64_t> propertyWrite_{0};
    alignas(kCacheLine) std::atomic<std::uint64_t> propertyRead_{0};
    std::array<PropertySlot, kPropertyRing> propertyRing_;
    sothreadpool* pool_;
    alignas(kCacheLine) std::atomic<std::uint32_t> scheduled_{0};
    mpscQueue<seqTask, kSeqRing> seqQueue_;
};

} // namespace ferrow
