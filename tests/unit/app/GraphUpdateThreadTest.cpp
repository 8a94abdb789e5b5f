#include "GraphUpdateThread.h"

#include "Configuration.h"
#include "SensorHandOff.h"
#include "SensorPortHandler.h"
#include "SerialSensorHandler.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

/// A ready simulated sensor on Serial1, shown and detected on the upper display, with the graph on.
class GraphUpdateTest : public testing::Test {
protected:
    void SetUp() override {
        restoreDefaultSettings();
        configuration_setDisplayGraph(true);
        for (uint32_t slot = 0; slot < NumberOfDisplays; ++slot) {
            sensorDisplays[slot].sensorPort = sensorPort_None;
            CGraphData_create(&sensorDisplays[slot].graphDataPwr, graphMinFilterWidth);
        }
        sensorDisplays[UpperDisplay].sensorPort = sensorPort_Serial1;
        SensorPortHandler_setSimulatedMeasurements(sensorPort_Serial1, 25, 0.5F, 1e9F, 30, 0);
        makeReady(sensorPort_Serial1);
        setDetected(sensorPortBit_Serial1);
    }
    void TearDown() override {
        sensorPortHandler_setIsConnected(sensorPort_Serial1, false);
    }

    /// Plays the port's handler once its sensor has been identified.
    static void makeReady(uint32_t port) {
        sensorPortHandler_setIsConnected(port, true);
        SensorPortSignals_setServedConnection(port, SensorPortSignals_waitUntilConnected(port));
        sensorSerialHandlerData[port].sensorStatus.status = isReady;
    }

    static void setDetected(uint32_t bits) {
        PowerSensors = {bits, 0, false};
    }

    static uint32_t count(uint32_t slot) {
        return CGraphData_getCount(&sensorDisplays[slot].graphDataPwr, RawData);
    }

    static float newest(uint32_t slot) {
        CGraphData* data = &sensorDisplays[slot].graphDataPwr;
        return CGraphData_getItem(data, CGraphData_getCount(data, RawData) - 1, RawData).power;
    }

    GraphUpdateState state = GraphUpdate_begin();
};

using GraphUpdate = GraphUpdateTest;

} // namespace

TEST_F(GraphUpdate, ForwardPowerIsAppended) {
    GraphUpdate_sample(&state);
    ASSERT_EQ(count(UpperDisplay), 1U);
    EXPECT_FLOAT_EQ(newest(UpperDisplay), 25);
    EXPECT_EQ(count(LowerDisplay), 0U) << "no sensor is shown there";
}

TEST_F(GraphUpdate, ReflectedModeAppendsReflectedPower) {
    GraphSettings_t settings = configuration_getGraphSettings(UpperDisplay);
    settings.bReflectedMode = true;
    configuration_setGraphSettings(settings, UpperDisplay);
    GraphUpdate_sample(&state);
    ASSERT_EQ(count(UpperDisplay), 1U);
    EXPECT_FLOAT_EQ(newest(UpperDisplay), 0.5F);
}

TEST_F(GraphUpdate, NothingIsAppendedWhileTheGraphIsOff) {
    configuration_setDisplayGraph(false);
    GraphUpdate_sample(&state);
    EXPECT_EQ(count(UpperDisplay), 0U);
}

TEST_F(GraphUpdate, SensorThatIsNotReadyIsSkipped) {
    sensorDisplays[UpperDisplay].sensorPort = sensorPort_Serial2;
    GraphUpdate_sample(&state);
    EXPECT_EQ(count(UpperDisplay), 0U);
}

TEST_F(GraphUpdate, SensorThatIsNoLongerDetectedRepeatsItsLastValue) {
    GraphUpdate_sample(&state);
    SensorPortHandler_setSimulatedMeasurements(sensorPort_Serial1, 50, 1, 1e9F, 30, 0);
    setDetected(0);
    GraphUpdate_sample(&state);
    ASSERT_EQ(count(UpperDisplay), 2U);
    EXPECT_FLOAT_EQ(newest(UpperDisplay), 25);
    setDetected(sensorPortBit_Serial1);
    GraphUpdate_sample(&state);
    EXPECT_FLOAT_EQ(newest(UpperDisplay), 50);
}

TEST_F(GraphUpdate, MissingReadingIsNotAppended) {
    SensorPortHandler_setSimulatedMeasurements(sensorPort_Serial1, NAN, NAN, 1e9F, 30, 0);
    GraphUpdate_sample(&state);
    EXPECT_EQ(count(UpperDisplay), 0U);
}
