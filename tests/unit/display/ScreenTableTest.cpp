#include "ScreenTable.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace {

TEST(ScreenTable, StandsInTheOrderOfItsContainersAndNamesEachOnce) {
    std::set<std::string> names;
    for (uint32_t i = 0; i < screenContainerCount; ++i) {
        EXPECT_EQ(screenContainers[i].container, static_cast<ScreenContainer>(i));
        names.insert(screenContainers[i].name);
    }
    EXPECT_EQ(names.size(), screenContainerCount);
}

TEST(ScreenTable, HasEachUseOnceForTheFullScreenAndOnceForTheHalves) {
    std::map<ScreenUse, int> full;
    std::map<ScreenUse, int> half;
    for (const ScreenContainerRow& row : screenContainers) {
        ++(row.full ? full : half)[row.use];
        EXPECT_EQ(&ScreenTable_row(row.use, row.full), &row) << row.name;
    }
    EXPECT_EQ(full, half);
    for (const auto& [use, count] : full) {
        EXPECT_EQ(count, 1) << static_cast<uint32_t>(use);
    }
}

TEST(ScreenTable, PutsEveryScreenIntoOneContainer) {
    for (uint32_t i = 0; i < gtkSensorInstanceCount; ++i) {
        const auto screen = static_cast<GtkSensorInstance>(i);
        int found = 0;
        for (const ScreenContainerRow& row : screenContainers) {
            found += row.screens[UpperDisplay] == screen || row.screens[LowerDisplay] == screen;
        }
        EXPECT_EQ(found, 1) << i;
    }
    EXPECT_EQ(ScreenTable_rowOfScreen(gtkSensorInstanceCount), nullptr);
}

TEST(ScreenTable, SharesTheFullScreensAndGivesEachDisplayAHalfOfItsOwn) {
    for (const ScreenContainerRow& row : screenContainers) {
        if (row.screens[UpperDisplay] != gtkSensorInstanceCount) {
            EXPECT_EQ(row.screens[UpperDisplay] == row.screens[LowerDisplay], row.full) << row.name;
        }
    }
}

TEST(ScreenTable, FindsTheContainerOfAScreen) {
    EXPECT_STREQ(ScreenTable_rowOfScreen(gtkSensorSinglePulse)->name, "singleChannelPulseScreen");
    EXPECT_STREQ(ScreenTable_rowOfScreen(gtkSensorDualChannel2withGraph)->name,
                 "dualCWChannelsGraph");
    EXPECT_STREQ(ScreenTable_rowOfScreen(gtkSensorDualNoConnectionCh1)->name,
                 "dualNoConnectionScreens");
}

} // namespace
