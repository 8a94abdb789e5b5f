#ifndef DISPLAY_SCREEN_VIEW_H
#define DISPLAY_SCREEN_VIEW_H

#include "DisplayView.h"

/// The display state machine's view of the real screens: every operation finds its containers in
/// `entireScreen` and its screen in `gtkSensor`. GDK lock held.
extern const DisplayView screenView;

#endif
