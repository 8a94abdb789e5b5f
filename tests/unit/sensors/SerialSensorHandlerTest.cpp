#include "SerialSensorHandler.h"

#include "SensorLine.h"
#include "SensorPortHandler.h"
#include "SerialSensorModel.h"
#include "Threads.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>

namespace {

std::atomic<uint32_t> signalled;

/// A handler on Serial2 whose sensor the test plays; its steps are run by the test.
class SerialSensor : public testing::Test {
protected:
    SerialSensor() {
        handler.serialPort.channelIndex = 1;
        sensorSerialHandler_initSensorData(&handler, "test line");
        handler.serialPort.fd = line.fd();
        signalled = 0;
        sensorPortHandler_registerReadingListener([] { ++signalled; });
    }
    ~SerialSensor() override {
        sensorPortHandler_registerReadingListener(nullptr);
    }
    sensorSerCommState step(sensorSerCommState state) {
        handler.sensorState = state;
        sensorSerialHandler_handleSensorStates(&handler);
        return handler.sensorState;
    }
    /// From the identity to the first reading.
    void readAll() {
        for (const auto state : {stateSerIdentify, stateSerSerialNum, stateSerFwd, stateSerRfl}) {
            step(state);
        }
    }

    SerialSensorModel sensor;
    SensorLine line{[this](const std::string& command) { return sensor.answer(command); }};
    SERIAL_HANDLER_DATA_STRUCT handler{};
};

struct Transition {
    sensorSerCommState state;
    char letter; ///< the command that the state sends
    sensorSerCommState afterSuccess;
    sensorSerCommState afterFailure;
};

constexpr Transition transitions[] = {
    {stateSerInitialSync, 'S', stateSerIdentify, stateSerFlush},
    {stateSerIdentify, 'I', stateSerSerialNum, stateSerFlush},
    {stateSerSerialNum, 'Z', stateSerFwd, stateSerFlush},
    {stateSerFwd, 'F', stateSerRfl, stateSerFlush},
    {stateSerRfl, 'R', stateSerFreq, stateSerFlush},
    {stateSerFreq, 'H', stateSerTemp, stateSerFlush},
    {stateSerTemp, 'T', stateSerFramingSync, stateSerFlush},
    {stateSerFramingSync, 'S', stateSerFwd, stateSerFlush},
};

TEST_F(SerialSensor, EachStateLeadsOnAfterItsCommandSucceeded) {
    for (const Transition& one : transitions) {
        EXPECT_EQ(step(one.state), one.afterSuccess) << one.state;
    }
    EXPECT_EQ(step(stateSerFlush), stateSerInitialSync);
}

TEST_F(SerialSensor, EachStateLeadsBackToTheFlushAfterItsCommandFailed) {
    for (const Transition& one : transitions) {
        sensor.replace(one.letter, "");
        EXPECT_EQ(step(one.state), one.afterFailure) << one.state;
        sensor.restore(one.letter);
    }
}

TEST_F(SerialSensor, AStateWithoutAnActionLeadsToTheFlush) {
    for (const int state : {0, -1, 10, 11, 255, 100000}) {
        EXPECT_EQ(step(static_cast<sensorSerCommState>(state)), stateSerFlush) << state;
    }
    EXPECT_TRUE(line.allCommands().empty());
}

TEST(SerialSensorFlush, IsRepeatedWhileTheSensorKeepsTalking) {
    SERIAL_HANDLER_DATA_STRUCT handler{};
    const SensorLine line(SensorLine_bytes(std::string(30, 'x'), 0, 100));
    handler.serialPort.fd = line.fd();
    handler.sensorState = stateSerFlush;
    sensorSerialHandler_handleSensorStates(&handler);
    EXPECT_EQ(handler.sensorState, stateSerFlush);
    sensorSerialHandler_handleSensorStates(&handler);
    EXPECT_EQ(handler.sensorState, stateSerInitialSync) << "it has ended after three seconds";
}

TEST_F(SerialSensor, ASensorThatSyncsWithAnotherByteNeverGetsBeyondSyncAndFlush) {
    sensor.replace('S', "s");
    sensorSerCommState state = stateSerFlush;
    for (int count = 0; count < 6; ++count) {
        state = step(state);
        EXPECT_TRUE(state == stateSerFlush || state == stateSerInitialSync) << state;
    }
}

TEST_F(SerialSensor, AnswersThatItHadKeptAreNoPartOfItsIdentity) {
    sensor.replace('S', std::string(12, 'S')); // to as many tries, all at once
    EXPECT_EQ(step(stateSerInitialSync), stateSerIdentify);
    sensor.restore('S');
    EXPECT_EQ(step(stateSerIdentify), stateSerSerialNum);
    EXPECT_STREQ(handler.sensorIdentity.sensorModel, "5132");
    EXPECT_EQ(handler.sensorIdentity.sensorPower.max, 500.0F);
}

TEST(SerialSensorFlush, FollowsASynchronisationAfterWhichTheSensorKeepsTalking) {
    SERIAL_HANDLER_DATA_STRUCT handler{};
    const SensorLine line(SensorLine_bytes(std::string(300, 'S'), 0, 10));
    handler.serialPort.fd = line.fd();
    handler.sensorState = stateSerInitialSync;
    sensorSerialHandler_handleSensorStates(&handler);
    EXPECT_EQ(handler.sensorState, stateSerFlush);
}

struct IdentifiedModel {
    const char* model;
    sensorSerCommState next;
    bool isReadyAtOnce;
};

/// A sensor that leaves the first try unanswered, and answers that one and four more from 1.5 s on.
struct LateAnswers {
    double gap_ms;
    double expected_ms; ///< from the first try to the identity
};

TEST(SerialSensorSync, WaitsLongerForWhatASensorThatWasSilentHasKept) {
    // A second for the first try, the answers, and a quarter of a second without any.
    for (const LateAnswers& one : {LateAnswers{1, 1754}, LateAnswers{100, 2150}}) {
        SERIAL_HANDLER_DATA_STRUCT handler{};
        const SensorLine line(SensorLine_bytes("SSSSS", 1500, one.gap_ms));
        handler.serialPort.fd = line.fd();
        EXPECT_TRUE(line.clock().takes(one.expected_ms, [&] {
            for (const auto expected : {stateSerFlush, stateSerIdentify}) {
                handler.sensorState = stateSerInitialSync;
                sensorSerialHandler_handleSensorStates(&handler);
                EXPECT_EQ(handler.sensorState, expected);
            }
        })) << one.gap_ms;
    }
}

TEST(SerialSensorSync, TakesNoLongerThanItMustOtherwise) {
    SERIAL_HANDLER_DATA_STRUCT handler{};
    const SensorLine line(SensorLine_bytes("SS", 0, 1500));
    handler.serialPort.fd = line.fd();
    EXPECT_TRUE(line.clock().takes(20, [&] {
        handler.sensorState = stateSerInitialSync;
        sensorSerialHandler_handleSensorStates(&handler);
    }));
    EXPECT_EQ(handler.sensorState, stateSerIdentify);
}

TEST_F(SerialSensor, ModelsWithoutASerialNumberAreReadyOnceIdentified) {
    const IdentifiedModel cases[] = {
        {"5132", stateSerSerialNum, false}, {"5132A20", stateSerSerialNum, false},
        {"5132A200", stateSerFwd, true},    {"SMK", stateSerFwd, true},
        {"SMK12345", stateSerFwd, true},    {"SM", stateSerSerialNum, false},
    };
    for (const IdentifiedModel& one : cases) {
        handler.isInitialized = false;
        handler.sensorStatus.status = notReady;
        sensor.setModel(one.model);
        EXPECT_EQ(step(stateSerIdentify), one.next) << one.model;
        EXPECT_STREQ(handler.sensorIdentity.sensorModel, one.model);
        EXPECT_EQ(handler.isInitialized, one.isReadyAtOnce) << one.model;
        EXPECT_EQ(handler.sensorStatus.status, one.isReadyAtOnce ? isReady : notReady);
    }
}

TEST_F(SerialSensor, IsReadyOnceItsSerialNumberHasBeenRead) {
    step(stateSerSerialNum);
    EXPECT_STREQ(handler.serialNumber, "200201170");
    EXPECT_TRUE(handler.isInitialized);
    EXPECT_EQ(handler.sensorStatus.status, isReady);
}

TEST_F(SerialSensor, TwentyReadingsOfTheSerialNumberLeaveItUnchanged) {
    for (int count = 0; count < 20; ++count) {
        line.send("no digits"); // what is pending is not waited for
        step(stateSerSerialNum);
        EXPECT_STREQ(handler.serialNumber, "200201170");
    }
}

TEST_F(SerialSensor, StaysReadyThroughAResynchronisation) {
    step(stateSerSerialNum);
    sensor.replace('F', "");
    EXPECT_EQ(step(stateSerFwd), stateSerFlush);
    EXPECT_TRUE(handler.isInitialized);
    EXPECT_EQ(handler.sensorStatus.status, isReady);
}

struct Successor {
    const char* model;
    const char* serialNumber; ///< in its memory
    const char* title;        ///< the one that is told
    sensorSerCommState identifiedIn;
};

TEST_F(SerialSensor, ASensorExchangedBetweenTwoPollsIsReadyWithItsOwnReading) {
    const Successor cases[] = {
        {"5134", "123456789", "123456789", stateSerIdentify},  // another model
        {"5134", "987654321", "987654321", stateSerSerialNum}, // another of the same model
        {"SMK", "987654321", "", stateSerIdentify},            // a model without a serial number
        {"5132", "200201170", "200201170", stateSerIdentify},
    };
    readAll();
    EXPECT_TRUE(handler.isInitialized);
    for (const Successor& one : cases) {
        sensor.setModel(one.model);
        sensor.setSerialNumber(one.serialNumber);
        for (sensorSerCommState state = stateSerIdentify; state != stateSerFwd;) {
            const bool isSeen = state >= one.identifiedIn;
            state = step(state);
            EXPECT_EQ(handler.sensorStatus.status, isSeen ? notReady : isReady) << one.title;
            EXPECT_EQ(std::isnan(handler.sensorMeasurements.fwdPwrVal), isSeen) << one.title;
        }
        EXPECT_STREQ(handler.sensorIdentity.sensorModel, one.model);
        EXPECT_STREQ(handler.serialNumber, one.title);
        step(stateSerFwd);
        EXPECT_EQ(handler.sensorStatus.status, notReady) << one.title;
        step(stateSerRfl);
        EXPECT_EQ(handler.sensorStatus.status, isReady) << one.title;
        EXPECT_TRUE(handler.isInitialized);
    }
}

TEST_F(SerialSensor, ASuccessorThatIsExchangedBeforeItsFirstReadingLeavesNoSerialNumberBehind) {
    readAll();
    sensor.setModel("5134");
    sensor.setSerialNumber("123456789");
    step(stateSerIdentify);
    step(stateSerSerialNum);
    sensor.setModel("SMK");
    EXPECT_EQ(step(stateSerIdentify), stateSerFwd);
    EXPECT_STREQ(handler.serialNumber, "");
    EXPECT_EQ(handler.sensorStatus.status, notReady);
}

TEST_F(SerialSensor, ASuccessorMayDifferInAnyPartOfItsIdentity) {
    const std::string identity = sensor.answer("I");
    constexpr size_t parts[] = {0, 8, 16, 35, 39}; // model, firmware, commands, greatest, least
    for (const size_t part : parts) {
        sensor.replace('I', identity);
        readAll();
        step(stateSerIdentify);
        EXPECT_EQ(handler.sensorStatus.status, isReady) << part;
        std::string other = identity;
        other[part] = static_cast<char>(other[part] ^ 0x40);
        sensor.replace('I', other);
        step(stateSerIdentify);
        EXPECT_EQ(handler.sensorStatus.status, notReady) << part;
    }
}

TEST_F(SerialSensor, TheSameSensorKeepsItsReadingsWhenItIsIdentifiedAgain) {
    readAll();
    EXPECT_EQ(step(stateSerIdentify), stateSerSerialNum);
    EXPECT_EQ(step(stateSerSerialNum), stateSerFwd);
    EXPECT_EQ(handler.sensorStatus.status, isReady);
    EXPECT_EQ(handler.sensorMeasurements.fwdPwrVal, 9.0F);
}

TEST_F(SerialSensor, ForwardReplyOfThreeStoresNineWatts) {
    step(stateSerFwd);
    EXPECT_EQ(handler.sensorMeasurements.fwdPwrVal, 9.0F);
}

TEST_F(SerialSensor, ReflectedReplyIsSquaredToo) {
    step(stateSerRfl);
    EXPECT_EQ(handler.sensorMeasurements.rflPwrVal, 0.25F);
}

TEST_F(SerialSensor, FrequencyAndTemperatureAreStoredAsTheyCome) {
    step(stateSerFreq);
    step(stateSerTemp);
    EXPECT_EQ(handler.sensorMeasurements.freqVal, 13560000.0F);
    EXPECT_EQ(handler.sensorMeasurements.temperatureVal, 36.5F);
}

TEST_F(SerialSensor, AFailedReadingLeavesTheLastValue) {
    for (const Transition& one : transitions) {
        step(one.state);
    }
    for (const char letter : {'F', 'R', 'H', 'T'}) {
        sensor.replace(letter, "abc");
    }
    for (const auto state : {stateSerFwd, stateSerRfl, stateSerFreq, stateSerTemp}) {
        EXPECT_EQ(step(state), stateSerFlush);
    }
    EXPECT_EQ(handler.sensorMeasurements.fwdPwrVal, 9.0F);
    EXPECT_EQ(handler.sensorMeasurements.rflPwrVal, 0.25F);
    EXPECT_EQ(handler.sensorMeasurements.freqVal, 13560000.0F);
    EXPECT_EQ(handler.sensorMeasurements.temperatureVal, 36.5F);
}

TEST_F(SerialSensor, AReadingIsSignalledAfterEachPair) {
    const uint32_t before = sensorPortHandler_getReadingNumber(sensorPort_Serial2);
    step(stateSerFwd);
    EXPECT_TRUE(newMeasurementIsAvailable[sensorPort_Serial2]);
    EXPECT_EQ(signalled, 0U);
    step(stateSerRfl);
    EXPECT_EQ(signalled, 1U);
    EXPECT_EQ(sensorPortHandler_getReadingNumber(sensorPort_Serial2), before + 1);
}

TEST_F(SerialSensor, AReadingBeginsBeforeItsForwardPowerIsAskedFor) {
    const uint32_t before = sensorPortHandler_getBegunReading(sensorPort_Serial2);
    step(stateSerFwd);
    const uint32_t between = sensorPortHandler_getBegunReading(sensorPort_Serial2);
    step(stateSerRfl);
    EXPECT_EQ(between, before + 1);
    EXPECT_TRUE(sensorPortHandler_hasReadingSince(sensorPort_Serial2, before));
    EXPECT_FALSE(sensorPortHandler_hasReadingSince(sensorPort_Serial2, between));
    step(stateSerFwd);
    EXPECT_FALSE(sensorPortHandler_hasReadingSince(sensorPort_Serial2, between));
    step(stateSerRfl);
    EXPECT_TRUE(sensorPortHandler_hasReadingSince(sensorPort_Serial2, between));
}

TEST_F(SerialSensor, AReadingIsSignalledEvenIfTheReflectedOneFails) {
    sensor.replace('R', "");
    step(stateSerFwd);
    EXPECT_EQ(step(stateSerRfl), stateSerFlush);
    EXPECT_EQ(signalled, 1U);
}

TEST_F(SerialSensor, NothingIsSignalledWithoutAForwardReading) {
    sensor.replace('F', "");
    step(stateSerFwd);
    EXPECT_FALSE(newMeasurementIsAvailable[sensorPort_Serial2]);
    step(stateSerRfl);
    EXPECT_EQ(signalled, 0U);
}

TEST_F(SerialSensor, TheMeasuringCycleIsTimedFromForwardToSync) {
    step(stateSerFwd);
    step(stateSerFramingSync);
    EXPECT_GE(handler.finish_time_ms, handler.start_time_ms);
    EXPECT_EQ(handler.measCycle_time_ms, handler.finish_time_ms - handler.start_time_ms);
    handler.start_time_ms = handler.finish_time_ms - 250;
    step(stateSerFramingSync);
    EXPECT_GE(handler.measCycle_time_ms, 250);
    EXPECT_LT(handler.measCycle_time_ms, 2000);
}

TEST_F(SerialSensor, IsLeftAloneForATenthOfASecondAfterItsPlugging) {
    EXPECT_TRUE(line.clock().takes(100, [this] {
        sensorSerialHandler_serveConnection(&handler,
                                            0); // of a sensor that has been pulled already
    }));
}

TEST_F(SerialSensor, ForgettingASensorLeavesTheDefaults) {
    for (const Transition& one : transitions) {
        step(one.state);
    }
    sensorSerialHandler_resetSensorInformation(&handler);
    EXPECT_STREQ(handler.sensorIdentity.sensorModel, "");
    EXPECT_STREQ(handler.sensorIdentity.sensorFirmwareRevision, "");
    EXPECT_STREQ(handler.sensorIdentity.sensorSupportedCommands, "");
    EXPECT_EQ(handler.sensorIdentity.sensorPower.max, 199990.0F);
    EXPECT_EQ(handler.sensorIdentity.sensorPower.min, 0.0F);
    EXPECT_STREQ(handler.serialNumber, "");
    EXPECT_TRUE(std::isnan(handler.sensorMeasurements.fwdPwrVal));
    EXPECT_TRUE(std::isnan(handler.sensorMeasurements.rflPwrVal));
    EXPECT_TRUE(std::isnan(handler.sensorMeasurements.freqVal));
    EXPECT_TRUE(std::isnan(handler.sensorMeasurements.temperatureVal));
    EXPECT_EQ(handler.sensorMeasurements.batteryVal, 0.0F);
    EXPECT_EQ(handler.sensorMeasurements.statusByte, 0);
}

TEST_F(SerialSensor, ALongDeviceNameIsCut) {
    const std::string name(40, 'd');
    sensorSerialHandler_initSensorData(&handler, name.c_str());
    EXPECT_EQ(handler.serialPort.serialPortName, name.substr(0, 31));
    EXPECT_EQ(handler.serialPort.fd, -1);
}

TEST_F(SerialSensor, EveryValueBreaksTheSilenceAndNothingElseDoes) {
    constexpr uint32_t pause_ms = 60000;
    const struct {
        sensorSerCommState state;
        bool isValue;
    } cases[] = {{stateSerInitialSync, false}, {stateSerIdentify, false}, {stateSerFwd, true},
                 {stateSerRfl, true},          {stateSerFreq, true},      {stateSerTemp, true},
                 {stateSerFramingSync, false}};
    World_skipSleeps(true);
    for (const auto& one : cases) {
        SensorPortSignals_breakSilence(sensorPort_Serial2);
        Thread_sleep_ms(pause_ms);
        step(one.state);
        EXPECT_EQ(sensorPortHandler_getSilence(sensorPort_Serial2).time_ms < pause_ms, one.isValue)
            << one.state;
    }
    World_skipSleeps(false);
}

TEST_F(SerialSensor, AValueThatIsMissingLeavesTheSilence) {
    constexpr uint32_t pause_ms = 60000;
    World_setSpeed(5);
    World_skipSleeps(true);
    SensorPortSignals_breakSilence(sensorPort_Serial2);
    Thread_sleep_ms(pause_ms);
    sensor.replace('F', "abc");
    EXPECT_EQ(step(stateSerFwd), stateSerFlush);
    EXPECT_GE(sensorPortHandler_getSilence(sensorPort_Serial2).time_ms, pause_ms);
    World_skipSleeps(false);
}

TEST_F(SerialSensor, ASlowCycleIsTold) {
    step(stateSerFwd);
    step(stateSerFramingSync);
    EXPECT_FALSE(sensorPortHandler_getSilence(sensorPort_Serial2).answersSlowly);
    step(stateSerFwd);
    Thread_sleep_ms(1000);
    step(stateSerFramingSync);
    EXPECT_TRUE(sensorPortHandler_getSilence(sensorPort_Serial2).answersSlowly);
    SensorPortSignals_noteCycle(sensorPort_Serial2, 0);
}

} // namespace
