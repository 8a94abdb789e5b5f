#ifndef TESTS_SUPPORT_POWER_RANGES_H
#define TESTS_SUPPORT_POWER_RANGES_H

#include <array>

/// A range of the power display, as the manual tells it: what a power of `up` W enters from below
/// and one of `down` W leaves.
struct RangeRow {
    const char* format;
    const char* units;
    double multiplier;
    double up;
    double down;
    double ceiling; ///< of a manual power range
};
inline constexpr double always = -1e300;
inline constexpr double never = 1e300;
inline constexpr std::array<RangeRow, 11> powerRanges{{
    {"% 7.4f", "mW", 1e3, always, 0.0018, 0.0019999491},
    {"% 7.3f", "mW", 1e3, 0.002, 0.018, 0.019999489},
    {"% 7.2f", "mW", 1e3, 0.02, 0.18, 0.19999491},
    {"% 7.1f", "mW", 1e3, 0.2, 0.8, 1.999949},
    {"% 7.4f", "W", 1, 1.2, 1.8, 1.999949},
    {"% 7.3f", "W", 1, 2, 18, 19.99949},
    {"% 7.2f", "W", 1, 20, 180, 199.9949},
    {"% 7.1f", "W", 1, 200, 800, 1999.949},
    {"% 7.4f", "kW", 1e-3, 1200, 1800, 1999.949},
    {"% 7.3f", "kW", 1e-3, 2000, 18000, 19999.49},
    {"% 7.2f", "kW", 1e-3, 20000, never, 199994.9},
}};

#endif
