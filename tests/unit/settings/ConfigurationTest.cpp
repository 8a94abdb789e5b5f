#include "Configuration.h"

#include "SettingsFile.h"
#include "Threads.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>

namespace {

using Settings = SettingsFile;

constexpr rfPowerScale manualThree{false, 3};
constexpr GraphSettings_t dBmGraph{20.0,           -20.0, 10.5, -10.25,
                                   graphScale_dBm, 16,    true, graphModeAverage};

struct SetterCase {
    const char* name;
    void (*set)();
    const char* lines; ///< of the file that change, separated by line ends
    bool (*isRead)();
};

constexpr SetterCase setters[] = {
    {"forward power", [] { configuration_setDisplayFowardPower(false); }, "displayForwardPower 0",
     [] { return !configuration_getDisplayFowardPower(); }},
    {"reflected power", [] { configuration_setDisplayReflectedPower(false); },
     "displayReflectedPower 0", [] { return !configuration_getDisplayReflectedPower(); }},
    {"units", [] { configuration_setPowerUnitsIsdBm(true); }, "powerUnitsIsdBm 1",
     [] { return configuration_getPowerUnitsIsdBm(); }},
    {"match", [] { configuration_setDisplayMatch(false); },
     "displayVSWR_ReturnLoss_or_ReflCoeff_Value 0",
     [] { return !configuration_getDisplayMatch(); }},
    {"match type", [] { configuration_setMatchMeasurementType(rfMatch_RflCoeff); },
     "matchMeasurementType 2",
     [] { return configuration_getMatchMeasurementType() == rfMatch_RflCoeff; }},
    {"graph", [] { configuration_setDisplayGraph(true); }, "displayGraph 1",
     [] { return configuration_getDisplayGraph(); }},
    {"legacy protocol", [] { configuration_setUseLegacy(true); }, "useLegacyRS232Commands 1",
     [] { return configuration_getUseLegacy(); }},
    {"command mode", [] { configuration_setCommandModeSW(true); }, "legacyCommandModeSW 1",
     [] { return configuration_getCommandModeSW(); }},
    {"pulse mode", [] { configuration_setPulseMode(true); }, "sensorPulseMode 1",
     [] { return configuration_getPulseMode(); }},
    {"reflected scale of channel 2", [] { configuration_setRfPowerScale(manualThree, 1, 1); },
     "scale_ch2_rfl_autoScale 0\nscale_ch2_rfl_scaleIndex 3",
     [] { return configuration_getRfPowerScale(1, 1).scaleIndex == 3; }},
    {"gated scale of channel 1", [] { configuration_setGatedPowerScale(manualThree, 0); },
     "scale_ch1_gatedPower_autoScale 0\nscale_ch1_gatedPower_scaleIndex 3",
     [] { return !configuration_getGatedPowerScale(0).autoScale; }},
    {"scale of state 3 of channel 2", [] { configuration_setStatePowerScale(manualThree, 1, 3); },
     "state_scale_ch2_3_autoScale 0\nstate_scale_ch2_3_scaleIndex 3",
     [] { return configuration_getStatePowerScale(1, 3).scaleIndex == 3; }},
    {"graph of channel 2", [] { configuration_setGraphSettings(dBmGraph, 1); },
     "graphReflectedMode_ch2 1\ngraphDisplayMode_ch2 1\ngraphAverageCount_ch2 16\n"
     "graphDisplayMinPower_ch2 -20.000000\ngraphDisplayMaxPower_ch2 20.000000\n"
     "limitLineMin_ch2 -10.250000\nlimitLineMax_ch2 10.500000\nunit_ch2 1",
     [] {
         return configuration_getGraphRflMode(1) && !configuration_getGraphRflMode(0) &&
                configuration_getGraphSettings(1).maxLimitLine == 10.5;
     }},
};

std::string withLines(std::string text, std::string lines) {
    lines += '\n';
    for (size_t at = 0; at < lines.size(); at = lines.find('\n', at) + 1) {
        text = withLine(text, lines.substr(at, lines.find('\n', at) - at));
    }
    return text;
}

TEST_F(Settings, EachSetterStoresItsValueAndRewritesTheFile) {
    for (const SetterCase& row : setters) {
        restoreDefaultSettings();
        EXPECT_FALSE(row.isRead()) << row.name;
        row.set();
        EXPECT_TRUE(row.isRead()) << row.name;
        const std::string expected = withLines(defaultSettingsText, row.lines);
        EXPECT_EQ(recordText(), expected) << row.name;
        EXPECT_EQ(fileText(), expected) << row.name;
    }
}

TEST_F(Settings, StateScalesAreBackAtTheirDefaultsAfterEveryStartAlthoughTheFileHasThem) {
    configuration_setStatePowerScale(manualThree, 0, 2);
    startSettings();
    EXPECT_NE(fileText().find("state_scale_ch1_2_scaleIndex 3\n"), std::string::npos);
    EXPECT_TRUE(configuration_getStatePowerScale(0, 2).autoScale);
    EXPECT_EQ(configuration_getStatePowerScale(0, 2).scaleIndex, 7U);
    EXPECT_EQ(recordText(), defaultSettingsText);
}

TEST_F(Settings, ResetKeepsTheRemoteControlModeAndWritesTheFile) {
    for (const SetterCase& row : setters) {
        row.set();
    }
    resetConfigToDefaults();
    const std::string expected =
        withLines(defaultSettingsText, "useLegacyRS232Commands 1\nlegacyCommandModeSW 1");
    EXPECT_EQ(recordText(), expected);
    EXPECT_EQ(fileText(), expected);
}

TEST_F(Settings, RestoringTheDefaultsWritesNoFile) {
    configuration_setPowerUnitsIsdBm(true);
    restoreDefaultSettings();
    EXPECT_EQ(recordText(), defaultSettingsText);
    EXPECT_EQ(fileText(), withLine(defaultSettingsText, "powerUnitsIsdBm 1"));
}

struct RefusedCase {
    const char* name;
    void (*set)();
    std::vector<std::string> diagnostics;
};

TEST_F(Settings, ScaleSetterRefusesWhatIsOutOfRangeAndTellsEveryReason) {
    const std::string channel = "Invalid parameter, channel = ";
    const std::string direction = "Invalid parameter, direction = ";
    const std::string index = "Invalid parameter, scale.scaleIndex = ";
    const std::string state = "Invalid parameter, stateIndex = ";
    const RefusedCase cases[] = {
        {"channel",
         [] {
             configuration_setRfPowerScale({true, 3}, 2, 0);
         },
         {channel + "2"}},
        {"direction",
         [] {
             configuration_setRfPowerScale({true, 3}, 0, 2);
         },
         {direction + "2"}},
        {"index",
         [] {
             configuration_setRfPowerScale({true, 11}, 0, 0);
         },
         {index + "11"}},
        {"all three",
         [] {
             configuration_setRfPowerScale({true, 12}, 255, 7);
         },
         {channel + "255", direction + "7", index + "12"}},
        {"gated channel",
         [] {
             configuration_setGatedPowerScale({true, 3}, 2);
         },
         {channel + "2"}},
        {"gated, both",
         [] {
             configuration_setGatedPowerScale({true, 11}, 3);
         },
         {channel + "3", index + "11"}},
        {"state channel",
         [] {
             configuration_setStatePowerScale({true, 3}, 2, 0);
         },
         {channel + "2"}},
        {"state index",
         [] {
             configuration_setStatePowerScale({true, 3}, 0, 4);
         },
         {state + "4"}},
        {"state, all three",
         [] {
             configuration_setStatePowerScale({true, 11}, 2, 9);
         },
         {channel + "2", index + "11", state + "9"}},
    };
    for (const RefusedCase& row : cases) {
        World_clearSyslog();
        row.set();
        EXPECT_EQ(World_syslog().size(), row.diagnostics.size()) << row.name;
        for (const std::string& text : row.diagnostics) {
            EXPECT_TRUE(World_syslogContains(text + "\\n")) << row.name << ": " << text;
        }
        EXPECT_EQ(recordText(), defaultSettingsText) << row.name;
        EXPECT_EQ(fileText(), defaultSettingsText) << row.name;
    }
}

TEST_F(Settings, ScaleIndexesFromZeroToTenAreTaken) {
    for (const uint32_t index : {0U, 10U}) {
        configuration_setRfPowerScale({false, index}, 0, 0);
        EXPECT_EQ(configuration_getRfPowerScale(0, 0).scaleIndex, index);
    }
}

TEST_F(Settings, GraphOfAThirdChannelIsIgnored) {
    configuration_setGraphSettings(dBmGraph, 2);
    EXPECT_EQ(recordText(), defaultSettingsText);
}

TEST_F(Settings, GettersGiveTheDefaultOutsideTheirRange) {
    for (const SetterCase& row : setters) {
        row.set();
    }
    constexpr uint32_t none = 255;
    EXPECT_EQ(configuration_getRfPowerScale(2, 0).scaleIndex, 7U);
    EXPECT_EQ(configuration_getRfPowerScale(1, 2).scaleIndex, 7U);
    EXPECT_EQ(configuration_getGatedPowerScale(none).scaleIndex, 7U);
    EXPECT_EQ(configuration_getStatePowerScale(2, 3).scaleIndex, 7U);
    EXPECT_EQ(configuration_getStatePowerScale(1, 4).scaleIndex, 7U);
    EXPECT_EQ(configuration_getGraphSettings(none).maxPower, 10000000.0);
    EXPECT_FALSE(configuration_getGraphRflMode(none));
}

struct GraphCase {
    const char* legend;
    GraphScaleUnit_t unit;
    double min;
    double max;
    double storedMin;
    double storedMax;
};

constexpr GraphCase graphCases[] = {
    {"dBm, unchanged", graphScale_dBm, 70, 75, 70, 75},
    {"dBm, above the top", graphScale_dBm, 79.5, 90, 79, 80},
    {"dBm, swapped", graphScale_dBm, 5, -100, -60, 5},
    {"dBm, too close", graphScale_dBm, 10, 10.5, 9.5, 10.5},
    {"dBm, both above", graphScale_dBm, 90, 95, 79, 80},
    {"dBm, both below", graphScale_dBm, -90, -80, -60, -59},
    {"dBm, close to the bottom", graphScale_dBm, -60.5, -59.5, -60, -59},
    {"dBm, whole span", graphScale_dBm, -60, 80, -60, 80},
    {"mW, too close", graphScale_mW, 10, 12, 7, 12},
    {"mW, unchanged", graphScale_mW, 10, 15, 10, 15},
    {"mW, below zero", graphScale_mW, -10, 3, 0, 5},
    {"mW, above the top", graphScale_mW, 5, 2e8, 5, 99999999},
    {"mW, both above", graphScale_mW, 1e8, 2e8, 99999994, 99999999},
    {"mW, equal at zero", graphScale_mW, 0, 0, 0, 5},
};

TEST_F(Settings, GraphLimitsAreBroughtIntoTheirRange) {
    for (const GraphCase& row : graphCases) {
        for (const bool isLimitLine : {false, true}) {
            GraphSettings_t graph = configuration_getGraphSettings(0);
            graph.unit = row.unit;
            (isLimitLine ? graph.minLimitLine : graph.minPower) = row.min;
            (isLimitLine ? graph.maxLimitLine : graph.maxPower) = row.max;
            configuration_setGraphSettings(graph, 0);
            graph = configuration_getGraphSettings(0);
            EXPECT_EQ(isLimitLine ? graph.minLimitLine : graph.minPower, row.storedMin)
                << row.legend;
            EXPECT_EQ(isLimitLine ? graph.maxLimitLine : graph.maxPower, row.storedMax)
                << row.legend;
        }
    }
}

TEST_F(Settings, AverageCountIsClampedToTwoToSixtyFour) {
    struct Case {
        uint32_t given;
        uint32_t stored;
    };
    constexpr Case cases[] = {{0, 2},   {1, 2},   {2, 2},          {33, 33},
                              {64, 64}, {65, 64}, {0xffffffff, 64}};
    for (const Case& row : cases) {
        GraphSettings_t graph = configuration_getGraphSettings(1);
        graph.averageCount = row.given;
        configuration_setGraphSettings(graph, 1);
        EXPECT_EQ(configuration_getGraphSettings(1).averageCount, row.stored);
    }
}

TEST_F(Settings, WritingWithValidationBringsBothChannelsIntoRange) {
    restartWith("graphAverageCount_ch1 0\nunit_ch2 1\ngraphDisplayMinPower_ch2 79.5\n"
                "graphDisplayMaxPower_ch2 90\nlimitLineMin_ch2 0\nlimitLineMax_ch2 10\n");
    writeConfigFileWithValidation();
    EXPECT_EQ(fileText(),
              withLines(defaultSettingsText,
                        "graphAverageCount_ch1 2\nunit_ch2 1\ngraphDisplayMinPower_ch2 79.000000\n"
                        "graphDisplayMaxPower_ch2 80.000000\nlimitLineMin_ch2 0.000000\n"
                        "limitLineMax_ch2 10.000000"));
}

TEST_F(Settings, AnotherFileCanBeNamedAndItsDirectoryIsMade) {
    const char* name = "/etc/QuorvelPowerMeterApp/second/settings";
    startSettings(name);
    configuration_setPowerUnitsIsdBm(true);
    EXPECT_EQ(World_readFile(name), withLine(defaultSettingsText, "powerUnitsIsdBm 1"));
    EXPECT_EQ(fileText(), defaultSettingsText);
    World_removeFile(name);
    World_removeFile("/etc/QuorvelPowerMeterApp/second");
}

TEST_F(Settings, EmptyNameSelectsTheStandardFile) {
    startSettings("/etc/QuorvelPowerMeterApp/other");
    startSettings("");
    configuration_setPowerUnitsIsdBm(true);
    EXPECT_EQ(fileText(), withLine(defaultSettingsText, "powerUnitsIsdBm 1"));
    World_removeFile("/etc/QuorvelPowerMeterApp/other");
}

TEST_F(Settings, NameOfUpTo64CharactersIsRemembered) {
    const std::string directory = "/etc/QuorvelPowerMeterApp/";
    const std::string name = directory + std::string(64 - directory.size(), 'x');
    startSettings((name + "cut off").c_str());
    EXPECT_EQ(World_readFile(name), defaultSettingsText);
    World_removeFile(name);
}

/// What another thread does while a text is composed from the record.
struct Intruder {
    const char* name;
    void (*act)();
};

constexpr Intruder intruders[] = {
    {"getter of a field", [] { configuration_getPowerUnitsIsdBm(); }},
    {"getter of a scale", [] { configuration_getRfPowerScale(0, 0); }},
    {"getter of a graph", [] { configuration_getGraphSettings(0); }},
    {"getter of all", [] { configuration_getQuorvelAppConfiguration(); }},
    {"setter",
     [] {
         configuration_setRfPowerScale({true, 3}, 0, 0, Saving::inBackground);
     }},
    {"setter of all", [] { restoreDefaultSettings(); }},
};

/// Held by whoever composes, for as long as a thread that is not kept out would need.
struct Composing {
    std::atomic<bool> hasBegun{false};
    std::atomic<bool> isIntruderDone{false};
    std::atomic<bool> wasIntruded{false};
};
Composing composing;

void holdWhileComposing(FILE*) {
    constexpr uint32_t enough_ms = 200;
    if (!composing.hasBegun.exchange(true)) {
        composing.wasIntruded =
            World_waitUntil([] { return composing.isIntruderDone.load(); }, enough_ms);
    }
}

TEST_F(Settings, NobodyGetsAtTheRecordWhileATextIsComposedFromIt) {
    for (const Intruder& intruder : intruders) {
        composing.hasBegun = composing.isIntruderDone = composing.wasIntruded = false;
        configuration_registerSerialLines({holdWhileComposing, nullptr});
        std::thread other([&] {
            EXPECT_TRUE(World_waitUntil([] { return composing.hasBegun.load(); }, 30000));
            intruder.act();
            composing.isIntruderDone = true;
        });
        writeConfigFile();
        other.join();
        EXPECT_FALSE(composing.wasIntruded) << intruder.name;
        EXPECT_TRUE(configuration_waitUntilSaved(30000));
    }
}

std::atomic<int> composerCount{0};
std::atomic<bool> composersHaveMet{false};

/// The text has one buffer: two composers at once would mix theirs.
void meetOtherComposers(FILE*) {
    if (++composerCount > 1) {
        composersHaveMet = true;
    }
    std::this_thread::yield();
    --composerCount;
}

void* callEverySetter(void*) {
    for (int count = 0; count < 5; ++count) {
        for (const SetterCase& row : setters) {
            row.set();
            row.isRead();
        }
        configuration_getQuorvelAppConfiguration();
    }
    return nullptr;
}

TEST_F(Settings, ThreadsThatSetAndGetComposeOneTextAfterTheOther) {
    composersHaveMet = false;
    configuration_registerSerialLines({meetOtherComposers, nullptr});
    std::array<pthread_t, 4> threads{};
    for (pthread_t& thread : threads) {
        ASSERT_EQ(Thread_startJoinable(&thread, "setter", callEverySetter, nullptr), 0);
    }
    for (const pthread_t thread : threads) {
        pthread_join(thread, nullptr);
    }
    EXPECT_FALSE(composersHaveMet);
    std::string expected = defaultSettingsText;
    for (const SetterCase& row : setters) {
        expected = withLines(expected, row.lines);
    }
    EXPECT_EQ(fileText(), expected);
    EXPECT_EQ(recordText(), expected);
}

} // namespace
