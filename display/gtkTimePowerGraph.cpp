#include "gtkTimePowerGraph.h"

#include "AppFlags.h"
#include "GraphScale.h"
#include "GraphText.h"
#include "GtkHelpers.h"
#include "PowerDisplayTypes.h"
#include "message.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <span>

namespace {

constexpr size_t maxGraphs = 8;
constexpr size_t maxColumns = 1024;

/// Up to so many new points, or two for each pixel column if that is more, each is drawn as a line
/// of its own. Beyond that the lines would be drawn over each other in fewer columns.
constexpr uint32_t minExactPoints = 1000;
constexpr uint32_t maxExactPoints = 2048;
static_assert(maxExactPoints == 2 * maxColumns);

/// Every graph that exists, to reach all that show one display.
std::array<CGTKTimePowerGraph*, maxGraphs> graphs;
size_t graphCount = 0;

void (*showSettingsDialog)(CGTKTimePowerGraph* graph) = nullptr;

GraphDataMode_t modeOf(const CGTKTimePowerGraph* graph) {
    return graph->settings.displayMode == graphModeAverage ? AveragedData : RawData;
}

uint32_t pointCount(const CGTKTimePowerGraph* graph) {
    return std::min(CGraphData_getCount(graph->pData, modeOf(graph)), graphMaxPoints);
}

/// A settings value on the axis: dBm, or mW.
double inDisplayUnit(const CGTKTimePowerGraph* graph, double value) {
    return getGraphPowerValueInCorrectUnits(value, graph->settings.unit, graph->isdBm);
}

/// The same as the samples are drawn: dBm, or W.
double onAxis(const CGTKTimePowerGraph* graph, double value) {
    const double converted = inDisplayUnit(graph, value);
    return graph->isdBm ? converted : converted / 1000.0;
}

bool isSame(double a, double b) {
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

bool isSame(const GraphSettings_t& a, const GraphSettings_t& b) {
    return isSame(a.maxPower, b.maxPower) && isSame(a.minPower, b.minPower) &&
           isSame(a.maxLimitLine, b.maxLimitLine) && isSame(a.minLimitLine, b.minLimitLine) &&
           a.unit == b.unit && a.averageCount == b.averageCount &&
           a.bReflectedMode == b.bReflectedMode && a.displayMode == b.displayMode;
}

GraphPlotArea plotArea(const CGTKTimePowerGraph* graph) {
    GraphPlotArea area = {};
    CGTKGraphComponent_getPlotSize(&graph->graph, &area.width, &area.height);
    area.maxSeconds = scalesX[graph->graph.scaleIdxX].maxSeconds;
    area.yMin = onAxis(graph, graph->settings.minPower);
    area.yMax = onAxis(graph, graph->settings.maxPower);
    return area;
}

uint32_t exactPoints(const GraphPlotArea& area) {
    const auto twoAColumn = static_cast<uint32_t>(2.0 * area.width);
    return std::clamp(twoAColumn, minExactPoints, maxExactPoints);
}

/// Lines from point `first` - 1 on to the point before `end`.
void drawLines(CGTKTimePowerGraph* graph, const GraphPlotArea& area, uint32_t first, uint32_t end) {
    static std::array<float, maxExactPoints + 1> powers_W; // under the GDK lock
    const size_t wanted = std::min<size_t>(end - first + 1, powers_W.size());
    const uint32_t copied = CGraphData_copyPowers(graph->pData, modeOf(graph), first - 1,
                                                  std::span(powers_W).first(wanted));
    CGTKGraphComponent_plotSamples(&graph->graph, area, std::span(powers_W).first(copied),
                                   first - 1, graph->isdBm);
}

void drawColumns(CGTKTimePowerGraph* graph, const GraphPlotArea& area, uint32_t end) {
    static std::array<GraphColumn, graphColumnParts * maxColumns> parts; // under the GDK lock
    static std::array<GraphSpan, maxColumns + 2> spans;
    const size_t count = std::min(static_cast<size_t>(area.width), maxColumns);
    const std::span<GraphColumn> usedParts = std::span(parts).first(graphColumnParts * count);
    const std::span<GraphSpan> usedSpans = std::span(spans).first(count + 2);
    CGraphData_getColumns(graph->pData, modeOf(graph), end, area.maxSeconds, usedParts);
    GraphPlot_columns(area, usedParts, graph->isdBm, usedSpans);
    CGTKGraphComponent_plotSpans(&graph->graph, usedSpans);
}

/// The curve from point `first` - 1 to the last of `points` that the time axis holds.
void drawCurve(CGTKTimePowerGraph* graph, const GraphPlotArea& area, uint32_t first,
               uint32_t points) {
    const uint32_t end = std::min(points, area.maxSeconds);
    if (first >= end || !GraphPlot_isDrawable(area)) {
        return;
    }
    if (end - first > exactPoints(area)) {
        drawColumns(graph, area, end);
    } else {
        drawLines(graph, area, first, end);
    }
}

void drawLimits(CGTKTimePowerGraph* graph, const GraphPlotArea& area) {
    if (!GraphPlot_isDrawable(area)) {
        return;
    }
    for (const double limit : {graph->settings.maxLimitLine, graph->settings.minLimitLine}) {
        const double power = onAxis(graph, limit);
        if (!std::isnan(power)) {
            CGTKGraphComponent_plotLimit(&graph->graph,
                                         GraphPlot_y(area, GraphPlot_clampPower(area, power)));
        }
    }
}

/// The surface is new: draws what had been drawn.
void redraw(gpointer data) {
    auto* graph = static_cast<CGTKTimePowerGraph*>(data);
    CGTKGraphComponent_clearGraph(&graph->graph);
    if (graph->graph.previousDataIdx > 0) {
        const GraphPlotArea area = plotArea(graph);
        drawCurve(graph, area, 1, graph->graph.previousDataIdx + 1);
        drawLimits(graph, area);
    }
    gtk_widget_queue_draw(graph->graph.plotArea);
}

void updateAxisTexts(CGTKTimePowerGraph* graph) {
    const DISPLAY_RANGE_FORMAT& range = CGTKTimePowerGraph_getRange(graph);
    char title[26];
    char maximum[32];
    char minimum[32];
    getUnitForGraphScale(title, graph->isdBm, range);
    formatPowerForDisplay(inDisplayUnit(graph, graph->settings.maxPower), maximum, graph->isdBm,
                          range);
    formatPowerForDisplay(inDisplayUnit(graph, graph->settings.minPower), minimum, graph->isdBm,
                          range);
    CGTKGraphComponent_graphSetScale(&graph->graph, title, maximum, minimum);
}

/// Settings are read anew, and the drawing starts at the time scale that its points need.
void startAnew(CGTKTimePowerGraph* graph, const GraphSettings_t& settings, uint32_t scaleIndex,
               bool isdBm) {
    graph->settings = settings;
    graph->scale = scaleIndex;
    graph->isdBm = isdBm;
    updateAxisTexts(graph);
    CGTKGraphComponent_updateTimeScale(&graph->graph, GraphScale_forPoints(pointCount(graph)));
    CGTKGraphComponent_clearGraph(&graph->graph);
    if (modeOf(graph) == AveragedData) {
        CGTKGraphComponent_restartWaitIcon(&graph->graph);
    }
    graph->invalidate = false;
}

/// Follows settings that have changed since the last update, whoever changed them.
void followSettings(CGTKTimePowerGraph* graph) {
    const uint32_t display = graph->mpOwner->displayIndex;
    const bool isReflected = configuration_getGraphRflMode(display);
    const rfPowerScale scale = configuration_getRfPowerScale(display, isReflected ? 1 : 0);
    const bool isdBm = configuration_getPowerUnitsIsdBm();
    const GraphSettings_t settings = configuration_getGraphSettings(display);
    if (graph->invalidate || isdBm != graph->isdBm || !isSame(settings, graph->settings)) {
        startAnew(graph, settings, scale.scaleIndex, isdBm);
    } else if (scale.scaleIndex != graph->scale) {
        graph->scale = scale.scaleIndex;
        updateAxisTexts(graph);
    }
    setLabelText(graph->graph.powerModeLabel, isReflected ? "RFL" : "FWD");
}

void expandTimeAxis(CGTKTimePowerGraph* graph, uint32_t points) {
    const uint32_t index = GraphScale_expand(graph->graph.scaleIdxX, points);
    if (index != graph->graph.scaleIdxX) {
        CGTKGraphComponent_updateTimeScale(&graph->graph, index);
        DIAGNOSTIC("Expand time scale: index = %d\n", static_cast<int>(index));
    }
}

/// Adds the points that are not drawn yet, or draws all when there is nothing to build on.
void drawNewPoints(CGTKTimePowerGraph* graph, uint32_t points) {
    const GraphPlotArea area = plotArea(graph);
    uint32_t& previous = graph->graph.previousDataIdx;
    if (points <= previous || points - previous > exactPoints(area)) {
        previous = 0;
    }
    if (previous == 0) {
        CGTKGraphComponent_clearGraph(&graph->graph);
    }
    drawCurve(graph, area, previous + 1, points);
    previous = points - 1;
    drawLimits(graph, area);
}

void callbackClearGraph(GtkWidget* /*button*/, gpointer data) {
    if (!gtk_init_done) {
        return;
    }
    auto* graph = static_cast<CGTKTimePowerGraph*>(data);
    const auto address = static_cast<unsigned>(reinterpret_cast<uintptr_t>(graph));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // the idle 0 flag belongs to the established text
    DIAGNOSTIC("sensorConnect: clear graph = %0.08x.\n", address);
#pragma GCC diagnostic pop
    CGTKTimePowerGraph_reset(graph);
    CGTKTimePowerGraph_invalidateDisplay(graph->mpOwner->displayIndex);
}

void CGTKGraphComponent_graphAutoScale(GtkWidget* /*button*/, gpointer data) {
    if (gtk_init_done) {
        CGTKTimePowerGraph_autoScale(static_cast<CGTKTimePowerGraph*>(data));
    }
}

void CGTKGraphComponent_graphShowSettingsDialog(GtkWidget* /*button*/, gpointer data) {
    if (gtk_init_done && showSettingsDialog != nullptr) {
        showSettingsDialog(static_cast<CGTKTimePowerGraph*>(data));
    }
}

void remember(CGTKTimePowerGraph* graph) {
    const auto known = std::span(graphs).first(graphCount);
    if (graphCount < maxGraphs && std::ranges::find(known, graph) == known.end()) {
        graphs[graphCount++] = graph;
    }
}

} // namespace

void CGTKTimePowerGraph_registerSettingsDialog(void (*show)(CGTKTimePowerGraph* graph)) {
    showSettingsDialog = show;
}

void CGTKTimePowerGraph_create(CGTKTimePowerGraph* graph, CGTKPowerDisplay* owner, const char* name,
                               GtkWidget* container, const GraphLayout_t& layout) {
    *graph = {};
    graph->mpOwner = owner;
    graph->container = container;
    graph->invalidate = true;
    graph->callbacks = {.clear = G_CALLBACK(callbackClearGraph),
                        .autoScale = G_CALLBACK(CGTKGraphComponent_graphAutoScale),
                        .showSettings = G_CALLBACK(CGTKGraphComponent_graphShowSettingsDialog),
                        .redraw = redraw,
                        .data = graph};
    CGTKTimePowerGraph_setName(graph, name);
    CGTKGraphComponent_createGraphImage(&graph->graph, container, name, layout, graph->callbacks);
    remember(graph);
}

void CGTKTimePowerGraph_setName(CGTKTimePowerGraph* graph, const char* name) {
    std::snprintf(graph->name, sizeof graph->name, "%s", name);
}

void CGTKTimePowerGraph_setGraphDataInstance(CGTKTimePowerGraph* graph, CGraphData* buffer) {
    graph->pData = buffer;
    CGTKTimePowerGraph_invalidateGraph(graph);
}

void CGTKTimePowerGraph_update(CGTKTimePowerGraph* graph) {
    if (graph->container == nullptr || graph->pData == nullptr) {
        return;
    }
    followSettings(graph);
    uint32_t points = pointCount(graph);
    graph->sampleCount = points;
    CGTKGraphComponent& component = graph->graph;
    if (component.previousDataIdx > 0 && points <= component.previousDataIdx) {
        // The buffer has been emptied: the chart restarts with one minute.
        CGTKTimePowerGraph_resetDrawing(graph);
    }
    if (modeOf(graph) == AveragedData && points == 0) {
        CGTKGraphComponent_updateWaitIcon(&component);
    }
    if (points < 2 || points <= component.previousDataIdx + 1) {
        if (component.previousDataIdx == 0) {
            CGTKGraphComponent_queueDraw(&component);
        }
        return;
    }
    expandTimeAxis(graph, points);
    drawNewPoints(graph, points);
    CGTKGraphComponent_queueDraw(&component);
}

void CGTKTimePowerGraph_reset(CGTKTimePowerGraph* graph) {
    if (graph->pData != nullptr) {
        CGraphData_reset(graph->pData);
    }
    CGTKTimePowerGraph_resetDrawing(graph);
}

void CGTKTimePowerGraph_resetDrawing(CGTKTimePowerGraph* graph) {
    CGTKGraphComponent_updateTimeScale(&graph->graph, 0);
    CGTKGraphComponent_clearGraph(&graph->graph);
    CGTKGraphComponent_queueDraw(&graph->graph);
}

void CGTKTimePowerGraph_invalidateGraph(CGTKTimePowerGraph* graph) {
    graph->invalidate = true;
}

void CGTKTimePowerGraph_invalidateDisplay(uint32_t displayIndex) {
    for (CGTKTimePowerGraph* graph : std::span(graphs).first(graphCount)) {
        if (graph->mpOwner->displayIndex == displayIndex) {
            CGTKTimePowerGraph_invalidateGraph(graph);
        }
    }
}

void CGTKTimePowerGraph_autoScale(CGTKTimePowerGraph* graph) {
    const uint32_t display = graph->mpOwner->displayIndex;
    GraphSettings_t settings = configuration_getGraphSettings(display);
    const GraphDataMode_t mode = settings.displayMode == graphModeAverage ? AveragedData : RawData;
    if (graph->pData == nullptr || CGraphData_getCount(graph->pData, mode) == 0) {
        return;
    }
    const bool isdBm = configuration_getPowerUnitsIsdBm();
    const auto least = static_cast<double>(CGraphData_getMinValue(graph->pData, mode));
    const auto greatest = static_cast<double>(CGraphData_getMaxValue(graph->pData, mode));
    const std::optional<GraphLimits> limits = GraphScale_fit(
        getPowerInCorrectUnits(least, isdBm), getPowerInCorrectUnits(greatest, isdBm), isdBm);
    if (!limits) {
        return;
    }
    const double factor = isdBm ? 1.0 : 1000.0;
    settings.unit = isdBm ? graphScale_dBm : graphScale_mW;
    settings.minPower = limits->min * factor;
    settings.maxPower = limits->max * factor;
    configuration_setGraphSettings(settings, display);
    CGTKTimePowerGraph_invalidateDisplay(display);
}

const DISPLAY_RANGE_FORMAT& CGTKTimePowerGraph_getRange(const CGTKTimePowerGraph* graph) {
    return rangeFormats[std::min<uint32_t>(graph->scale, rangeCount - 1)];
}
