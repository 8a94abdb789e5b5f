#ifndef SETTINGS_CONFIGURATION_FILE_H
#define SETTINGS_CONFIGURATION_FILE_H

#include "Configuration.h"

#include <cstddef>
#include <cstdio>
#include <span>

/// The settings file's text: one table of keys, from which lines are written and read. These
/// functions work on the record they are given and take no lock.

enum class ConfigurationField : int { flag, integer, decimal };

/// What becomes of a value that is read.
enum class ConfigurationRule : int {
    asRead,     ///< stored; a decimal number that is not finite becomes the fallback
    clamped,    ///< brought into lowest to highest
    fallback,   ///< outside lowest to highest it becomes the fallback
    notRestored ///< recognised, but not stored
};

struct ConfigurationSetting {
    const char* key;
    ConfigurationField type;
    size_t offset; ///< of the field in QUORVEL_APP_SETTINGS
    ConfigurationRule rule;
    int lowest;
    int highest;
    double fallback;
};

/// Every setting, in the order in which the file holds them.
std::span<const ConfigurationSetting> ConfigurationFile_settings();

QUORVEL_APP_SETTINGS ConfigurationFile_defaults();

/// Writes every line of the table.
void ConfigurationFile_write(FILE* file, const QUORVEL_APP_SETTINGS& settings);

/// Reads every line into the record. One that matches no key is handed to `readOther`, unless that
/// is null, with its first word cut off; the rest is for strtok. Not for two threads at once.
void ConfigurationFile_read(FILE* file, QUORVEL_APP_SETTINGS& settings,
                            bool (*readOther)(const char* line));

#endif
