#include "ScreenFixture.h"

#include <clocale>
#include <limits>
#include <string>

namespace {

class PowerDisplay : public Screens {
protected:
    void SetUp() override {
        Screens::SetUp();
        Gui_showScreen(gtkSensorSingleChannel1);
    }
};

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr char white[] = "#ffffff";
constexpr char red[] = "#ff0000";
constexpr char grey[] = "#adacac";
constexpr char yellow[] = "#ffd766";

TEST_F(PowerDisplay, ShowsWattsWithTheirUnits) {
    readSingle(25.37F, 0.4821F);
    EXPECT_EQ(Gui_text("single.fwd.caption"), "FWD:");
    EXPECT_EQ(Gui_text("single.fwd.value"), "  25.37");
    EXPECT_EQ(Gui_text("single.fwd.units"), "W");
    EXPECT_EQ(Gui_text("single.rfl.caption"), "RFL:");
    EXPECT_EQ(Gui_text("single.rfl.value"), "  482.1");
    EXPECT_EQ(Gui_text("single.rfl.units"), "mW");
    EXPECT_EQ(Gui_text("single.match.caption"), "VSWR:");
    EXPECT_EQ(Gui_text("single.match.value"), "   1.32");
    EXPECT_EQ(Gui_text("single.match.units"), "");
}

TEST_F(PowerDisplay, EveryScreenShowsItsOwnReadings) {
    for (const CwScreen& screen : cwScreens) {
        Gui_showScreen(screen.instance);
        read(screen.instance, 12.5F, 1.25F);
        const std::string name = screen.name;
        EXPECT_EQ(Gui_text(name + ".fwd.value"), " 12.500") << name;
        EXPECT_TRUE(Gui_isShown(name + ".fwd.value")) << name;
        EXPECT_TRUE(Gui_isShown(name + ".rfl.scaleUp")) << name;
    }
}

TEST_F(PowerDisplay, ShowsDBmAndHidesTheScaleKeys) {
    configuration_setPowerUnitsIsdBm(true);
    readSingle(1.0F, 0.0F);
    EXPECT_EQ(Gui_text("single.fwd.value"), "  30.00");
    EXPECT_EQ(Gui_text("single.fwd.units"), "dBm");
    EXPECT_EQ(Gui_text("single.rfl.value"), "   -inf");
    EXPECT_FALSE(Gui_isShown("single.fwd.scaleUp"));
    EXPECT_FALSE(Gui_isShown("single.rfl.scaleAuto"));
    configuration_setPowerUnitsIsdBm(false);
    readSingle(1.0F, 0.0F);
    EXPECT_TRUE(Gui_isShown("single.fwd.scaleUp"));
}

TEST_F(PowerDisplay, ValuesAreWhiteAndCaptionsGrey) {
    readSingle(25.0F, 0.5F);
    EXPECT_EQ(Gui_colour("single.fwd.value"), white);
    EXPECT_EQ(Gui_colour("single.rfl.value"), white);
    EXPECT_EQ(Gui_colour("single.fwd.caption"), grey);
    EXPECT_EQ(Gui_colour("single.fwd.units"), yellow);
}

TEST_F(PowerDisplay, OverRangeIsRedAndComesBack) {
    readSingle(1200.0F, 0.5F);
    EXPECT_EQ(Gui_text("single.fwd.value"), "  Range");
    EXPECT_EQ(Gui_colour("single.fwd.value"), red);
    EXPECT_EQ(Gui_colour("single.fwd.caption"), red);
    EXPECT_EQ(Gui_colour("single.rfl.value"), white);
    EXPECT_TRUE(Gui_isShown("single.fwd.scaleUp"));
    readSingle(1100.0F, 0.5F);
    EXPECT_EQ(Gui_colour("single.fwd.value"), white);
    EXPECT_EQ(Gui_colour("single.fwd.caption"), grey);
    EXPECT_EQ(Gui_text("single.fwd.value"), " 1100.0");
}

TEST_F(PowerDisplay, OverRangeInDBmHidesTheScaleKeys) {
    configuration_setPowerUnitsIsdBm(true);
    readSingle(1200.0F, 0.5F);
    EXPECT_EQ(Gui_text("single.fwd.value"), "  Range");
    EXPECT_EQ(Gui_text("single.fwd.units"), "dBm");
    EXPECT_FALSE(Gui_isShown("single.fwd.scaleUp"));
}

TEST_F(PowerDisplay, AManualScaleIsOverRangeAtItsOwnLimit) {
    configuration_setRfPowerScale({.autoScale = false, .scaleIndex = 4}, 0, 0);
    readSingle(1.9F, 0.5F);
    EXPECT_EQ(Gui_text("single.fwd.value"), " 1.9000");
    readSingle(2.0F, 0.5F);
    EXPECT_EQ(Gui_text("single.fwd.value"), "  Range");
    EXPECT_EQ(Gui_text("single.fwd.units"), "W");
}

TEST_F(PowerDisplay, AutomaticRangesAreStored) {
    readSingle(0.0005F, 150.0F);
    EXPECT_EQ(configuration_getRfPowerScale(0, 0).scaleIndex, 0U);
    EXPECT_EQ(configuration_getRfPowerScale(0, 1).scaleIndex, 6U);
    EXPECT_TRUE(configuration_getRfPowerScale(0, 0).autoScale);
}

TEST_F(PowerDisplay, AutomaticRangesChangeAtTheirBoundaries) {
    configuration_setRfPowerScale({.autoScale = true, .scaleIndex = 3}, 0, 0);
    readSingle(1.1999F, 0.1F);
    EXPECT_EQ(Gui_text("single.fwd.value"), " 1199.9");
    EXPECT_EQ(Gui_text("single.fwd.units"), "mW");
    readSingle(1.2F, 0.1F);
    EXPECT_EQ(Gui_text("single.fwd.value"), " 1.2000");
    EXPECT_EQ(Gui_text("single.fwd.units"), "W");
    readSingle(0.8001F, 0.1F);
    EXPECT_EQ(Gui_text("single.fwd.units"), "W");
    readSingle(0.8F, 0.1F);
    EXPECT_EQ(Gui_text("single.fwd.units"), "mW");
}

TEST_F(PowerDisplay, NaNLeavesTheTextsAsTheyWere) {
    readSingle(25.0F, 0.5F);
    for (const auto& [fwd, rfl] :
         {std::pair{nan, 1.0F}, std::pair{1.0F, nan}, std::pair{nan, nan}}) {
        readSingle(fwd, rfl);
        EXPECT_EQ(Gui_text("single.fwd.value"), "  25.00");
        EXPECT_EQ(Gui_text("single.rfl.value"), "  500.0");
        EXPECT_EQ(Gui_text("single.match.value"), "   1.33");
    }
}

TEST_F(PowerDisplay, BlankingTakesTheLastNumberAway) {
    readSingle(1300.0F, 0.5F);
    CGTKPowerDisplay_clearMeasurementsToBlanks(gtkSensor_cwDisplay(gtkSensorSingleChannel1));
    for (const char* name : {"single.fwd.value", "single.rfl.value", "single.match.value"}) {
        EXPECT_EQ(Gui_text(name).find_first_not_of(' '), std::string::npos) << name;
        EXPECT_EQ(Gui_colour(name), white);
    }
    EXPECT_EQ(Gui_colour("single.fwd.caption"), grey);
    readSingle(nan, nan);
    EXPECT_EQ(Gui_text("single.fwd.value").find_first_not_of(' '), std::string::npos);
}

TEST_F(PowerDisplay, MatchFollowsItsType) {
    struct Row {
        rfMatchType_t type;
        const char* caption;
        const char* value;
        const char* units;
    };
    constexpr Row rows[] = {{rfMatch_VSWR, "VSWR:", "   1.33", ""},
                            {rfMatch_RL, "RL:", " -16.99", "dB"},
                            {rfMatch_RflCoeff, "RHO:", "  0.141", ""}};
    for (const Row& row : rows) {
        configuration_setMatchMeasurementType(row.type);
        readSingle(25.0F, 0.5F);
        EXPECT_EQ(Gui_text("single.match.caption"), row.caption);
        EXPECT_EQ(Gui_text("single.match.value"), row.value);
        EXPECT_EQ(Gui_text("single.match.units"), row.units);
        EXPECT_EQ(Gui_colour("single.match.value"), white);
    }
}

TEST_F(PowerDisplay, ATapOnAUnitSwitchesBetweenWattsAndDBm) {
    readSingle(1.0F, 0.1F);
    for (const char* name : {"single.fwd.unitsButton", "single.rfl.unitsButton"}) {
        Gui_tap(name);
        EXPECT_TRUE(configuration_getPowerUnitsIsdBm()) << name;
        Gui_tap(name);
        EXPECT_FALSE(configuration_getPowerUnitsIsdBm()) << name;
    }
}

TEST_F(PowerDisplay, ATapOnTheMatchCaptionOrUnitStepsItsType) {
    readSingle(1.0F, 0.1F);
    for (const char* name : {"single.match.captionButton", "single.match.unitsButton"}) {
        Gui_tap(name);
        EXPECT_EQ(configuration_getMatchMeasurementType(), rfMatch_RL) << name;
        Gui_tap(name);
        EXPECT_EQ(configuration_getMatchMeasurementType(), rfMatch_RflCoeff) << name;
        Gui_tap(name);
        EXPECT_EQ(configuration_getMatchMeasurementType(), rfMatch_VSWR) << name;
    }
}

TEST_F(PowerDisplay, TapsDoNothingUntilStartUpHasFinished) {
    readSingle(1.0F, 0.1F);
    gtk_init_done = false;
    for (const char* name :
         {"single.fwd.unitsButton", "single.match.captionButton", "single.fwd.scaleUp",
          "single.fwd.scaleDown", "single.fwd.scaleAuto"}) {
        Gui_tap(name);
    }
    EXPECT_FALSE(configuration_getPowerUnitsIsdBm());
    EXPECT_EQ(configuration_getMatchMeasurementType(), rfMatch_VSWR);
    EXPECT_TRUE(configuration_getRfPowerScale(0, 0).autoScale);
}

TEST_F(PowerDisplay, LinesThatAreOffAreHiddenWithTheirScaleKeys) {
    configuration_setDisplayFowardPower(false);
    readSingle(1.0F, 0.1F);
    EXPECT_FALSE(Gui_isShown("single.fwd.value"));
    EXPECT_FALSE(Gui_isShown("single.fwd.scaleUp"));
    EXPECT_TRUE(Gui_isShown("single.rfl.value"));
    configuration_setDisplayReflectedPower(false);
    configuration_setDisplayMatch(false);
    readSingle(1.0F, 0.1F);
    EXPECT_FALSE(Gui_isShown("single.rfl.value"));
    EXPECT_FALSE(Gui_isShown("single.rfl.scaleDown"));
    EXPECT_FALSE(Gui_isShown("single.match.value"));
    configuration_setDisplayFowardPower(true);
    configuration_setDisplayReflectedPower(true);
    configuration_setDisplayMatch(true);
    readSingle(1.0F, 0.1F);
    EXPECT_TRUE(Gui_isShown("single.fwd.scaleUp"));
    EXPECT_TRUE(Gui_isShown("single.match.value"));
}

TEST_F(PowerDisplay, ALineThatIsOffIsHiddenEvenWithoutReadings) {
    configuration_setDisplayReflectedPower(false);
    readSingle(nan, nan);
    EXPECT_FALSE(Gui_isShown("single.rfl.value"));
    EXPECT_FALSE(Gui_isShown("single.rfl.scaleUp"));
}

TEST_F(PowerDisplay, ALineShownAgainInDBmLeavesItsScaleKeysHidden) {
    configuration_setDisplayFowardPower(false);
    readSingle(1.0F, 0.1F);
    configuration_setPowerUnitsIsdBm(true);
    configuration_setDisplayFowardPower(true);
    readSingle(nan, nan);
    EXPECT_TRUE(Gui_isShown("single.fwd.value"));
    EXPECT_FALSE(Gui_isShown("single.fwd.scaleUp"));
}

TEST_F(PowerDisplay, ALineThatIsOffKeepsItsTexts) {
    readSingle(25.0F, 0.5F);
    configuration_setDisplayFowardPower(false);
    readSingle(30.0F, 0.5F);
    EXPECT_EQ(Gui_text("single.fwd.value"), "  25.00");
}

TEST_F(PowerDisplay, TheSensorLabelFollowsTheSensor) {
    CGTKPowerDisplay* display = gtkSensor_powerDisplay(gtkSensorSingleChannel1);
    CGTKPowerDisplay_setSensorLabel(display, 30);
    EXPECT_EQ(Gui_text("single.title"), "5132: 123456789");
    EXPECT_EQ(Gui_colour("single.title"), yellow);
    sensorFakes[0].status.status = notReady;
    CGTKPowerDisplay_setSensorLabel(display, 30);
    EXPECT_EQ(Gui_text("single.title"), "Connecting...");
    sensorFakes[0].status.status = hasFatalError;
    CGTKPowerDisplay_setSensorLabel(display, 30);
    EXPECT_EQ(Gui_text("single.title"), "Critical Sensor Error...");
}

TEST_F(PowerDisplay, TheSensorLabelIsCutAtThirtyCharacters) {
    snprintf(sensorFakes[0].model, sizeof sensorFakes[0].model, "ABCDEFGHIJKLMNOPQRST");
    CGTKPowerDisplay* display = gtkSensor_powerDisplay(gtkSensorSingleChannel1);
    CGTKPowerDisplay_setSensorLabel(display, 4000);
    EXPECT_EQ(Gui_text("single.title"), "ABCDEFGHIJKLMNOPQR: 123456789");
    CGTKPowerDisplay_setSensorLabel(display, 22);
    EXPECT_EQ(Gui_text("single.title"), "ABCDEFGHIJ: 123456789");
}

TEST_F(PowerDisplay, AccessorsKeepPortAndDisplay) {
    CGTKPowerDisplay* display = gtkSensor_powerDisplay(gtkSensorSingleChannel1);
    CGTKPowerDisplay_setDisplayIndex(display, 1);
    CGTKPowerDisplay_setSensorChannel(display, sensorPort_USB2);
    EXPECT_EQ(CGTKPowerDisplay_getDisplayIndex(display), 1U);
    EXPECT_EQ(CGTKPowerDisplay_getSensorChannel(display), sensorPort_USB2);
}

TEST_F(PowerDisplay, EveryUpdateLogsTheReadings) {
    World_clearSyslog();
    readSingle(25.0F, 0.5F);
    EXPECT_TRUE(World_syslogContains("fwd = 25.000000 W, rfl = 0.500000 W"));
}

TEST_F(PowerDisplay, NumbersKeepTheirPointUnderADesktopWithDecimalCommas) {
    // The locale is there and would give commas, had GTK been let to choose it.
    const locale_t desktop = newlocale(LC_ALL_MASK, "", nullptr);
    ASSERT_NE(desktop, locale_t{}) << "the test's locale is missing";
    const locale_t previous = uselocale(desktop);
    EXPECT_STREQ(localeconv()->decimal_point, ",");
    uselocale(previous);
    freelocale(desktop);

    EXPECT_STREQ(localeconv()->decimal_point, ".");
    readSingle(25.37F, 0.4821F);
    EXPECT_EQ(Gui_text("single.fwd.value"), "  25.37");
}

class ScaleControls : public PowerDisplay {};

struct ScaleKeys {
    const char* prefix;
    uint32_t direction;
};
constexpr ScaleKeys scaleKeys[] = {{"single.fwd", 0}, {"single.rfl", 1}};

TEST_F(ScaleControls, UpSwitchesToManualAndStepsUp) {
    for (const auto& [prefix, direction] : scaleKeys) {
        readSingle(25.0F, 25.0F);
        const uint32_t before = configuration_getRfPowerScale(0, direction).scaleIndex;
        Gui_tap(std::string(prefix) + ".scaleUp");
        EXPECT_FALSE(configuration_getRfPowerScale(0, direction).autoScale);
        EXPECT_EQ(configuration_getRfPowerScale(0, direction).scaleIndex, before + 1);
    }
}

TEST_F(ScaleControls, DownSwitchesToManualAndStepsDown) {
    for (const auto& [prefix, direction] : scaleKeys) {
        readSingle(25.0F, 25.0F);
        const uint32_t before = configuration_getRfPowerScale(0, direction).scaleIndex;
        Gui_tap(std::string(prefix) + ".scaleDown");
        EXPECT_FALSE(configuration_getRfPowerScale(0, direction).autoScale);
        EXPECT_EQ(configuration_getRfPowerScale(0, direction).scaleIndex, before - 1);
    }
}

TEST_F(ScaleControls, AutoTogglesAndLeavesTheIndex) {
    for (const auto& [prefix, direction] : scaleKeys) {
        readSingle(25.0F, 25.0F);
        const uint32_t before = configuration_getRfPowerScale(0, direction).scaleIndex;
        Gui_tap(std::string(prefix) + ".scaleAuto");
        EXPECT_FALSE(configuration_getRfPowerScale(0, direction).autoScale);
        Gui_tap(std::string(prefix) + ".scaleAuto");
        EXPECT_TRUE(configuration_getRfPowerScale(0, direction).autoScale);
        EXPECT_EQ(configuration_getRfPowerScale(0, direction).scaleIndex, before);
    }
}

TEST_F(ScaleControls, StepsEndAtTheTableAndAreSavedAllTheSame) {
    struct Row {
        const char* key;
        uint32_t index;
    };
    for (const Row& row : {Row{"single.fwd.scaleUp", 10}, Row{"single.fwd.scaleDown", 0}}) {
        configuration_setRfPowerScale({.autoScale = false, .scaleIndex = row.index}, 0, 0);
        CGTKPowerDisplay_updateScale(gtkSensor_powerDisplay(gtkSensorSingleChannel1));
        World_removeFile("/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf");
        Gui_tap(row.key);
        EXPECT_EQ(configuration_getRfPowerScale(0, 0).scaleIndex, row.index);
        EXPECT_NE(World_readFile("/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf"), "");
    }
}

TEST_F(ScaleControls, AScreenOfTheLowerDisplayChangesItsOwnScale) {
    Gui_showScreen(gtkSensorDualChannel1);
    read(gtkSensorDualChannel2, 25.0F, 0.5F);
    Gui_tap("lower.fwd.scaleUp");
    EXPECT_TRUE(configuration_getRfPowerScale(0, 0).autoScale);
    EXPECT_FALSE(configuration_getRfPowerScale(1, 0).autoScale);
}

TEST_F(ScaleControls, TheAutoKeyShowsWhetherItIsOn) {
    GtkWidget* button = Gui_widget("single.fwd.scaleAuto");
    const auto pixels = [button] {
        GdkPixbuf* image =
            gtk_image_get_pixbuf(GTK_IMAGE(gtk_button_get_image(GTK_BUTTON(button))));
        GBytes* bytes = gdk_pixbuf_read_pixel_bytes(image);
        const guint hash = g_bytes_hash(bytes);
        g_bytes_unref(bytes);
        return hash;
    };
    readSingle(25.0F, 0.5F);
    const guint on = pixels();
    Gui_tap("single.fwd.scaleAuto");
    const guint off = pixels();
    EXPECT_NE(on, off);
    configuration_setRfPowerScale({.autoScale = true, .scaleIndex = 5}, 0, 0);
    readSingle(25.0F, 0.5F);
    EXPECT_EQ(pixels(), on);
}

TEST_F(ScaleControls, UpdateLogsChannelDirectionAndMode) {
    World_clearSyslog();
    readSingle(25.0F, 0.5F);
    EXPECT_TRUE(World_syslogContains("ch/dir/autoScale = 0/0/1"));
    EXPECT_TRUE(World_syslogContains("ch/dir/autoScale = 0/1/1"));
}

struct ScaleVariant {
    void (*up)(GtkWidget*, gpointer);
    void (*down)(GtkWidget*, gpointer);
    void (*automatic)(GtkWidget*, gpointer);
    rfPowerScale (*stored)();
};

TEST_F(ScaleControls, PulseStatesAndGatedPowerHaveScalesOfTheirOwn) {
    constexpr ScaleVariant variants[] = {
        {CGTKScaleControls_CallbackStateUp, CGTKScaleControls_CallbackStateDown,
         CGTKScaleControls_CallbackStateAuto,
         [] { return configuration_getStatePowerScale(1, 2); }},
        {CGTKScaleControls_CallbackGatedPowerUp, CGTKScaleControls_CallbackGatedPowerDown,
         CGTKScaleControls_CallbackGatedPowerAuto,
         [] { return configuration_getGatedPowerScale(1); }},
    };
    CGTKPowerDisplay owner = {};
    owner.displayIndex = 1;
    for (const ScaleVariant& variant : variants) {
        rfPowerScale scale = {.autoScale = true, .scaleIndex = 5};
        CallbackData_AutoScale data = {
            .mpOwner = &owner, .direction = 2, .button = nullptr, .scale = &scale};
        variant.up(nullptr, &data);
        EXPECT_EQ(variant.stored().scaleIndex, 6U);
        EXPECT_FALSE(variant.stored().autoScale);
        variant.down(nullptr, &data);
        EXPECT_EQ(variant.stored().scaleIndex, 5U);
        variant.automatic(nullptr, &data);
        EXPECT_TRUE(variant.stored().autoScale);
    }
    EXPECT_TRUE(configuration_getRfPowerScale(1, 0).autoScale);
}

} // namespace
