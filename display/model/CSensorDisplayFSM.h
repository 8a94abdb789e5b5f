#ifndef DISPLAY_MODEL_CSENSOR_DISPLAY_FSM_H
#define DISPLAY_MODEL_CSENSOR_DISPLAY_FSM_H

#include "DisplayView.h"
#include "SensorDisplays.h"

#include <cstdint>

/// Decides which prebuilt screen each of the two displays shows. One hierarchical machine for each
/// display: active state, main state, then, while measuring, CW or pulse and graph or no graph.
/// GUI-refresh thread only, inside the GDK lock. Every failure is logged and drops the event.

enum SensorDisplayState_t : uint32_t {
    NotConnected = 0,
    Connecting = 1,
    SensorError = 2,
    Measuring = 3
};
enum SensorDisplayActiveState_t : uint32_t { NotActive = 0, Active = 1 };
enum SensorTypeSubState_t : uint32_t { Pulse = 0, CW = 1 };
enum SensorGraphSubState_t : uint32_t { ShowGraph = 0, HideGraph = 1 };
enum SensorCountSubState_t : uint32_t { SingleSensor = 0, DualSensors = 1 };
enum SensorDisplayEvents_t : uint32_t {
    evSensorDetected = 0,
    evSensorDisconnect = 1,
    evSensorReady = 2,
    evSensorError = 3,
    evSetPulse = 4,
    evSetCW = 5,
    evShowGraph = 6,
    evHideGraph = 7,
    evUpdateMeasurements = 8,
    evUseFullDisplay = 9,
    evUseHalfDisplay = 10,
    evActivate = 11,
    evDeactivate = 12
};
constexpr uint32_t sensorDisplayEventCount = 13;

struct CSensorDisplayFSM {
    SensorDisplayInstance_t display; ///< fixed at reset
    bool fullSCreen;                 ///< the display uses the whole screen
    uint32_t port;                   ///< SensorPort
    SensorDisplayActiveState_t activeState;
    SensorDisplayState_t state;
    SensorTypeSubState_t typeSubState;   ///< while Measuring
    SensorGraphSubState_t graphSubState; ///< while Measuring in CW
};

extern CSensorDisplayFSM sensorFSM[NumberOfDisplays];
extern SensorCountSubState_t countSubState; ///< of the whole screen

/// Registers the screen operations. Once, before the first reset.
void CSensorDisplayFSM_registerView(const DisplayView& view);

/// Registers who else is given each refresh's readings (the remote-control mirror).
void CSensorDisplayFSM_registerMeasurementListener(
    void (*listener)(uint32_t port, const SENSOR_MEASUREMENTS& measurements));

/// Initial state: the upper display active on the full screen without a sensor.
void CSensorDisplayFSM_reset();

/// A sensor appeared on, or went away from, a port.
void CSensorDisplayFSM_connect(uint32_t port);
void CSensorDisplayFSM_disconnect(uint32_t port);

/// Raises evSensorError on the display that shows the port.
void CSensorDisplayFSM_sensorError(uint32_t port);

/// Refreshes the display that shows the port, if any. A sensor that is ready moves its display on
/// to Measuring, a fatal sensor error to SensorError.
void CSensorDisplayFSM_updateMeasurements(uint32_t port);

/// The same by display; an index above 1 is logged.
void updateMeasurementsForDisplay(uint32_t display);

/// Tell both displays.
void CSensorDisplayFSM_setPulse();
void CSensorDisplayFSM_setCW();
void CSensorDisplayFSM_showGraph();
void CSensorDisplayFSM_hideGraph();

/// The single entry for every event; true when it was handled.
bool CSensorDisplayFSM_handleActivateEvents(CSensorDisplayFSM* instance,
                                            SensorDisplayEvents_t event, uint32_t port);

/// The layers below, each true when it handled the event.
bool CSensorDisplayFSM_handleEvent(CSensorDisplayFSM* instance, SensorDisplayEvents_t event,
                                   uint32_t port);
bool CSensorDisplayFSM_handleTypeSubStateEvent(CSensorDisplayFSM* instance,
                                               SensorDisplayEvents_t event, uint32_t port);
bool CSensorDisplayFSM_handleGraphSubStateEvent(CSensorDisplayFSM* instance,
                                                SensorDisplayEvents_t event, uint32_t port);

/// The screen that shows a display's readings.
GtkSensorInstance getActiveGtkMeasurementInstance(SensorDisplayInstance_t display, bool full,
                                                  bool graph, bool pulse);

/// The screen that shows a display's no-connection texts, from the machine's own mode, and from the
/// number of sensors on the screen.
GtkSensorInstance getNonMeasurementViewInstance(const CSensorDisplayFSM* instance);
GtkSensorInstance
CSensorDisplayFSM_getDisplayInstance_forNoConnect(SensorDisplayInstance_t display);

/// Puts "Critical Sensor Error on port ..." on a no-connection screen.
void setErrorMessage(GtkSensorInstance instance, uint32_t port);

/// Names for log lines.
const char* CSensorDisplayFSM_getEventName(uint32_t event);
const char* CSensorDisplayFSM_getStateName(uint32_t state);
const char* CSensorDisplayFSM_getTypeSubStateName(uint32_t subState);
const char* CSensorDisplayFSM_getGraphSubStateName(uint32_t subState);
const char* CSensorDisplayFSM_getCountSubStateName(uint32_t subState);
const char* CSensorDisplayFSM_getSensorPortName(uint32_t port);

#endif
