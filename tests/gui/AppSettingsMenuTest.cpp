#include "AppSettingsMenu.h"

#include "DisplaySettings.h"
#include "LookChecks.h"
#include "MenuFixture.h"
#include "ScreenFixture.h"
#include "ScreenSize.h"
#include "XServer.h"
#include "gtkTimePowerGraph.h"

#include <array>
#include <cstdlib>

namespace {

constexpr char settingsFile[] = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

/// The top line's Settings button and its side window, closed, with default settings.
class SettingsMenu : public Screens {
protected:
    static void SetUpTestSuite() {
        Menus_build();
    }
    void SetUp() override {
        Screens::SetUp();
        configuration_setMatchMeasurementType(rfMatch_VSWR);
        Gui_showScreen(gtkSensorSingleChannel1);
        World_clearSyslog();
    }
    void TearDown() override {
        gtk_init_done = true;
        AppSettingsMenu_hide();
        Gui_settle();
    }
    static void open() {
        Gui_tap("settingsButton");
        ASSERT_TRUE(settingsMenuIsVisible());
    }
    static bool isActive(const char* name) {
        return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(Gui_widget(name))) != FALSE;
    }
    static bool isSensitive(const char* name) {
        return gtk_widget_get_sensitive(Gui_widget(name)) != FALSE;
    }
    static void tapAt(int x, int y) {
        XServer_movePointer(x, y);
        XServer_button(true);
        Gui_settle();
        XServer_button(false);
        Gui_settle();
    }
};

struct CheckCase {
    const char* name;
    bool (*get)();
    void (*set)(bool);
};

constexpr std::array<CheckCase, 7> checks = {{
    {"checkBoxForward", configuration_getDisplayFowardPower, configuration_setDisplayFowardPower},
    {"checkBoxReflected", configuration_getDisplayReflectedPower,
     configuration_setDisplayReflectedPower},
    {"checkBoxMatch", configuration_getDisplayMatch, configuration_setDisplayMatch},
    {"checkBoxGraph", configuration_getDisplayGraph, configuration_setDisplayGraph},
    {"checkBoxPulseMode", configuration_getPulseMode, configuration_setPulseMode},
    {"checkBoxUseLegacyRS232", configuration_getUseLegacy, configuration_setUseLegacy},
    {"checkBoxLegacyCommandModeSW", configuration_getCommandModeSW, configuration_setCommandModeSW},
}};

struct MatchCase {
    const char* name;
    rfMatchType_t type;
};

constexpr std::array<MatchCase, 3> matches = {{{"vswrRadioButton", rfMatch_VSWR},
                                               {"returnLossRadioButton", rfMatch_RL},
                                               {"reflCoeffRadioButton", rfMatch_RflCoeff}}};

} // namespace

TEST_F(SettingsMenu, EveryCheckBoxStoresItsSettingAtOnceAndTellsIt) {
    configuration_setUseLegacy(true); // the command mode can be chosen
    open();
    for (const CheckCase& check : checks) {
        for (int turn = 0; turn < 2; ++turn) {
            if (std::string(check.name) == "checkBoxLegacyCommandModeSW") {
                configuration_setUseLegacy(true);
                AppSettingsMenu_setParameters();
            }
            const bool before = check.get();
            const std::string fileBefore = World_readFile(settingsFile);
            World_clearSyslog();
            Gui_tap(check.name);
            EXPECT_EQ(check.get(), !before) << check.name;
            EXPECT_EQ(isActive(check.name), !before) << check.name;
            EXPECT_NE(World_readFile(settingsFile), fileBefore) << check.name;
            EXPECT_TRUE(World_syslogContains(std::string(check.name) + " clicked was pressed"));
        }
    }
}

TEST_F(SettingsMenu, EveryCheckBoxShowsItsSettingWhenOpenedAgain) {
    configuration_setUseLegacy(true);
    for (const CheckCase& check : checks) {
        for (const bool value : {true, false, true}) {
            check.set(value);
            AppSettingsMenu_show();
            Gui_settle();
            EXPECT_EQ(isActive(check.name), value) << check.name;
            EXPECT_EQ(check.get(), value) << check.name;
            AppSettingsMenu_hide();
        }
    }
}

TEST_F(SettingsMenu, MatchRadiosStoreTheirTypeAndOnlyTheChosenOneActs) {
    configuration_setDisplayMatch(true);
    configuration_setMatchMeasurementType(rfMatch_RflCoeff);
    open();
    for (const MatchCase& match : matches) {
        World_clearSyslog();
        Gui_tap(match.name);
        EXPECT_EQ(configuration_getMatchMeasurementType(), match.type);
        size_t told = 0;
        for (const std::string& line : World_syslog()) {
            told += line.find("was pressed") != std::string::npos ? 1 : 0;
        }
        EXPECT_EQ(told, 1U) << match.name;
    }
}

TEST_F(SettingsMenu, SetMatchTypeSelectsVswrForAnyOtherType) {
    struct Case {
        int type;
        const char* name;
    };
    for (const Case& row : {Case{1, "returnLossRadioButton"}, Case{2, "reflCoeffRadioButton"},
                            Case{0, "vswrRadioButton"}, Case{2, "reflCoeffRadioButton"},
                            Case{7, "vswrRadioButton"}, Case{-1, "vswrRadioButton"}}) {
        AppSettingsMenu_setMatchType(row.type);
        EXPECT_TRUE(isActive(row.name)) << row.type;
        EXPECT_EQ(configuration_getMatchMeasurementType(), rfMatch_VSWR) << "nothing is stored";
    }
}

TEST_F(SettingsMenu, MatchRadiosAreSensitiveExactlyWhileMatchIsOn) {
    configuration_setDisplayMatch(true);
    open();
    for (const bool expected : {false, true, false}) {
        Gui_tap("checkBoxMatch");
        for (const MatchCase& match : matches) {
            EXPECT_EQ(isSensitive(match.name), expected) << match.name;
        }
    }
    AppSettingsMenu_hide();
    AppSettingsMenu_show();
    EXPECT_FALSE(isSensitive("vswrRadioButton"));
}

TEST_F(SettingsMenu, CommandModeIsSensitiveExactlyWhileLegacyIsOn) {
    configuration_setUseLegacy(false);
    open();
    EXPECT_FALSE(isSensitive("checkBoxLegacyCommandModeSW"));
    for (const bool expected : {true, false}) {
        Gui_tap("checkBoxUseLegacyRS232");
        EXPECT_EQ(isSensitive("checkBoxLegacyCommandModeSW"), expected);
    }
}

TEST_F(SettingsMenu, GraphModeIsSetForBothChannels) {
    open();
    for (const auto& [name, mode] : {std::pair{"averageRadioButton", graphModeAverage},
                                     std::pair{"rawRadioButton", graphModeRaw},
                                     std::pair{"averageRadioButton", graphModeAverage}}) {
        Gui_tap(name);
        EXPECT_EQ(configuration_getGraphSettings(0).displayMode, mode);
        EXPECT_EQ(configuration_getGraphSettings(1).displayMode, mode);
    }
    AppSettingsMenu_hide();
    AppSettingsMenu_show();
    EXPECT_TRUE(isActive("averageRadioButton"));
    settings_setGraphMode(graphModeRaw);
    AppSettingsMenu_show();
    EXPECT_TRUE(isActive("rawRadioButton"));
}

TEST_F(SettingsMenu, UnknownTypesAndModesAreToldAndChangeNothing) {
    const std::string before = World_readFile(settingsFile);
    for (const int value : {-1, 3, 99}) {
        settings_setMatchType(value);
    }
    for (const int value : {-1, 2}) {
        settings_setGraphMode(value);
    }
    EXPECT_EQ(World_readFile(settingsFile), before);
    EXPECT_TRUE(World_syslogContains("Invalid match type (99)."));
    EXPECT_TRUE(World_syslogContains("Invalid graph mode (2)."));
}

TEST_F(SettingsMenu, LoadingTheControlsFiresNoneOfTheirEffects) {
    AppSettingsMenu_show();
    const std::string before = World_readFile(settingsFile);
    World_removeFile(settingsFile);
    configuration_setMatchMeasurementType(rfMatch_RflCoeff); // writes the file
    World_removeFile(settingsFile);
    World_clearSyslog();
    AppSettingsMenu_show();
    EXPECT_TRUE(isActive("reflCoeffRadioButton"));
    EXPECT_EQ(World_readFile(settingsFile), "") << "something was stored";
    EXPECT_FALSE(World_syslogContains("was pressed"));
    EXPECT_NE(before, "");
}

TEST_F(SettingsMenu, NothingIsStoredBeforeStartUpHasFinished) {
    AppSettingsMenu_show();
    Gui_settle();
    gtk_init_done = false;
    const std::string before = World_readFile(settingsFile);
    for (const CheckCase& check : checks) {
        Gui_tap(check.name);
    }
    EXPECT_EQ(World_readFile(settingsFile), before);
    AppSettingsMenu_hide();
    Gui_tap("settingsButton");
    EXPECT_FALSE(settingsMenuIsVisible());
}

TEST_F(SettingsMenu, ScreensFollowAtTheNextPass) {
    readSingle(10.0F, 1.0F);
    ASSERT_TRUE(Gui_isShown("single.fwd.value"));
    open();
    Gui_tap("checkBoxForward");
    Gui_tap("returnLossRadioButton");
    readSingle(10.0F, 1.0F);
    EXPECT_FALSE(Gui_isShown("single.fwd.value"));
    EXPECT_EQ(gtkSensor_cwDisplay(gtkSensorSingleChannel1)->matchType, rfMatch_RL);
    Gui_tap("checkBoxForward");
    readSingle(10.0F, 1.0F);
    EXPECT_TRUE(Gui_isShown("single.fwd.value"));
}

TEST_F(SettingsMenu, ATapBesideTheSideWindowOnlyClosesIt) {
    const bool isdBm = configuration_getPowerUnitsIsdBm();
    readSingle(10.0F, 1.0F);
    open();
    tapAt(200, 400);
    EXPECT_FALSE(settingsMenuIsVisible());
    EXPECT_FALSE(gtk_widget_get_mapped(AppSettingsMenu_window()));
    EXPECT_EQ(configuration_getPowerUnitsIsdBm(), isdBm);
}

TEST_F(SettingsMenu, ATapOnItsGroundLeavesItOpenAndCloseClosesIt) {
    open();
    tapAt(470, 762);
    EXPECT_TRUE(settingsMenuIsVisible());
    Gui_tap("appSettingsClose");
    EXPECT_FALSE(settingsMenuIsVisible());
}

TEST_F(SettingsMenu, IsOnTheScreenAndLargeEnoughForAFinger) {
    open();
    const GdkRectangle window = Gui_place(AppSettingsMenu_window());
    EXPECT_EQ(window.x + window.width, screenWidth);
    EXPECT_EQ(window.y, 0);
    EXPECT_LE(window.height, screenHeight);
    EXPECT_STREQ(gtk_widget_get_name(AppSettingsMenu_window()), "appSettings");
    EXPECT_STREQ(gtk_widget_get_name(gtk_bin_get_child(GTK_BIN(AppSettingsMenu_window()))),
                 "appSettings");
    for (const char* name :
         {"checkBoxForward", "checkBoxReflected", "checkBoxMatch", "vswrRadioButton",
          "returnLossRadioButton", "reflCoeffRadioButton", "checkBoxGraph", "rawRadioButton",
          "averageRadioButton", "checkBoxPulseMode", "checkBoxUseLegacyRS232",
          "checkBoxLegacyCommandModeSW", "appSettingsClose", "settingsButton"}) {
        EXPECT_GE(Gui_place(Gui_widget(name)).height, 48) << name;
        EXPECT_GE(Gui_place(Gui_widget(name)).width, 48) << name;
    }
    const char* folder = getenv("MENU_PICTURES");
    if (folder != nullptr) {
        EXPECT_TRUE(Gui_savePicture(std::string(folder) + "/settings-menu.png"));
    }
    Look_expectShown(AppSettingsMenu_window());
}

TEST_F(SettingsMenu, GearOfAScreenOpensIt) {
    AppSettingsMenu_onGearClicked(nullptr, nullptr);
    EXPECT_TRUE(settingsMenuIsVisible());
    AppSettingsMenu_hide();
    gtk_init_done = false;
    AppSettingsMenu_onGearClicked(nullptr, nullptr);
    EXPECT_FALSE(settingsMenuIsVisible());
}
