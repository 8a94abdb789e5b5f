#ifndef DISPLAY_MODEL_AUTO_RANGE_H
#define DISPLAY_MODEL_AUTO_RANGE_H

#include <array>
#include <cstdint>

/// Display ranges of power, time and frequency, and the rule that chooses one from a value.

/// One row of a range table. Thresholds are in the base unit (W, s, Hz); -1 means never.
struct DISPLAY_RANGE_FORMAT {
    char formatString[16];      ///< printf format of the value on the power screens
    char formatStringGraph[16]; ///< the same for graph labels
    char displayLabel[16];      ///< unit
    uint32_t precisionForGraph; ///< digits after the point for graph labels
    float multiplier;           ///< base unit x multiplier = shown number
    float upThreshold;          ///< entered from below at or above this
    float downThreshold;        ///< entered from above at or below this
};

constexpr uint32_t rangeCount = 11;
using DisplayRangeTable = std::array<DISPLAY_RANGE_FORMAT, rangeCount>;

extern const DisplayRangeTable rangeFormats;     ///< base unit W
extern const DisplayRangeTable timeRangeFormats; ///< base unit s
extern const DisplayRangeTable freqRangeFormats; ///< base unit Hz

/// Range 0 to 10 for a value, coming from `currentRange`, with the table's hysteresis.
uint32_t findNewRange(float power_W, uint32_t currentRange);
uint32_t findTimeRange(float time_s, uint32_t currentRange);
uint32_t findFreqRange(float frequency_Hz, uint32_t currentRange);

#endif
