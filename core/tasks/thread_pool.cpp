#include "core/tasks/thread_pool.hpp"

#include "core/tasks/crash_note.hpp"
#include "core/tasks/log.hpp"
#include "core/tasks/realtime.hpp"
#include "core/tasks/sync_task.hpp"

#include <algorithm>
#include <exception>

#if defined(__SANITIZE_THREAD__)
// The queue has fences, which the sanitizer does not model. Where it then sees no order, tests/tsan.supp says
// so.
#pragma GCC diagnostic ignored "-Wtsan"
#endif
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#include <concurrentqueue/concurrentqueue.h>
#include <concurrentqueue/lightweightsemaphore.h>
#pragma GCC diagnostic pop

namespace ferrow {

namespace {

struct FerrowConcurrentQueueDefaultTraits : moodycamel::ConcurrentQueueDefaultTraits {
    static constexpr std::size_t BLOCK_SIZE = 32;
};

constexpr std::size_t kInitialBlocks = 6;
constexpr int kSpinsBeforeSleep = 1000;

struct WakeEntry {
    std::shared_ptr<asyncObject> object; // keeps the object, and so its context, alive
    syncTask* context = nullptr;
};

} // namespace

struct sothreadpool::WakeQueue {
    moodycamel::ConcurrentQueue<WakeEntry, FerrowConcurrentQueueDefaultTraits> entries{
        kInitialBlocks * FerrowConcurrentQueueDefaultTraits::BLOCK_SIZE};
    moodycamel::LightweightSemaphore semaphore{0, kSpinsBeforeSleep};
};

namespace {

// The producer of a worker's own entries, so that it need not be looked up by thread.
struct OwnProducer {
    const sothreadpool* pool;
    moodycamel::ProducerToken token;
};

[[gnu::tls_model("initial-exec")]] constinit thread_local const OwnProducer* ownProducer = nullptr;

} // namespace

std::uint32_t newThreadId() noexcept {
    static std::atomic<std::uint32_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

sothreadpool::sothreadpool(void (*onWorkerStart)(), unsigned workers)
    : onWorkerStart_(onWorkerStart), wakeQueue_(std::make_unique<WakeQueue>()) {
    try {
        const unsigned count =
            workers != 0 ? workers : std::min(std::thread::hardware_concurrency(), kMaxWorkers);
        threads_.reserve(count);
        for (unsigned i = 0; i < count; ++i)
            threads_.emplace_back([this] { worker(); });
    } catch (...) {
        writeDump("sothreadpool", "??");
        stopWorkers();
        throw;
    }
}

sothreadpool::~sothreadpool() {
    stopWorkers();
}

void sothreadpool::stopWorkers() noexcept {
    exit_.store(true, std::memory_order_release);
    wakeQueue_->semaphore.signal(static_cast<std::ptrdiff_t>(threads_.size()));
    for (std::thread& thread : threads_) {
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach();
        else if (thread.joinable())
            thread.join();
    }
    threads_.clear();
}

bool sothreadpool::enqueue(std::shared_ptr<asyncObject> object, syncTask& context) noexcept {
    try {
        WakeEntry entry{std::move(object), &context};
        const OwnProducer* const own = ownProducer;
        if (own != nullptr && own->pool == this ? wakeQueue_->entries.enqueue(own->token, std::move(entry))
                                                : wakeQueue_->entries.enqueue(std::move(entry)))
            return true;
    } catch (...) { // the queue could not grow
    }
    logError("failed to queue task");
    return false;
}

void sothreadpool::schedule(std::shared_ptr<asyncObject> object, syncTask& context) noexcept {
    if (enqueue(std::move(object), context))
        wakeQueue_->semaphore.signal();
}

bool sothreadpool::queueUpdate(asTask&& task) {
    if (updateQueue_.push(std::move(task)))
        return true;
    logError("Can't queue property");
    return false;
}

void sothreadpool::worker() noexcept {
    nameThread("fc worker");
    if (const int error = enterRealtimeClass(RealtimeLevel::Worker)) {
        static std::atomic<bool> said{false};
        if (!said.exchange(true))
            logError("sothreadPool::worker() setmm priority failed {}", error);
    }
    if (onWorkerStart_ != nullptr)
        onWorkerStart_();
    const OwnProducer producer{this, moodycamel::ProducerToken(wakeQueue_->entries)};
    ownProducer = &producer;
    // A context with more to do goes to the back of the queue. The worker that puts it there takes the next
    // entry itself, be it this one or another: no second worker has to be woken for it.
    bool owed = false;
    while (!exit_.load(std::memory_order_acquire)) {
        if (!owed)
            wakeQueue_->semaphore.wait();
        owed = false;
        WakeEntry entry;
        // The semaphore may be ahead of what this thread can see yet, so a miss is tried again.
        while (!wakeQueue_->entries.try_dequeue(entry))
            if (exit_.load(std::memory_order_acquire))
                return;
        try {
            if (syncTask& context = *entry.context; context.TryProcess())
                owed = enqueue(std::move(entry.object), context);
        } catch (const std::exception& error) {
            logError("worker {}", error.what());
        } catch (...) {
            writeDump("worker", "??");
            logError("worker");
        }
    }
}

} // namespace ferrow
