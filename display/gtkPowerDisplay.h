#ifndef DISPLAY_GTK_POWER_DISPLAY_H
#define DISPLAY_GTK_POWER_DISPLAY_H

#include "PowerDisplayLayout.h"
#include "PowerDisplayTypes.h"
#include "SensorTypes.h"

#include <gtk/gtk.h>

#include <cstdint>

/// What CW and pulse screens do alike: a sensor's name, its two powers and their scales. All
/// functions need the GDK lock. A widget that an interface file lacks is null and is skipped.

/// What a screen is created with.
struct CGTKPowerDisplay_Parameters {
    const char* name;
    const char* widgetName; ///< begins the names of all its widgets: "single" gives "single.title"
    uint32_t sensorChannel;
    uint32_t displayIndex;
    GtkWidget* container;
    void (*callbackMeasFunction)(GtkWidget* button, gpointer display);
    void (*callbackSensorInfoFunction)(GtkWidget* button, gpointer display);
    ChannelLayoutIndex layout;
    int yLinePositions[powerDisplayLineCount]; ///< pixels from the top of the container
    int yOffset;                               ///< pixels added to each
};

/// Takes over, into an empty record, what both kinds of screen are created with.
void CGTKPowerDisplay_initialize(CGTKPowerDisplay* display,
                                 const CGTKPowerDisplay_Parameters& parameters);

/// Has the sensor button, where there is one, call what the screen was created with; `display` is
/// handed to it.
void CGTKPowerDisplay_connectSensorButton(CGTKPowerDisplay* display,
                                          const CGTKPowerDisplay_Parameters& parameters);

/// Shows or hides a line with its scale buttons. A visible line in dBm leaves them hidden.
/// `scaleControls` may be null.
void gtkPowerDisplay_setVisible(gtkPowerDisplay_RFPower* line, CGTKScaleControls* scaleControls,
                                bool visible);

/// Unit of a line. A key without a text keeps its place, but not its frame.
void gtkPowerDisplay_setUnits(const gtkPowerDisplay_RFPower& line, const char* text);

void CGTKPowerDisplay_setDisplayIndex(CGTKPowerDisplay* display, uint32_t displayIndex);
uint32_t CGTKPowerDisplay_getDisplayIndex(const CGTKPowerDisplay* display);
void CGTKPowerDisplay_setSensorChannel(CGTKPowerDisplay* display, uint32_t port);
uint32_t CGTKPowerDisplay_getSensorChannel(const CGTKPowerDisplay* display);

/// True when a widget of the screen has the keyboard focus.
bool CGTKPowerDisplay_getFocusState(const CGTKPowerDisplay* display);

/// Copies the stored scales of the display's index and sets both auto icons.
void CGTKPowerDisplay_updateScale(CGTKPowerDisplay* display);

/// Text of the sensor button, at most `maxLength` and never more than 30 characters; `label` has
/// room for that and a terminator.
void CGTKPowerDisplay_getSensorLabel(const CGTKPowerDisplay* display, char* label,
                                     uint32_t maxLength);
void CGTKPowerDisplay_setSensorLabel(CGTKPowerDisplay* display, uint32_t maxLength);

/// Refreshes the unit, and which powers are shown, from the settings.
void CGTKPowerDisplay_loadSettings(CGTKPowerDisplay* display);

/// Puts those powers on their lines that are shown. NaN in either leaves both as they were.
void CGTKPowerDisplay_updatePowers(CGTKPowerDisplay* display,
                                   const SENSOR_MEASUREMENTS& measurements);

/// Writes the readings into the log.
void CGTKPowerDisplay_logMeasurements(const SENSOR_MEASUREMENTS& measurements);

/// "clicked" handler of the unit buttons: switches all screens between watts and dBm.
void CGTKPowerDisplay_switchPowerUnits(GtkWidget* button, gpointer data);

#endif
