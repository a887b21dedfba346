#include "core/buff/buffer_pool.hpp"

#include "core/buff/aligned_memory.hpp"

#include <bit>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#include <sanitizer/lsan_interface.h>
#endif

namespace ferrow {
namespace {

constexpr int kAddressBits = 48;
constexpr uint64_t kAddressMask = (uint64_t{1} << kAddressBits) - 1;

// Idle blocks look freed to the address sanitizer, and the addresses behind a tag are no leaks.
#if defined(__SANITIZE_ADDRESS__)
void hideIdle(void* block, size_t bytes) {
    __asan_poison_memory_region(block, bytes);
}
void showUsed(void* block, size_t bytes) {
    __asan_unpoison_memory_region(block, bytes);
}
void keepFromLeakReport(void* memory) {
    __lsan_ignore_object(memory);
}
#else
void hideIdle(void*, size_t) {}
void showUsed(void*, size_t) {}
void keepFromLeakReport(void*) {}
#endif

} // namespace

void bufferPool::Stack::push(Node* node) {
    uint64_t old = head.load(std::memory_order_relaxed);
    uint64_t wanted;
    do {
        node->next.store(reinterpret_cast<Node*>(old & kAddressMask), std::memory_order_relaxed);
        wanted = (old & ~kAddressMask) | reinterpret_cast<uint64_t>(node);
    } while (!head.compare_exchange_weak(old, wanted, std::memory_order_release, std::memory_order_relaxed));
}

bufferPool::Node* bufferPool::Stack::pop() {
    uint64_t old = head.load(std::memory_order_acquire);
    for (;;) {
        auto* node = reinterpret_cast<Node*>(old & kAddressMask);
        if (!node)
            return nullptr;
        // The node may be someone else's by now; nodes are never freed, and then the exchange fails.
        const auto next = reinterpret_cast<uint64_t>(node->next.load(std::memory_order_relaxed));
        const uint64_t tag = (old & ~kAddressMask) + (uint64_t{1} << kAddressBits);
        if (head.compare_exchange_weak(old, tag | next, std::memory_order_acq_rel, std::memory_order_acquire))
            return node;
    }
}

bufferPool::bufferPool() {
    for (size_t i = 0; i < firstNodes.size(); ++i)
        classes[i / kSpareNodesAtStart].spareNodes.push(&firstNodes[i]);
}

bufferPool& bufferPool::instance() {
    static bufferPool* const pool = [] {
        auto* made = new bufferPool;
        keepFromLeakReport(made);
        return made;
    }();
    return *pool;
}

int bufferPool::classOf(size_t total) {
    const size_t counted = total > 64 ? total - 64 : total;
    return static_cast<int>(std::bit_width(counted - 1));
}

size_t bufferPool::rawBytes(int sizeClass) {
    return 16 * (((size_t{1} << sizeClass) + 79) / 16);
}

void* bufferPool::allocate(size_t total) {
    const int k = classOf(total);
    if (k >= kClasses - 1)
        throw std::bad_alloc();
    SizeClass& sizeClass = classes[static_cast<size_t>(k)];
    if (Node* node = sizeClass.freeBlocks.pop()) {
        void* block = node->block;
        sizeClass.spareNodes.push(node);
        showUsed(block, total);
        return block;
    }
    void* block = alignedAllocate(rawBytes(k));
    if (!block)
        throw std::bad_alloc();
    sizeClass.rawCount.fetch_add(1, std::memory_order_relaxed);
    hideIdle(block, rawBytes(k));
    showUsed(block, total);
    return block;
}

void bufferPool::release(void* block, size_t total) {
    const int k = classOf(total);
    SizeClass& sizeClass = classes[static_cast<size_t>(k)];
    hideIdle(block, rawBytes(k));
    Node* node = sizeClass.spareNodes.pop();
    if (!node) {
        node = new Node;
        keepFromLeakReport(node);
        sizeClass.nodeCount.fetch_add(1, std::memory_order_relaxed);
    }
    node->block = block;
    sizeClass.freeBlocks.push(node);
}

uint64_t bufferPool::rawAllocations(int sizeClass) const {
    return classes[static_cast<size_t>(sizeClass)].rawCount.load(std::memory_order_relaxed);
}

uint64_t bufferPool::nodeAllocations(int sizeClass) const {
    return classes[static_cast<size_t>(sizeClass)].nodeCount.load(std::memory_order_relaxed);
}

} // namespace ferrow
