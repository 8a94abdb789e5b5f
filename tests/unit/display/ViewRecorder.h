#ifndef TESTS_UNIT_DISPLAY_VIEW_RECORDER_H
#define TESTS_UNIT_DISPLAY_VIEW_RECORDER_H

#include "DisplayView.h"

#include <cstdint>
#include <string>
#include <vector>

/// Screens made of records: what the display state machine has shown, hidden and written.

struct RecordedContainer {
    bool visible[NumberOfDisplays]; ///< index 0 for a container that exists once
};

struct RecordedScreen {
    std::string text;      ///< "noSensor", "connecting Serial1", "error USB1", or a message
    uint32_t displayIndex; ///< of the last binding
    uint32_t port;         ///< of the last binding
    uint32_t labelLength;  ///< of the last sensor label
    uint32_t labels;       ///< how often it was written
    uint32_t bindings;
    uint32_t scaleUpdates;
    uint32_t graphUpdates;
    std::string silence; ///< how old what is shown is
    float fwdPower;      ///< last value written, NaN when blanked
    bool isPulseValue;
};

struct ViewRecord {
    RecordedContainer containers[screenContainerCount];
    RecordedScreen screens[gtkSensorInstanceCount];
    std::vector<std::string> calls; ///< in order, such as "show dualCWChannels 1"
};

extern ViewRecord viewRecord;

/// Forgets everything and registers the recorder.
void ViewRecorder_install();

bool ViewRecorder_isVisible(ScreenContainer container,
                            SensorDisplayInstance_t display = UpperDisplay);

/// The one measurement screen that a person would see for a display, or the no-connection screen,
/// derived from what is visible; gtkSensorInstanceCount when there is none or more than one.
GtkSensorInstance ViewRecorder_visibleScreen(SensorDisplayInstance_t display, bool full);

/// Name of a container.
const char* ViewRecorder_nameOf(ScreenContainer container);

#endif
