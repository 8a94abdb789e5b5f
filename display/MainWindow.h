#ifndef DISPLAY_MAIN_WINDOW_H
#define DISPLAY_MAIN_WINDOW_H

#include "SensorScreens.h"

#include <gtk/gtk.h>

/// The instrument's one window. It holds every screen from start-up on; screens are only shown,
/// hidden and relabelled. GDK lock held.

/// What the window and the screens call on higher floors. A null function is not called.
struct MainWindowCallbacks {
    gboolean (*deleteEvent)(GtkWidget* window, GdkEvent* event, gpointer data);
    void (*destroy)(GtkWidget* window, gpointer data);
    SensorScreensCallbacks screens;
};

/// Registers them. Once, before createGTKDisplays.
void MainWindow_registerCallbacks(const MainWindowCallbacks& callbacks);

/// Builds the window, every container and screen and the style sheet, gives the display state
/// machine its view, and shows the window with no screen visible in it. Main thread, after
/// initColors and loadFonts.
void createGTKDisplays();

/// True when a widget of any screen has the keyboard focus.
bool MainWindow_displayHasFocus();

#endif
