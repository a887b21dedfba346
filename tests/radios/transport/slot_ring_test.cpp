#include "radios/transport/slot_ring.hpp"

#include <gtest/gtest.h>
#include <thread>

namespace ferrow {
namespace {

template <class Ring>
void holdsOneLessThanItsLength(int usable) {
    Ring ring;
    int slot = -1;
    EXPECT_FALSE(ring.pop(slot));
    for (int i = 0; i < usable; ++i)
        ASSERT_TRUE(ring.push(i));
    EXPECT_TRUE(ring.full());
    EXPECT_FALSE(ring.push(999)) << "full";
    EXPECT_TRUE(ring.front(slot));
    EXPECT_EQ(slot, 0);
    EXPECT_TRUE(ring.full()) << "looking takes nothing out";
    for (int i = 0; i < usable; ++i) {
        ASSERT_TRUE(ring.pop(slot));
        ASSERT_EQ(slot, i);
    }
    EXPECT_FALSE(ring.pop(slot));
}

TEST(SlotRing, UsableDepthIsOneBelowTheLength) {
    holdsOneLessThanItsLength<SlotRing<129>>(128);
    holdsOneLessThanItsLength<SlotRing<257>>(256);
    holdsOneLessThanItsLength<SlotRing<4097>>(4096);
}

TEST(SlotRing, KeepsOrderAcrossItsEnd) {
    SlotRing<5> ring;
    int slot = -1;
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(ring.push(2 * i));
        ASSERT_TRUE(ring.push(2 * i + 1));
        ASSERT_TRUE(ring.pop(slot));
        EXPECT_EQ(slot, 2 * i);
        ASSERT_TRUE(ring.pop(slot));
        EXPECT_EQ(slot, 2 * i + 1);
    }
}

TEST(SlotRing, WhatIsWrittenBeforeThePushIsSeenAfterThePop) {
    constexpr long long kCount = 200000;
    SlotRing<129> filled;
    SlotRing<129> idle;
    std::array<long long, 100> memory{};
    for (int slot = 0; slot < 100; ++slot)
        ASSERT_TRUE(idle.push(slot));
    long long wrong = 0;
    std::thread consumer([&] {
        for (long long i = 0; i < kCount;) {
            int slot = -1;
            if (!filled.pop(slot)) {
                std::this_thread::yield();
                continue;
            }
            wrong += memory[static_cast<std::size_t>(slot)] != i;
            while (!idle.push(slot))
                std::this_thread::yield();
            ++i;
        }
    });
    for (long long i = 0; i < kCount;) {
        int slot = -1;
        if (!idle.pop(slot)) {
            std::this_thread::yield();
            continue;
        }
        memory[static_cast<std::size_t>(slot)] = i++;
        while (!filled.push(slot))
            std::this_thread::yield();
    }
    consumer.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace ferrow
