#ifndef DISPLAY_MODEL_GRAPH_TEXT_H
#define DISPLAY_MODEL_GRAPH_TEXT_H

#include "Configuration.h"
#include "auto_range.h"

#include <cstdint>
#include <span>

/// Units and number texts of the time-power graph and its settings dialog. Pure functions. Texts
/// are cut to the buffer and terminated.

/// A sample for the axis: watts, or dBm when `isdBm` (-60 for 1 nW and less).
double getPowerInCorrectUnits(double power_W, bool isdBm);

/// A settings value, kept in `unit`, for the display: mW, or dBm when `isdBm` (-60 for 1 nW and
/// less).
double getGraphPowerValueInCorrectUnits(double value, GraphScaleUnit_t unit, bool isdBm);

/// From a number in "mW", "W" or "kW" to mW, and back.
double getSettingFromScale(double value, const char* unit);
double getScaleFromSetting(double value, const char* unit);

/// Text of a number for an entry, with at most `digits` digits after the point (0 to 4). Two
/// oddities are wanted: a fraction that rounds up to 1 vanishes (12.999 with 2 digits is "12"), and
/// a value between -1 and 0 loses its sign.
void formatValueForEntry(std::span<char> text, double value, uint32_t digits);

/// Text of a power in mW for a label that shows `unit`, with at most `digits` digits after the
/// point (0 to 4). At most 32 bytes are written.
void formatValueForLabel(std::span<char> text, double value_mW, const char* unit, uint32_t digits);

/// An axis limit: dBm with two digits, or mW shown in the range's unit and graph precision.
void formatPowerForDisplay(double value, std::span<char> text, bool isdBm,
                           const DISPLAY_RANGE_FORMAT& range);

/// Title of the power axis: "Power (dBm)", or with the range's unit.
void getUnitForGraphScale(std::span<char> text, bool isdBm, const DISPLAY_RANGE_FORMAT& range);

/// Pads 1 to 4 characters on the left to 5; leaves any other length, and a buffer of less than
/// 6 characters, unchanged.
void rightJustifyString(std::span<char> text);

#endif
