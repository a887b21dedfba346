#include "radios/sdrplay/task_courier.hpp"

#include "core/tasks/log.hpp"
#include "core/tasks/realtime.hpp"

#include <exception>
#include <utility>

namespace ferrow {

TaskCourier::TaskCourier(std::function<void(seqTask)> post) : post_(std::move(post)) {}

TaskCourier::~TaskCourier() {
    end();
}

void TaskCourier::send(seqTask task) {
    {
        const std::lock_guard lock(mutex_);
        if (ended_)
            return;
        if (waiting_.size() >= kWaiting) {
            logError("sdrplay {} lost", task.label());
            return;
        }
        waiting_.push_back(std::move(task));
        if (!thread_.joinable())
            thread_ = std::thread([this] { run(); });
    }
    wake_.notify_one();
}

bool TaskCourier::idle() const {
    const std::lock_guard lock(mutex_);
    return waiting_.empty() && !busy_;
}

void TaskCourier::end() noexcept {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        waiting_.clear();
    }
    wake_.notify_one();
    if (thread_.joinable())
        thread_.join();
}

void TaskCourier::run() {
    enterRealtimeClass(RealtimeLevel::Comms);
    std::unique_lock lock(mutex_);
    while (!ended_) {
        if (waiting_.empty()) {
            wake_.wait(lock);
            continue;
        }
        seqTask task = std::move(waiting_.front());
        waiting_.pop_front();
        busy_ = true;
        lock.unlock();
        try {
            post_(std::move(task));
        } catch (const std::exception& failure) {
            logError("sdrplay task lost: {}", failure.what());
        }
        lock.lock();
        busy_ = false;
    }
}

} // namespace ferrow
