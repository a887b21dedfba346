// buff<T>: how samples move. A small value that shares a reference-counted block of pooled memory; it is
// passed by value between threads and sliced without copying, and the last holder gives the block back to the
// pool.
//
// Copies alias: a write through one view shows through the others. Nothing guards the contents; the rule is
// one writer before hand-off. The counts are atomic, so any thread may copy, slice and drop.
#pragma once

#include "core/buff/pooled_allocator.hpp"

#include <algorithm>
#include <boost/smart_ptr/allocate_shared_array.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <cstddef>
#include <cstring>
#include <iostream>
#include <limits>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace ferrow {

// Bytes of a block before its elements. Blocks start on 64-byte boundaries, so elements start 32 bytes past
// one.
inline constexpr size_t kBuffHeader = 32;

template <class T>
class buff {
    static_assert(std::is_trivially_copyable_v<T>, "samples are moved as bytes");

public:
    using value_type = T;

    // Null storage, null data, size 0.
    buff() = default;

    // `count` elements, uninitialised; with 0, the empty buffer. Throws std::bad_alloc when no memory can be
    // had.
    explicit buff(size_t count) {
        if (count == 0)
            return;
        if (count > (std::numeric_limits<size_t>::max() - 2 * kBuffHeader) / sizeof(T))
            throw std::bad_array_new_length();
        storage = boost::allocate_shared_noinit<unsigned char[]>(pooled_allocator<unsigned char>(),
                                                                 count * sizeof(T));
        first = reinterpret_cast<T*>(storage.get());
        length = count;
    }

    buff(size_t count, T value) : buff(count) { std::fill_n(first, length, value); }

    T* data() const { return first; }
    size_t size() const { return length; }
    bool empty() const { return length == 0; }
    T& operator[](size_t index) const { return first[index]; }
    T* begin() const { return first; }
    T* end() const { return first + length; }
    std::span<T> span() const { return {first, length}; }

    // Holders of the block at this moment, 0 for an empty buffer.
    long useCount() const { return storage.use_count(); }

    // A view on the same block. Out of range: a message on the error stream and an unusable view with null
    // data and size `count`.
    buff slice(size_t offset, size_t count) const {
        buff view;
        view.length = count;
        if (count <= length && offset <= length - count) {
            view.storage = storage;
            view.first = first + offset;
        } else {
            std::cerr << " buff slice error " << offset << "  " << count << "  " << length << ' '
                      << sizeof(T);
        }
        return view;
    }

    // Copies all elements to the start of `destination`; the two may overlap. One that is too small stays as
    // it is, with a message on the error stream.
    void copy(const buff& destination) const {
        if (length > destination.length)
            std::cerr << " buff copy error" << length << " > " << destination.length;
        else
            move(0, length, destination, 0);
    }

    // Copies `count` elements from `offset` to `destinationOffset` of `destination`; the two may overlap.
    // Only the destination's bounds are tested; on failure nothing is copied, with a message on the error
    // stream.
    void copyTo(size_t offset, size_t count, const buff& destination, size_t destinationOffset) const {
        if (count <= destination.length && destinationOffset <= destination.length - count)
            move(offset, count, destination, destinationOffset);
        else
            std::cerr << "buff copyTo error ";
    }

private:
    // An unusable view has no elements to give or to take.
    void move(size_t offset, size_t count, const buff& destination, size_t destinationOffset) const {
        if (count != 0 && first && destination.first)
            std::memmove(destination.first + destinationOffset, first + offset, count * sizeof(T));
    }

    boost::shared_ptr<unsigned char[]> storage;
    T* first = nullptr;
    size_t length = 0;
};

} // namespace ferrow
