#ifndef UI_TOP_LINE_BUTTONS_H
#define UI_TOP_LINE_BUTTONS_H

#include <gtk/gtk.h>

/// The buttons of the top line. Main thread, GDK lock held.

/// Puts the buttons into the top line. Once, with the side window built.
void configureButtons(GtkFixed* topLine);

#endif
