#ifndef TESTS_UNIT_DISPLAY_DISPLAY_FSM_FIXTURE_H
#define TESTS_UNIT_DISPLAY_DISPLAY_FSM_FIXTURE_H

#include "CSensorDisplayFSM.h"
#include "Configuration.h"
#include "SensorFakes.h"
#include "ViewRecorder.h"
#include "World.h"

#include <gtest/gtest.h>

#include <string>

constexpr uint32_t noPort = sensorPort_None;

/// What the measurement listener was told last.
inline uint32_t heardPort = noPort;
inline float heardPower = 0.0F;

inline void listen(uint32_t port, const SENSOR_MEASUREMENTS& measurements) {
    heardPort = port;
    heardPower = measurements.fwdPwrVal;
}

/// Both display machines, with stand-ins for the sensors and a recorder for the screens.
class DisplayFsm : public testing::Test {
protected:
    CSensorDisplayFSM& upper = sensorFSM[UpperDisplay];
    CSensorDisplayFSM& lower = sensorFSM[LowerDisplay];

    void SetUp() override {
        SensorFakes_reset();
        ViewRecorder_install();
        CSensorDisplayFSM_registerMeasurementListener(listen);
        heardPort = noPort;
        configuration_setDisplayGraph(false);
        configuration_setPulseMode(false);
        CSensorDisplayFSM_reset();
        World_clearSyslog();
    }
    void TearDown() override {
        CSensorDisplayFSM_registerMeasurementListener(nullptr);
    }

    static void plug(uint32_t port, uint32_t channel) {
        sensorFakes[port].logicalChannel = channel;
        CSensorDisplayFSM_connect(port);
    }
    static void becomeReady(uint32_t port, float power_W) {
        sensorFakes[port].status.status = isReady;
        sensorFakes[port].measurements.fwdPwrVal = power_W;
        sensorFakes[port].measurements.rflPwrVal = 0.0F;
        CSensorDisplayFSM_updateMeasurements(port);
    }
    static void plugAndMeasure(uint32_t port, uint32_t channel, float power_W) {
        plug(port, channel);
        becomeReady(port, power_W);
    }
    /// What a person sees agrees with what the slot says.
    static void expectScreen(SensorDisplayInstance_t display, GtkSensorInstance screen) {
        EXPECT_EQ(sensorDisplays[display].display, screen) << "display " << display;
        EXPECT_EQ(ViewRecorder_visibleScreen(display, sensorFSM[display].fullSCreen), screen)
            << "display " << display;
    }
    static const std::string& textOf(GtkSensorInstance screen) {
        return viewRecord.screens[screen].text;
    }
};

#endif
