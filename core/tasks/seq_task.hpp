// A task for a serial context: one closure kept inline, and a static label for the log.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstring>
#include <functional>
#include <new>
#include <type_traits>
#include <utility>

namespace ferrow {

// A value type. The closure lives in 256 bytes of inline storage and never spills to the heap: one that needs
// more does not compile. An empty task has the label "" and raises std::bad_function_call when invoked.
class seqTask final {
public:
    static constexpr std::size_t kStorage = 256;

    seqTask() noexcept : operations_(&kEmpty), label_("") {}

    // `label` must outlive the task: a static string such as "agc.Attack.set".
    template <std::invocable Closure>
    seqTask(const char* label, Closure closure) : operations_(&kOperations<Closure>), label_(label) {
        static_assert(sizeof(Closure) <= kStorage, "the captures do not fit a seqTask");
        static_assert(alignof(Closure) <= alignof(std::max_align_t));
        static_assert(std::is_nothrow_move_constructible_v<Closure>);
        ::new (storage_) Closure(std::move(closure));
    }

    seqTask(const seqTask& other) : operations_(&kEmpty), label_("") {
        other.operations_->copy(other.storage_, storage_);
        operations_ = other.operations_;
        label_ = other.label_;
    }

    // Moving leaves the source empty.
    seqTask(seqTask&& other) noexcept : operations_(other.operations_), label_(other.label_) {
        moveFrom(other);
        other.reset();
    }

    seqTask& operator=(seqTask&& other) noexcept {
        if (this == &other)
            return *this;
        reset();
        moveFrom(other);
        operations_ = other.operations_;
        label_ = other.label_;
        other.reset();
        return *this;
    }
    seqTask& operator=(const seqTask& other) { return *this = seqTask(other); }

    virtual ~seqTask() { reset(); }

    void operator()() { operations_->invoke(storage_); }

    const char* label() const noexcept { return label_; }

private:
    struct Operations {
        void (*invoke)(void*);
        void (*copy)(const void* from, void* to);
        void (*move)(void* from, void* to) noexcept;
        void (*destroy)(void*) noexcept;
        std::size_t plain; // plain bytes to move, dropped without a call; 0: by calls
    };

    // Few enough to be moved without a call. The first step shares a cache line with the rest of the task in
    // a slot of a queue.
    static constexpr std::size_t kStep = 16, kFew = 3 * kStep;

    template <class Closure>
    static consteval std::size_t plainBytes() {
        if (sizeof(Closure) > kFew || !std::is_trivially_copyable_v<Closure>)
            return 0;
        return (sizeof(Closure) + kStep - 1) / kStep * kStep;
    }

    template <class Closure>
    static constexpr Operations kOperations{
        [](void* at) { (*std::launder(static_cast<Closure*>(at)))(); },
        [](const void* from, void* to) {
            ::new (to) Closure(*std::launder(static_cast<const Closure*>(from)));
        },
        [](void* from, void* to) noexcept {
            ::new (to) Closure(std::move(*std::launder(static_cast<Closure*>(from))));
        },
        [](void* at) noexcept { std::launder(static_cast<Closure*>(at))->~Closure(); },
        plainBytes<Closure>()};

    static constexpr Operations kEmpty{[](void*) { throw std::bad_function_call(); },
                                       [](const void*, void*) {}, [](void*, void*) noexcept {},
                                       [](void*) noexcept {}, 0};

    void moveFrom(seqTask& other) noexcept {
        switch (other.operations_->plain) {
        case 0:
            return other.operations_->move(other.storage_, storage_);
        case kStep:
            std::memcpy(storage_, other.storage_, kStep);
            return;
        default:
            std::memcpy(storage_, other.storage_, kFew);
        }
    }

    void reset() noexcept {
        if (operations_ == &kEmpty)
            return;
        if (operations_->plain == 0)
            operations_->destroy(storage_);
        operations_ = &kEmpty;
        label_ = "";
    }

    const Operations* operations_;
    const char* label_;
    alignas(std::max_align_t) unsigned char storage_[kStorage];
};

} // namespace ferrow
