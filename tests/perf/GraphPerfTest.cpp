// What the chart costs: a full redraw of a day against one stroke for each line in the same run,
// one pass with a full buffer, and the search of the limits.

#include "GraphFixture.h"
#include "GraphScale.h"
#include "GraphText.h"
#include "GtkHelpers.h"
#include "Report.h"

#include <algorithm>
#include <chrono>
#include <functional>

namespace {

constexpr GtkSensorInstance screen = gtkSensorSingleChannel1withGraph;
constexpr double redrawGoal_ms = 5.0;
constexpr double redrawGoal_ratio = 0.01;
constexpr double passGoal_ms = 1.0;
constexpr double limitsGoal_ms = 0.5;

class GraphPerf : public GraphScreens {};

/// The fastest of some runs: what the work needs when the machine does not make it wait.
double fastest_ms(int runs, const std::function<void()>& work) {
    double fastest = 1e9;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const auto end = std::chrono::steady_clock::now();
        fastest = std::min(fastest, std::chrono::duration<double, std::milli>(end - start).count());
    }
    return fastest;
}

/// The plain way: each sample is read on its own, each line has its own stroke.
void drawLineByLine(CGTKTimePowerGraph& graph) {
    CGTKGraphComponent_clearGraph(&graph.graph);
    GraphPlotArea area = {0.0, 0.0, scalesX[graph.graph.scaleIdxX].maxSeconds, 0.0, 10.0};
    CGTKGraphComponent_getPlotSize(&graph.graph, &area.width, &area.height);
    for (uint32_t i = 1; i < graphMaxPoints; ++i) {
        GraphLine line;
        if (GraphPlot_clip(
                area, GraphPlot_x(area, i - 1),
                static_cast<double>(CGraphData_getItem(graph.pData, i - 1, RawData).power),
                GraphPlot_x(area, i),
                static_cast<double>(CGraphData_getItem(graph.pData, i, RawData).power), &line)) {
            CGTKGraphComponent_plotLine(quorvelSpecificRed, &graph.graph, line.x0, line.y0, line.x1,
                                        line.y1);
        }
    }
    cairo_surface_flush(graph.graph.plotAreaSurface);
}

void redrawAll(CGTKTimePowerGraph& graph) {
    graph.callbacks.redraw(&graph);
    cairo_surface_flush(graph.graph.plotAreaSurface);
}

} // namespace

TEST_F(GraphPerf, AFullRedrawOfADayAgainstLineByLine) {
    constexpr const char* lineByLine = "one stroke for each line";
    const struct {
        const char* name;
        const char* nameAgainstLines;
        Curve curve;
    } histories[] = {
        {"full redraw of a quiet day", "full redraw of a quiet day, against lines", quietCurve},
        {"full redraw of a noisy day", "full redraw of a noisy day, against lines", noisyCurve},
    };
    for (const auto& history : histories) {
        CGraphData_reset(&bufferOf(0));
        add(0, graphMaxPoints, history.curve);
        CGTKTimePowerGraph_invalidateGraph(&graphOf(screen));
        showAndUpdate(screen);
        CGTKTimePowerGraph& graph = graphOf(screen);
        const double redraw_ms = fastest_ms(9, [&] { redrawAll(graph); });
        const double plain_ms = fastest_ms(2, [&] { drawLineByLine(graph); });
        PerfResult_report({history.name, redraw_ms, "ms", lineByLine, plain_ms,
                           PerfGoal::figureBelow, redrawGoal_ms});
        PerfResult_report({history.nameAgainstLines, redraw_ms, "ms", lineByLine, plain_ms,
                           PerfGoal::ratioAtMost, redrawGoal_ratio});
    }
}

TEST_F(GraphPerf, OnePassWithAFullBufferAgainstAFullRedraw) {
    add(0, graphMaxPoints - 10, noisyCurve);
    showAndUpdate(screen);
    CGTKTimePowerGraph& graph = graphOf(screen);
    const double redraw_ms = fastest_ms(5, [&] { redrawAll(graph); });
    const double pass_ms = fastest_ms(9, [&] {
        CGraphData_addItem(&bufferOf(0), 5.0F);
        CGTKTimePowerGraph_update(&graph);
    });
    PerfResult_report({"pass with a new point in a full chart", pass_ms, "ms", "a full redraw",
                       redraw_ms, PerfGoal::figureBelow, passGoal_ms});
}

TEST_F(GraphPerf, LimitsOfAFullBufferAgainstReadingItPointByPoint) {
    add(0, graphRawCapacity, noisyCurve);
    float sum = 0.0F;
    const double limits_ms = fastest_ms(9, [&] {
        sum += CGraphData_getMinValue(&bufferOf(0), RawData);
        sum += CGraphData_getMaxValue(&bufferOf(0), RawData);
    });
    const double points_ms = fastest_ms(5, [&] {
        for (uint32_t i = 0; i < graphMaxPoints; ++i) {
            sum += CGraphData_getItem(&bufferOf(0), i, RawData).power;
        }
    });
    EXPECT_GT(sum, 0.0F);
    PerfResult_report({"least and greatest of a full buffer", limits_ms, "ms",
                       "reading it point by point", points_ms, PerfGoal::figureBelow,
                       limitsGoal_ms});
}
