#include "AutoRangeRS232.h"

#include <algorithm>

// clang-format off
const std::array<DISPLAY_RANGE_FORMAT_RS232, rangeCountRS232> rangeFormatsRS232 = {{
    {"% 7.4f", "nW", 1000000000.0F, -1.0F,            0.0000000018F},
    {"% 7.3f", "nW", 1000000000.0F, 0.000000001999F,  0.000000018F},
    {"% 7.2f", "nW", 1000000000.0F, 0.00000001999F,   0.00000018F},
    {"% 7.4f", "uW", 1000000.0F,    0.0000001999F,    0.0000018F},
    {"% 7.3f", "uW", 1000000.0F,    0.000001999F,     0.000018F},
    {"% 7.2f", "uW", 1000000.0F,    0.00001999F,      0.00018F},
    {"% 7.4f", "mW", 1000.0F,       0.0001999F,       0.0018F},
    {"% 7.3f", "mW", 1000.0F,       0.001999F,        0.018F},
    {"% 7.2f", "mW", 1000.0F,       0.01999F,         0.18F},
    {"% 7.4f", "W",  1.0F,          0.1999F,          1.8F},
    {"% 7.3f", "W",  1.0F,          1.999F,           18.0F},
    {"% 7.2f", "W",  1.0F,          19.99F,           180.0F},
    {"% 7.4f", "KW", 0.001F,        199.9F,           1800.0F},
    {"% 7.3f", "KW", 0.001F,        1999.0F,          18000.0F},
    {"% 7.2f", "KW", 0.001F,        19990.0F,         180000.0F},
    {"% 7.4f", "MW", 0.000001F,     199900.0F,        1800000.0F},
    {"% 7.3f", "MW", 0.000001F,     1999000.0F,       18000000.0F},
    {"% 7.2f", "MW", 0.000001F,     19990000.0F,      -1.0F},
}};
// clang-format on

namespace {

constexpr uint32_t lastRange = rangeCountRS232 - 1;

} // namespace

uint32_t AutoRangeRS232_findNewRange(float power_W, uint32_t currentRange) {
    uint32_t result = std::min(currentRange, lastRange);
    // A current range beyond the table starts below its last row, which is never entered from
    // above.
    for (uint32_t i = std::min(currentRange, rangeCountRS232); i > 0; --i) {
        if (!(power_W <= rangeFormatsRS232[i - 1].downThreshold)) {
            break;
        }
        result = i - 1;
    }
    if (currentRange >= lastRange) {
        return result;
    }
    for (uint32_t i = currentRange + 1; i < rangeCountRS232; ++i) {
        if (!(power_W >= rangeFormatsRS232[i].upThreshold)) {
            break;
        }
        result = i;
    }
    return result;
}

const DISPLAY_RANGE_FORMAT_RS232& AutoRangeRS232_getRange(uint32_t index) {
    return rangeFormatsRS232[std::min(index, lastRange)];
}
