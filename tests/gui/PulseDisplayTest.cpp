#include "CSensorDisplayFSM.h"
#include "PulseFixture.h"
#include "ScreenView.h"
#include "XServer.h"

#include <array>
#include <cmath>
#include <limits>
#include <unistd.h>

namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr char white[] = "#ffffff";
constexpr char red[] = "#ff0000";
constexpr char blanks[] = "             ";

class PulseDisplay : public PulseScreens {
protected:
    static void expectPages(bool values, bool states, bool gate) {
        EXPECT_EQ(Gui_isShown("pulse.tabValues"), values);
        EXPECT_EQ(Gui_isShown("pulse.tabStates"), states);
        EXPECT_EQ(Gui_isShown("pulse.tabGatedPower"), gate);
    }
};

constexpr const char* fixedIds[] = {"pulse.screen",
                                    "pulse.attrGrid",
                                    "pulse.btnTitle",
                                    "pulse.btnConfig",
                                    "pulse.tabValues",
                                    "pulse.tabStates",
                                    "pulse.tabGatedPower",
                                    "pulse.gridAttr",
                                    "pulse.lblFwd",
                                    "pulse.valueFwd",
                                    "pulse.btnUnitsFwd",
                                    "pulse.fwdCtlBox",
                                    "pulse.btnFwdScaleAuto",
                                    "pulse.btnFwdScaleUp",
                                    "pulse.btnFwdScaleDown",
                                    "pulse.lblRfl",
                                    "pulse.valueRfl",
                                    "pulse.btnUnitsRfl",
                                    "pulse.rflCtlBox",
                                    "pulse.btnRflScaleAuto",
                                    "pulse.btnRflScaleUp",
                                    "pulse.btnRflScaleDown",
                                    "pulse.lblPrd",
                                    "pulse.valuePeriod",
                                    "pulse.unitsPeriod",
                                    "pulse.lblRepeat",
                                    "pulse.valueRepeat",
                                    "pulse.unitsRepeat",
                                    "pulse.lblWidth",
                                    "pulse.valueWidth",
                                    "pulse.unitsWidth",
                                    "pulse.lblDuty",
                                    "pulse.valueDuty",
                                    "pulse.unitsDuty",
                                    "pulse.lblFreq",
                                    "pulse.valueFreq",
                                    "pulse.unitsFreq",
                                    "pulse.gridState",
                                    "pulse.lblState",
                                    "pulse.lblMean",
                                    "pulse.lblMax",
                                    "pulse.lblMin",
                                    "pulse.gridGate",
                                    "pulse.lblGated",
                                    "pulse.lblGatedMean",
                                    "pulse.lblGatedMax",
                                    "pulse.lblGatedMin",
                                    "pulse.valueGatedMean",
                                    "pulse.valueGatedMax",
                                    "pulse.valueGatedMin",
                                    "pulse.btnGatedUnits",
                                    "pulse.btnGatedScaleUp",
                                    "pulse.btnGatedScaleDown",
                                    "pulse.btnGatedAuto"};

constexpr const char* stateIds[] = {"pulse.lblState",     "pulse.valueMean",   "pulse.valueMax",
                                    "pulse.valueMin",     "pulse.btnUnits",    "pulse.btnScaleUp",
                                    "pulse.btnScaleDown", "pulse.btnScaleAuto"};

TEST_F(PulseDisplay, EveryScreenHasEveryWidgetByItsName) {
    for (const PulseScreen& screen : pulseScreens) {
        GtkWidget* container = displayOf(screen.instance)->power.container;
        for (const char* id : fixedIds) {
            EXPECT_NE(find_child(container, id), nullptr) << id;
        }
        for (const char* id : stateIds) {
            for (int number = 1; number <= 4; ++number) {
                const std::string name = id + std::to_string(number);
                EXPECT_NE(find_child(container, name.c_str()), nullptr) << name;
            }
        }
    }
}

TEST_F(PulseDisplay, ShowsPowersAndThePulse) {
    read(readings());
    struct Row {
        const char* name;
        const char* text;
    };
    constexpr Row rows[] = {{"pulse.lblFwd", "FWD:"},
                            {"pulse.valueFwd", " 125.37"},
                            {"pulse.btnUnitsFwd.text", "W"},
                            {"pulse.lblRfl", "RFL:"},
                            {"pulse.valueRfl", "  482.1"},
                            {"pulse.btnUnitsRfl.text", "mW"},
                            {"pulse.valuePeriod", " 1.2500"},
                            {"pulse.unitsPeriod", "ms"},
                            {"pulse.valueRepeat", "  800.0"},
                            {"pulse.unitsRepeat", "Hz"},
                            {"pulse.valueWidth", " 123.45"},
                            {"pulse.unitsWidth", "us"},
                            {"pulse.valueDuty", "9.88"},
                            {"pulse.unitsDuty", "%"},
                            {"pulse.valueFreq", " 13.560"},
                            {"pulse.unitsFreq", "MHz"},
                            {"pulse.btnTitle.text", "3164: 201100123"}};
    for (const Row& row : rows) {
        EXPECT_EQ(Gui_text(row.name), row.text) << row.name;
        EXPECT_TRUE(Gui_isShown(row.name)) << row.name;
    }
    expectPages(true, false, true);
}

TEST_F(PulseDisplay, ShowsGatedPowerInTheRangeOfItsMean) {
    read(readings());
    turnTo(displayOf(gtkSensorSinglePulse)->pGridGated);
    EXPECT_EQ(Gui_text("pulse.valueGatedMean"), " 12.541");
    EXPECT_EQ(Gui_text("pulse.valueGatedMax"), " 13.024");
    EXPECT_EQ(Gui_text("pulse.valueGatedMin"), " 11.907");
    EXPECT_EQ(Gui_text("pulse.btnGatedUnits.text"), "W");
    EXPECT_TRUE(Gui_isShown("pulse.valueGatedMin"));
    SENSOR_MEASUREMENTS low = readings();
    low.gateMean = 0.0005F;
    read(low);
    EXPECT_EQ(Gui_text("pulse.valueGatedMean"), " 0.5000");
    EXPECT_EQ(Gui_text("pulse.valueGatedMax"), " 13024.0000");
    EXPECT_EQ(Gui_text("pulse.btnGatedUnits.text"), "mW");
    EXPECT_EQ(configuration_getGatedPowerScale(0).scaleIndex, 0U);
}

TEST_F(PulseDisplay, AManualGatedScaleStaysAndGoesOverRangeAtItsLimit) {
    configuration_setGatedPowerScale({.autoScale = false, .scaleIndex = 5}, 0);
    read(readings());
    turnTo(displayOf(gtkSensorSinglePulse)->pGridGated);
    EXPECT_EQ(Gui_text("pulse.valueGatedMax"), " 13.024");
    SENSOR_MEASUREMENTS over = readings();
    over.gateMax = 20.0F;
    read(over);
    EXPECT_EQ(Gui_text("pulse.valueGatedMax"), "  Range");
    EXPECT_EQ(Gui_colour("pulse.valueGatedMax"), red);
    EXPECT_EQ(Gui_colour("pulse.valueGatedMean"), white);
    EXPECT_EQ(configuration_getGatedPowerScale(0).scaleIndex, 5U);
    read(readings());
    EXPECT_EQ(Gui_colour("pulse.valueGatedMax"), white);
}

TEST_F(PulseDisplay, GatedPowerInDBmIsClamped) {
    configuration_setPowerUnitsIsdBm(true);
    SENSOR_MEASUREMENTS measurements = readings();
    measurements.gateMin = 0.0F;
    read(measurements);
    turnTo(displayOf(gtkSensorSinglePulse)->pGridGated);
    EXPECT_EQ(Gui_text("pulse.valueGatedMean"), "  40.98");
    EXPECT_EQ(Gui_text("pulse.valueGatedMin"), " -60.00");
    EXPECT_EQ(Gui_text("pulse.btnGatedUnits.text"), "dBm");
    EXPECT_TRUE(Gui_isShown("pulse.btnGatedUnits"));
    EXPECT_FALSE(Gui_isShown("pulse.btnGatedScaleUp"));
}

TEST_F(PulseDisplay, ASensorWithTriggeredGatesShowsItsStatesAndNoPulse) {
    setTriggered(true, 2);
    SENSOR_MEASUREMENTS next = readings();
    next.prdVal = next.prfVal = next.widthVal = next.dutyCycleVal = 3.0F;
    next.freqVal = 27.12e6F;
    read(next);
    expectPages(true, true, false);
    EXPECT_EQ(Gui_text("pulse.valueFreq"), "  27.12");
    struct Row {
        const char* label;
        const char* value;
        const char* before;
    };
    constexpr Row rows[] = {{"pulse.lblPrd", "pulse.valuePeriod", " 1.2500"},
                            {"pulse.lblRepeat", "pulse.valueRepeat", "  800.0"},
                            {"pulse.lblWidth", "pulse.valueWidth", " 123.45"},
                            {"pulse.lblDuty", "pulse.valueDuty", "9.88"}};
    for (const Row& row : rows) {
        EXPECT_EQ(Gui_text(row.value), row.before) << row.value;
        EXPECT_FALSE(Gui_isShown(row.value)) << row.value;
        EXPECT_FALSE(Gui_isShown(row.label)) << row.label;
    }
    turnTo(displayOf(gtkSensorSinglePulse)->pGridState);
    EXPECT_EQ(Gui_text("pulse.valueMean1"), "  2.000");
    EXPECT_EQ(Gui_text("pulse.valueMax1"), "  3.000");
    EXPECT_EQ(Gui_text("pulse.valueMin1"), "  1.000");
    EXPECT_EQ(Gui_text("pulse.btnUnits1.text"), "W");
    EXPECT_EQ(Gui_text("pulse.valueMean2"), "  3.000");
}

TEST_F(PulseDisplay, OnlyTheStatesThatAreMeasuredAreShown) {
    displayOf(gtkSensorSinglePulse);
    for (uint8_t count = 0; count <= 4; ++count) {
        setTriggered(true, count);
        read(readings());
        turnTo(displayOf(gtkSensorSinglePulse)->pGridState);
        for (int number = 1; number <= 4; ++number) {
            for (const char* id : stateIds) {
                const std::string name = id + std::to_string(number);
                EXPECT_EQ(Gui_isShown(name), number <= count) << name;
            }
        }
        EXPECT_EQ(Gui_isShown("pulse.noStates"), count == 0);
    }
}

TEST_F(PulseDisplay, EachStateHasItsOwnRangeWhichIsStored) {
    setTriggered(true, 4);
    SENSOR_MEASUREMENTS measurements = readings();
    measurements.pulseStates[1] = {0.0001F, 0.0002F, 0.0003F};
    measurements.pulseStates[3] = {140.0F, 160.0F, 150.0F};
    read(measurements);
    EXPECT_EQ(configuration_getStatePowerScale(0, 0).scaleIndex, 5U);
    EXPECT_EQ(configuration_getStatePowerScale(0, 1).scaleIndex, 0U);
    EXPECT_EQ(configuration_getStatePowerScale(0, 3).scaleIndex, 6U);
    EXPECT_EQ(Gui_text("pulse.valueMean2"), " 0.3000");
    EXPECT_EQ(Gui_text("pulse.valueMax2"), " 0.2000");
    EXPECT_EQ(Gui_text("pulse.btnUnits2.text"), "mW");
    EXPECT_EQ(Gui_text("pulse.valueMax4"), " 160.00");
}

TEST_F(PulseDisplay, StatesHideTheirUnitsInDBm) {
    setTriggered(true, 4);
    configuration_setPowerUnitsIsdBm(true);
    read(readings());
    turnTo(displayOf(gtkSensorSinglePulse)->pGridState);
    EXPECT_EQ(Gui_text("pulse.valueMean1"), "  33.01");
    for (const char* name : {"pulse.btnUnits1", "pulse.btnScaleUp1", "pulse.btnScaleAuto4"}) {
        EXPECT_FALSE(Gui_isShown(name)) << name;
    }
    configuration_setPowerUnitsIsdBm(false);
    read(readings());
    EXPECT_TRUE(Gui_isShown("pulse.btnUnits1"));
    EXPECT_TRUE(Gui_isShown("pulse.btnScaleUp4"));
}

struct TriggerCase {
    bool supports;
    bool isModel;
    bool showsStates;
};

TEST_F(PulseDisplay, StatesNeedASensorThatHasThemAndAConfigurationThatWantsThem) {
    for (const TriggerCase& one :
         {TriggerCase{false, false, false}, TriggerCase{true, false, false},
          TriggerCase{false, true, false}, TriggerCase{true, true, true}}) {
        SENSOR_CONFIGS& configs = sensorFakes[sensorPort_USB1].configs;
        configs = {};
        configs.bSupportsTriggeredGates = one.supports;
        configs.bModelIsTriggeredGates = one.isModel;
        for (const uint32_t count : {1U, 2U}) {
            sensorFakesActiveCount = count;
            read(readings());
            expectPages(true, one.showsStates, !one.showsStates);
        }
    }
}

TEST_F(PulseDisplay, WhoLooksAtGatedPowerSeesTheStatesThatReplaceItAndBack) {
    CGTKPulseDisplay* display = displayOf(gtkSensorSinglePulse);
    turnTo(display->pGridGated);
    setTriggered(true, 1);
    read(readings());
    EXPECT_TRUE(Gui_isShown("pulse.valueMean1"));
    setTriggered(false, 0);
    read(readings());
    EXPECT_TRUE(Gui_isShown("pulse.valueGatedMean"));
    turnTo(display->pGridAttr);
    setTriggered(true, 1);
    read(readings());
    EXPECT_TRUE(Gui_isShown("pulse.valueFwd"));
}

struct ModeCase {
    pwrDisplayMode mode;
    bool isMulti;
};

TEST_F(PulseDisplay, EachModeHasItsPages) {
    CGTKPulseDisplay* display = displayOf(gtkSensorSinglePulse);
    for (const ModeCase& one : {ModeCase{modeSingleMulti, true}, ModeCase{modeSingleSimple, false},
                                ModeCase{modeDualMulti, true}, ModeCase{modeDualSimple, false}}) {
        CGTKPowerDisplay_setup(display, one.mode);
        Gui_settle();
        expectPages(true, one.isMulti, !one.isMulti);
        EXPECT_EQ(Gui_isShown("pulse.valuePeriod"), !one.isMulti);
        EXPECT_TRUE(Gui_isShown("pulse.valueFreq"));
    }
}

TEST_F(PulseDisplay, PowersThatAreOverRangeAreRed) {
    SENSOR_MEASUREMENTS over = readings();
    over.fwdPwrVal = 1200.0F;
    read(over);
    EXPECT_EQ(Gui_text("pulse.valueFwd"), "  Range");
    EXPECT_EQ(Gui_colour("pulse.valueFwd"), red);
    EXPECT_EQ(Gui_colour("pulse.lblFwd"), red);
    EXPECT_EQ(Gui_colour("pulse.valueRfl"), white);
    read(readings());
    EXPECT_EQ(Gui_colour("pulse.valueFwd"), white);
}

TEST_F(PulseDisplay, PowersInDBmHideTheirScaleKeys) {
    configuration_setPowerUnitsIsdBm(true);
    SENSOR_MEASUREMENTS measurements = readings();
    measurements.rflPwrVal = 0.0F;
    read(measurements);
    EXPECT_EQ(Gui_text("pulse.valueFwd"), "  50.98");
    EXPECT_EQ(Gui_text("pulse.valueRfl"), "   -inf");
    EXPECT_EQ(Gui_text("pulse.btnUnitsFwd.text"), "dBm");
    EXPECT_FALSE(Gui_isShown("pulse.fwdCtlBox"));
    EXPECT_FALSE(Gui_isShown("pulse.rflCtlBox"));
}

TEST_F(PulseDisplay, PowersThatAreOffAreHidden) {
    configuration_setDisplayFowardPower(false);
    read(readings());
    for (const char* name :
         {"pulse.lblFwd", "pulse.valueFwd", "pulse.btnUnitsFwd", "pulse.fwdCtlBox"}) {
        EXPECT_FALSE(Gui_isShown(name)) << name;
    }
    EXPECT_TRUE(Gui_isShown("pulse.valueRfl"));
    configuration_setDisplayFowardPower(true);
    configuration_setDisplayReflectedPower(false);
    read(readings());
    EXPECT_TRUE(Gui_isShown("pulse.btnFwdScaleUp"));
    EXPECT_FALSE(Gui_isShown("pulse.valueRfl"));
    EXPECT_FALSE(Gui_isShown("pulse.rflCtlBox"));
}

TEST_F(PulseDisplay, NaNInAPowerLeavesBothAsTheyWereButNotThePulse) {
    read(readings());
    SENSOR_MEASUREMENTS measurements = readings();
    measurements.fwdPwrVal = nan;
    measurements.rflPwrVal = 3.0F;
    measurements.prdVal = 0.002F;
    measurements.freqVal = nan;
    read(measurements);
    EXPECT_EQ(Gui_text("pulse.valueFwd"), " 125.37");
    EXPECT_EQ(Gui_text("pulse.valueRfl"), "  482.1");
    EXPECT_EQ(Gui_text("pulse.valuePeriod"), "  2.000");
    EXPECT_EQ(Gui_text("pulse.valueFreq"), " 13.560");
}

TEST_F(PulseDisplay, MissingPulseAndGateReadingsLeaveWhatIsShown) {
    read(readings());
    const char* const names[] = {
        "pulse.valuePeriod",   "pulse.unitsPeriod",   "pulse.valueRepeat",
        "pulse.valueWidth",    "pulse.valueDuty",     "pulse.valueGatedMean",
        "pulse.valueGatedMax", "pulse.valueGatedMin", "pulse.btnGatedUnits.text"};
    std::vector<std::string> before;
    for (const char* name : names) {
        before.push_back(Gui_text(name));
    }
    const uint32_t range = configuration_getGatedPowerScale(0).scaleIndex;
    SENSOR_MEASUREMENTS missing = readings();
    for (float* value : {&missing.prdVal, &missing.prfVal, &missing.widthVal, &missing.dutyCycleVal,
                         &missing.gateMean, &missing.gateMax, &missing.gateMin}) {
        *value = nan;
    }
    read(missing);
    for (size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(Gui_text(names[i]), before[i]) << names[i];
    }
    EXPECT_EQ(configuration_getGatedPowerScale(0).scaleIndex, range);
}

TEST_F(PulseDisplay, BlankingWritesThirteenBlanksIntoEveryValue) {
    setTriggered(true, 4);
    SENSOR_MEASUREMENTS over = readings();
    over.fwdPwrVal = 5000.0F;
    read(over);
    CGTKPowerDisplay_clearPulseMeasurementsToBlanks(displayOf(gtkSensorSinglePulse));
    for (const char* name :
         {"pulse.valueFwd", "pulse.valueRfl", "pulse.valuePeriod", "pulse.valueRepeat",
          "pulse.valueWidth", "pulse.valueDuty", "pulse.valueFreq", "pulse.valueGatedMean",
          "pulse.valueGatedMax", "pulse.valueGatedMin", "pulse.valueMean1", "pulse.valueMax2",
          "pulse.valueMin3", "pulse.valueMean4"}) {
        EXPECT_EQ(Gui_text(name), blanks) << name;
        EXPECT_EQ(Gui_colour(name), white) << name;
    }
    EXPECT_NE(Gui_colour("pulse.lblFwd"), red);
}

TEST_F(PulseDisplay, EveryUnitKeySwitchesBetweenWattsAndDBm) {
    CGTKPulseDisplay* display = displayOf(gtkSensorSinglePulse);
    struct Row {
        const char* name;
        GtkWidget* page;
        bool isState;
    };
    const Row rows[] = {{"pulse.btnUnitsFwd", display->pGridAttr, false},
                        {"pulse.btnUnitsRfl", display->pGridAttr, false},
                        {"pulse.btnGatedUnits", display->pGridGated, false},
                        {"pulse.btnUnits1", display->pGridState, true},
                        {"pulse.btnUnits2", display->pGridState, true},
                        {"pulse.btnUnits3", display->pGridState, true},
                        {"pulse.btnUnits4", display->pGridState, true}};
    for (const Row& row : rows) {
        setTriggered(row.isState, 4);
        read(readings());
        turnTo(row.page);
        Gui_tap(row.name);
        EXPECT_TRUE(configuration_getPowerUnitsIsdBm()) << row.name;
        configuration_setPowerUnitsIsdBm(false);
    }
    gtk_init_done = false;
    turnTo(display->pGridAttr);
    Gui_tap("pulse.btnUnitsFwd");
    EXPECT_FALSE(configuration_getPowerUnitsIsdBm());
}

struct ScaleRow {
    const char* up;
    const char* down;
    const char* automatic;
    bool isState;
    GtkWidget* CGTKPulseDisplay::*page;
    rfPowerScale (*stored)();
};

constexpr ScaleRow scaleRows[] = {
    {"pulse.btnFwdScaleUp", "pulse.btnFwdScaleDown", "pulse.btnFwdScaleAuto", false,
     &CGTKPulseDisplay::pGridAttr, [] { return configuration_getRfPowerScale(0, 0); }},
    {"pulse.btnRflScaleUp", "pulse.btnRflScaleDown", "pulse.btnRflScaleAuto", false,
     &CGTKPulseDisplay::pGridAttr, [] { return configuration_getRfPowerScale(0, 1); }},
    {"pulse.btnGatedScaleUp", "pulse.btnGatedScaleDown", "pulse.btnGatedAuto", false,
     &CGTKPulseDisplay::pGridGated, [] { return configuration_getGatedPowerScale(0); }},
    {"pulse.btnScaleUp1", "pulse.btnScaleDown1", "pulse.btnScaleAuto1", true,
     &CGTKPulseDisplay::pGridState, [] { return configuration_getStatePowerScale(0, 0); }},
    {"pulse.btnScaleUp4", "pulse.btnScaleDown4", "pulse.btnScaleAuto4", true,
     &CGTKPulseDisplay::pGridState, [] { return configuration_getStatePowerScale(0, 3); }},
};

TEST_F(PulseDisplay, EveryScaleKeyChangesItsOwnScale) {
    for (const ScaleRow& row : scaleRows) {
        SCOPED_TRACE(row.up);
        setTriggered(row.isState, 4);
        read(readings());
        turnTo(displayOf(gtkSensorSinglePulse)->*row.page);
        const uint32_t before = row.stored().scaleIndex;
        Gui_tap(row.up);
        EXPECT_FALSE(row.stored().autoScale);
        EXPECT_EQ(row.stored().scaleIndex, before + 1);
        read(readings());
        Gui_tap(row.down);
        EXPECT_EQ(row.stored().scaleIndex, before);
        Gui_tap(row.automatic);
        EXPECT_TRUE(row.stored().autoScale);
    }
}

void tapInside(GtkWidget* container, const char* name) {
    GtkWidget* widget = find_child(container, name);
    ASSERT_NE(widget, nullptr) << name;
    const GdkRectangle place = Gui_place(widget);
    XServer_movePointer(place.x + place.width / 2, place.y + place.height / 2);
    XServer_button(true);
    Gui_settle();
    Gui_release();
}

TEST_F(PulseDisplay, TheLowerScreenChangesTheLowerScales) {
    Gui_showScreen(gtkSensorDualPulseChannel2);
    read(readings(), gtkSensorDualPulseChannel2);
    tapInside(displayOf(gtkSensorDualPulseChannel2)->power.container, "pulse.btnFwdScaleUp");
    EXPECT_TRUE(configuration_getRfPowerScale(0, 0).autoScale);
    EXPECT_FALSE(configuration_getRfPowerScale(1, 0).autoScale);
}

TEST_F(PulseDisplay, TheTabsTurnThePages) {
    setTriggered(true, 2);
    read(readings());
    Gui_tap("pulse.tabStates");
    EXPECT_TRUE(Gui_isShown("pulse.valueMean1"));
    EXPECT_FALSE(Gui_isShown("pulse.valueFwd"));
    Gui_tap("pulse.tabValues");
    EXPECT_TRUE(Gui_isShown("pulse.valueFwd"));
}

uint32_t configuredPort = sensorPort_None;

TEST_F(PulseDisplay, TheConfigurationKeyOpensTheDialogOfItsPort) {
    PulseDisplay_registerConfigDialog([](uint32_t port) { configuredPort = port; });
    Gui_tap("pulse.btnConfig");
    EXPECT_EQ(configuredPort, sensorPort_USB1);
    Gui_showScreen(gtkSensorDualPulseChannel2);
    tapInside(displayOf(gtkSensorDualPulseChannel2)->power.container, "pulse.btnConfig");
    EXPECT_EQ(configuredPort, sensorPort_USB2);
    configuredPort = sensorPort_None;
    gtk_init_done = false;
    tapInside(displayOf(gtkSensorDualPulseChannel2)->power.container, "pulse.btnConfig");
    EXPECT_EQ(configuredPort, sensorPort_None);
    PulseDisplay_registerConfigDialog(nullptr);
    gtk_init_done = true;
    tapInside(displayOf(gtkSensorDualPulseChannel2)->power.container, "pulse.btnConfig");
}

gpointer informedDisplay = nullptr;

/// A pulse screen of the test's own.
CGTKPowerDisplay_Parameters ownParameters(GtkWidget* container) {
    return {.name = "Own",
            .widgetName = "own",
            .sensorChannel = sensorPort_USB2,
            .displayIndex = 1,
            .container = container,
            .callbackMeasFunction = nullptr,
            .callbackSensorInfoFunction = [](GtkWidget*, gpointer data) { informedDisplay = data; },
            .layout = layoutDualChannel,
            .yLinePositions = {},
            .yOffset = 0};
}

TEST_F(PulseDisplay, TheTitleKeyAsksForTheSensorInformation) {
    GtkWidget* container = GTK_WIDGET(g_object_ref_sink(gtk_fixed_new()));
    static CGTKPulseDisplay own;
    PulseDisplay_Create(&own, ownParameters(container));
    gtk_button_clicked(GTK_BUTTON(own.power.title.sensorButton));
    EXPECT_EQ(informedDisplay, &own.power);
    EXPECT_EQ(CGTKPowerDisplay_getSensorChannel(&own.power), sensorPort_USB2);
    gtk_widget_destroy(container);
    g_object_unref(container);
}

TEST_F(PulseDisplay, AMissingInterfaceFileLeavesAScreenWithoutWidgets) {
    std::array<char, 4096> folder{};
    ASSERT_NE(getcwd(folder.data(), folder.size()), nullptr);
    ASSERT_EQ(chdir("/"), 0);
    World_clearSyslog();
    GtkWidget* container = GTK_WIDGET(g_object_ref_sink(gtk_fixed_new()));
    static CGTKPulseDisplay own;
    PulseDisplay_Create(&own, ownParameters(container));
    ASSERT_EQ(chdir(folder.data()), 0);
    EXPECT_TRUE(World_syslogContains("Error loading file: "));
    EXPECT_EQ(own.power.fwdRFPower.value, nullptr);
    for (const bool isTriggered : {false, true}) {
        setTriggered(isTriggered, 4);
        CGTKPowerDisplay_updatePulseMeasurements(&own, readings());
    }
    CGTKPowerDisplay_clearPulseMeasurementsToBlanks(&own);
    CGTKPowerDisplay_setSensorLabel(&own.power, 30);
    g_object_unref(container);
}

TEST_F(PulseDisplay, TheMachineShowsAUsbSensorInPulseModeAndBlanksItFirst) {
    CSensorDisplayFSM_registerView(screenView);
    CSensorDisplayFSM_reset();
    configuration_setPulseMode(true);
    read(readings());
    sensorFakes[sensorPort_USB1].logicalChannel = 0;
    sensorFakes[sensorPort_USB1].status.status = notReady;
    CSensorDisplayFSM_connect(sensorPort_USB1);
    sensorFakes[sensorPort_USB1].status.status = isReady;
    sensorFakes[sensorPort_USB1].measurements = readings();
    sensorFakes[sensorPort_USB1].measurements.fwdPwrVal = nan;
    CSensorDisplayFSM_updateMeasurements(sensorPort_USB1);
    Gui_settle();
    EXPECT_TRUE(Gui_isShown("pulse.valueFwd"));
    EXPECT_EQ(Gui_text("pulse.valueFwd"), blanks);
    EXPECT_EQ(Gui_text("pulse.valuePeriod"), " 1.2500");
    EXPECT_EQ(Gui_text("pulse.btnTitle.text"), "3164: 201100123");
    CSensorDisplayFSM_disconnect(sensorPort_USB1);
    configuration_setPulseMode(false);
    Gui_settle();
    EXPECT_FALSE(Gui_isShown("pulse.valueFwd"));
}

} // namespace
