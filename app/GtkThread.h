#ifndef APP_GTK_THREAD_H
#define APP_GTK_THREAD_H

#include "CSimpleTimer.h"

#include <cstdint>

/// The GUI-refresh thread: the only one that touches the sensor screens, under the GDK lock for its
/// whole pass.

/// What it remembers from one pass to the next.
struct GtkThreadState {
    SimpleTimerData heartbeat;
    int loopCount;
    int focusCount;
    bool graphIsShown;
    bool pulseModeIsActive;
};

/// Puts the display state machine into its initial state and the modes of the settings. GDK lock
/// held.
GtkThreadState GtkThread_begin(uint32_t now_ms);

/// One pass: sensor changes, changed settings, readings, battery, warnings, focus. GDK lock held.
void GtkThread_pass(GtkThreadState* state, uint32_t now_ms);

/// What goes on while the user is asked for a channel: sign of life, battery and warnings; the
/// sensor screens stay still. GDK lock held.
void GtkThread_serviceWhileWaiting();

/// Thread: a pass every 300 ms.
void gtkThread();

#endif
