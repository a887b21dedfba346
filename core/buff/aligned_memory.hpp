// Memory on 64-byte boundaries, for the buffer pool and for blocks that the host asks for. Any thread.
#pragma once

#include <cstddef>

namespace ferrow {

inline constexpr size_t kMemoryAlignment = 64;

// At least `bytes` bytes on a 64-byte boundary, uninitialised. Null when `bytes` is 0, when `bytes` + 72 does
// not fit a positive 31-bit count, or when the system has no memory left.
void* alignedAllocate(size_t bytes);

// Gives a block of alignedAllocate back; null is accepted.
void alignedFree(void* block);

// The host's form: whole units of 16 bytes, so that a request below 16 bytes, or a negative one, gives null.
// Released with alignedFree.
void* alignedAllocateUnits(int bytes);

} // namespace ferrow
