// An observable value of an asyncObject.
#pragma once

#include "core/async/async_object.hpp"
#include "core/async/host_arg.hpp"
#include "core/async/listener.hpp"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

namespace ferrow {

// Storage of a scalar property: any thread may read it; the owner's context writes it.
template <class T>
class ScalarCell {
public:
    explicit ScalarCell(T value) : value_(value) {}
    T read() const noexcept { return value_.load(std::memory_order_acquire); }
    T copy() const noexcept { return read(); }
    void write(T value) noexcept { value_.store(value, std::memory_order_release); }

private:
    std::atomic<T> value_;
};

// Storage of a string or object property. The owner's context is the only writer and reads without a lock;
// other threads (a pump, a host's bind) take a copy.
template <class T>
class GuardedCell {
public:
    explicit GuardedCell(T value) : value_(std::move(value)) {}
    const T& read() const noexcept { return value_; }
    T copy() const {
        const std::lock_guard lock(mutex_);
        return value_;
    }
    void write(T value) {
        const std::lock_guard lock(mutex_);
        value_.swap(value);
    }

private:
    mutable std::mutex mutex_;
    T value_;
};

// T is int, long long, float, double, bool, std::string or std::shared_ptr<C>. Core code reads and sets it on
// the owner's context; the host writes it by a task that calls setFromHost there.
template <class T>
class asyncProperty {
public:
    using ValueType = T;
    using Callback = void (*)(HostType<T>);

    explicit asyncProperty(T value = T{}) : cell_(std::move(value)) {}
    asyncProperty(const asyncProperty&) = delete;
    asyncProperty& operator=(const asyncProperty&) = delete;

    // Fires on the owner's context whenever the value really changes; set by the owner or its companions.
    Listener changed;

    // The owner's context; scalars from any thread.
    decltype(auto) value() const noexcept { return cell_.read(); }

    // Any thread.
    T copy() const { return cell_.copy(); }

    // Whether core code has ever given the value.
    bool valid() const noexcept { return valid_.load(std::memory_order_acquire); }

    // The owner's context. An equal value (==; a NaN never is) only makes the property valid. With `notify`
    // false the host hears nothing and validity stays as it was.
    void set(T value, bool notify = true) {
        if (cell_.read() == value) {
            if (notify)
                valid_.store(true, std::memory_order_release);
            return;
        }
        cell_.write(std::move(value));
        changed();
        if (!notify)
            return;
        // Either this sees the callback of a bind at the same moment, or that bind sees the property valid.
        valid_.store(true, std::memory_order_seq_cst);
        if (const Callback callback = callback_.load(std::memory_order_seq_cst))
            notifyHost(callback, owner_.load(std::memory_order_relaxed));
    }

    // The owner's context, for a value that the host wrote: it already knows it. An object given so counts as
    // valid.
    void setFromHost(T value) {
        set(std::move(value), false);
        if constexpr (!std::is_arithmetic_v<T> && !std::is_same_v<T, std::string>)
            valid_.store(true, std::memory_order_release);
    }

    // Host's thread. Null unbinds. A valid value is told to the new callback once, by the next pump.
    void bind(Callback callback, asyncObject* owner) {
        owner_.store(owner, std::memory_order_relaxed);
        callback_.store(callback, std::memory_order_seq_cst);
        if (callback != nullptr && valid_.load(std::memory_order_seq_cst))
            notifyHost(callback, owner);
    }

private:
    void notifyHost(Callback callback, asyncObject* owner) {
        if constexpr (std::is_same_v<T, std::string>)
            // The text is read when the call is made: a burst of changes shows the last one several times.
            owner->postUpdate([this, callback] { callback(HostArg<T>::pass(cell_.copy())); });
        else
            owner->postUpdate([callback, value = cell_.copy()] { callback(HostArg<T>::pass(value)); });
    }

    using Cell = std::conditional_t<std::is_arithmetic_v<T>, ScalarCell<T>, GuardedCell<T>>;

    Cell cell_;
    std::atomic<Callback> callback_{nullptr};
    std::atomic<asyncObject*> owner_{nullptr};
    std::atomic<bool> valid_{false};
};

} // namespace ferrow
