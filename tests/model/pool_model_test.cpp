// bufferPool's stacks of idle blocks and of spare nodes, and the exchange of half a magazine with them
// (core/buff/buffer_pool.cpp). All interleavings of a few threads that fill and spill: no block and no node
// in two hands, none lost. Every step works on memory that all see at once: the tests under the thread
// sanitizer are there for the orders.
#include "tests/model/explorer.hpp"

#include <gtest/gtest.h>

#include <cstdio>

namespace ferrow::test {
namespace {

enum class Mutation {
    None,
    NoTag,        // the head is an address only
    TagOfPush,    // ... with a tag that rises with pushes, not with pops
    NodesFirst,   // fill gives the nodes back before it has read their blocks
    StackFirst,   // spill pushes the nodes before it has written their blocks
    StoreForSwap, // the head is stored, not exchanged
};

constexpr int kThreads = 3, kNodes = 6, kHeld = 4, kMoved = 2, kProgram = 3;
enum Stack : std::uint8_t { kFree, kSpare, kStacks };

struct Shape {
    int threads, full, spare;      // idle blocks and spare nodes at the start
    const char* program[kThreads]; // f: fill, s: spill, of up to two
};

class PoolModel {
public:
    PoolModel(Shape shape, Mutation mutation) : shape_(shape), mutation_(mutation) {}

    // Nodes and blocks count from 1.
    struct Thread {
        std::uint8_t at, op, count, wanted, held;
        std::uint8_t seen, seenTag, first, second, after; // of a pop; first and second: of a chain in hand
        std::uint8_t blocks[kHeld];
    };
    struct State {
        std::uint8_t top[kStacks], tag[kStacks];
        std::uint8_t next[kNodes], block[kNodes], owner[kNodes]; // owner: stack, or kStacks + thread
        std::uint8_t made;                                       // nodes so far
        std::uint8_t wrong;
        Thread thread[kThreads];
    };

    State first() const {
        State s{};
        for (int i = 0; i < shape_.full + shape_.spare; ++i) {
            const Stack stack = i < shape_.full ? kFree : kSpare;
            s.next[i] = s.top[stack];
            s.top[stack] = number(i);
            s.owner[i] = stack;
            if (stack == kFree)
                s.block[i] = number(i);
        }
        s.made = static_cast<std::uint8_t>(shape_.full + shape_.spare);
        return s;
    }

    int actors() const { return shape_.threads; }

    const char* step(State& s, int t) const {
        Thread& me = s.thread[t];
        const char op = shape_.program[t][me.op];
        if (op == 0)
            return nullptr;
        return op == 'f' ? fill(s, me, t) : spill(s, me, t);
    }

    const char* broken(const State& s) const {
        if (s.wrong != 0)
            return s.wrong == 1 ? "a node in two hands" : "a node without a block was taken";
        std::uint8_t hands[kNodes] = {};
        for (const Thread& thread : s.thread)
            for (int i = 0; i < thread.held; ++i)
                if (++hands[thread.blocks[i] - 1] > 1)
                    return "a block in two hands";
        return nullptr;
    }

    const char* unfinished(const State& s) const {
        int blocks = 0, nodes = 0;
        for (int t = 0; t < shape_.threads; ++t)
            blocks += s.thread[t].held;
        for (const Stack stack : {kFree, kSpare})
            for (int node = s.top[stack]; node != 0 && nodes <= kNodes; node = s.next[node - 1]) {
                ++nodes;
                blocks += stack == kFree ? 1 : 0;
            }
        return nodes != s.made ? "nodes are lost" : blocks != shape_.full ? "blocks are lost" : nullptr;
    }

private:
    enum At : std::uint8_t {
        kBegin,
        kHead,
        kNext,
        kNextAgain,
        kSwap,
        kRead,
        kMake,
        kWrite,
        kLink,
        kPush,
        kLate
    };

    static std::uint8_t number(int index) { return static_cast<std::uint8_t>(index + 1); }
    static std::uint8_t& nextOf(State& s, int node) { return s.next[node - 1]; }

    static const char* end(Thread& me, const char* step) {
        me.at = kBegin;
        ++me.op;
        me.count = me.wanted = me.seen = me.seenTag = me.first = me.second = me.after = 0;
        return step;
    }

    // Up to `me.wanted` nodes off a stack, in steps; then at kRead with `me.count`.
    const char* pop(State& s, Thread& me, int t, Stack stack) const {
        switch (me.at) {
        case kHead:
            me.seen = s.top[stack];
            me.seenTag = s.tag[stack];
            me.at = me.seen == 0 ? kRead : kNext;
            me.count = 0;
            return "reads the head";
        case kNext:
            me.first = me.seen;
            me.second = 0;
            me.after = nextOf(s, me.first);
            me.count = 1;
            me.at = me.wanted > 1 && me.after != 0 ? kNextAgain : kSwap;
            return "reads the next node";
        case kNextAgain:
            me.second = me.after;
            me.after = nextOf(s, me.second);
            me.count = 2;
            me.at = kSwap;
            return "reads the one behind";
        default:
            if (mutation_ != Mutation::StoreForSwap &&
                (s.top[stack] != me.seen || (mutation_ != Mutation::NoTag && s.tag[stack] != me.seenTag))) {
                me.at = kHead;
                me.first = me.second = me.after = me.count = me.seen = me.seenTag = 0;
                return "loses the race";
            }
            s.top[stack] = me.after;
            if (mutation_ != Mutation::TagOfPush && mutation_ != Mutation::NoTag)
                ++s.tag[stack];
            own(s, me.first, stack, kStacks + t);
            if (me.second != 0)
                own(s, me.second, stack, kStacks + t);
            me.at = kRead;
            return "takes nodes off";
        }
    }

    static void own(State& s, int node, int from, int to) {
        if (s.owner[node - 1] != from)
            s.wrong = 1;
        s.owner[node - 1] = static_cast<std::uint8_t>(to);
    }

    // The chain in hand onto a stack: kLink, then kPush.
    const char* push(State& s, Thread& me, int t, Stack stack, At then) const {
        const int last = me.second != 0 ? me.second : me.first;
        if (me.at == kLink) {
            me.seen = s.top[stack];
            me.seenTag = s.tag[stack];
            nextOf(s, last) = me.seen;
            me.at = kPush;
            return "links its nodes to the head";
        }
        if (s.top[stack] != me.seen || (mutation_ != Mutation::NoTag && s.tag[stack] != me.seenTag)) {
            me.at = kLink;
            return "loses the race";
        }
        s.top[stack] = me.first;
        if (mutation_ == Mutation::TagOfPush)
            ++s.tag[stack];
        own(s, me.first, kStacks + t, stack);
        if (me.second != 0)
            own(s, me.second, kStacks + t, stack);
        if (then == kBegin)
            return end(me, "pushes its nodes");
        me.at = then;
        return "pushes its nodes";
    }

    static void takeBlocks(State& s, Thread& me) {
        for (const int node : {me.first, me.second})
            if (node != 0) {
                if (s.block[node - 1] == 0)
                    s.wrong = 2;
                else
                    me.blocks[me.held++] = s.block[node - 1];
                s.block[node - 1] = 0;
            }
    }

    const char* fill(State& s, Thread& me, int t) const {
        switch (me.at) {
        case kBegin:
            me.wanted = kMoved;
            me.at = kHead;
            return pop(s, me, t, kFree);
        case kRead:
            if (me.count == 0)
                return end(me, "finds the stack empty");
            if (mutation_ != Mutation::NodesFirst)
                takeBlocks(s, me);
            me.at = kLink;
            return "reads the blocks";
        case kLink:
        case kPush:
            return push(s, me, t, kSpare, mutation_ == Mutation::NodesFirst ? kLate : kBegin);
        case kLate:
            takeBlocks(s, me);
            return end(me, "reads the blocks");
        default:
            return pop(s, me, t, kFree);
        }
    }

    static void giveBlocks(State& s, Thread& me) {
        for (const int node : {me.first, me.second})
            if (node != 0) {
                s.block[node - 1] = me.blocks[--me.held];
                me.blocks[me.held] = 0;
            }
    }

    const char* spill(State& s, Thread& me, int t) const {
        switch (me.at) {
        case kBegin:
            me.wanted = static_cast<std::uint8_t>(me.held < kMoved ? me.held : kMoved);
            if (me.wanted == 0)
                return end(me, "has nothing to spill");
            me.at = kHead;
            return pop(s, me, t, kSpare);
        case kRead:
            if (me.count == me.wanted) {
                me.at = kWrite;
                return "has nodes enough";
            }
            (me.count == 0 ? me.first : me.second) = number(s.made);
            s.owner[s.made] = static_cast<std::uint8_t>(kStacks + t);
            ++s.made;
            if (me.count == 1)
                nextOf(s, me.first) = me.second;
            ++me.count;
            return "makes a node";
        case kWrite:
            if (mutation_ != Mutation::StackFirst)
                giveBlocks(s, me);
            me.at = kLink;
            return "writes the blocks";
        case kLink:
        case kPush:
            return push(s, me, t, kFree, mutation_ == Mutation::StackFirst ? kLate : kBegin);
        case kLate:
            giveBlocks(s, me);
            return end(me, "writes the blocks");
        default:
            return pop(s, me, t, kSpare);
        }
    }

    Shape shape_;
    Mutation mutation_;
};

constexpr Shape kShapes[] = {{2, 3, 1, {"fsf", "ff", ""}},
                             {2, 3, 2, {"fs", "fsf", ""}},
                             {2, 2, 0, {"fsf", "fs", ""}},
                             {3, 3, 1, {"f", "fs", "f"}}};

Explored exploreAll(Mutation mutation) {
    return exploreShapes(kShapes, [=](const Shape& shape) { return PoolModel(shape, mutation); });
}

TEST(PoolModel, NoBlockInTwoHandsAndNoneLost) {
    const Explored all = exploreAll(Mutation::None);
    EXPECT_TRUE(all.holds()) << all.broken << "\n" << all.trace;
    std::printf("%zu states\n", all.states);
}

// A node that came back has been popped and pushed, so either may count.
TEST(PoolModel, TheTagMayRiseWithPushesAsWell) {
    const Explored all = exploreAll(Mutation::TagOfPush);
    EXPECT_TRUE(all.holds()) << all.broken << "\n" << all.trace;
}

TEST(PoolModel, EachReorderedStepIsFound) {
    for (const Mutation mutation :
         {Mutation::NoTag, Mutation::NodesFirst, Mutation::StackFirst, Mutation::StoreForSwap})
        EXPECT_FALSE(exploreAll(mutation).holds()) << static_cast<int>(mutation);
}

} // namespace
} // namespace ferrow::test
