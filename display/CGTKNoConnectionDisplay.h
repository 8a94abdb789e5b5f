#ifndef DISPLAY_CGTK_NO_CONNECTION_DISPLAY_H
#define DISPLAY_CGTK_NO_CONNECTION_DISPLAY_H

#include "gtkPowerDisplay.h"

#include <gtk/gtk.h>

#include <cstdint>

/// A screen without readings: a title and a sentence that says what to do. GDK lock held.

struct CGTKNoConnectionDisplay {
    uint32_t sensorChannel; ///< SensorPort
    uint32_t displayIndex;  ///< 0 upper, 1 lower
    GtkWidget* container;
    GtkWidget* title; ///< label
    GtkTextBuffer* descriptionBuffer;
    GtkWidget* descriptionView; ///< read-only text view
};

/// Builds the screen in its container. Main thread, at start-up.
void CGTKNoConnectionDisplay_Create(CGTKNoConnectionDisplay* instance,
                                    const CGTKPowerDisplay_Parameters& parameters);

/// A display that lacks the widget logs a diagnostic and does nothing.
void CGTKNoConnectionDisplay_setTitle(CGTKNoConnectionDisplay* instance, const char* text);
void CGTKNoConnectionDisplay_setDescription(CGTKNoConnectionDisplay* instance, const char* text);

/// The fixed texts. The kind of sensor follows from the port's name: "Serial..." is a CW sensor.
void CGTKNoConnectionDisplay_setNoConnect(CGTKNoConnectionDisplay* instance);
void CGTKNoConnectionDisplay_setConnecting(CGTKNoConnectionDisplay* instance);
void CGTKNoConnectionDisplay_setConnecting_withPort(CGTKNoConnectionDisplay* instance,
                                                    const char* portName);
void CGTKNoConnectionDisplay_setSensorError_withPort(CGTKNoConnectionDisplay* instance,
                                                     const char* portName);

/// True when a widget of the screen has the keyboard focus.
bool CGTKNoConnectionDisplay_getFocusState(const CGTKNoConnectionDisplay* instance);

#endif
