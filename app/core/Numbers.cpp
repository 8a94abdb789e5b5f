#include "Numbers.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace {

/// The C library's own "C" locale: nothing is allocated and nothing needs to be freed.
locale_t numberLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

} // namespace

double Numbers_toDouble(const char* text, char** end) {
    return strtod_l(text, end, numberLocale());
}

float Numbers_toFloat(const char* text, char** end) {
    return strtof_l(text, end, numberLocale());
}

int Numbers_toInt(const char* text) {
    constexpr long lowest = INT_MIN;
    constexpr long highest = INT_MAX;
    return static_cast<int>(std::clamp(strtol(text, nullptr, 10), lowest, highest));
}

ScopedNumberLocale::ScopedNumberLocale() : previous(uselocale(numberLocale())) {}

ScopedNumberLocale::~ScopedNumberLocale() {
    uselocale(previous);
}
