// The pulse screens and their dialogs with readings of all kinds.

#include "Configuration.h"
#include "Pictures.h"
#include "PulseConfigDialog.h"
#include "PulseMeasurements.h"

#include <cstdio>

namespace {

void setTriggered(bool isTriggered, uint8_t numStates) {
    for (SensorFake& fake : sensorFakes) {
        fake.configs.bSupportsTriggeredGates = isTriggered;
        fake.configs.bModelIsTriggeredGates = isTriggered;
        fake.configs.numStates = numStates;
    }
}

SENSOR_MEASUREMENTS readings() {
    SENSOR_MEASUREMENTS measurements = {};
    measurements.fwdPwrVal = 125.37F;
    measurements.rflPwrVal = 0.4821F;
    measurements.freqVal = 13.56e6F;
    measurements.prdVal = 0.00125F;
    measurements.prfVal = 800.0F;
    measurements.widthVal = 0.00012345F;
    measurements.dutyCycleVal = 9.88F;
    measurements.gateMean = 1254.1F;
    measurements.gateMax = 1302.4F;
    measurements.gateMin = 1190.7F;
    for (size_t i = 0; i < 4; ++i) {
        const auto power = static_cast<float>(i * i * i + 1) * 17.31F;
        measurements.pulseStates[i] = {power * 0.94F, power * 1.07F, power};
    }
    return measurements;
}

/// The longest texts: a peak far above the mean whose range it shares.
SENSOR_MEASUREMENTS longestReadings() {
    SENSOR_MEASUREMENTS measurements = readings();
    measurements.fwdPwrVal = 1e-15F;
    measurements.rflPwrVal = 1.99994F;
    measurements.freqVal = 2.45e9F;
    measurements.prdVal = 1.23456F;
    measurements.widthVal = 0.79999F;
    measurements.dutyCycleVal = 100.0F;
    measurements.gateMean = 0.0001F;
    measurements.gateMax = 14999.0F;
    measurements.gateMin = 0.0F;
    for (PULSE_STATES& state : measurements.pulseStates) {
        state = {0.0F, 14999.0F, 0.0001F};
    }
    return measurements;
}

void show(GtkSensorInstance screen, uint32_t display, uint32_t port,
          const SENSOR_MEASUREMENTS& measurements) {
    CGTKPowerDisplay* power = Pictures_prepare(screen, display, port);
    CGTKPowerDisplay_updatePulseMeasurements(power, measurements);
    Gui_settle();
}

void turnTo(GtkSensorInstance screen, GtkWidget* CGTKPowerDisplay::*grid) {
    GtkWidget* page = gtkSensor_powerDisplay(screen)->*grid;
    GtkNotebook* notebook = GTK_NOTEBOOK(gtk_widget_get_parent(page));
    gtk_notebook_set_current_page(notebook, gtk_notebook_page_num(notebook, page));
    Gui_settle();
}

void plugSensors() {
    Pictures_reset();
    Pictures_plug(sensorPort_USB1, "3164", "201100123", 25000.0F);
    Pictures_plug(sensorPort_USB2, "Tessel 3164 wide lab", "987654321", 25000.0F);
}

void drawPages(const char* prefix, GtkSensorInstance screen, bool isTriggered) {
    turnTo(screen, &CGTKPowerDisplay::pGridAttr);
    Pictures_save(std::string(prefix) + "-values");
    turnTo(screen, isTriggered ? &CGTKPowerDisplay::pGridState : &CGTKPowerDisplay::pGridGated);
    Pictures_save(std::string(prefix) + (isTriggered ? "-states" : "-gate"));
}

void drawFull(const char* prefix, bool isTriggered, const SENSOR_MEASUREMENTS& measurements) {
    setTriggered(isTriggered, 4);
    Gui_showScreen(gtkSensorSinglePulse);
    show(gtkSensorSinglePulse, 0, sensorPort_USB1, measurements);
    drawPages(prefix, gtkSensorSinglePulse, isTriggered);
}

void drawHalves(const char* prefix, const SENSOR_MEASUREMENTS& measurements) {
    Gui_showScreen(gtkSensorDualPulseChannel1);
    setTriggered(false, 0);
    show(gtkSensorDualPulseChannel1, 0, sensorPort_USB1, measurements);
    setTriggered(true, 4);
    show(gtkSensorDualPulseChannel2, 1, sensorPort_USB2, measurements);
    turnTo(gtkSensorDualPulseChannel2, &CGTKPowerDisplay::pGridState);
    drawPages(prefix, gtkSensorDualPulseChannel1, false);
    turnTo(gtkSensorDualPulseChannel2, &CGTKPowerDisplay::pGridAttr);
    turnTo(gtkSensorDualPulseChannel1, &CGTKPowerDisplay::pGridAttr);
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
}

void drawScreens() {
    drawFull("pulse-single", false, readings());
    drawFull("pulse-single-triggered", true, readings());
    drawHalves("pulse-dual", readings());
    drawFull("pulse-long", false, longestReadings());
    drawFull("pulse-long-triggered", true, longestReadings());
    drawHalves("pulse-dual-long", longestReadings());
    configuration_setPowerUnitsIsdBm(true);
    drawFull("pulse-dbm", false, longestReadings());
    drawFull("pulse-dbm-triggered", true, readings());
    drawHalves("pulse-dual-dbm", longestReadings());
    plugSensors();
    SENSOR_MEASUREMENTS over = readings();
    over.rflPwrVal = over.gateMax = over.pulseStates[2].max = 40000.0F;
    drawFull("pulse-over", false, over);
    drawHalves("pulse-dual-over", over);
    Gui_showScreen(gtkSensorSinglePulse);
    CGTKPowerDisplay_clearPulseMeasurementsToBlanks(gtkSensor_powerDisplay(gtkSensorSinglePulse));
    Pictures_save("pulse-blank");
}

} // namespace

void Pictures_drawPulse() {
    plugSensors();
    drawScreens();
    drawDialogs();
}
