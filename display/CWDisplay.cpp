#include "CWDisplay.h"

#include "AppFlags.h"
#include "GtkHelpers.h"
#include "PowerDisplayLayout.h"
#include "SensorDisplays.h"
#include "SilenceSign.h"
#include "gtkScaleControls.h"

#include <cmath>
#include <initializer_list>

namespace {

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
    SilenceSign_create(&title, WidgetName(parameters.widgetName, "silence", nullptr).text,
                       layout.titleSize);
    gtk_fixed_put(GTK_FIXED(display->container), title.container, 0,
                  parameters.yOffset + parameters.yLinePositions[lineTitle]);
    gtk_widget_show(title.container);
}

void connectTitle(CGTKPowerDisplay* display, const CGTKPowerDisplay_Parameters& parameters) {
    CGTKPowerDisplay_connectSensorButton(display, parameters);
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

void createGraph(CGTKCWDisplay* display, const CGTKPowerDisplay_Parameters& parameters) {
    const GdkRectangle& place = gtkPowerDisplayLayout[parameters.layout].graph;
    if (place.width == 0) {
        return;
    }
    const WidgetName name(parameters.widgetName, "graph", nullptr);
    GtkWidget* container = gtk_fixed_new();
    gtk_widget_set_name(container, name.text);
    put(display->power.container, container,
        {place.x, parameters.yOffset + parameters.yLinePositions[lineGraph], place.width,
         place.height});
    CGTKTimePowerGraph_create(&display->graph, &display->power, name.text, container,
                              parameters.layout == layoutSingleChannelWithGraph ? graphLayoutLarge
                                                                                : graphLayoutSmall);
    CGTKTimePowerGraph_setGraphDataInstance(
        &display->graph, &sensorDisplays[parameters.displayIndex == 0 ? 0 : 1].graphDataPwr);
}

/// The match of two powers; without both the line stays as it was.
void updateMatchLine(CGTKCWDisplay* display, float fwd_W, float rfl_W) {
    if (std::isnan(fwd_W) || std::isnan(rfl_W)) {
        return;
    }
    const MatchText text = MeasurementText_match(fwd_W, rfl_W, display->matchType);
    setLabelText(display->match.label, text.caption);
    setLabelText(display->match.value, text.value);
    gtkPowerDisplay_setUnits(display->match, text.unit);
}

} // namespace

void CGTKPowerDisplay_Create(CGTKCWDisplay* display,
                             const CGTKPowerDisplay_Parameters& parameters) {
    *display = {};
    CGTKPowerDisplay* power = &display->power;
    CGTKPowerDisplay_initialize(power, parameters);
    createTitle(power, parameters);
    connectTitle(power, parameters);
    createPowerLine(power, parameters, 0);
    createPowerLine(power, parameters, 1);
    gtkPowerDisplay_RFPower_create(&display->match, power->container,
                                   {.screen = parameters.widgetName,
                                    .line = "match",
                                    .caption = "VSWR:",
                                    .units = "dB",
                                    .layout = gtkPowerDisplayLayout[parameters.layout].match,
                                    .y = parameters.yOffset + parameters.yLinePositions[lineMatch],
                                    .captionIsButton = true,
                                    .tap = tapMatch});
    createGraph(display, parameters);
    CGTKPowerDisplay_updateScale(power);
    CGTKPowerDisplay_updateLines(display);
}

void CGTKPowerDisplay_updateMeasurements(CGTKCWDisplay* display,
                                         const SENSOR_MEASUREMENTS& measurements) {
    CGTKPowerDisplay_logMeasurements(measurements);
    CGTKPowerDisplay_updateLines(display);
    CGTKPowerDisplay_updatePowers(&display->power, measurements);
    if (display->enableMatch) {
        updateMatchLine(display, measurements.fwdPwrVal, measurements.rflPwrVal);
    }
}

void CGTKPowerDisplay_updateLines(CGTKCWDisplay* display) {
    CGTKPowerDisplay* power = &display->power;
    CGTKPowerDisplay_loadSettings(power);
    display->matchType = configuration_getMatchMeasurementType();
    display->enableMatch = configuration_getDisplayMatch();
    gtkPowerDisplay_setVisible(&power->fwdRFPower, &power->scaleControlsFwd, power->enableFwd);
    gtkPowerDisplay_setVisible(&power->rflRFPower, &power->scaleControlsRfl, power->enableRfl);
    gtkPowerDisplay_setVisible(&display->match, nullptr, display->enableMatch);
}

void CGTKPowerDisplay_clearMeasurementsToBlanks(CGTKCWDisplay* display) {
    CGTKPowerDisplay* power = &display->power;
    for (const gtkPowerDisplay_RFPower* line :
         {&power->fwdRFPower, &power->rflRFPower, &display->match}) {
        setLabelText(line->value, blankValue);
        setWidgetFgColor(line->value, textColorWhite);
    }
    setWidgetFgColor(power->fwdRFPower.label, textColorLightGrey);
    setWidgetFgColor(power->rflRFPower.label, textColorLightGrey);
}
