#ifndef DISPLAY_GTK_SCALE_CONTROLS_H
#define DISPLAY_GTK_SCALE_CONTROLS_H

#include "PowerDisplayTypes.h"

#include <gtk/gtk.h>

#include <cstdint>

/// The buttons beside a power value that choose its range: up, down and automatic. Main thread or
/// GUI-refresh thread, GDK lock held.

/// Where the three buttons stand within their group, in pixels.
struct ScaleControlsLayout {
    GdkRectangle up;
    GdkRectangle down;
    GdkRectangle automatic;
};

/// Makes the group and connects its buttons. `name` begins the widget names ("single.fwd" gives
/// "single.fwd.scaleUp"). `data` lives as long as the program.
void CGTKScaleControls_Create(CGTKScaleControls* controls, const char* name,
                              const ScaleControlsLayout& layout, uint32_t sensorDirection,
                              CallbackData_AutoScale* data);

/// Icon of an auto button.
void CGTKScaleControls_setAuto(GtkWidget* button, bool on);

/// Sets the auto icon from the stored scale of a display and direction.
void CGTKScaleControls_updateScale(CGTKScaleControls* controls, uint32_t displayIndex,
                                   uint32_t direction);

/// Shows or hides the group.
void CGTKScaleControls_setVisible(CGTKScaleControls* controls, bool visible);

/// "clicked" handlers for forward and reflected power, for a pulse state and for gated power;
/// `data` is a CallbackData_AutoScale.
void CGTKScaleControls_CallbackUp(GtkWidget* button, gpointer data);
void CGTKScaleControls_CallbackDown(GtkWidget* button, gpointer data);
void CGTKScaleControls_CallbackAuto(GtkWidget* button, gpointer data);
void CGTKScaleControls_CallbackStateUp(GtkWidget* button, gpointer data);
void CGTKScaleControls_CallbackStateDown(GtkWidget* button, gpointer data);
void CGTKScaleControls_CallbackStateAuto(GtkWidget* button, gpointer data);
void CGTKScaleControls_CallbackGatedPowerUp(GtkWidget* button, gpointer data);
void CGTKScaleControls_CallbackGatedPowerDown(GtkWidget* button, gpointer data);
void CGTKScaleControls_CallbackGatedPowerAuto(GtkWidget* button, gpointer data);

#endif
