// A value on its way from one thread to another.
#pragma once

#include <array>
#include <atomic>

namespace ferrow {

// The reader sees the newest value only; older ones are skipped. Three places go round, so neither side
// waits for the other or allocates. One writer and one reader at a time.
template <class T>
class LatestValue {
public:
    LatestValue() = default;
    LatestValue(const LatestValue&) = delete;
    LatestValue& operator=(const LatestValue&) = delete;

    // The writer: fills the draft, which holds some older value, and hands it over.
    T& draft() noexcept { return places_[draft_]; }
    void publish() noexcept {
        draft_ = newest_.exchange(draft_ | kFresh, std::memory_order_acq_rel) & kPlace;
    }

    // The reader: whether a newer value is there; `current` shows it from now on.
    bool take() noexcept {
        if ((newest_.load(std::memory_order_relaxed) & kFresh) == 0)
            return false;
        current_ = newest_.exchange(current_, std::memory_order_acq_rel) & kPlace;
        return true;
    }
    const T& current() const noexcept { return places_[current_]; }

private:
    static constexpr unsigned kPlace = 3, kFresh = 4;

    std::array<T, 3> places_;
    std::atomic<unsigned> newest_{0};
    unsigned draft_ = 1, current_ = 2;
};

} // namespace ferrow
