#include "MainWindow.h"

#include "AppFlags.h"
#include "CSensorDisplayFSM.h"
#include "GtkHelpers.h"
#include "PowerDisplayLayout.h"
#include "PulseDisplay.h"
#include "ScreenSize.h"
#include "ScreenView.h"
#include "StyleSheet.h"

#include <algorithm>

MAIN_WINDOW entireScreen;
CGTKSensorDisplay gtkSensor[gtkSensorInstanceCount];

namespace {

constexpr int fullScreenHeight = screenHeight - topLineHeight;

constexpr int halvesLineHeight = 2;

MainWindowCallbacks callbacks;

/// A container of the window and where it stands in its parent.
struct ContainerRow {
    GtkWidget** widget;
    GtkWidget** parent;
    const char* name;
    int y;
    int height;
};

/// Parents before children. All are as wide as the screen.
const ContainerRow containerRows[] = {
    {&entireScreen.topFixedLine, &entireScreen.entireScreenContainer, "topFixedLine", 0,
     topLineHeight},
    {&entireScreen.singleSensorContainer, &entireScreen.entireScreenContainer,
     "singleSensorContainer", topLineHeight, fullScreenHeight},
    {&entireScreen.noConnectionScreen, &entireScreen.singleSensorContainer, "noConnectionScreen", 0,
     fullScreenHeight},
    {&entireScreen.singleMeasurementView, &entireScreen.singleSensorContainer,
     "singleMeasurementView", 0, fullScreenHeight},
    {&entireScreen.singleChannel1Screen, &entireScreen.singleMeasurementView,
     "singleChannel1Screen", 0, fullScreenHeight},
    {&entireScreen.singleChannel1ScreenGraph, &entireScreen.singleMeasurementView,
     "singleChannel1ScreenGraph", 0, fullScreenHeight},
    {&entireScreen.singleChannelPulseScreen, &entireScreen.singleMeasurementView,
     "singleChannelPulseScreen", 0, fullScreenHeight},
    {&entireScreen.dualSensorContainer, &entireScreen.entireScreenContainer, "dualSensorContainer",
     topLineHeight, fullScreenHeight},
    {&entireScreen.dualNoConnectionScreens[0], &entireScreen.dualSensorContainer,
     "dualNoConnectionScreens.upper", 0, halfScreenHeight},
    {&entireScreen.dualMeasurementViews[0], &entireScreen.dualSensorContainer,
     "dualMeasurementViews.upper", 0, halfScreenHeight},
    {&entireScreen.dualNoConnectionScreens[1], &entireScreen.dualSensorContainer,
     "dualNoConnectionScreens.lower", halfScreenHeight, halfScreenHeight},
    {&entireScreen.dualMeasurementViews[1], &entireScreen.dualSensorContainer,
     "dualMeasurementViews.lower", halfScreenHeight, halfScreenHeight},
    {&entireScreen.dualCWChannels[0], &entireScreen.dualMeasurementViews[0], "dualCWChannels.upper",
     0, halfScreenHeight},
    {&entireScreen.dualCWChannelsGraph[0], &entireScreen.dualMeasurementViews[0],
     "dualCWChannelsGraph.upper", 0, halfScreenHeight},
    {&entireScreen.dualPWChannels[0], &entireScreen.dualMeasurementViews[0], "dualPWChannels.upper",
     0, halfScreenHeight},
    {&entireScreen.dualCWChannels[1], &entireScreen.dualMeasurementViews[1], "dualCWChannels.lower",
     0, halfScreenHeight},
    {&entireScreen.dualCWChannelsGraph[1], &entireScreen.dualMeasurementViews[1],
     "dualCWChannelsGraph.lower", 0, halfScreenHeight},
    {&entireScreen.dualPWChannels[1], &entireScreen.dualMeasurementViews[1], "dualPWChannels.lower",
     0, halfScreenHeight},
};

/// A screen, and the start of the names of its widgets.
struct ScreenRow {
    GtkSensorInstance instance;
    SensorDisplayInstance_t display;
    const char* name;
    const char* widgetName;
    GtkWidget** container;
    ChannelLayoutIndex layout;
};

const ScreenRow powerScreenRows[] = {
    {gtkSensorSingleChannel1, UpperDisplay, "CW Mode Full", "single",
     &entireScreen.singleChannel1Screen, layoutSingleChannel},
    {gtkSensorSingleChannel1withGraph, UpperDisplay, "CW Mode Full (Graph)", "singleGraph",
     &entireScreen.singleChannel1ScreenGraph, layoutSingleChannelWithGraph},
    {gtkSensorDualChannel1, UpperDisplay, "CW Mode Upper", "upper", &entireScreen.dualCWChannels[0],
     layoutDualChannel},
    {gtkSensorDualChannel1withGraph, UpperDisplay, "CW Mode Upper (Graph)", "upperGraph",
     &entireScreen.dualCWChannelsGraph[0], layoutDualChannelWithGraph},
    {gtkSensorDualChannel2, LowerDisplay, "CW Mode Lower", "lower", &entireScreen.dualCWChannels[1],
     layoutDualChannel},
    {gtkSensorDualChannel2withGraph, LowerDisplay, "CW Mode Lower (Graph)", "lowerGraph",
     &entireScreen.dualCWChannelsGraph[1], layoutDualChannelWithGraph},
};

const ScreenRow pulseScreenRows[] = {
    {gtkSensorSinglePulse, UpperDisplay, "Pulse Mode Full", "singlePulse",
     &entireScreen.singleChannelPulseScreen, layoutSingleChannel},
    {gtkSensorDualPulseChannel1, UpperDisplay, "Pulse Mode Upper", "upperPulse",
     &entireScreen.dualPWChannels[0], layoutDualChannel},
    {gtkSensorDualPulseChannel2, LowerDisplay, "Pulse Mode Lower", "lowerPulse",
     &entireScreen.dualPWChannels[1], layoutDualChannel},
};

const ScreenRow noConnectionScreenRows[] = {
    {gtkSensorSingleNoConnection, UpperDisplay, "Single Display No Connection", "noConnection",
     &entireScreen.noConnectionScreen, layoutSingleChannel},
    {gtkSensorDualNoConnectionCh1, UpperDisplay, "Upper Display No Connection",
     "upper.noConnection", &entireScreen.dualNoConnectionScreens[0], layoutDualChannel},
    {gtkSensorDualNoConnectionCh2, LowerDisplay, "Lower Display No Connection",
     "lower.noConnection", &entireScreen.dualNoConnectionScreens[1], layoutDualChannel},
};

/// GTK drops the request to close a window below a modal dialog. Whoever closes the main window
/// ends the program, whatever lies above it.
void deliverEvent(GdkEvent* event, gpointer /*data*/) {
    gpointer widget = nullptr;
    if (event->type == GDK_DELETE && event->any.window != nullptr) {
        gdk_window_get_user_data(event->any.window, &widget);
    }
    if (widget != nullptr && widget == entireScreen.mainWindow) {
        gtk_widget_event(entireScreen.mainWindow, event);
    } else {
        gtk_main_do_event(event);
    }
}

void createWindow() {
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    entireScreen.mainWindow = window;
    gtk_widget_set_name(window, "mainWindow8830K");
    gtk_window_set_title(GTK_WINDOW(window), "8830K");
    gtk_window_set_default_size(GTK_WINDOW(window), screenWidth, screenHeight);
    // Without a window manager GTK would draw a border of its own.
    gtk_window_set_decorated(GTK_WINDOW(window), FALSE);
    gtk_window_fullscreen(GTK_WINDOW(window));
    setWidgetFgAndBgColors(window, textColorWhite, bgColorBlack);
    if (callbacks.deleteEvent != nullptr) {
        g_signal_connect(window, "delete_event", G_CALLBACK(callbacks.deleteEvent), nullptr);
    }
    if (callbacks.destroy != nullptr) {
        g_signal_connect(window, "destroy", G_CALLBACK(callbacks.destroy), nullptr);
    }
    entireScreen.entireScreenContainer = gtk_fixed_new();
    gtk_widget_set_name(entireScreen.entireScreenContainer, "entireScreenContainer8830K");
    gtk_widget_set_size_request(entireScreen.entireScreenContainer, screenWidth, screenHeight);
    gtk_container_add(GTK_CONTAINER(window), entireScreen.entireScreenContainer);
}

void createContainers() {
    for (const ContainerRow& row : containerRows) {
        *row.widget = gtk_fixed_new();
        gtk_widget_set_name(*row.widget, row.name);
        gtk_widget_set_size_request(*row.widget, screenWidth, row.height);
        gtk_fixed_put(GTK_FIXED(*row.parent), *row.widget, 0, row.y);
    }
}

/// A line between the halves, that the eye takes them apart.
void createHalvesLine() {
    GtkWidget* line = gtk_separator_new(GTK_ORIENTATION_HORIZONTAL);
    gtk_widget_set_name(line, "dual.line");
    gtk_widget_set_size_request(line, screenWidth, halvesLineHeight);
    gtk_fixed_put(GTK_FIXED(entireScreen.dualSensorContainer), line, 0, halfScreenHeight);
    gtk_widget_show(line);
}

CGTKPowerDisplay_Parameters parametersOf(const ScreenRow& row) {
    CGTKPowerDisplay_Parameters parameters = {.name = row.name,
                                              .widgetName = row.widgetName,
                                              .sensorChannel = sensorPort_None,
                                              .displayIndex = row.display,
                                              .container = *row.container,
                                              .callbackMeasFunction = callbacks.measurementSettings,
                                              .callbackSensorInfoFunction =
                                                  callbacks.sensorInformation,
                                              .layout = row.layout,
                                              .yLinePositions = {},
                                              .yOffset = 0};
    std::ranges::copy(gtkPowerDisplayLayout[row.layout].yLinePositions, parameters.yLinePositions);
    return parameters;
}

void createScreens() {
    for (const ScreenRow& row : powerScreenRows) {
        CGTKPowerDisplay_Create(&gtkSensor[row.instance].power, parametersOf(row));
    }
    for (const ScreenRow& row : pulseScreenRows) {
        PulseDisplay_Create(&gtkSensor[row.instance].power, parametersOf(row));
    }
    for (const ScreenRow& row : noConnectionScreenRows) {
        CGTKNoConnectionDisplay_Create(&gtkSensor[row.instance].noConnection, parametersOf(row));
    }
}

} // namespace

CGTKPowerDisplay* gtkSensor_powerDisplay(GtkSensorInstance instance) {
    if (instance >= gtkSensorSingleNoConnection) {
        return nullptr;
    }
    CGTKPowerDisplay* display = &gtkSensor[instance].power;
    return display->container != nullptr ? display : nullptr;
}

CGTKNoConnectionDisplay* gtkSensor_noConnectionDisplay(GtkSensorInstance instance) {
    return instance >= gtkSensorSingleNoConnection && instance < gtkSensorInstanceCount
               ? &gtkSensor[instance].noConnection
               : nullptr;
}

void MainWindow_registerCallbacks(const MainWindowCallbacks& registered) {
    callbacks = registered;
}

void createGTKDisplays() {
    StyleSheet_install();
    StyleSheet_installForPulseScreens();
    createWindow();
    createContainers();
    createHalvesLine();
    createScreens();
    gdk_event_handler_set(deliverEvent, nullptr, nullptr);
    CSensorDisplayFSM_registerView(screenView);
    gtk_widget_show(entireScreen.topFixedLine);
    gtk_widget_show(entireScreen.entireScreenContainer);
    gtk_widget_show(entireScreen.mainWindow);
    // A web browser's screen knows no full screen and puts windows somewhere.
    gdk_window_move(gtk_widget_get_window(entireScreen.mainWindow), 0, 0);
    screenInitComplete = true;
}

bool MainWindow_displayHasFocus() {
    for (uint32_t i = 0; i < gtkSensorInstanceCount; ++i) {
        const auto instance = static_cast<GtkSensorInstance>(i);
        const CGTKPowerDisplay* power = gtkSensor_powerDisplay(instance);
        const CGTKNoConnectionDisplay* noConnection = gtkSensor_noConnectionDisplay(instance);
        if ((power != nullptr && CGTKPowerDisplay_getFocusState(power)) ||
            (noConnection != nullptr && CGTKNoConnectionDisplay_getFocusState(noConnection))) {
            return true;
        }
    }
    return false;
}
