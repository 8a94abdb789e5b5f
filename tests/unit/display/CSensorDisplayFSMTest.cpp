#include "CSensorDisplayFSM.h"

#include "Configuration.h"
#include "SensorFakes.h"
#include "ViewRecorder.h"
#include "World.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>

namespace {

constexpr uint32_t noPort = sensorPort_None;

uint32_t heardPort = noPort;
float heardPower = 0.0F;

void listen(uint32_t port, const SENSOR_MEASUREMENTS& measurements) {
    heardPort = port;
    heardPower = measurements.fwdPwrVal;
}

class DisplayFsm : public testing::Test {
protected:
    CSensorDisplayFSM& upper = sensorFSM[UpperDisplay];
    CSensorDisplayFSM& lower = sensorFSM[LowerDisplay];

    void SetUp() override {
        SensorFakes_reset();
        ViewRecorder_install();
        CSensorDisplayFSM_registerMeasurementListener(listen);
        heardPort = noPort;
        configuration_setDisplayGraph(false);
        configuration_setPulseMode(false);
        CSensorDisplayFSM_reset();
        World_clearSyslog();
    }
    void TearDown() override {
        CSensorDisplayFSM_registerMeasurementListener(nullptr);
    }

    static void plug(uint32_t port, uint32_t channel) {
        sensorFakes[port].logicalChannel = channel;
        CSensorDisplayFSM_connect(port);
    }
    static void becomeReady(uint32_t port, float power_W) {
        sensorFakes[port].status.status = isReady;
        sensorFakes[port].measurements.fwdPwrVal = power_W;
        sensorFakes[port].measurements.rflPwrVal = 0.0F;
        CSensorDisplayFSM_updateMeasurements(port);
    }
    static void plugAndMeasure(uint32_t port, uint32_t channel, float power_W) {
        plug(port, channel);
        becomeReady(port, power_W);
    }
    /// What a person sees agrees with what the slot says.
    static void expectScreen(SensorDisplayInstance_t display, GtkSensorInstance screen) {
        EXPECT_EQ(sensorDisplays[display].display, screen) << "display " << display;
        EXPECT_EQ(ViewRecorder_visibleScreen(display, sensorFSM[display].fullSCreen), screen)
            << "display " << display;
    }
    static const std::string& textOf(GtkSensorInstance screen) {
        return viewRecord.screens[screen].text;
    }
};

} // namespace

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

// ---- every state with every event

namespace {

/// One leaf of the machine's states.
struct Leaf {
    SensorDisplayActiveState_t activeState;
    SensorDisplayState_t state;
    SensorTypeSubState_t typeSubState;
    SensorGraphSubState_t graphSubState;
};

constexpr Leaf leaves[] = {
    {NotActive, NotConnected, CW, HideGraph}, {NotActive, Connecting, CW, HideGraph},
    {NotActive, SensorError, CW, HideGraph},  {NotActive, Measuring, CW, ShowGraph},
    {Active, NotConnected, CW, HideGraph},    {Active, Connecting, CW, HideGraph},
    {Active, SensorError, CW, HideGraph},     {Active, Measuring, CW, HideGraph},
    {Active, Measuring, CW, ShowGraph},       {Active, Measuring, Pulse, HideGraph},
    {Active, Measuring, Pulse, ShowGraph},
};

struct Outcome {
    bool handled;
    Leaf next;
};

/// The rule of one pair, written down once more and differently from the machine: by event.
Outcome expectedOutcome(const Leaf& leaf, SensorDisplayEvents_t event, bool isUsb,
                        bool graphSetting, bool pulseSetting) {
    const Outcome ignored = {false, leaf};
    Outcome handled = {true, leaf};
    Leaf& next = handled.next;
    if (leaf.activeState == NotActive) {
        next.activeState = Active;
        return event == evActivate ? handled : ignored;
    }
    const bool measuring = leaf.state == Measuring;
    const bool cw = measuring && leaf.typeSubState == CW;
    const bool pulse = measuring && leaf.typeSubState == Pulse;
    const SensorGraphSubState_t graphOfSetting = graphSetting ? ShowGraph : HideGraph;
    switch (event) {
    case evActivate:
        return ignored;
    case evDeactivate:
        next.activeState = NotActive;
        return handled;
    case evSensorDetected:
        next.state = Connecting;
        return leaf.state == NotConnected ? handled : ignored;
    case evSensorDisconnect:
        next.state = NotConnected;
        return leaf.state == NotConnected ? ignored : handled;
    case evSensorReady:
        next.state = Measuring;
        next.typeSubState = pulseSetting && isUsb ? Pulse : CW;
        next.graphSubState = next.typeSubState == Pulse ? leaf.graphSubState : graphOfSetting;
        return leaf.state == Connecting ? handled : ignored;
    case evSensorError:
        next.state = SensorError;
        return leaf.state == Connecting || measuring ? handled : ignored;
    case evSetPulse:
        next.typeSubState = Pulse;
        return cw && isUsb ? handled : ignored;
    case evSetCW:
        next.typeSubState = CW;
        next.graphSubState = graphOfSetting;
        return pulse ? handled : ignored;
    case evShowGraph:
        next.graphSubState = ShowGraph;
        return cw && leaf.graphSubState == HideGraph ? handled : ignored;
    case evHideGraph:
        next.graphSubState = HideGraph;
        return cw && leaf.graphSubState == ShowGraph ? handled : ignored;
    case evUpdateMeasurements:
        return measuring ? handled : ignored;
    case evUseFullDisplay:
    case evUseHalfDisplay:
        return handled;
    }
    return ignored;
}

auto tied(const Leaf& leaf) {
    return std::tie(leaf.activeState, leaf.state, leaf.typeSubState, leaf.graphSubState);
}

Leaf leafOf(const CSensorDisplayFSM& fsm) {
    return {fsm.activeState, fsm.state, fsm.typeSubState, fsm.graphSubState};
}

std::string describe(const Leaf& leaf, uint32_t event) {
    return std::string(leaf.activeState == Active ? "Active " : "NotActive ") +
           CSensorDisplayFSM_getStateName(leaf.state) + " " +
           CSensorDisplayFSM_getTypeSubStateName(leaf.typeSubState) + " " +
           CSensorDisplayFSM_getGraphSubStateName(leaf.graphSubState) + " with " +
           CSensorDisplayFSM_getEventName(event);
}

struct Surroundings {
    uint32_t port;
    bool full;
    bool graphSetting;
    bool pulseSetting;
    SensorDisplayInstance_t display;
};

/// Sends one event to a machine put into a leaf, and compares state, slot and screens.
void checkPair(const Leaf& leaf, SensorDisplayEvents_t event, const Surroundings& around) {
    const bool connected = leaf.state != NotConnected;
    CSensorDisplayFSM& fsm = sensorFSM[around.display];
    fsm = {around.display,    around.full, connected ? around.port : noPort,
           leaf.activeState,  leaf.state,  leaf.typeSubState,
           leaf.graphSubState};
    sensorDisplays[around.display].sensorPort = fsm.port;
    viewRecord.calls.clear();
    const Outcome expected = expectedOutcome(leaf, event, sensorPort_isUsb(around.port),
                                             around.graphSetting, around.pulseSetting);

    const bool handled = CSensorDisplayFSM_handleActivateEvents(&fsm, event, around.port);

    SCOPED_TRACE(describe(leaf, event) + (around.full ? " full" : " half"));
    EXPECT_EQ(handled, expected.handled);
    EXPECT_EQ(tied(leafOf(fsm)), tied(expected.next));
    const bool resized = handled && (event == evUseFullDisplay || event == evUseHalfDisplay);
    EXPECT_EQ(fsm.fullSCreen, resized ? event == evUseFullDisplay : around.full);
    const bool hasPort = expected.next.state != NotConnected;
    EXPECT_EQ(fsm.port, hasPort ? around.port : noPort);
    EXPECT_EQ(sensorDisplays[around.display].sensorPort, fsm.port);
    if (!handled || event == evDeactivate || event == evActivate) {
        EXPECT_TRUE(viewRecord.calls.empty()) << "an ignored event touched the screens";
    }
    if (resized) {
        const GtkSensorInstance screen =
            fsm.state == Measuring ? getActiveGtkMeasurementInstance(fsm.display, fsm.fullSCreen,
                                                                     fsm.graphSubState == ShowGraph,
                                                                     fsm.typeSubState == Pulse)
                                   : getNonMeasurementViewInstance(&fsm);
        EXPECT_EQ(sensorDisplays[around.display].display, screen);
        EXPECT_EQ(ViewRecorder_visibleScreen(fsm.display, fsm.fullSCreen), screen);
    }
}

} // namespace

TEST_F(DisplayFsm, EveryStateAnswersEveryEventAsTheTablesSay) {
    for (const bool graphSetting : {false, true}) {
        configuration_setDisplayGraph(graphSetting);
        for (const bool pulseSetting : {false, true}) {
            configuration_setPulseMode(pulseSetting);
            for (uint32_t port = 0; port < sensorPortCount; ++port) {
                for (const bool full : {false, true}) {
                    for (const Leaf& leaf : leaves) {
                        for (uint32_t event = 0; event < sensorDisplayEventCount; ++event) {
                            for (const auto display : {UpperDisplay, LowerDisplay}) {
                                checkPair(leaf, static_cast<SensorDisplayEvents_t>(event),
                                          {port, full, graphSetting, pulseSetting, display});
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST_F(DisplayFsm, AnEventBeyondTheListIsIgnoredInEveryState) {
    for (const Leaf& leaf : leaves) {
        upper = {UpperDisplay,      true, 2, leaf.activeState, leaf.state, leaf.typeSubState,
                 leaf.graphSubState};
        EXPECT_FALSE(CSensorDisplayFSM_handleActivateEvents(
            &upper, static_cast<SensorDisplayEvents_t>(13), 2));
    }
}

TEST_F(DisplayFsm, InvalidStatesAreLoggedAndChangeNothing) {
    const auto bad = [](auto valid) { return static_cast<decltype(valid)>(7); };
    struct {
        CSensorDisplayFSM fsm;
        const char* text;
    } const cases[] = {
        {{UpperDisplay, true, 0, bad(Active), Measuring, CW, ShowGraph},
         "DisplayFSM: Unexpected active state 7"},
        {{UpperDisplay, true, 0, Active, bad(Measuring), CW, ShowGraph},
         "DisplayFSM: Unexpected substate 7"},
        {{UpperDisplay, true, 0, Active, Measuring, bad(CW), ShowGraph},
         "DisplayFSM: Unexpected substate 7"},
        {{UpperDisplay, true, 0, Active, Measuring, CW, bad(ShowGraph)},
         "DisplayFSM: Unexpected substate 7"},
    };
    for (const auto& test : cases) {
        upper = test.fsm;
        World_clearSyslog();
        EXPECT_FALSE(CSensorDisplayFSM_handleActivateEvents(&upper, evUseFullDisplay, 0));
        EXPECT_EQ(tied(leafOf(upper)), tied(leafOf(test.fsm)));
        EXPECT_TRUE(World_syslogContains(test.text)) << test.text;
    }
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
        EXPECT_EQ(upper.typeSubState, sensorPort_isUsb(port) ? Pulse : CW);
        expectScreen(UpperDisplay,
                     sensorPort_isUsb(port) ? gtkSensorSinglePulse : gtkSensorSingleChannel1);
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
