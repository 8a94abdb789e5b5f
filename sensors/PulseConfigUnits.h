#ifndef SENSORS_PULSE_CONFIG_UNITS_H
#define SENSORS_PULSE_CONFIG_UNITS_H

#include <cstddef>
#include <cstdint>

/// Units of the numbers that are typed into the pulse configuration, and a typed number that can be
/// shown in any unit of its kind. Pure functions.

/// What a number in a unit is multiplied by to be in Hz, s or W. Only the beginning of the text
/// counts, in capitals or not. So "MW" is a milliwatt, as existing test programs know it
/// (docs/compatibility.md: dialog-milliwatt).
double frequencyMultiplier(const char* unitText);
double timeMultiplier(const char* unitText);
double powerMultiplier(const char* unitText);

double cvtWatt2dBm(double power_W);
double cvtDBm2Watt(double power_dBm);

/// True when two numbers differ by no more than the larger of `maxDiff` and the larger number's
/// share `maxRelDiff`.
bool almostEqual(double a, double b, double maxDiff, double maxRelDiff);

/// Comparisons that take numbers within a 32-bit float's precision as the same.
bool equal(double a, double b);
bool less(double a, double b);
bool greater(double a, double b);

/// A double as a 32-bit float; what is beyond its range gives its largest values.
float PulseConfigUnits_toFloat(double value);

enum class UnitKind : uint32_t { frequency, time, power };

/// Units of a kind in the order of the unit button: Hz, KHz, MHz; s, ms, us; mW, W, kW, dBm.
uint32_t PulseConfigUnits_count(UnitKind kind);
const char* PulseConfigUnits_text(UnitKind kind, uint32_t unit);
constexpr uint32_t powerUnitDBm = 3;

/// The unit in which a value (Hz, s, W) is shown first: the largest in which it is 1 or more.
uint32_t PulseConfigUnits_bestUnit(UnitKind kind, double value);

constexpr size_t unitEntryTextSize = 32;

/// A number in an entry. What was typed last comes back letter by letter when its unit comes back,
/// and a value that was never touched keeps its precision.
struct UnitEntry {
    UnitKind kind;
    uint32_t unit;                     ///< shown now
    char shownText[unitEntryTextSize]; ///< what was put into the entry last
    char typedText[unitEntryTextSize]; ///< what was typed or first shown, in typedUnit
    uint32_t typedUnit;
    double value; ///< of typedText, Hz, s or W
};

/// Begins with a value in a unit.
void UnitEntry_set(UnitEntry* entry, double value, uint32_t unit);

/// The value (Hz, s, W) of the entry's text as it stands now. A text that is no number is 0.
double UnitEntry_value(const UnitEntry& entry, const char* text);

/// Steps to the next unit; shownText is then what the entry shows instead of `text`.
void UnitEntry_nextUnit(UnitEntry* entry, const char* text);

#endif
