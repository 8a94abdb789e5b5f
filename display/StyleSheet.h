#ifndef DISPLAY_STYLE_SHEET_H
#define DISPLAY_STYLE_SHEET_H

#include <gdk/gdk.h>

/// Puts the style sheets of all windows and dialogs, "./resources/style.css" and
/// "./resources/pulseStyle.css", on the screen, in place of those that it put there before. A sheet
/// that cannot be read, or a mistake in one, is logged; the other rules hold, and what they do not
/// reach is light on dark. Main thread, after gtk_init.
void StyleSheet_install();

/// A colour that the sheets define by this name; `otherwise` if they define none. The main window
/// exists; GDK lock held.
GdkRGBA StyleSheet_colour(const char* name, const GdkRGBA& otherwise);

#endif
