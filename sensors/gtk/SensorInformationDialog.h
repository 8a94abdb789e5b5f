#ifndef SENSORS_SENSOR_INFORMATION_DIALOG_H
#define SENSORS_SENSOR_INFORMATION_DIALOG_H

#include <gtk/gtk.h>

#include <cstdint>

/// The dialog that tells what a sensor has told of itself, and how it is doing. Main thread, GDK
/// lock held.

/// Shows what the sensor on a port is and its temperature and frequency as they change, with "---"
/// for what it has not told. What it was stays when it is unplugged. Nothing for a port that does
/// not exist.
void SensorInformationDialog_show(uint32_t port);

/// A screen's sensor button; `display` is its CGTKPowerDisplay. Nothing before start-up has
/// finished.
void SensorInformationDialog_onSensorClicked(GtkWidget* button, gpointer display);

#endif
