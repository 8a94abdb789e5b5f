#include "AppSettingsMenu.h"

#include "AppFlags.h"
#include "Configuration.h"
#include "DisplaySettings.h"
#include "ScreenSize.h"
#include "message.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace {

constexpr int windowWidth = 560;
constexpr int margin = 16;
constexpr int gap = 8;
constexpr int controlHeight = 56;
constexpr int columnCount = 6;

/// The side window and its controls; null before they are built.
struct SideWindow {
    bool isVisible; ///< the side window is shown
    GtkWidget* rightSettingsWindow;
    GtkWidget* checkBoxForward;
    GtkWidget* checkBoxReflected;
    GtkWidget* checkBoxMatch;
    GtkWidget* checkBoxGraph;
    GtkWidget* vswrRadioButton;
    GtkWidget* returnLossRadioButton;
    GtkWidget* reflCoeffRadioButton;
    GtkWidget* rawRadioButton;
    GtkWidget* averageRadioButton;
    GtkWidget* checkBoxUseLegacyRS232;
    GtkWidget* checkBoxLegacyCommandModeSW;
    GtkWidget* checkBoxPulseMode;
};
SideWindow sideWindow{};

void setActive(GtkWidget* button, bool active) {
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(button), active);
}

void setMatchTypesSensitive(bool sensitive) {
    for (GtkWidget* radio : {sideWindow.vswrRadioButton, sideWindow.returnLossRadioButton,
                             sideWindow.reflCoeffRadioButton}) {
        gtk_widget_set_sensitive(radio, sensitive);
    }
}

void matchChanged(bool active) {
    settings_setDisplayMatch(active);
    setMatchTypesSensitive(active);
}

void graphChanged(bool active) {
    settings_setDisplayGraph(active);
    setActive(sideWindow.checkBoxGraph, configuration_getDisplayGraph());
}

void legacyChanged(bool active) {
    configuration_setUseLegacy(active);
    gtk_widget_set_sensitive(sideWindow.checkBoxLegacyCommandModeSW, active);
}

void pulseModeChanged(bool active) {
    settings_setSensorPulseMode(active);
    setActive(sideWindow.checkBoxPulseMode, configuration_getPulseMode());
}

void vswrChosen(bool /*active*/) {
    settings_setMatchType(rfMatch_VSWR);
}

void returnLossChosen(bool /*active*/) {
    settings_setMatchType(rfMatch_RL);
}

void reflCoeffChosen(bool /*active*/) {
    settings_setMatchType(rfMatch_RflCoeff);
}

struct GraphModeRow {
    const char* data;
    int mode;
};

constexpr GraphModeRow graphModes[] = {{"raw", graphModeRaw}, {"avg", graphModeAverage}};

/// The plotting's radio buttons carry data by which the mode is known; other data mean nothing.
void chooseGraphMode(const char* data) {
    for (const GraphModeRow& row : graphModes) {
        if (strcmp(row.data, data) == 0) {
            settings_setGraphMode(row.mode);
        }
    }
}

void rawChosen(bool /*active*/) {
    chooseGraphMode("raw");
}

void averageChosen(bool /*active*/) {
    chooseGraphMode("avg");
}

enum class Kind { check, firstRadio, nextRadio };

/// A control of the side window: what it is, where it stands, and what its change does.
struct Control {
    const char* name;
    const char* label;
    Kind kind;
    GtkWidget* SideWindow::*widget;
    bool QUORVEL_APP_SETTINGS::*setting; ///< what a check box shows
    int row;
    int column;
    int columns;
    void (*onChange)(bool active);
};

// clang-format off
constexpr auto controls = std::to_array<Control>({
    {"checkBoxForward", "Forward", Kind::check, &SideWindow::checkBoxForward,
     &QUORVEL_APP_SETTINGS::displayForwardPower, 2, 0, 3, settings_setDisplayForward},
    {"checkBoxReflected", "Reflected", Kind::check, &SideWindow::checkBoxReflected,
     &QUORVEL_APP_SETTINGS::displayReflectedPower, 2, 3, 3, settings_setDisplayReflected},
    {"checkBoxMatch", "Match", Kind::check, &SideWindow::checkBoxMatch,
     &QUORVEL_APP_SETTINGS::displayVSWR_ReturnLoss_or_ReflCoeff_Value, 3, 0, 6, matchChanged},
    {"vswrRadioButton", "VSWR", Kind::firstRadio, &SideWindow::vswrRadioButton,
     nullptr, 4, 0, 2, vswrChosen},
    {"returnLossRadioButton", "Return Loss", Kind::nextRadio, &SideWindow::returnLossRadioButton,
     nullptr, 4, 2, 2, returnLossChosen},
    {"reflCoeffRadioButton", "Refl Coeff", Kind::nextRadio, &SideWindow::reflCoeffRadioButton,
     nullptr, 4, 4, 2, reflCoeffChosen},
    {"checkBoxGraph", "Display Graph", Kind::check, &SideWindow::checkBoxGraph,
     &QUORVEL_APP_SETTINGS::displayGraph, 6, 0, 6, graphChanged},
    {"rawRadioButton", "Raw", Kind::firstRadio, &SideWindow::rawRadioButton,
     nullptr, 7, 0, 3, rawChosen},
    {"averageRadioButton", "Average", Kind::nextRadio, &SideWindow::averageRadioButton,
     nullptr, 7, 3, 3, averageChosen},
    {"checkBoxPulseMode", "Sensor Pulse Mode", Kind::check, &SideWindow::checkBoxPulseMode,
     &QUORVEL_APP_SETTINGS::sensorPulseModeIsActive, 9, 0, 6, pulseModeChanged},
    {"checkBoxUseLegacyRS232", "Use Legacy RS232", Kind::check, &SideWindow::checkBoxUseLegacyRS232,
     &QUORVEL_APP_SETTINGS::useLegacyRS232Commands, 11, 0, 6, legacyChanged},
    {"checkBoxLegacyCommandModeSW", "Use Command Mode", Kind::check, &SideWindow::checkBoxLegacyCommandModeSW,
     &QUORVEL_APP_SETTINGS::legacyCommandModeSW, 12, 0, 6, configuration_setCommandModeSW},
});
// clang-format on

struct Heading {
    const char* text;
    const char* styleClass;
    int row;
};

constexpr Heading headings[] = {
    {"Measurements", "section", 1},
    {"Graph", "section", 5},
    {"Sensor", "section", 8},
    {"Remote control, from the next start on", "section", 10},
};

/// A radio button also tells that it is left; only the chosen one acts.
void onToggled(GtkToggleButton* button, gpointer data) {
    const auto* control = static_cast<const Control*>(data);
    const bool active = gtk_toggle_button_get_active(button) != FALSE;
    if (!gtk_init_done || (control->kind != Kind::check && !active)) {
        return;
    }
    char pressed[64];
    snprintf(pressed, sizeof pressed, "%s clicked", control->name);
    DIAGNOSTIC("%s was pressed\n", pressed);
    control->onChange(active);
}

void blockHandlers(bool block) {
    for (const Control& control : controls) {
        auto* data = const_cast<Control*>(&control); // GTK takes its data without const
        if (block) {
            g_signal_handlers_block_by_func(sideWindow.*control.widget,
                                            reinterpret_cast<gpointer>(onToggled), data);
        } else {
            g_signal_handlers_unblock_by_func(sideWindow.*control.widget,
                                              reinterpret_cast<gpointer>(onToggled), data);
        }
    }
}

GtkWidget* newControl(const Control& control, GtkWidget* group) {
    if (control.kind == Kind::check) {
        return gtk_check_button_new_with_label(control.label);
    }
    GtkRadioButton* first = control.kind == Kind::nextRadio ? GTK_RADIO_BUTTON(group) : nullptr;
    GtkWidget* radio = gtk_radio_button_new_with_label_from_widget(first, control.label);
    gtk_toggle_button_set_mode(GTK_TOGGLE_BUTTON(radio), FALSE); // looks like a key
    return radio;
}

void addControls(GtkGrid* grid) {
    GtkWidget* group = nullptr;
    for (const Control& control : controls) {
        GtkWidget* widget = newControl(control, group);
        if (control.kind == Kind::firstRadio) {
            group = widget;
        }
        sideWindow.*control.widget = widget;
        gtk_widget_set_name(widget, control.name);
        gtk_widget_set_can_focus(widget, FALSE);
        gtk_widget_set_size_request(widget, -1, controlHeight);
        g_signal_connect(widget, "toggled", G_CALLBACK(onToggled), const_cast<Control*>(&control));
        gtk_grid_attach(grid, widget, control.column, control.row, control.columns, 1);
    }
}

void addHeadings(GtkGrid* grid) {
    for (const Heading& heading : headings) {
        GtkWidget* label = gtk_label_new(heading.text);
        gtk_label_set_xalign(GTK_LABEL(label), 0.0F);
        gtk_style_context_add_class(gtk_widget_get_style_context(label), heading.styleClass);
        gtk_grid_attach(grid, label, 0, heading.row, columnCount, 1);
    }
}

void onCloseClicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        AppSettingsMenu_hide();
    }
}

void addTitle(GtkGrid* grid) {
    GtkWidget* title = gtk_label_new("Settings");
    gtk_label_set_xalign(GTK_LABEL(title), 0.0F);
    gtk_style_context_add_class(gtk_widget_get_style_context(title), "heading");
    gtk_grid_attach(grid, title, 0, 0, 4, 1);
    GtkWidget* close = gtk_button_new_with_label("Close");
    gtk_widget_set_name(close, "appSettingsClose");
    gtk_widget_set_can_focus(close, FALSE);
    gtk_widget_set_size_request(close, -1, controlHeight);
    g_signal_connect(close, "clicked", G_CALLBACK(onCloseClicked), nullptr);
    gtk_grid_attach(grid, close, 4, 0, 2, 1);
}

/// While the window is shown it is given every touch; one that lies beside it closes it.
gboolean onButtonPress(GtkWidget* window, GdkEventButton* event, gpointer /*data*/) {
    int left = 0;
    int top = 0;
    gdk_window_get_origin(gtk_widget_get_window(window), &left, &top);
    const bool isInside = event->x_root >= left && event->x_root < left + windowWidth &&
                          event->y_root >= top && event->y_root < top + screenHeight;
    if (gtk_init_done && !isInside) {
        AppSettingsMenu_hide();
    }
    return FALSE;
}

gboolean onDelete(GtkWidget* /*window*/, GdkEvent* /*event*/, gpointer /*data*/) {
    AppSettingsMenu_hide();
    return TRUE;
}

} // namespace

GtkWidget* appSettingsBox() {
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_widget_set_name(box, "appSettings");
    gtk_container_set_border_width(GTK_CONTAINER(box), margin);
    GtkWidget* grid = gtk_grid_new();
    gtk_grid_set_column_homogeneous(GTK_GRID(grid), TRUE);
    gtk_grid_set_row_spacing(GTK_GRID(grid), gap);
    gtk_grid_set_column_spacing(GTK_GRID(grid), gap);
    addTitle(GTK_GRID(grid));
    addHeadings(GTK_GRID(grid));
    addControls(GTK_GRID(grid));
    gtk_box_pack_start(GTK_BOX(box), grid, TRUE, TRUE, 0);
    return box;
}

void AppSettingsMenu_create(GtkWindow* parent) {
    sideWindow.rightSettingsWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWindow* window = GTK_WINDOW(sideWindow.rightSettingsWindow);
    gtk_widget_set_name(sideWindow.rightSettingsWindow, "appSettings");
    gtk_window_set_decorated(window, FALSE);
    gtk_window_set_transient_for(window, parent);
    gtk_window_set_keep_above(window, TRUE);
    gtk_window_set_modal(window, TRUE);
    gtk_window_set_default_size(window, windowWidth, screenHeight);
    GtkWidget* box = appSettingsBox();
    gtk_container_add(GTK_CONTAINER(sideWindow.rightSettingsWindow), box);
    gtk_widget_show_all(box);
    gtk_widget_add_events(sideWindow.rightSettingsWindow, GDK_BUTTON_PRESS_MASK);
    g_signal_connect(sideWindow.rightSettingsWindow, "button-press-event",
                     G_CALLBACK(onButtonPress), nullptr);
    g_signal_connect(sideWindow.rightSettingsWindow, "delete-event", G_CALLBACK(onDelete), nullptr);
}

GtkWidget* AppSettingsMenu_window() {
    return sideWindow.rightSettingsWindow;
}

void AppSettingsMenu_setMatchType(int type) {
    blockHandlers(true);
    switch (type) {
    case rfMatch_RL:
        setActive(sideWindow.returnLossRadioButton, true);
        break;
    case rfMatch_RflCoeff:
        setActive(sideWindow.reflCoeffRadioButton, true);
        break;
    default:
        setActive(sideWindow.vswrRadioButton, true);
        break;
    }
    blockHandlers(false);
}

void AppSettingsMenu_setParameters() {
    const QUORVEL_APP_SETTINGS settings = configuration_getQuorvelAppConfiguration();
    blockHandlers(true);
    for (const Control& control : controls) {
        if (control.setting != nullptr) {
            setActive(sideWindow.*control.widget, settings.*control.setting);
        }
    }
    setMatchTypesSensitive(settings.displayVSWR_ReturnLoss_or_ReflCoeff_Value);
    const bool isAveraged = settings.graphSettings[0].displayMode == graphModeAverage;
    setActive(isAveraged ? sideWindow.averageRadioButton : sideWindow.rawRadioButton, true);
    gtk_widget_set_sensitive(sideWindow.checkBoxLegacyCommandModeSW,
                             settings.useLegacyRS232Commands);
    blockHandlers(false);
    AppSettingsMenu_setMatchType(settings.matchMeasurementType);
}

void AppSettingsMenu_show() {
    if (sideWindow.rightSettingsWindow == nullptr) {
        return;
    }
    AppSettingsMenu_setParameters();
    gtk_window_move(GTK_WINDOW(sideWindow.rightSettingsWindow), screenWidth - windowWidth, 0);
    gtk_widget_show(sideWindow.rightSettingsWindow);
    gtk_window_move(GTK_WINDOW(sideWindow.rightSettingsWindow), screenWidth - windowWidth, 0);
    gtk_window_present(GTK_WINDOW(sideWindow.rightSettingsWindow));
    sideWindow.isVisible = true;
}

void AppSettingsMenu_hide() {
    if (sideWindow.rightSettingsWindow != nullptr) {
        gtk_widget_hide(sideWindow.rightSettingsWindow);
    }
    sideWindow.isVisible = false;
}

bool settingsMenuIsVisible() {
    return sideWindow.isVisible;
}

void AppSettingsMenu_onGearClicked(GtkWidget* /*button*/, gpointer /*display*/) {
    if (gtk_init_done) {
        AppSettingsMenu_show();
    }
}
