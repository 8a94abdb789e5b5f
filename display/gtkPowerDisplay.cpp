#include "gtkPowerDisplay.h"

#include "AppFlags.h"
#include "GtkHelpers.h"
#include "PowerDisplayLayout.h"
#include "SensorDisplays.h"
#include "SensorPortHandler.h"
#include "message.h"

#include <cmath>
#include <initializer_list>
#include <span>

namespace {

constexpr uint32_t sensorLabelLength = 30;

constexpr int titleMargin = 16;

/// What a value label shows while there is no reading: as wide as a value.
constexpr char blankValue[] = "       ";

/// The name of one of a line's widgets, such as "single.fwd.value".
struct WidgetName {
    char text[64];
    WidgetName(const char* screen, const char* line, const char* part) {
        g_snprintf(text, sizeof text, part != nullptr ? "%s.%s.%s" : "%s.%s", screen, line, part);
    }
};

GtkWidget* newLabel(const char* name, const char* text, const GdkRGBA& colour, float xAlign) {
    GtkWidget* label = gtk_label_new(text);
    gtk_widget_set_name(label, name);
    gtk_label_set_xalign(GTK_LABEL(label), xAlign);
    setWidgetFgColor(label, colour);
    gtk_widget_show(label);
    return label;
}

void put(GtkWidget* container, GtkWidget* child, const GdkRectangle& place) {
    gtk_widget_set_size_request(child, place.width, place.height);
    gtk_fixed_put(GTK_FIXED(container), child, place.x, place.y);
    gtk_widget_show(child);
}

/// A key with a text on it; returns the text's label.
GtkWidget* addKeyLabel(GtkWidget* button, const char* name, const char* text, int size_px) {
    GtkWidget* label = newLabel(name, text, textColorClickable, 0.5F);
    setLabelFont_px(label, size_px, 0, false);
    gtk_container_add(GTK_CONTAINER(button), label);
    return label;
}

void tapMatch(GtkWidget* /*button*/, gpointer /*data*/) {
    if (!gtk_init_done) {
        return;
    }
    switch (configuration_getMatchMeasurementType()) {
    case rfMatch_VSWR:
        configuration_setMatchMeasurementType(rfMatch_RL);
        break;
    case rfMatch_RL:
        configuration_setMatchMeasurementType(rfMatch_RflCoeff);
        break;
    case rfMatch_RflCoeff:
        configuration_setMatchMeasurementType(rfMatch_VSWR);
        break;
    }
}

/// What distinguishes one value line from another.
struct LineParameters {
    const char* screen; ///< first part of the widget names
    const char* line;   ///< second part
    const char* caption;
    const char* units;
    const PowerLineLayout& layout;
    int y;
    bool captionIsButton;
    void (*tap)(GtkWidget* button, gpointer data);
};

void createCaption(gtkPowerDisplay_RFPower* line, const LineParameters& parameters) {
    const PowerLineLayout& layout = parameters.layout;
    const WidgetName name(parameters.screen, parameters.line, "caption");
    if (!parameters.captionIsButton) {
        line->label = newLabel(name.text, parameters.caption, textColorLightGrey, 0.0F);
        setLabelFont_px(line->label, layout.captionSize, layout.caption.height, false);
        put(line->container, line->label, layout.caption);
        return;
    }
    GtkWidget* button =
        newTouchButton(WidgetName(parameters.screen, parameters.line, "captionButton").text);
    line->label = addKeyLabel(button, name.text, parameters.caption, layout.captionSize);
    g_signal_connect(button, "clicked", G_CALLBACK(parameters.tap), nullptr);
    put(line->container, button, layout.caption);
}

/// The figures fill their label, and the "g" of "Range" hangs below it: GTK draws that only as far
/// as the line itself reaches. The match has figures only.
void makeRoomBelow(GtkWidget* line, const GdkRectangle& value, int fontSize_px) {
    const int descent_px = fontSize_px / 4;
    gtk_widget_set_size_request(line, -1, value.y + value.height + descent_px);
}

void createValue(gtkPowerDisplay_RFPower* line, const LineParameters& parameters) {
    const PowerLineLayout& layout = parameters.layout;
    const WidgetName name(parameters.screen, parameters.line, "value");
    line->value = newLabel(name.text, blankValue, textColorWhite, 1.0F);
    gtk_style_context_add_class(gtk_widget_get_style_context(line->value), "value");
    const int size =
        fittingFontSize_px(line->value, powerValueCharacters, layout.value.width, layout.valueSize);
    setLabelFont_px(line->value, size, layout.value.height, true);
    put(line->container, line->value, layout.value);
    if (!parameters.captionIsButton) {
        makeRoomBelow(line->container, layout.value, size);
    }
}

void createUnits(gtkPowerDisplay_RFPower* line, const LineParameters& parameters) {
    const PowerLineLayout& layout = parameters.layout;
    line->unitsButton =
        newTouchButton(WidgetName(parameters.screen, parameters.line, "unitsButton").text);
    line->unitsButtonLabel =
        addKeyLabel(line->unitsButton, WidgetName(parameters.screen, parameters.line, "units").text,
                    parameters.units, layout.unitsSize);
    g_signal_connect(line->unitsButton, "clicked", G_CALLBACK(parameters.tap), nullptr);
    put(line->container, line->unitsButton, layout.units);
}

void gtkPowerDisplay_RFPower_create(gtkPowerDisplay_RFPower* line, GtkWidget* container,
                                    const LineParameters& parameters) {
    line->container = gtk_fixed_new();
    gtk_widget_set_name(line->container,
                        WidgetName(parameters.screen, parameters.line, nullptr).text);
    createCaption(line, parameters);
    createValue(line, parameters);
    createUnits(line, parameters);
    gtk_fixed_put(GTK_FIXED(container), line->container, 0, parameters.y);
    gtk_widget_show(line->container);
}

/// A key without a text would look like a key for nothing: it keeps its place, but not its frame.
void setUnits(const gtkPowerDisplay_RFPower& line, const char* text) {
    setLabelText(line.unitsButtonLabel, text);
    if (line.unitsButton == nullptr) {
        return;
    }
    GtkStyleContext* context = gtk_widget_get_style_context(line.unitsButton);
    const bool isBlank = *text == '\0';
    if ((gtk_style_context_has_class(context, "blank") != 0) == isBlank) {
        return;
    }
    if (isBlank) {
        gtk_style_context_add_class(context, "blank");
    } else {
        gtk_style_context_remove_class(context, "blank");
    }
}

void createTitle(CGTKPowerDisplay* display, const CGTKPowerDisplay_Parameters& parameters) {
    const PowerDisplayLayout& layout = gtkPowerDisplayLayout[parameters.layout];
    gtkPowerDisplay_Title& title = display->title;
    title.container = gtk_fixed_new();
    gtk_widget_set_name(title.container,
                        WidgetName(parameters.widgetName, "titleRow", nullptr).text);
    title.sensorButton =
        newTouchButton(WidgetName(parameters.widgetName, "sensorButton", nullptr).text);
    gtk_style_context_add_class(gtk_widget_get_style_context(title.sensorButton), "title");
    title.sensorButtonLabel =
        addKeyLabel(title.sensorButton, WidgetName(parameters.widgetName, "title", nullptr).text,
                    "No Sensor Detected", layout.titleSize);
    gtk_label_set_ellipsize(GTK_LABEL(title.sensorButtonLabel), PANGO_ELLIPSIZE_END);
    gtk_label_set_xalign(GTK_LABEL(title.sensorButtonLabel), 0.0F);
    // The label's own ground must leave the key's round corners alone.
    gtk_widget_set_valign(title.sensorButtonLabel, GTK_ALIGN_CENTER);
    gtk_widget_set_margin_start(title.sensorButtonLabel, titleMargin);
    gtk_widget_set_margin_end(title.sensorButtonLabel, titleMargin);
    put(title.container, title.sensorButton, layout.sensorButton);
    title.configButton =
        newTouchButton(WidgetName(parameters.widgetName, "configButton", nullptr).text);
    gtk_button_set_image(GTK_BUTTON(title.configButton), newImageFromFile("./resources/gear.png"));
    gtk_button_set_always_show_image(GTK_BUTTON(title.configButton), TRUE);
    put(title.container, title.configButton, layout.configButton);
    gtk_fixed_put(GTK_FIXED(display->container), title.container, 0,
                  parameters.yOffset + parameters.yLinePositions[lineTitle]);
    gtk_widget_show(title.container);
}

void connectTitle(CGTKPowerDisplay* display, const CGTKPowerDisplay_Parameters& parameters) {
    if (parameters.callbackSensorInfoFunction != nullptr) {
        g_signal_connect(display->title.sensorButton, "clicked",
                         G_CALLBACK(parameters.callbackSensorInfoFunction), display);
    }
    if (parameters.callbackMeasFunction != nullptr) {
        g_signal_connect(display->title.configButton, "clicked",
                         G_CALLBACK(parameters.callbackMeasFunction), display);
    }
}

/// One power line with its scale buttons.
void createPowerLine(CGTKPowerDisplay* display, const CGTKPowerDisplay_Parameters& parameters,
                     uint32_t direction) {
    const PowerDisplayLayout& layout = gtkPowerDisplayLayout[parameters.layout];
    const bool isForward = direction == 0;
    const int y = parameters.yOffset + parameters.yLinePositions[isForward ? lineFwd : lineRfl];
    gtkPowerDisplay_RFPower_create(isForward ? &display->fwdRFPower : &display->rflRFPower,
                                   display->container,
                                   {.screen = parameters.widgetName,
                                    .line = isForward ? "fwd" : "rfl",
                                    .caption = isForward ? "FWD:" : "RFL:",
                                    .units = "",
                                    .layout = layout.power,
                                    .y = y,
                                    .captionIsButton = false,
                                    .tap = CGTKPowerDisplay_switchPowerUnits});
    CallbackData_AutoScale& data =
        isForward ? display->callbackDataAutoscaleFwd : display->callbackDataAutoscaleRfl;
    data = {.mpOwner = display,
            .direction = direction,
            .button = nullptr,
            .scale = isForward ? &display->scaleFwd : &display->scaleRfl};
    CGTKScaleControls& controls = isForward ? display->scaleControlsFwd : display->scaleControlsRfl;
    CGTKScaleControls_Create(
        &controls, WidgetName(parameters.widgetName, isForward ? "fwd" : "rfl", nullptr).text,
        layout.scaleButtons, direction, &data);
    gtk_fixed_put(GTK_FIXED(display->container), controls.container, layout.power.scale.x,
                  y + layout.power.scale.y);
}

void createGraph(CGTKPowerDisplay* display, const CGTKPowerDisplay_Parameters& parameters) {
    const GdkRectangle& place = gtkPowerDisplayLayout[parameters.layout].graph;
    if (place.width == 0) {
        return;
    }
    const WidgetName name(parameters.widgetName, "graph", nullptr);
    GtkWidget* container = gtk_fixed_new();
    gtk_widget_set_name(container, name.text);
    put(display->container, container,
        {place.x, parameters.yOffset + parameters.yLinePositions[lineGraph], place.width,
         place.height});
    CGTKTimePowerGraph_create(&display->graph, display, name.text, container,
                              parameters.layout == layoutSingleChannelWithGraph ? graphLayoutLarge
                                                                                : graphLayoutSmall);
    CGTKTimePowerGraph_setGraphDataInstance(
        &display->graph, &sensorDisplays[parameters.displayIndex == 0 ? 0 : 1].graphDataPwr);
}

void updateMatchLine(CGTKPowerDisplay* display, float fwd_W, float rfl_W) {
    const MatchText text = MeasurementText_match(fwd_W, rfl_W, display->matchType);
    setLabelText(display->match.label, text.caption);
    setLabelText(display->match.value, text.value);
    setUnits(display->match, text.unit);
}

} // namespace

void CGTKPowerDisplay_Create(CGTKPowerDisplay* display,
                             const CGTKPowerDisplay_Parameters& parameters) {
    *display = {};
    display->sensorChannel = parameters.sensorChannel;
    display->displayIndex = parameters.displayIndex;
    display->container = parameters.container;
    createTitle(display, parameters);
    connectTitle(display, parameters);
    createPowerLine(display, parameters, 0);
    createPowerLine(display, parameters, 1);
    gtkPowerDisplay_RFPower_create(&display->match, display->container,
                                   {.screen = parameters.widgetName,
                                    .line = "match",
                                    .caption = "VSWR:",
                                    .units = "dB",
                                    .layout = gtkPowerDisplayLayout[parameters.layout].match,
                                    .y = parameters.yOffset + parameters.yLinePositions[lineMatch],
                                    .captionIsButton = true,
                                    .tap = tapMatch});
    createGraph(display, parameters);
    CGTKPowerDisplay_updateScale(display);
    CGTKPowerDisplay_updateLines(display);
}

void gtkPowerDisplay_setVisible(gtkPowerDisplay_RFPower* line, CGTKScaleControls* scaleControls,
                                bool visible) {
    setWidgetVisible(line->container, visible);
    if (scaleControls != nullptr) {
        CGTKScaleControls_setVisible(scaleControls, visible && !configuration_getPowerUnitsIsdBm());
    }
}

void CGTKPowerDisplay_setDisplayIndex(CGTKPowerDisplay* display, uint32_t displayIndex) {
    display->displayIndex = displayIndex;
}

uint32_t CGTKPowerDisplay_getDisplayIndex(const CGTKPowerDisplay* display) {
    return display->displayIndex;
}

void CGTKPowerDisplay_setSensorChannel(CGTKPowerDisplay* display, uint32_t port) {
    display->sensorChannel = port;
}

uint32_t CGTKPowerDisplay_getSensorChannel(const CGTKPowerDisplay* display) {
    return display->sensorChannel;
}

bool CGTKPowerDisplay_getFocusState(const CGTKPowerDisplay* display) {
    return containsFocus(display->container);
}

void CGTKPowerDisplay_updateScale(CGTKPowerDisplay* display) {
    display->scaleFwd = configuration_getRfPowerScale(display->displayIndex, 0);
    display->scaleRfl = configuration_getRfPowerScale(display->displayIndex, 1);
    CGTKScaleControls_updateScale(&display->scaleControlsFwd, display->displayIndex, 0);
    CGTKScaleControls_updateScale(&display->scaleControlsRfl, display->displayIndex, 1);
}

void CGTKPowerDisplay_getSensorLabel(const CGTKPowerDisplay* display, char* label,
                                     uint32_t maxLength) {
    const uint32_t length = MIN(maxLength, sensorLabelLength);
    SENSOR_IDENTITY identity = {};
    char serialNumber[16] = "";
    sensorPortHandler_getSensorInformation(display->sensorChannel, &identity, serialNumber,
                                           sizeof serialNumber);
    MeasurementText_sensorLabel(
        display->sensorChannel, sensorPortHandler_getSensorStatus(display->sensorChannel).status,
        identity.sensorModel, serialNumber, length, std::span<char>(label, length + 1));
}

void CGTKPowerDisplay_setSensorLabel(CGTKPowerDisplay* display, uint32_t maxLength) {
    GtkWidget* label = display->title.sensorButtonLabel;
    if (label == nullptr) {
        return;
    }
    char text[sensorLabelLength + 1];
    CGTKPowerDisplay_getSensorLabel(display, text, maxLength);
    setLabelText(label, text);
    setWidgetFgAndBgColors(label, textColorClickable, bgColorBlack);
}

void CGTKPowerDisplay_loadSettings(CGTKPowerDisplay* display) {
    display->powerType = configuration_getPowerUnitsIsdBm() ? rfPower_dBm : rfPower_W;
    display->matchType = configuration_getMatchMeasurementType();
    display->enableFwd = configuration_getDisplayFowardPower();
    display->enableRfl = configuration_getDisplayReflectedPower();
    display->enableMatch = configuration_getDisplayMatch();
}

void CGTKPowerDisplay_updatePower(CGTKPowerDisplay* display, uint32_t direction, float power_W) {
    const bool isForward = direction == 0;
    const gtkPowerDisplay_RFPower& line = isForward ? display->fwdRFPower : display->rflRFPower;
    rfPowerScale& scale = isForward ? display->scaleFwd : display->scaleRfl;
    const PowerLineText text = MeasurementText_powerLine(
        power_W, sensorPortHandler_getSensorMaxPower(display->sensorChannel), scale,
        display->powerType);
    if (text.scaleChanged) {
        scale = text.scale;
        configuration_setRfPowerScale(scale, display->displayIndex, direction);
    }
    setWidgetFgColor(line.label, text.isOverRange ? textColorRed : textColorLightGrey);
    setWidgetFgColor(line.value, text.isOverRange ? textColorRed : textColorWhite);
    setLabelText(line.value, text.value);
    setUnits(line, text.unit);
    CGTKScaleControls_setVisible(
        isForward ? &display->scaleControlsFwd : &display->scaleControlsRfl, text.scaleVisible);
}

void CGTKPowerDisplay_logMeasurements(const SENSOR_MEASUREMENTS& measurements) {
    DIAGNOSTIC("fwd = %f W, rfl = %f W, freq = %f Hz, temperature = %f C\n",
               static_cast<double>(measurements.fwdPwrVal),
               static_cast<double>(measurements.rflPwrVal),
               static_cast<double>(measurements.freqVal),
               static_cast<double>(measurements.temperatureVal));
}

void CGTKPowerDisplay_switchPowerUnits(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        configuration_setPowerUnitsIsdBm(!configuration_getPowerUnitsIsdBm());
    }
}

void CGTKPowerDisplay_updateMeasurements(CGTKPowerDisplay* display,
                                         const SENSOR_MEASUREMENTS& measurements) {
    CGTKPowerDisplay_logMeasurements(measurements);
    CGTKPowerDisplay_updateLines(display);
    setWidgetVisible(display->pGridAttr, SensorPort_isUsb(display->sensorChannel));
    const float fwd_W = measurements.fwdPwrVal;
    const float rfl_W = measurements.rflPwrVal;
    if (std::isnan(fwd_W) || std::isnan(rfl_W)) {
        return;
    }
    if (display->enableFwd) {
        CGTKPowerDisplay_updatePower(display, 0, fwd_W);
    }
    if (display->enableRfl) {
        CGTKPowerDisplay_updatePower(display, 1, rfl_W);
    }
    if (display->enableMatch) {
        updateMatchLine(display, fwd_W, rfl_W);
    }
}

void CGTKPowerDisplay_updateLines(CGTKPowerDisplay* display) {
    CGTKPowerDisplay_loadSettings(display);
    gtkPowerDisplay_setVisible(&display->fwdRFPower, &display->scaleControlsFwd,
                               display->enableFwd);
    gtkPowerDisplay_setVisible(&display->rflRFPower, &display->scaleControlsRfl,
                               display->enableRfl);
    gtkPowerDisplay_setVisible(&display->match, nullptr, display->enableMatch);
}

void CGTKPowerDisplay_clearMeasurementsToBlanks(CGTKPowerDisplay* display) {
    for (const gtkPowerDisplay_RFPower* line :
         {&display->fwdRFPower, &display->rflRFPower, &display->match}) {
        setLabelText(line->value, blankValue);
        setWidgetFgColor(line->value, textColorWhite);
    }
    setWidgetFgColor(display->fwdRFPower.label, textColorLightGrey);
    setWidgetFgColor(display->rflRFPower.label, textColorLightGrey);
}
