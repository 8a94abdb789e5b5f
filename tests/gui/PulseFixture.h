#ifndef TESTS_GUI_PULSE_FIXTURE_H
#define TESTS_GUI_PULSE_FIXTURE_H

#include "GtkHelpers.h"
#include "PulseDisplay.h"
#include "PulseMeasurements.h"
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
            CGTKPowerDisplay* display = displayOf(screen.instance);
            CGTKPowerDisplay_setDisplayIndex(display, screen.display);
            CGTKPowerDisplay_setSensorChannel(display, screen.port);
            CGTKPowerDisplay_setSensorLabel(display, 30);
            CGTKPowerDisplay_clearPulseMeasurementsToBlanks(display);
            CGTKPowerDisplay_updatePulseMeasurements(display, readings());
            turnTo(screen.instance, display->pGridAttr);
        }
        Gui_showScreen(gtkSensorSinglePulse);
    }

    static CGTKPowerDisplay* displayOf(GtkSensorInstance instance) {
        return gtkSensor_powerDisplay(instance);
    }

    static SENSOR_MEASUREMENTS readings() {
        SENSOR_MEASUREMENTS measurements = {};
        measurements.fwdPwrVal = 125.37F;
        measurements.rflPwrVal = 0.4821F;
        measurements.freqVal = 13.56e6F;
        measurements.prdVal = 0.00125F;
        measurements.prfVal = 800.0F;
        measurements.widthVal = 0.00012345F;
        measurements.dutyCycleVal = 9.876F;
        measurements.gateMean = 12.541F;
        measurements.gateMax = 13.024F;
        measurements.gateMin = 11.907F;
        for (size_t i = 0; i < pulseStateCount; ++i) {
            const auto power = static_cast<float>(i + 2);
            measurements.pulseStates[i] = {power * 0.5F, power * 1.5F, power};
        }
        return measurements;
    }

    /// The longest texts: a peak far above the mean whose range it shares.
    static SENSOR_MEASUREMENTS longestReadings() {
        SENSOR_MEASUREMENTS measurements = readings();
        measurements.fwdPwrVal = 1e-15F;
        measurements.freqVal = 2.45e9F;
        measurements.dutyCycleVal = 3e38F;
        measurements.gateMean = 0.0001F;
        measurements.gateMax = 1199.0F;
        measurements.gateMin = 0.0F;
        for (PULSE_STATES& state : measurements.pulseStates) {
            state = {0.0F, 1199.0F, 0.0001F};
        }
        return measurements;
    }

    static void setTriggered(bool isTriggered, uint8_t numStates) {
        for (SensorFake& fake : sensorFakes) {
            fake.configs.bSupportsTriggeredGates = isTriggered;
            fake.configs.bModelIsTriggeredGates = isTriggered;
            fake.configs.numStates = numStates;
        }
    }

    static void read(const SENSOR_MEASUREMENTS& measurements,
                     GtkSensorInstance instance = gtkSensorSinglePulse) {
        CGTKPowerDisplay_updatePulseMeasurements(displayOf(instance), measurements);
        Gui_settle();
    }

    static void turnTo(GtkSensorInstance instance, GtkWidget* page) {
        GtkNotebook* notebook = GTK_NOTEBOOK(gtk_widget_get_parent(displayOf(instance)->pGridAttr));
        gtk_notebook_set_current_page(notebook, gtk_notebook_page_num(notebook, page));
        Gui_settle();
    }
};

#endif
