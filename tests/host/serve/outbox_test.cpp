// What waits for a slow listener, and how much he may send.
#include "host/serve/outbox.hpp"
#include "host/serve/token_bucket.hpp"

#include <gtest/gtest.h>

using namespace ferrow::serve;
using namespace std::chrono_literals;

namespace {

OutgoingFrame frame(bool audio, std::uint8_t mark) {
    return {audio, std::make_shared<const Bytes>(1, mark)};
}

} // namespace

TEST(Outbox, KeepsTheOrder) {
    Outbox box;
    EXPECT_TRUE(box.empty());
    box.add("a");
    box.add(frame(true, 1));
    box.add(frame(false, 2));
    box.add("b");
    EXPECT_EQ(box.take().text, "a");
    EXPECT_EQ(box.take().frame.bytes->front(), 1);
    EXPECT_EQ(box.take().frame.bytes->front(), 2);
    EXPECT_EQ(box.take().text, "b");
    EXPECT_TRUE(box.empty());
}

TEST(Outbox, DropsTheOldestFramesOfTheKind) {
    Outbox box({3, 2, 1000});
    box.add("text");
    std::size_t dropped = 0;
    for (std::uint8_t i = 0; i < 10; ++i)
        dropped += box.add(frame(true, i));
    for (std::uint8_t i = 0; i < 10; ++i)
        dropped += box.add(frame(false, static_cast<std::uint8_t>(100 + i)));
    EXPECT_EQ(dropped, 7U + 8U);
    EXPECT_EQ(box.take().text, "text") << "texts stay";
    for (const int expected : {7, 8, 9, 108, 109})
        EXPECT_EQ(box.take().frame.bytes->front(), expected);
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(box.add(frame(true, 1)), 0U) << "room again";
}

TEST(Outbox, TextsOverflow) {
    Outbox box({1, 1, 100});
    EXPECT_TRUE(box.add(std::string(60, 'x')));
    EXPECT_TRUE(box.add(std::string(40, 'x')));
    EXPECT_FALSE(box.add("x"));
    box.take();
    EXPECT_TRUE(box.add("x")) << "what has been taken does not count";
}

TEST(TokenBucket, GivesABurstAndThenItsRate) {
    const auto start = TokenBucket::Clock::time_point{} + 1h;
    TokenBucket bucket(200, 400, start);
    int passed = 0;
    for (int i = 0; i < 1000; ++i)
        passed += bucket.take(start);
    EXPECT_EQ(passed, 400);
    for (int i = 0; i < 1000; ++i)
        passed += bucket.take(start + i * 1ms);
    EXPECT_NEAR(passed, 600, 2);
    EXPECT_TRUE(bucket.take(start + 10s));
}
