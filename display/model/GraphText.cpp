#include "GraphText.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

constexpr double dBmFloor = -60.0;
// More would let the fraction's format fall into the form with an exponent.
constexpr uint32_t maxDigits = 4;
constexpr size_t labelTextSize = 32;
constexpr std::array<double, 7> powersOfTen = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6};

/// Fraction text, "0.1234" at most; the room is for what the compiler cannot know.
using FractionText = std::array<char, 24>;

bool isInKilowatts(const char* unit) {
    return std::strncmp(unit, "kW", 2) == 0;
}

bool isInWatts(const char* unit) {
    return std::strncmp(unit, "W", 1) == 0;
}

/// Decimal places between mW and a unit.
int shiftOf(const char* unit) {
    if (isInKilowatts(unit)) {
        return 6;
    }
    return isInWatts(unit) ? 3 : 0;
}

/// Whole part as an int, the nearest possible one for what does not fit, 0 for no number.
int wholePart(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<int>(
        std::clamp(value, static_cast<double>(INT_MIN), static_cast<double>(INT_MAX)));
}

/// The digits after the point, without the zero before it; empty for none. Stays so: empty for a
/// fraction that rounds up to 1, too; existing test programs read the entries so
/// (docs/compatibility.md: lost-fraction).
FractionText fractionOf(double value, uint32_t digits) {
    const double magnitude = std::fabs(value);
    const double fraction = std::isfinite(value) ? magnitude - std::trunc(magnitude) : 0.0;
    const double power = powersOfTen[digits];
    const double rounded = std::trunc(power * fraction + 0.5) / power;
    FractionText withZero = {};
    std::snprintf(withZero.data(), withZero.size(), "%.*g", static_cast<int>(digits), rounded);
    FractionText text = {};
    std::snprintf(text.data(), text.size(), "%s", withZero.data() + 1);
    return text;
}

} // namespace

double getPowerInCorrectUnits(double power_W, bool isdBm) {
    if (!isdBm) {
        return power_W;
    }
    return power_W > 0.000000001 ? 10.0 * std::log10(power_W) + 30.0 : dBmFloor;
}

double getGraphPowerValueInCorrectUnits(double value, GraphScaleUnit_t unit, bool isdBm) {
    if (!isdBm && unit == graphScale_dBm) {
        return std::pow(10.0, value / 10.0);
    }
    if (isdBm && unit == graphScale_mW) {
        return value > 0.000001 ? 10.0 * std::log10(value) : dBmFloor;
    }
    return value;
}

double getSettingFromScale(double value, const char* unit) {
    if (isInKilowatts(unit)) {
        return value * 1000000.0;
    }
    return isInWatts(unit) ? value * 1000.0 : value;
}

double getScaleFromSetting(double value, const char* unit) {
    if (isInKilowatts(unit)) {
        return value / 1000000.0;
    }
    return isInWatts(unit) ? value / 1000.0 : value;
}

void formatValueForEntry(std::span<char> text, double value, uint32_t digits) {
    if (text.empty()) {
        return;
    }
    const FractionText fraction = fractionOf(value, std::min(digits, maxDigits));
    std::snprintf(text.data(), text.size(), "%d%s", wholePart(value), fraction.data());
}

void formatValueForLabel(std::span<char> text, double value_mW, const char* unit, uint32_t digits) {
    if (text.empty()) {
        return;
    }
    const uint32_t places = std::min(digits, maxDigits);
    const int shift = shiftOf(unit);
    const double value = value_mW / powersOfTen[static_cast<size_t>(shift)];
    // The whole part is taken from the rounded value, so that a fraction that rounds up to 1, whose
    // own text is empty, still counts.
    const double rounded = std::round(value_mW / std::pow(10.0, shift - static_cast<int>(places))) /
                           powersOfTen[places];
    const FractionText fraction = fractionOf(value, places);
    std::snprintf(text.data(), std::min(text.size(), labelTextSize), "%d%s", wholePart(rounded),
                  fraction.data());
}

void formatPowerForDisplay(double value, std::span<char> text, bool isdBm,
                           const DISPLAY_RANGE_FORMAT& range) {
    if (text.empty()) {
        return;
    }
    if (isdBm) {
        std::snprintf(text.data(), text.size(), "%.2f", value);
    } else {
        formatValueForLabel(text, value, range.displayLabel, range.precisionForGraph);
    }
}

void getUnitForGraphScale(std::span<char> text, bool isdBm, const DISPLAY_RANGE_FORMAT& range) {
    if (!text.empty()) {
        std::snprintf(text.data(), text.size(), "Power (%s)", isdBm ? "dBm" : range.displayLabel);
    }
}

void rightJustifyString(std::span<char> text) {
    constexpr size_t width = 5;
    if (text.size() <= width) {
        return;
    }
    const size_t length = strnlen(text.data(), text.size());
    if (length == 0 || length >= width) {
        return;
    }
    const size_t padding = width - length;
    std::memmove(text.data() + padding, text.data(), length + 1);
    std::memset(text.data(), ' ', padding);
}
