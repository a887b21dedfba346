// The worker pool, and the two queues that carry calls to the host.
#pragma once

#include "core/tasks/as_task.hpp"
#include "core/tasks/mpsc_queue.hpp"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace ferrow {

class syncTask;

class sothreadpool {
public:
    static constexpr unsigned kMaxWorkers = 20;
    static constexpr std::size_t kUpdateRing = 65537; // 65536 usable per producing thread
    static constexpr std::size_t kRenderRing = 65;    // 64 usable per producing thread

    // Starts min(hardware concurrency, 20) workers, or `workers` if that is not 0. On failure it leaves a
    // crash note and raises what was raised.
    // `onWorkerStart`, if any, is called by each worker before it takes work.
    explicit sothreadpool(void (*onWorkerStart)() = nullptr, unsigned workers = 0);
    sothreadpool(const sothreadpool&) = delete;
    sothreadpool& operator=(const sothreadpool&) = delete;
    ~sothreadpool();

    // Puts `object`, whose context is `context`, on the wake queue. Any thread.
    void schedule(std::shared_ptr<asyncObject> object, syncTask& context) noexcept;

    // Any library thread; false when the task was dropped, which the first one logs ("Can't queue property").
    bool queueUpdate(asTask&& task);
    bool queueRenderUpdate(asTask&& task) { return renderQueue_.push(std::move(task)); }

    // The host's pump threads, one per queue: next task, or false.
    bool takeUpdate(asTask& task) { return updateQueue_.take(task); }
    bool takeRenderUpdate(asTask& task) { return renderQueue_.take(task); }

    // Ends and joins the workers: for process exit and for tests. Tasks that still wait stay unrun. The
    // thread that calls it may be a worker itself, which then is left to the system.
    void stopWorkers() noexcept;

private:
    struct WakeQueue; // the lock-free queue with its semaphore

    void worker() noexcept;
    bool enqueue(std::shared_ptr<asyncObject> object, syncTask& context) noexcept;

    void (*const onWorkerStart_)();

    std::atomic<bool> exit_{false};
    std::unique_ptr<WakeQueue> wakeQueue_;
    mpscQueue<asTask, kUpdateRing> updateQueue_;
    mpscQueue<asTask, kRenderRing> renderQueue_;
    std::vector<std::thread> threads_;
};

} // namespace ferrow
