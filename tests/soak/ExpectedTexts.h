#ifndef TESTS_SOAK_EXPECTED_TEXTS_H
#define TESTS_SOAK_EXPECTED_TEXTS_H

#include <string>
#include <vector>

/// What the screens may say about a power, worked out here from the instrument's tables and not by
/// its code. A reading travels as a 23-bit number and is shown from a 32-bit one, so each function
/// gives the texts for all values within a few millionths of the true one; and as an automatic
/// range has hysteresis, those of every range in which the value may rest.

struct ShownValue {
    std::string value;
    std::string units;
    bool operator==(const ShownValue&) const = default;
};
using ShownValues = std::vector<ShownValue>;

struct ShownScale {
    bool isAutomatic = true;
    int index = 7; ///< manual: row of the range table
};

/// Forward or reflected power. `sensorMax_W` is the sensor's own limit.
ShownValues ExpectedTexts_power(double power_W, double sensorMax_W, bool isdBm,
                                const ShownScale& scale);

/// A gated power in its automatic range. In dBm, gated powers stop at 60 both ways.
ShownValues ExpectedTexts_gatedPower(double power_W, double sensorMax_W, bool isdBm);

/// The match of a pair of powers; 0 is VSWR, 1 return loss, 2 the reflection coefficient.
ShownValues ExpectedTexts_match(double forward_W, double reflected_W, int matchType);

/// Times and frequencies of the pulse screens: their ranges have no hysteresis.
ShownValues ExpectedTexts_time(double time_s);
ShownValues ExpectedTexts_frequency(double frequency_Hz);

/// The older meter's answer to ENT. `range` is a row, or negative for the automatic one.
std::vector<std::string> ExpectedTexts_legacy(double power_W, const char* label, double sensorMax_W,
                                              double sensorMin_W, int range);

#endif
