#include "PulseMeasurements.h"

#include "GtkHelpers.h"
#include "SensorManager.h"
#include "SensorPortHandler.h"
#include "gtkScaleControls.h"

#include <cmath>

namespace {

/// Reloads the scales, with the icons of their auto buttons.
void loadScales(CGTKPulseDisplay* display) {
    CGTKPowerDisplay* power = &display->power;
    const uint32_t index = power->displayIndex;
    power->scaleFwd = configuration_getRfPowerScale(index, 0);
    power->scaleRfl = configuration_getRfPowerScale(index, 1);
    display->gatedPowerScale = configuration_getGatedPowerScale(index);
    CGTKScaleControls_setAuto(power->scaleControlsFwd.gtkScaleAutoOn, power->scaleFwd.autoScale);
    CGTKScaleControls_setAuto(power->scaleControlsRfl.gtkScaleAutoOn, power->scaleRfl.autoScale);
    CGTKScaleControls_setAuto(display->scaleControlsGatedPower.gtkScaleAutoOn,
                              display->gatedPowerScale.autoScale);
    for (uint32_t i = 0; i < pulseStateCount; ++i) {
        gtkPowerDisplay_PulseState& state = display->stateArray[i];
        state.powerScale = configuration_getStatePowerScale(index, i);
        CGTKScaleControls_setAuto(state.scaleControls.gtkScaleAutoOn, state.powerScale.autoScale);
    }
}

/// The line keeps its place: only what is in it comes and goes.
void setGroupVisible(const gtkPowerDisplay_RFPower& line, CGTKScaleControls* scaleControls,
                     bool visible, rfPowerType powerType) {
    setWidgetVisible(line.label, visible);
    setWidgetVisible(line.value, visible);
    setWidgetVisible(line.unitsButton, visible);
    CGTKScaleControls_setVisible(scaleControls, visible && powerType != rfPower_dBm);
}

void updatePowers(CGTKPowerDisplay* display, const SENSOR_MEASUREMENTS& measurements) {
    setGroupVisible(display->fwdRFPower, &display->scaleControlsFwd, display->enableFwd,
                    display->powerType);
    setGroupVisible(display->rflRFPower, &display->scaleControlsRfl, display->enableRfl,
                    display->powerType);
    CGTKPowerDisplay_updatePowers(display, measurements);
}

/// A missing reading leaves what is shown.
void showValue(const gtkPowerDisplay_PulseValue& line, const ValueText& text) {
    if (text.value[0] == '\0') {
        return;
    }
    setLabelText(line.value, text.value);
    if (text.unit[0] != '\0') {
        setLabelText(line.unitsButtonLabel, text.unit);
    }
}

/// The pulse's times. The duty cycle's unit stands in the interface file.
void updatePulse(CGTKPulseDisplay* display, const SENSOR_MEASUREMENTS& measurements) {
    showValue(display->period, MeasurementText_time(measurements.prdVal));
    showValue(display->repeat, MeasurementText_frequency(measurements.prfVal));
    showValue(display->width, MeasurementText_time(measurements.widthVal));
    showValue(display->dutyCycleVal, MeasurementText_dutyCycle(measurements.dutyCycleVal));
}

void showCell(GtkWidget* label, const PowerCellText& cell) {
    if (cell.value[0] == '\0') {
        return;
    }
    setWidgetFgColor(label, cell.isOverRange ? textColorRed : textColorWhite);
    setLabelText(label, cell.value);
}

void updateGatedPower(CGTKPulseDisplay* display, const SENSOR_MEASUREMENTS& measurements) {
    const gtkPowerDisplay_GatedPower& gate = display->gatedPower;
    const PowerGroupText text = MeasurementText_powerGroup(
        measurements.gateMean, measurements.gateMax, measurements.gateMin,
        sensorPortHandler_getSensorMaxPower(display->power.sensorChannel), display->gatedPowerScale,
        display->power.powerType);
    if (text.scaleChanged) {
        display->gatedPowerScale = text.scale;
        configuration_setGatedPowerScale(text.scale, display->power.displayIndex,
                                         Saving::inBackground);
    }
    showCell(gate.meanValue, text.mean);
    showCell(gate.maxValue, text.max);
    showCell(gate.minValue, text.min);
    setLabelText(gate.unitsButtonLabel, text.unit);
    CGTKScaleControls_setVisible(&display->scaleControlsGatedPower, text.scaleVisible);
}

void setStateVisible(gtkPowerDisplay_PulseState& state, bool visible, bool inWatts) {
    for (GtkWidget* widget : {state.state, state.mean, state.max, state.min}) {
        setWidgetVisible(widget, visible);
    }
    setWidgetVisible(state.unitsButton, visible && inWatts);
    setWidgetVisible(state.dBm, visible && !inWatts);
    CGTKScaleControls_setVisible(&state.scaleControls, visible && inWatts);
}

/// One pulse state. Stays so: in dBm its unit key goes, and a caption names the unit; existing test
/// programs know the screen so (docs/compatibility.md: state-unit-hidden).
void updateState(CGTKPulseDisplay* display, uint32_t index, const PULSE_STATES& powers) {
    gtkPowerDisplay_PulseState& state = display->stateArray[index];
    const PowerGroupText text = MeasurementText_powerGroup(
        powers.mean, powers.max, powers.min,
        sensorPortHandler_getSensorMaxPower(display->power.sensorChannel), state.powerScale,
        display->power.powerType);
    if (text.scaleChanged) {
        state.powerScale = text.scale;
        configuration_setStatePowerScale(text.scale, display->power.displayIndex, index,
                                         Saving::inBackground);
    }
    setStateVisible(state, true, text.scaleVisible);
    showCell(state.mean, text.mean);
    showCell(state.max, text.max);
    showCell(state.min, text.min);
    setLabelText(state.unitsButtonLabel, text.unit);
}

void updateStates(CGTKPulseDisplay* display, const SENSOR_MEASUREMENTS& measurements,
                  uint32_t numStates) {
    setWidgetVisible(display->noStates, numStates == 0);
    for (uint32_t i = 0; i < pulseStateCount; ++i) {
        if (i < numStates) {
            updateState(display, i, measurements.pulseStates[i]);
        } else {
            setStateVisible(display->stateArray[i], false, false);
        }
    }
}

pwrDisplayMode modeOf(bool isTriggered) {
    const bool isDual = SensorInstance_GetActiveCount() > 1;
    if (isTriggered) {
        return isDual ? modeDualMulti : modeSingleMulti;
    }
    return isDual ? modeDualSimple : modeSingleSimple;
}

void blank(GtkWidget* value) {
    setLabelText(value, measurementBlanks);
    setWidgetFgColor(value, textColorWhite);
}

} // namespace

void CGTKPowerDisplay_updatePulseMeasurements(CGTKPulseDisplay* display,
                                              const SENSOR_MEASUREMENTS& measurements) {
    CGTKPowerDisplay_logMeasurements(measurements);
    CGTKPowerDisplay_loadSettings(&display->power);
    loadScales(display);
    setWidgetVisible(display->pGridAttr, true);
    updatePowers(&display->power, measurements);
    SENSOR_CONFIGS configs = {};
    sensorPortHandler_getSensorConfigs(&configs, display->power.sensorChannel);
    const bool isTriggered = configs.bSupportsTriggeredGates && configs.bModelIsTriggeredGates;
    if (!isTriggered) {
        updatePulse(display, measurements);
    }
    CGTKPowerDisplay_setup(display, modeOf(isTriggered));
    showValue(display->frequency, MeasurementText_frequency(measurements.freqVal));
    if (isTriggered) {
        updateStates(display, measurements, configs.numStates);
    } else {
        updateGatedPower(display, measurements);
    }
}

void CGTKPowerDisplay_clearPulseMeasurementsToBlanks(CGTKPulseDisplay* display) {
    const CGTKPowerDisplay& power = display->power;
    for (GtkWidget* value :
         {power.fwdRFPower.value, power.rflRFPower.value, display->period.value,
          display->repeat.value, display->width.value, display->dutyCycleVal.value,
          display->frequency.value, display->gatedPower.meanValue, display->gatedPower.maxValue,
          display->gatedPower.minValue}) {
        blank(value);
    }
    for (const gtkPowerDisplay_PulseState& state : display->stateArray) {
        blank(state.mean);
        blank(state.max);
        blank(state.min);
    }
    setWidgetFgColor(power.fwdRFPower.label, textColorLightGrey);
    setWidgetFgColor(power.rflRFPower.label, textColorLightGrey);
}
