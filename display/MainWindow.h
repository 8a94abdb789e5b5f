#ifndef DISPLAY_MAIN_WINDOW_H
#define DISPLAY_MAIN_WINDOW_H

#include "CGTKNoConnectionDisplay.h"
#include "SensorDisplays.h"
#include "gtkPowerDisplay.h"

#include <gtk/gtk.h>

/// The instrument's one window. It holds every screen from start-up on; screens are only shown,
/// hidden and relabelled. GDK lock held.

/// Every container of the window.
struct MAIN_WINDOW {
    GtkWidget* mainWindow;
    GtkWidget* entireScreenContainer;
    GtkWidget* topFixedLine; ///< GtkFixed for the battery icon and the menu buttons
    GtkWidget* singleSensorContainer;
    GtkWidget* noConnectionScreen;
    GtkWidget* singleMeasurementView;
    GtkWidget* singleChannel1Screen;
    GtkWidget* singleChannel1ScreenGraph;
    GtkWidget* singleChannelPulseScreen;
    GtkWidget* dualSensorContainer;
    GtkWidget* dualNoConnectionScreens[NumberOfDisplays];
    GtkWidget* dualMeasurementViews[NumberOfDisplays];
    GtkWidget* dualCWChannels[NumberOfDisplays];
    GtkWidget* dualCWChannelsGraph[NumberOfDisplays];
    GtkWidget* dualPWChannels[NumberOfDisplays];
};

extern MAIN_WINDOW entireScreen;

/// A screen instance: 0 to 8 are power displays, 9 to 11 no-connection displays.
union CGTKSensorDisplay {
    CGTKPowerDisplay power;
    CGTKNoConnectionDisplay noConnection;
};

extern CGTKSensorDisplay gtkSensor[gtkSensorInstanceCount];

/// The power display or no-connection display of an instance; null for one of the other kind, and
/// for a power display that is not built.
CGTKPowerDisplay* gtkSensor_powerDisplay(GtkSensorInstance instance);
CGTKNoConnectionDisplay* gtkSensor_noConnectionDisplay(GtkSensorInstance instance);

/// What the window and the screens call on higher floors. A null function is not called.
struct MainWindowCallbacks {
    gboolean (*deleteEvent)(GtkWidget* window, GdkEvent* event, gpointer data);
    void (*destroy)(GtkWidget* window, gpointer data);
    void (*measurementSettings)(GtkWidget* button, gpointer display); ///< a screen's gear button
    void (*sensorInformation)(GtkWidget* button, gpointer display);   ///< a screen's sensor button
};

/// Registers them. Once, before createGTKDisplays.
void MainWindow_registerCallbacks(const MainWindowCallbacks& callbacks);

/// Builds the window, every container and screen and the style sheet, gives the display state
/// machine its view, and shows the window with no screen visible in it. Main thread, after
/// initColors and loadFonts.
void createGTKDisplays();

/// True when a widget of any of the twelve screens has the keyboard focus.
bool MainWindow_displayHasFocus();

#endif
