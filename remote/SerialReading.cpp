#include "SerialReading.h"

#include "AutoRangeRS232.h"
#include "Numbers.h"
#include "message.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr uint32_t lastRange = rangeCountRS232 - 1;
constexpr uint32_t rangesPerUnit = 3;
constexpr float highestPower_W = 199990000.0F;
constexpr double maxPowerTolerance = 1.2;
constexpr double overflowNumber = 199.99;
constexpr int numberSize = 8; ///< 7 characters and the terminator

/// The power above which the next range is needed.
float topOf(uint32_t range) {
    return range < lastRange ? AutoRangeRS232_getRange(range + 1).upThreshold : highestPower_W;
}

bool isOverflow(float power_W, float maxPower_W, uint32_t range) {
    return power_W > topOf(range) ||
           static_cast<double>(power_W) > maxPowerTolerance * static_cast<double>(maxPower_W) ||
           power_W > highestPower_W;
}

constexpr uint32_t coarsestOfUnit(uint32_t range) {
    return std::min((range / rangesPerUnit + 1) * rangesPerUnit - 1, lastRange);
}

void warnOfFormat() {
    USER_WARNING("An error occurred formatting a serial command response.");
}

/// Prints into the 7 characters that a number has; what is longer is cut, and reported.
void printNumber(char (&text)[numberSize], double number, const char* format) {
    const ScopedNumberLocale numbers;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = snprintf(text, sizeof text, format, number);
#pragma GCC diagnostic pop
    if (length < 0) {
        const int error = errno;
        warnOfFormat();
        DIAGNOSTIC("snprintf errno=%d", error);
    } else if (length >= numberSize) {
        warnOfFormat();
        DIAGNOSTIC("formatting value of %f with %s exceeds sizeof(buffer)=%d", number, format,
                   numberSize);
    }
}

} // namespace

uint32_t SerialReading_autoRange(float power_W, float minPower_W, uint32_t range) {
    // Written so that a missing reading, which is not a number, counts as the minimum.
    return AutoRangeRS232_findNewRange(power_W > minPower_W ? power_W : minPower_W, range);
}

size_t format_power(char* buffer, size_t capacity, const char* label, float power_W,
                    float maxPower_W, uint32_t range) {
    const uint32_t bounded = std::min(range, lastRange);
    const bool overflows = isOverflow(power_W, maxPower_W, bounded);
    const uint32_t shown = overflows ? coarsestOfUnit(bounded) : bounded;
    const DISPLAY_RANGE_FORMAT_RS232& row = AutoRangeRS232_getRange(shown);
    const double number = overflows
                              ? overflowNumber
                              : static_cast<double>(power_W) * static_cast<double>(row.multiplier);
    char text[numberSize] = "";
    printNumber(text, number, row.formatString);
    if (shown % rangesPerUnit == 0 && text[1] == '0') {
        text[1] = ' '; // the four-decimal ranges show no leading zero
    }
    const int length = snprintf(buffer, capacity, "%c%s %s  %2s%s", overflows ? 'O' : 'N', label,
                                text, row.unitLabel, scpi_terminator);
    if (length < 0 || static_cast<size_t>(length) >= capacity) {
        DIAGNOSTIC("a reading of %d characters exceeds %zu\n", length, capacity);
        abort();
    }
    return static_cast<size_t>(length);
}
