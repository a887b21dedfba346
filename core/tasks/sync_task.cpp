#include "core/tasks/sync_task.hpp"

#include "core/tasks/crash_note.hpp"
#include "core/tasks/log.hpp"
#include "core/tasks/thread_pool.hpp"

#include <exception>

namespace ferrow {

namespace {

std::uint64_t after(std::uint64_t index) {
    return index + 1 == syncTask::kPropertyRing ? 0 : index + 1;
}

} // namespace

syncTask::~syncTask() {
    const std::uint64_t write = propertyWrite_.load(std::memory_order_acquire);
    for (std::uint64_t i = propertyRead_.load(std::memory_order_acquire); i != write; i = after(i))
        propertyRing_[i].task().~seqTask();
}

bool syncTask::pushPropertySet(seqTask&& task) {
    const std::uint64_t write = propertyWrite_.load(std::memory_order_relaxed);
    const std::uint64_t next = after(write);
    if (next == propertyRead_.load(std::memory_order_acquire)) {
        logError("Can't queue property set");
        return false;
    }
    ::new (propertyRing_[write].storage) seqTask(std::move(task));
    propertyWrite_.store(next, std::memory_order_release);
    return claim();
}

bool syncTask::pushSeq(seqTask&& task) {
    if (!seqQueue_.push(std::move(task))) {
        logError("Can't queue seq process");
        return false;
    }
    return claim();
}

void syncTask::schedule(std::shared_ptr<asyncObject> object) noexcept {
    pool_->schedule(std::move(object), *this);
}

bool syncTask::TryProcess() {
    processPropertySetQueue();
    processSeqQueue();
    if (seqQueue_
            .seenWaiting()) // busy: to the back of the wake queue, without giving up the claim in between
        return true;
    // An exchange, not a store: a producer whose own exchange came before this one has its element seen
    // below.
    scheduled_.exchange(0, std::memory_order_acq_rel);
    const bool more = seqQueue_.waiting() || propertyRead_.load(std::memory_order_acquire) !=
                                                 propertyWrite_.load(std::memory_order_acquire);
    return more && claim();
}

void syncTask::processPropertySetQueue() {
    for (;;) {
        const std::uint64_t read = propertyRead_.load(std::memory_order_relaxed);
        if (read == propertyWrite_.load(std::memory_order_acquire))
            return;
        seqTask task(std::move(propertyRing_[read].task()));
        propertyRing_[read].task().~seqTask();
        propertyRead_.store(after(read), std::memory_order_release);
        try {
            task();
        } catch (const std::exception& error) {
            logError("processPropertySetQueue {} {}", error.what(), task.label());
        } catch (...) {
            writeDump("processPropertySetQueue", task.label());
            logError("processPropertySetQueue {}", task.label());
        }
    }
}

void syncTask::processSeqQueue() {
    seqTask task;
    if (!seqQueue_.take(task))
        return;
    try {
        task();
    } catch (const std::exception& error) {
        logError("procesSeqQueue {} {}", error.what(), task.label());
    } catch (...) {
        writeDump("TryProcess", task.label());
        logError("processSeqSetQueue {}", task.label());
    }
}

} // namespace ferrow
