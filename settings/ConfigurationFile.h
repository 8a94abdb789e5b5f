#ifndef SETTINGS_CONFIGURATION_FILE_H
#define SETTINGS_CONFIGURATION_FILE_H

#include "SettingsTable.h"

#include <cstdio>

/// The settings file's text, written and read line by line of the settings' table. These functions
/// work on the record they are given and take no lock.

/// Writes every line of the table.
void ConfigurationFile_write(FILE* file, const QUORVEL_APP_SETTINGS& settings);

/// Reads every line into the record. One that matches no key is handed to `readOther`, unless that
/// is null, with its first word cut off; the rest is for strtok. Not for two threads at once.
void ConfigurationFile_read(FILE* file, QUORVEL_APP_SETTINGS& settings,
                            bool (*readOther)(const char* line));

#endif
