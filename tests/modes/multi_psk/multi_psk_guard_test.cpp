// A block that goes to the client asks for no memory, takes no lock, and calls the system once at most.
#include "tests/guard/sample_path_guard.hpp"
#include "tests/modes/multi_psk/link_client.hpp"

#include <vector>

namespace ferrow {
namespace {

class MultiPskGuard : public test::LinkTest {};

// The guard counts the first system call, which wakes the link, and does not make it: the packets stay.
TEST_F(MultiPskGuard, AStreamedBlockAsksForNothing) {
    constexpr int kBlocks = 50;
    use();
    const auto client = stream();
    const test::Samples block(512, {1e-4f, 1e-4f});
    for (int i = 0; i < 10; ++i) { // makes this thread's place in the queue
        receive(block);
        ASSERT_EQ(client->packet().size(), 2060u);
    }
    {
        std::vector<buff<char>> filled; // the pool
        for (int i = 0; i < kBlocks + 10; ++i)
            filled.emplace_back(2064);
    }
    test::guardBegin();
    for (int i = 0; i < kBlocks; ++i)
        receive(block);
    const test::GuardCounts counts = test::guardEnd();
    EXPECT_EQ(counts.heapCalls, 0);
    EXPECT_EQ(counts.locks, 0);
    EXPECT_EQ(counts.systemCalls, counts.systemCallsSeen ? 1 : 0);
}

} // namespace
} // namespace ferrow
