#include "AppSettingsMenu.h"

#include "AppFlags.h"
#include "Configuration.h"
#include "DisplaySettings.h"
#include "ScreenSize.h"
#include "message.h"

#include <array>
#include <cstdio>
#include <cstring>

bool isVisible = false;
GtkWidget* rightSettingsWindow = nullptr;
GtkWidget* checkBoxForward = nullptr;
GtkWidget* checkBoxReflected = nullptr;
GtkWidget* checkBoxMatch = nullptr;
GtkWidget* checkBoxGraph = nullptr;
GtkWidget* vswrRadioButton = nullptr;
GtkWidget* returnLossRadioButton = nullptr;
GtkWidget* reflCoeffRadioButton = nullptr;
GtkWidget* checkBoxUseLegacyRS232 = nullptr;
GtkWidget* checkBoxLegacyCommandModeSW = nullptr;
GtkWidget* checkBoxPulseMode = nullptr;

namespace {

constexpr int windowWidth = 560;
constexpr int margin = 16;
constexpr int controlHeight = 56;
constexpr int columnCount = 6;

GtkWidget* rawRadioButton = nullptr;
GtkWidget* averageRadioButton = nullptr;

void setActive(GtkWidget* button, bool active) {
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(button), active);
}

void matchChanged(bool active) {
    settings_setDisplayMatch(active);
    for (GtkWidget* radio : {vswrRadioButton, returnLossRadioButton, reflCoeffRadioButton}) {
        gtk_widget_set_sensitive(radio, active);
    }
}

void graphChanged(bool active) {
    settings_setDisplayGraph(active);
    setActive(checkBoxGraph, configuration_getDisplayGraph());
}

void legacyChanged(bool active) {
    configuration_setUseLegacy(active);
    gtk_widget_set_sensitive(checkBoxLegacyCommandModeSW, active);
}

void pulseModeChanged(bool active) {
    settings_setSensorPulseMode(active);
    setActive(checkBoxPulseMode, configuration_getPulseMode());
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
    GtkWidget** widget;
    int row;
    int column;
    int columns;
    void (*onChange)(bool active);
};

constexpr std::array<Control, 12> controls = {{
    {"checkBoxForward", "Forward", Kind::check, &checkBoxForward, 2, 0, 3,
     settings_setDisplayForward},
    {"checkBoxReflected", "Reflected", Kind::check, &checkBoxReflected, 2, 3, 3,
     settings_setDisplayReflected},
    {"checkBoxMatch", "Match", Kind::check, &checkBoxMatch, 3, 0, 6, matchChanged},
    {"vswrRadioButton", "VSWR", Kind::firstRadio, &vswrRadioButton, 4, 0, 2, vswrChosen},
    {"returnLossRadioButton", "Return Loss", Kind::nextRadio, &returnLossRadioButton, 4, 2, 2,
     returnLossChosen},
    {"reflCoeffRadioButton", "Refl Coeff", Kind::nextRadio, &reflCoeffRadioButton, 4, 4, 2,
     reflCoeffChosen},
    {"checkBoxGraph", "Display Graph", Kind::check, &checkBoxGraph, 6, 0, 6, graphChanged},
    {"rawRadioButton", "Raw", Kind::firstRadio, &rawRadioButton, 7, 0, 3, rawChosen},
    {"averageRadioButton", "Average", Kind::nextRadio, &averageRadioButton, 7, 3, 3, averageChosen},
    {"checkBoxPulseMode", "Sensor Pulse Mode", Kind::check, &checkBoxPulseMode, 9, 0, 6,
     pulseModeChanged},
    {"checkBoxUseLegacyRS232", "Use Legacy RS232", Kind::check, &checkBoxUseLegacyRS232, 11, 0, 6,
     legacyChanged},
    {"checkBoxLegacyCommandModeSW", "Use Command Mode", Kind::check, &checkBoxLegacyCommandModeSW,
     12, 0, 6, configuration_setCommandModeSW},
}};

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
            g_signal_handlers_block_by_func(*control.widget, reinterpret_cast<gpointer>(onToggled),
                                            data);
        } else {
            g_signal_handlers_unblock_by_func(*control.widget,
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
        *control.widget = widget;
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
    gtk_grid_set_row_spacing(GTK_GRID(grid), 7);
    gtk_grid_set_column_spacing(GTK_GRID(grid), 6);
    addTitle(GTK_GRID(grid));
    addHeadings(GTK_GRID(grid));
    addControls(GTK_GRID(grid));
    gtk_box_pack_start(GTK_BOX(box), grid, TRUE, TRUE, 0);
    return box;
}

void AppSettingsMenu_create(GtkWindow* parent) {
    rightSettingsWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWindow* window = GTK_WINDOW(rightSettingsWindow);
    gtk_widget_set_name(rightSettingsWindow, "appSettings");
    gtk_window_set_decorated(window, FALSE);
    gtk_window_set_transient_for(window, parent);
    gtk_window_set_keep_above(window, TRUE);
    gtk_window_set_modal(window, TRUE);
    gtk_window_set_default_size(window, windowWidth, screenHeight);
    GtkWidget* box = appSettingsBox();
    gtk_container_add(GTK_CONTAINER(rightSettingsWindow), box);
    gtk_widget_show_all(box);
    gtk_widget_add_events(rightSettingsWindow, GDK_BUTTON_PRESS_MASK);
    g_signal_connect(rightSettingsWindow, "button-press-event", G_CALLBACK(onButtonPress), nullptr);
    g_signal_connect(rightSettingsWindow, "delete-event", G_CALLBACK(onDelete), nullptr);
}

void AppSettingsMenu_setMatchType(int type) {
    blockHandlers(true);
    switch (type) {
    case rfMatch_RL:
        setActive(returnLossRadioButton, true);
        break;
    case rfMatch_RflCoeff:
        setActive(reflCoeffRadioButton, true);
        break;
    default:
        setActive(vswrRadioButton, true);
        break;
    }
    blockHandlers(false);
}

void AppSettingsMenu_setParameters() {
    const QUORVEL_APP_SETTINGS settings = configuration_getQuorvelAppConfiguration();
    blockHandlers(true);
    setActive(checkBoxForward, settings.displayForwardPower);
    setActive(checkBoxReflected, settings.displayReflectedPower);
    const bool match = settings.displayVSWR_ReturnLoss_or_ReflCoeff_Value;
    setActive(checkBoxMatch, match);
    for (GtkWidget* radio : {vswrRadioButton, returnLossRadioButton, reflCoeffRadioButton}) {
        gtk_widget_set_sensitive(radio, match);
    }
    setActive(checkBoxGraph, settings.displayGraph);
    const bool isAveraged = settings.graphSettings[0].displayMode == graphModeAverage;
    setActive(isAveraged ? averageRadioButton : rawRadioButton, true);
    setActive(checkBoxPulseMode, settings.sensorPulseModeIsActive);
    setActive(checkBoxUseLegacyRS232, settings.useLegacyRS232Commands);
    setActive(checkBoxLegacyCommandModeSW, settings.legacyCommandModeSW);
    gtk_widget_set_sensitive(checkBoxLegacyCommandModeSW, settings.useLegacyRS232Commands);
    blockHandlers(false);
    AppSettingsMenu_setMatchType(settings.matchMeasurementType);
}

void AppSettingsMenu_show() {
    if (rightSettingsWindow == nullptr) {
        return;
    }
    AppSettingsMenu_setParameters();
    gtk_window_move(GTK_WINDOW(rightSettingsWindow), screenWidth - windowWidth, 0);
    gtk_widget_show(rightSettingsWindow);
    gtk_window_move(GTK_WINDOW(rightSettingsWindow), screenWidth - windowWidth, 0);
    gtk_window_present(GTK_WINDOW(rightSettingsWindow));
    isVisible = true;
}

void AppSettingsMenu_hide() {
    if (rightSettingsWindow != nullptr) {
        gtk_widget_hide(rightSettingsWindow);
    }
    isVisible = false;
}

bool settingsMenuIsVisible() {
    return isVisible;
}

void AppSettingsMenu_onGearClicked(GtkWidget* /*button*/, gpointer /*display*/) {
    if (gtk_init_done) {
        AppSettingsMenu_show();
    }
}
