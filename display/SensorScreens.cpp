#include "SensorScreens.h"

#include "EntireScreen.h"
#include "PowerDisplayLayout.h"
#include "PulseDisplay.h"

#include <algorithm>
#include <iterator>

CGTKSensorDisplay gtkSensor[gtkSensorInstanceCount];

namespace {

/// A screen's name, the start of the names of its widgets, and where its parts stand.
struct ScreenRow {
    const char* name;
    const char* widgetName;
    ChannelLayoutIndex layout;
};

/// By GtkSensorInstance.
constexpr ScreenRow screenRows[] = {
    {"CW Mode Full", "single", layoutSingleChannel},
    {"CW Mode Full (Graph)", "singleGraph", layoutSingleChannelWithGraph},
    {"CW Mode Upper", "upper", layoutDualChannel},
    {"CW Mode Upper (Graph)", "upperGraph", layoutDualChannelWithGraph},
    {"CW Mode Lower", "lower", layoutDualChannel},
    {"CW Mode Lower (Graph)", "lowerGraph", layoutDualChannelWithGraph},
    {"Pulse Mode Full", "singlePulse", layoutSingleChannel},
    {"Pulse Mode Upper", "upperPulse", layoutDualChannel},
    {"Pulse Mode Lower", "lowerPulse", layoutDualChannel},
    {"Single Display No Connection", "noConnection", layoutSingleChannel},
    {"Upper Display No Connection", "upper.noConnection", layoutDualChannel},
    {"Lower Display No Connection", "lower.noConnection", layoutDualChannel},
};
static_assert(std::size(screenRows) == gtkSensorInstanceCount);

CGTKPowerDisplay_Parameters parametersOf(const ScreenContainerRow& container,
                                         SensorDisplayInstance_t display,
                                         const SensorScreensCallbacks& callbacks) {
    const ScreenRow& row = screenRows[container.screens[display]];
    CGTKPowerDisplay_Parameters parameters = {
        .name = row.name,
        .widgetName = row.widgetName,
        .sensorChannel = sensorPort_None,
        .displayIndex = display,
        .container = *EntireScreen_field(container.container, display),
        .callbackMeasFunction = callbacks.measurementSettings,
        .callbackSensorInfoFunction = callbacks.sensorInformation,
        .layout = row.layout,
        .yLinePositions = {},
        .yOffset = 0};
    std::ranges::copy(gtkPowerDisplayLayout[row.layout].yLinePositions, parameters.yLinePositions);
    return parameters;
}

void createScreen(const ScreenContainerRow& container, SensorDisplayInstance_t display,
                  const SensorScreensCallbacks& callbacks) {
    CGTKSensorDisplay* const screen = &gtkSensor[container.screens[display]];
    const CGTKPowerDisplay_Parameters parameters = parametersOf(container, display, callbacks);
    switch (container.use) {
    case ScreenUse::noConnection:
        CGTKNoConnectionDisplay_Create(&screen->noConnection, parameters);
        break;
    case ScreenUse::pulse:
        PulseDisplay_Create(&screen->power, parameters);
        break;
    default:
        CGTKPowerDisplay_Create(&screen->power, parameters);
        break;
    }
}

bool isNoConnection(GtkSensorInstance instance) {
    const ScreenContainerRow* row = ScreenTable_rowOfScreen(instance);
    return row != nullptr && row->use == ScreenUse::noConnection;
}

} // namespace

CGTKPowerDisplay* gtkSensor_powerDisplay(GtkSensorInstance instance) {
    if (instance >= gtkSensorInstanceCount || isNoConnection(instance)) {
        return nullptr;
    }
    CGTKPowerDisplay* display = &gtkSensor[instance].power;
    return display->container != nullptr ? display : nullptr;
}

CGTKNoConnectionDisplay* gtkSensor_noConnectionDisplay(GtkSensorInstance instance) {
    return isNoConnection(instance) ? &gtkSensor[instance].noConnection : nullptr;
}

void SensorScreens_create(const SensorScreensCallbacks& callbacks) {
    for (const ScreenContainerRow& row : screenContainers) {
        if (row.screens[UpperDisplay] != gtkSensorInstanceCount) {
            createScreen(row, UpperDisplay, callbacks);
            if (ScreenTable_existsTwice(row)) {
                createScreen(row, LowerDisplay, callbacks);
            }
        }
    }
}
