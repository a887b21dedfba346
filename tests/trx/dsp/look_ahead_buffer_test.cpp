#include "trx/dsp/look_ahead_buffer.hpp"

#include "reference.hpp"

#include <gtest/gtest.h>

using namespace ferrow;
using namespace ferrow::test;

TEST(LookAheadBuffer, LengthIs4Point8RoundedUpAndMadeEven) {
    const lookAheadBuffer limiter;
    EXPECT_EQ(limiter.length, 6);
    EXPECT_EQ(limiter.data.size(), 518u);
    EXPECT_EQ(limiter.all.data(), limiter.data.data());
    EXPECT_EQ(limiter.newest.data(), limiter.data.data() + 6);
    EXPECT_EQ(limiter.newest.size(), 512u);
}

TEST(LookAheadBuffer, LimitsPeaksByTwiceTheirExcessWithinTheWindow) {
    lookAheadBuffer limiter;
    auto x = noise(2048, 4);
    const buff<cf> out(512);
    for (size_t block = 0; block < 4; ++block) {
        limiter.push(toBuff({x.begin() + long(block * 512), x.begin() + long(block * 512) + 512}));
        limiter.limit(0.94f, out);
        for (long i = 0; i < 512; ++i) {
            const long first = long(block) * 512 + i - 6;
            double peak = 0;
            for (long k = std::max(first, 0l); k < first + 6; ++k)
                peak = std::max(peak, std::abs(cd(x[size_t(k)])));
            const double s = peak <= 1 ? 1 : 2 * (peak - 1) + 1;
            const cd middle = first + 3 >= 0 ? cd(x[size_t(first + 3)]) : 0;
            ASSERT_LT(std::abs(cd(out[size_t(i)]) - 0.94 * middle / s), 1e-6);
        }
    }
}
