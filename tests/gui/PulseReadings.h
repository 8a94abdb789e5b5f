#ifndef TESTS_GUI_PULSE_READINGS_H
#define TESTS_GUI_PULSE_READINGS_H

#include "GuiHarness.h"
#include "PulseMeasurements.h"
#include "SensorFakes.h"

/// What pulse sensors measure in tests and on pictures.

inline SENSOR_MEASUREMENTS readings() {
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
inline SENSOR_MEASUREMENTS longestReadings(float peak_W = 1199.0F) {
    SENSOR_MEASUREMENTS measurements = readings();
    measurements.fwdPwrVal = 1e-15F;
    measurements.freqVal = 2.45e9F;
    measurements.dutyCycleVal = 3e38F;
    measurements.gateMean = 0.0001F;
    measurements.gateMax = peak_W;
    measurements.gateMin = 0.0F;
    for (PULSE_STATES& state : measurements.pulseStates) {
        state = {0.0F, peak_W, 0.0001F};
    }
    return measurements;
}

/// All sensors have triggered gates or not, and so many states.
inline void setTriggered(bool isTriggered, uint8_t numStates) {
    for (SensorFake& fake : sensorFakes) {
        fake.configs.bSupportsTriggeredGates = isTriggered;
        fake.configs.bModelIsTriggeredGates = isTriggered;
        fake.configs.numStates = numStates;
    }
}

/// Shows a page of a pulse screen.
inline void turnTo(GtkWidget* page) {
    GtkNotebook* notebook = GTK_NOTEBOOK(gtk_widget_get_parent(page));
    gtk_notebook_set_current_page(notebook, gtk_notebook_page_num(notebook, page));
    Gui_settle();
}

#endif
