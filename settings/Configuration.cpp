#include "Configuration.h"

#include "BackgroundSave.h"
#include "ConfigurationFile.h"
#include "Files.h"
#include "InstrumentFiles.h"
#include "Threads.h"
#include "message.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <pthread.h>
#include <string_view>
#include <sys/stat.h>

namespace {

constexpr mode_t directoryMode = 0777;
constexpr size_t nameSize = 64 + 1;
constexpr size_t textSize = 16384;

constexpr uint32_t minAverageCount = 2;
constexpr uint32_t maxAverageCount = 64;

struct GraphSpan {
    double lowest;
    double highest;
    double gap;
};
constexpr GraphSpan spanInMilliwatts{0.0, 99999999.0, 5.0};
constexpr GraphSpan spanInDbm{-60.0, 80.0, 1.0};

/// Guards the record and its serial lines, for moments only. Valid from the start, and set up again
/// by readConfigFile.
pthread_mutex_t configurationMutex = PTHREAD_MUTEX_INITIALIZER;

QUORVEL_APP_SETTINGS quorvelAppSettings;
ConfigurationSerialLines serialLines{nullptr, nullptr};

/// Guards the file, its name and its text, for as long as the disk takes. Outside the record's.
pthread_mutex_t fileMutex = PTHREAD_MUTEX_INITIALIZER;

char configurationFileName[nameSize] = "";
char configurationFilePath[nameSize] = "";

void createDirectory() {
    if (configurationFilePath[0] != '\0') {
        mkdir(configurationFilePath, directoryMode); // that it exists is no error
    }
}

/// Composes the file's text from the record as it is now. The stream over a fixed buffer is opened
/// once, since auto-ranging saves often. An empty view means that the text could not be composed.
/// fileMutex held.
std::string_view composeText() {
    static char text[textSize];
    static FILE* const stream = fmemopen(text, sizeof text, "w");
    if (stream == nullptr) {
        return {};
    }
    const ScopedLock lock(configurationMutex);
    rewind(stream);
    ConfigurationFile_write(stream, quorvelAppSettings);
    if (serialLines.write != nullptr) {
        serialLines.write(stream);
    }
    const bool complete = fflush(stream) == 0 && ferror(stream) == 0;
    const long length = ftell(stream);
    return complete && length > 0 ? std::string_view(text, static_cast<size_t>(length))
                                  : std::string_view();
}

/// The one writer. fileMutex held: of two texts the older one never comes last.
void replaceFile() {
    const std::string_view text = composeText();
    bool written = !text.empty() && File_replace(configurationFileName, text);
    if (!written && errno == ENOENT) {
        createDirectory();
        written = File_replace(configurationFileName, text);
    }
    if (!written) {
        DIAGNOSTIC("Warning: Unable to open settings file %s for writing.\n\n",
                   configurationFileName);
    }
}

void writeFile() {
    const ScopedLock lock(fileMutex);
    replaceFile();
}

void save(Saving saving) {
    if (saving == Saving::inBackground) {
        BackgroundSave_request(writeFile);
    } else {
        writeFile();
    }
}

void validateGraphSettings(GraphSettings_t& graph) {
    graph.averageCount = std::clamp(graph.averageCount, minAverageCount, maxAverageCount);
    const GraphSpan& span = graph.unit == graphScale_dBm ? spanInDbm : spanInMilliwatts;
    validateRange(graph.minPower, graph.maxPower, span.lowest, span.highest, span.gap);
    validateRange(graph.minLimitLine, graph.maxLimitLine, span.lowest, span.highest, span.gap);
}

void validateAllGraphSettings() {
    for (GraphSettings_t& graph : quorvelAppSettings.graphSettings) {
        validateGraphSettings(graph);
    }
}

template <typename Value> void store(Value& field, const Value& value) {
    const ScopedLock lock(configurationMutex);
    field = value;
}

/// What every setter does.
template <typename Value>
void storeAndWrite(Value& field, const Value& value, Saving saving = Saving::beforeReturn) {
    store(field, value);
    save(saving);
}

template <typename Value> Value copy(const Value& field) {
    const ScopedLock lock(configurationMutex);
    return field;
}

bool isChannelValid(uint32_t channel) {
    return channel < configurationChannelCount;
}

// Each check of a setter's parameter logs its own diagnostic, so that a call with several wrong
// parameters tells all of them.

bool checkChannel(uint32_t channel) {
    if (!isChannelValid(channel)) {
        DIAGNOSTIC("Invalid parameter, channel = %d\n", static_cast<int>(channel));
        return false;
    }
    return true;
}

bool checkDirection(uint32_t direction) {
    if (direction > 1) {
        DIAGNOSTIC("Invalid parameter, direction = %d\n", static_cast<int>(direction));
        return false;
    }
    return true;
}

bool checkScaleIndex(const rfPowerScale& scale) {
    if (scale.scaleIndex > rfPowerScaleMaxIndex) {
        DIAGNOSTIC("Invalid parameter, scale.scaleIndex = %d\n",
                   static_cast<int>(scale.scaleIndex));
        return false;
    }
    return true;
}

bool checkStateIndex(uint32_t stateIndex) {
    if (stateIndex >= configurationStateCount) {
        DIAGNOSTIC("Invalid parameter, stateIndex = %d\n", static_cast<int>(stateIndex));
        return false;
    }
    return true;
}

} // namespace

void configuration_registerSerialLines(ConfigurationSerialLines lines) {
    const ScopedLock lock(configurationMutex);
    serialLines = lines;
}

void setConfigurationFile(const char* name) {
    const ScopedLock lock(fileMutex);
    const bool isNamed = name != nullptr && name[0] != '\0';
    snprintf(configurationFileName, sizeof configurationFileName, "%s",
             isNamed ? name : settingsFileName);
    snprintf(configurationFilePath, sizeof configurationFilePath, "%s", configurationFileName);
    char* lastSlash = strrchr(configurationFilePath, '/');
    *(lastSlash != nullptr ? lastSlash : configurationFilePath) = '\0';
    createDirectory();
}

void readConfigFile() {
    const ScopedLock fileLock(fileMutex);
    pthread_mutex_destroy(&configurationMutex);
    const int error = pthread_mutex_init(&configurationMutex, nullptr);
    if (error != 0) {
        DIAGNOSTIC("Failed to initialize multiple access mutex. pthread_mutex_init failed with "
                   "error = %d\n\n",
                   error);
        configurationMutex = PTHREAD_MUTEX_INITIALIZER;
    }
    File_removeAbandonedSiblings(configurationFileName);
    restoreDefaultSettings();
    FILE* file = fopen(configurationFileName, "re");
    if (file == nullptr) {
        DIAGNOSTIC("Warning: Unable to open settings file %s for reading\n\n",
                   configurationFileName);
        DIAGNOSTIC("Using defaults\n\n");
        replaceFile();
        return;
    }
    {
        const ScopedLock lock(configurationMutex);
        ConfigurationFile_read(file, quorvelAppSettings, serialLines.read);
    }
    fclose(file);
}

void writeConfigFile() {
    writeFile();
}

void writeConfigFileWithValidation() {
    {
        const ScopedLock lock(configurationMutex);
        validateAllGraphSettings();
    }
    writeFile();
}

void restoreDefaultSettings() {
    store(quorvelAppSettings, {});
}

void resetConfigToDefaults() {
    {
        const ScopedLock lock(configurationMutex);
        QUORVEL_APP_SETTINGS defaults;
        defaults.useLegacyRS232Commands = quorvelAppSettings.useLegacyRS232Commands;
        defaults.legacyCommandModeSW = quorvelAppSettings.legacyCommandModeSW;
        quorvelAppSettings = defaults;
    }
    writeFile();
}

bool configuration_waitUntilSaved(uint32_t limit_ms) {
    return BackgroundSave_wait(limit_ms);
}

template <typename Value> Value configuration_get(Value QUORVEL_APP_SETTINGS::*field) {
    return copy(quorvelAppSettings.*field);
}

template <typename Value>
void configuration_set(Value QUORVEL_APP_SETTINGS::*field, const Value& value) {
    storeAndWrite(quorvelAppSettings.*field, value);
}

template bool configuration_get(bool QUORVEL_APP_SETTINGS::*);
template uint32_t configuration_get(uint32_t QUORVEL_APP_SETTINGS::*);
template double configuration_get(double QUORVEL_APP_SETTINGS::*);
template void configuration_set(bool QUORVEL_APP_SETTINGS::*, const bool&);
template void configuration_set(uint32_t QUORVEL_APP_SETTINGS::*, const uint32_t&);
template void configuration_set(double QUORVEL_APP_SETTINGS::*, const double&);

void configuration_setDisplayFowardPower(bool display) {
    configuration_set(&QUORVEL_APP_SETTINGS::displayForwardPower, display);
}

void configuration_setDisplayReflectedPower(bool display) {
    configuration_set(&QUORVEL_APP_SETTINGS::displayReflectedPower, display);
}

void configuration_setPowerUnitsIsdBm(bool isdBm) {
    configuration_set(&QUORVEL_APP_SETTINGS::powerUnitsIsdBm, isdBm);
}

void configuration_setDisplayMatch(bool display) {
    configuration_set(&QUORVEL_APP_SETTINGS::displayVSWR_ReturnLoss_or_ReflCoeff_Value, display);
}

void configuration_setMatchMeasurementType(rfMatchType_t type) {
    configuration_set(&QUORVEL_APP_SETTINGS::matchMeasurementType, type);
}

void configuration_setDisplayGraph(bool display) {
    configuration_set(&QUORVEL_APP_SETTINGS::displayGraph, display);
}

void configuration_setUseLegacy(bool useLegacy) {
    configuration_set(&QUORVEL_APP_SETTINGS::useLegacyRS232Commands, useLegacy);
}

void configuration_setCommandModeSW(bool commandMode) {
    configuration_set(&QUORVEL_APP_SETTINGS::legacyCommandModeSW, commandMode);
}

void configuration_setPulseMode(bool isActive) {
    configuration_set(&QUORVEL_APP_SETTINGS::sensorPulseModeIsActive, isActive);
}

void configuration_setRfPowerScale(rfPowerScale scale, uint32_t channel, uint32_t direction,
                                   Saving saving) {
    const bool channelIsValid = checkChannel(channel);
    const bool directionIsValid = checkDirection(direction);
    const bool indexIsValid = checkScaleIndex(scale);
    if (channelIsValid && directionIsValid && indexIsValid) {
        storeAndWrite(quorvelAppSettings.scale[channel][direction], scale, saving);
    }
}

void configuration_setGatedPowerScale(rfPowerScale scale, uint32_t channel, Saving saving) {
    const bool channelIsValid = checkChannel(channel);
    const bool indexIsValid = checkScaleIndex(scale);
    if (channelIsValid && indexIsValid) {
        storeAndWrite(quorvelAppSettings.gatedPowerScale[channel], scale, saving);
    }
}

void configuration_setStatePowerScale(rfPowerScale scale, uint32_t channel, uint32_t stateIndex,
                                      Saving saving) {
    const bool channelIsValid = checkChannel(channel);
    const bool indexIsValid = checkScaleIndex(scale);
    const bool stateIsValid = checkStateIndex(stateIndex);
    if (channelIsValid && indexIsValid && stateIsValid) {
        storeAndWrite(quorvelAppSettings.pulseStateScale[channel][stateIndex], scale, saving);
    }
}

void configuration_setGraphSettings(const GraphSettings_t& settings, uint32_t channel) {
    if (!isChannelValid(channel)) {
        return;
    }
    {
        const ScopedLock lock(configurationMutex);
        quorvelAppSettings.graphSettings[channel] = settings;
        validateAllGraphSettings();
    }
    writeFile();
}

bool configuration_getDisplayFowardPower() {
    return configuration_get(&QUORVEL_APP_SETTINGS::displayForwardPower);
}

bool configuration_getDisplayReflectedPower() {
    return configuration_get(&QUORVEL_APP_SETTINGS::displayReflectedPower);
}

bool configuration_getPowerUnitsIsdBm() {
    return configuration_get(&QUORVEL_APP_SETTINGS::powerUnitsIsdBm);
}

bool configuration_getDisplayMatch() {
    return configuration_get(&QUORVEL_APP_SETTINGS::displayVSWR_ReturnLoss_or_ReflCoeff_Value);
}

rfMatchType_t configuration_getMatchMeasurementType() {
    return configuration_get(&QUORVEL_APP_SETTINGS::matchMeasurementType);
}

bool configuration_getDisplayGraph() {
    return configuration_get(&QUORVEL_APP_SETTINGS::displayGraph);
}

bool configuration_getUseLegacy() {
    return configuration_get(&QUORVEL_APP_SETTINGS::useLegacyRS232Commands);
}

bool configuration_getCommandModeSW() {
    return configuration_get(&QUORVEL_APP_SETTINGS::legacyCommandModeSW);
}

bool configuration_getPulseMode() {
    return configuration_get(&QUORVEL_APP_SETTINGS::sensorPulseModeIsActive);
}

rfPowerScale configuration_getRfPowerScale(uint32_t channel, uint32_t direction) {
    if (!isChannelValid(channel) || direction > 1) {
        return rfPowerScaleDefault;
    }
    return copy(quorvelAppSettings.scale[channel][direction]);
}

rfPowerScale configuration_getGatedPowerScale(uint32_t channel) {
    if (!isChannelValid(channel)) {
        return rfPowerScaleDefault;
    }
    return copy(quorvelAppSettings.gatedPowerScale[channel]);
}

rfPowerScale configuration_getStatePowerScale(uint32_t channel, uint32_t stateIndex) {
    if (!isChannelValid(channel) || stateIndex >= configurationStateCount) {
        return rfPowerScaleDefault;
    }
    return copy(quorvelAppSettings.pulseStateScale[channel][stateIndex]);
}

GraphSettings_t configuration_getGraphSettings(uint32_t channel) {
    if (!isChannelValid(channel)) {
        return graphSettingsDefault;
    }
    return copy(quorvelAppSettings.graphSettings[channel]);
}

bool configuration_getGraphRflMode(uint32_t channel) {
    return configuration_getGraphSettings(channel).bReflectedMode;
}

QUORVEL_APP_SETTINGS configuration_getQuorvelAppConfiguration() {
    return copy(quorvelAppSettings);
}

void validateRange(double& low, double& high, double lowest, double highest, double gap) {
    if (low > high) {
        std::swap(low, high);
    }
    if (high - low < gap) {
        low = high - gap;
    }
    if (highest <= low) {
        high = highest;
        low = high - gap;
    } else if (highest < high) {
        high = highest;
        if (high - low < gap) {
            low = high - gap;
        }
    }
    if (lowest > high) {
        low = lowest;
        high = low + gap;
    } else if (lowest > low) {
        low = lowest;
        if (high - low < gap) {
            high = low + gap;
        }
    }
}
