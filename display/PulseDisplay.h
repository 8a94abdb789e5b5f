#ifndef DISPLAY_PULSE_DISPLAY_H
#define DISPLAY_PULSE_DISPLAY_H

#include "gtkPowerDisplay.h"

#include <cstdint>

/// The pulse screens: built once from interface files, one for the full screen and one for a half.
/// Each shows its values, the pulse states and the gated power on the pages of a notebook. GDK lock
/// held.

/// Builds a pulse screen in its container. The layout tells full screen and half apart. Main
/// thread, at start-up.
void PulseDisplay_Create(CGTKPowerDisplay* display, const CGTKPowerDisplay_Parameters& parameters);

/// Takes the widgets of the interface file by their ids, which become their names too, gives the
/// buttons their images and connects them. A file or id that is missing is logged and leaves its
/// fields null.
void initPulseDisplay(CGTKPowerDisplay* display, bool full);

/// Registers what a screen's configuration button opens for the screen's port.
void PulseDisplay_registerConfigDialog(void (*show)(uint32_t port));

/// Arranges a pulse screen: a sensor with triggered gates has pages for values and states, any
/// other for values and gated power. Full screen and half differ by their interface files.
void CGTKPowerDisplay_setup(CGTKPowerDisplay* display, pwrDisplayMode mode);

#endif
