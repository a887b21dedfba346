#include "core/buff/buffer_pool.hpp"

#include "core/buff/aligned_memory.hpp"

#include <algorithm>
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

struct bufferPool::Magazine {
    int count;
    void* blocks[kMagazine];
};

struct bufferPool::Magazines {
    enum State { Unused, InUse, Ended };
    State state;
    Magazine ofClass[kMagazineClasses];
};

// Plain memory, so that buffers may be dropped at any time of a thread's end.
constinit thread_local bufferPool::Magazines bufferPool::magazines{};

// Gives a thread's magazines back when it ends.
struct bufferPool::Flush {
    ~Flush() {
        magazines.state = Magazines::Ended;
        bufferPool& pool = instance();
        for (int k = 0; k < kMagazineClasses; ++k) {
            Magazine& magazine = magazines.ofClass[k];
            while (magazine.count > 0)
                pool.spill(pool.classes[static_cast<size_t>(k)], magazine, std::min(magazine.count, kMoved));
        }
    }
};

// False once the thread has given its magazines back.
[[gnu::noinline]] bool bufferPool::takeMagazines() {
    if (magazines.state == Magazines::Ended)
        return false;
    magazines.state = Magazines::InUse;
    thread_local const Flush flush;
    static_cast<void>(flush);
    return true;
}

inline bufferPool::Magazine* bufferPool::magazineOf(int sizeClass) {
    if (sizeClass >= kMagazineClasses)
        return nullptr;
    if (magazines.state != Magazines::InUse && !takeMagazines())
        return nullptr;
    return &magazines.ofClass[sizeClass];
}

void bufferPool::Stack::push(Node* first, Node* last) {
    uint64_t old = head.load(std::memory_order_relaxed);
    uint64_t wanted;
    do {
        last->next.store(reinterpret_cast<Node*>(old & kAddressMask), std::memory_order_relaxed);
        wanted = (old & ~kAddressMask) | reinterpret_cast<uint64_t>(first);
    } while (!head.compare_exchange_weak(old, wanted, std::memory_order_release, std::memory_order_relaxed));
}

int bufferPool::Stack::pop(Node*& first, int most) {
    uint64_t old = head.load(std::memory_order_acquire);
    for (;;) {
        first = reinterpret_cast<Node*>(old & kAddressMask);
        if (!first)
            return 0;
        // The nodes may be someone else's by now; they are never freed, and then the exchange fails.
        int count = 1;
        Node* after = first->next.load(std::memory_order_relaxed);
        for (; count < most && after != nullptr; ++count)
            after = after->next.load(std::memory_order_relaxed);
        const uint64_t tag = (old & ~kAddressMask) + (uint64_t{1} << kAddressBits);
        if (head.compare_exchange_weak(old, tag | reinterpret_cast<uint64_t>(after),
                                       std::memory_order_acq_rel, std::memory_order_acquire))
            return count;
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
    if (Magazine* const magazine = magazineOf(k)) {
        if (magazine->count == 0)
            fill(sizeClass, *magazine);
        if (magazine->count > 0) {
            void* block = magazine->blocks[--magazine->count];
            showUsed(block, total);
            return block;
        }
    } else if (Node* node = sizeClass.freeBlocks.pop()) {
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
    if (Magazine* const magazine = magazineOf(k)) {
        if (magazine->count == kMagazine)
            spill(sizeClass, *magazine, kMoved);
        magazine->blocks[magazine->count++] = block;
        return;
    }
    Node* node = spareNode(sizeClass);
    node->block = block;
    sizeClass.freeBlocks.push(node);
}

bufferPool::Node* bufferPool::spareNode(SizeClass& sizeClass) {
    if (Node* node = sizeClass.spareNodes.pop())
        return node;
    auto* node = new Node;
    keepFromLeakReport(node);
    sizeClass.nodeCount.fetch_add(1, std::memory_order_relaxed);
    return node;
}

// Half a magazine from the stack, or what there is.
void bufferPool::fill(SizeClass& sizeClass, Magazine& magazine) {
    Node* first = nullptr;
    const int count = sizeClass.freeBlocks.pop(first, kMoved);
    Node* last = first;
    for (int i = 0; i < count; ++i) {
        magazine.blocks[magazine.count++] = last->block;
        if (i + 1 < count)
            last = last->next.load(std::memory_order_relaxed);
    }
    if (count > 0)
        sizeClass.spareNodes.push(first, last);
}

// The oldest `count` blocks to the stack.
void bufferPool::spill(SizeClass& sizeClass, Magazine& magazine, int count) {
    Node* first = nullptr;
    int have = sizeClass.spareNodes.pop(first, count);
    Node* last = first;
    for (int i = 1; i < have; ++i)
        last = last->next.load(std::memory_order_relaxed);
    for (; have < count; ++have) {
        Node* const more = spareNode(sizeClass);
        if (last)
            last->next.store(more, std::memory_order_relaxed);
        else
            first = more;
        last = more;
    }
    Node* node = first;
    for (int i = 0; i < count; ++i) {
        node->block = magazine.blocks[i];
        if (i + 1 < count)
            node = node->next.load(std::memory_order_relaxed);
    }
    magazine.count -= count;
    std::copy_n(magazine.blocks + count, magazine.count, magazine.blocks);
    sizeClass.freeBlocks.push(first, last);
}

uint64_t bufferPool::rawAllocations(int sizeClass) const {
    return classes[static_cast<size_t>(sizeClass)].rawCount.load(std::memory_order_relaxed);
}

uint64_t bufferPool::nodeAllocations(int sizeClass) const {
    return classes[static_cast<size_t>(sizeClass)].nodeCount.load(std::memory_order_relaxed);
}

} // namespace ferrow
