// Base of everything that the host can see.
#pragma once

#include "core/tasks/seq_task.hpp"
#include "core/tasks/sync_task.hpp"

#include <atomic>
#include <functional>
#include <memory>

namespace ferrow {

// Always on the heap and owned by shared_ptr. Every object belongs to one serial context, on which all of its
// state changes; it never moves to another.
class asyncObject : public std::enable_shared_from_this<asyncObject> {
public:
    using NoticeCallback = void (*)(int);

    explicit asyncObject(std::shared_ptr<syncTask> context) noexcept;
    asyncObject(const asyncObject&) = delete;
    asyncObject& operator=(const asyncObject&) = delete;

    // On whichever thread drops the last reference; posts Deleted(1) without an owner, if it is bound.
    virtual ~asyncObject();

    // Host callbacks, bound from the host's thread.
    std::atomic<NoticeCallback> Deleted{nullptr}; // called with 1 after the object has gone
    std::atomic<NoticeCallback> Echo{nullptr};    // answers Ping

    // Host's thread: runs `task` on the context before its next seq task. Logs what goes wrong; never throws.
    void queueSetItem(seqTask&& task) noexcept;

    // Any library thread: runs `task` on the context in its turn. Drops it if there is no context. Throws
    // std::bad_weak_ptr once the last reference has gone.
    void queueSeqItem(seqTask&& task);

    // Any library thread: the host's pump calls `function`. False if the object has no context or the queue
    // is full.
    bool postUpdate(std::function<void()> function);
    bool postRenderUpdate(std::function<void()> function);

    // On the context: answers through Echo.
    void Ping(int value);

    const std::shared_ptr<syncTask>& context() const noexcept { return context_; }

private:
    std::shared_ptr<syncTask> context_;
};

} // namespace ferrow
