// The settings window and the dialogs of the top line, while the meter measures behind them.

#include "MeterTest.h"

using testing::HasSubstr;

namespace {

constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

using MeterMenus = MeterTest;

} // namespace

TEST_F(MeterMenus, SettingsAreStoredAndFollowedWhileTheyAreOpen) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    ASSERT_TRUE(Bench_tap(bench, "single.configButton"));
    ASSERT_TRUE(becomesVisible("appSettings", true));
    ASSERT_TRUE(Bench_tap(bench, "checkBoxReflected"));
    EXPECT_TRUE(becomesVisible("single.rfl.value", false));
    EXPECT_THAT(Bench_readFile(bench, settingsFile), HasSubstr("displayReflectedPower 0\n"));
    ASSERT_TRUE(Bench_tap(bench, "checkBoxGraph"));
    EXPECT_TRUE(becomesVisible("singleGraph.fwd.value", true));
    ASSERT_TRUE(Bench_tap(bench, "checkBoxGraph"));
    EXPECT_TRUE(becomesVisible("single.fwd.value", true));
    EXPECT_TRUE(measures("serial1", "single.fwd.value"));
    ASSERT_TRUE(Bench_tap(bench, "appSettingsClose"));
    EXPECT_TRUE(becomesVisible("checkBoxForward", false));
}

TEST_F(MeterMenus, ReadingsGoOnBehindEveryDialog) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    struct Case {
        const char* button;
        const char* closer;
    };
    for (const Case& row : {Case{"single.sensorButton", "sensorInfoDialog_ok"},
                            Case{"ethernetButton", "ethInfoDialog_ok"},
                            Case{"serialButton", "serSettingsDialog_cancel"},
                            Case{"aboutButton", "aboutDialog_ok"}}) {
        ASSERT_TRUE(Bench_tap(bench, row.button)) << row.button;
        ASSERT_TRUE(becomesVisible(row.closer, true));
        EXPECT_TRUE(measures("serial1", "single.fwd.value")) << row.button;
        ASSERT_TRUE(Bench_tap(bench, row.closer)) << row.closer;
    }
}
