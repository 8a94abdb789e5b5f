#ifndef SETTINGS_SETTINGS_TABLE_H
#define SETTINGS_SETTINGS_TABLE_H

#include <array>
#include <cstddef>
#include <cstdint>

/// What the settings are: the record with its defaults, and the line of the settings file that
/// holds each field. Channels are 0 and 1 in the record and 1 and 2 in the file.

constexpr unsigned configurationChannelCount = 2;
constexpr unsigned configurationStateCount = 4;
constexpr uint32_t rfPowerScaleMaxIndex = 10;

enum rfMatchType_t : int { rfMatch_VSWR = 0, rfMatch_RL = 1, rfMatch_RflCoeff = 2 };
enum GraphScaleUnit_t : int { graphScale_mW = 0, graphScale_dBm = 1 };
enum TimeGraphMode : int { graphModeRaw = 0, graphModeAverage = 1 };

/// Range of one displayed power: chosen automatically or by hand, an index into the range table.
struct rfPowerScale {
    bool autoScale;
    uint32_t scaleIndex; ///< 0 to 10
};
constexpr rfPowerScale rfPowerScaleDefault{true, 7};

/// Graph of one channel. Powers are in `unit`: milliwatts or dBm.
struct GraphSettings_t {
    double maxPower;
    double minPower;
    double maxLimitLine;
    double minLimitLine;
    GraphScaleUnit_t unit;
    uint32_t averageCount; ///< 2 to 64
    bool bReflectedMode;   ///< plots reflected instead of forward power
    TimeGraphMode displayMode;
};
constexpr GraphSettings_t graphSettingsDefault{10000000.0,    3000.0, 10000000.0, 3000.0,
                                               graphScale_mW, 64,     false,      graphModeRaw};

/// The record, as a new instrument has it.
struct QUORVEL_APP_SETTINGS {
    bool displayForwardPower = true;
    bool displayReflectedPower = true;
    bool powerUnitsIsdBm = false;
    bool displayVSWR_ReturnLoss_or_ReflCoeff_Value = true;
    rfMatchType_t matchMeasurementType = rfMatch_VSWR;
    bool displayGraph = false;
    GraphSettings_t graphSettings[configurationChannelCount] = {graphSettingsDefault,
                                                                graphSettingsDefault};
    /// [channel][0 forward, 1 reflected]
    rfPowerScale scale[configurationChannelCount][2] = {{rfPowerScaleDefault, rfPowerScaleDefault},
                                                        {rfPowerScaleDefault, rfPowerScaleDefault}};
    rfPowerScale gatedPowerScale[configurationChannelCount] = {rfPowerScaleDefault,
                                                               rfPowerScaleDefault};
    rfPowerScale pulseStateScale[configurationChannelCount][configurationStateCount] = {
        {rfPowerScaleDefault, rfPowerScaleDefault, rfPowerScaleDefault, rfPowerScaleDefault},
        {rfPowerScaleDefault, rfPowerScaleDefault, rfPowerScaleDefault, rfPowerScaleDefault}};
    bool useLegacyRS232Commands = false;
    bool legacyCommandModeSW = false;
    bool sensorPulseModeIsActive = false;
};

enum class ConfigurationField : int { flag, integer, decimal };

/// What becomes of a value that is read.
enum class ConfigurationRule : int {
    asRead,     ///< stored; a decimal number that is not finite becomes the fallback
    clamped,    ///< brought into lowest to highest
    fallback,   ///< outside lowest to highest it becomes the fallback
    notRestored ///< recognised, but not stored
};

/// A line of the file: the key, and the field whose value it holds.
struct ConfigurationSetting {
    const char* key;
    ConfigurationField type;
    size_t offset; ///< of the field in QUORVEL_APP_SETTINGS
    ConfigurationRule rule;
    int lowest;
    int highest;
    double fallback;
};

// The kinds of rows, each for a key and its field. All fields but the flags and the decimals are
// read and written through an int.
static_assert(sizeof(rfMatchType_t) == sizeof(int) && sizeof(GraphScaleUnit_t) == sizeof(int) &&
              sizeof(TimeGraphMode) == sizeof(int) && sizeof(uint32_t) == sizeof(int));

constexpr ConfigurationSetting Setting_flag(const char* key, size_t offset) {
    return {key, ConfigurationField::flag, offset, ConfigurationRule::asRead, 0, 0, 0.0};
}

constexpr ConfigurationSetting Setting_unchecked(const char* key, size_t offset) {
    return {key, ConfigurationField::integer, offset, ConfigurationRule::asRead, 0, 0, 0.0};
}

constexpr ConfigurationSetting Setting_unit(const char* key, size_t offset) {
    return {key,
            ConfigurationField::integer,
            offset,
            ConfigurationRule::clamped,
            graphScale_mW,
            graphScale_dBm,
            0.0};
}

/// `fallback` is the field's default.
constexpr ConfigurationSetting Setting_limit(const char* key, size_t offset, double fallback) {
    return {key, ConfigurationField::decimal, offset, ConfigurationRule::asRead, 0, 0, fallback};
}

constexpr ConfigurationSetting Setting_scaleIndex(const char* key, size_t offset) {
    return {key,
            ConfigurationField::integer,
            offset,
            ConfigurationRule::fallback,
            0,
            rfPowerScaleMaxIndex,
            rfPowerScaleDefault.scaleIndex};
}

/// The pulse states' scales are written, but every start begins with the defaults: instruments
/// in use carry such lines (docs/compatibility.md: state-scales).
constexpr ConfigurationSetting Setting_notRestored(ConfigurationSetting setting) {
    setting.rule = ConfigurationRule::notRestored;
    return setting;
}

// clang-format off
/// Every line, in the order in which the file holds them.
inline constexpr std::array settingsTable = {
    Setting_flag("displayForwardPower", offsetof(QUORVEL_APP_SETTINGS, displayForwardPower)),
    Setting_flag("displayReflectedPower", offsetof(QUORVEL_APP_SETTINGS, displayReflectedPower)),
    Setting_flag("powerUnitsIsdBm", offsetof(QUORVEL_APP_SETTINGS, powerUnitsIsdBm)),
    Setting_flag("displayVSWR_ReturnLoss_or_ReflCoeff_Value", offsetof(QUORVEL_APP_SETTINGS, displayVSWR_ReturnLoss_or_ReflCoeff_Value)),
    Setting_unchecked("matchMeasurementType", offsetof(QUORVEL_APP_SETTINGS, matchMeasurementType)),
    Setting_flag("displayGraph", offsetof(QUORVEL_APP_SETTINGS, displayGraph)),

    Setting_flag("graphReflectedMode_ch1", offsetof(QUORVEL_APP_SETTINGS, graphSettings[0].bReflectedMode)),
    Setting_unchecked("graphDisplayMode_ch1", offsetof(QUORVEL_APP_SETTINGS, graphSettings[0].displayMode)),
    Setting_unchecked("graphAverageCount_ch1", offsetof(QUORVEL_APP_SETTINGS, graphSettings[0].averageCount)),
    Setting_limit("graphDisplayMinPower_ch1", offsetof(QUORVEL_APP_SETTINGS, graphSettings[0].minPower), graphSettingsDefault.minPower),
    Setting_limit("graphDisplayMaxPower_ch1", offsetof(QUORVEL_APP_SETTINGS, graphSettings[0].maxPower), graphSettingsDefault.maxPower),
    Setting_limit("limitLineMin_ch1", offsetof(QUORVEL_APP_SETTINGS, graphSettings[0].minLimitLine), graphSettingsDefault.minLimitLine),
    Setting_limit("limitLineMax_ch1", offsetof(QUORVEL_APP_SETTINGS, graphSettings[0].maxLimitLine), graphSettingsDefault.maxLimitLine),
    Setting_unit("unit_ch1", offsetof(QUORVEL_APP_SETTINGS, graphSettings[0].unit)),
    Setting_flag("graphReflectedMode_ch2", offsetof(QUORVEL_APP_SETTINGS, graphSettings[1].bReflectedMode)),
    Setting_unchecked("graphDisplayMode_ch2", offsetof(QUORVEL_APP_SETTINGS, graphSettings[1].displayMode)),
    Setting_unchecked("graphAverageCount_ch2", offsetof(QUORVEL_APP_SETTINGS, graphSettings[1].averageCount)),
    Setting_limit("graphDisplayMinPower_ch2", offsetof(QUORVEL_APP_SETTINGS, graphSettings[1].minPower), graphSettingsDefault.minPower),
    Setting_limit("graphDisplayMaxPower_ch2", offsetof(QUORVEL_APP_SETTINGS, graphSettings[1].maxPower), graphSettingsDefault.maxPower),
    Setting_limit("limitLineMin_ch2", offsetof(QUORVEL_APP_SETTINGS, graphSettings[1].minLimitLine), graphSettingsDefault.minLimitLine),
    Setting_limit("limitLineMax_ch2", offsetof(QUORVEL_APP_SETTINGS, graphSettings[1].maxLimitLine), graphSettingsDefault.maxLimitLine),
    Setting_unit("unit_ch2", offsetof(QUORVEL_APP_SETTINGS, graphSettings[1].unit)),

    Setting_flag("scale_ch1_fwd_autoScale", offsetof(QUORVEL_APP_SETTINGS, scale[0][0].autoScale)),
    Setting_scaleIndex("scale_ch1_fwd_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, scale[0][0].scaleIndex)),
    Setting_flag("scale_ch1_rfl_autoScale", offsetof(QUORVEL_APP_SETTINGS, scale[0][1].autoScale)),
    Setting_scaleIndex("scale_ch1_rfl_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, scale[0][1].scaleIndex)),
    Setting_flag("scale_ch1_gatedPower_autoScale", offsetof(QUORVEL_APP_SETTINGS, gatedPowerScale[0].autoScale)),
    Setting_scaleIndex("scale_ch1_gatedPower_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, gatedPowerScale[0].scaleIndex)),
    Setting_flag("scale_ch2_fwd_autoScale", offsetof(QUORVEL_APP_SETTINGS, scale[1][0].autoScale)),
    Setting_scaleIndex("scale_ch2_fwd_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, scale[1][0].scaleIndex)),
    Setting_flag("scale_ch2_rfl_autoScale", offsetof(QUORVEL_APP_SETTINGS, scale[1][1].autoScale)),
    Setting_scaleIndex("scale_ch2_rfl_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, scale[1][1].scaleIndex)),
    Setting_flag("scale_ch2_gatedPower_autoScale", offsetof(QUORVEL_APP_SETTINGS, gatedPowerScale[1].autoScale)),
    Setting_scaleIndex("scale_ch2_gatedPower_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, gatedPowerScale[1].scaleIndex)),

    Setting_notRestored(Setting_flag("state_scale_ch1_0_autoScale", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[0][0].autoScale))),
    Setting_notRestored(Setting_scaleIndex("state_scale_ch1_0_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[0][0].scaleIndex))),
    Setting_notRestored(Setting_flag("state_scale_ch1_1_autoScale", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[0][1].autoScale))),
    Setting_notRestored(Setting_scaleIndex("state_scale_ch1_1_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[0][1].scaleIndex))),
    Setting_notRestored(Setting_flag("state_scale_ch1_2_autoScale", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[0][2].autoScale))),
    Setting_notRestored(Setting_scaleIndex("state_scale_ch1_2_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[0][2].scaleIndex))),
    Setting_notRestored(Setting_flag("state_scale_ch1_3_autoScale", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[0][3].autoScale))),
    Setting_notRestored(Setting_scaleIndex("state_scale_ch1_3_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[0][3].scaleIndex))),
    Setting_notRestored(Setting_flag("state_scale_ch2_0_autoScale", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[1][0].autoScale))),
    Setting_notRestored(Setting_scaleIndex("state_scale_ch2_0_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[1][0].scaleIndex))),
    Setting_notRestored(Setting_flag("state_scale_ch2_1_autoScale", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[1][1].autoScale))),
    Setting_notRestored(Setting_scaleIndex("state_scale_ch2_1_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[1][1].scaleIndex))),
    Setting_notRestored(Setting_flag("state_scale_ch2_2_autoScale", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[1][2].autoScale))),
    Setting_notRestored(Setting_scaleIndex("state_scale_ch2_2_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[1][2].scaleIndex))),
    Setting_notRestored(Setting_flag("state_scale_ch2_3_autoScale", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[1][3].autoScale))),
    Setting_notRestored(Setting_scaleIndex("state_scale_ch2_3_scaleIndex", offsetof(QUORVEL_APP_SETTINGS, pulseStateScale[1][3].scaleIndex))),

    Setting_flag("useLegacyRS232Commands", offsetof(QUORVEL_APP_SETTINGS, useLegacyRS232Commands)),
    Setting_flag("legacyCommandModeSW", offsetof(QUORVEL_APP_SETTINGS, legacyCommandModeSW)),
    Setting_flag("sensorPulseMode", offsetof(QUORVEL_APP_SETTINGS, sensorPulseModeIsActive)),
};
// clang-format on

#endif
