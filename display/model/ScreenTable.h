#ifndef DISPLAY_MODEL_SCREEN_TABLE_H
#define DISPLAY_MODEL_SCREEN_TABLE_H

#include <algorithm>
#include <array>
#include <cstdint>

/// The prebuilt screens and the containers that hold them. The display machine, the main window and
/// its screens take from this table what exists, for which size, and what is in what.

enum SensorDisplayInstance_t : uint32_t {
    UpperDisplay = 0,
    LowerDisplay = 1,
    NumberOfDisplays = 2
};

enum GtkSensorInstance : uint32_t {
    gtkSensorSingleChannel1 = 0,
    gtkSensorSingleChannel1withGraph = 1,
    gtkSensorDualChannel1 = 2,
    gtkSensorDualChannel1withGraph = 3,
    gtkSensorDualChannel2 = 4,
    gtkSensorDualChannel2withGraph = 5,
    gtkSensorSinglePulse = 6,
    gtkSensorDualPulseChannel1 = 7,
    gtkSensorDualPulseChannel2 = 8,
    gtkSensorSingleNoConnection = 9,
    gtkSensorDualNoConnectionCh1 = 10,
    gtkSensorDualNoConnectionCh2 = 11,
    gtkSensorInstanceCount = 12
};

/// The containers that the machine shows and hides: those of the full screen, then those of the
/// halves.
enum class ScreenContainer : uint32_t {
    singleSensorContainer,
    noConnectionScreen,
    singleMeasurementView,
    singleChannel1Screen,
    singleChannel1ScreenGraph,
    singleChannelPulseScreen,
    dualSensorContainer,
    dualNoConnectionScreens,
    dualMeasurementViews,
    dualCWChannels,
    dualCWChannelsGraph,
    dualPWChannels
};

/// What a container is for.
enum class ScreenUse : uint32_t {
    layout,       ///< everything for one sensor, or for two
    noConnection, ///< in the layout: the text of a display without readings
    measurement,  ///< in the layout: the measurement screens, which are the uses below
    cw,
    cwGraph,
    pulse
};

struct ScreenContainerRow {
    ScreenContainer container;
    const char* name; ///< its field in MAIN_WINDOW, which begins its widget name, too
    bool full;        ///< for one sensor on the whole screen; else for two on its halves
    ScreenUse use;
    /// The screen in it, by display; gtkSensorInstanceCount for a container of containers.
    GtkSensorInstance screens[NumberOfDisplays];
    uint32_t labelLength; ///< characters that a measurement screen's sensor label has room for
};

// clang-format off
/// By ScreenContainer, parents before children.
constexpr auto screenContainers = std::to_array<ScreenContainerRow>({
    {ScreenContainer::singleSensorContainer, "singleSensorContainer", true, ScreenUse::layout,
     {gtkSensorInstanceCount, gtkSensorInstanceCount}, 0},
    {ScreenContainer::noConnectionScreen, "noConnectionScreen", true, ScreenUse::noConnection,
     {gtkSensorSingleNoConnection, gtkSensorSingleNoConnection}, 0},
    {ScreenContainer::singleMeasurementView, "singleMeasurementView", true, ScreenUse::measurement,
     {gtkSensorInstanceCount, gtkSensorInstanceCount}, 0},
    {ScreenContainer::singleChannel1Screen, "singleChannel1Screen", true, ScreenUse::cw,
     {gtkSensorSingleChannel1, gtkSensorSingleChannel1}, 30},
    {ScreenContainer::singleChannel1ScreenGraph, "singleChannel1ScreenGraph", true, ScreenUse::cwGraph,
     {gtkSensorSingleChannel1withGraph, gtkSensorSingleChannel1withGraph}, 30},
    {ScreenContainer::singleChannelPulseScreen, "singleChannelPulseScreen", true, ScreenUse::pulse,
     {gtkSensorSinglePulse, gtkSensorSinglePulse}, 30},
    {ScreenContainer::dualSensorContainer, "dualSensorContainer", false, ScreenUse::layout,
     {gtkSensorInstanceCount, gtkSensorInstanceCount}, 0},
    {ScreenContainer::dualNoConnectionScreens, "dualNoConnectionScreens", false, ScreenUse::noConnection,
     {gtkSensorDualNoConnectionCh1, gtkSensorDualNoConnectionCh2}, 0},
    {ScreenContainer::dualMeasurementViews, "dualMeasurementViews", false, ScreenUse::measurement,
     {gtkSensorInstanceCount, gtkSensorInstanceCount}, 0},
    {ScreenContainer::dualCWChannels, "dualCWChannels", false, ScreenUse::cw,
     {gtkSensorDualChannel1, gtkSensorDualChannel2}, 30},
    {ScreenContainer::dualCWChannelsGraph, "dualCWChannelsGraph", false, ScreenUse::cwGraph,
     {gtkSensorDualChannel1withGraph, gtkSensorDualChannel2withGraph}, 22},
    {ScreenContainer::dualPWChannels, "dualPWChannels", false, ScreenUse::pulse,
     {gtkSensorDualPulseChannel1, gtkSensorDualPulseChannel2}, 30},
});
// clang-format on

constexpr uint32_t screenContainerCount = screenContainers.size();

/// True for a container that exists once for each display.
constexpr bool ScreenTable_existsTwice(const ScreenContainerRow& row) {
    return !row.full && row.use != ScreenUse::layout;
}

/// True for a container of a measurement screen.
constexpr bool ScreenTable_measures(const ScreenContainerRow& row) {
    return row.use > ScreenUse::measurement;
}

/// The container of a use and size; each use has one of either size.
constexpr const ScreenContainerRow& ScreenTable_row(ScreenUse use, bool full) {
    return *std::ranges::find_if(screenContainers, [use, full](const ScreenContainerRow& row) {
        return row.use == use && row.full == full;
    });
}

/// The container that a screen is in; null for an instance beyond the last.
constexpr const ScreenContainerRow* ScreenTable_rowOfScreen(GtkSensorInstance screen) {
    const auto* row = std::ranges::find_if(screenContainers, [screen](const ScreenContainerRow& r) {
        return r.screens[UpperDisplay] == screen || r.screens[LowerDisplay] == screen;
    });
    return screen < gtkSensorInstanceCount && row != screenContainers.end() ? row : nullptr;
}

#endif
