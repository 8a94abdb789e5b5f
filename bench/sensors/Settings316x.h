#ifndef BENCH_SENSORS_SETTINGS_316X_H
#define BENCH_SENSORS_SETTINGS_316X_H

#include "Sensor316x.h"

/// The settings of the USB sensors, a row each: their command, what they hold after a reset, and
/// what is refused.

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
void Settings316x_reset(Sensor316x& sensor);

/// Row number of a header that this model has, -1 for none.
int Settings316x_find(const Sensor316x& sensor, std::string_view header);

/// Stores an argument; 0, or the SCPI error code it is refused with.
int Settings316x_store(Sensor316x& sensor, int row, std::string_view argument);

/// The setting as its query answers it, without line end.
std::string Settings316x_text(const Sensor316x& sensor, int row);

#endif
