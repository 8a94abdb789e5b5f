// The states that trigger a measurement and fetch its readings.
#include "UsbSensorMeasure.h"

#include "SensorPolling.h"
#include "StillClock.h"
#include "Threads.h"
#include "UsbSensorFixture.h"

#include <algorithm>
#include <cmath>

namespace {

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

TEST_F(UsbSensor, AnAnswerOfOneByteIsAnAnswer) {
    for (const char* question : {"*STB?", "STAT:QUES:COND?", "FETC:FORW:AVER?", "FETC:REFL:AVER?",
                                 "FETC:FREQ?", "FETC:TEMP?"}) {
        device.setRawReply(question, "8");
    }
    EXPECT_EQ(step(stateUsbInit), stateUsbCwMeasure);
    EXPECT_EQ(readings().statusByte, 8);
    EXPECT_EQ(readings().questionable, 8);
    EXPECT_EQ(step(stateUsbCwMeasure), stateUsbPulseMeasure);
    EXPECT_EQ(readings().fwdPwrVal, 8.0F);
    EXPECT_EQ(readings().rflPwrVal, 8.0F);
    EXPECT_EQ(readings().freqVal, 8e6F);
    EXPECT_EQ(readings().temperatureVal, 8.0F);
    device.setRawReply("SYST:ERR:COUN?", "2");
    device.setRawReply("SYST:ERR?", "0");
    EXPECT_EQ(clearSysErrCount(handler.usbPort.fd, handler.usbPort.rxBuffer), 2);
}

TEST_F(UsbSensor, AQuestionableRegisterThatIsNotToldChangesNothing) {
    device.setReply("*STB?", "8");
    device.setReply("STAT:QUES:COND?", "");
    readings().questionable = 3;
    EXPECT_EQ(step(stateUsbInit), stateUsbCwMeasure);
    EXPECT_EQ(readings().questionable, 3);
}

TEST_F(UsbSensor, ATriggerThatTimesOutIsRemembered) {
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

TEST_F(UsbSensor, ASensorThatFallsSilentInAStepIsGivenUpAfterHalfAMinute) {
    const StillClock clock;
    constexpr double silence_ms = 30'000;
    device.fault("silence");
    setCapabilities(true);
    handler.sensorConfigs.bModelIsTriggeredGates = true;
    EXPECT_TRUE(
        clock.takes(silence_ms, [this] { EXPECT_EQ(step(stateUsbPulseMeasure), stateUsbIdle); }));
    EXPECT_EQ(std::ranges::count(device.messages(), "<C>"), 6) << "each question waits for 5 s";
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

TEST_F(UsbSensor, EveryValueBreaksTheSilenceAndATriggerDoesNot) {
    constexpr uint32_t pause_ms = 60000;
    setCapabilities(true);
    for (const bool isTriggered : {false, true}) {
        handler.sensorConfigs.bModelIsTriggeredGates = isTriggered;
        for (const auto& [state, isValue] :
             {std::pair{stateUsbInit, false}, std::pair{stateUsbCwMeasure, true},
              std::pair{stateUsbPulseMeasure, true}}) {
            SensorPortSignals_breakSilence(sensorPort_USB2);
            Thread_sleep_ms(pause_ms);
            step(state);
            EXPECT_EQ(sensorPortHandler_getSilence(sensorPort_USB2).time_ms < pause_ms, isValue)
                << state << isTriggered;
        }
    }
}

} // namespace
