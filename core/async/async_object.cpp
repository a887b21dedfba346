#include "core/async/async_object.hpp"

#include "core/tasks/crash_note.hpp"
#include "core/tasks/log.hpp"
#include "core/tasks/thread_pool.hpp"

#include <exception>

namespace ferrow {

asyncObject::asyncObject(std::shared_ptr<syncTask> context) noexcept : context_(std::move(context)) {}

asyncObject::~asyncObject() {
    const NoticeCallback deleted = Deleted.load(std::memory_order_acquire);
    if (!context_ || deleted == nullptr)
        return;
    try {
        context_->pool()->queueUpdate(asTask{[deleted] { deleted(1); }, nullptr});
    } catch (...) { // out of memory: the notice is lost, the object goes all the same
    }
}

void asyncObject::queueSetItem(seqTask&& task) noexcept {
    const char* label = task.label();
    try {
        if (!context_) {
            logError("queueSetItem null taskgroup {}", label);
            return;
        }
        auto self = shared_from_this(); // before the task is queued: it must not outlive the object
        if (context_->pushPropertySet(std::move(task)))
            context_->schedule(std::move(self));
    } catch (const std::exception& error) {
        logError("queueSetItem {} {}", error.what(), label);
    } catch (...) {
        writeDump("queuesetitem", label);
        logError("queueSetItem {}", label);
    }
}

void asyncObject::queueSeqItem(seqTask&& task) {
    if (!context_)
        return;
    auto self = shared_from_this();
    if (context_->pushSeq(std::move(task)))
        context_->schedule(std::move(self));
}

bool asyncObject::postUpdate(std::function<void()> function) {
    return context_ && context_->pool()->queueUpdate(asTask{std::move(function), shared_from_this()});
}

bool asyncObject::postRenderUpdate(std::function<void()> function) {
    return context_ && context_->pool()->queueRenderUpdate(asTask{std::move(function), shared_from_this()});
}

void asyncObject::Ping(int value) {
    postUpdate([this, value] {
        if (const NoticeCallback echo = Echo.load(std::memory_order_acquire))
            echo(value);
    });
}

} // namespace ferrow
