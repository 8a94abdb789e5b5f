#ifndef UI_TOP_LINE_BUTTONS_H
#define UI_TOP_LINE_BUTTONS_H

#include <gtk/gtk.h>

/// The buttons of the top line and the menu that one of them opens. Main thread, GDK lock held.

/// Puts the buttons into the top line and builds the menu. Once, with the side window built.
void configureButtons(GtkFixed* topLine);

/// The menu button: pops the menu up. Nothing before start-up has finished.
void settingsButtonCallback(GtkWidget* button, gpointer data);

#endif
