#ifndef POWER_BATTERY_INDICATOR_H
#define POWER_BATTERY_INDICATOR_H

#include <gtk/gtk.h>

#include <array>

/// The battery's picture and percentage in the top line.

enum class BatteryImage : int {
    full,
    threeQuarters,
    half,
    quarter,
    low,
    plug,
    notConnected,
    charging,
    none
};
constexpr int batteryImageCount = static_cast<int>(BatteryImage::none);

/// What the indicator shows. An empty text hides the label.
struct BatteryIndication {
    BatteryImage image;
    std::array<char, 16> text;
    bool isRed;
};

/// What a battery's state looks like: `charging` is a batteryState, `percent` 0 to 100 (a greater
/// one is not written out).
BatteryIndication BatteryIndicator_choose(bool modelHasBattery, bool isPresent, int charging,
                                          int percent);

/// Loads the images. A missing one is told on standard output and leaves its place empty. Main
/// thread, once, after gtk_init.
void loadBatteryImages();

/// Puts the images and the label at the right end of the top line, hidden. Main thread, once.
void BatteryIndicator_place(GtkFixed* topLine);

/// Shows the battery's present state; touches no widget that need not change. GDK lock held.
void updateBatteryDisplay();

#endif
