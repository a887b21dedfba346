// Handles: what the host holds for an object.
#pragma once

#include <memory>

namespace ferrow {

class asyncObject;

// A heap block of two words with one strong reference. It is the same type for every class, so that any
// handle serves where an asyncObject's does, and one release function serves all.
using Handle = std::shared_ptr<asyncObject>;

template <class C>
void* makeHandle(std::shared_ptr<C> object) {
    return new Handle(std::move(object));
}

// Null is accepted.
inline void releaseHandle(void* handle) noexcept {
    delete static_cast<Handle*>(handle);
}

} // namespace ferrow
