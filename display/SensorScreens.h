#ifndef DISPLAY_SENSOR_SCREENS_H
#define DISPLAY_SENSOR_SCREENS_H

#include "CGTKNoConnectionDisplay.h"
#include "CWDisplay.h"
#include "PulseDisplay.h"
#include "ScreenTable.h"

/// The screens in the window's containers. GDK lock held.

union CGTKSensorDisplay {
    CGTKCWDisplay cw;
    CGTKPulseDisplay pulse;
    CGTKNoConnectionDisplay noConnection;
};

extern CGTKSensorDisplay gtkSensor[gtkSensorInstanceCount];

/// The screen of an instance; null for one of another kind, and for a CW or pulse screen that is
/// not built. The power display is what CW and pulse screens have in common.
CGTKCWDisplay* gtkSensor_cwDisplay(GtkSensorInstance instance);
CGTKPulseDisplay* gtkSensor_pulseDisplay(GtkSensorInstance instance);
CGTKPowerDisplay* gtkSensor_powerDisplay(GtkSensorInstance instance);
CGTKNoConnectionDisplay* gtkSensor_noConnectionDisplay(GtkSensorInstance instance);

/// What a screen's gear button and sensor button call. A null function is not called.
struct SensorScreensCallbacks {
    void (*measurementSettings)(GtkWidget* button, gpointer display);
    void (*sensorInformation)(GtkWidget* button, gpointer display);
};

/// Builds every screen in its container, which exists. Main thread, at start-up.
void SensorScreens_create(const SensorScreensCallbacks& callbacks);

#endif
