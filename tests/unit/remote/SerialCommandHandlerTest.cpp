#include "SerialCommandHandler.h"

#include "Configuration.h"
#include "SensorDisplays.h"
#include "SensorPortSignals.h"
#include "SerialCommandSettings.h"
#include "SerialSensors.h"
#include "SerialStatus.h"
#include "SerialTerminal.h"
#include "World.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

class SerialHandler : public testing::Test {
protected:
    SerialHandler() {
        SerialSensors_reset();
        restoreDefaultSettings();
        serial_command_handler_reset();
        SerialStatus_InitializeStatus();
    }

    static std::string answer(command_t command = COMMAND_ENTER) {
        char buffer[64] = "untouched";
        const size_t length = serial_command_handle_response(command, buffer, sizeof buffer);
        EXPECT_EQ(length, std::string(buffer).size());
        return buffer;
    }
    std::string reply(command_t command) {
        serial_command_handle_command(command);
        return terminal.readLine();
    }

    SerialTerminal terminal;
};

TEST_F(SerialHandler, StartsInModeOneForwardAutomatic) {
    const SerialCommandSettings settings = SerialCommandSettings_get();
    EXPECT_EQ(settings.trigger_mode, TRIGGER_MODE_1);
    EXPECT_EQ(settings.measure_select, MEASURE_SELECT_FORWARD);
    EXPECT_EQ(settings.forward_range, 0);
    EXPECT_EQ(settings.reflected_range, 0);
    EXPECT_TRUE(settings.autoscale);
}

TEST_F(SerialHandler, ResetLeavesAWaitingSelectionWaiting) {
    serial_command_handle_command(COMMAND_REFLECTED);
    serial_command_handler_reset();
    const SerialCommandSettings settings = SerialCommandSettings_get();
    EXPECT_EQ(settings.measure_select, MEASURE_SELECT_FORWARD);
    EXPECT_TRUE(settings.measurement_selected);
}

TEST_F(SerialHandler, TriggerCommandsChooseTheMode) {
    serial_command_handle_command(COMMAND_FORWARD);
    serial_command_handle_command(COMMAND_TRIGGER_5);
    EXPECT_EQ(serial_command_handler_get_triggerMode(), TRIGGER_MODE_5);
    EXPECT_FALSE(SerialCommandSettings_get().measurement_selected);
    serial_command_handle_command(COMMAND_REFLECTED);
    serial_command_handle_command(COMMAND_TRIGGER_1);
    EXPECT_EQ(serial_command_handler_get_triggerMode(), TRIGGER_MODE_1);
    EXPECT_TRUE(SerialCommandSettings_get().measurement_selected);
    EXPECT_EQ(SerialCommandSettings_get().measure_select, MEASURE_SELECT_REFLECTED);
}

TEST_F(SerialHandler, RangeCommandsSetBothRangesAndEndTheAutomatic) {
    for (int range = 0; range <= 17; ++range) {
        setAutoScale(true);
        serial_command_handle_command(static_cast<command_t>(COMMAND_R00 + range));
        const SerialCommandSettings settings = SerialCommandSettings_get();
        EXPECT_EQ(settings.forward_range, range);
        EXPECT_EQ(settings.reflected_range, range == 0 ? 0 : range - 1);
        EXPECT_FALSE(settings.autoscale);
        char expected[32];
        snprintf(expected, sizeof expected, " 6610  FCR%02dPYYTT1XF\r\n", range);
        EXPECT_EQ(reply(COMMAND_STATUS0), expected);
    }
    SerialRange_Setrange(40);
    EXPECT_EQ(SerialCommandSettings_get().forward_range, 17);
    EXPECT_EQ(SerialCommandSettings_get().reflected_range, 16);
}

TEST_F(SerialHandler, AutomaticIsSwitchedWithoutTouchingTheRanges) {
    SerialRange_Setrange(9);
    serial_command_handle_command(COMMAND_RYY);
    EXPECT_TRUE(SerialCommandSettings_get().autoscale);
    serial_command_handle_command(COMMAND_RNN);
    EXPECT_FALSE(SerialCommandSettings_get().autoscale);
    EXPECT_EQ(SerialCommandSettings_get().forward_range, 9);
}

TEST_F(SerialHandler, StatusZeroTellsTheSettings) {
    EXPECT_EQ(reply(COMMAND_STATUS0), " 6610  FCRYYPYYTT1XF\r\n");
    serial_command_handle_command(COMMAND_REFLECTED);
    serial_command_handle_command(COMMAND_TRIGGER_5);
    EXPECT_EQ(reply(COMMAND_STATUS0), " 6610  RCRYYPYYTT5XF\r\n");
    serial_command_handle_command(COMMAND_RNN);
    EXPECT_EQ(reply(COMMAND_STATUS0), " 6610  RCR00PYYTT5XF\r\n");
}

TEST_F(SerialHandler, StatusOneTellsTheFlagsAndResetsThem) {
    const struct {
        bool isCommandValid;
        bool isParameterValid;
        bool isTested;
        const char* text;
    } cases[] = {
        {true, true, false, " 6610  VCM VCO FL \r\n"},
        {false, true, false, " 6610  ICM VCO FL \r\n"},
        {true, false, false, " 6610  VCM ICO FL \r\n"},
        {true, true, true, " 6610  VCM VCO PS \r\n"},
        {false, false, true, " 6610  ICM ICO PS \r\n"},
    };
    for (const auto& row : cases) {
        SerialStatus_SetCommandStatus(row.isCommandValid);
        SerialStatus_SetParameterStatus(row.isParameterValid);
        SerialStatus_SetSelfTestStatus(row.isTested);
        EXPECT_EQ(reply(COMMAND_STATUS1), row.text);
        EXPECT_EQ(reply(COMMAND_STATUS1), " 6610  VCM VCO FL \r\n");
    }
}

TEST_F(SerialHandler, SelfTestPasses) {
    serial_command_handle_command(COMMAND_SELFTEST);
    EXPECT_EQ(reply(COMMAND_STATUS1), " 6610  VCM VCO PS \r\n");
}

TEST_F(SerialHandler, StatusTwoIsConstant) {
    EXPECT_EQ(reply(COMMAND_STATUS2), " 6610   0100 RS232\r\n");
}

constexpr const char* buildFile = "/usr/local/etc/defconfig/buildInstalled";

/// The UA reply behind the addresses, which are the world's.
std::string buildTexts(const std::string& line) {
    const size_t first = line.find(';');
    const size_t second = line.find(';', first + 1);
    return second == std::string::npos ? line : line.substr(second + 1);
}

TEST_F(SerialHandler, StatusATellsAddressesAndBuild) {
    World_writeFile("/sys/class/net/eth0/address", "02:00:5e:10:00:07\n");
    World_writeFile(buildFile, "BUILD_DATE=2024-10-10T18:59:38\nOTHER=x\nBUILD_HOSTNAME=host=a\n"
                               "nothing\nBUILD_UUID=0f1e-22");
    const std::string line = reply(COMMAND_STATUSA);
    EXPECT_EQ(line.substr(0, 21), "UA 02:00:5e:10:00:07;") << line;
    EXPECT_EQ(buildTexts(line), "host=a 2024-10-10T18:59:38 0f1e-22\r\n") << line;
}

TEST_F(SerialHandler, StatusAWithoutBuildInformationHasEmptyTexts) {
    World_removeFile(buildFile);
    World_clearSyslog();
    EXPECT_EQ(buildTexts(reply(COMMAND_STATUSA)), "  \r\n");
    EXPECT_TRUE(World_syslogContains(std::string("fopen ") + buildFile + " errno=2"));
}

TEST_F(SerialHandler, StatusAIsCutBeforeItsLineEnd) {
    World_writeFile("/sys/class/net/eth0/address", "02:00:5e:10:00:07\n");
    World_writeFile(buildFile, "BUILD_DATE=" + std::string(40, 'd') +
                                   "\nBUILD_HOSTNAME=" + std::string(40, 'h') +
                                   "\nBUILD_UUID=" + std::string(50, 'u') + "\n");
    const std::string line = reply(COMMAND_STATUSA);
    EXPECT_LE(line.size(), 127U);
    EXPECT_EQ(buildTexts(line).substr(0, 65),
              std::string(31, 'h') + " " + std::string(31, 'd') + " u");
    EXPECT_EQ(line.substr(line.size() - 3), "u\r\n");
}

TEST_F(SerialHandler, InitialisationRestoresSettingsAndModeOneOnly) {
    configuration_setPowerUnitsIsdBm(true);
    configuration_setUseLegacy(true);
    serial_command_handle_command(COMMAND_TRIGGER_5);
    serial_command_handle_command(COMMAND_REFLECTED);
    SerialRange_Setrange(7);
    serial_command_handle_command(COMMAND_RESET);
    EXPECT_FALSE(configuration_getPowerUnitsIsdBm());
    EXPECT_TRUE(configuration_getUseLegacy());
    const SerialCommandSettings settings = SerialCommandSettings_get();
    EXPECT_EQ(settings.trigger_mode, TRIGGER_MODE_1);
    EXPECT_EQ(settings.measure_select, MEASURE_SELECT_REFLECTED);
    EXPECT_EQ(settings.forward_range, 7);
    EXPECT_FALSE(settings.autoscale);
}

TEST_F(SerialHandler, InitialisationLetsTheGraphsFollow) {
    GraphSettings_t settings = configuration_getGraphSettings(UpperDisplay);
    settings.averageCount = 8;
    configuration_setGraphSettings(settings, LowerDisplay);
    settings.bReflectedMode = true;
    configuration_setGraphSettings(settings, UpperDisplay);
    for (SensorDisplayInstance& display : sensorDisplays) {
        CGraphData_create(&display.graphDataPwr, settings.averageCount);
        CGraphData_addItem(&display.graphDataPwr, 1.0F);
    }
    serial_command_handle_command(COMMAND_RESET);
    EXPECT_EQ(CGraphData_getCount(&sensorDisplays[UpperDisplay].graphDataPwr, RawData), 0U)
        << "reflected samples do not begin a graph of forward power";
    EXPECT_EQ(CGraphData_getCount(&sensorDisplays[LowerDisplay].graphDataPwr, RawData), 1U);
    for (const SensorDisplayInstance& display : sensorDisplays) {
        EXPECT_EQ(display.graphDataPwr.filterWidth, graphSettingsDefault.averageCount);
    }
}

TEST_F(SerialHandler, OnlyEnterIsAnsweredWithAReading) {
    SerialSensors_show(UpperDisplay, 0);
    SerialSensors_store(0, 25.0F, 0.5F);
    for (int command = COMMAND_NONE; command <= COMMAND_RETRY; ++command) {
        EXPECT_EQ(answer(static_cast<command_t>(command)),
                  command == COMMAND_ENTER ? "NFC   25.00   W\r\n" : "")
            << command;
    }
}

TEST_F(SerialHandler, SelectionDecidesBetweenForwardAndReflected) {
    SerialSensors_show(UpperDisplay, 0);
    SerialSensors_store(0, 25.0F, 0.5F);
    EXPECT_EQ(answer(), "NFC   25.00   W\r\n");
    serial_command_handle_command(COMMAND_REFLECTED);
    EXPECT_EQ(answer(), "NRC   .5000   W\r\n");
    serial_command_handle_command(COMMAND_FORWARD);
    EXPECT_EQ(answer(), "NFC   25.00   W\r\n");
}

TEST_F(SerialHandler, ModeFiveAnswersEachSelectionOnce) {
    SerialSensors_show(UpperDisplay, 0);
    SerialSensors_store(0, 25.0F, 0.5F);
    serial_command_handle_command(COMMAND_TRIGGER_5);
    EXPECT_EQ(answer(), "");
    serial_command_handle_command(COMMAND_REFLECTED);
    EXPECT_EQ(answer(), "NRC   .5000   W\r\n");
    EXPECT_EQ(answer(), "");
    serial_command_handle_command(COMMAND_FORWARD);
    EXPECT_EQ(answer(), "NFC   25.00   W\r\n");
    EXPECT_EQ(answer(), "");
}

TEST_F(SerialHandler, FirstConnectedSensorOfTheDisplaysIsChosen) {
    EXPECT_EQ(serial_command_handler_choosePort(), static_cast<uint32_t>(sensorPort_None));
    EXPECT_EQ(answer(), "");
    SerialSensors_store(0, 1.0F, 1.0F);
    SerialSensors_store(1, 2.0F, 2.0F);
    SerialSensors_show(LowerDisplay, 0);
    EXPECT_EQ(answer(), "NFC  1.0000   W\r\n");
    SerialSensors_show(UpperDisplay, 1);
    EXPECT_EQ(answer(), "NFC   2.000   W\r\n");
    sensorPortHandler_setIsConnected(1, false);
    EXPECT_EQ(answer(), "NFC  1.0000   W\r\n");
    sensorPortHandler_setIsConnected(0, false);
    EXPECT_EQ(answer(), "");
}

TEST_F(SerialHandler, AutomaticRangeFollowsThePowerUpAndDownThroughAllRanges) {
    const char* const numbers[] = {" 1.0000", " 10.000", " 100.00"};
    const char* const units[] = {"nW", "uW", "mW", " W", "KW", "MW"};
    SerialSensors_show(UpperDisplay, 0);
    for (int step = 0; step < 36; ++step) {
        const int range = step < 18 ? step : 35 - step;
        SerialSensors_store(0, static_cast<float>(std::pow(10.0, range - 9)), 0.0F);
        EXPECT_EQ(answer(),
                  std::string("NFC ") + numbers[range % 3] + "  " + units[range / 3] + "\r\n")
            << step;
        EXPECT_EQ(SerialCommandSettings_get().forward_range, range);
    }
}

TEST_F(SerialHandler, RangesByHandStayAndOverflow) {
    SerialSensors_show(UpperDisplay, 0);
    SerialRange_Setrange(10);
    SerialSensors_store(0, 20.0F, 1.5F);
    EXPECT_EQ(answer(), "OFC  199.99   W\r\n");
    EXPECT_EQ(SerialCommandSettings_get().forward_range, 10);
    serial_command_handle_command(COMMAND_REFLECTED);
    EXPECT_EQ(answer(), "NRC  1.5000   W\r\n");
    EXPECT_EQ(SerialCommandSettings_get().reflected_range, 9);
}

TEST_F(SerialHandler, SensorsLimitsAreMinimumRangeAndOverflow) {
    SerialSensors_show(UpperDisplay, 0);
    SerialSensors_setLimits(0, 0.1F, 25.0F);
    SerialSensors_store(0, 0.0001F, 0.0F);
    EXPECT_EQ(answer(), "NFC    0.10  mW\r\n");
    SerialSensors_store(0, 30.5F, 0.0F);
    EXPECT_EQ(answer(), "OFC  199.99   W\r\n");
}

} // namespace
