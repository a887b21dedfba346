// The process-wide pool behind every sample buffer: lock-free stacks of idle blocks in 64 size classes.
// Blocks are never returned to the system, so a class holds as many as were ever in use at once, and a
// running chain, whose sizes repeat, makes no heap calls. Any thread.
//
// In front of the stacks of the classes up to kMagazineClasses each thread has a magazine of up to
// kMagazine idle blocks, so that threads that allocate and release at the same time do not fight for a
// stack's head; half a magazine moves to or from a stack by one exchange. A class may hold so many more. What
// a thread leaves behind goes to the stacks.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace ferrow {

class bufferPool {
public:
    static constexpr int kClasses = 64;
    static constexpr int kSpareNodesAtStart = 32;
    static constexpr int kMagazineClasses = 14; // 0 to 13: blocks up to 8 KiB
    static constexpr int kMagazine = 8;

    // Made on first use, never destroyed: buffers may die after every other static.
    static bufferPool& instance();

    // `total` is the whole block, control block and payload together, in bytes, and at least 1. The result
    // lies on a 64-byte boundary and is uninitialised. Throws std::bad_alloc when no memory can be had.
    void* allocate(size_t total);

    // Takes a block of allocate back; `total` is the figure it was asked for with.
    void release(void* block, size_t total);

    // Class k holds raw blocks of 2^k + 64 bytes. The 64 are taken off before the power of two is looked for,
    // so that a power of two of samples with its control block does not spill into the next class.
    static int classOf(size_t total);
    static size_t rawBytes(int sizeClass);

    // Counts for tests: heap allocations of raw blocks, and of nodes beyond the first 32, so far.
    uint64_t rawAllocations(int sizeClass) const;
    uint64_t nodeAllocations(int sizeClass) const;

private:
    struct Node {
        // Read by a thread that is about to lose the race for this node, hence atomic.
        std::atomic<Node*> next{nullptr};
        void* block = nullptr;
    };

    // Lower 48 bits: the top node's address. Upper 16: a tag that rises with each pop, so that a node which
    // left and came back does not look unchanged.
    class Stack {
    public:
        // `last` is reached from `first` by next.
        void push(Node* first, Node* last);
        // Up to `most` nodes from the top; their number, and the first.
        int pop(Node*& first, int most);
        void push(Node* node) { push(node, node); }
        Node* pop() {
            Node* node = nullptr;
            return pop(node, 1) == 1 ? node : nullptr;
        }

    private:
        std::atomic<uint64_t> head{0};
    };

    struct SizeClass {
        alignas(64) Stack freeBlocks;
        alignas(64) Stack spareNodes;
        std::atomic<uint64_t> rawCount{0};
        std::atomic<uint64_t> nodeCount{0};
    };

    struct Magazine;
    struct Magazines;
    struct Flush;
    static constexpr int kMoved = kMagazine / 2;

    bufferPool();

    static constinit thread_local Magazines magazines;

    static bool takeMagazines();
    static Magazine* magazineOf(int sizeClass);
    Node* spareNode(SizeClass& sizeClass);
    void fill(SizeClass& sizeClass, Magazine& magazine);
    void spill(SizeClass& sizeClass, Magazine& magazine, int count);

    std::array<SizeClass, kClasses> classes;
    std::array<Node, kClasses * kSpareNodesAtStart> firstNodes;
};

} // namespace ferrow
