#ifndef DISPLAY_PULSE_DISPLAY_H
#define DISPLAY_PULSE_DISPLAY_H

#include "gtkPowerDisplay.h"

#include <cstdint>

/// The pulse screens: built once from interface files, one for the full screen and one for a half.
/// Each shows its values, the pulse states and the gated power on the pages of a notebook. GDK lock
/// held.

/// One of the pulse's own values: its unit is not tapped.
struct gtkPowerDisplay_PulseValue {
    GtkWidget* label;
    GtkWidget* value;
    GtkWidget* unitsButtonLabel;
};

struct gtkPowerDisplay_GatedPower {
    GtkWidget* container; ///< what its values stand in
    GtkWidget* meanValue;
    GtkWidget* minValue;
    GtkWidget* maxValue;
    GtkWidget* unitsButton;
    GtkWidget* unitsButtonLabel;
};

struct gtkPowerDisplay_PulseState {
    GtkWidget* container; ///< what its values stand in
    GtkWidget* state;
    GtkWidget* min;
    GtkWidget* max;
    GtkWidget* mean;
    GtkWidget* unitsButton;
    GtkWidget* unitsButtonLabel;
    CGTKScaleControls scaleControls;
    CallbackData_AutoScale callbackDataAutoscale;
    rfPowerScale powerScale;
    GtkWidget* dBm; ///< names the unit while the key is hidden
};

struct CGTKPulseDisplay {
    CGTKPowerDisplay power;
    GtkWidget* pGridAttr;
    gtkPowerDisplay_PulseValue period;
    gtkPowerDisplay_PulseValue repeat;
    gtkPowerDisplay_PulseValue width;
    gtkPowerDisplay_PulseValue dutyCycleVal;
    gtkPowerDisplay_PulseValue frequency;
    GtkWidget* pGridGated;
    gtkPowerDisplay_GatedPower gatedPower;
    rfPowerScale gatedPowerScale;
    CallbackData_AutoScale callbackDataAutoscaleGatedPower;
    CGTKScaleControls scaleControlsGatedPower;
    GtkWidget* pGridState;
    gtkPowerDisplay_PulseState stateArray[pulseStateCount];
    GtkWidget* noStates; ///< stands in their place when none is measured
};

/// Layout of a pulse screen.
enum pwrDisplayMode : uint32_t {
    modeSingleSimple = 0,
    modeDualSimple = 1,
    modeSingleMulti = 2,
    modeDualMulti = 3
};

/// Builds a pulse screen in its container. The layout tells full screen and half apart. Main
/// thread, at start-up.
void PulseDisplay_Create(CGTKPulseDisplay* display, const CGTKPowerDisplay_Parameters& parameters);

/// Takes the widgets of the interface file by their ids, which become their names too, gives the
/// buttons their images and connects them. A file or id that is missing is logged and leaves its
/// fields null.
void initPulseDisplay(CGTKPulseDisplay* display, bool full);

/// Registers what a screen's configuration button opens for the screen's port.
void PulseDisplay_registerConfigDialog(void (*show)(uint32_t port));

/// Arranges a pulse screen: a sensor with triggered gates has pages for values and states, any
/// other for values and gated power. Full screen and half differ by their interface files.
void CGTKPowerDisplay_setup(CGTKPulseDisplay* display, pwrDisplayMode mode);

#endif
