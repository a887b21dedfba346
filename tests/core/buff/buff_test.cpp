#include "core/buff/buff.hpp"

#include <complex>
#include <gtest/gtest.h>
#include <numeric>

using namespace ferrow;

namespace {

buff<int> counting(size_t n) {
    buff<int> b(n);
    std::iota(b.begin(), b.end(), 0);
    return b;
}

} // namespace

TEST(Buff, EmptyBufferHasNullDataAndSizeZero) {
    const buff<float> none, zero(0), filled(0, 1.0f);
    for (const auto& b : {none, zero, filled}) {
        EXPECT_EQ(b.data(), nullptr);
        EXPECT_EQ(b.size(), 0u);
        EXPECT_TRUE(b.empty());
        EXPECT_EQ(b.useCount(), 0);
    }
}

TEST(Buff, ControlBlockIs32Bytes) {
    using state = boost::detail::sp_array_state<boost::noinit_adaptor<pooled_allocator<unsigned char>>>;
    EXPECT_EQ(sizeof(boost::detail::sp_array_base<state>), kBuffHeader);
}

TEST(Buff, FilledConstructorSetsEveryElement) {
    const buff<std::complex<float>> b(1001, {1, -2});
    for (auto z : b)
        EXPECT_EQ(z, std::complex<float>(1, -2));
}

TEST(Buff, CopiesShareTheBlock) {
    buff<int> a = counting(10);
    buff<int> b = a;
    b[3] = 77;
    EXPECT_EQ(a[3], 77);
    EXPECT_EQ(a.useCount(), 2);
    a = buff<int>();
    EXPECT_EQ(b.useCount(), 1);
    EXPECT_EQ(b[3], 77);
}

TEST(Buff, SliceSharesAndKeepsTheWholeBlockAlive) {
    buff<int> part;
    {
        const buff<int> whole = counting(100);
        part = whole.slice(40, 20).slice(5, 3);
        whole[46] = -1;
    }
    EXPECT_EQ(part.size(), 3u);
    EXPECT_EQ(part[0], 45);
    EXPECT_EQ(part[1], -1);
    EXPECT_EQ(part.useCount(), 1);
}

TEST(Buff, SliceAtTheVeryEndIsAnEmptyViewOnTheBlock) {
    const buff<int> a = counting(8);
    testing::internal::CaptureStderr();
    const buff<int> end = a.slice(8, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(end.size(), 0u);
    EXPECT_EQ(end.data(), a.data() + 8);
    EXPECT_EQ(a.useCount(), 2);
}

TEST(Buff, SliceOutOfRangeIsReportedAndUnusable) {
    const buff<short> a(8);
    testing::internal::CaptureStderr();
    const buff<short> bad = a.slice(5, 4);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), " buff slice error 5  4  8 2");
    EXPECT_EQ(bad.data(), nullptr);
    EXPECT_EQ(bad.size(), 4u);
    EXPECT_EQ(bad.useCount(), 0);
    bad.copy(a);
    a.slice(0, 4).copy(bad);
    testing::internal::CaptureStderr();
    EXPECT_EQ(a.slice(static_cast<size_t>(-1), 2).data(), nullptr) << "offset + count wraps";
    testing::internal::GetCapturedStderr();
}

TEST(Buff, CopyToASmallerBufferChangesNothing) {
    const buff<int> a = counting(5), small(3, 9), large(7, 9);
    testing::internal::CaptureStderr();
    a.copy(small);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), " buff copy error5 > 3");
    EXPECT_EQ(small[0], 9);
    EXPECT_EQ(small[2], 9);
    small[1] = 4;
    EXPECT_EQ(small[1], 4);
    a.copy(large);
    EXPECT_EQ(large[4], 4);
    EXPECT_EQ(large[5], 9);
}

TEST(Buff, CopyToTestsTheDestinationOnly) {
    const buff<int> a = counting(8), b(4, -1);
    a.copyTo(5, 3, b, 1);
    EXPECT_EQ(b[0], -1);
    EXPECT_EQ(b[1], 5);
    EXPECT_EQ(b[3], 7);
    testing::internal::CaptureStderr();
    a.copyTo(0, 3, b, 2);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "buff copyTo error ");
    EXPECT_EQ(b[2], 6);
}

TEST(Buff, OverlappingViewsAreMovedSafely) {
    const buff<int> a = counting(10);
    a.copyTo(0, 8, a, 2);
    for (int i = 2; i < 10; ++i)
        EXPECT_EQ(a[static_cast<size_t>(i)], i - 2);
    const buff<int> b = counting(10);
    b.slice(3, 7).copy(b);
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(b[static_cast<size_t>(i)], i + 3);
}
