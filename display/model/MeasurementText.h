#ifndef DISPLAY_MODEL_MEASUREMENT_TEXT_H
#define DISPLAY_MODEL_MEASUREMENT_TEXT_H

#include "Configuration.h"
#include "SensorTypes.h"
#include "auto_range.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// From one sensor's readings to the texts of a power display: pure functions of values, without
/// widgets, settings or heap.

enum rfPowerType : int { rfPower_W = 0, rfPower_dBm = 1 };

constexpr size_t valueTextSize = 32;
constexpr size_t unitTextSize = 16;

/// What a value label shows when there is no reading.
constexpr char measurementBlanks[] = "             ";

/// Largest power of each range with a manual scale, in W.
extern const std::array<float, rangeCount> maxScalePowerList;

/// A forward or reflected line.
struct PowerLineText {
    char value[valueTextSize];
    char unit[unitTextSize];
    bool isOverRange;   ///< caption and value in red, else caption grey and value white
    bool scaleVisible;  ///< the scale buttons are shown (watts)
    rfPowerScale scale; ///< the scale after automatic ranging
    bool scaleChanged;  ///< `scale` differs from the one given and belongs into the settings
};

/// The match line.
struct MatchText {
    char caption[valueTextSize];
    char value[valueTextSize];
    char unit[unitTextSize];
};

/// A value with its unit, such as a pulse width. Both are empty for a missing reading (NaN): what
/// is shown stays.
struct ValueText {
    char value[valueTextSize];
    char unit[unitTextSize];
};

/// One power of a group. Its text is empty for a missing reading (NaN): what is shown stays.
struct PowerCellText {
    char value[valueTextSize];
    bool isOverRange; ///< shown in red, else white
};

/// Mean, greatest and least power of a gate or of a pulse state; the mean chooses the range.
struct PowerGroupText {
    PowerCellText mean;
    PowerCellText max;
    PowerCellText min;
    char unit[unitTextSize];
    bool scaleVisible; ///< watts: unit widgets and scale buttons are of use
    rfPowerScale scale;
    bool scaleChanged;
};

/// "no reading for 12 s", in minutes after 99 s.
struct SilenceText {
    char text[48];
};

/// "5132 on Serial1": a sensor, told apart from an equal one on another port.
struct SensorNameText {
    char text[32];
};

/// The power at which a display goes over range, in W, from the sensor's largest power. A scale
/// index beyond the table counts as the last row.
float MeasurementText_maxPowerForRange(float sensorMaxPower_W, rfPowerScale scale,
                                       rfPowerType powerType);

/// The same for the sensor on a port, and the question itself.
float gtkPowerDisplay_getMaxPowerForRange(uint32_t sensorChannel, rfPowerScale scale,
                                          rfPowerType powerType);
bool gtkPowerDisplay_isOverRange(float power_W, uint32_t sensorChannel, rfPowerScale scale,
                                 rfPowerType powerType);

/// dBm, clamped to -60..60; a power below zero is noise around it and gives -60. For gated and
/// state powers. Stays so: forward and reflected powers are shown unclamped; existing test programs
/// read both (docs/compatibility.md: dbm-clamped-or-not).
float convertTodBm(float power_W);

/// One forward or reflected power, which must be a number. `sensorMaxPower_W` is the sensor's
/// largest power.
PowerLineText MeasurementText_powerLine(float power_W, float sensorMaxPower_W, rfPowerScale scale,
                                        rfPowerType powerType);

/// The match of two powers, which must be numbers.
MatchText MeasurementText_match(float fwd_W, float rfl_W, rfMatchType_t matchType);

/// A gate's or a state's three powers.
PowerGroupText MeasurementText_powerGroup(float mean_W, float max_W, float min_W,
                                          float sensorMaxPower_W, rfPowerScale scale,
                                          rfPowerType powerType);

/// Period and width; repetition and carrier frequency; duty cycle (unit text empty). Ranges are
/// searched from the lowest, so they have no hysteresis.
ValueText MeasurementText_time(float time_s);
ValueText MeasurementText_frequency(float frequency_Hz);
ValueText MeasurementText_dutyCycle(float dutyCycle);

/// Says how old the last value is, empty while it is not too old: values that come, however slowly,
/// are never too old.
SilenceText MeasurementText_silence(const SensorSilence& silence);

/// Text of the sensor button, at most `maxLength` characters and never more than `text` holds.
/// An empty model gives the family of the port; a character that is not printable ASCII shows as
/// "?".
void MeasurementText_sensorLabel(uint32_t port, SensorStatus status, const char* model,
                                 const char* serialNumber, uint32_t maxLength,
                                 std::span<char> text);

/// Names a sensor by its model, of which 19 characters count, and its port. An empty model and what
/// cannot be printed are shown as on the sensor button.
SensorNameText MeasurementText_sensorName(uint32_t port, const char* model);

#endif
