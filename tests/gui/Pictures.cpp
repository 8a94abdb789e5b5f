// Draws every screen with readings of all kinds into a folder, for looking at.

#include "AppFlags.h"
#include "Configuration.h"
#include "GuiHarness.h"
#include "SensorFakes.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

std::string folder;

void save(const char* name) {
    const std::string file = folder + "/" + name + ".png";
    if (!Gui_savePicture(file)) {
        fprintf(stderr, "cannot write %s\n", file.c_str());
        _exit(1);
    }
}

void plug(uint32_t port, const char* model, const char* serialNumber, float maxPower_W) {
    sensorFakes[port].status.status = isReady;
    sensorFakes[port].maxPower_W = maxPower_W;
    snprintf(sensorFakes[port].model, sizeof sensorFakes[port].model, "%s", model);
    snprintf(sensorFakes[port].serialNumber, sizeof sensorFakes[port].serialNumber, "%s",
             serialNumber);
}

void read(GtkSensorInstance screen, uint32_t display, uint32_t port, float fwd_W, float rfl_W) {
    CGTKPowerDisplay* power = gtkSensor_powerDisplay(screen);
    CGTKPowerDisplay_setDisplayIndex(power, display);
    CGTKPowerDisplay_setSensorChannel(power, port);
    CGTKPowerDisplay_updateScale(power);
    CGTKPowerDisplay_setSensorLabel(power, screen == gtkSensorDualChannel1withGraph ||
                                                   screen == gtkSensorDualChannel2withGraph
                                               ? 22
                                               : 30);
    SENSOR_MEASUREMENTS measurements = {};
    measurements.fwdPwrVal = fwd_W;
    measurements.rflPwrVal = rfl_W;
    CGTKPowerDisplay_updateMeasurements(power, measurements);
}

void resetSettings() {
    configuration_setPowerUnitsIsdBm(false);
    configuration_setMatchMeasurementType(rfMatch_VSWR);
    for (uint32_t i = 0; i < 4; ++i) {
        configuration_setRfPowerScale({.autoScale = true, .scaleIndex = 5}, i / 2, i % 2);
    }
}

void drawSingle() {
    Gui_showScreen(gtkSensorSingleChannel1);
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 0.4821F);
    save("single-watts");
    configuration_setMatchMeasurementType(rfMatch_RL);
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 0.4821F);
    save("single-return-loss");
    configuration_setMatchMeasurementType(rfMatch_RflCoeff);
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 0.4821F);
    save("single-reflection-coefficient");
    configuration_setMatchMeasurementType(rfMatch_VSWR);
    read(gtkSensorSingleChannel1, 0, 0, 1250.0F, 0.4821F);
    save("single-over-range");
    configuration_setPowerUnitsIsdBm(true);
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 1.2e-13F);
    save("single-dbm");
    resetSettings();
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 0.4821F);
    Gui_press("single.fwd.scaleUp");
    save("single-pressed");
    Gui_release();
    resetSettings();
}

void drawGraphScreens() {
    Gui_showScreen(gtkSensorSingleChannel1withGraph);
    read(gtkSensorSingleChannel1withGraph, 0, 0, 25.37F, 0.4821F);
    save("single-with-graph");
    Gui_showScreen(gtkSensorDualChannel1withGraph);
    read(gtkSensorDualChannel1withGraph, 0, 0, 25.37F, 0.4821F);
    read(gtkSensorDualChannel2withGraph, 1, 1, 640.2F, 1050.0F);
    save("dual-with-graph");
}

void drawHalves() {
    Gui_showScreen(gtkSensorDualChannel1);
    read(gtkSensorDualChannel1, 0, 0, 25.37F, 0.4821F);
    read(gtkSensorDualChannel2, 1, 1, 640.2F, 1050.0F);
    save("dual-watts");
    configuration_setPowerUnitsIsdBm(true);
    configuration_setMatchMeasurementType(rfMatch_RL);
    read(gtkSensorDualChannel1, 0, 0, 25.37F, 1.2e-13F);
    read(gtkSensorDualChannel2, 1, 1, 640.2F, 12.0F);
    save("dual-dbm");
    resetSettings();
}

void drawNoConnection() {
    CGTKNoConnectionDisplay* full = gtkSensor_noConnectionDisplay(gtkSensorSingleNoConnection);
    Gui_showScreen(gtkSensorSingleNoConnection);
    CGTKNoConnectionDisplay_setNoConnect(full);
    save("no-sensor");
    CGTKNoConnectionDisplay_setConnecting_withPort(full, "Serial1");
    save("connecting");
    CGTKNoConnectionDisplay_setSensorError_withPort(full, "USB1");
    save("sensor-error");
    Gui_showScreen(gtkSensorDualNoConnectionCh1);
    CGTKNoConnectionDisplay_setConnecting_withPort(
        gtkSensor_noConnectionDisplay(gtkSensorDualNoConnectionCh1), "USB2");
    CGTKNoConnectionDisplay_setSensorError_withPort(
        gtkSensor_noConnectionDisplay(gtkSensorDualNoConnectionCh2), "Serial2");
    save("dual-no-connection");
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        fprintf(stderr, "usage: %s FOLDER\n", arguments[0]);
        return 1;
    }
    char* absolute = realpath(arguments[1], nullptr);
    if (absolute == nullptr) {
        perror(arguments[1]);
        return 1;
    }
    folder = absolute;
    free(absolute);
    setConfigurationFile("");
    readConfigFile();
    resetSettings();
    SensorFakes_reset();
    Gui_start();
    gtk_init_done = true;
    plug(0, "5132-10", "123456789", 1000.0F);
    plug(1, "Tessel 5134 wide lab", "987654321", 800.0F);
    drawSingle();
    drawGraphScreens();
    drawHalves();
    drawNoConnection();
    return 0;
}
