#ifndef DISPLAY_ENTIRE_SCREEN_H
#define DISPLAY_ENTIRE_SCREEN_H

#include "ScreenTable.h"

#include <gtk/gtk.h>

#include <iterator>

/// The containers of the instrument's one window. Filled in by createGTKDisplays; GDK lock held.

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

/// The field of each container, by ScreenContainer; the first of the two of one that exists twice.
constexpr GtkWidget** entireScreenFields[] = {
    &entireScreen.singleSensorContainer,     &entireScreen.noConnectionScreen,
    &entireScreen.singleMeasurementView,     &entireScreen.singleChannel1Screen,
    &entireScreen.singleChannel1ScreenGraph, &entireScreen.singleChannelPulseScreen,
    &entireScreen.dualSensorContainer,       entireScreen.dualNoConnectionScreens,
    entireScreen.dualMeasurementViews,       entireScreen.dualCWChannels,
    entireScreen.dualCWChannelsGraph,        entireScreen.dualPWChannels,
};
static_assert(std::size(entireScreenFields) == screenContainerCount);

/// The field of a container; `display` matters only for those that exist twice.
GtkWidget** EntireScreen_field(ScreenContainer container, SensorDisplayInstance_t display);

#endif
