#ifndef TESTS_GUI_X_SERVER_H
#define TESTS_GUI_X_SERVER_H

#include <string>

/// A virtual X server of the test program's own, and its pointer. Apart from the test code, since
/// the X headers define names that no other header survives.

/// Starts a server on the first free display and returns that display's name, empty on failure. The
/// server ends with this process.
std::string XServer_start();

/// The rest needs GTK to be connected.
void XServer_movePointer(int x, int y);
void XServer_button(bool isPressed);

/// Waits until the server has done all that it was asked for.
void XServer_synchronise();

#endif
