// An observable list of objects.
#pragma once

#include "core/async/async_object.hpp"
#include "core/async/host_arg.hpp"
#include "core/async/listener.hpp"
#include "core/tasks/log.hpp"

#include <memory>
#include <mutex>
#include <vector>

namespace ferrow {

// Operations of a list, as they cross to the host and back.
enum class ListOperation : int { Write = 0, Append = 3, Clear = 4 };

// Changed on the owner's context, which reads it without a lock.
template <class C>
class asyncCollection {
public:
    using ItemType = C;
    using Callback = void (*)(unsigned long long, unsigned long long, void*);

    // Longest list that a write at an index may make.
    static constexpr int kMaxIndex = 1 << 20;

    asyncCollection() = default;
    asyncCollection(const asyncCollection&) = delete;
    asyncCollection& operator=(const asyncCollection&) = delete;
    virtual ~asyncCollection() = default;

    // Fires on the owner's context after `add` and after a write at an index that changed the list.
    Listener changed;

    const std::vector<std::shared_ptr<C>>& items() const noexcept { return items_; }

    // Any thread.
    std::vector<std::shared_ptr<C>> copy() const {
        const std::lock_guard lock(mutex_);
        return items_;
    }

    // The owner's context: appends and tells the host.
    void add(std::shared_ptr<C> item) {
        Callback callback = nullptr;
        asyncObject* owner = nullptr;
        {
            const std::lock_guard lock(mutex_);
            items_.push_back(item);
            callback = callback_;
            owner = owner_;
        }
        changed();
        if (callback != nullptr)
            sendAppend(callback, owner, std::move(item));
    }

    // Host's thread. Null unbinds. The items now in the list are told to the new callback, in order; one that
    // is added at this moment is told once.
    void bind(Callback callback, asyncObject* owner) {
        std::vector<std::shared_ptr<C>> present;
        {
            const std::lock_guard lock(mutex_);
            callback_ = callback;
            owner_ = owner;
            if (callback != nullptr)
                present = items_;
        }
        for (auto& item : present)
            if (item)
                sendAppend(callback, owner, std::move(item));
    }

    // The owner's context, for what the host wrote; the host is not told. Write at an index beyond the last
    // item makes the list twice `index` long, with empty places. Unknown operations are ignored.
    void set(int operation, int index, std::shared_ptr<C> item) {
        switch (static_cast<ListOperation>(operation)) {
        case ListOperation::Write:
            write(index, std::move(item));
            break;
        case ListOperation::Append: {
            const std::lock_guard lock(mutex_);
            items_.push_back(std::move(item));
            break;
        }
        case ListOperation::Clear:
            reset();
            break;
        }
    }

    // The owner's context: destroys all items, without a notice.
    void reset() {
        std::vector<std::shared_ptr<C>> gone;
        const std::lock_guard lock(mutex_);
        items_.swap(gone);
    }

private:
    void write(int index, std::shared_ptr<C> item) {
        if (index < 0 || index > kMaxIndex || (index == 0 && items_.empty())) {
            logError("asyncCollection has no place {}", index);
            return;
        }
        const auto place = static_cast<std::size_t>(index);
        {
            const std::lock_guard lock(mutex_);
            if (place >= items_.size())
                items_.resize(2 * place);
            if (items_[place] == item)
                return;
            items_[place].swap(item);
        }
        changed();
    }

    static void sendAppend(Callback callback, asyncObject* owner, std::shared_ptr<C> item) {
        owner->postUpdate([callback, item = std::move(item)] {
            callback(static_cast<unsigned long long>(ListOperation::Append), 0,
                     HostArg<std::shared_ptr<C>>::pass(item));
        });
    }

    std::vector<std::shared_ptr<C>> items_;
    mutable std::mutex mutex_;    // held by writers, and by readers that are not on the owner's context
    Callback callback_ = nullptr; // both under the mutex
    asyncObject* owner_ = nullptr;
};

// A list whose contents the host stores and hands back; the core fills it with defaults only when it is
// empty.
template <class C>
class asyncPersistantCollection : public asyncCollection<C> {};

} // namespace ferrow
