#include "MainWindow.h"

#include "AppFlags.h"
#include "CSensorDisplayFSM.h"
#include "EntireScreen.h"
#include "GtkHelpers.h"
#include "ScreenSize.h"
#include "ScreenView.h"
#include "StyleSheet.h"

namespace {

constexpr int fullScreenHeight = screenHeight - topLineHeight;

constexpr int halvesLineHeight = 2;

MainWindowCallbacks callbacks;

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

void putContainer(GtkWidget** field, const char* name, GtkWidget* parent, int y, int height) {
    *field = gtk_fixed_new();
    gtk_widget_set_name(*field, name);
    gtk_widget_set_size_request(*field, screenWidth, height);
    gtk_fixed_put(GTK_FIXED(parent), *field, 0, y);
}

GtkWidget* parentOf(const ScreenContainerRow& row, SensorDisplayInstance_t display) {
    if (row.use == ScreenUse::layout) {
        return entireScreen.entireScreenContainer;
    }
    const ScreenUse use = ScreenTable_measures(row) ? ScreenUse::measurement : ScreenUse::layout;
    return *EntireScreen_field(ScreenTable_row(use, row.full).container, display);
}

/// The layouts stand below the status line, the areas of the lower half at half their height, and
/// all else fills its parent.
int topOf(const ScreenContainerRow& row, SensorDisplayInstance_t display) {
    if (row.use == ScreenUse::layout) {
        return topLineHeight;
    }
    return display == LowerDisplay && !ScreenTable_measures(row) ? halfScreenHeight : 0;
}

void createContainer(const ScreenContainerRow& row, SensorDisplayInstance_t display) {
    // A half's container is named as its field is written.
    char name[64];
    if (ScreenTable_existsTwice(row)) {
        g_snprintf(name, sizeof name, "%s[%u]", row.name, static_cast<uint32_t>(display));
    } else {
        g_snprintf(name, sizeof name, "%s", row.name);
    }
    putContainer(EntireScreen_field(row.container, display), name, parentOf(row, display),
                 topOf(row, display),
                 ScreenTable_existsTwice(row) ? halfScreenHeight : fullScreenHeight);
}

void createContainers() {
    putContainer(&entireScreen.topFixedLine, "topFixedLine", entireScreen.entireScreenContainer, 0,
                 topLineHeight);
    for (const SensorDisplayInstance_t display : {UpperDisplay, LowerDisplay}) {
        for (const ScreenContainerRow& row : screenContainers) {
            if (display == UpperDisplay || ScreenTable_existsTwice(row)) {
                createContainer(row, display);
            }
        }
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

} // namespace

void MainWindow_registerCallbacks(const MainWindowCallbacks& registered) {
    callbacks = registered;
}

void createGTKDisplays() {
    StyleSheet_install();
    createWindow();
    createContainers();
    createHalvesLine();
    SensorScreens_create(callbacks.screens);
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
