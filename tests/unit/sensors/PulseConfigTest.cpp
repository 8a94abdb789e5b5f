#include "PulseConfig.h"

#include "Leftovers.h"
#include "PulseConfigText.h"
#include "World.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

constexpr char file[] = "/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf";

constexpr char defaultText[] = R"({
    "name": "Default",
    "autoFrequency": 1,
    "freqValue": 0,
    "autoPeriod": 1,
    "periodValue": 0,
    "autoTriggerLevel": 1,
    "triggerLevelValue": 0,
    "triggerLevelDelay": 0,
    "triggerSlope": 1,
    "signalModel": 0,
    "numStates": 0,
    "state1": {
        "enabled": 0,
        "begin": 0,
        "end": 0
    },
    "state2": {
        "enabled": 0,
        "begin": 0,
        "end": 0
    },
    "state3": {
        "enabled": 0,
        "begin": 0,
        "end": 0
    },
    "state4": {
        "enabled": 0,
        "begin": 0,
        "end": 0
    },
    "gateBegin": 0,
    "gateEnd": 0
})";

class PulseConfig : public testing::Test {
protected:
    PulseConfig() {
        World_removeFile(file);
        World_clearSyslog();
        sensorPortHandler_setPulseConfigFile("");
    }
    static SENSOR_CONFIGS read(const std::string& text) {
        World_writeFile(file, text);
        SENSOR_CONFIGS configs{};
        getPulseSensorConfig(&configs);
        return configs;
    }
    static void expectDefaults(const SENSOR_CONFIGS& configs) {
        EXPECT_TRUE(configs.bAutoFrequency);
        EXPECT_TRUE(configs.bAutoPeriod);
        EXPECT_TRUE(configs.bAutoTriggerLevel);
        EXPECT_EQ(configs.trigSlope, 1);
        EXPECT_EQ(configs.freqVal, 0.0F);
        EXPECT_EQ(configs.numStates, 0);
        EXPECT_FALSE(configs.pulseStates[0].bEnabled);
    }
};

SENSOR_CONFIGS fullRecord() {
    SENSOR_CONFIGS configs{};
    configs.bSupportsAutoPeriod = true;
    configs.bSupportsTriggeredGates = true;
    configs.freqVal = 13560000.0F;
    configs.prdVal = 0.1F;
    configs.trigLevelVal = 12.5F;
    configs.trigDelayVal = -0.25F;
    configs.bModelIsTriggeredGates = true;
    configs.numStates = 2;
    configs.pulseStates[0] = {true, 0.001F, 0.002F};
    configs.pulseStates[3] = {false, -1.0F, 1.0F};
    configs.gateBegin = 1e-6F;
    configs.gateEnd = -0.0009F;
    return configs;
}

TEST_F(PulseConfig, TheDefaultFileIsWrittenByteForByte) {
    sensorPortHandler_presetSensorConfig();
    EXPECT_EQ(World_readFile(file), defaultText);
}

TEST_F(PulseConfig, LoadingWithoutAFileWritesTheDefaults) {
    SENSOR_CONFIGS configs{};
    configs.freqVal = 5.0F;
    sensorPortHandler_loadSensorConfig(&configs);
    expectDefaults(configs);
    EXPECT_EQ(World_readFile(file), defaultText);
    EXPECT_TRUE(World_syslogContains("Error: Attempt to access pulse sensor configuration file "
                                     "/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf failed "
                                     "with error 2 (No such file or directory)."));
}

TEST_F(PulseConfig, TextsLeaveNothingBehind) {
    EXPECT_TRUE(leavesNothingBehind(
        [] { EXPECT_TRUE(PulseConfigText_parse(PulseConfigText_compose(fullRecord()))); }));
    EXPECT_TRUE(leavesNothingBehind([] { EXPECT_FALSE(PulseConfigText_parse("{")); }));
}

TEST_F(PulseConfig, WhatIsSavedIsLoadedAgain) {
    const SENSOR_CONFIGS saved = fullRecord();
    sensorPortHandler_saveSensorConfig(&saved);
    SENSOR_CONFIGS loaded{};
    sensorPortHandler_loadSensorConfig(&loaded);
    EXPECT_FALSE(loaded.bAutoFrequency);
    EXPECT_EQ(loaded.freqVal, saved.freqVal);
    EXPECT_EQ(loaded.prdVal, saved.prdVal);
    EXPECT_EQ(loaded.trigLevelVal, saved.trigLevelVal);
    EXPECT_EQ(loaded.trigDelayVal, saved.trigDelayVal);
    EXPECT_EQ(loaded.trigSlope, 0);
    EXPECT_TRUE(loaded.bModelIsTriggeredGates);
    EXPECT_EQ(loaded.numStates, 2);
    for (int state = 0; state < 4; ++state) {
        EXPECT_EQ(loaded.pulseStates[state].bEnabled, saved.pulseStates[state].bEnabled);
        EXPECT_EQ(loaded.pulseStates[state].begin, saved.pulseStates[state].begin);
        EXPECT_EQ(loaded.pulseStates[state].end, saved.pulseStates[state].end);
    }
    EXPECT_EQ(loaded.gateBegin, saved.gateBegin);
    EXPECT_EQ(loaded.gateEnd, saved.gateEnd);
}

TEST_F(PulseConfig, NumbersAreWrittenWholeOrWithAllTheirDigits) {
    const SENSOR_CONFIGS configs = fullRecord();
    sensorPortHandler_saveSensorConfig(&configs);
    const std::string text = World_readFile(file);
    EXPECT_NE(text.find("\"freqValue\": 13560000,"), std::string::npos) << text;
    EXPECT_NE(text.find("\"triggerLevelValue\": 12.5,"), std::string::npos);
    EXPECT_NE(text.find("\"periodValue\": 0.10000000149011612,"), std::string::npos);
}

TEST_F(PulseConfig, CapabilityFlagsAreNeverWrittenAndNeverChanged) {
    const SENSOR_CONFIGS configs = fullRecord();
    sensorPortHandler_saveSensorConfig(&configs);
    EXPECT_EQ(World_readFile(file).find("upports"), std::string::npos);
    SENSOR_CONFIGS loaded{};
    loaded.bSupportsAutoTiggerLevel = true;
    sensorPortHandler_loadSensorConfig(&loaded);
    EXPECT_FALSE(loaded.bSupportsAutoPeriod);
    EXPECT_TRUE(loaded.bSupportsAutoTiggerLevel);
    EXPECT_FALSE(loaded.bSupportsTriggeredGates);
}

TEST_F(PulseConfig, AStateIsAnObjectOfItsOwn) {
    const SENSOR_CONFIGS configs = read(R"({"state2": {"enabled": 1, "begin": 0.5, "end": 1.5}})");
    EXPECT_TRUE(configs.pulseStates[1].bEnabled);
    EXPECT_EQ(configs.pulseStates[1].begin, 0.5F);
    EXPECT_EQ(configs.pulseStates[1].end, 1.5F);
    EXPECT_FALSE(configs.pulseStates[0].bEnabled);
}

TEST_F(PulseConfig, AMissingKeyReadsAsZeroEvenForTheAutomaticFlags) {
    for (const char* text : {"{}", "[]", "5", "\"text\"", "null", "[{\"autoFrequency\": 1}]",
                             R"({"autoFrequency": "1", "autoPeriod": [1], "triggerSlope": {},
                                 "autoTriggerLevel": true, "state1": 1, "numStates": null})"}) {
        const SENSOR_CONFIGS configs = read(text);
        EXPECT_FALSE(configs.bAutoFrequency) << text;
        EXPECT_FALSE(configs.bAutoPeriod) << text;
        EXPECT_FALSE(configs.bAutoTriggerLevel) << text;
        EXPECT_EQ(configs.trigSlope, 0) << text;
        EXPECT_EQ(configs.numStates, 0) << text;
    }
}

TEST_F(PulseConfig, AFileThatCannotBeParsedGivesTheDefaults) {
    for (const char* text :
         {"", "{", "{\"autoFrequency\": 0", "not json", "{} x", "{\"a\": 1e999}"}) {
        World_clearSyslog();
        expectDefaults(read(text));
        EXPECT_TRUE(World_syslogContains("Error: Attempt to read the pulse sensor configuration "
                                         "file (/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf) "
                                         "failed with errno = "))
            << text;
    }
}

struct NumberCase {
    const char* text;
    float freqVal;
    int trigSlope;
    int numStates;
};

TEST_F(PulseConfig, NumbersBeyondTheirFieldsReadAsZeroAndStatesAsFourAtMost) {
    const NumberCase cases[] = {
        {R"({"freqValue": 1e300, "triggerSlope": 257, "numStates": 4})", 0.0F, 0, 4},
        {R"({"freqValue": -1e300, "triggerSlope": -1, "numStates": 5})", 0.0F, 0, 4},
        {R"({"freqValue": 99999999999999999999, "triggerSlope": 1.9, "numStates": 255})", 1e20F, 1,
         4},
        {R"({"freqValue": 0.5, "triggerSlope": 255, "numStates": 1e9})", 0.5F, 255, 0},
    };
    for (const NumberCase& one : cases) {
        const SENSOR_CONFIGS configs = read(one.text);
        EXPECT_EQ(configs.freqVal, one.freqVal) << one.text;
        EXPECT_EQ(configs.trigSlope, one.trigSlope) << one.text;
        EXPECT_EQ(configs.numStates, one.numStates) << one.text;
    }
}

TEST_F(PulseConfig, AValueThatTheFileCannotHoldLeavesTheOldOne) {
    sensorPortHandler_presetSensorConfig();
    SENSOR_CONFIGS configs = fullRecord();
    for (float* field : {&configs.prdVal, &configs.pulseStates[2].end, &configs.gateEnd}) {
        const float before = *field;
        *field = std::numeric_limits<float>::quiet_NaN();
        World_clearSyslog();
        setPulseSensorConfig(&configs);
        EXPECT_EQ(World_readFile(file), defaultText);
        EXPECT_TRUE(World_syslogContains("Error: Attempt to write the pulse sensor configuration "
                                         "file (/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf) "
                                         "failed with errno = "));
        *field = before;
    }
}

TEST_F(PulseConfig, AnotherFileCanBeNamedAndItsFolderIsMade) {
    const std::string path = "/etc/QuorvelPowerMeterApp/other/pulse.conf";
    sensorPortHandler_setPulseConfigFile(path.c_str());
    sensorPortHandler_presetSensorConfig();
    EXPECT_EQ(World_readFile(path), defaultText);
    World_removeFile(path);
    sensorPortHandler_setPulseConfigFile(nullptr);
    sensorPortHandler_presetSensorConfig();
    EXPECT_EQ(World_readFile(file), defaultText);
}

TEST_F(PulseConfig, WhatAKilledWriterHasLeftIsRemoved) {
    const std::string left = std::string(file) + ".new.2147483646.1"; // of no process
    World_writeFile(file, defaultText);
    World_writeFile(left, "{");
    sensorPortHandler_setPulseConfigFile("");
    EXPECT_EQ(World_readFile(left), "");
    EXPECT_EQ(World_readFile(file), defaultText);
}

TEST_F(PulseConfig, AFileThatCannotBeWrittenIsLogged) {
    sensorPortHandler_setPulseConfigFile("/etc/QuorvelPowerMeterApp/none/deeper/pulse.conf");
    World_clearSyslog();
    sensorPortHandler_presetSensorConfig();
    EXPECT_TRUE(World_syslogContains("Error: Attempt to write the pulse sensor configuration file "
                                     "(/etc/QuorvelPowerMeterApp/none/deeper/pulse.conf) failed "
                                     "with errno = 2 (No such file or directory)."));
}

} // namespace
