#include "PulseDisplay.h"

#include "AppFlags.h"
#include "DialogHelpers.h"
#include "GtkHelpers.h"
#include "PowerDisplayLayout.h"
#include "SilenceSign.h"
#include "gtkScaleControls.h"

#include <array>
#include <cstdio>

namespace {

constexpr char fullInterfaceFile[] = "./resources/pulseDisplay.ui";
constexpr char halfInterfaceFile[] = "./resources/pulseDisplayHalf.ui";

/// Gated and state powers have no third digit before the point in dBm: they are clamped.
constexpr int groupValueCharacters = 7;

/// As the style sheet gives it to a title.
constexpr int titleSize_px = 30;

void (*showConfigDialog)(uint32_t port) = nullptr;

/// An id and the field that takes its widget.
struct Binding {
    const char* id;
    GtkWidget** field;
};

/// An id that ends in the number of a state.
struct StateBinding {
    const char* id;
    GtkWidget* gtkPowerDisplay_PulseState::*field;
};

constexpr StateBinding stateBindings[] = {
    {"pulse.lblState", &gtkPowerDisplay_PulseState::state},
    {"pulse.valueMean", &gtkPowerDisplay_PulseState::mean},
    {"pulse.valueMax", &gtkPowerDisplay_PulseState::max},
    {"pulse.valueMin", &gtkPowerDisplay_PulseState::min},
    {"pulse.btnUnits", &gtkPowerDisplay_PulseState::unitsButton},
    {"pulse.lbldBm", &gtkPowerDisplay_PulseState::dBm},
};

struct StateScaleBinding {
    const char* id;
    GtkWidget* CGTKScaleControls::*field;
};

constexpr StateScaleBinding stateScaleBindings[] = {
    {"pulse.btnScaleUp", &CGTKScaleControls::gtkScaleUp},
    {"pulse.btnScaleDown", &CGTKScaleControls::gtkScaleDown},
    {"pulse.btnScaleAuto", &CGTKScaleControls::gtkScaleAutoOn},
};

/// The handlers of one group of scale buttons.
struct ScaleHandlers {
    void (*up)(GtkWidget* button, gpointer data);
    void (*down)(GtkWidget* button, gpointer data);
    void (*automatic)(GtkWidget* button, gpointer data);
};

constexpr ScaleHandlers powerHandlers = {
    CGTKScaleControls_CallbackUp, CGTKScaleControls_CallbackDown, CGTKScaleControls_CallbackAuto};
constexpr ScaleHandlers stateHandlers = {CGTKScaleControls_CallbackStateUp,
                                         CGTKScaleControls_CallbackStateDown,
                                         CGTKScaleControls_CallbackStateAuto};
constexpr ScaleHandlers gatedHandlers = {CGTKScaleControls_CallbackGatedPowerUp,
                                         CGTKScaleControls_CallbackGatedPowerDown,
                                         CGTKScaleControls_CallbackGatedPowerAuto};

void bindPowers(GtkBuilder* builder, CGTKPowerDisplay* display) {
    const Binding bindings[] = {
        {"pulse.btnTitle", &display->title.sensorButton},
        {"pulse.btnConfig", &display->title.configButton},
        {"pulse.lblFwd", &display->fwdRFPower.label},
        {"pulse.valueFwd", &display->fwdRFPower.value},
        {"pulse.btnUnitsFwd", &display->fwdRFPower.unitsButton},
        {"pulse.fwdCtlBox", &display->scaleControlsFwd.container},
        {"pulse.btnFwdScaleAuto", &display->scaleControlsFwd.gtkScaleAutoOn},
        {"pulse.btnFwdScaleUp", &display->scaleControlsFwd.gtkScaleUp},
        {"pulse.btnFwdScaleDown", &display->scaleControlsFwd.gtkScaleDown},
        {"pulse.lblRfl", &display->rflRFPower.label},
        {"pulse.valueRfl", &display->rflRFPower.value},
        {"pulse.btnUnitsRfl", &display->rflRFPower.unitsButton},
        {"pulse.rflCtlBox", &display->scaleControlsRfl.container},
        {"pulse.btnRflScaleAuto", &display->scaleControlsRfl.gtkScaleAutoOn},
        {"pulse.btnRflScaleUp", &display->scaleControlsRfl.gtkScaleUp},
        {"pulse.btnRflScaleDown", &display->scaleControlsRfl.gtkScaleDown},
    };
    for (const Binding& binding : bindings) {
        *binding.field = Dialog_widget(builder, binding.id);
    }
}

void bindPulse(GtkBuilder* builder, CGTKPulseDisplay* display) {
    const Binding bindings[] = {
        {"pulse.gridAttr", &display->pGridAttr},
        {"pulse.lblPrd", &display->period.label},
        {"pulse.valuePeriod", &display->period.value},
        {"pulse.unitsPeriod", &display->period.unitsButtonLabel},
        {"pulse.lblRepeat", &display->repeat.label},
        {"pulse.valueRepeat", &display->repeat.value},
        {"pulse.unitsRepeat", &display->repeat.unitsButtonLabel},
        {"pulse.lblWidth", &display->width.label},
        {"pulse.valueWidth", &display->width.value},
        {"pulse.unitsWidth", &display->width.unitsButtonLabel},
        {"pulse.lblDuty", &display->dutyCycleVal.label},
        {"pulse.valueDuty", &display->dutyCycleVal.value},
        {"pulse.unitsDuty", &display->dutyCycleVal.unitsButtonLabel},
        {"pulse.lblFreq", &display->frequency.label},
        {"pulse.valueFreq", &display->frequency.value},
        {"pulse.unitsFreq", &display->frequency.unitsButtonLabel},
    };
    for (const Binding& binding : bindings) {
        *binding.field = Dialog_widget(builder, binding.id);
    }
}

void bindGate(GtkBuilder* builder, CGTKPulseDisplay* display) {
    const Binding bindings[] = {
        {"pulse.gridGate", &display->pGridGated},
        {"pulse.valueGatedMean", &display->gatedPower.meanValue},
        {"pulse.valueGatedMax", &display->gatedPower.maxValue},
        {"pulse.valueGatedMin", &display->gatedPower.minValue},
        {"pulse.btnGatedUnits", &display->gatedPower.unitsButton},
        {"pulse.btnGatedScaleUp", &display->scaleControlsGatedPower.gtkScaleUp},
        {"pulse.btnGatedScaleDown", &display->scaleControlsGatedPower.gtkScaleDown},
        {"pulse.btnGatedAuto", &display->scaleControlsGatedPower.gtkScaleAutoOn},
    };
    for (const Binding& binding : bindings) {
        *binding.field = Dialog_widget(builder, binding.id);
    }
}

void bindStates(GtkBuilder* builder, CGTKPulseDisplay* display) {
    display->pGridState = Dialog_widget(builder, "pulse.gridState");
    display->noStates = Dialog_widget(builder, "pulse.noStates");
    char id[32];
    for (uint32_t i = 0; i < pulseStateCount; ++i) {
        gtkPowerDisplay_PulseState& state = display->stateArray[i];
        for (const StateBinding& binding : stateBindings) {
            std::snprintf(id, sizeof id, "%s%u", binding.id, i + 1);
            state.*binding.field = Dialog_widget(builder, id);
        }
        for (const StateScaleBinding& binding : stateScaleBindings) {
            std::snprintf(id, sizeof id, "%s%u", binding.id, i + 1);
            state.scaleControls.*binding.field = Dialog_widget(builder, id);
        }
    }
}

GtkWidget* parentOf(GtkWidget* widget) {
    return widget != nullptr ? gtk_widget_get_parent(widget) : nullptr;
}

/// The interface files give no ids to what the parts of a line stand in.
void takeContainers(CGTKPulseDisplay* display) {
    CGTKPowerDisplay& power = display->power;
    power.title.container = parentOf(power.title.sensorButton);
    for (gtkPowerDisplay_RFPower* line : {&power.fwdRFPower, &power.rflRFPower}) {
        line->container = parentOf(line->value);
    }
    display->gatedPower.container = parentOf(display->gatedPower.meanValue);
    for (gtkPowerDisplay_PulseState& state : display->stateArray) {
        state.container = parentOf(state.mean);
    }
}

/// Texts that never change, and pages: only that they are there is of use.
void checkFixedParts(GtkBuilder* builder) {
    for (const char* id :
         {"pulse.screen", "pulse.attrGrid", "pulse.tabValues", "pulse.tabStates",
          "pulse.tabGatedPower", "pulse.lblState", "pulse.lblMean", "pulse.lblMax", "pulse.lblMin",
          "pulse.lblGated", "pulse.lblGatedMean", "pulse.lblGatedMax", "pulse.lblGatedMin"}) {
        Dialog_widget(builder, id);
    }
}

/// The text on a key, named after the key.
GtkWidget* takeKeyLabel(GtkWidget* button, const char* part) {
    GtkWidget* label = button != nullptr ? gtk_bin_get_child(GTK_BIN(button)) : nullptr;
    if (label != nullptr) {
        char name[64];
        std::snprintf(name, sizeof name, "%s.%s", gtk_widget_get_name(button), part);
        gtk_widget_set_name(label, name);
    }
    return label;
}

/// A unit key and its text; a tap switches between watts and dBm.
void connectUnits(GtkWidget* button, GtkWidget** label) {
    *label = takeKeyLabel(button, "text");
    if (button != nullptr) {
        g_signal_connect(button, "clicked", G_CALLBACK(CGTKPowerDisplay_switchPowerUnits), nullptr);
    }
}

void connectAllUnits(CGTKPulseDisplay* display) {
    for (gtkPowerDisplay_RFPower* line : {&display->power.fwdRFPower, &display->power.rflRFPower}) {
        connectUnits(line->unitsButton, &line->unitsButtonLabel);
    }
    connectUnits(display->gatedPower.unitsButton, &display->gatedPower.unitsButtonLabel);
    for (gtkPowerDisplay_PulseState& state : display->stateArray) {
        connectUnits(state.unitsButton, &state.unitsButtonLabel);
    }
}

void setImage(GtkWidget* button, const char* file) {
    if (button != nullptr) {
        gtk_button_set_image(GTK_BUTTON(button), newImageFromFile(file));
        gtk_button_set_always_show_image(GTK_BUTTON(button), TRUE);
    }
}

void connectKey(GtkWidget* button, void (*handler)(GtkWidget*, gpointer), gpointer data) {
    if (button != nullptr) {
        g_signal_connect(button, "clicked", G_CALLBACK(handler), data);
    }
}

/// Images and handlers of a group of scale buttons. A group without a box of its own has its
/// buttons in a nameless one.
void connectScale(CGTKScaleControls& controls, CallbackData_AutoScale& data,
                  const ScaleHandlers& handlers) {
    data.button = controls.gtkScaleAutoOn;
    controls.sensorDirection = data.direction;
    if (controls.container == nullptr) {
        controls.container = parentOf(controls.gtkScaleUp);
    }
    setImage(controls.gtkScaleUp, "./resources/settingsUp.png");
    setImage(controls.gtkScaleDown, "./resources/settingsDown.png");
    CGTKScaleControls_setAuto(controls.gtkScaleAutoOn, true);
    if (controls.gtkScaleAutoOn != nullptr) {
        gtk_button_set_always_show_image(GTK_BUTTON(controls.gtkScaleAutoOn), TRUE);
    }
    connectKey(controls.gtkScaleUp, handlers.up, &data);
    connectKey(controls.gtkScaleDown, handlers.down, &data);
    connectKey(controls.gtkScaleAutoOn, handlers.automatic, &data);
}

void connectAllScales(CGTKPulseDisplay* display) {
    CGTKPowerDisplay* power = &display->power;
    power->callbackDataAutoscaleFwd = {power, 0, nullptr, &power->scaleFwd};
    connectScale(power->scaleControlsFwd, power->callbackDataAutoscaleFwd, powerHandlers);
    power->callbackDataAutoscaleRfl = {power, 1, nullptr, &power->scaleRfl};
    connectScale(power->scaleControlsRfl, power->callbackDataAutoscaleRfl, powerHandlers);
    display->callbackDataAutoscaleGatedPower = {power, 0, nullptr, &display->gatedPowerScale};
    connectScale(display->scaleControlsGatedPower, display->callbackDataAutoscaleGatedPower,
                 gatedHandlers);
    for (uint32_t i = 0; i < pulseStateCount; ++i) {
        gtkPowerDisplay_PulseState& state = display->stateArray[i];
        state.callbackDataAutoscale = {power, i, nullptr, &state.powerScale};
        connectScale(state.scaleControls, state.callbackDataAutoscale, stateHandlers);
    }
}

void fitValues(CGTKPulseDisplay* display) {
    for (GtkWidget* value : {display->power.fwdRFPower.value, display->power.rflRFPower.value,
                             display->period.value, display->repeat.value, display->width.value,
                             display->dutyCycleVal.value, display->frequency.value}) {
        setLabelFitting(value, powerValueCharacters);
    }
    const gtkPowerDisplay_GatedPower& gate = display->gatedPower;
    for (GtkWidget* value : {gate.meanValue, gate.maxValue, gate.minValue}) {
        setLabelFitting(value, groupValueCharacters);
    }
    for (const gtkPowerDisplay_PulseState& state : display->stateArray) {
        for (GtkWidget* value : {state.mean, state.max, state.min}) {
            setLabelFitting(value, groupValueCharacters);
        }
    }
}

void tapConfig(GtkWidget* /*button*/, gpointer data) {
    if (gtk_init_done && showConfigDialog != nullptr) {
        showConfigDialog(static_cast<CGTKPowerDisplay*>(data)->sensorChannel);
    }
}

void placeScreen(GtkBuilder* builder, CGTKPulseDisplay* display) {
    GObject* screen = gtk_builder_get_object(builder, "pulse.screen");
    if (screen != nullptr) {
        gtk_fixed_put(GTK_FIXED(display->power.container), GTK_WIDGET(screen), 0, 0);
    }
}

/// Without its page a tab goes, too; who looked at the page that goes sees the one that comes.
void exchangePages(GtkWidget* shown, GtkWidget* hidden) {
    GtkWidget* parent = parentOf(hidden);
    setWidgetVisible(shown, true);
    if (shown != nullptr && GTK_IS_NOTEBOOK(parent) && gtk_widget_get_visible(hidden) != 0) {
        GtkNotebook* notebook = GTK_NOTEBOOK(parent);
        const int hiddenPage = gtk_notebook_page_num(notebook, hidden);
        if (gtk_notebook_get_current_page(notebook) == hiddenPage) {
            gtk_notebook_set_current_page(notebook, gtk_notebook_page_num(notebook, shown));
        }
    }
    setWidgetVisible(hidden, false);
}

} // namespace

void PulseDisplay_Create(CGTKPulseDisplay* display, const CGTKPowerDisplay_Parameters& parameters) {
    *display = {};
    CGTKPowerDisplay_initialize(&display->power, parameters);
    initPulseDisplay(display, parameters.layout == layoutSingleChannel);
    CGTKPowerDisplay_connectSensorButton(&display->power, parameters);
    CGTKPowerDisplay_updateScale(&display->power);
}

void initPulseDisplay(CGTKPulseDisplay* display, bool full) {
    GtkBuilder* builder = Dialog_load(full ? fullInterfaceFile : halfInterfaceFile, nullptr, 0);
    if (builder == nullptr) {
        return;
    }
    checkFixedParts(builder);
    bindPowers(builder, &display->power);
    bindPulse(builder, display);
    bindGate(builder, display);
    bindStates(builder, display);
    takeContainers(display);
    gtkPowerDisplay_Title& title = display->power.title;
    title.sensorButtonLabel = takeKeyLabel(title.sensorButton, "text");
    SilenceSign_create(&title, "pulse.silence", titleSize_px);
    setImage(title.configButton, "./resources/gear.png");
    connectKey(title.configButton, tapConfig, &display->power);
    connectAllUnits(display);
    connectAllScales(display);
    placeScreen(builder, display);
    fitValues(display);
    g_object_unref(builder);
}

void PulseDisplay_registerConfigDialog(void (*show)(uint32_t port)) {
    showConfigDialog = show;
}

void CGTKPowerDisplay_setup(CGTKPulseDisplay* display, pwrDisplayMode mode) {
    const bool isMulti = mode == modeSingleMulti || mode == modeDualMulti;
    for (const gtkPowerDisplay_PulseValue* line :
         {&display->period, &display->repeat, &display->width, &display->dutyCycleVal}) {
        setWidgetVisible(line->label, !isMulti);
        setWidgetVisible(line->value, !isMulti);
        setWidgetVisible(line->unitsButtonLabel, !isMulti);
    }
    if (isMulti) {
        exchangePages(display->pGridState, display->pGridGated);
    } else {
        exchangePages(display->pGridGated, display->pGridState);
    }
}
