#include "UsbSensorConfig.h"

#include "LogManager.h"
#include "UsbConfigFixture.h"

namespace {

TEST_F(UsbSensorConfig, NothingIsSentWhenNoConfigurationWaits) {
    handler.newConfig = false;
    EXPECT_TRUE(sensorPortHandler_sendConfigToSensor(&handler));
    EXPECT_TRUE(device.messages().empty());
}

TEST_F(UsbSensorConfig, ManualSettingsGoOutInTheirOrder) {
    handler.sensorConfigs = manual();
    setCapabilities(true);
    device.setReply("SENS:FREQ:AUTO?", "1");
    device.setReply("SENS:PER:AUTO?", "1");
    device.setReply("SENS:SWE:TIME:AUTO?", "1");
    EXPECT_EQ(send(), (Messages{"SENS:FREQ:AUTO 0", "SENS:FREQ 2.000000", "SENS:REFL:ENAB 1",
                                "SENS:PER:AUTO 0", "SENS:SWE:TIME:AUTO 0", "SENS:PER 0.500000",
                                "SENS:SWE:TIME 0.500000", "TRIG:SOUR INT", "TRIG:LEV 12.500000",
                                "TRIG:SLOP POS", "TRIG:DEL -0.250000", "CALC:GATE:BEG:DEL 0.000100",
                                "CALC:GATE:END:DEL -0.000200"}));
}

TEST_F(UsbSensorConfig, AutomaticSettingsLeaveTheirValuesOut) {
    handler.sensorConfigs.bAutoFrequency = true;
    handler.sensorConfigs.bAutoPeriod = true;
    handler.sensorConfigs.bAutoTriggerLevel = true;
    handler.sensorConfigs.gateEnd = -0.0001F;
    EXPECT_EQ(send(), (Messages{"SENS:FREQ:AUTO 1", "SENS:REFL:ENAB 1", "SENS:PER:AUTO 1",
                                "SENS:SWE:TIME:AUTO 1", "TRIG:SOUR INT", "TRIG:SLOP NEG",
                                "CALC:GATE:END:DEL -0.000100"}));
}

TEST_F(UsbSensorConfig, EverySettingIsReadBackBeforeItIsSent) {
    handler.sensorConfigs.bAutoFrequency = true;
    handler.sensorConfigs.bAutoPeriod = true;
    handler.sensorConfigs.bAutoTriggerLevel = true;
    send();
    EXPECT_EQ(device.conversation(),
              (Messages{"SENS:FREQ:AUTO?", "SENS:FREQ:AUTO 1", "SENS:REFL:ENAB?",
                        "SENS:REFL:ENAB 1", "SENS:PER:AUTO?", "SENS:PER:AUTO 1",
                        "SENS:SWE:TIME:AUTO?", "SENS:SWE:TIME:AUTO 1", "TRIG:SOUR?",
                        "TRIG:SOUR INT", "TRIG:LEV:AUTO?", "TRIG:SLOP?", "TRIG:SLOP NEG",
                        "TRIG:DEL?", "CALC:GATE:BEG:DEL?", "CALC:GATE:END:DEL?"}));
}

TEST_F(UsbSensorConfig, ASettingThatTheSensorHasIsNotSentAgain) {
    handler.sensorConfigs = manual();
    setCapabilities(true);
    send();
    // Text settings are: their read-back carries its line end.
    EXPECT_EQ(send(), (Messages{"TRIG:SOUR INT", "TRIG:SLOP POS"}));
}

TEST_F(UsbSensorConfig, TriggeredStatesGoOutInsteadOfTheGate) {
    handler.sensorConfigs = manual();
    handler.sensorConfigs.bModelIsTriggeredGates = true;
    setCapabilities(true);
    handler.sensorConfigs.bAutoPeriod = true;
    handler.sensorConfigs.bAutoTriggerLevel = true;
    device.setReply("CALC:STAT2:ENAB?", "1");
    EXPECT_EQ(send(), (Messages{"SENS:FREQ 2.000000", "SENS:REFL:ENAB 1", "SENS:PER:AUTO 1",
                                "SENS:SWE:TIME:AUTO 1", "TRIG:SOUR INT", "TRIG:SLOP POS",
                                "TRIG:DEL -0.250000", "CALC:STAT1:BEG:DEL 0.100000",
                                "CALC:STAT1:END:DEL 0.200000", "CALC:STAT1:ENAB 1",
                                "CALC:STAT2:ENAB 0", "CALC:STAT3:BEG:DEL 0.300000",
                                "CALC:STAT3:END:DEL 0.400000", "CALC:STAT3:ENAB 1"}));
}

TEST_F(UsbSensorConfig, ASimpleModelGetsFrequencyAndGateOnly) {
    handler.sensorConfigs = manual();
    handler.sensorConfigs.bModelIsTriggeredGates = true;
    setCapabilities(false);
    send();
    EXPECT_EQ(device.conversation(),
              (Messages{"SENS:FREQ:AUTO?", "SENS:FREQ?", "SENS:FREQ 2.000000", "SENS:REFL:ENAB?",
                        "SENS:REFL:ENAB 1", "CALC:GATE:BEG:DEL?", "CALC:GATE:BEG:DEL 0.000100",
                        "CALC:GATE:END:DEL?", "CALC:GATE:END:DEL -0.000200"}));
}

/// What is said of a setting that fails.
struct SettingCase {
    std::string command;
    std::string words;
    std::string error;
    bool isOfState; ///< sent in triggered-states mode only
};

std::vector<SettingCase> settingCases() {
    std::vector<SettingCase> cases = {
        {"SENS:FREQ:AUTO", "frequency auto command", "Freq Auto is not valid", false},
        {"SENS:FREQ", "frequency command", "Freq is not valid", false},
        {"SENS:REFL:ENAB", "reflected enable command", "Refl Enable is not valid", false},
        {"SENS:PER:AUTO", "period auto command", "Period Auto is not valid", false},
        {"SENS:SWE:TIME:AUTO", "sweep time auto command", "Sweep Time Auto is not valid", false},
        {"SENS:PER", "period command", "Period is not valid", false},
        {"SENS:SWE:TIME", "sweep time command", "Sweep Time is not valid", false},
        {"TRIG:SOUR", "trigger source command", "Trigger Source is not valid", false},
        {"TRIG:LEV:AUTO", "trigger level auto command", "Trigger Level Auto is not valid", false},
        {"TRIG:LEV", "trigger level command", "Trigger Level is not valid", false},
        {"TRIG:SLOP", "trigger slope command", "Trigger Slope is not valid", false},
        {"TRIG:DEL", "trigger delay command", "Trigger Delay is not valid", false},
        {"CALC:GATE:BEG:DEL", "gate begin delay command", "Gate Begin is not valid", false},
        {"CALC:GATE:END:DEL", "gate end delay command", "Gate End is not valid", false},
    };
    for (const std::string number : {"1", "2", "3", "4"}) {
        const std::string header = "CALC:STAT" + number;
        const std::string words = "state " + number;
        const std::string error = "State " + number;
        cases.push_back(
            {header + ":BEG:DEL", words + " begin command", error + " Begin is not valid", true});
        cases.push_back(
            {header + ":END:DEL", words + " end command", error + " End is not valid", true});
        cases.push_back(
            {header + ":ENAB", words + " enable command", "State Enable is not valid", true});
    }
    return cases;
}

/// A configuration in which every setting of the case's mode is sent.
SENSOR_CONFIGS configsFor(const SettingCase& setting) {
    SENSOR_CONFIGS configs = manual();
    configs.bModelIsTriggeredGates = setting.isOfState;
    for (PULSE_STATE_INTVL& state : configs.pulseStates) {
        state = {true, 0.1F, 0.2F};
    }
    return configs;
}

TEST_F(UsbSensorConfig, ARefusedSettingIsLoggedAndCollectedAndTheRestGoesOut) {
    for (const SettingCase& one : settingCases()) {
        // The automatic trigger level is never sent: its error comes with its question.
        const bool isAsked = one.command == "TRIG:LEV:AUTO";
        device.setReply(one.command + "?", "77");
        handler.sensorConfigs = configsFor(one);
        setCapabilities(true);
        World_clearSyslog();
        device.refuse(one.command, -222);
        device.setListener([&](const std::string& message) {
            if (isAsked && message == "TRIG:LEV:AUTO?") {
                device.queueError(-222);
            }
        });
        send();
        ASSERT_EQ(handler.usbtmc_Errors.count, 1) << one.command;
        EXPECT_EQ(handler.usbtmc_Errors.errors[0], one.error);
        EXPECT_TRUE(World_syslogContains("USER_WARNING:  USB sensor 3 " + one.words +
                                         " failed with error 2."))
            << one.command;
        device.setListener(nullptr);
        device.accept(one.command);
        send();
        EXPECT_EQ(handler.usbtmc_Errors.count, 0);
    }
}

TEST_F(UsbSensorConfig, EverySettingThatIsNotAnsweredStopsTheSendingWithItsOwnMessage) {
    for (const SettingCase& one : settingCases()) {
        handler.sensorConfigs = configsFor(one);
        setCapabilities(true);
        handler.newConfig = true;
        World_clearSyslog();
        device.setReply(one.command + "?", "");
        EXPECT_FALSE(sensorPortHandler_sendConfigToSensor(&handler)) << one.command;
        EXPECT_TRUE(handler.newConfig) << one.command;
        EXPECT_TRUE(World_syslogContains("USER_ERROR: USB sensor 3 " + one.words +
                                         " failed with a transport error 1."))
            << one.command;
        device.setReply(one.command + "?", "0");
    }
}

TEST_F(UsbSensorConfig, ASixthErrorIsLoggedButNotCollected) {
    handler.sensorConfigs = manual();
    setCapabilities(true);
    for (const char* command :
         {"SENS:FREQ", "SENS:REFL:ENAB", "SENS:PER", "SENS:SWE:TIME", "TRIG:LEV", "TRIG:DEL"}) {
        device.refuse(command, -113);
    }
    send();
    EXPECT_EQ(handler.usbtmc_Errors.count, 5);
    EXPECT_STREQ(handler.usbtmc_Errors.errors[4], "Trigger Level is not valid");
    EXPECT_TRUE(World_syslogContains("USER_WARNING:  USB sensor 3 trigger delay command failed "
                                     "with error 3."));
    UsbSensorConfig_logErrors(&handler);
    EXPECT_TRUE(
        World_syslogContains("USER_ERROR: SCPIErrors: channel 3, error[0] = Freq is not valid."));
    EXPECT_TRUE(World_syslogContains(
        "USER_ERROR: SCPIErrors: channel 3, error[4] = Trigger Level is not valid."));
}

TEST_F(UsbSensorConfig, ATransportErrorStopsTheSendingAndTheConfigurationWaitsOn) {
    handler.sensorConfigs = manual();
    handler.newConfig = true;
    device.setReply("SENS:REFL:ENAB?", "");
    EXPECT_FALSE(sensorPortHandler_sendConfigToSensor(&handler));
    EXPECT_TRUE(handler.newConfig);
    EXPECT_TRUE(World_syslogContains("USER_ERROR: USB sensor 3 reflected enable command failed "
                                     "with a transport error 1."));
    EXPECT_EQ(sent(), (Messages{"SENS:FREQ 2.000000"}));
}

TEST_F(UsbSensorConfig, CwModeSendsTenMillisecondsToSensorsThatHaveAPeriod) {
    device.setReply("SENS:PER:AUTO?", "1");
    device.setReply("SENS:SWE:TIME:AUTO?", "1");
    EXPECT_TRUE(UsbSensorConfig_sendCw(&handler));
    EXPECT_EQ(sent(), (Messages{"SENS:PER:AUTO 0", "SENS:SWE:TIME:AUTO 0", "SENS:PER 0.010000",
                                "SENS:SWE:TIME 0.010000"}));
    device.clearMessages();
    setCapabilities(false);
    EXPECT_TRUE(UsbSensorConfig_sendCw(&handler));
    EXPECT_TRUE(device.messages().empty());
}

TEST_F(UsbSensorConfig, CwModeCollectsItsOwnLabels) {
    device.setReply("SENS:PER:AUTO?", "1");
    device.setReply("SENS:SWE:TIME:AUTO?", "1");
    for (const char* command :
         {"SENS:PER:AUTO", "SENS:SWE:TIME:AUTO", "SENS:PER", "SENS:SWE:TIME"}) {
        device.refuse(command, -222);
    }
    EXPECT_TRUE(UsbSensorConfig_sendCw(&handler));
    ASSERT_EQ(handler.usbtmc_Errors.count, 4);
    EXPECT_STREQ(handler.usbtmc_Errors.errors[0], "Freq Auto is not valid");
    EXPECT_STREQ(handler.usbtmc_Errors.errors[1], "Sweep Time Auto is not valid");
    EXPECT_STREQ(handler.usbtmc_Errors.errors[2], "Freq Auto is not valid");
    EXPECT_STREQ(handler.usbtmc_Errors.errors[3], "Sweep Time is not valid");
    EXPECT_TRUE(World_syslogContains("USER_WARNING:  USB sensor 3 period command failed with "
                                     "error 2."));
}

TEST_F(UsbSensorConfig, CwModeStopsAtATransportError) {
    const struct {
        const char* question;
        const char* words;
        const char* next; ///< what is not asked any more
    } cases[] = {
        {"SENS:PER:AUTO?", "period auto", "SENS:SWE:TIME:AUTO?"},
        {"SENS:SWE:TIME:AUTO?", "sweep time auto", "SENS:PER?"},
        {"SENS:PER?", "period", "SENS:SWE:TIME?"},
        {"SENS:SWE:TIME?", "sweep time", "INIT"},
    };
    for (const auto& one : cases) {
        World_clearSyslog();
        device.clearMessages();
        device.setReply(one.question, "");
        EXPECT_FALSE(UsbSensorConfig_sendCw(&handler)) << one.question;
        EXPECT_TRUE(World_syslogContains(std::string("USER_ERROR: USB sensor 3 ") + one.words +
                                         " command failed with a transport error 1."))
            << one.question;
        EXPECT_FALSE(device.hasReceived(one.next)) << one.question;
        device.setReply(one.question, "0");
    }
}

TEST_F(UsbSensorConfig, TheSensorsOwnConfigurationIsReadWhole) {
    handler.sensorConfigs = manual();
    handler.sensorConfigs.numStates = 3;
    setCapabilities(true);
    handler.newConfig = true;
    device.setReply("SENS:PER:AUTO?", "1");
    device.setReply("SENS:PER?", "0.125");
    device.setReply("SENS:FREQ:AUTO?", "1");
    device.setReply("SENS:FREQ?", "13.56");
    device.setReply("TRIG:LEV:AUTO?", "1");
    device.setReply("TRIG:LEV?", "2.5");
    device.setReply("TRIG:DEL?", "-0.5");
    device.setReply("CALC:STAT4:ENAB?", "1");
    device.setReply("CALC:STAT4:BEG:DEL?", "0.25");
    device.setReply("CALC:STAT4:END:DEL?", "0.75");
    EXPECT_TRUE(sensorPortHandler_readSensorConfig(&handler));
    const SENSOR_CONFIGS& configs = handler.sensorConfigs;
    EXPECT_FALSE(handler.newConfig);
    EXPECT_TRUE(configs.bSupportsAutoPeriod && configs.bSupportsAutoTiggerLevel &&
                configs.bSupportsTriggeredGates);
    EXPECT_TRUE(configs.bAutoPeriod);
    EXPECT_EQ(configs.prdVal, 0.125F);
    EXPECT_TRUE(configs.bAutoFrequency);
    EXPECT_EQ(configs.freqVal, 13560000.0F);
    EXPECT_TRUE(configs.bAutoTriggerLevel);
    EXPECT_EQ(configs.trigLevelVal, 2.5F);
    EXPECT_EQ(configs.trigDelayVal, -0.5F);
    EXPECT_FALSE(configs.pulseStates[0].bEnabled);
    EXPECT_TRUE(configs.pulseStates[3].bEnabled);
    EXPECT_EQ(configs.pulseStates[3].begin, 0.25F);
    EXPECT_EQ(configs.pulseStates[3].end, 0.75F);
    EXPECT_EQ(configs.trigSlope, 0);
    EXPECT_FALSE(configs.bModelIsTriggeredGates);
    EXPECT_EQ(configs.numStates, 0);
    EXPECT_EQ(configs.gateBegin, 0.0F);
    Messages expected = {"SENS:PER:AUTO?", "SENS:PER?", "SENS:FREQ:AUTO?", "SENS:FREQ?",
                         "TRIG:LEV:AUTO?", "TRIG:LEV?", "TRIG:DEL?"};
    for (const char* state : {"1", "2", "3", "4"}) {
        for (const char* what : {":ENAB?", ":BEG:DEL?", ":END:DEL?"}) {
            expected.push_back(std::string("CALC:STAT") + state + what);
        }
    }
    EXPECT_EQ(device.conversation(), expected);
}

TEST_F(UsbSensorConfig, ASimpleModelIsAskedForItsFrequencyOnly) {
    setCapabilities(false);
    EXPECT_TRUE(sensorPortHandler_readSensorConfig(&handler));
    EXPECT_EQ(device.messages(), (Messages{"SENS:FREQ:AUTO?", "SENS:FREQ?"}));
}

struct QueryFailure {
    std::string query;
    std::string words;
};

std::vector<QueryFailure> queryFailures() {
    std::vector<QueryFailure> cases = {
        {"SENS:PER:AUTO?", "period auto"}, {"SENS:FREQ:AUTO?", "frequency auto"},
        {"SENS:FREQ?", "frequency"},       {"TRIG:LEV:AUTO?", "trigger level auto"},
        {"TRIG:LEV?", "trigger level"},    {"TRIG:DEL?", "trigger delay"},
    };
    for (int state = 0; state < 4; ++state) {
        const std::string header = "CALC:STAT" + std::to_string(state + 1);
        const std::string words = "state " + std::to_string(state); // counted from 0
        cases.push_back({header + ":ENAB?", words + " enable"});
        cases.push_back({header + ":BEG:DEL?", words + " begin"});
        cases.push_back({header + ":END:DEL?", words + " end"});
    }
    return cases;
}

TEST_F(UsbSensorConfig, AOneByteReplyFailsTheReadingAndStoresNothing) {
    for (const QueryFailure& one : queryFailures()) {
        handler.sensorConfigs.freqVal = 42.0F;
        World_clearSyslog();
        device.setRawReply(one.query, "1");
        EXPECT_FALSE(sensorPortHandler_readSensorConfig(&handler)) << one.query;
        EXPECT_EQ(handler.sensorConfigs.freqVal, 42.0F);
        EXPECT_TRUE(World_syslogContains("USER_ERROR: USB sensor 3 " + one.words + " query failed"))
            << one.query;
        device.setReply(one.query, "0");
    }
}

TEST_F(UsbSensorConfig, AQuestionWithoutAnAnswerLeavesItsFieldAsItWas) {
    handler.sensorConfigs = manual();
    handler.sensorConfigs.bAutoPeriod = true;
    handler.sensorConfigs.bAutoFrequency = true;
    handler.sensorConfigs.freqVal = 13.56e6F;
    handler.sensorConfigs.bAutoTriggerLevel = true;
    handler.sensorConfigs.pulseStates[2] = {true, 0.25F, 0.5F};
    setCapabilities(true);
    const SENSOR_CONFIGS before = handler.sensorConfigs;
    for (const QueryFailure& one : queryFailures()) {
        device.setReply(one.query, "");
    }
    device.setReply("SENS:PER?", "0.125");
    World_writeFile("/tmp/debug", "");
    World_writeFile("/tmp/logConfig", "SensorCommunications\n");
    LogManager_create();
    LogManager_route();
    testing::internal::CaptureStdout();

    EXPECT_TRUE(sensorPortHandler_readSensorConfig(&handler));

    EXPECT_TRUE(World_waitUntil(LogManager_flush, 30000));
    const std::string trace = testing::internal::GetCapturedStdout();
    for (const QueryFailure& one : queryFailures()) {
        EXPECT_NE(trace.find("USB sensor 3 " + one.words + " query was not answered\n"),
                  std::string::npos)
            << one.query;
    }
    const SENSOR_CONFIGS& configs = handler.sensorConfigs;
    EXPECT_EQ(configs.prdVal, 0.125F) << "the answered one is taken";
    EXPECT_TRUE(configs.bAutoPeriod);
    EXPECT_TRUE(configs.bAutoFrequency);
    EXPECT_EQ(configs.freqVal, before.freqVal);
    EXPECT_TRUE(configs.bAutoTriggerLevel);
    EXPECT_EQ(configs.trigLevelVal, before.trigLevelVal);
    EXPECT_EQ(configs.trigDelayVal, before.trigDelayVal);
    EXPECT_TRUE(configs.pulseStates[2].bEnabled);
    EXPECT_EQ(configs.pulseStates[2].begin, 0.25F);
    EXPECT_EQ(configs.pulseStates[2].end, 0.5F);
}

TEST_F(UsbSensorConfig, TheReadingFailsWhenThePeriodIsNotAnswered) {
    device.setReply("SENS:PER?", "");
    EXPECT_FALSE(sensorPortHandler_readSensorConfig(&handler));
    EXPECT_TRUE(World_syslogContains("USER_ERROR: USB sensor 3 period query failed"));
}

} // namespace
