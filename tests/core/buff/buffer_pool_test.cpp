#include "core/buff/aligned_memory.hpp"
#include "core/buff/buff.hpp"
#include "core/buff/buffer_pool.hpp"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace ferrow;

namespace {

bool onBoundary(const void* p) {
    return reinterpret_cast<uintptr_t>(p) % 64 == 0;
}

// The block's class, found from outside: the one whose count of raw blocks rises while many buffers of one
// size live, more of them at each call, so that idle ones of earlier calls do not suffice.
int classUsedBy(size_t bytes) {
    static int count = 100;
    count += 100;
    auto& pool = bufferPool::instance();
    std::vector<uint64_t> before(bufferPool::kClasses);
    for (int k = 0; k < bufferPool::kClasses; ++k)
        before[static_cast<size_t>(k)] = pool.rawAllocations(k);
    std::vector<buff<char>> held;
    for (int i = 0; i < count; ++i)
        held.emplace_back(bytes);
    int found = -1;
    for (int k = 0; k < bufferPool::kClasses; ++k)
        if (pool.rawAllocations(k) != before[static_cast<size_t>(k)]) {
            EXPECT_EQ(found, -1);
            found = k;
        }
    return found;
}

} // namespace

TEST(BufferPool, OneTo32BytesComeFromClass6And33To40FromClass3) {
    EXPECT_EQ(classUsedBy(1), 6);
    EXPECT_EQ(classUsedBy(40), 3);
    for (size_t n = 1; n <= 32; ++n)
        EXPECT_EQ(bufferPool::classOf(8 * ((n + 39) / 8)), 6) << n;
    for (size_t n = 33; n <= 40; ++n)
        EXPECT_EQ(bufferPool::classOf(8 * ((n + 39) / 8)), 3) << n;
    EXPECT_EQ(bufferPool::rawBytes(3), 80u);
    EXPECT_EQ(bufferPool::rawBytes(4), 80u);
    EXPECT_EQ(bufferPool::rawBytes(13), 8192u + 64u);
}

TEST(BufferPool, TotalOf64Plus2ToTheKFitsClassKWithNoSlack) {
    for (int k = 4; k < 28; ++k) {
        const size_t total = 64 + (size_t{1} << k);
        EXPECT_EQ(bufferPool::classOf(total), k);
        EXPECT_EQ(bufferPool::rawBytes(k), total);
        EXPECT_EQ(bufferPool::classOf(total + 8), k + 1);
    }
    // 4096 bytes of samples have a total of 4128 = 64 + 4064 and stay in class 12.
    EXPECT_EQ(classUsedBy(4096), 12);
    EXPECT_EQ(classUsedBy(4096 + 32), 12);
    EXPECT_EQ(classUsedBy(4096 + 33), 13);
}

TEST(BufferPool, EveryTotalIsCoveredByItsRawBlock) {
    for (size_t n = 1; n < 100000; n += n < 2000 ? 1 : 97) {
        const size_t total = 8 * ((n + 39) / 8);
        EXPECT_GE(bufferPool::rawBytes(bufferPool::classOf(total)), total);
    }
}

TEST(BufferPool, ReleaseWithAll32NodesGoneMakesANewNode) {
    auto& pool = bufferPool::instance();
    const size_t bytes = 12000; // class 14
    const uint64_t before = pool.nodeAllocations(14);
    {
        std::vector<buff<char>> held;
        for (int i = 0; i < 100; ++i)
            held.emplace_back(bytes);
    }
    EXPECT_EQ(pool.nodeAllocations(14) - before, 68u);
    const uint64_t raw = pool.rawAllocations(14);
    {
        std::vector<buff<char>> held;
        for (int i = 0; i < 100; ++i)
            held.emplace_back(bytes);
    }
    EXPECT_EQ(pool.nodeAllocations(14) - before, 68u);
    EXPECT_EQ(pool.rawAllocations(14), raw) << "repeating sizes are served without the heap";
}

// What a thread keeps for itself goes back when it ends.
TEST(BufferPool, AThreadLeavesNoBlockBehind) {
    auto& pool = bufferPool::instance();
    constexpr int kAlive = 50;
    const size_t bytes = 3000; // class 12
    const auto use = [&] {
        std::vector<buff<char>> held;
        for (int i = 0; i < kAlive; ++i)
            held.emplace_back(bytes);
    };
    std::thread(use).join();
    const uint64_t raw = pool.rawAllocations(12);
    for (int i = 0; i < 20; ++i)
        std::thread(use).join();
    EXPECT_EQ(pool.rawAllocations(12), raw);
}

// A thread that only releases and one that only allocates need no more blocks than are in use, but for the
// magazines of the two.
TEST(BufferPool, BlocksThatOneThreadAllocatesAndAnotherReleasesComeRound) {
    auto& pool = bufferPool::instance();
    constexpr size_t kRing = 16, kBytes = 1500; // class 11
    const uint64_t before = pool.rawAllocations(11);
    std::array<std::atomic<buff<int>*>, kRing> ring{};
    std::atomic<int> wrong{0};
    constexpr int kRounds = 50000;
    std::thread releaser([&] {
        for (int i = 0; i < kRounds; ++i) {
            buff<int>* got;
            while ((got = ring[static_cast<size_t>(i) % kRing].exchange(nullptr)) == nullptr)
                std::this_thread::yield();
            wrong += (*got)[0] != i || (*got)[kBytes / sizeof(int) - 1] != i;
            delete got;
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        auto* sent = new buff<int>(kBytes / sizeof(int));
        (*sent)[0] = (*sent)[kBytes / sizeof(int) - 1] = i;
        auto& slot = ring[static_cast<size_t>(i) % kRing];
        while (slot.load() != nullptr)
            std::this_thread::yield();
        slot.store(sent);
    }
    releaser.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_LE(pool.rawAllocations(11) - before, kRing + 2 + 2 * bufferPool::kMagazine);
}

TEST(BufferPool, PayloadStarts32BytesPastA64ByteBoundary) {
    for (size_t n : {1u, 7u, 32u, 33u, 40u, 41u, 512u, 4096u, 65536u, 1000003u}) {
        const buff<char> b(n);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(b.data()) % 64, 32u) << n;
        std::memset(b.data(), 1, n);
    }
}

TEST(BufferPool, RequestBeyond31BitsIsRefused) {
    EXPECT_THROW(buff<char>(size_t{1} << 31), std::bad_alloc);
    EXPECT_THROW(buff<double>(static_cast<size_t>(-1)), std::bad_alloc);
}

TEST(BufferPool, ThreadsShareTheStacksWithoutLosingABlock) {
    constexpr int kThreads = 4, kRounds = 20000;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t, &wrong] {
            std::vector<buff<int>> held(8);
            for (int i = 0; i < kRounds; ++i) {
                auto& slot = held[static_cast<size_t>(i * 7 % 8)];
                if (!slot.empty() && (slot[0] != slot[99] || slot[0] / kRounds != t))
                    ++wrong;
                slot = buff<int>(100);
                slot[0] = slot[99] = t * kRounds + i % kRounds;
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(BufferPool, BlocksHandedBetweenThreadsAreSeenWhole) {
    std::atomic<buff<int>*> box{nullptr};
    std::atomic<bool> done{false};
    int wrong = 0;
    std::thread reader([&] {
        while (!done || box.load()) {
            buff<int>* got = box.exchange(nullptr);
            if (!got) {
                std::this_thread::yield();
                continue;
            }
            for (int v : *got)
                wrong += v != (*got)[0];
            delete got;
        }
    });
    for (int i = 0; i < 5000; ++i) {
        auto* sent = new buff<int>(64, i);
        buff<int>* expected = nullptr;
        while (!box.compare_exchange_weak(expected, sent)) {
            expected = nullptr;
            std::this_thread::yield();
        }
    }
    done = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
}

TEST(AlignedMemory, HostRequestOf15BytesIsNullAndOf16OnABoundary) {
    EXPECT_EQ(alignedAllocateUnits(15), nullptr);
    EXPECT_EQ(alignedAllocateUnits(0), nullptr);
    EXPECT_EQ(alignedAllocateUnits(-1), nullptr);
    EXPECT_EQ(alignedAllocateUnits(-1000), nullptr);
    void* block = alignedAllocateUnits(16);
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(onBoundary(block));
    std::memset(block, 7, 16);
    alignedFree(block);
    alignedFree(nullptr);
}

TEST(AlignedMemory, SizesBelow1OrTooLargeForA31BitCountAreRefused) {
    EXPECT_EQ(alignedAllocate(0), nullptr);
    EXPECT_EQ(alignedAllocate(static_cast<size_t>(INT32_MAX) - 71), nullptr);
    EXPECT_EQ(alignedAllocate(static_cast<size_t>(-1)), nullptr);
    for (size_t n : {1u, 15u, 64u, 1000u}) {
        void* block = alignedAllocate(n);
        EXPECT_TRUE(onBoundary(block));
        std::memset(block, 7, n);
        alignedFree(block);
    }
}
