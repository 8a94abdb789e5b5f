#include "DisplayViewSwitch.h"

#include "CSensorDisplayNames.h"
#include "MeasurementText.h"
#include "SensorDisplays.h"
#include "SensorPortHandler.h"

namespace {

/// A refresh has room for the longest label on every screen, whatever it was bound with.
constexpr uint32_t fullLabelLength = 30;

/// Before the screens register, every operation does nothing.
DisplayView view = {
    .setVisible = [](auto...) {},
    .setNoConnect = [](auto...) {},
    .setConnecting_withPort = [](auto...) {},
    .setSensorError_withPort = [](auto...) {},
    .setMessage = [](auto...) {},
    .bindScreen = [](auto...) {},
    .setSensorLabel = [](auto...) {},
    .clearValues = [](auto...) {},
    .updateScale = [](auto...) {},
    .updateMeasurements = [](GtkSensorInstance, const SENSOR_MEASUREMENTS&) {},
    .updatePulseMeasurements = [](GtkSensorInstance, const SENSOR_MEASUREMENTS&) {},
    .updateGraph = [](auto...) {},
    .setSilence = [](auto...) {},
};

void setVisible(const CSensorDisplayFSM* instance, const ScreenContainerRow& row, bool visible) {
    view.setVisible(row.container, instance->display, visible);
}

void setText(const CSensorDisplayFSM* instance, GtkSensorInstance screen) {
    const char* const portName = CSensorDisplayFSM_getSensorPortName(instance->port);
    switch (instance->state) {
    case Connecting:
        view.setConnecting_withPort(screen, portName);
        break;
    case SensorError:
        view.setSensorError_withPort(screen, portName);
        break;
    default:
        view.setNoConnect(screen);
        break;
    }
}

/// Of the display's measurement screens only this one. It has not been refreshed while it was
/// hidden: it starts blank.
void showMeasurementScreen(const CSensorDisplayFSM* instance, const ScreenContainerRow& shown) {
    for (const ScreenContainerRow& row : screenContainers) {
        if (row.full == shown.full && ScreenTable_measures(row) && row.use != shown.use) {
            setVisible(instance, row, false);
        }
    }
    view.clearValues(shown.screens[instance->display]);
    setVisible(instance, shown, true);
}

/// The area of the text or that of the measurement screens, in the layout of the display's size.
void showArea(const CSensorDisplayFSM* instance, ScreenUse shown, ScreenUse hidden) {
    const bool full = instance->fullSCreen;
    setVisible(instance, ScreenTable_row(hidden, full), false);
    setVisible(instance, ScreenTable_row(shown, full), true);
    setVisible(instance, ScreenTable_row(ScreenUse::layout, full), true);
    setVisible(instance, ScreenTable_row(ScreenUse::layout, !full), false);
}

} // namespace

void DisplayViewSwitch_registerView(const DisplayView& newView) {
    view = newView;
}

void DisplayViewSwitch_showInitialScreens() {
    for (const ScreenContainerRow& row : screenContainers) {
        for (const SensorDisplayInstance_t display : {UpperDisplay, LowerDisplay}) {
            if (row.use == ScreenUse::noConnection) {
                view.setNoConnect(row.screens[display]);
            }
            if (row.use == ScreenUse::noConnection || row.use == ScreenUse::cw) {
                view.setVisible(row.container, display, true);
            }
        }
    }
    view.setVisible(ScreenContainer::singleSensorContainer, UpperDisplay, true);
}

void DisplayViewSwitch_bind(const CSensorDisplayFSM* instance, bool full) {
    for (const ScreenContainerRow& row : screenContainers) {
        if (row.full == full && ScreenTable_measures(row)) {
            const GtkSensorInstance screen = row.screens[instance->display];
            view.bindScreen(screen, instance->display, instance->port);
            view.setSensorLabel(screen, row.labelLength);
        }
    }
}

void DisplayViewSwitch_show(const CSensorDisplayFSM* instance) {
    const ScreenContainerRow& shown = SensorDisplayState_container(instance);
    const GtkSensorInstance screen = shown.screens[instance->display];
    sensorDisplays[instance->display].display = screen;
    if (shown.use == ScreenUse::noConnection) {
        setText(instance, screen);
        showArea(instance, ScreenUse::noConnection, ScreenUse::measurement);
    } else {
        showMeasurementScreen(instance, shown);
        showArea(instance, ScreenUse::measurement, ScreenUse::noConnection);
    }
}

SENSOR_MEASUREMENTS DisplayViewSwitch_refresh(const CSensorDisplayFSM* instance) {
    const ScreenContainerRow& shown = SensorDisplayState_container(instance);
    const GtkSensorInstance screen = shown.screens[instance->display];
    const bool isPulse = shown.use == ScreenUse::pulse;
    // What stands there may be of a sensor that was replaced without leaving the display.
    view.setSensorLabel(screen, fullLabelLength);
    view.updateScale(screen);
    const SENSOR_MEASUREMENTS measurements =
        sensorPortHandler_getSensorMeasurements(instance->port);
    if (isPulse) {
        view.updatePulseMeasurements(screen, measurements);
    } else {
        view.updateMeasurements(screen, measurements);
    }
    if (shown.use == ScreenUse::cwGraph) {
        view.updateGraph(screen);
    }
    return measurements;
}

void DisplayViewSwitch_showSilence(const CSensorDisplayFSM* instance) {
    const SilenceText silence =
        MeasurementText_silence(sensorPortHandler_getSilence(instance->port));
    view.setSilence(SensorDisplayState_container(instance).screens[instance->display],
                    silence.text);
}

void DisplayViewSwitch_showMessage(GtkSensorInstance screen, const char* title,
                                   const char* description) {
    view.setMessage(screen, title, description);
}
