#ifndef TESTS_SYSTEM_POWER_CLOSE_REQUEST_H
#define TESTS_SYSTEM_POWER_CLOSE_REQUEST_H

#include <string>

/// Asks the main window of the program in a world to close, as a window manager does. False when
/// there is no such window on its screen.
bool CloseRequest_send(const std::string& world);

#endif
