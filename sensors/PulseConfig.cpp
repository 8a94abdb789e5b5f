#include "PulseConfig.h"

#include "Files.h"
#include "InstrumentFiles.h"
#include "PulseConfigText.h"
#include "message.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t pathSize = 65;
constexpr size_t largestFile = 65536;
constexpr mode_t directoryMode = 0777;

std::array<char, pathSize> pulseConfigFileName;
std::array<char, pathSize> pulseConfigFilePath;

SENSOR_CONFIGS defaultConfigs() {
    SENSOR_CONFIGS configs{};
    configs.bAutoFrequency = true;
    configs.bAutoPeriod = true;
    configs.bAutoTriggerLevel = true;
    configs.trigSlope = 1;
    return configs;
}

void createDirectory() {
    if (pulseConfigFilePath[0] != '\0') {
        mkdir(pulseConfigFilePath.data(), directoryMode);
    }
}

} // namespace

void sensorPortHandler_setPulseConfigFile(const char* path) {
    const bool isGiven = path != nullptr && path[0] != '\0';
    snprintf(pulseConfigFileName.data(), pathSize, "%s", isGiven ? path : pulseSensorFileName);
    pulseConfigFilePath = pulseConfigFileName;
    char* slash = strrchr(pulseConfigFilePath.data(), '/');
    *(slash != nullptr ? slash : pulseConfigFilePath.data()) = '\0';
    createDirectory();
    File_removeAbandonedSiblings(pulseConfigFileName.data());
}

void getPulseSensorConfig(SENSOR_CONFIGS* configs) {
    errno = 0;
    const auto text = File_readWhole(pulseConfigFileName.data(), largestFile);
    const auto read = text.has_value() ? PulseConfigText_parse(*text) : std::nullopt;
    if (!read.has_value()) {
        DIAGNOSTIC("Error: Attempt to read the pulse sensor configuration file (%s) failed with "
                   "errno = %d (%s).\n",
                   pulseConfigFileName.data(), errno, strerror(errno));
    }
    *configs = read.value_or(defaultConfigs());
}

void setPulseSensorConfig(const SENSOR_CONFIGS* configs) {
    const std::string text = PulseConfigText_compose(*configs);
    createDirectory();
    if (text.empty() || !File_replace(pulseConfigFileName.data(), text)) {
        const int error = text.empty() ? EINVAL : errno; // a value such as NaN has no spelling
        DIAGNOSTIC("Error: Attempt to write the pulse sensor configuration file (%s) failed with "
                   "errno = %d (%s).\n",
                   pulseConfigFileName.data(), error, strerror(error));
    }
}

void sensorPortHandler_loadSensorConfig(SENSOR_CONFIGS* configs) {
    SENSOR_CONFIGS loaded = defaultConfigs();
    if (access(pulseConfigFileName.data(), F_OK) == 0) {
        getPulseSensorConfig(&loaded);
    } else {
        DIAGNOSTIC("Error: Attempt to access pulse sensor configuration file %s failed with error "
                   "%d (%s).\n",
                   pulseConfigFileName.data(), errno, strerror(errno));
        setPulseSensorConfig(&loaded);
    }
    SensorConfigs_takeCapabilities(&loaded, *configs);
    *configs = loaded;
}

void sensorPortHandler_saveSensorConfig(const SENSOR_CONFIGS* configs) {
    setPulseSensorConfig(configs);
}

void sensorPortHandler_presetSensorConfig() {
    const SENSOR_CONFIGS configs = defaultConfigs();
    setPulseSensorConfig(&configs);
}
