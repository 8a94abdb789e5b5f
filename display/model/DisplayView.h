#ifndef DISPLAY_MODEL_DISPLAY_VIEW_H
#define DISPLAY_MODEL_DISPLAY_VIEW_H

#include "ScreenTable.h"
#include "SensorTypes.h"

#include <cstdint>

/// What the display state machine asks of the screens. The GTK side fills the record with widget
/// operations, a test with a recorder.

/// All functions are called on the GUI-refresh thread inside the GDK lock. A screen or container
/// that does not exist is skipped.
struct DisplayView {
    /// Shows or hides a container; `display` matters only for those that exist twice.
    void (*setVisible)(ScreenContainer container, SensorDisplayInstance_t display, bool visible);

    /// The texts of a no-connection screen.
    void (*setNoConnect)(GtkSensorInstance screen);
    void (*setConnecting_withPort)(GtkSensorInstance screen, const char* portName);
    void (*setSensorError_withPort)(GtkSensorInstance screen, const char* portName);
    void (*setMessage)(GtkSensorInstance screen, const char* title, const char* description);

    /// Gives a measurement screen to a display and its sensor: index, port, scales, and its
    /// graph's buffer, if it has a graph.
    void (*bindScreen)(GtkSensorInstance screen, SensorDisplayInstance_t display, uint32_t port);
    void (*setSensorLabel)(GtkSensorInstance screen, uint32_t maxLength);

    /// Blanks the value labels, so that no number of the previous sensor is taken for a reading.
    void (*clearValues)(GtkSensorInstance screen);

    void (*updateScale)(GtkSensorInstance screen);
    void (*updateMeasurements)(GtkSensorInstance screen, const SENSOR_MEASUREMENTS& measurements);
    void (*updatePulseMeasurements)(GtkSensorInstance screen,
                                    const SENSOR_MEASUREMENTS& measurements);
    void (*updateGraph)(GtkSensorInstance screen);

    /// Puts up, beside the sensor's name, how old what is shown is; an empty text takes it away.
    void (*setSilence)(GtkSensorInstance screen, const char* text);
};

#endif
