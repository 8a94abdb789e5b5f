#ifndef TESTS_GUI_SCREEN_FIXTURE_H
#define TESTS_GUI_SCREEN_FIXTURE_H

#include "AppFlags.h"
#include "Configuration.h"
#include "GuiHarness.h"
#include "SensorFakes.h"
#include "World.h"

#include <gtest/gtest.h>

#include <cstdio>

/// A CW screen and the first part of its widgets' names.
struct CwScreen {
    GtkSensorInstance instance;
    const char* name;
    uint32_t display;
};

constexpr CwScreen cwScreens[] = {
    {gtkSensorSingleChannel1, "single", 0}, {gtkSensorSingleChannel1withGraph, "singleGraph", 0},
    {gtkSensorDualChannel1, "upper", 0},    {gtkSensorDualChannel1withGraph, "upperGraph", 0},
    {gtkSensorDualChannel2, "lower", 1},    {gtkSensorDualChannel2withGraph, "lowerGraph", 1},
};

/// Screens with default settings and a sensor of 1000 W on the first serial port.
class Screens : public testing::Test {
protected:
    void SetUp() override {
        World_removeFile("/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf");
        setConfigurationFile("");
        readConfigFile();
        for (uint32_t i = 0; i < 4; ++i) {
            configuration_setRfPowerScale({.autoScale = true, .scaleIndex = 5}, i / 2, i % 2);
        }
        SensorFakes_reset();
        sensorFakes[sensorPort_Serial1].status.status = isReady;
        snprintf(sensorFakes[sensorPort_Serial1].model, sizeof sensorFakes[0].model, "5132");
        snprintf(sensorFakes[sensorPort_Serial1].serialNumber, sizeof sensorFakes[0].serialNumber,
                 "123456789");
        gtk_init_done = true;
        for (const CwScreen& screen : cwScreens) {
            CGTKCWDisplay* display = gtkSensor_cwDisplay(screen.instance);
            CGTKPowerDisplay_setDisplayIndex(&display->power, screen.display);
            CGTKPowerDisplay_setSensorChannel(&display->power, sensorPort_Serial1);
            CGTKPowerDisplay_updateScale(&display->power);
            CGTKPowerDisplay_clearMeasurementsToBlanks(display);
            CGTKPowerDisplay_updateLines(display);
        }
    }

    static void read(GtkSensorInstance instance, float fwd_W, float rfl_W) {
        CGTKCWDisplay* display = gtkSensor_cwDisplay(instance);
        CGTKPowerDisplay_updateScale(&display->power);
        SENSOR_MEASUREMENTS measurements = {};
        measurements.fwdPwrVal = fwd_W;
        measurements.rflPwrVal = rfl_W;
        CGTKPowerDisplay_updateMeasurements(display, measurements);
        Gui_settle();
    }

    static void readSingle(float fwd_W, float rfl_W) {
        read(gtkSensorSingleChannel1, fwd_W, rfl_W);
    }
};

#endif
