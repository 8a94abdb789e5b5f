#ifndef BENCH_SENSORS_SETTINGS_316X_H
#define BENCH_SENSORS_SETTINGS_316X_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// The settings of the USB sensors, a row each: their command, what they hold after a reset, and
/// what is refused.

constexpr size_t setting316xCount = 26;

/// Value of one setting that can be written and read back.
struct SettingValue316x {
    double number;
    std::string text;
};

struct Settings316x {
    bool hasPulseSettings; ///< period, trigger and states can be set
    std::array<SettingValue316x, setting316xCount> values;
};

enum SettingType316x : uint32_t { setting316xNumber, setting316xFlag, setting316xText };

struct SettingRow316x {
    std::string_view header;
    SettingType316x type;
    double initial;
    double least;
    double most;
    const char* words; ///< text settings: the words allowed, the first one after a reset
    bool isPulseOnly;  ///< missing in models without pulse settings
};
std::span<const SettingRow316x, setting316xCount> Settings316x_rows();

/// All settings as after "*RST".
void Settings316x_reset(Settings316x& settings);

/// Row number of a header that this model has, -1 for none.
int Settings316x_find(const Settings316x& settings, std::string_view header);

/// Stores an argument; 0, or the SCPI error code it is refused with.
int Settings316x_store(Settings316x& settings, int row, std::string_view argument);

/// The setting as its query answers it, without line end.
std::string Settings316x_text(const Settings316x& settings, int row);

#endif
