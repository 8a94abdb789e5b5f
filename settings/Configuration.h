#ifndef SETTINGS_CONFIGURATION_H
#define SETTINGS_CONFIGURATION_H

#include "SettingsTable.h"

#include <cstdint>
#include <cstdio>

/// The application's settings: one record, one mutex, one text file that is rewritten whole after
/// every change. SettingsTable.h lists them. Channels are 0 and 1 here and 1 and 2 in the file.
///
/// The mutex is held for moments only: who gets a setting never waits for the disk. The file is
/// written with what the record holds when the writing begins, by one thread at a time.

/// When a setter's value is in the file.
enum class Saving : int {
    beforeReturn, ///< when the setter returns; unless it cannot be written
    inBackground, ///< soon: a thread of its own writes it, for gtkThread, which must not wait
};

/// The command port's serial lines stand in the same file but belong to a higher floor, which
/// registers how they are written and read, before readConfigFile.
struct ConfigurationSerialLines {
    void (*write)(FILE* file);      ///< appends the lines
    bool (*read)(const char* line); ///< takes the rest of the line that strtok has begun
};
void configuration_registerSerialLines(ConfigurationSerialLines lines);

/// Remembers the file's name (at most 64 characters; null or empty selects the standard one) and
/// creates its directory. Main thread, before readConfigFile.
void setConfigurationFile(const char* name);

/// Reads the file over the defaults; a file that cannot be read is written from the defaults.
/// Main thread, once, before any other thread exists.
void readConfigFile();

/// Writes the whole file. If it cannot be written, the diagnostic is logged, the
/// record stands and the old file stays whole. Any thread.
void writeConfigFile();

/// Brings the graph settings into their ranges, then writes the file. Any thread.
void writeConfigFileWithValidation();

/// Puts the defaults into the record; writes nothing. Any thread.
void restoreDefaultSettings();

/// Defaults for all but the remote-control mode flags, and writes the file. Any thread.
void resetConfigToDefaults();

/// One field of the record, for settings without functions of their own: a copy under the mutex;
/// and stored under it, with the file rewritten. Flags, whole numbers and decimals. Any thread.
template <typename Value> Value configuration_get(Value QUORVEL_APP_SETTINGS::*field);
template <typename Value>
void configuration_set(Value QUORVEL_APP_SETTINGS::*field, const Value& value);

/// The setters store under the mutex and rewrite the file. Any thread.
void configuration_setDisplayFowardPower(bool display);
void configuration_setDisplayReflectedPower(bool display);
void configuration_setPowerUnitsIsdBm(bool isdBm);
void configuration_setDisplayMatch(bool display);
void configuration_setMatchMeasurementType(rfMatchType_t type);
void configuration_setDisplayGraph(bool display);
void configuration_setUseLegacy(bool useLegacy);
void configuration_setCommandModeSW(bool commandMode);
void configuration_setPulseMode(bool isActive);

/// Scales of a channel or direction above 1, an index above 10 or a state above 3 are refused:
/// every applicable diagnostic is logged and nothing changes.
void configuration_setRfPowerScale(rfPowerScale scale, uint32_t channel, uint32_t direction,
                                   Saving saving = Saving::beforeReturn);
void configuration_setGatedPowerScale(rfPowerScale scale, uint32_t channel,
                                      Saving saving = Saving::beforeReturn);
void configuration_setStatePowerScale(rfPowerScale scale, uint32_t channel, uint32_t stateIndex,
                                      Saving saving = Saving::beforeReturn);

/// Stores one channel's graph settings, validated; a channel above 1 is ignored.
void configuration_setGraphSettings(const GraphSettings_t& settings, uint32_t channel);

/// Waits until what is saved in the background is in the file, or could not be written, at most
/// `limit_ms`; false beyond. Any thread.
bool configuration_waitUntilSaved(uint32_t limit_ms);

/// The getters copy under the mutex. A channel, direction or state outside its range gives the
/// default value. Any thread.
bool configuration_getDisplayFowardPower();
bool configuration_getDisplayReflectedPower();
bool configuration_getPowerUnitsIsdBm();
bool configuration_getDisplayMatch();
rfMatchType_t configuration_getMatchMeasurementType();
bool configuration_getDisplayGraph();
bool configuration_getUseLegacy();
bool configuration_getCommandModeSW();
bool configuration_getPulseMode();
rfPowerScale configuration_getRfPowerScale(uint32_t channel, uint32_t direction);
rfPowerScale configuration_getGatedPowerScale(uint32_t channel);
rfPowerScale configuration_getStatePowerScale(uint32_t channel, uint32_t stateIndex);
GraphSettings_t configuration_getGraphSettings(uint32_t channel);
bool configuration_getGraphRflMode(uint32_t channel);
QUORVEL_APP_SETTINGS configuration_getQuorvelAppConfiguration();

/// Brings (low, high) into [lowest, highest] with at least `gap` between them.
void validateRange(double& low, double& high, double lowest, double highest, double gap);

#endif
