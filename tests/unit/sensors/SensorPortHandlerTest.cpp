#include "SensorPortHandler.h"

#include "SensorRecords.h"
#include "SerialSensorHandler.h"
#include "Threads.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <thread>

namespace {

constexpr uint32_t foreignPorts[] = {4, 5, 100, 255, 0xFFFFFFFF};

TEST(SensorPortHandler, APortBeyondTheFourGivesNothing) {
    for (const uint32_t port : foreignPorts) {
        EXPECT_EQ(sensorPortHandler_getSensorStatus(port).status, notReady) << port;
        EXPECT_STREQ(sensorPortHandler_getSensorStatus(port).errorString, "");
        EXPECT_TRUE(std::isnan(sensorPortHandler_getSensorMeasurements(port).fwdPwrVal));
        EXPECT_TRUE(std::isnan(sensorPortHandler_getSensorMeasurements(port).temperatureVal));
        EXPECT_EQ(sensorPortHandler_getSensorMaxPower(port), 0.0F);
        EXPECT_EQ(sensorPortHandler_getSensorMinPower(port), 0.0F);
        EXPECT_EQ(sensorPortHandler_getReadingNumber(port), 0U);
        SensorPortSignals_beginReading(port);
        EXPECT_EQ(sensorPortHandler_getBegunReading(port), 0U);
        EXPECT_FALSE(sensorPortHandler_hasReadingSince(port, 0));
        SENSOR_IDENTITY identity;
        identity.sensorModel[0] = 'x';
        std::array<char, 10> serialNumber = {"unchanged"};
        sensorPortHandler_getSensorInformation(port, &identity, serialNumber.data(),
                                               serialNumber.size());
        EXPECT_STREQ(identity.sensorModel, "");
        EXPECT_STREQ(serialNumber.data(), "");
        sensorPortHandler_setIsConnected(port, true);
        EXPECT_FALSE(sensorPortHandler_getIsConnected(port));
        SensorPortSignals_countReading(port, true);
        SensorPortSignals_setServedConnection(port, 1);
        EXPECT_FALSE(SensorPortSignals_isServed(port));
        EXPECT_FALSE(SensorPortSignals_isSameConnection(port, 0));
        EXPECT_FALSE(SensorPortSignals_endConnection(port, 0));
    }
}

TEST(SensorPortHandler, RecordsAreValidBeforeAnyHandlerExists) {
    for (uint32_t port = sensorPort_Serial1; port < sensorPortCount; ++port) {
        EXPECT_TRUE(std::isnan(sensorPortHandler_getSensorMeasurements(port).rflPwrVal)) << port;
        EXPECT_EQ(sensorPortHandler_getSensorMaxPower(port), 199990.0F) << port;
        EXPECT_EQ(sensorPortHandler_getSensorStatus(port).status, notReady) << port;
    }
}

TEST(SensorPortHandler, ARecordWithoutReadingsIsZeroButForFourValues) {
    SENSOR_MEASUREMENTS measurements;
    sensorPortHandler_setMeasurementsToDefault(&measurements);
    EXPECT_TRUE(std::isnan(measurements.fwdPwrVal));
    EXPECT_TRUE(std::isnan(measurements.rflPwrVal));
    EXPECT_TRUE(std::isnan(measurements.freqVal));
    EXPECT_TRUE(std::isnan(measurements.temperatureVal));
    EXPECT_EQ(measurements.prdVal, 0.0F);
    EXPECT_EQ(measurements.gateMin, 0.0F);
    EXPECT_EQ(measurements.pulseStates[3].mean, 0.0F);
    EXPECT_EQ(measurements.questionable, 0);
}

TEST(SensorPortHandler, SimulatedReadingsCarryAModelAndASerialNumber) {
    SensorPortHandler_setSimulatedMeasurements(1, 25.0F, 0.5F, 2e6F, 31.0F, 3.7F);
    const SENSOR_MEASUREMENTS measurements = sensorPortHandler_getSensorMeasurements(1);
    EXPECT_EQ(measurements.fwdPwrVal, 25.0F);
    EXPECT_EQ(measurements.rflPwrVal, 0.5F);
    EXPECT_EQ(measurements.freqVal, 2e6F);
    EXPECT_EQ(measurements.temperatureVal, 31.0F);
    EXPECT_EQ(measurements.batteryVal, 3.7F);
    SENSOR_IDENTITY identity{};
    std::array<char, 10> serialNumber{};
    sensorPortHandler_getSensorInformation(1, &identity, serialNumber.data(), serialNumber.size());
    EXPECT_STREQ(identity.sensorModel, "5134");
    EXPECT_STREQ(serialNumber.data(), "200201170");
    sensorPortHandler_getSensorInformation(1, &identity, serialNumber.data(), 4);
    EXPECT_STREQ(serialNumber.data(), "200");
    sensorSerialHandler_resetSensorInformation(&sensorSerialHandlerData[1]);
}

TEST(SensorPortHandler, APortThatThereIsNotHasNoSerialNumberHoweverLittleRoomThereIs) {
    SENSOR_IDENTITY identity{};
    char serialNumber = 'x';
    sensorPortHandler_getSensorInformation(4, &identity, &serialNumber, 0);
    EXPECT_EQ(serialNumber, 'x');
    sensorPortHandler_getSensorInformation(4, &identity, &serialNumber, 1);
    EXPECT_EQ(serialNumber, '\0');
}

TEST(SensorPortHandler, SimulatedReadingsOfAnotherPortAreIgnored) {
    for (const uint32_t port : {2U, 3U, 4U, 255U}) {
        SensorPortHandler_setSimulatedMeasurements(port, 1.0F, 1.0F, 1.0F, 1.0F, 1.0F);
        EXPECT_FALSE(sensorPortHandler_getSensorMeasurements(port).fwdPwrVal == 1.0F) << port;
    }
}

TEST(SensorPortSignals, AWaitingHandlerWakesWhenItsSensorIsConnected) {
    std::atomic<uint32_t> connection{0};
    std::thread handler(
        [&] { connection = SensorPortSignals_waitUntilConnected(sensorPort_USB2); });
    EXPECT_EQ(connection, 0U);
    sensorPortHandler_setIsConnected(sensorPort_USB2, true);
    handler.join();
    EXPECT_TRUE(SensorPortSignals_isSameConnection(sensorPort_USB2, connection));
    sensorPortHandler_setIsConnected(sensorPort_USB2, false);
    EXPECT_FALSE(SensorPortSignals_isSameConnection(sensorPort_USB2, connection));
}

TEST(SensorPortSignals, AReplacedSensorIsANewConnection) {
    sensorPortHandler_setIsConnected(sensorPort_USB2, true);
    const uint32_t first = SensorPortSignals_waitUntilConnected(sensorPort_USB2);
    sensorPortHandler_setIsConnected(sensorPort_USB2, true);
    EXPECT_TRUE(SensorPortSignals_isSameConnection(sensorPort_USB2, first)) << "told twice";
    sensorPortHandler_setIsConnected(sensorPort_USB2, false);
    sensorPortHandler_setIsConnected(sensorPort_USB2, true);
    EXPECT_FALSE(SensorPortSignals_isSameConnection(sensorPort_USB2, first));
    sensorPortHandler_setIsConnected(sensorPort_USB2, false);
}

TEST(SensorPortSignals, OnlyTheConnectionThatThereIsCanBeEnded) {
    sensorPortHandler_setIsConnected(sensorPort_USB2, true);
    const uint32_t connection = SensorPortSignals_waitUntilConnected(sensorPort_USB2);
    EXPECT_FALSE(SensorPortSignals_endConnection(sensorPort_USB2, connection - 1));
    EXPECT_TRUE(sensorPortHandler_getIsConnected(sensorPort_USB2));
    EXPECT_TRUE(SensorPortSignals_endConnection(sensorPort_USB2, connection));
    EXPECT_FALSE(sensorPortHandler_getIsConnected(sensorPort_USB2));
    EXPECT_FALSE(SensorPortSignals_endConnection(sensorPort_USB2, connection));
}

TEST(SensorPortSignals, APortIsServedOnceItsHandlerHasTakenUpTheSensor) {
    for (uint32_t port = 0; port < sensorPortCount; ++port) {
        sensorPortHandler_setIsConnected(port, true);
        EXPECT_FALSE(SensorPortSignals_isServed(port)) << port;
        const uint32_t connection = SensorPortSignals_waitUntilConnected(port);
        SensorPortSignals_setServedConnection(port, connection);
        EXPECT_TRUE(SensorPortSignals_isServed(port)) << port;
        sensorPortHandler_setIsConnected(port, false);
        EXPECT_FALSE(SensorPortSignals_isServed(port)) << port;
    }
}

class Silence : public testing::Test {
protected:
    Silence() {
        World_skipSleeps(true);
    }
    ~Silence() override {
        World_skipSleeps(false);
        for (uint32_t port = 0; port < sensorPortCount; ++port) {
            SensorPortSignals_noteCycle(port, 0);
        }
    }
    static uint64_t silenceOf(uint32_t port) {
        return sensorPortHandler_getSilence(port).time_ms;
    }

    static constexpr uint32_t pause_ms = 5000;
};

TEST_F(Silence, LastsFromTheLastValueOn) {
    for (uint32_t port = 0; port < sensorPortCount; ++port) {
        SensorPortSignals_breakSilence(port);
        EXPECT_LT(silenceOf(port), pause_ms) << port;
        Thread_sleep_ms(pause_ms);
        EXPECT_GE(silenceOf(port), pause_ms) << port;
        SensorPortSignals_breakSilence(port);
        EXPECT_LT(silenceOf(port), pause_ms) << port;
    }
}

TEST_F(Silence, OfOnePortIsNotThatOfAnother) {
    SensorPortSignals_breakSilence(sensorPort_USB1);
    Thread_sleep_ms(pause_ms);
    SensorPortSignals_breakSilence(sensorPort_USB2);
    EXPECT_GE(silenceOf(sensorPort_USB1), pause_ms);
    EXPECT_LT(silenceOf(sensorPort_USB2), pause_ms);
}

TEST_F(Silence, BeginsWhenASensorBecomesReadyAndNotWhenItIsFoundAgain) {
    SENSOR_HANDLER_RECORD handler{};
    const SensorRecords records = SensorRecords_of(sensorPort_Serial1, &handler);
    SensorPortSignals_breakSilence(sensorPort_Serial1);
    Thread_sleep_ms(pause_ms);
    SensorRecords_setStatus(records, notReady);
    EXPECT_GE(silenceOf(sensorPort_Serial1), pause_ms);
    SensorRecords_setStatus(records, isReady);
    EXPECT_LT(silenceOf(sensorPort_Serial1), pause_ms);
    Thread_sleep_ms(pause_ms);
    SensorRecords_setStatus(records, isReady);
    EXPECT_GE(silenceOf(sensorPort_Serial1), pause_ms);
}

TEST_F(Silence, IsThatOfASlowSensorAfterALongSerialCycle) {
    for (uint32_t port = 0; port < sensorPortCount; ++port) {
        SensorPortSignals_breakSilence(port);
        SensorPortSignals_noteCycle(port, 250);
        EXPECT_FALSE(sensorPortHandler_getSilence(port).answersSlowly) << port;
        SensorPortSignals_noteCycle(port, 251);
        EXPECT_EQ(sensorPortHandler_getSilence(port).answersSlowly, !SensorPort_isUsb(port))
            << port;
    }
}

TEST_F(Silence, OfAPortBeyondTheFourIsNone) {
    for (const uint32_t port : foreignPorts) {
        SensorPortSignals_breakSilence(port);
        SensorPortSignals_noteCycle(port, pause_ms);
        Thread_sleep_ms(pause_ms);
        EXPECT_EQ(silenceOf(port), 0U) << port;
        EXPECT_FALSE(sensorPortHandler_getSilence(port).answersSlowly) << port;
    }
}

TEST_F(Silence, IsBrokenBySimulatedReadings) {
    SensorPortSignals_breakSilence(sensorPort_Serial2);
    Thread_sleep_ms(pause_ms);
    SensorPortHandler_setSimulatedMeasurements(1, 25.0F, 0.5F, 2e6F, 31.0F, 3.7F);
    EXPECT_LT(silenceOf(sensorPort_Serial2), pause_ms);
    sensorSerialHandler_resetSensorInformation(&sensorSerialHandlerData[1]);
}

} // namespace
