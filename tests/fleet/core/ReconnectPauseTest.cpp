#include "ReconnectPause.h"

#include <gtest/gtest.h>

#include <set>

namespace {

TEST(ReconnectPause, GrowsToAMinuteAndAHalfAtMost) {
    ReconnectPause pause = ReconnectPause_create(1);
    for (const int64_t mean_ms : {500, 1000, 2000, 4000, 8000, 16000, 32000, 60000, 60000}) {
        const int64_t pause_ms = ReconnectPause_next_ms(pause);
        EXPECT_GE(pause_ms, mean_ms / 2);
        EXPECT_LE(pause_ms, mean_ms + mean_ms / 2);
    }
}

TEST(ReconnectPause, BeginsAnewAfterSuccess) {
    ReconnectPause pause = ReconnectPause_create(7);
    for (int i = 0; i < 20; ++i) {
        ReconnectPause_next_ms(pause);
    }
    ReconnectPause_reset(pause);
    EXPECT_LE(ReconnectPause_next_ms(pause), 750);
}

TEST(ReconnectPause, ScattersMetersThatVanishedTogether) {
    std::set<int64_t> tenths;
    for (uint32_t seed = 0; seed < 1000; ++seed) {
        ReconnectPause pause = ReconnectPause_create(seed);
        tenths.insert(ReconnectPause_next_ms(pause) / 50);
    }
    EXPECT_EQ(11U, tenths.size() + (tenths.contains(15) ? 0 : 1));
}

} // namespace
