#include "gtkPowerDisplay.h"

#include "AppFlags.h"
#include "GtkHelpers.h"
#include "SensorPortHandler.h"
#include "gtkScaleControls.h"
#include "message.h"

#include <cmath>
#include <span>

namespace {

constexpr uint32_t sensorLabelLength = 30;

/// One forward (0) or reflected (1) power, which is a number, on its line.
void updatePower(CGTKPowerDisplay* display, uint32_t direction, float power_W) {
    const bool isForward = direction == 0;
    const gtkPowerDisplay_RFPower& line = isForward ? display->fwdRFPower : display->rflRFPower;
    rfPowerScale& scale = isForward ? display->scaleFwd : display->scaleRfl;
    const PowerLineText text = MeasurementText_powerLine(
        power_W, sensorPortHandler_getSensorMaxPower(display->sensorChannel), scale,
        display->powerType);
    if (text.scaleChanged) {
        scale = text.scale;
        configuration_setRfPowerScale(scale, display->displayIndex, direction,
                                      Saving::inBackground);
    }
    setWidgetFgColor(line.label, text.isOverRange ? textColorRed : textColorLightGrey);
    setWidgetFgColor(line.value, text.isOverRange ? textColorRed : textColorWhite);
    setLabelText(line.value, text.value);
    gtkPowerDisplay_setUnits(line, text.unit);
    CGTKScaleControls_setVisible(
        isForward ? &display->scaleControlsFwd : &display->scaleControlsRfl, text.scaleVisible);
}

} // namespace

void CGTKPowerDisplay_initialize(CGTKPowerDisplay* display,
                                 const CGTKPowerDisplay_Parameters& parameters) {
    display->sensorChannel = parameters.sensorChannel;
    display->displayIndex = parameters.displayIndex;
    display->container = parameters.container;
}

void CGTKPowerDisplay_connectSensorButton(CGTKPowerDisplay* display,
                                          const CGTKPowerDisplay_Parameters& parameters) {
    if (display->title.sensorButton != nullptr &&
        parameters.callbackSensorInfoFunction != nullptr) {
        g_signal_connect(display->title.sensorButton, "clicked",
                         G_CALLBACK(parameters.callbackSensorInfoFunction), display);
    }
}

void gtkPowerDisplay_setVisible(gtkPowerDisplay_RFPower* line, CGTKScaleControls* scaleControls,
                                bool visible) {
    setWidgetVisible(line->container, visible);
    if (scaleControls != nullptr) {
        CGTKScaleControls_setVisible(scaleControls, visible && !configuration_getPowerUnitsIsdBm());
    }
}

void gtkPowerDisplay_setUnits(const gtkPowerDisplay_RFPower& line, const char* text) {
    setLabelText(line.unitsButtonLabel, text);
    if (line.unitsButton != nullptr) {
        setWidgetClass(line.unitsButton, "blank", *text == '\0');
    }
}

void CGTKPowerDisplay_setDisplayIndex(CGTKPowerDisplay* display, uint32_t displayIndex) {
    display->displayIndex = displayIndex;
}

uint32_t CGTKPowerDisplay_getDisplayIndex(const CGTKPowerDisplay* display) {
    return display->displayIndex;
}

void CGTKPowerDisplay_setSensorChannel(CGTKPowerDisplay* display, uint32_t port) {
    display->sensorChannel = port;
}

uint32_t CGTKPowerDisplay_getSensorChannel(const CGTKPowerDisplay* display) {
    return display->sensorChannel;
}

bool CGTKPowerDisplay_getFocusState(const CGTKPowerDisplay* display) {
    return containsFocus(display->container);
}

void CGTKPowerDisplay_updateScale(CGTKPowerDisplay* display) {
    display->scaleFwd = configuration_getRfPowerScale(display->displayIndex, 0);
    display->scaleRfl = configuration_getRfPowerScale(display->displayIndex, 1);
    CGTKScaleControls_updateScale(&display->scaleControlsFwd, display->displayIndex, 0);
    CGTKScaleControls_updateScale(&display->scaleControlsRfl, display->displayIndex, 1);
}

void CGTKPowerDisplay_getSensorLabel(const CGTKPowerDisplay* display, char* label,
                                     uint32_t maxLength) {
    const uint32_t length = MIN(maxLength, sensorLabelLength);
    SENSOR_IDENTITY identity = {};
    char serialNumber[16] = "";
    sensorPortHandler_getSensorInformation(display->sensorChannel, &identity, serialNumber,
                                           sizeof serialNumber);
    MeasurementText_sensorLabel(
        display->sensorChannel, sensorPortHandler_getSensorStatus(display->sensorChannel).status,
        identity.sensorModel, serialNumber, length, std::span<char>(label, length + 1));
}

void CGTKPowerDisplay_setSensorLabel(CGTKPowerDisplay* display, uint32_t maxLength) {
    GtkWidget* label = display->title.sensorButtonLabel;
    if (label == nullptr) {
        return;
    }
    char text[sensorLabelLength + 1];
    CGTKPowerDisplay_getSensorLabel(display, text, maxLength);
    setLabelText(label, text);
    setWidgetFgAndBgColors(label, textColorClickable, bgColorBlack);
}

void CGTKPowerDisplay_loadSettings(CGTKPowerDisplay* display) {
    display->powerType = configuration_getPowerUnitsIsdBm() ? rfPower_dBm : rfPower_W;
    display->enableFwd = configuration_getDisplayFowardPower();
    display->enableRfl = configuration_getDisplayReflectedPower();
}

void CGTKPowerDisplay_updatePowers(CGTKPowerDisplay* display,
                                   const SENSOR_MEASUREMENTS& measurements) {
    if (std::isnan(measurements.fwdPwrVal) || std::isnan(measurements.rflPwrVal)) {
        return;
    }
    if (display->enableFwd) {
        updatePower(display, 0, measurements.fwdPwrVal);
    }
    if (display->enableRfl) {
        updatePower(display, 1, measurements.rflPwrVal);
    }
}

void CGTKPowerDisplay_logMeasurements(const SENSOR_MEASUREMENTS& measurements) {
    DIAGNOSTIC("fwd = %f W, rfl = %f W, freq = %f Hz, temperature = %f C\n",
               static_cast<double>(measurements.fwdPwrVal),
               static_cast<double>(measurements.rflPwrVal),
               static_cast<double>(measurements.freqVal),
               static_cast<double>(measurements.temperatureVal));
}

void CGTKPowerDisplay_switchPowerUnits(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        configuration_setPowerUnitsIsdBm(!configuration_getPowerUnitsIsdBm());
    }
}
