#ifndef DISPLAY_MODEL_SENSOR_DISPLAY_STATE_H
#define DISPLAY_MODEL_SENSOR_DISPLAY_STATE_H

#include "ScreenTable.h"

#include <cstdint>

/// What the display machine knows about one display, and the screen that follows from it.

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

/// What the display shows in its state.
ScreenUse SensorDisplayState_use(const CSensorDisplayFSM* instance);

/// The container, of the display's size, in which it shows that.
const ScreenContainerRow& SensorDisplayState_container(const CSensorDisplayFSM* instance);

/// The screen that shows a display's readings.
GtkSensorInstance getActiveGtkMeasurementInstance(SensorDisplayInstance_t display, bool full,
                                                  bool graph, bool pulse);

/// The screen that shows a display's no-connection texts, from the machine's own mode.
GtkSensorInstance getNonMeasurementViewInstance(const CSensorDisplayFSM* instance);

#endif
