#ifndef DISPLAY_MODEL_AUTO_RANGE_RS232_H
#define DISPLAY_MODEL_AUTO_RANGE_RS232_H

#include <array>
#include <cstdint>

/// Power ranges of the older meter's RS232 protocol, nW to MW, and the rule that chooses one. The
/// rule has no tolerance, unlike that of the screens.

/// One row. Thresholds are in W; -1 means never.
struct DISPLAY_RANGE_FORMAT_RS232 {
    char formatString[16]; ///< printf format of the scaled value
    char unitLabel[16];
    float multiplier;    ///< W x multiplier = shown number
    float upThreshold;   ///< entered from below at or above this
    float downThreshold; ///< entered from above at or below this
};

constexpr uint32_t rangeCountRS232 = 18;

extern const std::array<DISPLAY_RANGE_FORMAT_RS232, rangeCountRS232> rangeFormatsRS232;

/// Range 0 to 17 for a power, coming from `currentRange`.
uint32_t AutoRangeRS232_findNewRange(float power_W, uint32_t currentRange);

/// A row; an index above 17 gives the last one.
const DISPLAY_RANGE_FORMAT_RS232& AutoRangeRS232_getRange(uint32_t index);

#endif
