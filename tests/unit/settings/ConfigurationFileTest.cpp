#include "ConfigurationFile.h"

#include "SettingsFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>

namespace {

using Lines = std::vector<std::string>;

std::string defaultsWith(const Lines& lines) {
    std::string text = defaultSettingsText;
    for (const std::string& line : lines) {
        text = withLine(text, line);
    }
    return text;
}

/// The line of a setting with a value that is legal and not its default.
std::string changedLine(const ConfigurationSetting& setting) {
    std::string key = setting.key;
    const size_t at = std::string(defaultSettingsText).find(key + " ") + key.size() + 1;
    switch (setting.type) {
    case ConfigurationField::flag:
        return key + (defaultSettingsText[at] == '1' ? " 0" : " 1");
    case ConfigurationField::integer:
        return key + (setting.rule == ConfigurationRule::clamped ? " 1" : " 5");
    case ConfigurationField::decimal:
        return key + " -12.250000";
    }
    return key;
}

TEST_F(SettingsFile, DefaultFileIsWrittenByteForByte) {
    EXPECT_EQ(fileText(), defaultSettingsText);
}

TEST_F(SettingsFile, TableHoldsEveryKeyOnce) {
    std::set<std::string> keys;
    for (const ConfigurationSetting& setting : settingsTable) {
        EXPECT_TRUE(keys.insert(setting.key).second) << setting.key;
    }
    const std::string_view lines = defaultSettingsText;
    EXPECT_EQ(keys.size(), static_cast<size_t>(std::count(lines.begin(), lines.end(), '\n')));
}

TEST_F(SettingsFile, EachLineIsReadIntoItsOwnFieldOnly) {
    for (const ConfigurationSetting& setting : settingsTable) {
        const std::string line = changedLine(setting);
        restartWith(line + "\n");
        const bool isRestored = setting.rule != ConfigurationRule::notRestored;
        EXPECT_EQ(recordText(), isRestored ? withLine(defaultSettingsText, line)
                                           : std::string(defaultSettingsText))
            << line;
    }
}

TEST_F(SettingsFile, WholeFileIsReadBackAsItWasWrittenButForTheStateScales) {
    std::string text = defaultSettingsText;
    std::string expected = defaultSettingsText;
    for (const ConfigurationSetting& setting : settingsTable) {
        text = withLine(text, changedLine(setting));
        if (setting.rule != ConfigurationRule::notRestored) {
            expected = withLine(expected, changedLine(setting));
        }
    }
    restartWith(text);
    EXPECT_EQ(recordText(), expected);
    EXPECT_EQ(fileText(), text) << "a file that could be read is not rewritten";
}

TEST_F(SettingsFile, ScaleIndexOutsideItsRangeReadsAsSeven) {
    struct Case {
        const char* value;
        const char* read;
    };
    constexpr Case cases[] = {{"0", "0"},  {"10", "10"},         {"11", "7"},
                              {"-1", "7"}, {"99999999999", "7"}, {"text", "0"}};
    for (const ConfigurationSetting& setting : settingsTable) {
        if (setting.rule != ConfigurationRule::fallback) {
            continue;
        }
        const std::string key = std::string(setting.key) + " ";
        for (const Case& row : cases) {
            restartWith(key + row.value + "\n");
            EXPECT_EQ(recordText(), defaultsWith({key + row.read})) << key << row.value;
        }
    }
}

TEST_F(SettingsFile, LimitThatIsNotFiniteReadsAsItsDefault) {
    for (const ConfigurationSetting& setting : settingsTable) {
        if (setting.type != ConfigurationField::decimal) {
            continue;
        }
        for (const char* value : {"nan", "inf", "-inf", "1e999", "-1e999"}) {
            std::string lines = std::string(setting.key) + " 5\n";
            lines.append(setting.key).append(" ").append(value).append("\n");
            restartWith(lines);
            EXPECT_EQ(recordText(), defaultSettingsText) << lines;
        }
    }
}

struct ReadCase {
    const char* legend;
    std::string content;
    Lines changed; ///< lines of the record that differ from the defaults
};

TEST_F(SettingsFile, ReaderTakesWhatItUnderstands) {
    const ReadCase cases[] = {
        {"only line", "powerUnitsIsdBm 1\n", {"powerUnitsIsdBm 1"}},
        {"last line without an end", "powerUnitsIsdBm 1", {"powerUnitsIsdBm 1"}},
        {"carriage returns",
         "powerUnitsIsdBm 1\r\nunit_ch1 1\r\n",
         {"powerUnitsIsdBm 1", "unit_ch1 1"}},
        {"two blanks", "matchMeasurementType  2\n", {"matchMeasurementType 2"}},
        {"two blanks behind a channel", "graphAverageCount_ch2  9\n", {"graphAverageCount_ch2 9"}},
        {"any non-zero flag",
         "displayGraph -7\npowerUnitsIsdBm 256\n",
         {"displayGraph 1", "powerUnitsIsdBm 1"}},
        {"value that is no number", "displayForwardPower yes\n", {"displayForwardPower 0"}},
        {"value with a tail", "matchMeasurementType 2x\n", {"matchMeasurementType 2"}},
        {"key without a value", "displayForwardPower\n", {"displayForwardPower 0"}},
        {"key without a value at the file's end", "displayForwardPower", {"displayForwardPower 0"}},
        {"value of the line before, at the file's end",
         "matchMeasurementType 2\nmatchMeasurementType",
         {"matchMeasurementType 0"}},
        {"value of the line before",
         "matchMeasurementType 2\nmatchMeasurementType\n",
         {"matchMeasurementType 0"}},
        {"key with a tail has no value", "matchMeasurementTypeX 2\n", {"matchMeasurementType 0"}},
        {"tab instead of a blank", "matchMeasurementType\t2\n", {"matchMeasurementType 2"}},
        {"empty lines", "\n\n \n\r\npowerUnitsIsdBm 1\n", {"powerUnitsIsdBm 1"}},
        {"blank before the key", " powerUnitsIsdBm 1\n", {}},
        {"other case", "PowerUnitsIsdBm 1\n", {}},
        {"cut key", "powerUnitsIsdB 1\n", {}},
        {"unknown keys", "colour 3\n# powerUnitsIsdBm 1\n", {}},
        {"later line wins", "unit_ch1 1\nunit_ch1 0\n", {}},
        {"unit above its range", "unit_ch1 5\nunit_ch2 -5\n", {"unit_ch1 1"}},
        {"unchecked integers",
         "matchMeasurementType 9\ngraphDisplayMode_ch1 -3\ngraphAverageCount_ch1 1000\n",
         {"matchMeasurementType 9", "graphDisplayMode_ch1 -3", "graphAverageCount_ch1 1000"}},
        {"integers beyond 32 bits",
         "matchMeasurementType 99999999999999999999\n",
         {"matchMeasurementType 2147483647"}},
        {"unchecked limits",
         "graphDisplayMinPower_ch1 -5e9\nlimitLineMax_ch2 0.5\n",
         {"graphDisplayMinPower_ch1 -5000000000.000000", "limitLineMax_ch2 0.500000"}},
        {"channels 0 and 3 to 9",
         "unit_ch0 1\nunit_ch3 1\nunit_ch9 1\ngraphAverageCount_ch0 3\nlimitLineMin_ch5 3\n",
         {}},
        {"channels of two digits", "graphAverageCount_ch12 5\nlimitLineMin_ch21 5\n", {}},
        {"channel missing", "unit_ch 1\n", {}},
        {"negative channel", "unit_ch-1 1\n", {}},
        {"scales of other channels",
         "scale_ch0_fwd_scaleIndex 3\nscale_ch3_fwd_scaleIndex 3\nscale_ch1_xyz_scaleIndex 3\n",
         {}},
        {"states are recognised and not applied",
         "state_scale_ch1_0_autoScale 0\nstate_scale_ch2_3_scaleIndex 3\n",
         {}},
        {"states that do not exist",
         "state_scale_ch1_4_scaleIndex 3\nstate_scale_ch9_0_scaleIndex 3\n",
         {}},
        {"older graph key",
         "displayGraphRadioButtonActive 1\n",
         {"graphDisplayMode_ch1 1", "graphDisplayMode_ch2 1"}},
        {"older graph key without a value", "displayGraphRadioButtonActive\n", {}},
        {"graph key beside the older one",
         "displayGraph 1\ndisplayGraphRadioButtonActive 0\n",
         {"displayGraph 1"}},
        {"line of 63 characters",
         "powerUnitsIsdBm 1" + std::string(45, ' ') + "\nunit_ch1 1\n",
         {"powerUnitsIsdBm 1", "unit_ch1 1"}},
        {"a longer line is read in pieces",
         std::string(63, 'x') + "powerUnitsIsdBm 1\n",
         {"powerUnitsIsdBm 1"}},
        {"key across two pieces", std::string(60, 'x') + "powerUnitsIsdBm 1\n", {}},
        {"zero byte ends a line",
         std::string("displayGraph 1\0 5\nunit_ch1 1\n", 29),
         {"displayGraph 1", "unit_ch1 1"}},
        {"binary rubbish", "\x01\xff\xfe\x80\n\xff\nunit_ch1 1\n", {"unit_ch1 1"}},
    };
    for (const ReadCase& row : cases) {
        restartWith(row.content);
        EXPECT_EQ(recordText(), defaultsWith(row.changed)) << row.legend;
    }
}

TEST_F(SettingsFile, EmptyFileMeansTheDefaultsAndIsNotRewritten) {
    restartWith("");
    EXPECT_EQ(recordText(), defaultSettingsText);
    EXPECT_EQ(fileText(), "");
}

TEST_F(SettingsFile, MegabyteWithoutALineEndIsReadToItsEnd) {
    restartWith(std::string(size_t{63} * 16384, 'x') + "unit_ch1 1\n");
    EXPECT_EQ(recordText(), defaultsWith({"unit_ch1 1"}));
}

std::string linesReceived;

bool receiveLine(const char* line) {
    const char* value = strtok(nullptr, " \n\r");
    linesReceived += std::string(line) + "=" + (value != nullptr ? value : "(none)") + ";";
    return true;
}

TEST_F(SettingsFile, LineThatMatchesNoKeyIsHandedToTheSerialReaderWithItsValue) {
    linesReceived.clear();
    configuration_registerSerialLines({nullptr, receiveLine});
    restartWith(" serialSpeed 300\nserialSpeed 1200\nunit_ch1 1\nserialParity\nunit_ch7 "
                "1\nstate_scale_ch1_0_autoScale 0\n");
    EXPECT_EQ(linesReceived, "serialSpeed=1200;serialParity=(none);unit_ch7=1;");
}

TEST_F(SettingsFile, SerialLinesStandLast) {
    configuration_registerSerialLines(
        {[](FILE* file) { fputs("serialSpeed 9600\n", file); }, nullptr});
    writeConfigFile();
    EXPECT_EQ(fileText(), std::string(defaultSettingsText) + "serialSpeed 9600\n");
}

TEST_F(SettingsFile, DecimalCommasReachNeitherWriterNorReader) {
    setenv("LOCPATH", QUORVEL_LOCALES, 1);
    ASSERT_NE(setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    restartWith("limitLineMin_ch1 12.5\n");
    writeConfigFile();
    setlocale(LC_ALL, "C");
    EXPECT_EQ(fileText(), defaultsWith({"limitLineMin_ch1 12.500000"}));
}

} // namespace
