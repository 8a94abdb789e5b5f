#ifndef POWER_BATTERY_INDICATOR_H
#define POWER_BATTERY_INDICATOR_H

#include <gtk/gtk.h>

/// The battery's picture and percentage in the top line.

/// Loads the images. A missing one is told on standard output and leaves its place empty. Main
/// thread, once, after gtk_init.
void loadBatteryImages();

/// Puts the images and the label at the right end of the top line, hidden. Main thread, once.
void BatteryIndicator_place(GtkFixed* topLine);

/// Shows the battery's present state; touches no widget that need not change. Once the instrument
/// is being switched off, nothing changes any more. GDK lock held.
void updateBatteryDisplay();

#endif
