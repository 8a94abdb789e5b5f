// The pulse screens and their dialogs with readings of all kinds.

#include "Configuration.h"
#include "Pictures.h"
#include "PulseConfigDialog.h"
#include "PulseMeasurements.h"
#include "PulseReadings.h"

#include <cstdio>

namespace {

/// The longest texts that a sensor of 25 kW can bring up.
SENSOR_MEASUREMENTS longestOfAll() {
    SENSOR_MEASUREMENTS measurements = longestReadings(14999.0F);
    measurements.rflPwrVal = 1.99994F;
    measurements.prdVal = 1.23456F;
    measurements.widthVal = 0.79999F;
    measurements.dutyCycleVal = 100.0F;
    return measurements;
}

void show(GtkSensorInstance screen, uint32_t display, uint32_t port,
          const SENSOR_MEASUREMENTS& measurements) {
    Pictures_prepare(screen, display, port);
    CGTKPowerDisplay_updatePulseMeasurements(gtkSensor_pulseDisplay(screen), measurements);
    Gui_settle();
}

void turnTo(GtkSensorInstance screen, GtkWidget* CGTKPulseDisplay::*page) {
    turnTo(gtkSensor_pulseDisplay(screen)->*page);
}

void plugSensors() {
    Pictures_reset();
    Pictures_plug(sensorPort_USB1, "3164", "201100123", 25000.0F);
    Pictures_plug(sensorPort_USB2, "Tessel 3164 wide lab", "987654321", 25000.0F);
}

void drawPages(const char* prefix, GtkSensorInstance screen, bool isTriggered) {
    turnTo(screen, &CGTKPulseDisplay::pGridAttr);
    Pictures_save(std::string(prefix) + "-values");
    turnTo(screen, isTriggered ? &CGTKPulseDisplay::pGridState : &CGTKPulseDisplay::pGridGated);
    Pictures_save(std::string(prefix) + (isTriggered ? "-states" : "-gate"));
}

void drawFull(const char* prefix, bool isTriggered, const SENSOR_MEASUREMENTS& measurements) {
    setTriggered(isTriggered, 4);
    Gui_showScreen(gtkSensorSinglePulse);
    show(gtkSensorSinglePulse, 0, sensorPort_USB1, measurements);
    drawPages(prefix, gtkSensorSinglePulse, isTriggered);
}

/// Triggered gates, but none of them.
void drawWithoutStates() {
    setTriggered(true, 0);
    Gui_showScreen(gtkSensorSinglePulse);
    show(gtkSensorSinglePulse, 0, sensorPort_USB1, readings());
    turnTo(gtkSensorSinglePulse, &CGTKPulseDisplay::pGridState);
    Pictures_save("pulse-no-states");
    Gui_showScreen(gtkSensorDualPulseChannel1);
    show(gtkSensorDualPulseChannel1, 0, sensorPort_USB1, readings());
    show(gtkSensorDualPulseChannel2, 1, sensorPort_USB2, readings());
    turnTo(gtkSensorDualPulseChannel1, &CGTKPulseDisplay::pGridState);
    turnTo(gtkSensorDualPulseChannel2, &CGTKPulseDisplay::pGridState);
    Pictures_save("pulse-dual-no-states");
    turnTo(gtkSensorDualPulseChannel2, &CGTKPulseDisplay::pGridAttr);
}

void drawHalves(const char* prefix, const SENSOR_MEASUREMENTS& measurements) {
    Gui_showScreen(gtkSensorDualPulseChannel1);
    setTriggered(false, 0);
    show(gtkSensorDualPulseChannel1, 0, sensorPort_USB1, measurements);
    setTriggered(true, 4);
    show(gtkSensorDualPulseChannel2, 1, sensorPort_USB2, measurements);
    turnTo(gtkSensorDualPulseChannel2, &CGTKPulseDisplay::pGridState);
    drawPages(prefix, gtkSensorDualPulseChannel1, false);
    turnTo(gtkSensorDualPulseChannel2, &CGTKPulseDisplay::pGridAttr);
    turnTo(gtkSensorDualPulseChannel1, &CGTKPulseDisplay::pGridAttr);
    Pictures_save(std::string(prefix) + "-both-values");
}

void giveLimits(SENSOR_IDENTITY& limits) {
    limits.sensorFrequency = {360000.0F, 105000000.0F};
    limits.sensorPulsePeriod = {6e-6F, 1.0F};
    limits.sensorPower = {0.0F, 25000.0F};
    limits.sensorTriggerDelay = {-1.0F, 1.0F};
}

void drawDialogs() {
    pulseConfigDialog_Create(gPulseConfigDlg3163, pulseConfigForm3163);
    pulseConfigDialog_Create(gPulseConfigDlg3164, pulseConfigForm3164);
    SensorFake& sensor = sensorFakes[sensorPort_USB1];
    giveLimits(sensor.identity);
    sensor.configs = {};
    sensor.configs.freqVal = 13560000.0F;
    sensor.configs.gateBegin = 0.0001F;
    pulseConfigDialog_Show(sensorPort_USB1);
    Pictures_save("pulse-dialog-3163");
    callbackPulseConfigBtnClicked(gPulseConfigDlg3163.cancel, &gPulseConfigDlg3163);
    sensor.configs.bSupportsTriggeredGates = true;
    sensor.configs.prdVal = 0.00125F;
    sensor.configs.trigLevelVal = 123.456F;
    sensor.configs.trigDelayVal = -0.000012345F;
    sensor.configs.trigSlope = 1;
    pulseConfigDialog_Show(sensorPort_USB1);
    PulseConfigForm_setTarget(&gPulseConfigDlg3164, gPulseConfigDlg3164.entries[2].entry);
    Pictures_save("pulse-dialog-3164");
    sensor.configs.bModelIsTriggeredGates = true;
    sensor.configs.bAutoFrequency = true;
    sensor.configs.numStates = 4;
    for (int i = 0; i < 4; ++i) {
        sensor.configs.pulseStates[i] = {true, static_cast<float>(i) * 0.0002F,
                                         static_cast<float>(i) * 0.0002F + 0.000123456F};
    }
    sensor.configs.pulseStates[3].end = 0.0001F;
    pulseConfigDialog_Show(sensorPort_USB1);
    Pictures_save("pulse-dialog-states");
    callbackPulseConfigBtnClicked(gPulseConfigDlg3164.apply, &gPulseConfigDlg3164);
    Pictures_save("pulse-dialog-error");
    gtk_button_clicked(GTK_BUTTON(gPulseConfigDlg3164.errorOk));
    gtk_entry_set_text(GTK_ENTRY(gPulseConfigDlg3164.entries[13].entry), "1200");
    callbackPulseConfigBtnClicked(gPulseConfigDlg3164.apply, &gPulseConfigDlg3164);
    Pictures_save("pulse-dialog-sending");
    USBTMC_PARAM_ERRORS errors = {};
    errors.count = 5;
    for (auto& error : errors.errors) {
        snprintf(error, sizeof error, "Trigger Level Auto is not valid");
    }
    Gui_waitUntil([] { return SensorFakes_request().isWaiting; }, 5000);
    SensorFakes_answer(errors);
    Gui_waitUntil([] { return gtk_widget_get_mapped(gPulseConfigDlg3164.errorWindow) != 0; }, 5000);
    Pictures_save("pulse-dialog-refused");
    gtk_button_clicked(GTK_BUTTON(gPulseConfigDlg3164.errorOk));
    sensor.hasGone = true;
    Gui_waitUntil([] { return gPulseConfigDlg3164.sensorHasGone; }, 5000);
    Pictures_save("pulse-dialog-gone");
}

void drawScreens() {
    drawFull("pulse-single", false, readings());
    drawFull("pulse-single-triggered", true, readings());
    drawHalves("pulse-dual", readings());
    drawWithoutStates();
    drawFull("pulse-long", false, longestOfAll());
    drawFull("pulse-long-triggered", true, longestOfAll());
    drawHalves("pulse-dual-long", longestOfAll());
    configuration_setPowerUnitsIsdBm(true);
    drawFull("pulse-dbm", false, longestOfAll());
    drawFull("pulse-dbm-triggered", true, readings());
    drawHalves("pulse-dual-dbm", longestOfAll());
    plugSensors();
    SENSOR_MEASUREMENTS over = readings();
    over.rflPwrVal = over.gateMax = over.pulseStates[2].max = 40000.0F;
    drawFull("pulse-over", false, over);
    drawHalves("pulse-dual-over", over);
    Gui_showScreen(gtkSensorSinglePulse);
    CGTKPowerDisplay_clearPulseMeasurementsToBlanks(gtkSensor_pulseDisplay(gtkSensorSinglePulse));
    Pictures_save("pulse-blank");
}

} // namespace

void Pictures_drawPulse() {
    plugSensors();
    drawScreens();
    drawDialogs();
}
