#ifndef SENSORS_SENSOR_CHANNEL_DIALOG_H
#define SENSORS_SENSOR_CHANNEL_DIALOG_H

#include "SensorManager.h"

#include <gtk/gtk.h>

/// The dialog that asks which of the two channels a sensor takes.

/// Remembers the window that the dialog stands above and registers the dialog as the sensor
/// manager's prompt. Main thread, once, after the screens have been built.
void SensorChannelDialog_register(GtkWindow* mainWindow);

/// Registers what has to go on while the user is asked: `service` is called on the GUI-refresh
/// thread with the GDK lock held, about every 300 ms.
void SensorChannelDialog_registerWhileWaiting(void (*service)());

/// Asks for one sensor's channel and returns when the user has answered or the sensor has gone.
/// GUI-refresh thread with the GDK lock held; the lock is released meanwhile. Exits the process if
/// the channel thread cannot be started or joined.
void SensorChannelDialog_ask(const SensorAdmission& sensor);

/// Body of the short-lived thread behind SensorChannelDialog_ask, for a SensorAdmission: opens the
/// dialog and polls every 100 ms until it has been closed. No dialog is opened for a sensor that
/// has gone, as one on no port has, and one whose sensor goes is taken away. Takes the GDK lock for
/// each of these.
void* SensorManager_ChannelThread(void* sensor);

/// Builds and shows the dialog for one sensor; false if the interface file cannot be loaded. GDK
/// lock held.
bool displaySensorSettings(const SensorAdmission& sensor);

/// OK button: gives the sensor the chosen channel, if it is still there, and closes the dialog.
/// Does nothing before start-up has finished.
void on_sensorSettingsDialog_ok_clicked(GtkButton* button, gpointer data);

#endif
