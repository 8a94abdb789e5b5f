#ifndef DISPLAY_DIALOG_HELPERS_H
#define DISPLAY_DIALOG_HELPERS_H

#include "MeasurementText.h"

#include <gtk/gtk.h>

#include <cstdint>

/// What interface files and the dialogs above the measurement screens share. GDK lock held.

/// A signal handler that an interface file names.
struct DialogHandler {
    const char* name;
    GCallback function;
};

/// Loads an interface file, names each widget as its builder id and connects its handlers. Null,
/// with a diagnostic, if the file cannot be loaded. The caller unreferences the builder.
GtkBuilder* Dialog_load(const char* file, const DialogHandler* handlers, size_t handlerCount);

/// A widget of a loaded interface; null, with a diagnostic, if the file has none of that id.
GtkWidget* Dialog_widget(GtkBuilder* builder, const char* id);

/// Shows a picture in an image widget of a loaded interface; with a diagnostic, and empty, if there
/// is no such widget or its file cannot be read.
void Dialog_setPicture(GtkBuilder* builder, const char* id, const char* file);

/// True when an entry's text has a digit: an empty one, or a mere sign or point, is no number.
bool Dialog_holdsNumber(GtkWidget* entry);

/// Writes what is too long for an entry of fixed width smaller, from now on, as far as it can still
/// be read. What is longer still moves out at the left.
void Dialog_fitEntry(GtkWidget* entry);

/// Writes a label's text smaller if it is wider than this, as far as it can still be read.
void Dialog_fitLabel(GtkWidget* label, int width_px);

/// Style class of an entry that is refused, until it is changed.
constexpr char dialogRefusedClass[] = "refused";

/// What a dialog says when the sensor that it is about has been unplugged.
constexpr char dialogSensorGone[] = "The sensor has gone.";

/// "5132 on Serial1": which of two sensors a dialog is about.
SensorNameText Dialog_sensorName(uint32_t port);

/// True when a port's sensor is no longer the one of this admission (SensorManager.h): what comes
/// after it is another one, even if it has the same port.
bool Dialog_sensorHasGone(uint32_t port, uint32_t admission);

/// Shows a dialog above the main window and keeps touches from everything below. The measurements
/// behind it go on: nothing waits for its answer.
void Dialog_showAbove(GtkWidget* dialog);

/// Shows a window that says what is going on, until it is closed. It keeps no touches from
/// anything.
GtkWidget* Dialog_showProgress(const char* name, const char* text);

/// Calls a function twice a second for as long as the dialog exists, for what it shows live.
void Dialog_keepFresh(GtkWidget* dialog, GSourceFunc refresh);

/// The text, or "---" where an empty one says that there is nothing to tell.
const char* Dialog_textOrNone(const char* text);

/// Takes a dialog away and forgets it; null is skipped.
void Dialog_close(GtkWidget** dialog);

#endif
