// Every state of the display machine with every event.
#include "DisplayFsmFixture.h"

#include <string>
#include <tuple>

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
    const Outcome expected = expectedOutcome(leaf, event, SensorPort_isUsb(around.port),
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
