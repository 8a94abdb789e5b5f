// The CW screens with readings of all kinds, and those without a sensor.

#include "Configuration.h"
#include "Pictures.h"

namespace {

void read(GtkSensorInstance screen, uint32_t display, uint32_t port, float fwd_W, float rfl_W) {
    const bool isNarrow =
        screen == gtkSensorDualChannel1withGraph || screen == gtkSensorDualChannel2withGraph;
    Pictures_prepare(screen, display, port, isNarrow ? 22 : 30);
    SENSOR_MEASUREMENTS measurements = {};
    measurements.fwdPwrVal = fwd_W;
    measurements.rflPwrVal = rfl_W;
    CGTKPowerDisplay_updateMeasurements(gtkSensor_cwDisplay(screen), measurements);
}

void plugSensors() {
    Pictures_reset();
    Pictures_plug(sensorPort_Serial1, "5132-10", "123456789", 1000.0F);
    Pictures_plug(sensorPort_Serial2, "Tessel 5134 wide lab", "987654321", 800.0F);
}

void drawSingle() {
    Gui_showScreen(gtkSensorSingleChannel1);
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 0.4821F);
    Pictures_save("single-watts");
    configuration_setMatchMeasurementType(rfMatch_RL);
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 0.4821F);
    Pictures_save("single-return-loss");
    configuration_setMatchMeasurementType(rfMatch_RflCoeff);
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 0.4821F);
    Pictures_save("single-reflection-coefficient");
    configuration_setMatchMeasurementType(rfMatch_VSWR);
    read(gtkSensorSingleChannel1, 0, 0, 1250.0F, 0.4821F);
    Pictures_save("single-over-range");
    configuration_setPowerUnitsIsdBm(true);
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 1.2e-13F);
    Pictures_save("single-dbm");
    plugSensors();
    read(gtkSensorSingleChannel1, 0, 0, 25.37F, 0.4821F);
    Gui_press("single.fwd.scaleUp");
    Pictures_save("single-pressed");
    Gui_release();
    plugSensors();
}

void drawGraphScreens() {
    Gui_showScreen(gtkSensorSingleChannel1withGraph);
    read(gtkSensorSingleChannel1withGraph, 0, 0, 25.37F, 0.4821F);
    Pictures_save("single-with-graph");
    Gui_showScreen(gtkSensorDualChannel1withGraph);
    read(gtkSensorDualChannel1withGraph, 0, 0, 25.37F, 0.4821F);
    read(gtkSensorDualChannel2withGraph, 1, 1, 640.2F, 1050.0F);
    Pictures_save("dual-with-graph");
}

void drawHalves() {
    Gui_showScreen(gtkSensorDualChannel1);
    read(gtkSensorDualChannel1, 0, 0, 25.37F, 0.4821F);
    read(gtkSensorDualChannel2, 1, 1, 640.2F, 1050.0F);
    Pictures_save("dual-watts");
    configuration_setPowerUnitsIsdBm(true);
    configuration_setMatchMeasurementType(rfMatch_RL);
    read(gtkSensorDualChannel1, 0, 0, 25.37F, 1.2e-13F);
    read(gtkSensorDualChannel2, 1, 1, 640.2F, 12.0F);
    Pictures_save("dual-dbm");
    plugSensors();
}

void drawNoConnection() {
    CGTKNoConnectionDisplay* full = gtkSensor_noConnectionDisplay(gtkSensorSingleNoConnection);
    Gui_showScreen(gtkSensorSingleNoConnection);
    CGTKNoConnectionDisplay_setNoConnect(full);
    Pictures_save("no-sensor");
    CGTKNoConnectionDisplay_setConnecting_withPort(full, "Serial1");
    Pictures_save("connecting");
    CGTKNoConnectionDisplay_setSensorError_withPort(full, "USB1");
    Pictures_save("sensor-error");
    Gui_showScreen(gtkSensorDualNoConnectionCh1);
    CGTKNoConnectionDisplay_setConnecting_withPort(
        gtkSensor_noConnectionDisplay(gtkSensorDualNoConnectionCh1), "USB2");
    CGTKNoConnectionDisplay_setSensorError_withPort(
        gtkSensor_noConnectionDisplay(gtkSensorDualNoConnectionCh2), "Serial2");
    Pictures_save("dual-no-connection");
}

} // namespace

void Pictures_drawScreens() {
    plugSensors();
    drawSingle();
    drawGraphScreens();
    drawHalves();
    drawNoConnection();
}
