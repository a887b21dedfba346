#include "core/buff/aligned_memory.hpp"

#include <cstdint>
#include <cstdlib>

namespace ferrow {
namespace {

// One word for malloc's own address and the way to the next boundary, which is at most 63 bytes.
constexpr size_t kOverhead = sizeof(void*) + kMemoryAlignment;
constexpr int kUnit = 16;

} // namespace

void* alignedAllocate(size_t bytes) {
    if (bytes < 1 || bytes > static_cast<size_t>(INT32_MAX) - kOverhead)
        return nullptr;
    void* memory = std::malloc(bytes + kOverhead);
    if (!memory)
        return nullptr;
    const auto first = reinterpret_cast<uintptr_t>(memory) + sizeof(void*);
    const auto start = (first + kMemoryAlignment - 1) & ~static_cast<uintptr_t>(kMemoryAlignment - 1);
    auto** block = reinterpret_cast<void**>(start);
    block[-1] = memory;
    return block;
}

void alignedFree(void* block) {
    if (block)
        std::free(static_cast<void**>(block)[-1]);
}

void* alignedAllocateUnits(int bytes) {
    const int units = bytes / kUnit;
    return units < 1 ? nullptr : alignedAllocate(static_cast<size_t>(units) * kUnit);
}

} // namespace ferrow
