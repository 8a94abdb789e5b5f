#include "auto_range.h"

#include "message.h"

#include <algorithm>

// clang-format off
const DisplayRangeTable rangeFormats = {{
    {"% 7.4f", "%9.0f", "mW", 0, 1000.0F,     -1.0F,     0.0018F},
    {"% 7.3f", "%9.0f", "mW", 0, 1000.0F,      0.002F,   0.018F},
    {"% 7.2f", "%9.0f", "mW", 0, 1000.0F,      0.02F,    0.18F},
    {"% 7.1f", "%9.0f", "mW", 0, 1000.0F,      0.2F,     0.8F},
    {"% 7.4f", "%8.3f", "W",  3, 1.0F,         1.2F,     1.8F},
    {"% 7.3f", "%8.2f", "W",  3, 1.0F,         2.0F,     18.0F},
    {"% 7.2f", "%8.1f", "W",  2, 1.0F,         20.0F,    180.0F},
    {"% 7.1f", "%8.0f", "W",  1, 1.0F,         200.0F,   800.0F},
    {"% 7.4f", "%8.3f", "kW", 4, 0.001F,       1200.0F,  1800.0F},
    {"% 7.3f", "%8.2f", "kW", 3, 0.001F,       2000.0F,  18000.0F},
    {"% 7.2f", "%8.1f", "kW", 2, 0.001F,       20000.0F, -1.0F},
}};

const DisplayRangeTable timeRangeFormats = {{
    {"% 7.4f", "", "us", 0, 1000000.0F, -1.0F,     0.0000018F},
    {"% 7.3f", "", "us", 0, 1000000.0F, 0.000002F, 0.000018F},
    {"% 7.2f", "", "us", 0, 1000000.0F, 0.00002F,  0.00018F},
    {"% 7.1f", "", "us", 0, 1000000.0F, 0.0002F,   0.0008F},
    {"% 7.4f", "", "ms", 0, 1000.0F,    0.0012F,   0.0018F},
    {"% 7.3f", "", "ms", 0, 1000.0F,    0.002F,    0.018F},
    {"% 7.2f", "", "ms", 0, 1000.0F,    0.02F,     0.18F},
    {"% 7.1f", "", "ms", 0, 1000.0F,    0.2F,      0.8F},
    {"% 7.4f", "", "s",  0, 1.0F,       1.2F,      1.8F},
    {"% 7.3f", "", "s",  0, 1.0F,       2.0F,      18.0F},
    {"% 7.2f", "", "s",  0, 1.0F,       20.0F,     -1.0F},
}};

const DisplayRangeTable freqRangeFormats = {{
    {"% 7.4f", "", "Hz",  0, 1.0F,      -1.0F,       1.8F},
    {"% 7.3f", "", "Hz",  0, 1.0F,      2.0F,        18.0F},
    {"% 7.2f", "", "Hz",  0, 1.0F,      20.0F,       180.0F},
    {"% 7.1f", "", "Hz",  0, 1.0F,      200.0F,      800.0F},
    {"% 7.4f", "", "KHz", 0, 0.001F,    1200.0F,     1800.0F},
    {"% 7.3f", "", "KHz", 0, 0.001F,    2000.0F,     18000.0F},
    {"% 7.2f", "", "KHz", 0, 0.001F,    20000.0F,    180000.0F},
    {"% 7.1f", "", "KHz", 0, 0.001F,    200000.0F,   800000.0F},
    {"% 7.4f", "", "MHz", 0, 0.000001F, 1200000.0F,  1800000.0F},
    {"% 7.3f", "", "MHz", 0, 0.000001F, 2000000.0F,  18000000.0F},
    {"% 7.2f", "", "MHz", 0, 0.000001F, 20000000.0F, -1.0F},
}};
// clang-format on

namespace {

constexpr uint32_t lastRange = rangeCount - 1;

/// What tells the three searches apart.
struct RangeSearch {
    const DisplayRangeTable& table;
    double tolerance;     ///< base unit, below an upThreshold
    const char* function; ///< name of the search in log lines
    const char* quantity;
};

void logStep(const RangeSearch& search, const char* direction, uint32_t range,
             const char* thresholdName, float threshold) {
    // One format for both directions and all three searches; the line and function shown are the
    // searches' own.
    diagnostic_message(LOG_DEBUG, "DIAGNOSTIC:%s:%d:%s():    %s... range = %d, %s = %f\n\n",
                       message_fileName(__FILE__), __LINE__, search.function, direction,
                       static_cast<int>(range), thresholdName, static_cast<double>(threshold));
}

/// Lowest range reached by going down while the value is at or below the next row's threshold.
/// A current range beyond the table starts at its last row, which is never entered from above.
uint32_t searchDown(const RangeSearch& search, float value, uint32_t currentRange) {
    uint32_t result = std::min(currentRange, lastRange);
    for (uint32_t i = std::min(currentRange, rangeCount); i > 0; --i) {
        const float threshold = search.table[i - 1].downThreshold;
        if (threshold < value) {
            break;
        }
        result = i - 1;
        logStep(search, "decreasing", result, "downThreshold", threshold);
    }
    return result;
}

uint32_t searchUp(const RangeSearch& search, float value, uint32_t currentRange, uint32_t result) {
    for (uint32_t i = currentRange + 1; i < rangeCount; ++i) {
        const float threshold = search.table[i].upThreshold;
        // The difference is rounded to 32 bits before it is compared: the displayed limits depend
        // on it.
        const float difference = value - threshold;
        if (static_cast<double>(difference) <= -search.tolerance) {
            break;
        }
        result = i;
        logStep(search, "increasing", result, "upThreshold", threshold);
    }
    return result;
}

uint32_t findRange(const RangeSearch& search, float value, uint32_t currentRange) {
    const int current = static_cast<int>(currentRange);
    diagnostic_message(LOG_DEBUG, "DIAGNOSTIC:%s:%d:%s(): %s(%s = %f, currentRange = %d)\n\n",
                       message_fileName(__FILE__), __LINE__, search.function, search.function,
                       search.quantity, static_cast<double>(value), current);
    uint32_t result = searchDown(search, value, currentRange);
    if (currentRange < lastRange) {
        result = searchUp(search, value, currentRange, result);
    }
    if (result > lastRange) {
        diagnostic_message(LOG_DEBUG, "DIAGNOSTIC:%s:%d:%s(): %s Error: result = %d\n\n",
                           message_fileName(__FILE__), __LINE__, search.function, search.function,
                           static_cast<int>(result));
        result = lastRange;
    }
    diagnostic_message(LOG_DEBUG, "DIAGNOSTIC:%s:%d:%s(): %s(%s = %f, currentRange = %d) -> %d\n",
                       message_fileName(__FILE__), __LINE__, search.function, search.function,
                       search.quantity, static_cast<double>(value), current,
                       static_cast<int>(result));
    return result;
}

} // namespace

uint32_t findNewRange(float power_W, uint32_t currentRange) {
    return findRange({rangeFormats, 0.000005, "findNewRange", "power"}, power_W, currentRange);
}

uint32_t findTimeRange(float time_s, uint32_t currentRange) {
    return findRange({timeRangeFormats, 0.0000005, "findTimeRange", "time"}, time_s, currentRange);
}

uint32_t findFreqRange(float frequency_Hz, uint32_t currentRange) {
    return findRange({freqRangeFormats, 0.000005, "findFreqRange", "frequency"}, frequency_Hz,
                     currentRange);
}
