#ifndef DISPLAY_SENSOR_SCREENS_H
#define DISPLAY_SENSOR_SCREENS_H

#include "CGTKNoConnectionDisplay.h"
#include "ScreenTable.h"
#include "gtkPowerDisplay.h"

/// The screens in the window's containers. GDK lock held.

union CGTKSensorDisplay {
    CGTKPowerDisplay power;
    CGTKNoConnectionDisplay noConnection;
};

extern CGTKSensorDisplay gtkSensor[gtkSensorInstanceCount];

/// The power display or no-connection display of an instance; null for one of the other kind, and
/// for a power display that is not built.
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
