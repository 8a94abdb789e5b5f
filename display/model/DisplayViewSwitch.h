#ifndef DISPLAY_MODEL_DISPLAY_VIEW_SWITCH_H
#define DISPLAY_MODEL_DISPLAY_VIEW_SWITCH_H

#include "CSensorDisplayFSM.h"

/// What the display state machine does to the screens: every switch from one view to another, and
/// the periodic refresh. Each switch notes the screen it chose in the display's slot. GUI-refresh
/// thread only.

/// What the no-connection area says.
enum class NoMeasurementText : uint32_t { noSensor, connecting, sensorError };

void DisplayViewSwitch_registerView(const DisplayView& view);
const DisplayView& DisplayViewSwitch_view();

/// The containers and texts of a machine that has just been reset.
void DisplayViewSwitch_showInitialScreens();

/// The no-connection area with a text, in the display's mode; and the same on the full or half
/// screen, whose mode the display takes over. A sensor that is only connecting, in the same mode,
/// finds the area on the screen already: only its text is set.
void DisplayViewSwitch_showText(CSensorDisplayFSM* instance, NoMeasurementText text);
void DisplayViewSwitch_showTextFull(CSensorDisplayFSM* instance, NoMeasurementText text);
void DisplayViewSwitch_showTextHalf(CSensorDisplayFSM* instance, NoMeasurementText text);

/// The first measurement view of a sensor: gives it every screen that it can use, chooses the
/// machine's sub-states from the settings, and shows the screen that follows from them.
void DisplayViewSwitch_showFirstMeasurement(CSensorDisplayFSM* instance);

/// CW and pulse views in the display's mode; the widgets of `instance`'s sub-states.
void DisplayViewSwitch_showCW(CSensorDisplayFSM* instance);
void DisplayViewSwitch_showPulse(CSensorDisplayFSM* instance);
/// CW view with or without graph, as the graph sub-state says.
void DisplayViewSwitch_showGraphState(CSensorDisplayFSM* instance);

/// The measurement view of the sub-states on the full or half screen, whose mode the display takes
/// over.
void DisplayViewSwitch_showMeasurementFull(CSensorDisplayFSM* instance);
void DisplayViewSwitch_showMeasurementHalf(CSensorDisplayFSM* instance);

/// Puts the latest readings of the display's sensor on its screen and returns them.
SENSOR_MEASUREMENTS DisplayViewSwitch_refreshCW(const CSensorDisplayFSM* instance);
SENSOR_MEASUREMENTS DisplayViewSwitch_refreshPulse(const CSensorDisplayFSM* instance);

#endif
