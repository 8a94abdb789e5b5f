#include "CSensorDisplayFSM.h"

#include "DisplayFsmFixture.h"

#include <cmath>
#include <iterator>
#include <string>

// ---- reset

TEST_F(DisplayFsm, ResetLeavesTheUpperDisplayActiveWithoutSensor) {
    upper = {LowerDisplay, false, 2, NotActive, Measuring, Pulse, ShowGraph};
    lower = {UpperDisplay, false, 3, Active, Measuring, Pulse, ShowGraph};
    countSubState = DualSensors;
    sensorDisplays[LowerDisplay].sensorPort = sensorPort_USB1;
    sensorDisplays[LowerDisplay].display = gtkSensorDualChannel2;
    CGraphData_addItem(&sensorDisplays[LowerDisplay].graphDataPwr, 1.0F);
    ViewRecorder_install();

    CSensorDisplayFSM_reset();

    EXPECT_EQ(countSubState, SingleSensor);
    for (const SensorDisplayInstance_t display : {UpperDisplay, LowerDisplay}) {
        const CSensorDisplayFSM& fsm = sensorFSM[display];
        EXPECT_EQ(fsm.display, display);
        EXPECT_TRUE(fsm.fullSCreen);
        EXPECT_EQ(fsm.port, noPort);
        EXPECT_EQ(fsm.activeState, display == UpperDisplay ? Active : NotActive);
        EXPECT_EQ(fsm.state, NotConnected);
        EXPECT_EQ(fsm.typeSubState, CW);
        EXPECT_EQ(fsm.graphSubState, HideGraph);
        SensorDisplayInstance& slot = sensorDisplays[display];
        EXPECT_EQ(slot.sensorPort, noPort);
        EXPECT_EQ(slot.display, gtkSensorSingleNoConnection);
        EXPECT_EQ(CGraphData_getCount(&slot.graphDataPwr, RawData), 0U);
    }
    EXPECT_TRUE(ViewRecorder_isVisible(ScreenContainer::singleChannel1Screen));
    EXPECT_TRUE(ViewRecorder_isVisible(ScreenContainer::dualCWChannels, UpperDisplay));
    EXPECT_TRUE(ViewRecorder_isVisible(ScreenContainer::dualCWChannels, LowerDisplay));
    EXPECT_TRUE(ViewRecorder_isVisible(ScreenContainer::dualNoConnectionScreens, UpperDisplay));
    EXPECT_TRUE(ViewRecorder_isVisible(ScreenContainer::dualNoConnectionScreens, LowerDisplay));
    for (uint32_t screen = gtkSensorSingleNoConnection; screen < gtkSensorInstanceCount; ++screen) {
        EXPECT_EQ(viewRecord.screens[screen].text, "noSensor");
    }
    expectScreen(UpperDisplay, gtkSensorSingleNoConnection);
}

// ---- the life of one sensor

TEST_F(DisplayFsm, AFirstSensorConnectsOnTheFullScreen) {
    plug(sensorPort_Serial1, 0);
    EXPECT_EQ(upper.state, Connecting);
    EXPECT_EQ(sensorDisplays[UpperDisplay].sensorPort, sensorPort_Serial1);
    EXPECT_EQ(textOf(gtkSensorSingleNoConnection), "connecting Serial1");
    expectScreen(UpperDisplay, gtkSensorSingleNoConnection);
}

TEST_F(DisplayFsm, AReadySensorShowsItsReadingsAndTellsTheListener) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    EXPECT_EQ(upper.state, Measuring);
    expectScreen(UpperDisplay, gtkSensorSingleChannel1);
    const RecordedScreen& screen = viewRecord.screens[gtkSensorSingleChannel1];
    EXPECT_EQ(screen.fwdPower, 25.0F);
    EXPECT_EQ(screen.port, sensorPort_Serial1);
    EXPECT_EQ(screen.displayIndex, UpperDisplay);
    EXPECT_EQ(screen.labelLength, 30U);
    EXPECT_EQ(screen.scaleUpdates, 1U);
    EXPECT_EQ(heardPort, sensorPort_Serial1);
    EXPECT_EQ(heardPower, 25.0F);
}

TEST_F(DisplayFsm, MeasurementsReachOnlyTheScreenThatIsShown) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    for (uint32_t screen = 0; screen < gtkSensorInstanceCount; ++screen) {
        if (screen != gtkSensorSingleChannel1) {
            EXPECT_TRUE(std::isnan(viewRecord.screens[screen].fwdPower)) << screen;
        }
    }
}

TEST_F(DisplayFsm, FirstMeasurementBindsTheFullAndTheOwnHalfScreens) {
    plugAndMeasure(sensorPort_USB1, 1, 1.0F);
    const struct {
        GtkSensorInstance screen;
        uint32_t labelLength;
    } bound[] = {{gtkSensorSingleChannel1, 30},        {gtkSensorSingleChannel1withGraph, 30},
                 {gtkSensorSinglePulse, 30},           {gtkSensorDualChannel2, 30},
                 {gtkSensorDualChannel2withGraph, 22}, {gtkSensorDualPulseChannel2, 30}};
    uint32_t bindings = 0;
    for (const auto& expected : bound) {
        const RecordedScreen& screen = viewRecord.screens[expected.screen];
        EXPECT_EQ(screen.bindings, 1U);
        EXPECT_EQ(screen.port, sensorPort_USB1);
        EXPECT_EQ(screen.displayIndex, LowerDisplay);
        EXPECT_EQ(screen.labelLength, expected.labelLength);
    }
    for (const RecordedScreen& screen : viewRecord.screens) {
        bindings += screen.bindings;
    }
    EXPECT_EQ(bindings, std::size(bound)) << "no other screen is bound";
}

TEST_F(DisplayFsm, AReadySensorsScreenReplacesTheOthersOfItsSizeOnly) {
    plug(sensorPort_USB1, 0);
    viewRecord.calls.clear();
    becomeReady(sensorPort_USB1, 25.0F);
    const std::vector<std::string> expected = {
        "hide singleChannel1ScreenGraph", "hide singleChannelPulseScreen",
        "show singleChannel1Screen",      "hide noConnectionScreen",
        "show singleMeasurementView",     "show singleSensorContainer",
        "hide dualSensorContainer",
    };
    EXPECT_EQ(viewRecord.calls, expected);
}

TEST_F(DisplayFsm, ASensorThatIsNeverReadyStaysConnecting) {
    plug(sensorPort_Serial1, 0);
    for (int pass = 0; pass < 100; ++pass) {
        CSensorDisplayFSM_updateMeasurements(sensorPort_Serial1);
    }
    EXPECT_EQ(upper.state, Connecting);
    EXPECT_EQ(heardPort, noPort);
}

TEST_F(DisplayFsm, ASensorThatIsNotReadyAnyMoreLeavesTheScreenUntouched) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    sensorFakes[0].status.status = notReady;
    sensorFakes[0].measurements.fwdPwrVal = 1.0F;
    viewRecord.calls.clear();
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial1);
    EXPECT_EQ(upper.state, Measuring);
    EXPECT_EQ(viewRecord.screens[gtkSensorSingleChannel1].fwdPower, 25.0F);
    EXPECT_TRUE(viewRecord.calls.empty());
}

TEST_F(DisplayFsm, AnUnpluggedSensorLeavesTheNoSensorTextAndBlanksTheNextOnesValues) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    CSensorDisplayFSM_disconnect(sensorPort_Serial1);
    EXPECT_EQ(upper.state, NotConnected);
    EXPECT_EQ(upper.activeState, Active);
    EXPECT_EQ(sensorDisplays[UpperDisplay].sensorPort, noPort);
    EXPECT_EQ(textOf(gtkSensorSingleNoConnection), "noSensor");
    expectScreen(UpperDisplay, gtkSensorSingleNoConnection);

    plug(sensorPort_Serial2, 0);
    upper.state = Connecting;
    EXPECT_TRUE(CSensorDisplayFSM_handleActivateEvents(&upper, evSensorReady, sensorPort_Serial2));
    EXPECT_TRUE(std::isnan(viewRecord.screens[gtkSensorSingleChannel1].fwdPower));
}

TEST_F(DisplayFsm, AFatalSensorErrorShowsTheErrorUntilTheSensorIsPulled) {
    plugAndMeasure(sensorPort_USB2, 0, 25.0F);
    sensorFakes[sensorPort_USB2].status.status = hasFatalError;
    CSensorDisplayFSM_updateMeasurements(sensorPort_USB2);
    EXPECT_EQ(upper.state, SensorError);
    EXPECT_EQ(textOf(gtkSensorSingleNoConnection), "error USB2");
    expectScreen(UpperDisplay, gtkSensorSingleNoConnection);
    viewRecord.calls.clear();
    CSensorDisplayFSM_updateMeasurements(sensorPort_USB2);
    sensorFakes[sensorPort_USB2].status.status = isReady;
    CSensorDisplayFSM_updateMeasurements(sensorPort_USB2);
    EXPECT_EQ(upper.state, SensorError);
    EXPECT_TRUE(viewRecord.calls.empty());
    CSensorDisplayFSM_disconnect(sensorPort_USB2);
    EXPECT_EQ(upper.state, NotConnected);
}

TEST_F(DisplayFsm, AFatalErrorWhileConnectingShowsTheErrorToo) {
    plug(sensorPort_Serial2, 0);
    sensorFakes[sensorPort_Serial2].status.status = hasFatalError;
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial2);
    EXPECT_EQ(upper.state, SensorError);
    EXPECT_EQ(textOf(gtkSensorSingleNoConnection), "error Serial2");
}

TEST_F(DisplayFsm, SensorErrorReachesTheDisplayThatShowsThePort) {
    plugAndMeasure(sensorPort_Serial1, 0, 1.0F);
    plugAndMeasure(sensorPort_Serial2, 1, 2.0F);
    CSensorDisplayFSM_sensorError(sensorPort_Serial2);
    EXPECT_EQ(upper.state, Measuring);
    EXPECT_EQ(lower.state, SensorError);
    EXPECT_EQ(textOf(gtkSensorDualNoConnectionCh2), "error Serial2");
    expectScreen(LowerDisplay, gtkSensorDualNoConnectionCh2);
    CSensorDisplayFSM_sensorError(sensorPort_USB1);
    EXPECT_TRUE(World_syslogContains("DisplayFSM: Failed to handle sensor error. No FSM instance "
                                     "is active for port USB1 (2)."));
}

// ---- two sensors

TEST_F(DisplayFsm, ASecondSensorSplitsTheScreen) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    plug(sensorPort_Serial2, 1);
    EXPECT_EQ(countSubState, DualSensors);
    expectScreen(UpperDisplay, gtkSensorDualChannel1);
    expectScreen(LowerDisplay, gtkSensorDualNoConnectionCh2);
    EXPECT_EQ(textOf(gtkSensorDualNoConnectionCh2), "connecting Serial2");
    becomeReady(sensorPort_Serial2, 3.0F);
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial1);
    expectScreen(LowerDisplay, gtkSensorDualChannel2);
    EXPECT_EQ(viewRecord.screens[gtkSensorDualChannel1].fwdPower, 25.0F);
    EXPECT_EQ(viewRecord.screens[gtkSensorDualChannel2].fwdPower, 3.0F);
}

TEST_F(DisplayFsm, ASecondSensorWhileTheFirstIsStillConnectingSplitsTheTexts) {
    plug(sensorPort_Serial1, 0);
    plug(sensorPort_USB1, 1);
    expectScreen(UpperDisplay, gtkSensorDualNoConnectionCh1);
    EXPECT_EQ(textOf(gtkSensorDualNoConnectionCh1), "connecting Serial1");
    EXPECT_EQ(textOf(gtkSensorDualNoConnectionCh2), "connecting USB1");
}

TEST_F(DisplayFsm, PullingTheUpperSensorGivesTheLowerOneTheScreen) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    plugAndMeasure(sensorPort_Serial2, 1, 3.0F);
    CSensorDisplayFSM_disconnect(sensorPort_Serial1);
    EXPECT_EQ(countSubState, SingleSensor);
    EXPECT_EQ(upper.activeState, NotActive);
    EXPECT_EQ(upper.state, NotConnected);
    expectScreen(LowerDisplay, gtkSensorSingleChannel1);
    EXPECT_EQ(viewRecord.screens[gtkSensorSingleChannel1].port, sensorPort_Serial2);
    EXPECT_EQ(viewRecord.screens[gtkSensorSingleChannel1].displayIndex, LowerDisplay);
    EXPECT_TRUE(std::isnan(viewRecord.screens[gtkSensorSingleChannel1].fwdPower))
        << "the other sensor's last value is gone";
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial2);
    EXPECT_EQ(viewRecord.screens[gtkSensorSingleChannel1].fwdPower, 3.0F);
}

TEST_F(DisplayFsm, PullingTheLowerSensorGivesTheUpperOneTheScreen) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    plugAndMeasure(sensorPort_Serial2, 1, 3.0F);
    CSensorDisplayFSM_disconnect(sensorPort_Serial2);
    EXPECT_EQ(countSubState, SingleSensor);
    EXPECT_EQ(lower.activeState, NotActive);
    expectScreen(UpperDisplay, gtkSensorSingleChannel1);
}

TEST_F(DisplayFsm, PullingBothSensorsEitherWayEndsAtTheFullNoSensorScreen) {
    for (const bool upperFirst : {true, false}) {
        plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
        plugAndMeasure(sensorPort_Serial2, 1, 3.0F);
        CSensorDisplayFSM_disconnect(upperFirst ? sensorPort_Serial1 : sensorPort_Serial2);
        CSensorDisplayFSM_disconnect(upperFirst ? sensorPort_Serial2 : sensorPort_Serial1);
        EXPECT_EQ(upper.activeState, Active);
        EXPECT_EQ(lower.activeState, NotActive);
        EXPECT_EQ(textOf(gtkSensorSingleNoConnection), "noSensor");
        expectScreen(UpperDisplay, gtkSensorSingleNoConnection);
    }
}

TEST_F(DisplayFsm, ASensorOnChannelOneAloneTakesTheFullScreenAndGivesItBack) {
    plug(sensorPort_Serial2, 1);
    EXPECT_EQ(upper.activeState, NotActive);
    EXPECT_EQ(lower.activeState, Active);
    EXPECT_EQ(countSubState, SingleSensor);
    expectScreen(LowerDisplay, gtkSensorSingleNoConnection);
    EXPECT_EQ(textOf(gtkSensorSingleNoConnection), "connecting Serial2");
    becomeReady(sensorPort_Serial2, 4.0F);
    expectScreen(LowerDisplay, gtkSensorSingleChannel1);

    CSensorDisplayFSM_disconnect(sensorPort_Serial2);
    EXPECT_EQ(upper.activeState, Active);
    EXPECT_EQ(lower.activeState, NotActive);
    EXPECT_EQ(textOf(gtkSensorSingleNoConnection), "noSensor");
    expectScreen(UpperDisplay, gtkSensorSingleNoConnection);
}

TEST_F(DisplayFsm, AnUpperSensorJoiningALoneLowerOneSplitsTheScreen) {
    plugAndMeasure(sensorPort_Serial2, 1, 4.0F);
    plugAndMeasure(sensorPort_USB1, 0, 5.0F);
    EXPECT_EQ(countSubState, DualSensors);
    expectScreen(UpperDisplay, gtkSensorDualChannel1);
    expectScreen(LowerDisplay, gtkSensorDualChannel2);
    EXPECT_EQ(viewRecord.screens[gtkSensorDualChannel2].port, sensorPort_Serial2);
}

TEST_F(DisplayFsm, AConnectWithoutChannelIsRefused) {
    for (const uint32_t channel : {255U, 2U}) {
        World_clearSyslog();
        plug(sensorPort_USB1, channel);
        EXPECT_EQ(upper.state, NotConnected);
        EXPECT_TRUE(World_syslogContains("DisplayFSM: Port 2 has no assigned logical channel."));
    }
}

TEST_F(DisplayFsm, AConnectToATakenDisplayIsRefused) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    viewRecord.calls.clear();
    plug(sensorPort_USB1, 0);
    EXPECT_TRUE(World_syslogContains("DisplayFSM: Failed to handle connect for port 2 on channel "
                                     "0. All FSM instances are already active."));
    EXPECT_EQ(upper.port, sensorPort_Serial1);
    EXPECT_EQ(upper.state, Measuring);
    EXPECT_TRUE(viewRecord.calls.empty());
}

TEST_F(DisplayFsm, ADisconnectOfAPortThatIsNotShownIsRefused) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    viewRecord.calls.clear();
    for (const uint32_t port : {uint32_t{sensorPort_Serial2}, noPort}) {
        World_clearSyslog();
        CSensorDisplayFSM_disconnect(port);
        EXPECT_TRUE(World_syslogContains("DisplayFSM: Failed to handle disconnect. No FSM "
                                         "instance is active for port " +
                                         std::to_string(port) + "."));
    }
    EXPECT_TRUE(viewRecord.calls.empty());
}

TEST_F(DisplayFsm, ADeactivatedDisplayResumesAsItWas) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    EXPECT_TRUE(CSensorDisplayFSM_handleActivateEvents(&upper, evDeactivate, noPort));
    EXPECT_FALSE(CSensorDisplayFSM_handleActivateEvents(&upper, evSensorDisconnect, noPort));
    EXPECT_EQ(upper.state, Measuring);
    EXPECT_EQ(upper.port, sensorPort_Serial1);
    EXPECT_TRUE(CSensorDisplayFSM_handleActivateEvents(&upper, evActivate, noPort));
    EXPECT_EQ(upper.state, Measuring);
}

// ---- pulse and graph

TEST_F(DisplayFsm, PulseIsForUsbSensorsOnly) {
    for (uint32_t port = 0; port < sensorPortCount; ++port) {
        plugAndMeasure(port, 0, 1.0F);
        CSensorDisplayFSM_setPulse();
        EXPECT_EQ(upper.typeSubState, SensorPort_isUsb(port) ? Pulse : CW);
        expectScreen(UpperDisplay,
                     SensorPort_isUsb(port) ? gtkSensorSinglePulse : gtkSensorSingleChannel1);
        CSensorDisplayFSM_disconnect(port);
    }
}

TEST_F(DisplayFsm, PulseReadingsGoToThePulseScreens) {
    configuration_setPulseMode(true);
    plugAndMeasure(sensorPort_USB1, 0, 1.0F);
    EXPECT_TRUE(viewRecord.screens[gtkSensorSinglePulse].isPulseValue);
    EXPECT_EQ(heardPort, sensorPort_USB1);
    plugAndMeasure(sensorPort_USB2, 1, 2.0F);
    CSensorDisplayFSM_updateMeasurements(sensorPort_USB1);
    EXPECT_TRUE(viewRecord.screens[gtkSensorDualPulseChannel1].isPulseValue);
    EXPECT_TRUE(viewRecord.screens[gtkSensorDualPulseChannel2].isPulseValue);
    EXPECT_EQ(viewRecord.screens[gtkSensorDualPulseChannel1].scaleUpdates, 1U);
    expectScreen(UpperDisplay, gtkSensorDualPulseChannel1);
    expectScreen(LowerDisplay, gtkSensorDualPulseChannel2);
}

TEST_F(DisplayFsm, EveryRefreshWritesTheSensorsNameInPulseModeToo) {
    for (const bool isPulse : {false, true}) {
        configuration_setPulseMode(isPulse);
        plugAndMeasure(sensorPort_USB1, 0, 1.0F);
        RecordedScreen& screen =
            viewRecord.screens[isPulse ? gtkSensorSinglePulse : gtkSensorSingleChannel1];
        screen.labels = 0;
        screen.labelLength = 0;
        CSensorDisplayFSM_updateMeasurements(sensorPort_USB1);
        EXPECT_EQ(screen.labels, 1U) << isPulse;
        EXPECT_EQ(screen.labelLength, 30U) << isPulse;
        CSensorDisplayFSM_disconnect(sensorPort_USB1);
    }
}

TEST_F(DisplayFsm, GraphRequestsAreIgnoredInPulseAndTheGraphFollowsTheSettingAfterwards) {
    plugAndMeasure(sensorPort_USB1, 0, 1.0F);
    CSensorDisplayFSM_setPulse();
    configuration_setDisplayGraph(true);
    CSensorDisplayFSM_showGraph();
    EXPECT_EQ(upper.graphSubState, HideGraph);
    CSensorDisplayFSM_setCW();
    EXPECT_EQ(upper.graphSubState, ShowGraph);
    expectScreen(UpperDisplay, gtkSensorSingleChannel1withGraph);
}

TEST_F(DisplayFsm, GraphAndPulseReachBothDisplays) {
    plugAndMeasure(sensorPort_USB1, 0, 1.0F);
    plugAndMeasure(sensorPort_Serial1, 1, 2.0F);
    CSensorDisplayFSM_showGraph();
    expectScreen(UpperDisplay, gtkSensorDualChannel1withGraph);
    expectScreen(LowerDisplay, gtkSensorDualChannel2withGraph);
    CSensorDisplayFSM_setPulse();
    expectScreen(UpperDisplay, gtkSensorDualPulseChannel1);
    expectScreen(LowerDisplay, gtkSensorDualChannel2withGraph);
    CSensorDisplayFSM_hideGraph();
    expectScreen(LowerDisplay, gtkSensorDualChannel2);
    CSensorDisplayFSM_setCW();
    expectScreen(UpperDisplay, gtkSensorDualChannel1);
}

TEST_F(DisplayFsm, OnlyTheScreensWithGraphUpdateTheirGraph) {
    plugAndMeasure(sensorPort_Serial1, 0, 1.0F);
    EXPECT_EQ(viewRecord.screens[gtkSensorSingleChannel1].graphUpdates, 0U);
    CSensorDisplayFSM_showGraph();
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial1);
    EXPECT_EQ(viewRecord.screens[gtkSensorSingleChannel1withGraph].graphUpdates, 1U);
    EXPECT_EQ(viewRecord.screens[gtkSensorSingleChannel1withGraph].labelLength, 30U);
}

TEST_F(DisplayFsm, ARepeatedGraphRequestChangesNothing) {
    plugAndMeasure(sensorPort_Serial1, 0, 1.0F);
    viewRecord.calls.clear();
    CSensorDisplayFSM_hideGraph();
    EXPECT_TRUE(viewRecord.calls.empty());
}

TEST_F(DisplayFsm, AScreenThatComesBackStartsBlank) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    CSensorDisplayFSM_showGraph();
    becomeReady(sensorPort_Serial1, 26.0F);
    CSensorDisplayFSM_hideGraph();
    EXPECT_TRUE(std::isnan(viewRecord.screens[gtkSensorSingleChannel1].fwdPower))
        << "25 W is not a reading any more";
}

// ---- screen selection, messages and names

TEST_F(DisplayFsm, MeasurementScreensFollowDisplayModeGraphAndPulse) {
    const struct {
        SensorDisplayInstance_t display;
        bool full;
        bool graph;
        bool pulse;
        GtkSensorInstance screen;
    } cases[] = {
        {UpperDisplay, true, false, false, gtkSensorSingleChannel1},
        {LowerDisplay, true, false, false, gtkSensorSingleChannel1},
        {UpperDisplay, true, true, false, gtkSensorSingleChannel1withGraph},
        {LowerDisplay, true, true, false, gtkSensorSingleChannel1withGraph},
        {UpperDisplay, true, false, true, gtkSensorSinglePulse},
        {LowerDisplay, true, true, true, gtkSensorSinglePulse},
        {UpperDisplay, false, false, false, gtkSensorDualChannel1},
        {LowerDisplay, false, false, false, gtkSensorDualChannel2},
        {UpperDisplay, false, true, false, gtkSensorDualChannel1withGraph},
        {LowerDisplay, false, true, false, gtkSensorDualChannel2withGraph},
        {UpperDisplay, false, true, true, gtkSensorDualPulseChannel1},
        {LowerDisplay, false, false, true, gtkSensorDualPulseChannel2},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(getActiveGtkMeasurementInstance(test.display, test.full, test.graph, test.pulse),
                  test.screen);
    }
}

TEST_F(DisplayFsm, NoConnectionScreensFollowTheModeAndTheCount) {
    upper.fullSCreen = true;
    EXPECT_EQ(getNonMeasurementViewInstance(&upper), gtkSensorSingleNoConnection);
    upper.fullSCreen = false;
    lower.fullSCreen = false;
    EXPECT_EQ(getNonMeasurementViewInstance(&upper), gtkSensorDualNoConnectionCh1);
    EXPECT_EQ(getNonMeasurementViewInstance(&lower), gtkSensorDualNoConnectionCh2);
    EXPECT_EQ(CSensorDisplayFSM_getDisplayInstance_forNoConnect(LowerDisplay),
              gtkSensorSingleNoConnection);
    countSubState = DualSensors;
    EXPECT_EQ(CSensorDisplayFSM_getDisplayInstance_forNoConnect(UpperDisplay),
              gtkSensorDualNoConnectionCh1);
    EXPECT_EQ(CSensorDisplayFSM_getDisplayInstance_forNoConnect(LowerDisplay),
              gtkSensorDualNoConnectionCh2);
    EXPECT_EQ(CSensorDisplayFSM_getDisplayInstance_forNoConnect(NumberOfDisplays),
              gtkSensorInstanceCount);
    EXPECT_TRUE(World_syslogContains("DisplayFSM: Unexpected display instance 2"));
}

TEST_F(DisplayFsm, ADisplayIndexOutOfRangeIsLogged) {
    updateMeasurementsForDisplay(2);
    EXPECT_TRUE(World_syslogContains("DisplayFSM: display (2) is out of range"));
}

TEST_F(DisplayFsm, SetErrorMessageNamesThePort) {
    setErrorMessage(gtkSensorDualNoConnectionCh1, sensorPort_USB2);
    EXPECT_EQ(textOf(gtkSensorDualNoConnectionCh1), "Critical Sensor Error on port USB2 (3)|");
}

TEST_F(DisplayFsm, NamesOfEverythingAreTheirEnumerators) {
    const char* const events[] = {"evSensorDetected", "evSensorDisconnect", "evSensorReady",
                                  "evSensorError",    "evSetPulse",         "evSetCW",
                                  "evShowGraph",      "evHideGraph",        "evUpdateMeasurements",
                                  "evUseFullDisplay", "evUseHalfDisplay",   "evActivate",
                                  "evDeactivate",     "Unknown event"};
    for (uint32_t i = 0; i < std::size(events); ++i) {
        EXPECT_STREQ(CSensorDisplayFSM_getEventName(i), events[i]);
    }
    const char* const states[] = {"NotConnected", "Connecting", "SensorError", "Measuring",
                                  "Unknown state"};
    for (uint32_t i = 0; i < std::size(states); ++i) {
        EXPECT_STREQ(CSensorDisplayFSM_getStateName(i), states[i]);
    }
    EXPECT_STREQ(CSensorDisplayFSM_getTypeSubStateName(0), "Pulse");
    EXPECT_STREQ(CSensorDisplayFSM_getTypeSubStateName(1), "CW");
    EXPECT_STREQ(CSensorDisplayFSM_getTypeSubStateName(2), "Unknown substate");
    EXPECT_STREQ(CSensorDisplayFSM_getGraphSubStateName(0), "ShowGraph");
    EXPECT_STREQ(CSensorDisplayFSM_getGraphSubStateName(1), "HideGraph");
    EXPECT_STREQ(CSensorDisplayFSM_getGraphSubStateName(2), "Unknown substate");
    EXPECT_STREQ(CSensorDisplayFSM_getCountSubStateName(0), "SingleSensor");
    EXPECT_STREQ(CSensorDisplayFSM_getCountSubStateName(1), "DualSensors");
    EXPECT_STREQ(CSensorDisplayFSM_getCountSubStateName(9), "Unknown substate");
    const struct {
        uint32_t port;
        const char* name;
    } ports[] = {{0, "Serial1"}, {1, "Serial2"}, {2, "USB1"},
                 {3, "USB2"},    {255, "None"},  {4, "Unknown port"}};
    for (const auto& port : ports) {
        EXPECT_STREQ(CSensorDisplayFSM_getSensorPortName(port.port), port.name);
    }
}

TEST_F(DisplayFsm, ASilentSensorsScreenSaysSoAndKeepsItsValues) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    const RecordedScreen& screen = viewRecord.screens[gtkSensorSingleChannel1];
    EXPECT_EQ(screen.silence, "");
    sensorFakes[0].silence.time_ms = 12000;
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial1);
    EXPECT_EQ(screen.silence, "no reading for 12 s");
    EXPECT_EQ(screen.fwdPower, 25.0F);
    EXPECT_EQ(heardPower, 25.0F) << "remote control hears the same as before";
    sensorFakes[0].silence.time_ms = 100;
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial1);
    EXPECT_EQ(screen.silence, "");
}

TEST_F(DisplayFsm, EachSensorsSilenceStandsOnItsOwnScreen) {
    configuration_setPulseMode(true);
    CSensorDisplayFSM_setPulse();
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    plugAndMeasure(sensorPort_USB1, 1, 4.0F);
    sensorFakes[sensorPort_USB1].silence.time_ms = 120000;
    for (const uint32_t port : {sensorPort_Serial1, sensorPort_USB1}) {
        CSensorDisplayFSM_updateMeasurements(port);
    }
    EXPECT_EQ(viewRecord.screens[gtkSensorDualPulseChannel2].silence, "no reading for 2 min");
    EXPECT_EQ(viewRecord.screens[gtkSensorDualChannel1].silence, "");
    CSensorDisplayFSM_disconnect(sensorPort_Serial1);
    CSensorDisplayFSM_updateMeasurements(sensorPort_USB1);
    EXPECT_EQ(viewRecord.screens[gtkSensorSinglePulse].silence, "no reading for 2 min")
        << "also where it is shown then";
}

TEST_F(DisplayFsm, ValuesOfASensorThatIsNotReadyAnyMoreGrowOldToo) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    sensorFakes[0].status.status = notReady;
    sensorFakes[0].silence.time_ms = 3000;
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial1);
    EXPECT_EQ(viewRecord.screens[gtkSensorSingleChannel1].silence, "no reading for 3 s");
}

TEST_F(DisplayFsm, ANewSensorStartsWithoutTheSilenceOfItsPredecessor) {
    plugAndMeasure(sensorPort_Serial1, 0, 25.0F);
    sensorFakes[0].silence.time_ms = 12000;
    CSensorDisplayFSM_updateMeasurements(sensorPort_Serial1);
    CSensorDisplayFSM_disconnect(sensorPort_Serial1);
    plugAndMeasure(sensorPort_Serial2, 0, 4.0F);
    EXPECT_EQ(viewRecord.screens[gtkSensorSingleChannel1].silence, "");
}
