#include "FleetReading.h"

#include <cmath>
#include <limits>

namespace {

constexpr double largestVswr = 199;
constexpr double largestRho = 0.99; ///< from here on it is shown as the largest

constexpr std::array<std::string_view, fleetColumnCount> columns{{
    "time",          "meter",           "channel",         "sensor",
    "sensor_serial", "forward_W",       "forward_min_W",   "forward_max_W",
    "reflected_W",   "reflected_min_W", "reflected_max_W", "vswr",
    "frequency_MHz", "temperature_C",   "duty_percent",    "period_us",
    "prf_Hz",        "width_us",        "gate_mean_W",     "gate_max_W",
    "gate_min_W",    "state1_mean_W",   "state1_max_W",    "state1_min_W",
    "state2_mean_W", "state2_max_W",    "state2_min_W",    "state3_mean_W",
    "state3_max_W",  "state3_min_W",    "state4_mean_W",   "state4_max_W",
    "state4_min_W",
}};

} // namespace

const std::array<std::string_view, fleetColumnCount>& FleetReading_columns() {
    return columns;
}

std::string_view FleetReading_name(size_t value) {
    return columns[fleetTextCount + value];
}

FleetValues FleetReading_noValues() {
    FleetValues values;
    values.fill(std::numeric_limits<double>::quiet_NaN());
    return values;
}

double FleetReading_vswr(double forward_W, double reflected_W) {
    if (!(forward_W > 0) || std::isnan(reflected_W)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const double rho =
        reflected_W >= forward_W ? 1 : std::sqrt(std::fmax(reflected_W, 0) / forward_W);
    return rho >= largestRho ? largestVswr : (1 + rho) / (1 - rho);
}
