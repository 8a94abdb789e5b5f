#include "Configuration.h"
#include "SerialConfig.h"
#include "SerialPort.h"
#include "World.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";
constexpr int restartCount = 10;
constexpr int restartWithoutDevice = 4;

/// What the program does with the port and the settings when it starts.
void startProgram() {
    SerialPort_Open(serialCommandPortName);
    SerialConfig_registerWithSettings();
    setConfigurationFile(nullptr);
    readConfigFile();
}

/// Runs a life of the program in a process of its own, so that only the file and the port outlast
/// it.
void runLife(void (*life)()) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        startProgram();
        life();
        _exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

std::string lastLines(const std::string& text, int count) {
    size_t at = text.size();
    for (; count > 0 && at > 0; --count) {
        at = text.rfind('\n', at - 2) + 1;
    }
    return text.substr(at);
}

std::string serialLines(const char* speed, const char* dataBits, const char* stopBits,
                        const char* parity) {
    return std::string("serialSpeed ") + speed + "\nserialDataBits " + dataBits +
           "\nserialStopBits " + stopBits + "\nserialParity " + parity + "\n";
}

class SerialSettings : public testing::Test {
protected:
    SerialSettings() {
        World_resetSerialSettings();
        World_plugTerminal(serialCommandPortName);
        World_removeFile(settingsFile);
        World_clearSyslog();
    }
    ~SerialSettings() override {
        World_unplugTerminal(serialCommandPortName);
    }

    static std::string fileLines() {
        return lastLines(World_readFile(settingsFile), CONFIG_FILE_LABEL_ID_LENGTH);
    }
    static std::string portSettings() {
        return World_serialSettings(serialCommandPortName);
    }
};

void changeAnySetting() {
    configuration_setPowerUnitsIsdBm(!configuration_getPowerUnitsIsdBm());
}

void reopenPort() {
    SerialPort_Close();
    SerialPort_Open(serialCommandPortName);
    changeAnySetting();
}

TEST_F(SerialSettings, StandLastInTheDefaultFile) {
    runLife([] {});
    EXPECT_EQ(lastLines(World_readFile(settingsFile), 5),
              "sensorPulseMode 0\n" + serialLines("9600", "8", "1", "NONE"));
}

TEST_F(SerialSettings, AreAppliedToThePortWhenTheFileIsRead) {
    World_writeFile(settingsFile, serialLines("1200", "7", "2", "EVEN"));
    runLife([] {});
    EXPECT_EQ(portSettings(), "1200 7 E 2");
}

TEST_F(SerialSettings, EachLineChangesItsOwnItemOnly) {
    struct Case {
        const char* line;
        const char* port;
    };
    constexpr Case cases[] = {
        {"serialSpeed 300", "300 8 N 1"},       {"serialDataBits 7", "9600 7 N 1"},
        {"serialStopBits 2", "9600 8 N 2"},     {"serialParity ODD", "9600 8 O 1"},
        {"serialSpeed 19200", "2400 8 N 1"},    {"serialDataBits 5", "9600 8 N 1"},
        {"serialStopBits 1.5", "9600 8 N 2"},   {"serialParity MARK", "9600 8 N 1"},
        {"serialSpeed", "9600 8 N 1"},          {"serialSpeed  4800", "4800 8 N 1"},
        {"serialSpeed 4800 600", "4800 8 N 1"}, {"serialColour blue", "9600 8 N 1"},
    };
    for (const Case& row : cases) {
        World_resetSerialSettings();
        World_writeFile(settingsFile, std::string(row.line) + "\n");
        runLife([] {});
        EXPECT_EQ(portSettings(), row.port) << row.line;
    }
}

TEST_F(SerialSettings, ReaderTellsWhetherALineHasAValue) {
    char withValue[] = "serialParity EVEN\n";
    char withoutValue[] = "serialParity\n";
    char otherKey[] = "colour blue\n";
    strtok(withValue, " \n\r");
    EXPECT_TRUE(SerialConfig_File_Read(withValue));
    strtok(withoutValue, " \n\r");
    EXPECT_FALSE(SerialConfig_File_Read(withoutValue));
    strtok(otherKey, " \n\r");
    EXPECT_TRUE(SerialConfig_File_Read(otherKey));
}

TEST_F(SerialSettings, EveryCombinationIsWrittenAndReadBack) {
    for (const speeds_item_t& speed : speed_table) {
        for (const char* dataBits : data_bits_label) {
            for (const char* stopBits : stop_bits_label) {
                for (const char* parity : parity_label) {
                    const std::string lines = serialLines(speed.label, dataBits, stopBits, parity);
                    World_writeFile(settingsFile, lines);
                    runLife(changeAnySetting);
                    ASSERT_EQ(fileLines(), lines);
                }
            }
        }
    }
}

TEST_F(SerialSettings, AreWrittenAsThePortHasThem) {
    runLife([] {
        termios settings{};
        SerialPort_GetConfig(&settings);
        SerialConfig_TermiosPutSpeed(&settings, B600);
        SerialConfig_TermiosPutParity(&settings, PARITY_ODD);
        SerialPort_SetConfig(&settings);
        writeConfigFile();
    });
    EXPECT_EQ(fileLines(), serialLines("600", "8", "1", "ODD"));
}

TEST_F(SerialSettings, SurviveTenRestartsOneOfThemWithTheDeviceMissing) {
    const std::string lines = serialLines("1200", "7", "2", "EVEN");
    World_writeFile(settingsFile, lines);
    for (int restart = 0; restart < restartCount; ++restart) {
        const bool hasDevice = restart != restartWithoutDevice;
        if (!hasDevice) {
            World_unplugTerminal(serialCommandPortName);
        }
        runLife(reopenPort);
        EXPECT_EQ(fileLines(), lines) << "restart " << restart;
        if (hasDevice) {
            EXPECT_EQ(portSettings(), "1200 7 E 2") << "restart " << restart;
        } else {
            World_plugTerminal(serialCommandPortName);
        }
        World_resetSerialSettings();
    }
}

TEST_F(SerialSettings, ReachAPortThatComesBackLater) {
    World_writeFile(settingsFile, serialLines("1200", "7", "2", "EVEN"));
    World_unplugTerminal(serialCommandPortName);
    runLife([] {
        changeAnySetting();
        World_plugTerminal(serialCommandPortName);
        reopenPort();
    });
    EXPECT_EQ(portSettings(), "1200 7 E 2");
    EXPECT_EQ(fileLines(), serialLines("1200", "7", "2", "EVEN"));
}

TEST_F(SerialSettings, AreTheLastKnownOnesWhileThePortIsClosedOrGone) {
    World_writeFile(settingsFile, serialLines("4800", "7", "2", "ODD"));
    runLife([] {
        SerialPort_Close();
        changeAnySetting();
    });
    EXPECT_EQ(fileLines(), serialLines("4800", "7", "2", "ODD"));
    runLife([] {
        World_unplugTerminal(serialCommandPortName); // the line is hung up
        changeAnySetting();
    });
    EXPECT_EQ(fileLines(), serialLines("4800", "7", "2", "ODD"));
}

TEST_F(SerialSettings, AreThoseThatAGonePortWasGivenUntilItComesBackWithThem) {
    World_writeFile(settingsFile, serialLines("4800", "7", "2", "ODD"));
    runLife([] {
        SerialPort_Close();
        termios settings = SerialConfig_portSettings();
        EXPECT_EQ(SerialConfig_TermiosGetSpeed(&settings), static_cast<speed_t>(B4800));
        SerialConfig_TermiosPutSpeed(&settings, B300);
        EXPECT_NE(SerialPort_SetConfig(&settings), 0);
        changeAnySetting();
        settings = SerialConfig_portSettings();
        EXPECT_EQ(SerialConfig_TermiosGetSpeed(&settings), static_cast<speed_t>(B300));
        if (testing::Test::HasFailure()) {
            _exit(1);
        }
        World_resetSerialSettings();
        SerialPort_Open(serialCommandPortName);
    });
    EXPECT_EQ(fileLines(), serialLines("300", "7", "2", "ODD"));
    EXPECT_EQ(portSettings(), "300 7 O 2");
}

TEST_F(SerialSettings, ArePresetsForAPortThatWasNeverThere) {
    World_unplugTerminal(serialCommandPortName);
    runLife([] {});
    EXPECT_EQ(fileLines(), serialLines("9600", "8", "1", "NONE"));
}

TEST_F(SerialSettings, AreThoseThatWereReadLastWhenNobodyHasSetAny) {
    runLife([] {
        termios settings{};
        if (SerialPort_GetConfig(&settings) != 0) {
            _exit(1);
        }
        SerialConfig_TermiosPutSpeed(&settings, B1200);
        SerialConfig_TermiosPutDataBits(&settings, DATA_BITS_7);
        SerialConfig_TermiosPutStopBits(&settings, STOP_BITS_2);
        SerialConfig_TermiosPutParity(&settings, PARITY_ODD);
        tcsetattr(*SerialPort_getfd(), TCSANOW, &settings);
        SerialConfig_portSettings();
        SerialPort_Close();
        changeAnySetting();
    });
    EXPECT_EQ(fileLines(), serialLines("1200", "7", "2", "ODD"));
}

TEST_F(SerialSettings, AreThoseOfThePortWhoeverSetIt) {
    World_writeFile(settingsFile, serialLines("4800", "7", "2", "ODD"));
    runLife([] {
        termios settings{};
        if (SerialPort_GetConfig(&settings) != 0) {
            _exit(1);
        }
        SerialConfig_TermiosPutSpeed(&settings, B600);
        tcsetattr(*SerialPort_getfd(), TCSANOW, &settings);
        changeAnySetting();
    });
    EXPECT_EQ(fileLines(), serialLines("600", "7", "2", "ODD"));
}

} // namespace
