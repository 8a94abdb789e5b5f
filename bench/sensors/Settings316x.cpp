#include "Settings316x.h"

#include "BenchText.h"

#include <algorithm>

namespace {

constexpr int errorParameterMissing = -109;
constexpr int errorDataType = -104;
constexpr int errorOutOfRange = -222;

constexpr std::array<SettingRow316x, setting316xCount> rows{{
    {"SENS:FREQ", setting316xNumber, 13.56, 0.36, 105, nullptr, false},
    {"SENS:FREQ:AUTO", setting316xFlag, 1, 0, 1, nullptr, false},
    {"SENS:REFL:ENAB", setting316xFlag, 0, 0, 1, nullptr, false},
    {"SENS:PER", setting316xNumber, 0.02, 6e-6, 1, nullptr, true},
    {"SENS:PER:AUTO", setting316xFlag, 1, 0, 1, nullptr, true},
    {"SENS:SWE:TIME", setting316xNumber, 0.02, 6e-6, 1, nullptr, true},
    {"SENS:SWE:TIME:AUTO", setting316xFlag, 1, 0, 1, nullptr, true},
    {"CALC:STAT1:ENAB", setting316xFlag, 0, 0, 1, nullptr, true},
    {"CALC:STAT2:ENAB", setting316xFlag, 0, 0, 1, nullptr, true},
    {"CALC:STAT3:ENAB", setting316xFlag, 0, 0, 1, nullptr, true},
    {"CALC:STAT4:ENAB", setting316xFlag, 0, 0, 1, nullptr, true},
    {"CALC:STAT1:BEG:DEL", setting316xNumber, 0, -1, 1, nullptr, true},
    {"CALC:STAT2:BEG:DEL", setting316xNumber, 0, -1, 1, nullptr, true},
    {"CALC:STAT3:BEG:DEL", setting316xNumber, 0, -1, 1, nullptr, true},
    {"CALC:STAT4:BEG:DEL", setting316xNumber, 0, -1, 1, nullptr, true},
    {"CALC:STAT1:END:DEL", setting316xNumber, 0, -1, 1, nullptr, true},
    {"CALC:STAT2:END:DEL", setting316xNumber, 0, -1, 1, nullptr, true},
    {"CALC:STAT3:END:DEL", setting316xNumber, 0, -1, 1, nullptr, true},
    {"CALC:STAT4:END:DEL", setting316xNumber, 0, -1, 1, nullptr, true},
    {"CALC:GATE:BEG:DEL", setting316xNumber, 0, -1, 100, nullptr, false},
    {"CALC:GATE:END:DEL", setting316xNumber, 0, -1, 100, nullptr, false},
    {"TRIG:SOUR", setting316xText, 0, 0, 0, "INT EXT", true},
    {"TRIG:SLOP", setting316xText, 0, 0, 0, "POS NEG", true},
    {"TRIG:LEV:AUTO", setting316xFlag, 1, 0, 1, nullptr, true},
    {"TRIG:LEV", setting316xNumber, 1, 0, 100000, nullptr, true},
    {"TRIG:DEL", setting316xNumber, 0, -1, 1, nullptr, true},
}};

int storeText(SettingValue316x& value, const char* words, std::string_view argument) {
    const auto allowed = BenchText_words(words);
    if (std::ranges::find(allowed, argument) == allowed.end()) {
        return errorOutOfRange;
    }
    value.text = argument;
    return 0;
}

} // namespace

std::span<const SettingRow316x, setting316xCount> Settings316x_rows() {
    return rows;
}

void Settings316x_reset(Settings316x& settings) {
    for (size_t row = 0; row < rows.size(); ++row) {
        const bool isText = rows.at(row).type == setting316xText;
        settings.values.at(row) = {rows.at(row).initial,
                                   isText ? std::string(BenchText_words(rows.at(row).words)[0])
                                          : std::string()};
    }
}

int Settings316x_find(const Settings316x& settings, std::string_view header) {
    const auto* row = std::ranges::find(rows, header, &SettingRow316x::header);
    const bool isMissing = row == rows.end() || (row->isPulseOnly && !settings.hasPulseSettings);
    return isMissing ? -1 : static_cast<int>(row - rows.begin());
}

int Settings316x_store(Settings316x& settings, int row, std::string_view argument) {
    const SettingRow316x& rule = rows.at(static_cast<size_t>(row));
    SettingValue316x& value = settings.values.at(static_cast<size_t>(row));
    if (argument.empty()) {
        return errorParameterMissing;
    }
    if (rule.type == setting316xText) {
        return storeText(value, rule.words, argument);
    }
    const auto number = BenchText_number(argument);
    if (!number) {
        return errorDataType;
    }
    if (*number < rule.least || *number > rule.most) {
        return errorOutOfRange;
    }
    value.number = *number;
    return 0;
}

std::string Settings316x_text(const Settings316x& settings, int row) {
    const SettingValue316x& value = settings.values.at(static_cast<size_t>(row));
    const bool isText = rows.at(static_cast<size_t>(row)).type == setting316xText;
    return isText ? value.text : BenchText_format("%.9g", value.number);
}
