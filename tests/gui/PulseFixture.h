#ifndef TESTS_GUI_PULSE_FIXTURE_H
#define TESTS_GUI_PULSE_FIXTURE_H

#include "GtkHelpers.h"
#include "PulseDisplay.h"
#include "PulseMeasurements.h"
#include "PulseReadings.h"
#include "ScreenFixture.h"

#include <string>

struct PulseScreen {
    GtkSensorInstance instance;
    uint32_t display;
    uint32_t port;
};

constexpr PulseScreen pulseScreens[] = {{gtkSensorSinglePulse, 0, sensorPort_USB1},
                                        {gtkSensorDualPulseChannel1, 0, sensorPort_USB1},
                                        {gtkSensorDualPulseChannel2, 1, sensorPort_USB2}};

/// The pulse screens with default settings and a ready 3164 of 1000 W on both USB ports.
class PulseScreens : public Screens {
protected:
    void SetUp() override {
        Screens::SetUp();
        for (uint32_t channel = 0; channel < 2; ++channel) {
            configuration_setGatedPowerScale({.autoScale = true, .scaleIndex = 5}, channel);
            for (uint32_t i = 0; i < pulseStateCount; ++i) {
                configuration_setStatePowerScale({.autoScale = true, .scaleIndex = 5}, channel, i);
            }
        }
        for (const uint32_t port : {sensorPort_USB1, sensorPort_USB2}) {
            sensorFakes[port].status.status = isReady;
            snprintf(sensorFakes[port].model, sizeof sensorFakes[port].model, "3164");
            snprintf(sensorFakes[port].serialNumber, sizeof sensorFakes[port].serialNumber,
                     "201100123");
        }
        for (const PulseScreen& screen : pulseScreens) {
            CGTKPulseDisplay* display = displayOf(screen.instance);
            CGTKPowerDisplay_setDisplayIndex(&display->power, screen.display);
            CGTKPowerDisplay_setSensorChannel(&display->power, screen.port);
            CGTKPowerDisplay_setSensorLabel(&display->power, 30);
            CGTKPowerDisplay_clearPulseMeasurementsToBlanks(display);
            CGTKPowerDisplay_updatePulseMeasurements(display, readings());
            turnTo(display->pGridAttr);
        }
        Gui_showScreen(gtkSensorSinglePulse);
    }

    static CGTKPulseDisplay* displayOf(GtkSensorInstance instance) {
        return gtkSensor_pulseDisplay(instance);
    }

    static void read(const SENSOR_MEASUREMENTS& measurements,
                     GtkSensorInstance instance = gtkSensorSinglePulse) {
        CGTKPowerDisplay_updatePulseMeasurements(displayOf(instance), measurements);
        Gui_settle();
    }
};

#endif
