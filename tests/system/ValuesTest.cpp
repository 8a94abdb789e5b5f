#include "MeterTest.h"
#include "PowerRanges.h"
#include "WorldFolder.h"

namespace {

constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

/// Lays out a settings file; keys that are not in it have their defaults.
std::function<void(const std::string&)> settings(const std::string& lines) {
    return [lines](const std::string& world) {
        WorldFolder_remove(WorldFolder_path(world, settingsFile));
        std::string folder = WorldFolder_path(world, "/etc/QuorvelPowerMeterApp");
        WorldFolder_write(world, settingsFile, lines);
    };
}

/// Time runs faster: what matters is the numbers.
class Values : public MeterTest {
protected:
    void startWith(const std::string& sensor, const std::string& settingsLines = "") {
        start({.commands = {"clock speed 4"}, .prepare = settings(settingsLines)});
        plugFirst("serial1", sensor);
    }

    void set(const std::string& what) {
        ASSERT_TRUE(Bench_do(bench, "set serial1 " + what));
    }
};

std::string valueText(const RangeRow& row, double power_W) {
    char text[32];
    snprintf(text, sizeof text, row.format, power_W * row.multiplier);
    return text;
}

} // namespace

TEST_F(Values, EveryRangeIsEnteredAtItsThresholdsOnly) {
    startWith("5134 fwd=0.0001 rfl=0");
    const auto expectShown = [this](size_t row, double power_W) {
        char value[32];
        snprintf(value, sizeof value, "fwd=%.9g", power_W);
        set(value);
        EXPECT_TRUE(shows("single.fwd.value", valueText(powerRanges[row], power_W)))
            << power_W << " W";
        EXPECT_TRUE(shows("single.fwd.units", powerRanges[row].units)) << power_W << " W";
    };
    // The wire rounds: so much more or less is surely on the right side of a threshold.
    constexpr double above = 1.000001;
    constexpr double below = 0.999999;
    expectShown(0, 0.0001);
    const auto width = [this] { return Bench_widget(bench, "single.fwd.value")->width; };
    const int firstWidth = width();
    for (size_t row = 1; row < powerRanges.size(); ++row) {
        // Upwards a range is entered a little before its threshold, see auto_range.
        expectShown(row - 1, powerRanges[row].up * 0.9999 - 0.000006);
        expectShown(row, powerRanges[row].up * above);
        expectShown(row, powerRanges[row - 1].down * 1.0001);
        expectShown(row - 1, powerRanges[row - 1].down * below);
        expectShown(row, powerRanges[row].up * above);
        EXPECT_EQ(width(), firstWidth) << "range " << row;
    }
}

TEST_F(Values, AroundOneWattTheRangeHasItsHysteresis) {
    startWith("5132 fwd=0.5 rfl=0");
    const struct {
        const char* power;
        const char* text;
        const char* units;
    } cases[] = {
        {"1.1999", " 1199.9", "mW"}, {"1.2", " 1.2000", "W"},  {"1", " 1.0000", "W"},
        {"0.8001", " 0.8001", "W"},  {"0.8", "  800.0", "mW"}, {"1", " 1000.0", "mW"},
    };
    for (const auto& c : cases) {
        set(std::string("fwd=") + c.power);
        EXPECT_TRUE(shows("single.fwd.value", c.text)) << c.power;
        EXPECT_TRUE(shows("single.fwd.units", c.units)) << c.power;
    }
}

TEST_F(Values, MoreThanTheSensorCanMeasureIsMarked) {
    startWith("5133 fwd=119.9 rfl=0");
    EXPECT_TRUE(shows("single.fwd.value", " 119.90"));
    set("fwd=121");
    EXPECT_TRUE(shows("single.fwd.value", "  Range"));
    for (const char* name : {"single.fwd.value", "single.fwd.caption"}) {
        EXPECT_EQ(Bench_widget(bench, name)->foreground, "#ff0000") << name;
    }
    set("fwd=25");
    EXPECT_TRUE(shows("single.fwd.value", "  25.00"));
    EXPECT_EQ(Bench_widget(bench, "single.fwd.value")->foreground, "#ffffff");
    EXPECT_EQ(Bench_widget(bench, "single.fwd.caption")->foreground, "#adacac");
}

TEST_F(Values, AManualRangeHasItsCeiling) {
    startWith("5132 fwd=19.9 rfl=1", "scale_ch1_fwd_autoScale 0\nscale_ch1_fwd_scaleIndex 5\n");
    EXPECT_TRUE(shows("single.fwd.value", " 19.900"));
    set("fwd=20.01");
    EXPECT_TRUE(shows("single.fwd.value", "  Range"));
    EXPECT_TRUE(shows("single.fwd.units", "W"));
    ASSERT_TRUE(Bench_tap(bench, "single.fwd.scaleUp"));
    EXPECT_TRUE(shows("single.fwd.value", "  20.01"));
    set("fwd=0.5");
    EXPECT_TRUE(shows("single.fwd.value", "   0.50"));
}

TEST_F(Values, MatchTextsFollowTheRatioAndTheChosenKind) {
    startWith("5132 fwd=10 rfl=10");
    const struct {
        const char* caption;
        const char* units;
        const char* same;   ///< fwd 10, rfl 10
        const char* none;   ///< rfl 0
        const char* little; ///< rfl 0.1: a ratio of 0.1
    } kinds[] = {
        {"VSWR:", "", " 199.00", "   1.00", "   1.22"},
        {"RL:", "dB", "   0.00", " -99.99", " -20.00"},
        {"RHO:", "", "  1.000", "  0.000", "  0.100"},
    };
    for (const auto& kind : kinds) {
        EXPECT_TRUE(shows("single.match.caption", kind.caption));
        EXPECT_EQ(Bench_labelText(bench, "single.match.units"), kind.units);
        set("rfl=10");
        EXPECT_TRUE(shows("single.match.value", kind.same)) << kind.caption;
        set("rfl=0");
        EXPECT_TRUE(shows("single.match.value", kind.none)) << kind.caption;
        set("rfl=0.1");
        EXPECT_TRUE(shows("single.match.value", kind.little)) << kind.caption;
        ASSERT_TRUE(Bench_tap(bench, "single.match.captionButton"));
    }
    EXPECT_TRUE(shows("single.match.caption", "VSWR:"));
}

TEST_F(Values, ATapOnTheUnitSwitchesToDecibelsAndBack) {
    startWith("5132 fwd=25 rfl=0.5");
    ASSERT_TRUE(Bench_tap(bench, "single.fwd.unitsButton"));
    EXPECT_TRUE(shows("single.fwd.value", "  43.98"));
    EXPECT_TRUE(shows("single.fwd.units", "dBm"));
    EXPECT_TRUE(shows("single.rfl.value", "  26.99"));
    EXPECT_TRUE(becomesVisible("single.fwd.scaleUp", false));
    ASSERT_TRUE(Bench_tap(bench, "single.rfl.unitsButton"));
    EXPECT_TRUE(shows("single.fwd.value", "  25.00"));
    EXPECT_TRUE(becomesVisible("single.fwd.scaleUp", true));
}

TEST_F(Values, LinesThatAreOffAreHiddenFromTheStart) {
    const struct {
        const char* key;
        const char* line;
    } cases[] = {{"displayForwardPower", "fwd"},
                 {"displayReflectedPower", "rfl"},
                 {"displayVSWR_ReturnLoss_or_ReflCoeff_Value", "match"}};
    for (const auto& c : cases) {
        start({.commands = {"clock speed 4"}, .prepare = settings(std::string(c.key) + " 0\n")});
        plug("serial1", "5132 fwd=25 rfl=0.5");
        ASSERT_TRUE(chooseChannel(1));
        ASSERT_TRUE(becomesVisible("single.titleRow", true, readingLimit_ms));
        for (const char* line : {"fwd", "rfl", "match"}) {
            const std::string value = std::string("single.") + line + ".value";
            EXPECT_TRUE(becomesVisible(value, std::string(line) != c.line)) << c.key;
        }
        EXPECT_TRUE(becomesVisible("single.fwd.scaleUp", std::string("fwd") != c.line));
        Bench_stop(bench);
    }
}

TEST_F(Values, ScalesSurviveARestart) {
    startWith("5132 fwd=25 rfl=0.5");
    ASSERT_TRUE(shows("single.fwd.value", "  25.00"));
    // From two decimals to three: 25 W do not fit any more.
    ASSERT_TRUE(Bench_tap(bench, "single.fwd.scaleDown"));
    ASSERT_TRUE(shows("single.fwd.value", "  Range"));
    ASSERT_TRUE(fileSays(settingsFile, "scale_ch1_fwd_autoScale 0\n"));
    ASSERT_TRUE(Bench_restart(bench, {.commands = {"clock speed 4"}}));
    plugFirst("serial1", "5132 fwd=25 rfl=0.5");
    EXPECT_TRUE(shows("single.fwd.value", "  Range"));
    ASSERT_TRUE(Bench_tap(bench, "single.fwd.scaleAuto"));
    EXPECT_TRUE(shows("single.fwd.value", "  25.00"));
}
