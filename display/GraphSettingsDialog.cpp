#include "GraphSettingsDialog.h"

#include "AppFlags.h"
#include "CSimpleTimer.h"
#include "DialogHelpers.h"
#include "GraphHistory.h"
#include "GraphSettingsKeypad.h"
#include "GraphSettingsUtilities.h"
#include "GtkHelpers.h"
#include "PowerDisplayTypes.h"
#include "ScreenTable.h"
#include "SensorPortHandler.h"
#include "message.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <vector>

namespace {

constexpr char interfaceFile[] = "./resources/graphSettingsDialog.ui";
/// What the interface file leaves to the title.
constexpr int titleWidth_px = 740;
constexpr uint32_t dBmDigits = 2;
constexpr double dBmLowest = -60.0;
constexpr double dBmHighest = 80.0;
constexpr double milliwattsHighest = 99999999.0;

/// An entry that holds a power, and the setting behind it.
struct PowerEntry {
    const char* id;
    const char* unitsId;
    double GraphSettings_t::*setting;
    GtkEntry* entry;
    GtkWidget* units;
    char shownText[40]; ///< what the entry showed when the dialog was opened
    double shownValue;  ///< the exact value behind it, in mW or dBm
};

std::array<PowerEntry, 4> powerEntries = {{
    {"graphSettingsRangeMin", "graphSettingsLabelRangeMinUnits", &GraphSettings_t::minPower,
     nullptr, nullptr, "", 0.0},
    {"graphSettingsRangeMax", "graphSettingsLabelRangeMaxUnits", &GraphSettings_t::maxPower,
     nullptr, nullptr, "", 0.0},
    {"graphSettingsLimitMin", "graphSettingsLabelLimitsMinUnits", &GraphSettings_t::minLimitLine,
     nullptr, nullptr, "", 0.0},
    {"graphSettingsLimitMax", "graphSettingsLabelLimitsMaxUnits", &GraphSettings_t::maxLimitLine,
     nullptr, nullptr, "", 0.0},
}};

struct KeyImage {
    const char* id;
    const char* file;
};

constexpr KeyImage keyImages[] = {
    {"graphNumKeypadImageClear", "./resources/graphKeypadClear.png"},
    {"graphNumKeypadImageBackspace", "./resources/graphKeypadBackspace.png"},
    {"graphNumKeypadImageNext", "./resources/graphKeypadNext.png"},
};

struct Widgets {
    GtkWidget* window;
    GtkWidget* title;
    GtkToggleButton* reflectedBox;
    GtkToggleButton* averageBox;
    GtkEntry* countEntry;
    GtkWidget* problem; ///< says why entries were refused
};

Widgets widgets;

/// What the dialog works on while it is open.
struct WorkingCopy {
    CGTKTimePowerGraph* graph; ///< source; null while the dialog is closed
    uint32_t displayIndex;
    uint32_t port;
    GraphSettings_t settings;
    rfPowerScale scale; ///< in force when the dialog opened
    bool isdBm;
};

WorkingCopy working;

const DISPLAY_RANGE_FORMAT& workingRange() {
    return rangeFormats[std::min<uint32_t>(working.scale.scaleIndex, rangeCount - 1)];
}

uint32_t workingDigits() {
    return working.isdBm ? dBmDigits : workingRange().precisionForGraph;
}

/// Takes the dialog's widgets; false, and nothing taken, if one is missing.
bool findWidgets(GtkBuilder* builder) {
    GtkWidget* window = Dialog_widget(builder, "graphSettingsDialog");
    GtkWidget* reflected = Dialog_widget(builder, "graphSettingsCheckButtonRfl");
    GtkWidget* average = Dialog_widget(builder, "graphSettingsCheckButtonAverage");
    GtkWidget* count = Dialog_widget(builder, "graphSettingsAverageCount");
    GtkWidget* problem = Dialog_widget(builder, "graphSettingsProblem");
    bool isComplete = window != nullptr && reflected != nullptr && average != nullptr &&
                      count != nullptr && problem != nullptr;
    std::array<PowerEntry, powerEntries.size()> found = powerEntries;
    for (PowerEntry& power : found) {
        GtkWidget* entry = Dialog_widget(builder, power.id);
        power.units = Dialog_widget(builder, power.unitsId);
        isComplete = isComplete && entry != nullptr && power.units != nullptr;
        power.entry = entry != nullptr ? GTK_ENTRY(entry) : nullptr;
    }
    if (isComplete) {
        powerEntries = found;
        widgets = {window,
                   Dialog_widget(builder, "graphSettingsLabelTitle"),
                   GTK_TOGGLE_BUTTON(reflected),
                   GTK_TOGGLE_BUTTON(average),
                   GTK_ENTRY(count),
                   problem};
    }
    return isComplete;
}

/// Each of two sensors has a graph of its own.
void showTitle() {
    char text[64];
    std::snprintf(text, sizeof text, "Graph Settings\n%s", Dialog_sensorName(working.port).text);
    setLabelText(widgets.title, text);
    Dialog_fitLabel(widgets.title, titleWidth_px);
}

void setUnits(const char* units) {
    for (const PowerEntry& power : powerEntries) {
        setLabelText(power.units, units);
    }
}

/// Shows a stored value in the unit of the display's power range, or in dBm.
void showSetting(PowerEntry& power) {
    power.shownValue = getGraphPowerValueInCorrectUnits(working.settings.*power.setting,
                                                        working.settings.unit, working.isdBm);
    const double shown = working.isdBm
                             ? power.shownValue
                             : getScaleFromSetting(power.shownValue, workingRange().displayLabel);
    GraphSettingsUtilities_showValue(power.entry, shown, workingDigits());
    std::snprintf(power.shownText, sizeof power.shownText, "%s", gtk_entry_get_text(power.entry));
}

/// The value to store. An entry that was not changed keeps its exact value, which its text may
/// have rounded.
double settingOf(const PowerEntry& power) {
    if (strcmp(gtk_entry_get_text(power.entry), power.shownText) == 0) {
        return power.shownValue;
    }
    const double value = GraphSettingsUtilities_entryValue(power.entry);
    return working.isdBm ? value : getSettingFromScale(value, workingRange().displayLabel);
}

/// As typed, as far as it fits the setting.
uint32_t typedCount() {
    const gint64 count = g_ascii_strtoll(gtk_entry_get_text(widgets.countEntry), nullptr, 10);
    return static_cast<uint32_t>(std::clamp<gint64>(count, 0, UINT32_MAX));
}

void showCount(uint32_t count) {
    char text[16];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(std::min<uint32_t>(count, INT32_MAX)));
    gtk_entry_set_text(widgets.countEntry, text);
}

/// Gives the graph its buttons back and takes the dialog away.
void closeDialog() {
    if (working.graph != nullptr) {
        CGTKGraphComponent_setButtonsSensitive(&working.graph->graph, true);
        working.graph = nullptr;
    }
    GraphSettingsKeypad_setTarget(nullptr);
    gtk_widget_hide(widgets.window);
}

void storeSettings() {
    for (const PowerEntry& power : powerEntries) {
        working.settings.*power.setting = settingOf(power);
    }
    working.settings.unit = working.isdBm ? graphScale_dBm : graphScale_mW;
    working.settings.bReflectedMode = gtk_toggle_button_get_active(widgets.reflectedBox) != 0;
    working.settings.displayMode =
        gtk_toggle_button_get_active(widgets.averageBox) != 0 ? graphModeAverage : graphModeRaw;
    if (Dialog_holdsNumber(GTK_WIDGET(widgets.countEntry))) {
        working.settings.averageCount = typedCount();
    }
    GraphHistory_store(working.settings, working.displayIndex);
    CGTKTimePowerGraph_invalidateDisplay(working.displayIndex);
}

/// Brings the number of an entry that is left into its limits. The count is taken as typed, and an
/// entry without a number stays without one.
void leaveEntry(GtkWidget* entry) {
    for (const PowerEntry& power : powerEntries) {
        const bool isChanged = strcmp(gtk_entry_get_text(power.entry), power.shownText) != 0;
        if (GTK_WIDGET(power.entry) == entry && isChanged && Dialog_holdsNumber(entry)) {
            const double lowest = working.isdBm ? dBmLowest : 0.0;
            const double highest =
                working.isdBm ? dBmHighest
                              : getScaleFromSetting(milliwattsHighest, workingRange().displayLabel);
            validateEntry(power.entry, workingDigits(), lowest, highest);
        }
    }
}

std::array<GtkWidget*, powerEntries.size() + 1> allEntries() {
    std::array<GtkWidget*, powerEntries.size() + 1> all{};
    std::ranges::transform(powerEntries, all.begin(),
                           [](const PowerEntry& power) { return GTK_WIDGET(power.entry); });
    all.back() = GTK_WIDGET(widgets.countEntry);
    return all;
}

/// Apply has found entries without a number.
void frameEmptyEntries() {
    for (GtkWidget* entry : allEntries()) {
        const bool answers = gtk_widget_get_sensitive(entry) != 0;
        setWidgetClass(entry, dialogRefusedClass, answers && !Dialog_holdsNumber(entry));
    }
    setLabelText(widgets.problem, "A number is missing.");
}

/// An entry that has changed is no longer refused, nor is one that does not answer.
void unframe(GtkWidget* changed) {
    setWidgetClass(changed, dialogRefusedClass, false);
    const auto entries = allEntries();
    if (std::ranges::none_of(entries, [](GtkWidget* entry) {
            return gtk_style_context_has_class(gtk_widget_get_style_context(entry),
                                               dialogRefusedClass);
        })) {
        setLabelText(widgets.problem, "");
    }
}

void applyButtonClicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (working.graph == nullptr) {
        return;
    }
    GtkWidget* empty = GraphSettingsKeypad_emptyEntry();
    if (empty != nullptr) {
        frameEmptyEntries();
        GraphSettingsKeypad_setTarget(empty);
        return;
    }
    storeSettings();
    closeDialog();
}

void averageButtonToggled(bool isActive) {
    gtk_widget_set_sensitive(GTK_WIDGET(widgets.countEntry), isActive);
    unframe(GTK_WIDGET(widgets.countEntry));
    GraphSettingsKeypad_keepTargetUsable();
}

void defaultButtonClicked(GtkWidget* /*button*/, gpointer /*data*/) {
    // Stays so: in dBm, too, the sensor's limits are shown in the range's unit, divided by 1000,
    // and existing test programs know the dialog so (docs/compatibility.md: default-in-dbm).
    const double factor =
        static_cast<double>(workingRange().multiplier) / (working.isdBm ? 1000.0 : 1.0);
    const double least =
        static_cast<double>(sensorPortHandler_getSensorMinPower(working.port)) * factor;
    const double greatest =
        static_cast<double>(sensorPortHandler_getSensorMaxPower(working.port)) * factor;
    for (size_t i = 0; i < powerEntries.size(); ++i) {
        GraphSettingsUtilities_showValue(powerEntries[i].entry, i % 2 == 0 ? least : greatest,
                                         workingRange().precisionForGraph);
    }
    setUnits(workingRange().displayLabel);
    gtk_entry_set_text(widgets.countEntry, "64");
    gtk_toggle_button_set_active(widgets.averageBox, FALSE);
    averageButtonToggled(false);
}

void rflButtonToggled(bool isActive) {
    working.settings.bReflectedMode = isActive;
}

void on_graphSettingsDialog_apply_clicked(GtkWidget* button, gpointer data) {
    if (gtk_init_done) {
        applyButtonClicked(button, data);
    }
}

void on_graphSettingsDialog_cancel_clicked(GtkWidget* button, gpointer data) {
    if (gtk_init_done) {
        cancelButtonClicked(button, data);
    }
}

void on_graphSettingsDialog_default_clicked(GtkWidget* button, gpointer data) {
    if (gtk_init_done) {
        defaultButtonClicked(button, data);
    }
}

gboolean on_graphSettingsDialog_delete_event(GtkWidget* window, GdkEvent* /*event*/,
                                             gpointer data) {
    cancelButtonClicked(window, data);
    return TRUE;
}

void on_graphSettingsEntry_edited(GtkWidget* entry, gpointer /*data*/) {
    if (widgets.problem != nullptr) {
        unframe(entry);
    }
}

void on_graphAverageCheckbox_toggled(GtkToggleButton* box, gpointer /*data*/) {
    if (gtk_init_done) {
        averageButtonToggled(gtk_toggle_button_get_active(box) != 0);
    }
}

void on_graphRflCheckbox_toggled(GtkToggleButton* box, gpointer /*data*/) {
    if (gtk_init_done) {
        rflButtonToggled(gtk_toggle_button_get_active(box) != 0);
    }
}

const DialogHandler handlers[] = {
    {"on_graphSettingsDialog_apply_clicked", G_CALLBACK(on_graphSettingsDialog_apply_clicked)},
    {"on_graphSettingsDialog_cancel_clicked", G_CALLBACK(on_graphSettingsDialog_cancel_clicked)},
    {"on_graphSettingsDialog_default_clicked", G_CALLBACK(on_graphSettingsDialog_default_clicked)},
    {"on_graphSettingsDialog_delete_event", G_CALLBACK(on_graphSettingsDialog_delete_event)},
    {"on_graphSettingsEntry_edited", G_CALLBACK(on_graphSettingsEntry_edited)},
    {"on_graphAverageCheckbox_toggled", G_CALLBACK(on_graphAverageCheckbox_toggled)},
    {"on_graphRflCheckbox_toggled", G_CALLBACK(on_graphRflCheckbox_toggled)},
};

} // namespace

void graphSettingsDialog_Create(GtkWindow* parent) {
    std::vector<DialogHandler> all(std::begin(handlers), std::end(handlers));
    std::ranges::copy(GraphSettingsKeypad_handlers(), std::back_inserter(all));
    GtkBuilder* builder = Dialog_load(interfaceFile, all.data(), all.size());
    if (builder == nullptr) {
        return;
    }
    if (findWidgets(builder)) {
        initializeEntryOrder(builder, leaveEntry);
        for (const KeyImage& image : keyImages) {
            Dialog_setPicture(builder, image.id, image.file);
        }
        gtk_window_set_transient_for(GTK_WINDOW(widgets.window), parent);
        gtk_window_set_keep_above(GTK_WINDOW(widgets.window), TRUE);
        CGTKTimePowerGraph_registerSettingsDialog(graphSettingsDialog_Show);
    } else if (GtkWidget* window = Dialog_widget(builder, "graphSettingsDialog")) {
        gtk_widget_destroy(window);
    }
    g_object_unref(builder);
}

void graphSettingsDialog_Show(CGTKTimePowerGraph* graph) {
    if (widgets.window == nullptr) {
        return;
    }
    const uint32_t start_ms = getTime_ms();
    closeDialog();
    GraphSettingsDialog_setParameters(graph);
    CGTKGraphComponent_setButtonsSensitive(&graph->graph, false);
    GtkWindow* parent = gtk_window_get_transient_for(GTK_WINDOW(widgets.window));
    if (parent != nullptr) {
        placeOverWindow(GTK_WINDOW(widgets.window), parent);
    }
    gtk_widget_show(widgets.window);
    gtk_window_present(GTK_WINDOW(widgets.window));
    GraphSettingsKeypad_setTarget(GTK_WIDGET(powerEntries[0].entry));
    DIAGNOSTIC("GraphSettingsDialog display latency: %d ms.\n",
               static_cast<int>(getTime_ms() - start_ms));
}

void GraphSettingsDialog_setParameters(CGTKTimePowerGraph* graph) {
    const uint32_t display = graph->mpOwner->displayIndex == UpperDisplay ? 0 : 1;
    DIAGNOSTIC("displayIndex = %d\n", static_cast<int>(display));
    const GraphSettings_t settings = configuration_getGraphSettings(display);
    working = {.graph = graph,
               .displayIndex = display,
               .port = graph->mpOwner->sensorChannel,
               .settings = settings,
               .scale = configuration_getRfPowerScale(display, settings.bReflectedMode ? 1 : 0),
               .isdBm = configuration_getPowerUnitsIsdBm()};
    showTitle();
    for (PowerEntry& power : powerEntries) {
        showSetting(power);
    }
    setUnits(working.isdBm ? "dBm" : workingRange().displayLabel);
    gtk_toggle_button_set_active(widgets.reflectedBox, settings.bReflectedMode);
    const bool isAveraged = settings.displayMode == graphModeAverage;
    gtk_toggle_button_set_active(widgets.averageBox, isAveraged);
    averageButtonToggled(isAveraged);
    showCount(settings.averageCount);
}

void cancelButtonClicked(GtkWidget* /*button*/, gpointer /*data*/) {
    closeDialog();
}
