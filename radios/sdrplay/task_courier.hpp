// Carries tasks of short-lived threads to a context. A context's queue keeps a place for every thread that
// ever posted to it, and has few; the API makes new threads with every start.
#pragma once

#include "core/tasks/seq_task.hpp"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace ferrow {

// One thread of its own, from the first task on. The lock is held for moments only.
class TaskCourier {
public:
    static constexpr std::size_t kWaiting = 1024; // as many as a context's queue takes from one thread

    // `post` runs on the courier's thread; what it raises is logged.
    explicit TaskCourier(std::function<void(seqTask)> post);
    ~TaskCourier();

    // Any thread. A task that finds no room is dropped, which is logged.
    void send(seqTask task);
    // Whether everything sent has been posted.
    bool idle() const;
    // Ends the thread; what waits is dropped. From no task and no callback of the courier's own.
    void end() noexcept;

private:
    void run();

    std::function<void(seqTask)> post_;
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<seqTask> waiting_;
    bool busy_ = false;
    bool ended_ = false;
    std::thread thread_;
};

} // namespace ferrow
