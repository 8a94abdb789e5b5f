#include "LookChecks.h"
#include "PulseConfigFixture.h"

#include <array>
#include <unistd.h>

namespace {

TEST_F(PulseConfigDialog, ASensorWithoutStatesGetsTheShortForm) {
    open(false);
    EXPECT_FALSE(isShown(gPulseConfigDlg3164.window));
    for (const char* name : {"pulseConfigFrequency", "pulseConfigGateBegin", "pulseConfigGateEnd",
                             "pulseConfigFrequencyAuto"}) {
        EXPECT_TRUE(isShown(part(name))) << name;
    }
    for (const char* name :
         {"pulseConfigPeriod", "pulseConfigLevel", "pulseConfigDelay", "pulseConfigSlopeRising",
          "pulseConfigModelStates", "pulseConfigStateBegin1", "pulseConfigAddState"}) {
        EXPECT_FALSE(isShown(part(name))) << name;
    }
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(dialog->title)), "Pulse configuration: 3164 on USB1");
}

TEST_F(PulseConfigDialog, ShowsTheSensorsConfiguration) {
    SENSOR_CONFIGS& configs = sensorFakes[sensorPort_USB1].configs;
    configs.bAutoPeriod = true;
    configs.trigDelayVal = -0.000012F;
    open(true);
    struct Row {
        const char* name;
        const char* text;
        const char* unit;
    };
    constexpr Row rows[] = {
        {"pulseConfigFrequency", "13.56", "MHz"}, {"pulseConfigPeriod", "10", "ms"},
        {"pulseConfigLevel", "10", "W"},          {"pulseConfigDelay", "-12", "us"},
        {"pulseConfigGateBegin", "100", "us"},    {"pulseConfigGateEnd", "0", "us"}};
    for (const Row& row : rows) {
        EXPECT_EQ(text(row.name), row.text) << row.name;
        EXPECT_EQ(unit(row.name), row.unit) << row.name;
    }
    EXPECT_FALSE(isActive("pulseConfigFrequencyAuto"));
    EXPECT_TRUE(isActive("pulseConfigPeriodAuto"));
    EXPECT_TRUE(isActive("pulseConfigSlopeRising"));
    EXPECT_TRUE(isActive("pulseConfigModelGate"));
}

TEST_F(PulseConfigDialog, WhatWasNotTouchedIsSentAsItWas) {
    SENSOR_CONFIGS& configs = sensorFakes[sensorPort_USB1].configs;
    configs.freqVal = 13560123.0F;
    configs.prdVal = 0.0123456789F;
    configs.trigLevelVal = 33.3333333F;
    configs.trigDelayVal = 1.0F / 3.0F;
    open(true);
    tap("pulseConfigApply");
    answer(0, false);
    const SENSOR_CONFIGS sent = SensorFakes_request().config;
    EXPECT_EQ(SensorFakes_request().port, static_cast<uint32_t>(sensorPort_USB1));
    EXPECT_EQ(sent.freqVal, configs.freqVal);
    EXPECT_EQ(sent.prdVal, configs.prdVal);
    EXPECT_EQ(sent.trigLevelVal, configs.trigLevelVal);
    EXPECT_EQ(sent.trigDelayVal, configs.trigDelayVal);
    EXPECT_EQ(sent.gateBegin, configs.gateBegin);
    EXPECT_EQ(sent.trigSlope, 1);
    EXPECT_TRUE(sent.bSupportsTriggeredGates);
    EXPECT_FALSE(isShown(dialog->window));
}

TEST_F(PulseConfigDialog, EveryFieldCanBeTyped) {
    open(true);
    type("pulseConfigFrequency", "27.12");
    type("pulseConfigPeriod", "20");
    type("pulseConfigLevel", "5.5");
    type("pulseConfigDelay", "1");
    tap("pulseConfigKeyMinus");
    type("pulseConfigGateBegin", "250");
    type("pulseConfigGateEnd", "30");
    tap("pulseConfigKeyMinus");
    EXPECT_EQ(text("pulseConfigGateEnd"), "-30");
    tap("pulseConfigSlopeFalling");
    tap("pulseConfigApply");
    answer(0, false);
    const SENSOR_CONFIGS sent = SensorFakes_request().config;
    EXPECT_FLOAT_EQ(sent.freqVal, 27120000.0F);
    EXPECT_FLOAT_EQ(sent.prdVal, 0.02F);
    EXPECT_FLOAT_EQ(sent.trigLevelVal, 5.5F);
    EXPECT_FLOAT_EQ(sent.trigDelayVal, -0.000001F);
    EXPECT_FLOAT_EQ(sent.gateBegin, 0.00025F);
    EXPECT_FLOAT_EQ(sent.gateEnd, -0.00003F);
    EXPECT_EQ(sent.trigSlope, 0);
}

TEST_F(PulseConfigDialog, TheFirstKeyReplacesTheEntry) {
    open(false);
    tap("pulseConfigFrequency");
    tap("pulseConfigKey5");
    EXPECT_EQ(text("pulseConfigFrequency"), "5");
    tap("pulseConfigKeyPeriod");
    tap("pulseConfigKeyPeriod");
    tap("pulseConfigKey7");
    EXPECT_EQ(text("pulseConfigFrequency"), "5.7");
    tap("pulseConfigKeyBack");
    EXPECT_EQ(text("pulseConfigFrequency"), "5.");
    tap("pulseConfigKeyClear");
    EXPECT_EQ(text("pulseConfigFrequency"), "");
}

TEST_F(PulseConfigDialog, NextGoesThroughTheEntriesThatAnswer) {
    open(true);
    tap("pulseConfigLevelAuto");
    tap("pulseConfigFrequency");
    for (const char* name : {"pulseConfigPeriod", "pulseConfigDelay", "pulseConfigGateBegin",
                             "pulseConfigGateEnd", "pulseConfigFrequency"}) {
        tap("pulseConfigKeyNext");
        EXPECT_TRUE(isTarget(name)) << name;
    }
}

TEST_F(PulseConfigDialog, TheMinusKeyAnswersWhereANegativeNumberMakesSense) {
    open(true);
    struct Row {
        const char* name;
        bool canBeNegative;
    };
    for (const Row& row : {Row{"pulseConfigFrequency", false}, Row{"pulseConfigPeriod", false},
                           Row{"pulseConfigLevel", false}, Row{"pulseConfigDelay", true},
                           Row{"pulseConfigGateBegin", true}, Row{"pulseConfigGateEnd", true}}) {
        tap(row.name);
        EXPECT_EQ(gtk_widget_get_sensitive(dialog->minusKey) != 0, row.canBeNegative) << row.name;
        EXPECT_EQ(fieldCanBeNegative(dialog, part(row.name)), row.canBeNegative);
    }
    tap("pulseConfigLevel");
    tap("pulseConfigLevelUnit");
    tap("pulseConfigLevelUnit");
    EXPECT_EQ(unit("pulseConfigLevel"), "dBm");
    EXPECT_TRUE(gtk_widget_get_sensitive(dialog->minusKey));
    EXPECT_FALSE(fieldCanBeNegative(dialog, dialog->title));
}

TEST_F(PulseConfigDialog, UnitKeysStepAndLeaveWhatWasTyped) {
    open(true);
    struct Row {
        const char* name;
        const char* typed;
        std::array<const char*, 4> units; ///< from the first shown on
        size_t count;
    };
    constexpr Row rows[] = {{"pulseConfigFrequency", "27.120", {"MHz", "Hz", "KHz"}, 3},
                            {"pulseConfigPeriod", "20.0", {"ms", "us", "s"}, 3},
                            {"pulseConfigLevel", "5.50", {"W", "kW", "dBm", "mW"}, 4}};
    for (const Row& row : rows) {
        type(row.name, row.typed);
        for (size_t i = 0; i < row.count; ++i) {
            EXPECT_EQ(unit(row.name), row.units[i]);
            EXPECT_EQ(text(row.name) == row.typed, i == 0) << row.units[i];
            tap(std::string(row.name) + "Unit");
        }
        EXPECT_EQ(unit(row.name), row.units[0]);
        EXPECT_EQ(text(row.name), row.typed);
    }
    EXPECT_FLOAT_EQ(dialog->configLevelWatt, 5.5F);
    EXPECT_NEAR(dialog->configLevelDBm, 37.4036F, 0.001F);
}

TEST_F(PulseConfigDialog, TheLevelIsShownInDBmWhereTheScreensAre) {
    configuration_setPowerUnitsIsdBm(true);
    open(true);
    EXPECT_EQ(unit("pulseConfigLevel"), "dBm");
    EXPECT_EQ(text("pulseConfigLevel"), "40");
    type("pulseConfigLevel", "30");
    EXPECT_TRUE(dialog->configUnitIsdBm);
    tap("pulseConfigApply");
    answer(0, false);
    EXPECT_FLOAT_EQ(SensorFakes_request().config.trigLevelVal, 1.0F);
}

TEST_F(PulseConfigDialog, StatesAreAddedUpToFour) {
    open(true);
    tap("pulseConfigModelStates");
    EXPECT_FALSE(isShown(part("pulseConfigGateBegin")));
    for (int count = 1; count <= 4; ++count) {
        tap("pulseConfigAddState");
        for (int number = 1; number <= 4; ++number) {
            EXPECT_EQ(isShown(part("pulseConfigStateBegin" + std::to_string(number))),
                      number <= count);
        }
        EXPECT_TRUE(isTarget("pulseConfigStateBegin" + std::to_string(count)));
    }
    EXPECT_FALSE(gtk_widget_get_sensitive(dialog->addState));
    EXPECT_EQ(dialog->pulseConfig.numStates, 4);
    tap("pulseConfigModelGate");
    EXPECT_TRUE(isShown(part("pulseConfigGateBegin")));
    EXPECT_FALSE(isShown(part("pulseConfigStateBegin1")));
}

TEST_F(PulseConfigDialog, TheLastStateCanBeRemovedAgain) {
    open(true);
    tap("pulseConfigModelStates");
    EXPECT_FALSE(gtk_widget_get_sensitive(dialog->removeState));
    const GdkRectangle add = Gui_place(dialog->addState);
    for (int count = 0; count < 4; ++count) {
        tap("pulseConfigAddState");
    }
    for (int count = 3; count >= 0; --count) {
        tap("pulseConfigRemoveState");
        EXPECT_EQ(dialog->pulseConfig.numStates, count);
        for (int number = 1; number <= 4; ++number) {
            EXPECT_EQ(isShown(part("pulseConfigStateEnd" + std::to_string(number))),
                      number <= count);
        }
        EXPECT_TRUE(gtk_widget_get_sensitive(dialog->addState));
        EXPECT_TRUE(isTarget("pulseConfigFrequency")) << "the removed state's entry was the target";
    }
    EXPECT_FALSE(gtk_widget_get_sensitive(dialog->removeState));
    EXPECT_EQ(Gui_place(dialog->addState).x, add.x);
    EXPECT_EQ(Gui_place(dialog->addState).y, add.y);
    tap("pulseConfigApply");
    answer(0, false);
    EXPECT_EQ(SensorFakes_request().config.numStates, 0);
}

TEST_F(PulseConfigDialog, StatesAreSentAndTheUnusedOnesReset) {
    open(true);
    tap("pulseConfigModelStates");
    tap("pulseConfigAddState");
    type("pulseConfigStateBegin1", "100");
    type("pulseConfigStateEnd1", "300");
    tap("pulseConfigApply");
    answer(0, false);
    const SENSOR_CONFIGS sent = SensorFakes_request().config;
    EXPECT_TRUE(sent.bModelIsTriggeredGates);
    EXPECT_EQ(sent.numStates, 1);
    EXPECT_TRUE(sent.pulseStates[0].bEnabled);
    EXPECT_FLOAT_EQ(sent.pulseStates[0].begin, 0.0001F);
    EXPECT_FLOAT_EQ(sent.pulseStates[0].end, 0.0003F);
    EXPECT_FALSE(sent.pulseStates[3].bEnabled);
    EXPECT_FLOAT_EQ(sent.pulseStates[3].end, 0.001F);
}

TEST_F(PulseConfigDialog, AFailedRuleIsToldAndTheKeypadTurnsToItsEntry) {
    open(true);
    type("pulseConfigDelay", "2000000");
    tap("pulseConfigApply");
    EXPECT_EQ(takeError(), "The trigger delay value must be between -1.000000 and 1.000000 s.");
    EXPECT_TRUE(isTarget("pulseConfigDelay"));
    EXPECT_TRUE(isShown(dialog->window));
    EXPECT_EQ(SensorFakes_request().count, 0);
    type("pulseConfigDelay", "0");
    tap("pulseConfigModelStates");
    tap("pulseConfigAddState");
    tap("pulseConfigAddState");
    type("pulseConfigStateEnd1", "1");
    type("pulseConfigStateBegin2", "200000");
    type("pulseConfigStateEnd2", "100000");
    tap("pulseConfigApply");
    EXPECT_EQ(takeError(),
              "The ending value of state 2 must\nbe greater than the beginning value.");
    EXPECT_TRUE(isTarget("pulseConfigStateEnd2"));
}

TEST_F(PulseConfigDialog, TheShortFormKnowsTheGateOnly) {
    sensorFakes[sensorPort_USB1].configs.prdVal = -5.0F;
    open(false);
    type("pulseConfigGateBegin", "901");
    tap("pulseConfigApply");
    EXPECT_EQ(takeError(),
              "The gate begin delay value must be between 0.000000 and 900.000000 us.");
    EXPECT_TRUE(isTarget("pulseConfigGateBegin"));
    type("pulseConfigGateBegin", "900");
    tap("pulseConfigApply");
    answer(0, false);
    EXPECT_FALSE(isShown(dialog->window));
}

TEST_F(PulseConfigDialog, WhileItSendsOnlyCancelAnswersAndReadingsGoOn) {
    open(true);
    tap("pulseConfigApply");
    ASSERT_TRUE(Gui_waitUntil([] { return SensorFakes_request().isWaiting; }, pulseConfigLimit_ms));
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(dialog->status)), "Sending to the sensor...");
    for (GtkWidget* button : {dialog->apply, dialog->applyAndStore, dialog->restore,
                              part("pulseConfigFrequency"), part("pulseConfigKey1")}) {
        EXPECT_FALSE(gtk_widget_is_sensitive(button)) << gtk_widget_get_name(button);
    }
    EXPECT_TRUE(gtk_widget_is_sensitive(dialog->cancel));
    SENSOR_MEASUREMENTS next = readings();
    next.fwdPwrVal = 99.0F;
    read(next);
    EXPECT_EQ(Gui_text("pulse.valueFwd"), "  99.00");
    tap(dialog->cancel);
    EXPECT_FALSE(isShown(dialog->window));
    EXPECT_FALSE(PulseConfigSending_isActive());
    EXPECT_EQ(SensorFakes_request().cancelledCount, 1);
}

TEST_F(PulseConfigDialog, ACancelBeforeTheConfigurationIsHandedOverEndsItsThreadToo) {
    SensorFakes_holdRequests(true);
    open(true);
    tap("pulseConfigStore");
    tap(dialog->cancel);
    EXPECT_FALSE(isShown(dialog->window));
    SensorFakes_holdRequests(false);
    EXPECT_TRUE(
        Gui_waitUntil([] { return SensorFakes_request().endedCount == 1; }, pulseConfigLimit_ms));
    EXPECT_EQ(SensorFakes_request().count, 0);
    EXPECT_EQ(World_readFile(pulseConfigStoredFile), "");
}

TEST_F(PulseConfigDialog, ACancelEndsItsOwnSendingOnly) {
    open(true);
    tap("pulseConfigApply");
    ASSERT_TRUE(Gui_waitUntil([] { return SensorFakes_request().isWaiting; }, pulseConfigLimit_ms));
    tap(dialog->cancel);
    ASSERT_TRUE(
        Gui_waitUntil([] { return SensorFakes_request().endedCount == 1; }, pulseConfigLimit_ms));
    open(true);
    tap("pulseConfigApply");
    answer(0, false);
    EXPECT_FALSE(isShown(dialog->window));
    EXPECT_EQ(SensorFakes_request().cancelledCount, 1);
}

TEST_F(PulseConfigDialog, AfterACancelledSendingItOpensAsNew) {
    open(true);
    tap("pulseConfigStore");
    ASSERT_TRUE(Gui_waitUntil([] { return SensorFakes_request().isWaiting; }, pulseConfigLimit_ms));
    tap(dialog->cancel);
    open(true);
    EXPECT_TRUE(gtk_widget_is_sensitive(dialog->apply));
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(dialog->status)), "");
    EXPECT_EQ(World_readFile(pulseConfigStoredFile), "");
    EXPECT_FALSE(isShown(dialog->errorWindow));
}

TEST_F(PulseConfigDialog, ApplyStoresNothingApplyAndStoreDoes) {
    open(true);
    tap("pulseConfigApply");
    answer(0, false);
    EXPECT_EQ(World_readFile(pulseConfigStoredFile), "");
    open(true);
    type("pulseConfigPeriod", "25");
    tap("pulseConfigStore");
    answer(0, false);
    EXPECT_FALSE(isShown(dialog->window));
    SENSOR_CONFIGS stored = {};
    sensorPortHandler_loadSensorConfig(&stored);
    EXPECT_FLOAT_EQ(stored.prdVal, 0.025F);
}

TEST_F(PulseConfigDialog, WhatTheSensorRefusesIsToldAndNotStored) {
    open(true);
    tap("pulseConfigStore");
    answer(2, false);
    EXPECT_EQ(takeError(), "Parameter Errors occured in the sensor.\n\r"
                           "See the manual for valid parmaeter ranges:\n\r"
                           "  Number 0 is not valid\n\r  Number 1 is not valid\n\r");
    EXPECT_TRUE(isShown(dialog->window));
    EXPECT_TRUE(gtk_widget_is_sensitive(dialog->apply));
    EXPECT_EQ(World_readFile(pulseConfigStoredFile), "");
}

TEST_F(PulseConfigDialog, ASensorThatHasGoneIsToldAndNothingIsStored) {
    open(true);
    tap("pulseConfigStore");
    answer(0, true);
    EXPECT_EQ(takeError(), "The sensor has gone.\nNothing has been stored.");
    EXPECT_TRUE(isShown(dialog->window));
    EXPECT_EQ(World_readFile(pulseConfigStoredFile), "");
}

TEST_F(PulseConfigDialog, RestoreFillsTheEntriesAndSendsNothing) {
    SENSOR_CONFIGS stored = {};
    stored.freqVal = 40680000.0F;
    stored.bModelIsTriggeredGates = true;
    stored.numStates = 2;
    stored.pulseStates[1] = {true, 0.0005F, 0.0015F};
    sensorPortHandler_saveSensorConfig(&stored);
    open(true);
    tap("pulseConfigRestore");
    EXPECT_EQ(text("pulseConfigFrequency"), "40.68");
    EXPECT_EQ(text("pulseConfigStateBegin2"), "500");
    EXPECT_EQ(text("pulseConfigStateEnd2"), "1.5");
    EXPECT_TRUE(isShown(part("pulseConfigStateEnd2")));
    EXPECT_FALSE(isShown(part("pulseConfigStateBegin3")));
    EXPECT_TRUE(isActive("pulseConfigSlopeFalling"));
    EXPECT_TRUE(dialog->pulseConfig.bSupportsTriggeredGates);
    EXPECT_TRUE(isShown(dialog->window));
    EXPECT_EQ(SensorFakes_request().count, 0);
}

TEST_F(PulseConfigDialog, StatesInAFileMeanNothingToTheShortForm) {
    SENSOR_CONFIGS stored = {};
    stored.bModelIsTriggeredGates = true;
    stored.numStates = 2;
    sensorPortHandler_saveSensorConfig(&stored);
    open(false);
    tap("pulseConfigRestore");
    EXPECT_TRUE(isShown(part("pulseConfigGateBegin")));
    EXPECT_FALSE(isShown(part("pulseConfigStateBegin1")));
}

TEST_F(PulseConfigDialog, AutomaticFieldsDoNotAnswerButThePeriodDoes) {
    open(true);
    tap("pulseConfigFrequency");
    tap("pulseConfigFrequencyAuto");
    tap("pulseConfigPeriodAuto");
    tap("pulseConfigLevelAuto");
    EXPECT_FALSE(gtk_widget_is_sensitive(part("pulseConfigFrequency")));
    EXPECT_TRUE(gtk_widget_is_sensitive(part("pulseConfigPeriod")));
    EXPECT_FALSE(gtk_widget_is_sensitive(part("pulseConfigLevel")));
    EXPECT_TRUE(isTarget("pulseConfigPeriod"));
    tap("pulseConfigApply");
    answer(0, false);
    EXPECT_TRUE(SensorFakes_request().config.bAutoFrequency);
    EXPECT_TRUE(SensorFakes_request().config.bAutoPeriod);
    EXPECT_TRUE(SensorFakes_request().config.bAutoTriggerLevel);
}

TEST_F(PulseConfigDialog, TheFirstEntryThatAnswersHasTheKeypad) {
    sensorFakes[sensorPort_USB1].configs.bAutoFrequency = true;
    open(true);
    EXPECT_EQ(dialog->pEntryTarget, part("pulseConfigPeriod"));
    EXPECT_TRUE(gtk_widget_is_sensitive(part("pulseConfigKey1")));
    tap("pulseConfigKey7");
    EXPECT_EQ(text("pulseConfigPeriod"), "7");
    PulseConfigForm_setTarget(dialog, nullptr);
    EXPECT_FALSE(gtk_widget_is_sensitive(part("pulseConfigKey1"))) << "nothing to write to";
}

TEST_F(PulseConfigDialog, ARefusedEntryHasARedFrameUntilItIsChanged) {
    const auto isRefused = [this] {
        return gtk_style_context_has_class(
                   gtk_widget_get_style_context(part("pulseConfigFrequency")), "refused") != FALSE;
    };
    open(true);
    tap("pulseConfigFrequency");
    tap("pulseConfigKeyClear");
    tap("pulseConfigApply");
    EXPECT_TRUE(isRefused());
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(dialog->status)), "A number is missing.");
    tap("pulseConfigKey0");
    EXPECT_FALSE(isRefused());
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(dialog->status)), "");
    tap("pulseConfigApply");
    ASSERT_TRUE(isShown(dialog->errorWindow)) << "no sensor takes a frequency of 0";
    Look_expectShown(dialog->errorWindow);
    tap(dialog->errorOk);
    EXPECT_TRUE(isRefused());
    tap("pulseConfigKey1");
    EXPECT_FALSE(isRefused());
}

TEST_F(PulseConfigDialog, ClosingTheWindowIsCancel) {
    open(true);
    gtk_window_close(GTK_WINDOW(dialog->window));
    Gui_settle();
    EXPECT_FALSE(isShown(dialog->window));
    EXPECT_NE(dialog->window, nullptr);
}

TEST_F(PulseConfigDialog, DoesNothingBeforeStartUpHasFinished) {
    open(true);
    gtk_init_done = false;
    tap("pulseConfigApply");
    tap("pulseConfigFrequencyUnit");
    EXPECT_EQ(SensorFakes_request().count, 0);
    EXPECT_EQ(unit("pulseConfigFrequency"), "MHz");
    gtk_init_done = true;
}

TEST_F(PulseConfigDialog, AMissingInterfaceFileIsLoggedAndNothingOpens) {
    std::array<char, 4096> folder{};
    ASSERT_NE(getcwd(folder.data(), folder.size()), nullptr);
    ASSERT_EQ(chdir("/"), 0);
    World_clearSyslog();
    static PULSE_CONFIG_DIALOG own;
    pulseConfigDialog_Create(own, pulseConfigForm3163);
    ASSERT_EQ(chdir(folder.data()), 0);
    EXPECT_TRUE(World_syslogContains("Error loading file: "));
    EXPECT_EQ(own.window, nullptr);
}

} // namespace
