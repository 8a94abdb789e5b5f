#ifndef TESTS_SOAK_TOUCH_ACTIONS_H
#define TESTS_SOAK_TOUCH_ACTIONS_H

#include "Soak.h"

/// What a finger does on the screen, with real X events, and whether it has its effect. Each
/// function does one thing and notes it, or returns false when it is not possible now.

bool TouchActions_scale(Soak& soak);
bool TouchActions_units(Soak& soak);
bool TouchActions_match(Soak& soak);
/// Opens the settings window, touches some of its controls, closes it.
bool TouchActions_settingsWindow(Soak& soak);
/// Opens and closes one of the information and set-up dialogs.
bool TouchActions_dialogs(Soak& soak);
bool TouchActions_graphDialog(Soak& soak);
bool TouchActions_graphKeys(Soak& soak);
bool TouchActions_pulseDialog(Soak& soak);
bool TouchActions_pulseTabs(Soak& soak);

#endif
