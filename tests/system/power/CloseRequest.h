#ifndef TESTS_SYSTEM_POWER_CLOSE_REQUEST_H
#define TESTS_SYSTEM_POWER_CLOSE_REQUEST_H

#include "Bench.h"

/// Asks the program's main window to close, as a window manager does. From then on the meter's
/// clock runs at this speed, in real time as a rule: the program waits eleven seconds for the
/// switching off, which takes three of them, and on a raced clock a busy machine eats up the rest.
/// False when no such window is on the screen.
bool CloseRequest_send(Bench& bench, const char* speed = "1");

#endif
