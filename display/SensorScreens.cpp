#include "SensorScreens.h"

#include "EntireScreen.h"
#include "PowerDisplayLayout.h"

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
        PulseDisplay_Create(&screen->pulse, parameters);
        break;
    default:
        CGTKPowerDisplay_Create(&screen->cw, parameters);
        break;
    }
}

/// What the screen's container is for; the layout's use, which has no screen, beyond the last one.
ScreenUse useOf(GtkSensorInstance instance) {
    const ScreenContainerRow* row = ScreenTable_rowOfScreen(instance);
    return row != nullptr ? row->use : ScreenUse::layout;
}

} // namespace

CGTKCWDisplay* gtkSensor_cwDisplay(GtkSensorInstance instance) {
    const ScreenUse use = useOf(instance);
    if (use != ScreenUse::cw && use != ScreenUse::cwGraph) {
        return nullptr;
    }
    CGTKCWDisplay* display = &gtkSensor[instance].cw;
    return display->power.container != nullptr ? display : nullptr;
}

CGTKPulseDisplay* gtkSensor_pulseDisplay(GtkSensorInstance instance) {
    if (useOf(instance) != ScreenUse::pulse) {
        return nullptr;
    }
    CGTKPulseDisplay* display = &gtkSensor[instance].pulse;
    return display->power.container != nullptr ? display : nullptr;
}

CGTKPowerDisplay* gtkSensor_powerDisplay(GtkSensorInstance instance) {
    if (CGTKCWDisplay* cw = gtkSensor_cwDisplay(instance)) {
        return &cw->power;
    }
    CGTKPulseDisplay* pulse = gtkSensor_pulseDisplay(instance);
    return pulse != nullptr ? &pulse->power : nullptr;
}

CGTKNoConnectionDisplay* gtkSensor_noConnectionDisplay(GtkSensorInstance instance) {
    return useOf(instance) == ScreenUse::noConnection ? &gtkSensor[instance].noConnection : nullptr;
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
