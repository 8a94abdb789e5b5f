#include "ScreenView.h"

#include "EntireScreen.h"
#include "GtkHelpers.h"
#include "PulseMeasurements.h"
#include "SensorDisplays.h"
#include "SensorScreens.h"
#include "SilenceSign.h"

namespace {

void setVisible(ScreenContainer container, SensorDisplayInstance_t display, bool visible) {
    setWidgetVisible(*EntireScreen_field(container, display), visible);
}

void setNoConnect(GtkSensorInstance screen) {
    if (CGTKNoConnectionDisplay* instance = gtkSensor_noConnectionDisplay(screen)) {
        CGTKNoConnectionDisplay_setNoConnect(instance);
    }
}

void setConnecting_withPort(GtkSensorInstance screen, const char* portName) {
    if (CGTKNoConnectionDisplay* instance = gtkSensor_noConnectionDisplay(screen)) {
        CGTKNoConnectionDisplay_setConnecting_withPort(instance, portName);
    }
}

void setSensorError_withPort(GtkSensorInstance screen, const char* portName) {
    if (CGTKNoConnectionDisplay* instance = gtkSensor_noConnectionDisplay(screen)) {
        CGTKNoConnectionDisplay_setSensorError_withPort(instance, portName);
    }
}

void setMessage(GtkSensorInstance screen, const char* title, const char* description) {
    if (CGTKNoConnectionDisplay* instance = gtkSensor_noConnectionDisplay(screen)) {
        CGTKNoConnectionDisplay_setTitle(instance, title);
        CGTKNoConnectionDisplay_setDescription(instance, description);
    }
}

void bindScreen(GtkSensorInstance screen, SensorDisplayInstance_t display, uint32_t port) {
    if (CGTKPowerDisplay* power = gtkSensor_powerDisplay(screen)) {
        CGTKPowerDisplay_setDisplayIndex(power, display);
        CGTKPowerDisplay_setSensorChannel(power, port);
        CGTKPowerDisplay_updateScale(power);
    }
    if (CGTKCWDisplay* cw = gtkSensor_cwDisplay(screen)) {
        CGTKTimePowerGraph_setGraphDataInstance(&cw->graph, &sensorDisplays[display].graphDataPwr);
    }
}

void setSensorLabel(GtkSensorInstance screen, uint32_t maxLength) {
    if (CGTKPowerDisplay* power = gtkSensor_powerDisplay(screen)) {
        CGTKPowerDisplay_setSensorLabel(power, maxLength);
    }
}

void setSilence(GtkSensorInstance screen, const char* text) {
    if (const CGTKPowerDisplay* power = gtkSensor_powerDisplay(screen)) {
        SilenceSign_show(power->title, text);
    }
}

void clearValues(GtkSensorInstance screen) {
    if (CGTKCWDisplay* cw = gtkSensor_cwDisplay(screen)) {
        CGTKPowerDisplay_clearMeasurementsToBlanks(cw);
    }
    if (CGTKPulseDisplay* pulse = gtkSensor_pulseDisplay(screen)) {
        CGTKPowerDisplay_clearPulseMeasurementsToBlanks(pulse);
    }
    setSilence(screen, "");
}

void updateScale(GtkSensorInstance screen) {
    if (CGTKPowerDisplay* power = gtkSensor_powerDisplay(screen)) {
        CGTKPowerDisplay_updateScale(power);
    }
}

void updateMeasurements(GtkSensorInstance screen, const SENSOR_MEASUREMENTS& measurements) {
    if (CGTKCWDisplay* cw = gtkSensor_cwDisplay(screen)) {
        CGTKPowerDisplay_updateMeasurements(cw, measurements);
    }
}

void updatePulseMeasurements(GtkSensorInstance screen, const SENSOR_MEASUREMENTS& measurements) {
    if (CGTKPulseDisplay* pulse = gtkSensor_pulseDisplay(screen)) {
        CGTKPowerDisplay_updatePulseMeasurements(pulse, measurements);
    }
}

void updateGraph(GtkSensorInstance screen) {
    if (CGTKCWDisplay* cw = gtkSensor_cwDisplay(screen)) {
        CGTKTimePowerGraph_update(&cw->graph);
    }
}

} // namespace

const DisplayView screenView = {.setVisible = setVisible,
                                .setNoConnect = setNoConnect,
                                .setConnecting_withPort = setConnecting_withPort,
                                .setSensorError_withPort = setSensorError_withPort,
                                .setMessage = setMessage,
                                .bindScreen = bindScreen,
                                .setSensorLabel = setSensorLabel,
                                .clearValues = clearValues,
                                .updateScale = updateScale,
                                .updateMeasurements = updateMeasurements,
                                .updatePulseMeasurements = updatePulseMeasurements,
                                .updateGraph = updateGraph,
                                .setSilence = setSilence};
