#include "UsbSensorHandler.h"

#include "Configuration.h"
#include "PortHandlers.h"
#include "PulseConfig.h"
#include "SensorDetect.h"
#include "SensorManager.h"
#include "SensorPolling.h"
#include "SensorPortHandler.h"
#include "Threads.h"
#include "UsbDevice.h"
#include "UsbSensorConfig.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <dirent.h>
#include <memory>
#include <thread>

namespace {

using Messages = std::vector<std::string>;

std::atomic<uint32_t> told;

void prepareFiles() {
    setConfigurationFile("");
    readConfigFile();
    sensorPortHandler_setPulseConfigFile("");
}

/// A handler of USB2 whose sensor the test plays; its steps are run by the test.
class UsbSensor : public testing::Test {
protected:
    UsbSensor() {
        prepareFiles();
        configuration_setPulseMode(false);
        handler.usbPort.fd = UsbTmcPort_Open(0, usbPort1Name);
        handler.usbPort.portClosed = false;
        handler.usbPort.configDone = false;
        handler.usbPort.initTimeout = false;
        handler.isInitialized = false;
        handler.sensorStatus.status = notReady;
        handler.sensorPulseModeEnabled = false;
        handler.usbtmcSubstate = 0;
        sensorUsbHandler_resetSensorInformation(&handler);
        usbSensorConfig_setServing(&handler, true);
        handler.sensorConfigs = {};
        EXPECT_TRUE(World_waitUntil([this] { return device.connectionCount() == 1; }, 5000));
        told = 0;
        sensorPortHandler_registerReadingListener([] { ++told; });
        World_setSpeed(20);
        World_clearSyslog();
    }
    ~UsbSensor() override {
        World_setSpeed(1);
        sensorPortHandler_registerReadingListener(nullptr);
        usbSensorConfig_setServing(&handler, false);
        UsbTmcPort_Close(handler.usbPort.fd);
        handler.usbPort.fd = -1;
        configuration_setPulseMode(false);
    }
    sensorUsbCommState step(sensorUsbCommState state) {
        handler.sensorState = state;
        sensorUsbHandler_handleSensorStates(&handler);
        return handler.sensorState;
    }
    sensorUsbCommState step(sensorUsbCommState state, uint32_t substate) {
        handler.usbtmcSubstate = substate;
        return step(state);
    }
    /// Steps until the state is left, or changes its substate.
    sensorUsbCommState run(sensorUsbCommState state, sensorUsbCommState end) {
        handler.sensorState = state;
        for (int count = 0; count < 100 && handler.sensorState != end; ++count) {
            sensorUsbHandler_handleSensorStates(&handler);
        }
        return handler.sensorState;
    }
    void setCapabilities(bool supported) {
        handler.sensorConfigs.bSupportsAutoPeriod = supported;
        handler.sensorConfigs.bSupportsAutoTiggerLevel = supported;
        handler.sensorConfigs.bSupportsTriggeredGates = supported;
    }
    bool isReadySet() const {
        return handler.isInitialized && handler.usbPort.configDone &&
               handler.sensorStatus.status == isReady;
    }
    SENSOR_MEASUREMENTS& readings() const {
        return handler.sensorMeasurements;
    }

    UsbDevice device{0};
    USB_HANDLER_DATA_STRUCT& handler = sensorUsbHandlerData[1];
};

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

TEST_F(UsbSensor, InitTriggersAndReadsTheStatus) {
    device.setReply("*STB?", "0");
    newMeasurementIsAvailable[sensorPort_USB2] = true;
    handler.usbPort.initTimeout = true;
    EXPECT_EQ(step(stateUsbInit), stateUsbCwMeasure);
    EXPECT_FALSE(newMeasurementIsAvailable[sensorPort_USB2]);
    EXPECT_FALSE(handler.usbPort.initTimeout);
    EXPECT_EQ(device.messages(), (Messages{"INIT", "*OPC?", "*STB?"}));
    EXPECT_EQ(readings().statusByte, 0);
}

TEST_F(UsbSensor, InitFollowsTheSummaryBits) {
    device.setReply("*STB?", "12");
    device.setReply("STAT:QUES:COND?", "512");
    device.queueError(-113);
    EXPECT_EQ(step(stateUsbInit), stateUsbCwMeasure);
    EXPECT_EQ(readings().statusByte, 12);
    EXPECT_EQ(readings().systemError, -113);
    EXPECT_EQ(readings().questionable, 512);
    EXPECT_EQ(device.messages(), (Messages{"INIT", "*OPC?", "*STB?", "SYST:ERR:COUN?", "SYST:ERR?",
                                           "STAT:QUES:COND?"}));
    device.setReply("*STB?", "0");
    EXPECT_EQ(step(stateUsbInit), stateUsbCwMeasure);
    EXPECT_EQ(readings().questionable, 0) << "nothing is questionable any more";
}

TEST_F(UsbSensor, AQuestionableRegisterThatIsNotToldChangesNothing) {
    World_setSpeed(500);
    device.setReply("*STB?", "8");
    device.setReply("STAT:QUES:COND?", "");
    readings().questionable = 3;
    EXPECT_EQ(step(stateUsbInit), stateUsbCwMeasure);
    EXPECT_EQ(readings().questionable, 3);
}

TEST_F(UsbSensor, ATriggerThatTimesOutIsRemembered) {
    World_setSpeed(500);
    device.setReply("*OPC?", "0");
    EXPECT_EQ(step(stateUsbInit), stateUsbStart);
    EXPECT_TRUE(handler.usbPort.initTimeout);
    device.setReply("*OPC?", "1");
    handler.usbPort.initTimeout = false;
    device.setReply("*STB?", "");
    EXPECT_EQ(step(stateUsbInit), stateUsbStart);
    EXPECT_TRUE(handler.usbPort.initTimeout);
}

TEST_F(UsbSensor, CwReadingsAreStoredInTheirUnits) {
    device.setReply("FETC:FORW:AVER?", "25.5");
    device.setReply("FETC:REFL:AVER?", "0.5");
    device.setReply("FETC:FREQ?", "13.56");
    device.setReply("FETC:TEMP?", "36.5");
    const uint32_t before = sensorPortHandler_getReadingNumber(sensorPort_USB2);
    EXPECT_EQ(step(stateUsbCwMeasure), stateUsbPulseMeasure);
    EXPECT_EQ(readings().fwdPwrVal, 25.5F);
    EXPECT_EQ(readings().rflPwrVal, 0.5F);
    EXPECT_EQ(readings().freqVal, 13560000.0F);
    EXPECT_EQ(readings().temperatureVal, 36.5F);
    EXPECT_EQ(told, 1U);
    EXPECT_EQ(sensorPortHandler_getReadingNumber(sensorPort_USB2), before + 1);
    EXPECT_EQ(device.messages(),
              (Messages{"FETC:FORW:AVER?", "FETC:REFL:AVER?", "FETC:FREQ?", "FETC:TEMP?"}));
    EXPECT_EQ(handler.measCycle_time_ms, handler.finish_time_ms - handler.start_time_ms);
}

TEST_F(UsbSensor, AReadingBeginsWithTheMeasurement) {
    const uint32_t before = sensorPortHandler_getBegunReading(sensorPort_USB2);
    step(stateUsbInit);
    EXPECT_EQ(sensorPortHandler_getBegunReading(sensorPort_USB2), before + 1);
    EXPECT_FALSE(sensorPortHandler_hasReadingSince(sensorPort_USB2, before));
    device.setReply("FETC:FORW:AVER?", "25.5");
    step(stateUsbCwMeasure);
    EXPECT_TRUE(sensorPortHandler_hasReadingSince(sensorPort_USB2, before));
    EXPECT_FALSE(sensorPortHandler_hasReadingSince(sensorPort_USB2, before + 1));
}

TEST_F(UsbSensor, TheTemperatureAloneDecidesHowTheCwStepEnds) {
    readings().fwdPwrVal = 7.0F;
    newMeasurementIsAvailable[sensorPort_USB2] = false;
    for (const char* query : {"FETC:FORW:AVER?", "FETC:REFL:AVER?", "FETC:FREQ?"}) {
        device.setReply(query, "");
    }
    EXPECT_EQ(step(stateUsbCwMeasure), stateUsbPulseMeasure);
    EXPECT_EQ(readings().fwdPwrVal, 7.0F) << "a failed query stores nothing";
    EXPECT_TRUE(std::isnan(readings().rflPwrVal));
    EXPECT_EQ(told, 0U);
}

TEST_F(UsbSensor, InPulseModeTheReadingIsToldAfterThePulseStep) {
    handler.sensorPulseModeEnabled = true;
    step(stateUsbCwMeasure);
    EXPECT_EQ(told, 0U);
    EXPECT_EQ(step(stateUsbPulseMeasure), stateUsbIdle);
    EXPECT_EQ(told, 1U);
}

TEST_F(UsbSensor, PulseReadingsAreStoredInTheirUnitsWithTheGate) {
    device.setReply("FETC:PER?", "1000");
    device.setReply("FETC:PRF?", "1000");
    device.setReply("FETC:WIDT?", "250");
    device.setReply("FETC:DCYC?", "25");
    device.setReply("FETC:GATE:MEAN?", "5");
    device.setReply("FETC:GATE:MAX?", "6");
    device.setReply("FETC:GATE:MIN?", "4");
    setCapabilities(true);
    EXPECT_EQ(step(stateUsbPulseMeasure), stateUsbIdle);
    EXPECT_EQ(readings().prdVal, 0.001F);
    EXPECT_EQ(readings().prfVal, 1000.0F);
    EXPECT_EQ(readings().widthVal, 0.00025F);
    EXPECT_EQ(readings().dutyCycleVal, 25.0F);
    EXPECT_EQ(readings().gateMean, 5.0F);
    EXPECT_EQ(readings().gateMax, 6.0F);
    EXPECT_EQ(readings().gateMin, 4.0F);
    EXPECT_EQ(device.messages(), (Messages{"FETC:PER?", "FETC:PRF?", "FETC:WIDT?", "FETC:DCYC?",
                                           "FETC:GATE:MEAN?", "FETC:GATE:MAX?", "FETC:GATE:MIN?"}));
}

TEST_F(UsbSensor, TriggeredStatesAreFetchedWhereTheyAreEnabled) {
    setCapabilities(true);
    handler.sensorConfigs.bModelIsTriggeredGates = true;
    device.setReply("CALC:STAT2:ENAB?", "1");
    device.setReply("FETC:STAT2:MEAN?", "2.5");
    device.setReply("FETC:STAT2:MAX?", "3.5");
    device.setReply("FETC:STAT2:MIN?", "1.5");
    readings().pulseStates[0].mean = 9.0F;
    EXPECT_EQ(step(stateUsbPulseMeasure), stateUsbIdle);
    EXPECT_EQ(readings().pulseStates[1].mean, 2.5F);
    EXPECT_EQ(readings().pulseStates[1].max, 3.5F);
    EXPECT_EQ(readings().pulseStates[1].min, 1.5F);
    EXPECT_EQ(readings().pulseStates[0].mean, 9.0F);
    EXPECT_EQ(device.messages(),
              (Messages{"FETC:PER?", "FETC:PRF?", "FETC:WIDT?", "FETC:DCYC?", "CALC:STAT1:ENAB?",
                        "CALC:STAT2:ENAB?", "FETC:STAT2:MEAN?", "FETC:STAT2:MAX?",
                        "FETC:STAT2:MIN?", "CALC:STAT3:ENAB?", "CALC:STAT4:ENAB?"}));
}

TEST_F(UsbSensor, AFailedPulseQueryLeavesTheOldValue) {
    device.setReply("FETC:PER?", "");
    readings().prdVal = 0.5F;
    device.setReply("FETC:PRF?", "3");
    EXPECT_EQ(step(stateUsbPulseMeasure), stateUsbIdle);
    EXPECT_EQ(readings().prdVal, 0.5F);
    EXPECT_EQ(readings().prfVal, 3.0F);
}

TEST_F(UsbSensor, BitNineOfTheQuestionableRegisterBlanksThePulse) {
    for (const bool supported : {true, false}) {
        setCapabilities(supported);
        SENSOR_MEASUREMENTS& values = readings();
        values.prdVal = values.prfVal = values.widthVal = values.dutyCycleVal = 1.0F;
        values.gateMean = values.gateMax = values.gateMin = 1.0F;
        values.pulseStates[3] = {1.0F, 1.0F, 1.0F};
        values.fwdPwrVal = 5.0F;
        values.questionable = 0x200;
        device.clearMessages();
        EXPECT_EQ(step(stateUsbPulseMeasure), stateUsbIdle);
        EXPECT_EQ(values.prdVal + values.prfVal + values.widthVal + values.dutyCycleVal, 0.0F);
        EXPECT_EQ(values.gateMean + values.gateMax + values.gateMin, 0.0F);
        EXPECT_EQ(values.pulseStates[3].mean, supported ? 0.0F : 1.0F);
        EXPECT_EQ(values.fwdPwrVal, 5.0F);
        EXPECT_TRUE(device.messages().empty());
        values.questionable = 0;
    }
}

TEST_F(UsbSensor, IdleStaysWhileThePortIsClosed) {
    EXPECT_EQ(step(stateUsbIdle), stateUsbSendConfig);
    handler.usbPort.portClosed = true;
    EXPECT_EQ(step(stateUsbIdle), stateUsbIdle);
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
    const int fd = handler.usbPort.fd;
    for (const int none : {-1, 0}) {
        handler.usbPort.fd = none;
        handler.sensorState = stateUsbInit;
        EXPECT_TRUE(sensorUsbHandler_handleSensorStates(&handler));
        EXPECT_EQ(handler.sensorState, stateUsbInit);
    }
    handler.usbPort.fd = fd;
    EXPECT_TRUE(device.messages().empty());
}

TEST_F(UsbSensor, ACwCycleOfASimpleModelIsThisConversation) {
    device.setReply("SYST:IDEN:MOD?", "3163");
    handler.usbtmcSubstate = 0;
    run(stateUsbStart, stateUsbIdle);
    EXPECT_EQ(device.conversation(), (Messages{"<O>",
                                               "<I>",
                                               "<C>",
                                               "*RST",
                                               "*STB?",
                                               "*CLS",
                                               "SYST:IDEN:MOD?",
                                               "SYST:IDEN:SN?",
                                               "SYST:IDEN:FWR?",
                                               "PNP:AVA?",
                                               "PNP:ITR",
                                               "PNP:FILE:SIZE?",
                                               "PNP:FILE:BLOC:TOT?",
                                               "PNP:FILE:BLOC:NUMB 1",
                                               "PNP:FILE:BLOC:DATA?",
                                               "SENS:FREQ:AUTO?",
                                               "SENS:FREQ?",
                                               "INIT",
                                               "*OPC?",
                                               "*STB?",
                                               "FETC:FORW:AVER?",
                                               "FETC:REFL:AVER?",
                                               "FETC:FREQ?",
                                               "FETC:TEMP?",
                                               "FETC:PER?",
                                               "FETC:PRF?",
                                               "FETC:WIDT?",
                                               "FETC:DCYC?",
                                               "FETC:GATE:MEAN?",
                                               "FETC:GATE:MAX?",
                                               "FETC:GATE:MIN?"}));
    for (const std::string& message : device.messages()) {
        for (const char* foreign : {"SENS:PER", "SENS:SWE", "TRIG", "STAT1"}) {
            EXPECT_EQ(message.find(foreign), std::string::npos) << message;
        }
    }
}

TEST_F(UsbSensor, ACycleInPulseModeIsThisConversation) {
    configuration_setPulseMode(true);
    setCapabilities(true);
    handler.sensorPulseModeEnabled = true;
    run(stateUsbSendConfig, stateUsbIdle);
    EXPECT_EQ(device.conversation(),
              (Messages{"INIT", "*OPC?", "*STB?", "FETC:FORW:AVER?", "FETC:REFL:AVER?",
                        "FETC:FREQ?", "FETC:TEMP?", "FETC:PER?", "FETC:PRF?", "FETC:WIDT?",
                        "FETC:DCYC?", "FETC:GATE:MEAN?", "FETC:GATE:MAX?", "FETC:GATE:MIN?"}));
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
    sensorUsbHandler_serveConnection(&handler, 0); // of a sensor that has been pulled already
    EXPECT_FALSE(handler.usbPort.configDone);
    EXPECT_FALSE(handler.isInitialized);
    EXPECT_TRUE(std::isnan(handler.sensorMeasurements.fwdPwrVal));
    EXPECT_TRUE(handler.sensorConfigs.bAutoFrequency);
    EXPECT_NE(World_readFile("/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf").find("Default"),
              std::string::npos);
}

size_t openDescriptors() {
    size_t count = 0;
    DIR* folder = opendir("/proc/self/fd");
    while (readdir(folder) != nullptr) {
        ++count;
    }
    closedir(folder);
    return count;
}

CONNECTED_SENSORS detect(const CONNECTED_SENSORS& previous) {
    return SensorDetect_getConnectedSensors(previous);
}

bool isReadyNow(uint32_t port) {
    return sensorPortHandler_getSensorStatus(port).status == isReady;
}

/// The handlers' threads never end, so that one test plays all of their life.
TEST(UsbSensorThreads, ServeSensorsThroughEveryPluggingAndPulling) {
    prepareFiles();
    SensorManager_Create();
    World_setSpeed(20);
    PortHandlers_startOnce();
    CONNECTED_SENSORS record{};
    const auto poll = [&record] { record = detect(record); };
    const auto becomesReady = [&](uint32_t port) {
        return World_waitUntil([port] { return isReadyNow(port); }, 20000);
    };
    poll();
    EXPECT_EQ(record.detectedSensors, 0U);

    // A lone sensor behind the second node is USB1.
    auto second = std::make_unique<UsbDevice>(1);
    second->setReply("FETC:FORW:AVER?", "11");
    poll();
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1);
    EXPECT_TRUE(becomesReady(sensorPort_USB1));
    EXPECT_TRUE(World_waitUntil(
        [] { return sensorPortHandler_getSensorMeasurements(sensorPort_USB1).fwdPwrVal == 11.0F; },
        20000));
    EXPECT_STREQ(sensorUsbHandlerData[0].sensorIdentity.sensorModel, "3164");

    // The next one to appear is USB2.
    auto first = std::make_unique<UsbDevice>(0);
    first->setReply("SYST:IDEN:MOD?", "3163");
    poll();
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1 | sensorPortBit_USB2);
    EXPECT_TRUE(becomesReady(sensorPort_USB2));
    SensorInstance_SetLogicalChannel(sensorPort_USB2, sensorLogicalChannel2);

    // A broken transfer with the node still there: the device is opened again, and the sensor
    // keeps its channel.
    const int connections = first->connectionCount();
    first->breakConnection();
    EXPECT_TRUE(World_waitUntil([] { return !isReadyNow(sensorPort_USB2); }, 20000));
    EXPECT_TRUE(World_waitUntil(
        [&] {
            poll();
            return isReadyNow(sensorPort_USB2);
        },
        60000));
    EXPECT_EQ(first->connectionCount(), connections + 1);
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1 | sensorPortBit_USB2);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_USB2), sensorLogicalChannel2);

    // Pulling USB1 closes its device and frees its slot for the next sensor that appears.
    const size_t descriptors = openDescriptors();
    second.reset();
    poll();
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB2);
    EXPECT_TRUE(World_waitUntil([&] { return openDescriptors() < descriptors; }, 20000));
    for (int count = 0; count < 5; ++count) {
        second = std::make_unique<UsbDevice>(1);
        poll();
        EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1 | sensorPortBit_USB2);
        EXPECT_TRUE(becomesReady(sensorPort_USB1));
        second.reset();
        poll();
        EXPECT_EQ(record.detectedSensors, sensorPortBit_USB2);
        EXPECT_FALSE(isReadyNow(sensorPort_USB1));
    }

    // A node that cannot be opened hides both sensors for that cycle, and is found once it can.
    World_writeFile("/dev/usbtmc1", ""); // nobody is behind it
    poll();
    EXPECT_EQ(record.detectedSensors, 0U);
    World_removeFile("/dev/usbtmc1");
    second = std::make_unique<UsbDevice>(1);
    poll();
    EXPECT_EQ(record.detectedSensors, sensorPortBit_USB1 | sensorPortBit_USB2);
    EXPECT_TRUE(becomesReady(sensorPort_USB1));
    EXPECT_TRUE(becomesReady(sensorPort_USB2));

    first.reset();
    second.reset();
    poll();
    EXPECT_EQ(record.detectedSensors, 0U);
    EXPECT_TRUE(World_waitUntil(
        [] {
            const ScopedLock lock(sensorPortConfigMutex[sensorPort_USB1]);
            return sensorUsbHandlerData[0].usbPort.portState == sensorPortDisconnected;
        },
        20000));
    World_setSpeed(1);
}

} // namespace
