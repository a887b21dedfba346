// The allocator of sample storage: no state, all instances equal, every block from the pool.
#pragma once

#include "core/buff/buffer_pool.hpp"

#include <cstddef>
#include <limits>
#include <new>

namespace ferrow {

template <class T>
class pooled_allocator {
public:
    using value_type = T;

    pooled_allocator() = default;
    template <class U>
    pooled_allocator(const pooled_allocator<U>&) noexcept {}

    T* allocate(size_t count) {
        if (count > std::numeric_limits<size_t>::max() / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<T*>(bufferPool::instance().allocate(count * sizeof(T)));
    }

    void deallocate(T* block, size_t count) noexcept {
        bufferPool::instance().release(block, count * sizeof(T));
    }

    template <class U>
    friend bool operator==(const pooled_allocator&, const pooled_allocator<U>&) noexcept {
        return true;
    }
};

} // namespace ferrow
