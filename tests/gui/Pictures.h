#ifndef TESTS_GUI_PICTURES_H
#define TESTS_GUI_PICTURES_H

#include "GuiHarness.h"
#include "SensorFakes.h"

#include <string>

/// A program that draws the real screens in all their states into a folder, for looking at.

/// Writes what the screen shows into "NAME.png"; ends the program when it cannot.
void Pictures_save(const std::string& name);

/// Default settings, with automatic scales, and no sensors.
void Pictures_reset();

/// A sensor that is ready.
void Pictures_plug(uint32_t port, const char* model, const char* serialNumber, float maxPower_W);

/// Gives a screen its sensor, its scales and its title of at most this many characters.
void Pictures_prepare(GtkSensorInstance screen, uint32_t display, uint32_t port,
                      uint32_t titleLength = 30);

// What is drawn, a subject each. Every one begins with a reset.
void Pictures_drawScreens();
void Pictures_drawGraphs();
void Pictures_drawPulse();
void Pictures_drawSilence();

#endif
