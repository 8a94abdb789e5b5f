#include "ExpectedTexts.h"

#include "PowerRanges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace {

/// What a reading may differ from the bench's value: two roundings to 23 bits, and a square.
constexpr double readingTolerance = 1e-6;

constexpr double automaticCeiling_W = 199994.9;
constexpr double overload = 1.2;

constexpr std::array<const char*, 11> fixedFormats = {"% 7.4f", "% 7.3f", "% 7.2f", "% 7.1f",
                                                      "% 7.4f", "% 7.3f", "% 7.2f", "% 7.1f",
                                                      "% 7.4f", "% 7.3f", "% 7.2f"};
struct UnitRow {
    const char* units;
    double multiplier;
};

std::string format(const char* form, double value) {
    char text[64];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    snprintf(text, sizeof text, form, value);
#pragma GCC diagnostic pop
    return text;
}

void add(ShownValues& values, std::string value, const char* units) {
    const ShownValue shown{std::move(value), units};
    if (std::ranges::find(values, shown) == values.end()) {
        values.push_back(shown);
    }
}

std::array<double, 3> around(double value) {
    return {value, value * (1 - readingTolerance), value * (1 + readingTolerance)};
}

/// A value rests in a row unless the row below takes it down or the row above takes it up.
bool mayRest(size_t row, double power_W) {
    const bool fallsDown =
        row > 0 && power_W <= powerRanges.at(row - 1).down * (1 - readingTolerance);
    const bool risesUp = row + 1 < powerRanges.size() &&
                         power_W > powerRanges.at(row + 1).up * (1 + readingTolerance) + 5e-6;
    return !fallsDown && !risesUp;
}

void addRow(ShownValues& values, size_t row, double power_W) {
    const RangeRow& range = powerRanges.at(row);
    add(values, format(range.format, power_W * range.multiplier), range.units);
}

void addAnyUnit(ShownValues& values, const char* text) {
    for (const RangeRow& row : powerRanges) {
        add(values, text, row.units);
    }
}

void addPower(ShownValues& values, double power_W, double limit_W, bool isdBm,
              const ShownScale& scale) {
    if (power_W >= limit_W) {
        // Beyond the limit the range stands still, whichever it was.
        constexpr const char* over = "  Range";
        isdBm ? add(values, over, "dBm")
        : scale.isAutomatic
            ? addAnyUnit(values, over)
            : add(values, over, powerRanges.at(static_cast<size_t>(scale.index)).units);
        return;
    }
    if (isdBm) {
        add(values, format(" % 6.2f", 10 * std::log10(power_W * 1000)), "dBm");
        return;
    }
    for (size_t row = 0; row < powerRanges.size(); ++row) {
        if (scale.isAutomatic ? mayRest(row, power_W) : row == static_cast<size_t>(scale.index)) {
            addRow(values, row, power_W);
        }
    }
}

void addMatch(ShownValues& values, double forward_W, double reflected_W, int matchType) {
    const double rho = reflected_W >= forward_W ? 1 : std::sqrt(reflected_W / forward_W);
    switch (matchType) {
    case 1:
        add(values, format("% 7.2f", rho <= 0.00001 ? -99.99 : 20 * std::log10(rho)), "dB");
        break;
    case 2:
        add(values, format("% 7.3f", rho), "");
        break;
    default:
        add(values, format("% 7.2f", rho >= 0.99 ? 199.0 : (1 + rho) / (1 - rho)), "");
    }
}

/// Times and frequencies: the search begins at row 0 each time.
ShownValues fixedTexts(double value, const std::array<UnitRow, 3>& units, double thresholdFactor,
                       double tolerance) {
    ShownValues values;
    for (const double near : around(value)) {
        size_t row = 0;
        while (row + 1 < powerRanges.size() &&
               near - powerRanges.at(row + 1).up * thresholdFactor > -tolerance) {
            ++row;
        }
        const UnitRow& unit = units.at(row / 4);
        add(values, format(fixedFormats.at(row), near * unit.multiplier), unit.units);
    }
    return values;
}

struct LegacyRow {
    const char* format;
    const char* units;
    double multiplier;
    double up;
    double down;
};
constexpr std::array<LegacyRow, 18> legacyRows{{
    {"% 7.4f", "nW", 1e9, always, 1.8e-9},
    {"% 7.3f", "nW", 1e9, 1.999e-9, 1.8e-8},
    {"% 7.2f", "nW", 1e9, 1.999e-8, 1.8e-7},
    {"% 7.4f", "uW", 1e6, 1.999e-7, 1.8e-6},
    {"% 7.3f", "uW", 1e6, 1.999e-6, 1.8e-5},
    {"% 7.2f", "uW", 1e6, 1.999e-5, 1.8e-4},
    {"% 7.4f", "mW", 1e3, 1.999e-4, 1.8e-3},
    {"% 7.3f", "mW", 1e3, 1.999e-3, 1.8e-2},
    {"% 7.2f", "mW", 1e3, 1.999e-2, 0.18},
    {"% 7.4f", "W", 1, 0.1999, 1.8},
    {"% 7.3f", "W", 1, 1.999, 18},
    {"% 7.2f", "W", 1, 19.99, 180},
    {"% 7.4f", "KW", 1e-3, 199.9, 1800},
    {"% 7.3f", "KW", 1e-3, 1999, 18000},
    {"% 7.2f", "KW", 1e-3, 19990, 180000},
    {"% 7.4f", "MW", 1e-6, 199900, 1800000},
    {"% 7.3f", "MW", 1e-6, 1999000, 18000000},
    {"% 7.2f", "MW", 1e-6, 19990000, never},
}};
constexpr double legacyTop_W = 199990000;

bool mayRestLegacy(size_t row, double ranged_W) {
    const bool fallsDown =
        row > 0 && ranged_W <= legacyRows.at(row - 1).down * (1 - readingTolerance);
    // Row 17 is never left upward; from the others the upward search follows.
    const bool risesUp = row + 1 < legacyRows.size() &&
                         ranged_W >= legacyRows.at(row + 1).up * (1 + readingTolerance);
    return !fallsDown && !risesUp;
}

std::string legacyReply(double power_W, const char* label, double sensorMax_W, size_t row) {
    const double top_W = row + 1 < legacyRows.size() ? legacyRows.at(row + 1).up : legacyTop_W;
    const bool isOver =
        power_W > top_W || power_W > overload * sensorMax_W || power_W > legacyTop_W;
    const size_t shownRow = isOver ? std::min<size_t>((row / 3 + 1) * 3 - 1, 17) : row;
    const LegacyRow& shown = legacyRows.at(shownRow);
    std::string number = format(shown.format, isOver ? 199.99 : power_W * shown.multiplier);
    if (shownRow % 3 == 0 && number.size() > 1 && number[1] == '0') {
        number[1] = ' ';
    }
    char units[8];
    snprintf(units, sizeof units, "%2s", shown.units);
    return std::string(isOver ? "O" : "N") + label + " " + number + "  " + units + "\r\n";
}

} // namespace

ShownValues ExpectedTexts_power(double power_W, double sensorMax_W, bool isdBm,
                                const ShownScale& scale) {
    const double ceiling_W = isdBm ? never
                             : scale.isAutomatic
                                 ? automaticCeiling_W
                                 : powerRanges.at(static_cast<size_t>(scale.index)).ceiling;
    const double limit_W = std::min(ceiling_W, sensorMax_W * overload);
    ShownValues values;
    for (const double near : around(power_W)) {
        addPower(values, near, limit_W, isdBm, scale);
    }
    return values;
}

ShownValues ExpectedTexts_gatedPower(double power_W, double sensorMax_W, bool isdBm) {
    constexpr double least_W = 1e-9;
    constexpr double most_W = 1000;
    const bool isOver = power_W >= sensorMax_W * overload * (1 - readingTolerance);
    const double shown_W = isdBm && !isOver ? std::clamp(power_W, least_W, most_W) : power_W;
    return ExpectedTexts_power(shown_W, sensorMax_W, isdBm, {});
}

ShownValues ExpectedTexts_match(double forward_W, double reflected_W, int matchType) {
    ShownValues values;
    for (const double forward : around(forward_W)) {
        for (const double reflected : around(reflected_W)) {
            addMatch(values, forward, reflected, matchType);
        }
    }
    return values;
}

ShownValues ExpectedTexts_time(double time_s) {
    return fixedTexts(time_s, {{{"us", 1e6}, {"ms", 1e3}, {"s", 1}}}, 0.001, 0.0000005);
}

ShownValues ExpectedTexts_frequency(double frequency_Hz) {
    return fixedTexts(frequency_Hz, {{{"Hz", 1}, {"KHz", 1e-3}, {"MHz", 1e-6}}}, 1000, 0.000005);
}

std::vector<std::string> ExpectedTexts_legacy(double power_W, const char* label, double sensorMax_W,
                                              double sensorMin_W, int range) {
    std::vector<std::string> replies;
    for (const double near : around(power_W)) {
        for (size_t row = 0; row < legacyRows.size(); ++row) {
            const bool isShown = range < 0 ? mayRestLegacy(row, std::max(near, sensorMin_W))
                                           : row == static_cast<size_t>(range);
            if (isShown) {
                replies.push_back(legacyReply(near, label, sensorMax_W, row));
            }
        }
    }
    return replies;
}
