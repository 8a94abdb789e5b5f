#ifndef DISPLAY_MODEL_GRAPH_PLOT_H
#define DISPLAY_MODEL_GRAPH_PLOT_H

#include "CGraphData.h"

#include <cstdint>
#include <span>

/// Geometry of the time-power graph: from samples to lines inside the plot. Pure functions.

/// The plot: x from 0 to width over the time span, y from 0 (yMax) to height (yMin). Powers are in
/// the display unit. Any limits are taken; what they cannot show is not drawn.
struct GraphPlotArea {
    double width;  ///< pixels
    double height; ///< pixels
    uint32_t maxSeconds;
    double yMin;
    double yMax;
};

struct GraphLine {
    double x0;
    double y0;
    double x1;
    double y1;
};

/// Where lines go, one call for each.
struct GraphLineSink {
    void (*line)(void* context, const GraphLine& line);
    void* context;
};

/// False when the limits cannot be spread over the height: equal or not finite.
bool GraphPlot_isDrawable(const GraphPlotArea& area);

/// Place of a sample: its index counts, one second each, not its time.
double GraphPlot_x(const GraphPlotArea& area, uint32_t index);
double GraphPlot_y(const GraphPlotArea& area, double power);

/// A power within the limits, whichever of them is the greater.
double GraphPlot_clampPower(const GraphPlotArea& area, double power);

/// The visible line between two samples. A line that leaves the band ends at its edge half way
/// between the samples; one that crosses the band goes straight up there. False when both lie
/// outside on the same side, or when one is no number.
bool GraphPlot_clip(const GraphPlotArea& area, double x0, double power0, double x1, double power1,
                    GraphLine* line);

/// The lines between consecutive samples (W), the first of which has the index `first`.
void GraphPlot_samples(const GraphPlotArea& area, std::span<const float> powers_W, uint32_t first,
                       bool isdBm, const GraphLineSink& sink);

/// What the curve covers of one pixel column; nothing when top is greater than bottom.
struct GraphSpan {
    double top;
    double bottom;
};

/// Parts of a pixel column by which samples are gathered for GraphPlot_columns.
constexpr uint32_t graphColumnParts = 4;

/// The same curve, two pixels wide, by pixel columns: `parts` gathers the samples by quarters of a
/// column. The spans are those of the columns from the one left of the plot to the one right of it:
/// a quarter as many as parts, and two. For curves with two or more samples a column.
void GraphPlot_columns(const GraphPlotArea& area, std::span<const GraphColumn> parts, bool isdBm,
                       std::span<GraphSpan> spans);

#endif
