#include "GraphPlot.h"

#include "GraphText.h"

#include <algorithm>
#include <cmath>

namespace {

enum class Side : int { below = -1, inside = 0, above = 1 };

Side sideOf(const GraphPlotArea& area, double power) {
    if (power > std::max(area.yMin, area.yMax)) {
        return Side::above;
    }
    return power < std::min(area.yMin, area.yMax) ? Side::below : Side::inside;
}

constexpr GraphSpan nothing = {1.0, 0.0};
constexpr double halfCurveWidth = 1.0;

bool isEmpty(const GraphSpan& span) {
    return span.top > span.bottom;
}

void widen(GraphSpan& span, double y0, double y1) {
    const double top = std::min(y0, y1);
    const double bottom = std::max(y0, y1);
    span = isEmpty(span) ? GraphSpan{top, bottom}
                         : GraphSpan{std::min(span.top, top), std::max(span.bottom, bottom)};
}

/// Adds what the samples between two powers cover within the band.
void coverRange(const GraphPlotArea& area, double least, double greatest, GraphSpan& span) {
    const Side lowest = sideOf(area, least);
    if (lowest == Side::inside || lowest != sideOf(area, greatest)) {
        widen(span, GraphPlot_y(area, GraphPlot_clampPower(area, least)),
              GraphPlot_y(area, GraphPlot_clampPower(area, greatest)));
    }
}

double inUnits(float power_W, bool isdBm) {
    return getPowerInCorrectUnits(static_cast<double>(power_W), isdBm);
}

/// What some consecutive parts of columns cover, with the lines that join them.
GraphSpan coverParts(const GraphPlotArea& area, std::span<const GraphColumn> parts, bool isdBm) {
    GraphSpan span = nothing;
    const GraphColumn* previous = nullptr;
    for (const GraphColumn& part : parts) {
        if (part.count == 0) {
            continue;
        }
        GraphLine line;
        if (previous != nullptr && GraphPlot_clip(area, 0.0, inUnits(previous->last, isdBm), 1.0,
                                                  inUnits(part.first, isdBm), &line)) {
            widen(span, line.y0, line.y1);
        }
        coverRange(area, inUnits(part.least, isdBm), inUnits(part.greatest, isdBm), span);
        previous = &part;
    }
    return span;
}

} // namespace

bool GraphPlot_isDrawable(const GraphPlotArea& area) {
    const double range = area.yMax - area.yMin;
    return std::isfinite(area.yMin) && std::isfinite(area.yMax) && std::isfinite(range) &&
           range != 0.0 && area.width > 0.0 && area.height > 0.0;
}

double GraphPlot_x(const GraphPlotArea& area, uint32_t index) {
    const double span_ms = area.maxSeconds * 1000.0;
    return area.width * index * 1000.0 / span_ms;
}

double GraphPlot_y(const GraphPlotArea& area, double power) {
    return area.height - area.height * (power - area.yMin) / (area.yMax - area.yMin);
}

double GraphPlot_clampPower(const GraphPlotArea& area, double power) {
    return std::clamp(power, std::min(area.yMin, area.yMax), std::max(area.yMin, area.yMax));
}

bool GraphPlot_clip(const GraphPlotArea& area, double x0, double power0, double x1, double power1,
                    GraphLine* line) {
    if (std::isnan(power0) || std::isnan(power1)) {
        return false;
    }
    const Side side0 = sideOf(area, power0);
    const Side side1 = sideOf(area, power1);
    if (side0 == side1 && side0 != Side::inside) {
        return false;
    }
    const double middle = (x0 + x1) / 2.0;
    *line = {
        side0 == Side::inside ? x0 : middle, GraphPlot_y(area, GraphPlot_clampPower(area, power0)),
        side1 == Side::inside ? x1 : middle, GraphPlot_y(area, GraphPlot_clampPower(area, power1))};
    return true;
}

void GraphPlot_samples(const GraphPlotArea& area, std::span<const float> powers_W, uint32_t first,
                       bool isdBm, const GraphLineSink& sink) {
    for (uint32_t i = 1; i < powers_W.size(); ++i) {
        GraphLine line;
        if (GraphPlot_clip(area, GraphPlot_x(area, first + i - 1),
                           getPowerInCorrectUnits(static_cast<double>(powers_W[i - 1]), isdBm),
                           GraphPlot_x(area, first + i),
                           getPowerInCorrectUnits(static_cast<double>(powers_W[i]), isdBm),
                           &line)) {
            sink.line(sink.context, line);
        }
    }
}

void GraphPlot_columns(const GraphPlotArea& area, std::span<const GraphColumn> parts, bool isdBm,
                       std::span<GraphSpan> spans) {
    // A line two pixels wide reaches a column into each neighbour, where its last quarter is too
    // faint to count.
    constexpr size_t reach = graphColumnParts - 1;
    for (size_t i = 0; i < spans.size(); ++i) {
        // The column left of the plot comes first.
        const size_t begin = i * graphColumnParts;
        const size_t first =
            std::min(begin - std::min(begin, graphColumnParts + reach), parts.size());
        const size_t end = std::min(begin + reach, parts.size());
        spans[i] = coverParts(area, parts.subspan(first, end - first), isdBm);
        if (!isEmpty(spans[i])) {
            spans[i].top -= halfCurveWidth;
            spans[i].bottom += halfCurveWidth;
        }
    }
}
