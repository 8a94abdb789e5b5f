#include "CGTKGraphComponent.h"

#include "GdkLock.h"
#include "GraphScale.h"
#include "GraphText.h"
#include "GtkHelpers.h"
#include "StyleSheet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace {

constexpr double plotMargin = 2.0;
constexpr double curveWidth = 2.0;
constexpr double limitWidth = 2.0;
constexpr int gridColumns = 6;
constexpr int gridRows = 4;

constexpr char waitText[] = "Waiting for prefill...";
constexpr double waitTextSize = 24.0;
constexpr uint32_t waitDots = 5;
constexpr double waitDotDistance = 22.0;
constexpr double waitDotRadius = 5.0;

GtkWidget* createLabel(GtkWidget* container, const char* name, const char* part,
                       const GdkRectangle& place, int size, float alignment) {
    char widgetName[64];
    std::snprintf(widgetName, sizeof widgetName, "%s.%s", name, part);
    GtkWidget* label = gtk_label_new("");
    gtk_widget_set_name(label, widgetName);
    gtk_widget_set_size_request(label, place.width, place.height);
    gtk_label_set_xalign(GTK_LABEL(label), alignment);
    setLabelFont_px(label, size, 0, false);
    setWidgetFgColor(label, textColorLightGrey);
    gtk_fixed_put(GTK_FIXED(container), label, place.x, place.y);
    gtk_widget_show(label);
    return label;
}

struct LabelledButton {
    GtkWidget* button;
    GtkWidget* label;
};

LabelledButton createButton(GtkWidget* container, const char* name, const char* part,
                            const char* text, const GdkRectangle& place, int size) {
    char widgetName[64];
    std::snprintf(widgetName, sizeof widgetName, "%s.%s", name, part);
    GtkWidget* button = newTouchButton(widgetName);
    gtk_widget_set_size_request(button, place.width, place.height);
    GtkWidget* label = gtk_label_new(text);
    setLabelFont_px(label, size, 0, false);
    setWidgetFgColor(label, textColorClickable);
    gtk_container_add(GTK_CONTAINER(button), label);
    gtk_fixed_put(GTK_FIXED(container), button, place.x, place.y);
    gtk_widget_show_all(button);
    return {button, label};
}

gboolean CGTKGraphComponent_graph_on_draw(GtkWidget* /*area*/, cairo_t* target, gpointer data) {
    const auto* graph = static_cast<const CGTKGraphComponent*>(data);
    if (graph->plotAreaSurface != nullptr) {
        cairo_set_source_surface(target, graph->plotAreaSurface, 0.0, 0.0);
        cairo_paint(target);
    }
    return TRUE;
}

void destroySurface(CGTKGraphComponent* graph) {
    if (graph->plotAreaSurface != nullptr) {
        cairo_destroy(graph->plotAreaContext);
        cairo_surface_destroy(graph->plotAreaSurface);
        graph->plotAreaContext = nullptr;
        graph->plotAreaSurface = nullptr;
    }
}

void createSurface(CGTKGraphComponent* graph) {
    const int width = gtk_widget_get_allocated_width(graph->plotArea);
    const int height = gtk_widget_get_allocated_height(graph->plotArea);
    graph->plotAreaDimensions.width = width;
    graph->plotAreaDimensions.height = height;
    graph->plotAreaSurface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    graph->plotAreaContext = cairo_create(graph->plotAreaSurface);
    cairo_set_line_cap(graph->plotAreaContext, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(graph->plotAreaContext, curveWidth);
}

/// The callbacks of a graph, remembered at its drawing area.
GQuark callbacksKey() {
    static const GQuark key = g_quark_from_static_string("quorvel-graph-callbacks");
    return key;
}

gboolean CGTKGraphComponent_graphConfigureEvent(GtkWidget* area, GdkEventConfigure* /*event*/,
                                                gpointer data) {
    auto* graph = static_cast<CGTKGraphComponent*>(data);
    destroySurface(graph);
    createSurface(graph);
    const auto* callbacks =
        static_cast<const GraphImageCallbacks*>(g_object_get_qdata(G_OBJECT(area), callbacksKey()));
    callbacks->redraw(callbacks->data);
    return TRUE;
}

void createPlotArea(CGTKGraphComponent* graph, GtkWidget* container, const char* name,
                    const GdkRectangle& place, const GraphImageCallbacks& callbacks) {
    char widgetName[64];
    std::snprintf(widgetName, sizeof widgetName, "%s.plot", name);
    graph->plotArea = gtk_drawing_area_new();
    graph->plotAreaDimensions = place;
    gtk_widget_set_name(graph->plotArea, widgetName);
    gtk_widget_set_size_request(graph->plotArea, place.width, place.height);
    g_object_set_qdata(G_OBJECT(graph->plotArea), callbacksKey(),
                       const_cast<GraphImageCallbacks*>(&callbacks));
    g_signal_connect(graph->plotArea, "draw", G_CALLBACK(CGTKGraphComponent_graph_on_draw), graph);
    g_signal_connect(graph->plotArea, "configure-event",
                     G_CALLBACK(CGTKGraphComponent_graphConfigureEvent), graph);
    gtk_fixed_put(GTK_FIXED(container), graph->plotArea, place.x, place.y);
    gtk_widget_show(graph->plotArea);
}

void createButtons(CGTKGraphComponent* graph, GtkWidget* container, const char* name,
                   const GraphLayout_t& layout, const GraphImageCallbacks& callbacks) {
    const int size = layout.buttonSize;
    const LabelledButton title =
        createButton(container, name, "title", "Power", layout.powerLabel, size);
    const LabelledButton mode =
        createButton(container, name, "mode", "FWD", layout.powerMode, size);
    const LabelledButton autoScale =
        createButton(container, name, "auto", "Auto", layout.autoScale, size);
    const LabelledButton clear =
        createButton(container, name, "clear", "Clear", layout.clearGraph, size);
    graph->powerButton = title.button;
    graph->powerLabel = title.label;
    graph->powerMode = mode.button;
    graph->powerModeLabel = mode.label;
    graph->autoScaleButton = autoScale.button;
    graph->autoScaleLabel = autoScale.label;
    graph->clearGraphButton = clear.button;
    graph->clearGraphLabel = clear.label;
    g_signal_connect(title.button, "clicked", callbacks.showSettings, callbacks.data);
    // The direction is one of the settings.
    g_signal_connect(mode.button, "clicked", callbacks.showSettings, callbacks.data);
    g_signal_connect(autoScale.button, "clicked", callbacks.autoScale, callbacks.data);
    g_signal_connect(clear.button, "clicked", callbacks.clear, callbacks.data);
}

void createLabels(CGTKGraphComponent* graph, GtkWidget* container, const char* name,
                  const GraphLayout_t& layout) {
    const int size = layout.labelSize;
    graph->yAxisMaxLabel = createLabel(container, name, "yMax", layout.powerMax, size, 1.0F);
    graph->yAxisMinLabel = createLabel(container, name, "yMin", layout.powerMin, size, 1.0F);
    graph->xAxisMinLabel = createLabel(container, name, "xMin", layout.timeMin, size, 0.0F);
    graph->timeLabel = createLabel(container, name, "time", layout.timeLabel, size, 0.5F);
    graph->xAxisMaxLabel = createLabel(container, name, "xMax", layout.timeMax, size, 1.0F);
    setLabelText(graph->xAxisMinLabel, "0");
}

void setColour(cairo_t* context, const GdkRGBA& colour) {
    cairo_set_source_rgb(context, colour.red, colour.green, colour.blue);
}

/// Lines that help the eye, fainter than anything that means something.
void drawGrid(CGTKGraphComponent* graph) {
    cairo_t* context = graph->plotAreaContext;
    double width = 0.0;
    double height = 0.0;
    CGTKGraphComponent_getPlotSize(graph, &width, &height);
    cairo_save(context);
    cairo_set_line_width(context, 1.0);
    cairo_set_line_cap(context, CAIRO_LINE_CAP_BUTT);
    setColour(context, StyleSheet_colour("grid", textColorLightGrey));
    for (int i = 0; i <= gridColumns; ++i) {
        const double x = plotMargin + std::round(width * i / gridColumns) + (i == 0 ? -0.5 : 0.5);
        cairo_move_to(context, x, plotMargin);
        cairo_line_to(context, x, plotMargin + height);
    }
    for (int i = 0; i <= gridRows; ++i) {
        const double y = plotMargin + std::round(height * i / gridRows) + (i == 0 ? -0.5 : 0.5);
        cairo_move_to(context, plotMargin, y);
        cairo_line_to(context, plotMargin + width, y);
    }
    cairo_stroke(context);
    cairo_restore(context);
}

void strokeLine(void* data, const GraphLine& line) {
    auto* graph = static_cast<CGTKGraphComponent*>(data);
    CGTKGraphComponent_plotLine(quorvelSpecificRed, graph, line.x0, line.y0, line.x1, line.y1);
}

} // namespace

void CGTKGraphComponent_createGraphImage(CGTKGraphComponent* graph, GtkWidget* container,
                                         const char* name, const GraphLayout_t& layout,
                                         const GraphImageCallbacks& callbacks) {
    GdkLock_assertHeld();
    *graph = {};
    graph->width = layout.containerDimensions.width;
    graph->height = layout.containerDimensions.height;
    createPlotArea(graph, container, name, layout.drawingArea, callbacks);
    createLabels(graph, container, name, layout);
    createButtons(graph, container, name, layout, callbacks);
    CGTKGraphComponent_updateTimeScale(graph, 0);
}

void CGTKGraphComponent_updateTimeScale(CGTKGraphComponent* graph, uint32_t index) {
    graph->scaleIdxX = std::min(index, graphScaleCount - 1);
    graph->previousDataIdx = 0;
    const graphScaleX_t& scale = scalesX[graph->scaleIdxX];
    setLabelText(graph->timeLabel, scale.unit);
    char text[8];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(scale.maxSeconds / scale.scale));
    rightJustifyString(text);
    setLabelText(graph->xAxisMaxLabel, text);
}

void CGTKGraphComponent_clearGraph(CGTKGraphComponent* graph) {
    if (graph->plotAreaContext == nullptr) {
        return;
    }
    setColour(graph->plotAreaContext, bgColorBlack);
    cairo_paint(graph->plotAreaContext);
    drawGrid(graph);
}

void CGTKGraphComponent_getPlotSize(const CGTKGraphComponent* graph, double* width,
                                    double* height) {
    const bool exists = graph->plotAreaSurface != nullptr;
    *width = exists ? std::max(0.0, graph->plotAreaDimensions.width - 2.0 * plotMargin) : 0.0;
    *height = exists ? std::max(0.0, graph->plotAreaDimensions.height - 2.0 * plotMargin) : 0.0;
}

void CGTKGraphComponent_plotLine(const GdkRGBA& colour, CGTKGraphComponent* graph, double x0,
                                 double y0, double x1, double y1) {
    cairo_t* context = graph->plotAreaContext;
    if (context == nullptr) {
        return;
    }
    setColour(context, colour);
    cairo_move_to(context, plotMargin + x0, plotMargin + y0);
    cairo_line_to(context, plotMargin + x1, plotMargin + y1);
    cairo_stroke(context);
}

void CGTKGraphComponent_plotSamples(CGTKGraphComponent* graph, const GraphPlotArea& area,
                                    std::span<const float> powers_W, uint32_t first, bool isdBm) {
    GraphPlot_samples(area, powers_W, first, isdBm, {strokeLine, graph});
}

void CGTKGraphComponent_plotSpans(CGTKGraphComponent* graph, std::span<const GraphSpan> spans) {
    cairo_t* context = graph->plotAreaContext;
    if (context == nullptr) {
        return;
    }
    setColour(context, quorvelSpecificRed);
    double x = plotMargin - 1.0;
    for (const GraphSpan& span : spans) {
        if (span.top <= span.bottom) {
            cairo_rectangle(context, x, plotMargin + span.top, 1.0, span.bottom - span.top);
        }
        x += 1.0;
    }
    cairo_fill(context);
}

void CGTKGraphComponent_plotLimit(CGTKGraphComponent* graph, double y) {
    double width = 0.0;
    double height = 0.0;
    CGTKGraphComponent_getPlotSize(graph, &width, &height);
    cairo_t* context = graph->plotAreaContext;
    if (context == nullptr) {
        return;
    }
    cairo_save(context);
    cairo_set_line_cap(context, CAIRO_LINE_CAP_BUTT);
    cairo_set_line_width(context, limitWidth);
    const double line = std::round(y);
    CGTKGraphComponent_plotLine(quorvelSpecificGreen, graph, 0.0, line, width, line);
    cairo_restore(context);
}

void CGTKGraphComponent_restartWaitIcon(CGTKGraphComponent* graph) {
    graph->waitIndicator = 0;
}

void CGTKGraphComponent_updateWaitIcon(CGTKGraphComponent* graph) {
    if (graph->plotAreaContext == nullptr) {
        return;
    }
    graph->waitIndicator += 1;
    CGTKGraphComponent_clearGraph(graph);
    CGTKGraphComponent_drawWaitText(graph);
    CGTKGraphComponent_drawWaitIndicator(graph);
}

void CGTKGraphComponent_drawWaitText(CGTKGraphComponent* graph) {
    cairo_t* context = graph->plotAreaContext;
    cairo_select_font_face(context, "Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context, waitTextSize);
    cairo_text_extents_t extents;
    cairo_text_extents(context, waitText, &extents);
    setColour(context, textColorWhite);
    cairo_move_to(context, (graph->plotAreaDimensions.width - extents.width) / 2.0,
                  graph->plotAreaDimensions.height / 2.0);
    cairo_show_text(context, waitText);
    cairo_new_path(context);
}

void CGTKGraphComponent_drawWaitIndicator(CGTKGraphComponent* graph) {
    cairo_t* context = graph->plotAreaContext;
    const double left =
        graph->plotAreaDimensions.width / 2.0 - waitDotDistance * (waitDots - 1) / 2.0;
    const double y = graph->plotAreaDimensions.height / 2.0 + waitTextSize * 1.5;
    for (uint32_t i = 0; i < waitDots; ++i) {
        const bool isLit = graph->waitIndicator % waitDots == i;
        setColour(context, isLit ? textColorClickable : textColorLightGrey);
        cairo_arc(context, left + waitDotDistance * i, y, isLit ? waitDotRadius : waitDotRadius / 2,
                  0.0, 2.0 * G_PI);
        cairo_fill(context);
    }
}

void CGTKGraphComponent_graphSetScale(CGTKGraphComponent* graph, const char* title,
                                      const char* maximum, const char* minimum) {
    setLabelText(graph->powerLabel, title);
    setLabelText(graph->yAxisMaxLabel, maximum);
    setLabelText(graph->yAxisMinLabel, minimum);
}

void CGTKGraphComponent_setButtonsSensitive(CGTKGraphComponent* graph, bool isSensitive) {
    GdkLock_assertHeld();
    for (GtkWidget* button :
         {graph->powerButton, graph->powerMode, graph->autoScaleButton, graph->clearGraphButton}) {
        gtk_widget_set_sensitive(button, isSensitive);
    }
}

void CGTKGraphComponent_queueDraw(CGTKGraphComponent* graph) {
    gtk_widget_queue_draw(graph->plotArea);
    // The main loop belongs to another thread: it is told that there is something to do.
    g_main_context_wakeup(nullptr);
}
