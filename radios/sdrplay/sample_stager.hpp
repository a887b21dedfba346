// Gathers the samples of eight stream callbacks for one task.
#pragma once

#include "core/buff/buff.hpp"

#include <algorithm>
#include <cstddef>

namespace ferrow {

// One writer: the API's stream thread. Allocates once in eight callbacks.
class SampleStager {
public:
    static constexpr std::size_t kCallbacks = 8;

    // Takes `count` samples; first hands on, as post(xi, xq), what is there and has no room beside them, or
    // came in callbacks of another size.
    template <class Post>
    void add(const short* xi, const short* xq, std::size_t count, Post&& post) {
        if (count == 0)
            return;
        const std::size_t size = kCallbacks * count;
        if (xi_.size() != size || fill_ + count > size) {
            if (fill_ > 0)
                post(xi_.slice(0, fill_), xq_.slice(0, fill_));
            clear();
            xi_ = buff<short>(size);
            xq_ = buff<short>(size);
        }
        std::copy_n(xi, count, xi_.data() + fill_);
        std::copy_n(xq, count, xq_.data() + fill_);
        fill_ += count;
    }

    // Forgets what is there.
    void clear() {
        xi_ = {};
        xq_ = {};
        fill_ = 0;
    }

private:
    buff<short> xi_, xq_;
    std::size_t fill_ = 0;
};

} // namespace ferrow
