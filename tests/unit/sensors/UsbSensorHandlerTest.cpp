#include "UsbSensorHandler.h"

#include "SensorPolling.h"
#include "StillClock.h"
#include "Threads.h"
#include "UsbSensorFixture.h"

#include <array>
#include <cerrno>
#include <cmath>

namespace {

TEST_F(UsbSensor, BeginsWithoutADevice) {
    UsbTmcPort_Close(handler.usbPort.fd);
    sensorUsbHandler_initSensorData(&handler, usbPort2Name);
    EXPECT_STREQ(handler.usbPort.usbPortName, usbPort2Name);
    EXPECT_EQ(handler.usbPort.fd, -1);
    EXPECT_TRUE(handler.usbPort.portClosed);
}

TEST_F(UsbSensor, StartClearsTheDeviceAndGoesOnToConnect) {
    EXPECT_EQ(step(stateUsbStart, 5), stateUsbConnect);
    EXPECT_EQ(handler.usbtmcSubstate, 0U);
    EXPECT_EQ(device.messages(), (Messages{"<O>", "<I>", "<C>"}));
}

TEST_F(UsbSensor, StartIsRepeatedWhileTheClearFails) {
    device.setRequestError(EIO);
    EXPECT_EQ(step(stateUsbStart), stateUsbStart);
}

TEST_F(UsbSensor, ConnectResetsAwaitsAStatusAndClearsIt) {
    EXPECT_EQ(step(stateUsbConnect, 0), stateUsbConnect);
    EXPECT_EQ(handler.usbtmcSubstate, 1U);
    EXPECT_EQ(handler.usbtmcRetryCount, 25U);
    device.setReply("*STB?", "0");
    EXPECT_EQ(step(stateUsbConnect), stateUsbConnect);
    EXPECT_EQ(handler.usbtmcSubstate, 1U);
    EXPECT_EQ(handler.usbtmcRetryCount, 24U);
    device.setReply("*STB?", "32");
    EXPECT_EQ(step(stateUsbConnect), stateUsbConnect);
    EXPECT_EQ(handler.usbtmcSubstate, 2U);
    EXPECT_EQ(step(stateUsbConnect), stateUsbIdent);
    EXPECT_EQ(handler.usbtmcSubstate, 0U);
    EXPECT_EQ(handler.usbtmcRetryCount, 5U);
    EXPECT_EQ(device.messages(), (Messages{"*RST", "*STB?", "*STB?", "*CLS"}));
}

TEST_F(UsbSensor, TwentyFiveStatusesOfZeroStartItAgain) {
    device.setReply("*STB?", "0");
    step(stateUsbConnect, 0);
    for (int count = 1; count < 25; ++count) {
        EXPECT_EQ(step(stateUsbConnect), stateUsbConnect) << count;
    }
    EXPECT_EQ(step(stateUsbConnect), stateUsbStart);
}

TEST_F(UsbSensor, IdentificationReadsModelSerialNumberFirmwareAndLimits) {
    device.setReply("SYST:IDEN:SN?", "SN 20-0201170x");
    device.setReply("SYST:IDEN:FWR?", "V2.05 beta \t");
    device.setReply("SYST:IDEN:MOD?", "3164 \r");
    device.setReply("PNP:FILE:BLOC:DATA?", usbDevice_block("no limits"));
    handler.usbtmcSubstate = 0;
    EXPECT_EQ(run(stateUsbIdent, stateUsbGetConfig), stateUsbGetConfig);
    EXPECT_STREQ(handler.sensorIdentity.sensorModel, "3164");
    EXPECT_STREQ(handler.sensorIdentity.sensorFirmwareRevision, "V2.05 beta");
    EXPECT_STREQ(handler.serialNumber, "20020") << "the first nine bytes count";
    EXPECT_EQ(handler.sensorIdentity.sensorPower.max, 100000.0F);
    const Messages messages = device.messages();
    ASSERT_GE(messages.size(), 3U);
    EXPECT_EQ(messages[0], "SYST:IDEN:MOD?");
    EXPECT_EQ(messages[1], "SYST:IDEN:SN?");
    EXPECT_EQ(messages[2], "SYST:IDEN:FWR?");
}

TEST_F(UsbSensor, IdentityTextsAreTrimmedWhereTheirFieldsEnd) {
    // 20 characters of a model count and 48 of a revision: all in front of the x.
    device.setReply("SYST:IDEN:MOD?", "3164" + std::string(8, 'm') + std::string(8, ' ') + "x");
    device.setReply("SYST:IDEN:FWR?", std::string(40, 'v') + std::string(8, ' ') + "x");
    handler.usbtmcSubstate = 0;
    EXPECT_EQ(run(stateUsbIdent, stateUsbGetConfig), stateUsbGetConfig);
    EXPECT_EQ(handler.sensorIdentity.sensorModel, "3164" + std::string(8, 'm'));
    EXPECT_EQ(handler.sensorIdentity.sensorFirmwareRevision, std::string(40, 'v'));
    device.setReply("SYST:IDEN:FWR?", std::string(49, 'v'));
    handler.usbtmcSubstate = 0;
    EXPECT_EQ(run(stateUsbIdent, stateUsbGetConfig), stateUsbGetConfig);
    EXPECT_EQ(handler.sensorIdentity.sensorFirmwareRevision, std::string(48, 'v'));
}

struct ModelCase {
    const char* model;
    bool hasPulseFeatures;
};

TEST_F(UsbSensor, TwoModelsHaveNoPulseFeatures) {
    const ModelCase cases[] = {{"3162", true},  {"3163", false},   {"3164", true},
                               {"3165", false}, {"X3163B", false}, {"9413", true}};
    for (const ModelCase& one : cases) {
        device.setReply("SYST:IDEN:MOD?", one.model);
        EXPECT_EQ(step(stateUsbIdent, 0), stateUsbIdent);
        EXPECT_EQ(handler.sensorConfigs.bSupportsAutoPeriod, one.hasPulseFeatures) << one.model;
        EXPECT_EQ(handler.sensorConfigs.bSupportsAutoTiggerLevel, one.hasPulseFeatures);
        EXPECT_EQ(handler.sensorConfigs.bSupportsTriggeredGates, one.hasPulseFeatures);
    }
}

TEST_F(UsbSensor, AModelIsCutAtTwentyCharacters) {
    device.setReply("SYST:IDEN:MOD?", std::string(30, '4'));
    step(stateUsbIdent, 0);
    EXPECT_EQ(handler.sensorIdentity.sensorModel, std::string(20, '4'));
}

TEST_F(UsbSensor, AModelOfThreeCharactersIsAskedForFiveTimes) {
    device.setReply("SYST:IDEN:MOD?", "316");
    handler.usbtmcRetryCount = 5;
    for (int count = 1; count < 5; ++count) {
        EXPECT_EQ(step(stateUsbIdent, 0), stateUsbIdent);
        EXPECT_EQ(handler.usbtmcSubstate, 0U);
    }
    EXPECT_EQ(step(stateUsbIdent, 0), stateUsbStart);
}

TEST_F(UsbSensor, AFallBackKeepsTheIdentityAndSkipsItsReading) {
    handler.usbtmcSubstate = 0;
    run(stateUsbIdent, stateUsbGetConfig);
    handler.usbPort.configDone = true;
    device.clearMessages();
    handler.usbtmcSubstate = 0;
    EXPECT_EQ(run(stateUsbConnect, stateUsbIdent), stateUsbIdent);
    EXPECT_EQ(step(stateUsbIdent), stateUsbGetConfig);
    EXPECT_STREQ(handler.sensorIdentity.sensorModel, "3164");
    EXPECT_STREQ(handler.serialNumber, "123456789");
    EXPECT_FALSE(device.hasReceived("SYST:IDEN:MOD?"));
}

TEST_F(UsbSensor, ANewIdentificationBeginsWithAnEmptyModelAndSerialNumber) {
    handler.usbtmcSubstate = 0;
    run(stateUsbIdent, stateUsbGetConfig);
    EXPECT_EQ(step(stateUsbConnect, 2), stateUsbIdent);
    EXPECT_STREQ(handler.sensorIdentity.sensorModel, "");
    EXPECT_STREQ(handler.serialNumber, "");
}

struct FailureCase {
    sensorUsbCommState state;
    uint32_t substate;
    const char* query;
};

TEST_F(UsbSensor, AQuestionWithoutAnAnswerStartsItAgain) {
    const FailureCase cases[] = {
        {stateUsbIdent, 0, "SYST:IDEN:MOD?"}, {stateUsbIdent, 1, "SYST:IDEN:SN?"},
        {stateUsbIdent, 2, "SYST:IDEN:FWR?"}, {stateUsbIdent, 3, "PNP:AVA?"},
        {stateUsbCwMeasure, 0, "FETC:TEMP?"},
    };
    for (const FailureCase& one : cases) {
        device.setReply(one.query, "");
        EXPECT_EQ(step(one.state, one.substate), stateUsbStart) << one.query;
        device.setReply(one.query, "3164");
    }
    EXPECT_EQ(step(stateUsbConnect, 3), stateUsbStart);
    EXPECT_EQ(step(stateUsbIdent, 4), stateUsbStart);
}

TEST_F(UsbSensor, TheModeDecidesWhatFollowsTheReadingOfTheConfiguration) {
    EXPECT_EQ(step(stateUsbGetConfig), stateUsbSendConfigCW);
    EXPECT_FALSE(handler.sensorPulseModeEnabled);
    EXPECT_FALSE(isReadySet());
    configuration_setPulseMode(true);
    EXPECT_EQ(step(stateUsbGetConfig), stateUsbInit);
    EXPECT_TRUE(handler.sensorPulseModeEnabled);
    EXPECT_TRUE(isReadySet());
    device.setRawReply("SENS:FREQ?", "1");
    EXPECT_EQ(step(stateUsbGetConfig), stateUsbStart);
}

struct ModeCase {
    bool applied;
    bool wanted;
    sensorUsbCommState next;
    bool isResent;
};

TEST_F(UsbSensor, ASwitchOfTheModeTakesEffectAtTheNextPass) {
    const ModeCase cases[] = {
        {false, false, stateUsbInit, false},
        {true, true, stateUsbSendConfigPulse, false},
        {false, true, stateUsbResendConfigPulse, true},
        {true, false, stateUsbSendConfigCW, false},
    };
    for (const ModeCase& one : cases) {
        handler.newConfig = false;
        handler.sensorPulseModeEnabled = one.applied;
        configuration_setPulseMode(one.wanted);
        EXPECT_EQ(step(stateUsbSendConfig), one.next);
        EXPECT_EQ(handler.sensorPulseModeEnabled, one.wanted);
        EXPECT_EQ(handler.newConfig, one.isResent);
    }
}

TEST_F(UsbSensor, TheCwSettingsMakeItReady) {
    setCapabilities(true);
    device.refuse("SENS:PER", -222);
    EXPECT_EQ(step(stateUsbSendConfigCW), stateUsbInit);
    EXPECT_TRUE(isReadySet());
    EXPECT_TRUE(World_syslogContains(
        "USER_ERROR: SCPIErrors: channel 3, error[0] = Freq Auto is not valid."));
    device.setReply("SENS:PER:AUTO?", "");
    EXPECT_EQ(step(stateUsbSendConfigCW), stateUsbStart);
}

TEST_F(UsbSensor, ThePulseSettingsMakeItReady) {
    handler.newConfig = true;
    EXPECT_EQ(step(stateUsbSendConfigPulse), stateUsbInit);
    EXPECT_TRUE(isReadySet());
    EXPECT_FALSE(handler.newConfig);
    handler.newConfig = true;
    device.setReply("SENS:FREQ:AUTO?", "");
    EXPECT_EQ(step(stateUsbSendConfigPulse), stateUsbStart);
    EXPECT_TRUE(handler.newConfig);
}

TEST_F(UsbSensor, AResentConfigurationWithErrorsIsReadBack) {
    device.clearSettings();
    handler.newConfig = true;
    EXPECT_EQ(step(stateUsbResendConfigPulse), stateUsbInit);
    handler.newConfig = true;
    handler.sensorConfigs.freqVal = 5e6F;
    device.refuse("SENS:FREQ", -222);
    EXPECT_EQ(step(stateUsbResendConfigPulse), stateUsbGetConfig);
    EXPECT_TRUE(World_syslogContains("SCPIErrors: channel 3, error[0] = Freq is not valid."));
    handler.newConfig = true;
    device.setReply("SENS:FREQ:AUTO?", "");
    EXPECT_EQ(step(stateUsbResendConfigPulse), stateUsbStart);
}

TEST_F(UsbSensor, IdleStaysWhileThePortIsClosed) {
    EXPECT_EQ(step(stateUsbIdle), stateUsbSendConfig);
    handler.usbPort.portClosed = true;
    EXPECT_EQ(step(stateUsbIdle), stateUsbIdle);
}

struct PauseCase {
    sensorUsbCommState state;
    uint32_t substate;
    const char* query;
    const char* reply;
    double pause_ms;
};

TEST_F(UsbSensor, EveryStepGivesTheSensorItsTime) {
    const PauseCase cases[] = {
        {stateUsbStart, 0, "*STB?", "32", 1000},
        {stateUsbConnect, 0, "*STB?", "32", 500},
        {stateUsbConnect, 1, "*STB?", "32", 500},
        {stateUsbConnect, 1, "*STB?", "0", 500},
        {stateUsbConnect, 2, "*STB?", "32", 500},
        {stateUsbIdent, 0, "SYST:IDEN:MOD?", "316", 500},
        {stateUsbIdent, 0, "SYST:IDEN:MOD?", "3164", 0},
        {stateUsbGetConfig, 0, "*STB?", "0", 0},
        {stateUsbInit, 0, "*STB?", "0", 10 + 50},
        {stateUsbIdle, 0, "*STB?", "0", 20},
    };
    const StillClock clock;
    for (const PauseCase& one : cases) {
        device.setReply(one.query, one.reply);
        handler.usbtmcRetryCount = 2;
        EXPECT_TRUE(clock.takes(one.pause_ms, [&] { step(one.state, one.substate); }))
            << SensorPortHandler_getSensorUSBStateName(one.state) << ' ' << one.substate << ' '
            << one.reply;
    }
    device.setRequestError(EIO);
    EXPECT_TRUE(clock.takes(500, [&] { step(stateUsbStart); })) << "a clear that fails";
}

TEST_F(UsbSensor, AStateBeyondTheTableBecomesIdle) {
    for (const uint32_t state : {12U, 255U, 0xFFFFFFFFU}) {
        EXPECT_EQ(step(static_cast<sensorUsbCommState>(state)), stateUsbIdle);
    }
}

TEST_F(UsbSensor, AStepThatFindsItUnpluggedSaysSo) {
    handler.sensorState = stateUsbCwMeasure;
    EXPECT_TRUE(sensorUsbHandler_handleSensorStates(&handler));
    device.unplug();
    handler.sensorState = stateUsbCwMeasure;
    EXPECT_FALSE(sensorUsbHandler_handleSensorStates(&handler));
    handler.sensorState = stateUsbStart; // by now there is no such device
    EXPECT_FALSE(sensorUsbHandler_handleSensorStates(&handler));
}

TEST_F(UsbSensor, WithoutADeviceAStepOnlyPauses) {
    const StillClock clock;
    const int fd = handler.usbPort.fd;
    for (const int none : {-1, 0}) {
        handler.usbPort.fd = none;
        handler.sensorState = stateUsbInit;
        EXPECT_TRUE(clock.takes(
            100, [this] { EXPECT_TRUE(sensorUsbHandler_handleSensorStates(&handler)); }));
        EXPECT_EQ(handler.sensorState, stateUsbInit);
    }
    handler.usbPort.fd = fd;
    EXPECT_TRUE(device.messages().empty());
}

TEST(UsbSensorStates, HaveTheirNames) {
    EXPECT_STREQ(SensorPortHandler_getSensorUSBStateName(0), "stateUsbStart");
    EXPECT_STREQ(SensorPortHandler_getSensorUSBStateName(7), "stateUsbResendConfigPulse");
    EXPECT_STREQ(SensorPortHandler_getSensorUSBStateName(11), "stateUsbIdle");
    EXPECT_STREQ(SensorPortHandler_getSensorUSBStateName(12), "unknown");
}

TEST(UsbSensorModel, IsValidWhenItsBeginningNamesAFamily) {
    for (const char* valid : {"3164", "3162A", "9411", "X317", "3190", "1941"}) {
        EXPECT_TRUE(sensorUsbHandler_ModelIsValid(valid)) << valid;
    }
    for (const char* other : {"", "316", "5132", "XX316", "31 6"}) {
        EXPECT_FALSE(sensorUsbHandler_ModelIsValid(other)) << other;
    }
}

TEST(UsbSensorConnection, BeginsWithTheStoredConfigurationAndWithoutAnyReading) {
    prepareFiles();
    World_removeFile("/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf");
    USB_HANDLER_DATA_STRUCT& handler = sensorUsbHandlerData[1];
    handler.usbPort.configDone = true;
    handler.isInitialized = true;
    handler.sensorMeasurements.fwdPwrVal = 5.0F;
    handler.sensorIdentity.sensorPower.max = 5.0F;
    const StillClock clock;
    EXPECT_TRUE(clock.takes(100, [] {
        sensorUsbHandler_serveConnection(&sensorUsbHandlerData[1],
                                         0); // of a sensor that has been pulled already
    }));
    EXPECT_EQ(sensorPortHandler_getSensorMaxPower(sensorPort_USB2), 199990.0F);
    EXPECT_FALSE(handler.usbPort.configDone);
    EXPECT_FALSE(handler.isInitialized);
    EXPECT_TRUE(std::isnan(handler.sensorMeasurements.fwdPwrVal));
    EXPECT_TRUE(handler.sensorConfigs.bAutoFrequency);
    EXPECT_NE(World_readFile("/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf").find("Default"),
              std::string::npos);
}

} // namespace
