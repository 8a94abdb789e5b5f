#include "MeterTest.h"
#include "WorldFolder.h"

namespace {

constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

/// The chart on the real meter. Its samples are a second apart, so time runs faster where a test
/// waits for them, and no faster where it looks at what the next samples will change.
class Graph : public MeterTest {
protected:
    void startWithGraph(const std::string& sensor) {
        const auto prepare = [](const std::string& world) {
            WorldFolder_remove(WorldFolder_path(world, settingsFile));
            WorldFolder_write(world, settingsFile,
                              "displayGraph 1\ngraphDisplayMinPower_ch1 0\n"
                              "graphDisplayMaxPower_ch1 100000\n");
        };
        start({.prepare = prepare});
        ASSERT_TRUE(Bench_do(bench, "plug serial1 " + sensor));
        ASSERT_TRUE(chooseChannel(1));
        ASSERT_TRUE(waitForReading("singleGraph.fwd.value"));
    }
    void tap(const std::string& name) {
        ASSERT_TRUE(Bench_tap(bench, name)) << name;
    }
    /// Types digits on the dialog's keypad.
    void type(const std::string& digits) {
        for (const char digit : digits) {
            tap(std::string("graphNumKeypadButton") + digit);
        }
    }
};

constexpr uint32_t aMinute_ms = 60000; // on the meter's clock: far more than it takes here
constexpr double faster = 4;

} // namespace

TEST_F(Graph, GrowsWithTheSamplesAndExpandsItsAxisAfterAMinute) {
    startWithGraph("5132 fwd=ramp:1:90:60s rfl=0.5");
    EXPECT_TRUE(shows("singleGraph.graph.xMax", "   60"));
    EXPECT_TRUE(shows("singleGraph.graph.time", "seconds"));
    EXPECT_TRUE(shows("singleGraph.graph.yMax", "100"));
    setSpeed(faster);
    EXPECT_TRUE(shows("singleGraph.graph.xMax", "  120", aMinute_ms));
    setSpeed(1);
    tap("singleGraph.graph.clear");
    EXPECT_TRUE(shows("singleGraph.graph.xMax", "   60"));
}

TEST_F(Graph, SettingsTypedOnTheKeypadReachTheFileAndTheAxis) {
    startWithGraph("5132 fwd=25 rfl=0.5");
    tap("singleGraph.graph.title");
    ASSERT_TRUE(becomesVisible("graphSettingsDialog", true));
    tap("graphSettingsRangeMax");
    type("250");
    tap("graphSettingsButton_apply");
    EXPECT_TRUE(becomesVisible("graphSettingsDialog", false));
    EXPECT_TRUE(shows("singleGraph.graph.yMax", "250"));
    EXPECT_TRUE(fileSays(settingsFile, "graphDisplayMaxPower_ch1 250000.000000\n"));
    EXPECT_TRUE(fileSays(settingsFile, "graphDisplayMinPower_ch1 0.000000\n"));
}

TEST_F(Graph, TheDialogOutlivesItsSensor) {
    startWithGraph("5132 fwd=25 rfl=0.5");
    tap("singleGraph.graph.title");
    ASSERT_TRUE(becomesVisible("graphSettingsDialog", true));
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    ASSERT_TRUE(shows("noConnection.title", "No Sensor Detected"));
    tap("graphSettingsButton_default");
    tap("graphSettingsButton_apply");
    EXPECT_TRUE(becomesVisible("graphSettingsDialog", false));
    ASSERT_TRUE(Bench_do(bench, "plug serial1 5132 fwd=25 rfl=0.5"));
    ASSERT_TRUE(chooseChannel(1));
    EXPECT_TRUE(waitForReading("singleGraph.fwd.value"));
    // The graph gets its first sample within a second; until then there is nothing to fit to.
    const auto fits = [&] {
        return Bench_tap(bench, "singleGraph.graph.auto") &&
               Bench_waitForText(bench, "singleGraph.graph.yMax", "27.5", 500);
    };
    EXPECT_TRUE(Bench_waitUntil(fits, screenLimit_ms));
}
