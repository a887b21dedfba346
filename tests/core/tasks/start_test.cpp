// What the exported start-up adds to the runtime's.

#include "core/fft/fft.hpp"
#include "tests/support/runtime.hpp"

#include <ferrowcore/runtime.h>

#include <atomic>

namespace ferrow {
namespace {

TEST(Start, WorkersHaveTheirTransformPlansBeforeTheirFirstTask) {
    const auto log =
        std::filesystem::temp_directory_path() / ("ferrow-start-" + std::to_string(getpid()) + ".log");
    init(log.c_str(), 0);
    std::atomic<int> plans{-1};
    std::make_shared<asyncObject>(rootSyncTask)->queueSeqItem(seqTask("look", [&] {
        plans = static_cast<int>(fft::cachedPlans());
    }));
    EXPECT_TRUE(test::waitFor([&] { return plans >= 0; }));
    EXPECT_GT(plans, 0);
    std::filesystem::remove(log);
}

} // namespace
} // namespace ferrow
