#include "SensorChanges.h"

#include "CSensorDisplayFSM.h"
#include "SensorHandOff.h"
#include "SensorManager.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> connecting; ///< the ports that a display was given, in order
uint32_t answeredChannel = sensorLogicalChannel1;
int questionCount = 0;

/// Plays the user in front of the channel dialog.
void answer(const SensorAdmission& sensor) {
    ++questionCount;
    SensorInstance_SetLogicalChannel(sensor.port, answeredChannel);
}

DisplayView silentView() {
    DisplayView view{};
    view.setVisible = [](ScreenContainer, SensorDisplayInstance_t, bool) {};
    view.setNoConnect = [](GtkSensorInstance) {};
    view.setConnecting_withPort = [](GtkSensorInstance, const char* port) {
        connecting.emplace_back(port);
    };
    view.setSensorError_withPort = [](GtkSensorInstance, const char*) {};
    view.setMessage = [](GtkSensorInstance, const char*, const char*) {};
    view.bindScreen = [](GtkSensorInstance, SensorDisplayInstance_t, uint32_t) {};
    view.setSensorLabel = [](GtkSensorInstance, uint32_t) {};
    view.clearValues = [](GtkSensorInstance) {};
    view.updateScale = [](GtkSensorInstance) {};
    view.updateMeasurements = [](GtkSensorInstance, const SENSOR_MEASUREMENTS&) {};
    view.updatePulseMeasurements = [](GtkSensorInstance, const SENSOR_MEASUREMENTS&) {};
    view.updateGraph = [](GtkSensorInstance) {};
    view.setSilence = [](GtkSensorInstance, const char*) {};
    return view;
}

/// An instrument without sensors.
class SensorChangesTest : public testing::Test {
protected:
    void SetUp() override {
        CSensorDisplayFSM_registerView(silentView());
        CSensorDisplayFSM_reset();
        SensorManager_Create();
        SensorManager_registerChannelPrompt(answer);
        PowerSensors = {};
        sensorConnectionsChanged = false;
        answeredChannel = sensorLogicalChannel1;
        questionCount = 0;
        connecting.clear();
    }
    void TearDown() override {
        SensorManager_Destroy();
    }

    /// One detection cycle that finds these ports.
    void detect(uint32_t ports) {
        CONNECTED_SENSORS record{ports, previous ^ ports, false};
        SensorManager_UpdatePhysicalSensors(&record);
        gtkThread_SensorChanged(record);
        previous = record.detectedSensors;
    }

    uint32_t previous = 0;
};

using SensorChanges = SensorChangesTest;

} // namespace

TEST_F(SensorChanges, FirstSensorIsAskedForAndShownOnItsChannel) {
    answeredChannel = sensorLogicalChannel2;
    detect(sensorPortBit_Serial1);
    SensorChanges_handle();
    EXPECT_EQ(questionCount, 1);
    EXPECT_EQ(sensorFSM[LowerDisplay].port, sensorPort_Serial1);
    EXPECT_EQ(sensorFSM[UpperDisplay].port, sensorPort_None);
}

TEST_F(SensorChanges, SecondSensorTakesTheOtherChannelWithoutAQuestion) {
    detect(sensorPortBit_Serial1);
    SensorChanges_handle();
    detect(sensorPortBit_Serial1 | sensorPortBit_Serial2);
    SensorChanges_handle();
    EXPECT_EQ(questionCount, 1);
    EXPECT_EQ(sensorFSM[UpperDisplay].port, sensorPort_Serial1);
    EXPECT_EQ(sensorFSM[LowerDisplay].port, sensorPort_Serial2);
}

TEST_F(SensorChanges, SensorsOfOnePassAreShownInThePortsOrder) {
    const struct {
        uint32_t ports;
        const char* first;
    } cases[] = {{sensorPortBit_USB1 | sensorPortBit_USB2, "USB1"},
                 {sensorPortBit_USB2 | sensorPortBit_Serial1, "USB2"},
                 {sensorPortBit_Serial1 | sensorPortBit_Serial2, "Serial1"}};
    for (const auto& one : cases) {
        detect(one.ports);
        SensorChanges_handle();
        ASSERT_FALSE(connecting.empty());
        EXPECT_EQ(connecting.front(), one.first);
        detect(0);
        SensorChanges_handle();
        connecting.clear();
    }
}

TEST_F(SensorChanges, RemovalComesBeforeInsertionInTheSamePass) {
    detect(sensorPortBit_Serial1);
    SensorChanges_handle();
    // The display can only be taken by Serial2 when Serial1 has left it first.
    detect(sensorPortBit_Serial2);
    SensorChanges_handle();
    EXPECT_EQ(questionCount, 2);
    EXPECT_EQ(sensorFSM[UpperDisplay].port, sensorPort_Serial2);
    EXPECT_EQ(sensorFSM[UpperDisplay].state, Connecting);
}

TEST_F(SensorChanges, SensorThatReturnsBetweenTwoPassesGetsItsChannelAgain) {
    detect(sensorPortBit_Serial1);
    SensorChanges_handle();
    detect(0);
    detect(sensorPortBit_Serial1);
    ASSERT_FALSE(sensorConnectionsChanged) << "no event is left";
    SensorChanges_handle();
    EXPECT_EQ(questionCount, 2);
    EXPECT_EQ(SensorInstance_GetLogicalChannel(sensorPort_Serial1), sensorLogicalChannel1);
    EXPECT_EQ(sensorFSM[UpperDisplay].port, sensorPort_Serial1);
}

TEST_F(SensorChanges, SensorThatReturnsWithTheOtherChannelMovesToItsDisplay) {
    detect(sensorPortBit_Serial1);
    SensorChanges_handle();
    detect(0);
    detect(sensorPortBit_Serial1);
    answeredChannel = sensorLogicalChannel2;
    SensorChanges_handle();
    EXPECT_EQ(sensorFSM[UpperDisplay].port, sensorPort_None);
    EXPECT_EQ(sensorFSM[LowerDisplay].port, sensorPort_Serial1);
    EXPECT_EQ(sensorFSM[LowerDisplay].state, Connecting);
}

TEST_F(SensorChanges, ThirdSensorIsShownWhenOneLeaves) {
    constexpr uint32_t all = sensorPortBit_Serial1 | sensorPortBit_Serial2 | sensorPortBit_USB1;
    detect(sensorPortBit_Serial1 | sensorPortBit_Serial2);
    SensorChanges_handle();
    detect(all);
    SensorChanges_handle();
    EXPECT_FALSE(SensorManager_IsSensorActive(sensorPort_USB1));
    detect(all & ~sensorPortBit_Serial1);
    SensorChanges_handle();
    EXPECT_EQ(questionCount, 1);
    EXPECT_EQ(sensorFSM[UpperDisplay].port, sensorPort_USB1);
    EXPECT_EQ(sensorFSM[LowerDisplay].port, sensorPort_Serial2);
}

TEST_F(SensorChanges, NothingHappensWithoutAChange) {
    SensorChanges_handle();
    EXPECT_EQ(questionCount, 0);
    EXPECT_EQ(sensorFSM[UpperDisplay].port, sensorPort_None);
}
