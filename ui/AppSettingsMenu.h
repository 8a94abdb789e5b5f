#ifndef UI_APP_SETTINGS_MENU_H
#define UI_APP_SETTINGS_MENU_H

#include <gtk/gtk.h>

/// The side window with what the screens show and how the serial command port behaves. Every
/// control stores its setting at once; there is nothing to apply. Main thread, GDK lock held.

/// Builds the side window beside `parent`, hidden. Once.
void AppSettingsMenu_create(GtkWindow* parent);

/// The side window; null before it is built.
GtkWidget* AppSettingsMenu_window();

/// The box "appSettings" with every control of the side window.
GtkWidget* appSettingsBox();

/// Loads every control from the settings; none of their effects fires.
void AppSettingsMenu_setParameters();

/// Selects the radio button of a match type: 1 return loss, 2 reflection coefficient, anything else
/// VSWR. Stores nothing.
void AppSettingsMenu_setMatchType(int type);

/// Shows the side window with the current settings, above all others. A tap beside it hides it.
void AppSettingsMenu_show();
void AppSettingsMenu_hide();
bool settingsMenuIsVisible();

/// A screen's gear button: shows the side window. Nothing before start-up has finished.
void AppSettingsMenu_onGearClicked(GtkWidget* button, gpointer display);

#endif
