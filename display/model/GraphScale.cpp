#include "GraphScale.h"

#include <algorithm>
#include <cmath>

const std::array<graphScaleX_t, graphScaleCount> scalesX = {{
    {60, 1, "seconds"},
    {120, 1, "seconds"},
    {240, 1, "seconds"},
    {480, 1, "seconds"},
    {900, 60, "minutes"},
    {1800, 60, "minutes"},
    {3600, 60, "minutes"},
    {7200, 60, "minutes"},
    {14400, 60, "minutes"},
    {28800, 3600, " hours "},
    {57600, 3600, " hours "},
    {86400, 3600, " hours "},
}};

namespace {

constexpr double marginShare = 0.025;
constexpr double stepWatts = 5.0;
constexpr double stepdBm = 1.0;
constexpr double floordBm = -60.0;

/// Moves rounded limits by half a step when the data lies at one of them.
GraphLimits centre(GraphLimits limits, GraphLimits padded, double step) {
    double shift = 0.0;
    if (std::fabs(padded.max - limits.min) <= step / 10.0) {
        shift = -step / 2.0;
    } else if (std::fabs(limits.max - padded.min) <= step / 10.0) {
        shift = step / 2.0;
    }
    return {limits.min + shift, limits.max + shift};
}

} // namespace

uint32_t GraphScale_forPoints(uint32_t points) {
    for (uint32_t i = 0; i < graphScaleCount; ++i) {
        if (points < scalesX[i].maxSeconds + scalesX[i].maxSeconds / 10 - 1) {
            return i;
        }
    }
    return graphScaleCount - 1;
}

uint32_t GraphScale_expand(uint32_t index, uint32_t points) {
    uint32_t result = std::min(index, graphScaleCount - 1);
    while (result + 1 < graphScaleCount && points > scalesX[result].maxSeconds + 1) {
        ++result;
    }
    return result;
}

std::optional<GraphLimits> GraphScale_fit(double min, double max, bool isdBm) {
    if (!std::isfinite(min) || !std::isfinite(max)) {
        return std::nullopt;
    }
    const double step = isdBm ? stepdBm : stepWatts;
    const double floor = isdBm ? floordBm : 0.0;
    const double margin = (max - min) * marginShare;
    const GraphLimits padded = {min - margin, max + margin};
    GraphLimits limits = {std::floor(padded.min / step) * step,
                          std::ceil(padded.max / step) * step};
    if (limits.max == limits.min) {
        // Unchanging data on a step: without a step of height it would lie outside the axis.
        limits.max += step;
    }
    limits = centre(limits, padded, step);
    if (limits.max < limits.min) {
        std::swap(limits.min, limits.max);
    }
    limits.min = std::max(limits.min, floor);
    if (limits.max <= floor) {
        limits.max = floor + step;
    }
    return limits;
}
