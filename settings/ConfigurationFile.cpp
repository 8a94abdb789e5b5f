#include "ConfigurationFile.h"

#include "Numbers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

using Record = QUORVEL_APP_SETTINGS;

constexpr int longestLine = 63; // what the reader takes in one piece, without its terminator
constexpr const char* wordSeparators = " \n\r";

constexpr rfPowerScale defaultScale{true, 7};
constexpr GraphSettings_t defaultGraph{10000000.0,    3000.0, 10000000.0, 3000.0,
                                       graphScale_mW, 64,     false,      graphModeRaw};

constexpr Record defaultSettings{
    .displayForwardPower = true,
    .displayReflectedPower = true,
    .powerUnitsIsdBm = false,
    .displayVSWR_ReturnLoss_or_ReflCoeff_Value = true,
    .matchMeasurementType = rfMatch_VSWR,
    .displayGraph = false,
    .graphSettings = {defaultGraph, defaultGraph},
    .scale = {{defaultScale, defaultScale}, {defaultScale, defaultScale}},
    .gatedPowerScale = {defaultScale, defaultScale},
    .pulseStateScale = {{defaultScale, defaultScale, defaultScale, defaultScale},
                        {defaultScale, defaultScale, defaultScale, defaultScale}},
    .useLegacyRS232Commands = false,
    .legacyCommandModeSW = false,
    .sensorPulseModeIsActive = false,
};

// All fields but the flags and the decimals are read and written through an int.
static_assert(sizeof(rfMatchType_t) == sizeof(int) && sizeof(GraphScaleUnit_t) == sizeof(int) &&
              sizeof(TimeGraphMode) == sizeof(int) && sizeof(uint32_t) == sizeof(int));

constexpr ConfigurationSetting flag(const char* key, size_t offset) {
    return {key, ConfigurationField::flag, offset, ConfigurationRule::asRead, 0, 0, 0.0};
}

constexpr ConfigurationSetting unchecked(const char* key, size_t offset) {
    return {key, ConfigurationField::integer, offset, ConfigurationRule::asRead, 0, 0, 0.0};
}

constexpr ConfigurationSetting unit(const char* key, size_t offset) {
    return {key,
            ConfigurationField::integer,
            offset,
            ConfigurationRule::clamped,
            graphScale_mW,
            graphScale_dBm,
            0.0};
}

constexpr ConfigurationSetting limit(const char* key, size_t offset, double fallback) {
    return {key, ConfigurationField::decimal, offset, ConfigurationRule::asRead, 0, 0, fallback};
}

constexpr ConfigurationSetting index(const char* key, size_t offset) {
    return {key,
            ConfigurationField::integer,
            offset,
            ConfigurationRule::fallback,
            0,
            rfPowerScaleMaxIndex,
            defaultScale.scaleIndex};
}

/// The pulse states' scales are written, but every start begins with the defaults. That is how the
/// instrument has always behaved, and it is kept.
constexpr ConfigurationSetting notRestored(ConfigurationSetting setting) {
    setting.rule = ConfigurationRule::notRestored;
    return setting;
}

// clang-format off
constexpr std::array settingsTable = {
    flag("displayForwardPower", offsetof(Record, displayForwardPower)),
    flag("displayReflectedPower", offsetof(Record, displayReflectedPower)),
    flag("powerUnitsIsdBm", offsetof(Record, powerUnitsIsdBm)),
    flag("displayVSWR_ReturnLoss_or_ReflCoeff_Value", offsetof(Record, displayVSWR_ReturnLoss_or_ReflCoeff_Value)),
    unchecked("matchMeasurementType", offsetof(Record, matchMeasurementType)),
    flag("displayGraph", offsetof(Record, displayGraph)),

    flag("graphReflectedMode_ch1", offsetof(Record, graphSettings[0].bReflectedMode)),
    unchecked("graphDisplayMode_ch1", offsetof(Record, graphSettings[0].displayMode)),
    unchecked("graphAverageCount_ch1", offsetof(Record, graphSettings[0].averageCount)),
    limit("graphDisplayMinPower_ch1", offsetof(Record, graphSettings[0].minPower), defaultGraph.minPower),
    limit("graphDisplayMaxPower_ch1", offsetof(Record, graphSettings[0].maxPower), defaultGraph.maxPower),
    limit("limitLineMin_ch1", offsetof(Record, graphSettings[0].minLimitLine), defaultGraph.minLimitLine),
    limit("limitLineMax_ch1", offsetof(Record, graphSettings[0].maxLimitLine), defaultGraph.maxLimitLine),
    unit("unit_ch1", offsetof(Record, graphSettings[0].unit)),
    flag("graphReflectedMode_ch2", offsetof(Record, graphSettings[1].bReflectedMode)),
    unchecked("graphDisplayMode_ch2", offsetof(Record, graphSettings[1].displayMode)),
    unchecked("graphAverageCount_ch2", offsetof(Record, graphSettings[1].averageCount)),
    limit("graphDisplayMinPower_ch2", offsetof(Record, graphSettings[1].minPower), defaultGraph.minPower),
    limit("graphDisplayMaxPower_ch2", offsetof(Record, graphSettings[1].maxPower), defaultGraph.maxPower),
    limit("limitLineMin_ch2", offsetof(Record, graphSettings[1].minLimitLine), defaultGraph.minLimitLine),
    limit("limitLineMax_ch2", offsetof(Record, graphSettings[1].maxLimitLine), defaultGraph.maxLimitLine),
    unit("unit_ch2", offsetof(Record, graphSettings[1].unit)),

    flag("scale_ch1_fwd_autoScale", offsetof(Record, scale[0][0].autoScale)),
    index("scale_ch1_fwd_scaleIndex", offsetof(Record, scale[0][0].scaleIndex)),
    flag("scale_ch1_rfl_autoScale", offsetof(Record, scale[0][1].autoScale)),
    index("scale_ch1_rfl_scaleIndex", offsetof(Record, scale[0][1].scaleIndex)),
    flag("scale_ch1_gatedPower_autoScale", offsetof(Record, gatedPowerScale[0].autoScale)),
    index("scale_ch1_gatedPower_scaleIndex", offsetof(Record, gatedPowerScale[0].scaleIndex)),
    flag("scale_ch2_fwd_autoScale", offsetof(Record, scale[1][0].autoScale)),
    index("scale_ch2_fwd_scaleIndex", offsetof(Record, scale[1][0].scaleIndex)),
    flag("scale_ch2_rfl_autoScale", offsetof(Record, scale[1][1].autoScale)),
    index("scale_ch2_rfl_scaleIndex", offsetof(Record, scale[1][1].scaleIndex)),
    flag("scale_ch2_gatedPower_autoScale", offsetof(Record, gatedPowerScale[1].autoScale)),
    index("scale_ch2_gatedPower_scaleIndex", offsetof(Record, gatedPowerScale[1].scaleIndex)),

    notRestored(flag("state_scale_ch1_0_autoScale", offsetof(Record, pulseStateScale[0][0].autoScale))),
    notRestored(index("state_scale_ch1_0_scaleIndex", offsetof(Record, pulseStateScale[0][0].scaleIndex))),
    notRestored(flag("state_scale_ch1_1_autoScale", offsetof(Record, pulseStateScale[0][1].autoScale))),
    notRestored(index("state_scale_ch1_1_scaleIndex", offsetof(Record, pulseStateScale[0][1].scaleIndex))),
    notRestored(flag("state_scale_ch1_2_autoScale", offsetof(Record, pulseStateScale[0][2].autoScale))),
    notRestored(index("state_scale_ch1_2_scaleIndex", offsetof(Record, pulseStateScale[0][2].scaleIndex))),
    notRestored(flag("state_scale_ch1_3_autoScale", offsetof(Record, pulseStateScale[0][3].autoScale))),
    notRestored(index("state_scale_ch1_3_scaleIndex", offsetof(Record, pulseStateScale[0][3].scaleIndex))),
    notRestored(flag("state_scale_ch2_0_autoScale", offsetof(Record, pulseStateScale[1][0].autoScale))),
    notRestored(index("state_scale_ch2_0_scaleIndex", offsetof(Record, pulseStateScale[1][0].scaleIndex))),
    notRestored(flag("state_scale_ch2_1_autoScale", offsetof(Record, pulseStateScale[1][1].autoScale))),
    notRestored(index("state_scale_ch2_1_scaleIndex", offsetof(Record, pulseStateScale[1][1].scaleIndex))),
    notRestored(flag("state_scale_ch2_2_autoScale", offsetof(Record, pulseStateScale[1][2].autoScale))),
    notRestored(index("state_scale_ch2_2_scaleIndex", offsetof(Record, pulseStateScale[1][2].scaleIndex))),
    notRestored(flag("state_scale_ch2_3_autoScale", offsetof(Record, pulseStateScale[1][3].autoScale))),
    notRestored(index("state_scale_ch2_3_scaleIndex", offsetof(Record, pulseStateScale[1][3].scaleIndex))),

    flag("useLegacyRS232Commands", offsetof(Record, useLegacyRS232Commands)),
    flag("legacyCommandModeSW", offsetof(Record, legacyCommandModeSW)),
    flag("sensorPulseMode", offsetof(Record, sensorPulseModeIsActive)),
};
// clang-format on

/// An older key, no longer written: its value is the display mode of both channels.
constexpr const char* legacyDisplayModeKey = "displayGraphRadioButtonActive";

template <typename Value>
Value loadField(const Record& settings, const ConfigurationSetting& setting) {
    Value value;
    memcpy(&value, reinterpret_cast<const char*>(&settings) + setting.offset, sizeof value);
    return value;
}

template <typename Value>
void storeField(Record& settings, const ConfigurationSetting& setting, Value value) {
    memcpy(reinterpret_cast<char*>(&settings) + setting.offset, &value, sizeof value);
}

bool startsWith(const char* line, const char* key) {
    return strncmp(line, key, strlen(key)) == 0;
}

/// The key's own length is compared, whatever follows; only behind a channel number must no further
/// digit stand, since that would be another channel.
bool lineHasKey(const char* line, const char* key) {
    if (!startsWith(line, key)) {
        return false;
    }
    const size_t length = strlen(key);
    const bool endsInChannel = isdigit(static_cast<unsigned char>(key[length - 1])) != 0;
    return !endsInChannel || isdigit(static_cast<unsigned char>(line[length])) == 0;
}

int checkedInteger(const ConfigurationSetting& setting, int value) {
    switch (setting.rule) {
    case ConfigurationRule::clamped:
        return std::clamp(value, setting.lowest, setting.highest);
    case ConfigurationRule::fallback:
        return value < setting.lowest || value > setting.highest
                   ? static_cast<int>(setting.fallback)
                   : value;
    case ConfigurationRule::asRead:
    case ConfigurationRule::notRestored:
        break;
    }
    return value;
}

void readValue(const ConfigurationSetting& setting, const char* text, Record& settings) {
    if (setting.rule == ConfigurationRule::notRestored) {
        return;
    }
    switch (setting.type) {
    case ConfigurationField::flag:
        storeField(settings, setting, Numbers_toInt(text) != 0);
        break;
    case ConfigurationField::integer:
        storeField(settings, setting, checkedInteger(setting, Numbers_toInt(text)));
        break;
    case ConfigurationField::decimal: {
        const double value = Numbers_toDouble(text, nullptr);
        storeField(settings, setting, std::isfinite(value) ? value : setting.fallback);
        break;
    }
    }
}

bool readLegacyLine(const char* line, Record& settings) {
    if (!startsWith(line, legacyDisplayModeKey)) {
        return false;
    }
    const auto mode =
        static_cast<TimeGraphMode>(Numbers_toInt(line + strlen(legacyDisplayModeKey) + 1));
    for (GraphSettings_t& graph : settings.graphSettings) {
        graph.displayMode = mode;
    }
    return true;
}

/// Takes a line that has been cut at its first blank; the value starts one character behind the
/// key. False when no key matches.
bool readLine(const char* line, Record& settings) {
    // Before the table, whose "displayGraph" would match it too.
    if (readLegacyLine(line, settings)) {
        return true;
    }
    for (const ConfigurationSetting& setting : settingsTable) {
        if (lineHasKey(line, setting.key)) {
            readValue(setting, line + strlen(setting.key) + 1, settings);
            return true;
        }
    }
    return false;
}

} // namespace

std::span<const ConfigurationSetting> ConfigurationFile_settings() {
    return settingsTable;
}

QUORVEL_APP_SETTINGS ConfigurationFile_defaults() {
    return defaultSettings;
}

void ConfigurationFile_write(FILE* file, const QUORVEL_APP_SETTINGS& settings) {
    const ScopedNumberLocale locale;
    for (const ConfigurationSetting& setting : settingsTable) {
        switch (setting.type) {
        case ConfigurationField::flag:
            fprintf(file, "%s %d\n", setting.key, loadField<bool>(settings, setting) ? 1 : 0);
            break;
        case ConfigurationField::integer:
            fprintf(file, "%s %d\n", setting.key, loadField<int>(settings, setting));
            break;
        case ConfigurationField::decimal:
            fprintf(file, "%s %f\n", setting.key, loadField<double>(settings, setting));
            break;
        }
    }
}

void ConfigurationFile_read(FILE* file, QUORVEL_APP_SETTINGS& settings,
                            bool (*readOther)(const char* line)) {
    // The buffer holds zeroes behind each line, because a key without a value is followed by its
    // terminator only.
    char line[longestLine + 3] = "";
    while (fgets(line, longestLine + 1, file) != nullptr) {
        // A line that begins with a blank is empty once it has been cut at its first blank.
        const bool isEmpty = line[0] == ' ' || strtok(line, wordSeparators) == nullptr;
        if (!isEmpty && !readLine(line, settings) && readOther != nullptr) {
            readOther(line);
        }
        memset(line, 0, sizeof line);
    }
}
