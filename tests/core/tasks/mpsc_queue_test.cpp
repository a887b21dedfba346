#include "core/tasks/mpsc_queue.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace ferrow {
namespace {

TEST(MpscQueue, HoldsOneLessThanItsLength) {
    mpscQueue<int, 5> queue;
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(queue.push(int{i}));
    EXPECT_FALSE(queue.push(4));
    int value = -1;
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(queue.take(value));
        EXPECT_EQ(value, i);
    }
    EXPECT_FALSE(queue.take(value));
}

TEST(MpscQueue, ThirtyTwoThreadsSucceedAndTheThirtyThirdIsRefused) {
    const test::Runtime runtime;
    mpscQueue<int, 9> queue;
    std::atomic<bool> leave{false};
    std::atomic<int> ready{0};
    std::atomic<int> round{0};
    std::vector<std::thread> threads;
    std::atomic<int> accepted{0};
    for (int i = 0; i < 32; ++i)
        threads.emplace_back([&, i] {
            if (queue.push(int{i}))
                ++accepted;
            ++ready;
            if (i < 16) // half of them end
                return;
            while (!leave)
                if (round == 1) {
                    if (queue.push(100 + i))
                        ++accepted;
                    break;
                }
        });
    ASSERT_TRUE(test::waitFor([&] { return ready == 32; }));
    EXPECT_EQ(accepted, 32);
    bool late = true;
    std::thread([&] { late = queue.push(99); }).join();
    EXPECT_FALSE(late);
    EXPECT_TRUE(runtime.logged("Too many threads accessing mpsc queue"));
    int value = 0, count = 0;
    while (queue.take(value))
        ++count;
    EXPECT_EQ(count, 32);
    round = 1;
    ASSERT_TRUE(test::waitFor([&] { return accepted == 48; }));
    leave = true;
    for (auto& thread : threads)
        thread.join();
    count = 0;
    while (queue.take(value)) {
        EXPECT_GE(value, 100);
        ++count;
    }
    EXPECT_EQ(count, 16);
    std::thread([&] { late = queue.push(99); }).join();
    EXPECT_FALSE(late) << "a ring is never given back";
}

TEST(MpscQueue, AlternatingProducersComeOutInTicketOrder) {
    mpscQueue<int, 101> queue;
    std::atomic<int> turn{0};
    const auto producer = [&](int mine) {
        for (int n = mine; n < 100; n += 2) {
            while (turn != n)
                std::this_thread::yield();
            queue.push(int{n});
            turn = n + 1;
        }
    };
    std::thread first(producer, 0), second(producer, 1);
    first.join();
    second.join();
    int value = 0;
    for (int n = 0; n < 100; ++n) {
        ASSERT_TRUE(queue.take(value));
        EXPECT_EQ(value, n);
    }
}

TEST(MpscQueue, KeepsOrderPerThreadUnderLoad) {
    mpscQueue<std::pair<int, int>, 1025> queue;
    constexpr int kEach = 20000;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&queue, t] {
            for (int n = 0; n < kEach;)
                if (queue.push({t, n}))
                    ++n;
                else
                    std::this_thread::yield();
        });
    std::vector<int> next(4, 0);
    std::pair<int, int> value;
    for (int taken = 0; taken < 4 * kEach;)
        if (queue.take(value)) {
            ASSERT_EQ(value.second, next[static_cast<std::size_t>(value.first)]++);
            ++taken;
        }
    for (auto& thread : threads)
        thread.join();
}

TEST(MpscQueue, DestroysWhatWasNotTaken) {
    auto held = std::make_shared<int>(1);
    {
        mpscQueue<std::shared_ptr<int>, 9> queue;
        queue.push(std::shared_ptr<int>(held));
        queue.push(std::shared_ptr<int>(held));
        EXPECT_EQ(held.use_count(), 3);
    }
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace
} // namespace ferrow
