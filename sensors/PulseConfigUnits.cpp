#include "PulseConfigUnits.h"

#include "Numbers.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <span>
#include <strings.h>

namespace {

constexpr double floatEpsilon = 1.1920929e-7;

/// No power has no dBm: this stands for it, far below what a sensor can measure.
constexpr double lowest_dBm = -100.0;

/// A 32-bit float holds seven digits.
constexpr int significantDigits = 7;
constexpr int mostDecimals = 15;

constexpr std::array<const char*, 3> frequencyUnits = {"Hz", "KHz", "MHz"};
constexpr std::array<const char*, 3> timeUnits = {"s", "ms", "us"};
constexpr std::array<const char*, 4> powerUnits = {"mW", "W", "kW", "dBm"};

std::span<const char* const> unitsOf(UnitKind kind) {
    switch (kind) {
    case UnitKind::frequency:
        return frequencyUnits;
    case UnitKind::time:
        return timeUnits;
    case UnitKind::power:
        break;
    }
    return powerUnits;
}

bool isDBm(UnitKind kind, uint32_t unit) {
    return kind == UnitKind::power && unit == powerUnitDBm;
}

double multiplierOf(UnitKind kind, uint32_t unit) {
    const char* text = PulseConfigUnits_text(kind, unit);
    switch (kind) {
    case UnitKind::frequency:
        return frequencyMultiplier(text);
    case UnitKind::time:
        return timeMultiplier(text);
    case UnitKind::power:
        break;
    }
    return powerMultiplier(text);
}

double numberIn(UnitKind kind, uint32_t unit, double value) {
    if (isDBm(kind, unit)) {
        return value > 0.0 ? std::max(cvtWatt2dBm(value), lowest_dBm) : lowest_dBm;
    }
    return value / multiplierOf(kind, unit);
}

/// Five digits of dBm are watts beyond every number: what is typed stays within a 32-bit float,
/// which it becomes in the end.
double valueOf(UnitKind kind, uint32_t unit, const char* text) {
    constexpr double largest = FLT_MAX;
    const double number = Numbers_toDouble(text, nullptr);
    const double value =
        isDBm(kind, unit) ? cvtDBm2Watt(number) : number * multiplierOf(kind, unit);
    return std::isnan(value) ? 0.0 : std::clamp(value, -largest, largest);
}

/// Takes the zeros off the end of a fraction, and a point that nothing follows.
void trimFraction(char* text) {
    if (strchr(text, '.') == nullptr) {
        return;
    }
    size_t length = strlen(text);
    while (text[length - 1] == '0') {
        text[--length] = '\0';
    }
    if (text[length - 1] == '.') {
        text[length - 1] = '\0';
    }
}

/// As the keypad could have typed it: seven digits, no exponent.
void writeNumber(char (&text)[unitEntryTextSize], double number) {
    const ScopedNumberLocale locale;
    const double size = std::fabs(number);
    const int before = size >= 1e-30 ? static_cast<int>(std::floor(std::log10(size))) + 1 : 1;
    const int decimals = std::clamp(significantDigits - before, 0, mostDecimals);
    const int length = std::snprintf(text, sizeof text, "%.*f", decimals, number);
    if (length < 0 || static_cast<size_t>(length) >= sizeof text) {
        std::snprintf(text, sizeof text, "%.6g", number);
    }
    trimFraction(text);
    if (strcmp(text, "-0") == 0) {
        std::snprintf(text, sizeof text, "0");
    }
}

/// An edited text becomes what was typed.
void takeTypedText(UnitEntry* entry, const char* text) {
    if (strcmp(text, entry->shownText) != 0) {
        entry->value = valueOf(entry->kind, entry->unit, text);
        entry->typedUnit = entry->unit;
        std::snprintf(entry->typedText, sizeof entry->typedText, "%s", text);
    }
}

} // namespace

double frequencyMultiplier(const char* unitText) {
    if (strncasecmp(unitText, "KHz", 3) == 0) {
        return 1000.0;
    }
    return strncasecmp(unitText, "MHz", 3) == 0 ? 1000000.0 : 1.0;
}

double timeMultiplier(const char* unitText) {
    if (strncasecmp(unitText, "ms", 2) == 0) {
        return 0.001;
    }
    return strncasecmp(unitText, "us", 2) == 0 ? 0.000001 : 1.0;
}

double powerMultiplier(const char* unitText) {
    if (strncasecmp(unitText, "mW", 2) == 0) {
        return 0.001;
    }
    return strncasecmp(unitText, "kW", 2) == 0 ? 1000.0 : 1.0;
}

double cvtWatt2dBm(double power_W) {
    return 10.0 * std::log10(power_W * 1000.0);
}

double cvtDBm2Watt(double power_dBm) {
    return std::pow(10.0, power_dBm / 10.0) / 1000.0;
}

bool almostEqual(double a, double b, double maxDiff, double maxRelDiff) {
    const double largest = std::max(std::fabs(a), std::fabs(b));
    return std::fabs(a - b) <= std::max(maxDiff, largest * maxRelDiff);
}

bool equal(double a, double b) {
    return almostEqual(a, b, floatEpsilon, floatEpsilon);
}

bool less(double a, double b) {
    return a < b && !equal(a, b);
}

bool greater(double a, double b) {
    return a > b && !equal(a, b);
}

float PulseConfigUnits_toFloat(double value) {
    constexpr double largest = FLT_MAX;
    return static_cast<float>(std::clamp(value, -largest, largest));
}

uint32_t PulseConfigUnits_count(UnitKind kind) {
    return static_cast<uint32_t>(unitsOf(kind).size());
}

const char* PulseConfigUnits_text(UnitKind kind, uint32_t unit) {
    const std::span<const char* const> units = unitsOf(kind);
    return units[std::min<size_t>(unit, units.size() - 1)];
}

uint32_t PulseConfigUnits_bestUnit(UnitKind kind, double value) {
    constexpr uint32_t base[] = {0, 0, 1}; // Hz, s, W
    uint32_t best = base[static_cast<uint32_t>(kind)];
    double bestNumber = 0.0;
    for (uint32_t unit = 0; unit < PulseConfigUnits_count(kind); ++unit) {
        if (isDBm(kind, unit)) {
            continue;
        }
        const double number = std::fabs(numberIn(kind, unit, value));
        if (number >= 1.0 && (bestNumber == 0.0 || number < bestNumber)) {
            best = unit;
            bestNumber = number;
        }
    }
    return best;
}

void UnitEntry_set(UnitEntry* entry, double value, uint32_t unit) {
    entry->unit = unit;
    entry->typedUnit = unit;
    entry->value = value;
    writeNumber(entry->shownText, numberIn(entry->kind, unit, value));
    std::snprintf(entry->typedText, sizeof entry->typedText, "%s", entry->shownText);
}

double UnitEntry_value(const UnitEntry& entry, const char* text) {
    return strcmp(text, entry.shownText) == 0 ? entry.value : valueOf(entry.kind, entry.unit, text);
}

void UnitEntry_nextUnit(UnitEntry* entry, const char* text) {
    takeTypedText(entry, text);
    entry->unit = (entry->unit + 1) % PulseConfigUnits_count(entry->kind);
    if (entry->unit == entry->typedUnit) {
        std::snprintf(entry->shownText, sizeof entry->shownText, "%s", entry->typedText);
    } else {
        writeNumber(entry->shownText, numberIn(entry->kind, entry->unit, entry->value));
    }
}
