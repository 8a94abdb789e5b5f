#ifndef DISPLAY_MODEL_DISPLAY_VIEW_SWITCH_H
#define DISPLAY_MODEL_DISPLAY_VIEW_SWITCH_H

#include "DisplayView.h"
#include "SensorDisplayState.h"

/// Puts on the screens what the display machine has decided, and the readings. GUI-refresh thread
/// only.

void DisplayViewSwitch_registerView(const DisplayView& view);

/// The containers and texts of a machine that has just been reset.
void DisplayViewSwitch_showInitialScreens();

/// Gives the display's sensor the measurement screens of one size: the full ones, which both
/// displays share, or the display's own half ones.
void DisplayViewSwitch_bind(const CSensorDisplayFSM* instance, bool full);

/// Shows what follows from the machine's state, in the display's size, in place of all else that
/// the display can show, and notes the screen in the display's slot.
void DisplayViewSwitch_show(const CSensorDisplayFSM* instance);

/// Puts the latest readings of the display's sensor on its screen and returns them.
SENSOR_MEASUREMENTS DisplayViewSwitch_refresh(const CSensorDisplayFSM* instance);

/// Puts up on the display's measurement screen for how long its sensor has been silent, or takes
/// that away.
void DisplayViewSwitch_showSilence(const CSensorDisplayFSM* instance);

/// Puts a text on a no-connection screen.
void DisplayViewSwitch_showMessage(GtkSensorInstance screen, const char* title,
                                   const char* description);

#endif
