#ifndef DISPLAY_MODEL_GRAPH_SCALE_H
#define DISPLAY_MODEL_GRAPH_SCALE_H

#include <array>
#include <cstdint>
#include <optional>

/// The axes of the time-power graph: its twelve time scales, and the power limits that fit the
/// data.

struct graphScaleX_t {
    uint32_t maxSeconds;
    uint32_t scale; ///< seconds in one of the unit
    char unit[8];
};

constexpr uint32_t graphScaleCount = 12;
extern const std::array<graphScaleX_t, graphScaleCount> scalesX;

/// The first time scale that holds a number of points with a tenth to spare; the last one for more.
uint32_t GraphScale_forPoints(uint32_t points);

/// The next wider time scales until the newest of `points` fits, or the last one.
uint32_t GraphScale_expand(uint32_t index, uint32_t points);

/// Limits of the power axis, in W or dBm.
struct GraphLimits {
    double min;
    double max;
};

/// Limits that fit data between `min` and `max` (W or dBm); nothing for values that are no finite
/// numbers. Stays so: in steps of 5 W, however small the powers are; existing test programs know
/// the limits (docs/compatibility.md: coarse-auto).
std::optional<GraphLimits> GraphScale_fit(double min, double max, bool isdBm);

#endif
