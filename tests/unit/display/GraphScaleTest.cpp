#include "GraphScale.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(GraphScale, TwelveTimeScalesFromAMinuteToADay) {
    struct {
        uint32_t maxSeconds;
        uint32_t scale;
        const char* unit;
    } const rows[] = {{60, 1, "seconds"},       {120, 1, "seconds"},      {240, 1, "seconds"},
                      {480, 1, "seconds"},      {900, 60, "minutes"},     {1800, 60, "minutes"},
                      {3600, 60, "minutes"},    {7200, 60, "minutes"},    {14400, 60, "minutes"},
                      {28800, 3600, " hours "}, {57600, 3600, " hours "}, {86400, 3600, " hours "}};
    ASSERT_EQ(std::size(rows), scalesX.size());
    for (size_t i = 0; i < scalesX.size(); ++i) {
        EXPECT_EQ(scalesX[i].maxSeconds, rows[i].maxSeconds);
        EXPECT_EQ(scalesX[i].scale, rows[i].scale);
        EXPECT_STREQ(scalesX[i].unit, rows[i].unit);
    }
}

TEST(GraphScale, AnInvalidatedChartChoosesTheFirstScaleWithATenthToSpare) {
    for (uint32_t i = 0; i + 1 < graphScaleCount; ++i) {
        const uint32_t limit = scalesX[i].maxSeconds + scalesX[i].maxSeconds / 10 - 1;
        EXPECT_EQ(GraphScale_forPoints(limit - 1), i);
        EXPECT_EQ(GraphScale_forPoints(limit), i + 1);
    }
    EXPECT_EQ(GraphScale_forPoints(0), 0U);
    EXPECT_EQ(GraphScale_forPoints(59), 0U);
    EXPECT_EQ(GraphScale_forPoints(65), 1U);
    EXPECT_EQ(GraphScale_forPoints(86400), 11U);
    EXPECT_EQ(GraphScale_forPoints(0xFFFFFFFF), 11U);
}

TEST(GraphScale, TheAxisExpandsWhenTheNewestPointLiesBeyondIt) {
    for (uint32_t i = 0; i + 1 < graphScaleCount; ++i) {
        EXPECT_EQ(GraphScale_expand(i, scalesX[i].maxSeconds + 1), i);
        EXPECT_EQ(GraphScale_expand(i, scalesX[i].maxSeconds + 2), i + 1);
    }
    EXPECT_EQ(GraphScale_expand(0, 61), 0U);
    EXPECT_EQ(GraphScale_expand(0, 62), 1U);
    EXPECT_EQ(GraphScale_expand(0, 50000), 10U) << "a chart that was hidden catches up at once";
    EXPECT_EQ(GraphScale_expand(11, 1000000), 11U);
    EXPECT_EQ(GraphScale_expand(99, 1), 11U);
}

TEST(GraphScale, LimitsFitTheDataInStepsOfFiveWattsOrOneDecibel) {
    struct {
        double min;
        double max;
        bool isdBm;
        double expectedMin;
        double expectedMax;
    } const cases[] = {
        {0.2, 0.3, false, 0.0, 2.5},        // both lowered, the minimum raised to the floor
        {2.0, 8.0, false, 0.0, 10.0},       // 1.85 to 8.15
        {100.0, 200.0, false, 95.0, 205.0}, // 97.5 to 202.5
        {14.8, 14.9, false, 12.5, 17.5},    // 15 lies close above: raised
        {10.1, 10.2, false, 7.5, 12.5},     // 10 lies close below: lowered
        {0.0, 0.0, false, 0.0, 2.5},
        {-20.5, 12.3, true, -22.0, 14.0}, // -21.32 to 13.12
        {3.02, 3.05, true, 2.5, 3.5},     // 3 lies close below: lowered
        {-60.0, -60.0, true, -60.0, -59.5},
        {25.0, 25.0, false, 22.5, 27.5}, // unchanging data stays in the middle
        {25.1, 25.1, false, 22.5, 27.5},
        {10.5, 10.5, false, 7.5, 12.5}, // a tenth of a step is close, and no more
        {10.6, 10.6, false, 10.0, 15.0},
        {14.5, 14.5, false, 12.5, 17.5},
        {14.4, 14.4, false, 10.0, 15.0},
        {20.0, 2.0, false, 5.0, 20.0},      // the wrong way round: 20.45 to 1.55
        {-70.0, -70.0, true, -60.0, -59.0}, // below the floor
        {-63.0, -60.2, true, -60.0, -59.0}, // up to the floor: no axis without height
    };
    for (const auto& test : cases) {
        const std::optional<GraphLimits> limits = GraphScale_fit(test.min, test.max, test.isdBm);
        ASSERT_TRUE(limits);
        EXPECT_NEAR(limits->min, test.expectedMin, 1e-9) << test.min << ".." << test.max;
        EXPECT_NEAR(limits->max, test.expectedMax, 1e-9) << test.min << ".." << test.max;
    }
}

TEST(GraphScale, DataThatIsNoNumberFitsNothing) {
    for (const double value : {static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
        EXPECT_FALSE(GraphScale_fit(value, 1.0, false));
        EXPECT_FALSE(GraphScale_fit(1.0, value, true));
    }
}
