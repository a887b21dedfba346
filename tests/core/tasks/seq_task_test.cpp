#include "core/tasks/seq_task.hpp"

#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace ferrow {
namespace {

TEST(SeqTask, EmptyRaisesBadFunctionCallAndHasAnEmptyLabel) {
    seqTask task;
    EXPECT_STREQ(task.label(), "");
    EXPECT_THROW(task(), std::bad_function_call);
}

TEST(SeqTask, MoveLeavesTheSourceEmpty) {
    int calls = 0;
    seqTask task("x", [&calls] { ++calls; });
    seqTask moved(std::move(task));
    moved();
    EXPECT_EQ(calls, 1);
    EXPECT_STREQ(moved.label(), "x");
    EXPECT_STREQ(task.label(), ""); // NOLINT(bugprone-use-after-move)
    EXPECT_THROW(task(), std::bad_function_call);
}

TEST(SeqTask, CopiesAndDestroysItsCaptures) {
    auto held = std::make_shared<int>(3);
    {
        seqTask task("x", [held] {});
        EXPECT_EQ(held.use_count(), 2);
        seqTask copy(task);
        EXPECT_EQ(held.use_count(), 3);
        seqTask assigned;
        assigned = copy;
        EXPECT_EQ(held.use_count(), 4);
        assigned = seqTask();
        EXPECT_EQ(held.use_count(), 3);
    }
    EXPECT_EQ(held.use_count(), 1);
}

TEST(SeqTask, Holds256BytesInline) {
    std::array<char, 256> captures{};
    captures[255] = 7;
    char seen = 0;
    static char* out;
    out = &seen;
    seqTask task("big", [captures] { *out = captures[255]; });
    seqTask moved(std::move(task));
    moved();
    EXPECT_EQ(seen, 7);
    EXPECT_EQ(seqTask::kStorage, 256u);
}

// Plain captures of every size are moved whole, and nothing but themselves.
template <std::size_t Size>
void movesAll() {
    std::array<unsigned char, Size> captures;
    for (std::size_t i = 0; i < Size; ++i)
        captures[i] = static_cast<unsigned char>(i + 1);
    static std::array<unsigned char, Size> seen;
    seqTask task("plain", [captures] { seen = captures; });
    seqTask moved(std::move(task)), assigned("other", [] { seen = {}; });
    assigned = std::move(moved);
    assigned();
    EXPECT_EQ(seen, captures) << Size;
}

TEST(SeqTask, MovesPlainCapturesOfEverySize) {
    movesAll<1>();
    movesAll<15>();
    movesAll<16>();
    movesAll<17>();
    movesAll<32>();
    movesAll<33>();
    movesAll<48>();
    movesAll<49>();
    movesAll<256>();
}

// Small, but with a destructor of its own.
TEST(SeqTask, DropsACaptureOnceHoweverOftenItWasMoved) {
    auto held = std::make_shared<int>(3);
    seqTask first("x", [held] {});
    seqTask second(std::move(first));
    first = std::move(second);
    EXPECT_EQ(held.use_count(), 2);
    first = seqTask("y", [] {});
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace
} // namespace ferrow
