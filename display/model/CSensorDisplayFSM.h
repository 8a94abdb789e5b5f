#ifndef DISPLAY_MODEL_CSENSOR_DISPLAY_FSM_H
#define DISPLAY_MODEL_CSENSOR_DISPLAY_FSM_H

#include "CSensorDisplayNames.h"
#include "DisplayView.h"
#include "SensorDisplayState.h"
#include "SensorDisplays.h"

#include <cstdint>

/// Decides which prebuilt screen each of the two displays shows. One hierarchical machine for each
/// display: active state, main state, then, while measuring, CW or pulse and graph or no graph.
/// GUI-refresh thread only, inside the GDK lock. Every failure is logged and drops the event.

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

/// The screen that shows a display's no-connection texts, from the number of sensors on the screen.
GtkSensorInstance
CSensorDisplayFSM_getDisplayInstance_forNoConnect(SensorDisplayInstance_t display);

/// Puts "Critical Sensor Error on port ..." on a no-connection screen.
void setErrorMessage(GtkSensorInstance instance, uint32_t port);

#endif
