#ifndef DISPLAY_POWER_DISPLAY_TYPES_H
#define DISPLAY_POWER_DISPLAY_TYPES_H

#include "Configuration.h"
#include "MeasurementText.h"

#include <gtk/gtk.h>

#include <cstdint>

/// What every screen that shows one sensor's powers has. What only one kind of screen has is in
/// CWDisplay.h and PulseDisplay.h.

struct CGTKPowerDisplay;

/// The sign beside a sensor's name that its readings are old.
struct SilenceSign {
    GtkWidget* label; ///< null where there is none
    int keyWidth_px;  ///< of the sensor button while there is no sign
    int titleSize_px; ///< of its text then
};

/// Title row of a screen.
struct gtkPowerDisplay_Title {
    GtkWidget* container; ///< what its buttons stand in
    GtkWidget* sensorButton;
    GtkWidget* sensorButtonLabel;
    GtkWidget* configButton;
    SilenceSign silence;
};

/// One value with caption and unit.
struct gtkPowerDisplay_RFPower {
    GtkWidget* container; ///< what the parts of the line stand in
    GtkWidget* label;
    GtkWidget* value;
    GtkWidget* unitsButton;
    GtkWidget* unitsButtonLabel;
};

/// The buttons beside a power value that choose its range.
struct CGTKScaleControls {
    GtkWidget* container;
    GtkWidget* gtkScaleUp;
    GtkWidget* gtkScaleDown;
    GtkWidget* gtkScaleAutoOn;
    uint32_t sensorDirection; ///< 0 forward, 1 reflected
};

/// What a scale button's handler is given.
struct CallbackData_AutoScale {
    CGTKPowerDisplay* mpOwner;
    uint32_t direction;  ///< 0 forward, 1 reflected; a state's index; unused for gated power
    GtkWidget* button;   ///< the auto button, for its icon
    rfPowerScale* scale; ///< the scale being changed
};

struct CGTKPowerDisplay {
    uint32_t sensorChannel; ///< SensorPort
    uint32_t displayIndex;  ///< 0 upper, 1 lower
    GtkWidget* container;   ///< null while the screen is not built
    gtkPowerDisplay_Title title;
    gtkPowerDisplay_RFPower fwdRFPower;
    gtkPowerDisplay_RFPower rflRFPower;
    CGTKScaleControls scaleControlsFwd;
    CGTKScaleControls scaleControlsRfl;
    rfPowerType powerType;
    rfPowerScale scaleFwd;
    rfPowerScale scaleRfl;
    bool enableFwd;
    bool enableRfl;
    CallbackData_AutoScale callbackDataAutoscaleFwd;
    CallbackData_AutoScale callbackDataAutoscaleRfl;
};

#endif
