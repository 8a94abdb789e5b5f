#include "CSensorDisplayFSM.h"

#include "Configuration.h"
#include "DisplayViewSwitch.h"
#include "SensorManager.h"
#include "SensorPortHandler.h"
#include "message.h"

#include <cstdio>

CSensorDisplayFSM sensorFSM[NumberOfDisplays] = {
    {UpperDisplay, true, sensorPort_None, NotActive, NotConnected, CW, HideGraph},
    {LowerDisplay, true, sensorPort_None, NotActive, NotConnected, CW, HideGraph},
};
SensorCountSubState_t countSubState = SingleSensor;

namespace {

void (*measurementListener)(uint32_t port, const SENSOR_MEASUREMENTS& measurements) = nullptr;

bool send(CSensorDisplayFSM* instance, SensorDisplayEvents_t event, uint32_t port) {
    return CSensorDisplayFSM_handleActivateEvents(instance, event, port);
}

void sendToBoth(SensorDisplayEvents_t event) {
    for (CSensorDisplayFSM& instance : sensorFSM) {
        send(&instance, event, sensorPort_None);
    }
}

CSensorDisplayFSM* otherOf(const CSensorDisplayFSM* instance) {
    return &sensorFSM[instance->display == UpperDisplay ? LowerDisplay : UpperDisplay];
}

/// The instance that shows a port, the upper one first; null if none does.
CSensorDisplayFSM* instanceOfPort(uint32_t port) {
    if (port == sensorPort_None) {
        return nullptr;
    }
    for (CSensorDisplayFSM& instance : sensorFSM) {
        if (instance.port == port) {
            return &instance;
        }
    }
    return nullptr;
}

void setPort(CSensorDisplayFSM* instance, uint32_t port) {
    instance->port = port;
    sensorDisplays[instance->display].sensorPort = port;
}

void takeGraphSetting(CSensorDisplayFSM* instance) {
    instance->graphSubState = configuration_getDisplayGraph() ? ShowGraph : HideGraph;
}

void takeSettings(CSensorDisplayFSM* instance) {
    if (configuration_getPulseMode() && SensorPort_isUsb(instance->port)) {
        instance->typeSubState = Pulse;
        return;
    }
    takeGraphSetting(instance);
    instance->typeSubState = CW;
}

/// Moves on to a state and shows it.
bool enter(CSensorDisplayFSM* instance, SensorDisplayState_t state) {
    instance->state = state;
    DisplayViewSwitch_show(instance);
    return true;
}

/// The events that mean the same in every state: the screen changes its size.
bool handleSize(CSensorDisplayFSM* instance, SensorDisplayEvents_t event) {
    if (event != evUseFullDisplay && event != evUseHalfDisplay) {
        return false;
    }
    instance->fullSCreen = event == evUseFullDisplay;
    if (instance->fullSCreen && instance->state == Measuring) {
        DisplayViewSwitch_bind(instance, true); // the other display may have had them
    }
    DisplayViewSwitch_show(instance);
    return true;
}

bool handleDisconnect(CSensorDisplayFSM* instance) {
    setPort(instance, sensorPort_None);
    return enter(instance, NotConnected);
}

bool handleNotConnected(CSensorDisplayFSM* instance, SensorDisplayEvents_t event, uint32_t port) {
    if (event == evSensorDetected) {
        setPort(instance, port);
        return enter(instance, Connecting);
    }
    return handleSize(instance, event);
}

/// The first reading: the sensor is given every screen that it can use.
bool handleReady(CSensorDisplayFSM* instance) {
    if (instance->fullSCreen) {
        DisplayViewSwitch_bind(instance, true);
    }
    DisplayViewSwitch_bind(instance, false);
    takeSettings(instance);
    return enter(instance, Measuring);
}

bool handleConnecting(CSensorDisplayFSM* instance, SensorDisplayEvents_t event) {
    switch (event) {
    case evSensorDisconnect:
        return handleDisconnect(instance);
    case evSensorReady:
        return handleReady(instance);
    case evSensorError:
        return enter(instance, SensorError);
    default:
        return handleSize(instance, event);
    }
}

bool handleSensorError(CSensorDisplayFSM* instance, SensorDisplayEvents_t event) {
    if (event == evSensorDisconnect) {
        return handleDisconnect(instance);
    }
    return handleSize(instance, event);
}

bool handleMeasuring(CSensorDisplayFSM* instance, SensorDisplayEvents_t event, uint32_t port) {
    switch (event) {
    case evSensorDisconnect:
        return handleDisconnect(instance);
    case evSensorError:
        return enter(instance, SensorError);
    default:
        return CSensorDisplayFSM_handleTypeSubStateEvent(instance, event, port);
    }
}

/// Puts the latest readings on the display's screen and passes them on.
bool refresh(const CSensorDisplayFSM* instance) {
    const SENSOR_MEASUREMENTS measurements = DisplayViewSwitch_refresh(instance);
    if (measurementListener != nullptr) {
        measurementListener(instance->port, measurements);
    }
    return true;
}

bool handlePulse(CSensorDisplayFSM* instance, SensorDisplayEvents_t event) {
    switch (event) {
    case evSetCW:
        takeGraphSetting(instance);
        instance->typeSubState = CW;
        DisplayViewSwitch_show(instance);
        return true;
    case evUpdateMeasurements:
        return refresh(instance);
    default:
        return handleSize(instance, event);
    }
}

bool handleCW(CSensorDisplayFSM* instance, SensorDisplayEvents_t event, uint32_t port) {
    if (event != evSetPulse) {
        return CSensorDisplayFSM_handleGraphSubStateEvent(instance, event, port);
    }
    if (!SensorPort_isUsb(instance->port)) {
        return false;
    }
    instance->typeSubState = Pulse;
    DisplayViewSwitch_show(instance);
    return true;
}

/// Moves to the other graph sub-state, if that is asked for.
bool handleGraphChange(CSensorDisplayFSM* instance, SensorDisplayEvents_t event) {
    const bool isShown = instance->graphSubState == ShowGraph;
    if (event != (isShown ? evHideGraph : evShowGraph)) {
        return false;
    }
    instance->graphSubState = isShown ? HideGraph : ShowGraph;
    DisplayViewSwitch_show(instance);
    return true;
}

/// Gives the screen to a display that takes in a sensor: all of it, or half when the other display
/// has one too. A display without a sensor makes room.
void shareScreen(CSensorDisplayFSM* instance, uint32_t port) {
    CSensorDisplayFSM* const other = otherOf(instance);
    if (other->activeState == NotActive) {
        send(instance, evUseFullDisplay, port);
    } else if (other->port != sensorPort_None) {
        countSubState = DualSensors;
        send(other, evUseHalfDisplay, port);
        send(instance, evUseHalfDisplay, port);
    } else {
        send(other, evDeactivate, port);
        send(instance, evUseFullDisplay, port);
    }
}

} // namespace

void CSensorDisplayFSM_registerView(const DisplayView& view) {
    DisplayViewSwitch_registerView(view);
}

void CSensorDisplayFSM_registerMeasurementListener(
    void (*listener)(uint32_t port, const SENSOR_MEASUREMENTS& measurements)) {
    measurementListener = listener;
}

void CSensorDisplayFSM_reset() {
    countSubState = SingleSensor;
    for (const SensorDisplayInstance_t display : {UpperDisplay, LowerDisplay}) {
        sensorFSM[display] = {display,      true, sensorPort_None, NotActive,
                              NotConnected, CW,   HideGraph};
        SensorDisplayInstance& slot = sensorDisplays[display];
        slot.sensorPort = sensorPort_None;
        slot.display = gtkSensorSingleNoConnection;
        CGraphData_reset(&slot.graphDataPwr);
    }
    sensorFSM[UpperDisplay].activeState = Active;
    DisplayViewSwitch_showInitialScreens();
}

void CSensorDisplayFSM_connect(uint32_t port) {
    const uint32_t channel = SensorInstance_GetLogicalChannel(port);
    if (channel >= NumberOfDisplays) {
        DIAGNOSTIC("DisplayFSM: Port %d has no assigned logical channel.\n",
                   static_cast<int>(port));
        return;
    }
    CSensorDisplayFSM* const instance = &sensorFSM[channel];
    if (instance->port != sensorPort_None) {
        DIAGNOSTIC("DisplayFSM: Failed to handle connect for port %d on channel %d. All FSM "
                   "instances are already active.\n",
                   static_cast<int>(port), static_cast<int>(channel));
        return;
    }
    send(instance, evActivate, port);
    shareScreen(instance, port);
    send(instance, evSensorDetected, port);
}

void CSensorDisplayFSM_disconnect(uint32_t port) {
    CSensorDisplayFSM* const instance = instanceOfPort(port);
    if (instance == nullptr) {
        DIAGNOSTIC("DisplayFSM: Failed to handle disconnect. No FSM instance is active for port "
                   "%d.\n",
                   static_cast<int>(port));
        return;
    }
    send(instance, evSensorDisconnect, port);
    CSensorDisplayFSM* const other = otherOf(instance);
    if (instance->display == UpperDisplay && other->activeState != Active) {
        return; // the upper display stays and says that there is no sensor
    }
    countSubState = SingleSensor;
    send(other, evActivate, port);
    send(other, evUseFullDisplay, port);
    send(instance, evDeactivate, port);
}

void CSensorDisplayFSM_sensorError(uint32_t port) {
    CSensorDisplayFSM* const instance = instanceOfPort(port);
    if (instance == nullptr) {
        DIAGNOSTIC("DisplayFSM: Failed to handle sensor error. No FSM instance is active for port "
                   "%s (%d).\n",
                   CSensorDisplayFSM_getSensorPortName(port), static_cast<int>(port));
        return;
    }
    send(instance, evSensorError, port);
}

void CSensorDisplayFSM_updateMeasurements(uint32_t port) {
    const CSensorDisplayFSM* const instance = instanceOfPort(port);
    if (instance != nullptr) {
        updateMeasurementsForDisplay(instance->display);
    }
}

void updateMeasurementsForDisplay(uint32_t display) {
    if (display >= NumberOfDisplays) {
        DIAGNOSTIC("DisplayFSM: display (%d) is out of range\n", static_cast<int>(display));
        return;
    }
    CSensorDisplayFSM* const instance = &sensorFSM[display];
    const uint32_t port = instance->port;
    switch (sensorPortHandler_getSensorStatus(port).status) {
    case isReady:
        send(instance, evSensorReady, port);
        send(instance, evUpdateMeasurements, port);
        break;
    case hasFatalError:
        send(instance, evSensorError, port);
        break;
    default:
        break;
    }
    // Also of a sensor that is not ready any more: its last values stand there all the same.
    if (instance->state == Measuring) {
        DisplayViewSwitch_showSilence(instance);
    }
}

void CSensorDisplayFSM_setPulse() {
    sendToBoth(evSetPulse);
}

void CSensorDisplayFSM_setCW() {
    sendToBoth(evSetCW);
}

void CSensorDisplayFSM_showGraph() {
    sendToBoth(evShowGraph);
}

void CSensorDisplayFSM_hideGraph() {
    sendToBoth(evHideGraph);
}

bool CSensorDisplayFSM_handleActivateEvents(CSensorDisplayFSM* instance,
                                            SensorDisplayEvents_t event, uint32_t port) {
    switch (instance->activeState) {
    case NotActive:
        if (event != evActivate) {
            return false;
        }
        instance->activeState = Active;
        return true;
    case Active:
        if (event != evDeactivate) {
            return CSensorDisplayFSM_handleEvent(instance, event, port);
        }
        instance->activeState = NotActive;
        return true;
    default:
        DIAGNOSTIC("DisplayFSM: Unexpected active state %d\n",
                   static_cast<int>(instance->activeState));
        return false;
    }
}

bool CSensorDisplayFSM_handleEvent(CSensorDisplayFSM* instance, SensorDisplayEvents_t event,
                                   uint32_t port) {
    switch (instance->state) {
    case NotConnected:
        return handleNotConnected(instance, event, port);
    case Connecting:
        return handleConnecting(instance, event);
    case SensorError:
        return handleSensorError(instance, event);
    case Measuring:
        return handleMeasuring(instance, event, port);
    default:
        DIAGNOSTIC("DisplayFSM: Unexpected substate %d\n", static_cast<int>(instance->state));
        return false;
    }
}

bool CSensorDisplayFSM_handleTypeSubStateEvent(CSensorDisplayFSM* instance,
                                               SensorDisplayEvents_t event, uint32_t port) {
    switch (instance->typeSubState) {
    case Pulse:
        return handlePulse(instance, event);
    case CW:
        return handleCW(instance, event, port);
    default:
        DIAGNOSTIC("DisplayFSM: Unexpected substate %d\n",
                   static_cast<int>(instance->typeSubState));
        return false;
    }
}

bool CSensorDisplayFSM_handleGraphSubStateEvent(CSensorDisplayFSM* instance,
                                                SensorDisplayEvents_t event, uint32_t /*port*/) {
    if (instance->graphSubState != ShowGraph && instance->graphSubState != HideGraph) {
        DIAGNOSTIC("DisplayFSM: Unexpected substate %d\n",
                   static_cast<int>(instance->graphSubState));
        return false;
    }
    if (event == evUpdateMeasurements) {
        return refresh(instance);
    }
    return handleGraphChange(instance, event) || handleSize(instance, event);
}

GtkSensorInstance
CSensorDisplayFSM_getDisplayInstance_forNoConnect(SensorDisplayInstance_t display) {
    const bool isSingle = countSubState == SingleSensor;
    if (!isSingle && display >= NumberOfDisplays) {
        DIAGNOSTIC("DisplayFSM: Unexpected display instance %d\n", static_cast<int>(display));
        return gtkSensorInstanceCount;
    }
    return isSingle ? gtkSensorSingleNoConnection
                    : ScreenTable_row(ScreenUse::noConnection, false).screens[display];
}

void setErrorMessage(GtkSensorInstance instance, uint32_t port) {
    char title[64];
    std::snprintf(title, sizeof title, "Critical Sensor Error on port %s (%d)",
                  CSensorDisplayFSM_getSensorPortName(port), static_cast<int>(port));
    DisplayViewSwitch_showMessage(instance, title, "");
}
