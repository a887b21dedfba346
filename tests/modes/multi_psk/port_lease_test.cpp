#include "modes/multi_psk/port_lease.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <optional>

namespace ferrow {
namespace {

TEST(PortLease, TakesTheNextFreePort) {
    std::optional<PortLease> first(40001);
    const PortLease second(40001), third(40001);
    EXPECT_EQ(first->port(), 40001);
    EXPECT_EQ(second.port(), 40002);
    EXPECT_EQ(third.port(), 40003);
    first.reset();
    EXPECT_EQ(PortLease(40001).port(), 40001);
    EXPECT_EQ(PortLease(40002).port(), 40004);
}

TEST(PortLease, IsGivenBackByAnotherOne) {
    PortLease lease(40001);
    lease = PortLease(40010);
    EXPECT_EQ(lease.port(), 40010);
    EXPECT_EQ(PortLease(40001).port(), 40001);
    const PortLease taken(std::move(lease));
    EXPECT_EQ(taken.port(), 40010);
    EXPECT_EQ(PortLease(40010).port(), 40011);
}

TEST(PortLease, LiesWithinTheRange) {
    for (const int bad : {0, -1, INT_MIN, 65536, INT_MAX})
        EXPECT_EQ(PortLease(bad).port(), 0) << bad;
    const PortLease last(65535);
    EXPECT_EQ(last.port(), 65535);
    EXPECT_EQ(PortLease(65535).port(), 0);
}

} // namespace
} // namespace ferrow
