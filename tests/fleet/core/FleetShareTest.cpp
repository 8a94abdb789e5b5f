#include "FleetShare.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(FleetShare, EachMeterBelongsToOneShare) {
    constexpr int64_t count = 5;
    std::vector<int> meters(count);
    for (int serial = 20260000; serial < 20261000; ++serial) {
        int owners = 0;
        for (int64_t share = 1; share <= count; ++share) {
            const bool has = FleetShare_has(share, count, std::to_string(serial));
            owners += has ? 1 : 0;
            meters[static_cast<size_t>(share - 1)] += has ? 1 : 0;
        }
        EXPECT_EQ(1, owners);
    }
    for (const int number : meters) {
        EXPECT_NEAR(200, number, 60);
    }
}

TEST(FleetShare, StaysTheSameForEver) {
    EXPECT_TRUE(FleetShare_has(1, 1, "20260001"));
    EXPECT_TRUE(FleetShare_has(3, 5, "20260001"));
    EXPECT_TRUE(FleetShare_has(1, 5, "20260002"));
}

} // namespace
