#include "ViewRecorder.h"

#include "CSensorDisplayFSM.h"

#include <limits>
#include <span>

ViewRecord viewRecord;

namespace {

constexpr float blank = std::numeric_limits<float>::quiet_NaN();

bool existsTwice(ScreenContainer container) {
    return ScreenTable_existsTwice(screenContainers[static_cast<uint32_t>(container)]);
}

uint32_t indexOf(ScreenContainer container, SensorDisplayInstance_t display) {
    return existsTwice(container) ? uint32_t{display} : 0;
}

void setVisible(ScreenContainer container, SensorDisplayInstance_t display, bool visible) {
    const uint32_t index = indexOf(container, display);
    viewRecord.containers[static_cast<uint32_t>(container)].visible[index] = visible;
    viewRecord.calls.push_back(std::string(visible ? "show " : "hide ") +
                               ViewRecorder_nameOf(container) +
                               (existsTwice(container) ? " " + std::to_string(index) : ""));
}

void setText(GtkSensorInstance screen, const std::string& text) {
    viewRecord.screens[screen].text = text;
    viewRecord.calls.push_back("text " + std::to_string(screen) + " " + text);
}

void setNoConnect(GtkSensorInstance screen) {
    setText(screen, "noSensor");
}

void setConnecting(GtkSensorInstance screen, const char* portName) {
    setText(screen, std::string("connecting ") + portName);
}

void setSensorError(GtkSensorInstance screen, const char* portName) {
    setText(screen, std::string("error ") + portName);
}

void setMessage(GtkSensorInstance screen, const char* title, const char* description) {
    setText(screen, std::string(title) + "|" + description);
}

void bindScreen(GtkSensorInstance screen, SensorDisplayInstance_t display, uint32_t port) {
    RecordedScreen& record = viewRecord.screens[screen];
    record.displayIndex = display;
    record.port = port;
    record.bindings += 1;
}

void setSensorLabel(GtkSensorInstance screen, uint32_t maxLength) {
    viewRecord.screens[screen].labelLength = maxLength;
    viewRecord.screens[screen].labels += 1;
}

void clearValues(GtkSensorInstance screen) {
    viewRecord.screens[screen].fwdPower = blank;
    viewRecord.screens[screen].silence.clear();
}

void updateScale(GtkSensorInstance screen) {
    viewRecord.screens[screen].scaleUpdates += 1;
}

void updateMeasurements(GtkSensorInstance screen, const SENSOR_MEASUREMENTS& measurements) {
    viewRecord.screens[screen].fwdPower = measurements.fwdPwrVal;
    viewRecord.screens[screen].isPulseValue = false;
}

void updatePulseMeasurements(GtkSensorInstance screen, const SENSOR_MEASUREMENTS& measurements) {
    viewRecord.screens[screen].fwdPower = measurements.fwdPwrVal;
    viewRecord.screens[screen].isPulseValue = true;
}

void updateGraph(GtkSensorInstance screen) {
    viewRecord.screens[screen].graphUpdates += 1;
}

void setSilence(GtkSensorInstance screen, const char* text) {
    viewRecord.screens[screen].silence = text;
}

struct Candidate {
    ScreenContainer container;
    GtkSensorInstance screens[NumberOfDisplays];
};

constexpr Candidate fullCandidates[] = {
    {ScreenContainer::singleChannel1Screen, {gtkSensorSingleChannel1, gtkSensorSingleChannel1}},
    {ScreenContainer::singleChannel1ScreenGraph,
     {gtkSensorSingleChannel1withGraph, gtkSensorSingleChannel1withGraph}},
    {ScreenContainer::singleChannelPulseScreen, {gtkSensorSinglePulse, gtkSensorSinglePulse}},
};

constexpr Candidate halfCandidates[] = {
    {ScreenContainer::dualCWChannels, {gtkSensorDualChannel1, gtkSensorDualChannel2}},
    {ScreenContainer::dualCWChannelsGraph,
     {gtkSensorDualChannel1withGraph, gtkSensorDualChannel2withGraph}},
    {ScreenContainer::dualPWChannels, {gtkSensorDualPulseChannel1, gtkSensorDualPulseChannel2}},
};

GtkSensorInstance onlyVisible(std::span<const Candidate> candidates,
                              SensorDisplayInstance_t display) {
    GtkSensorInstance found = gtkSensorInstanceCount;
    for (const Candidate& candidate : candidates) {
        if (ViewRecorder_isVisible(candidate.container, display)) {
            if (found != gtkSensorInstanceCount) {
                return gtkSensorInstanceCount;
            }
            found = candidate.screens[display];
        }
    }
    return found;
}

} // namespace

void ViewRecorder_install() {
    viewRecord = {};
    for (RecordedScreen& screen : viewRecord.screens) {
        screen.fwdPower = blank;
        screen.port = sensorPort_None;
    }
    CSensorDisplayFSM_registerView({setVisible, setNoConnect, setConnecting, setSensorError,
                                    setMessage, bindScreen, setSensorLabel, clearValues,
                                    updateScale, updateMeasurements, updatePulseMeasurements,
                                    updateGraph, setSilence});
}

bool ViewRecorder_isVisible(ScreenContainer container, SensorDisplayInstance_t display) {
    return viewRecord.containers[static_cast<uint32_t>(container)]
        .visible[indexOf(container, display)];
}

GtkSensorInstance ViewRecorder_visibleScreen(SensorDisplayInstance_t display, bool full) {
    const bool layout = ViewRecorder_isVisible(full ? ScreenContainer::singleSensorContainer
                                                    : ScreenContainer::dualSensorContainer);
    const bool otherLayout = ViewRecorder_isVisible(full ? ScreenContainer::dualSensorContainer
                                                         : ScreenContainer::singleSensorContainer);
    const bool text = ViewRecorder_isVisible(full ? ScreenContainer::noConnectionScreen
                                                  : ScreenContainer::dualNoConnectionScreens,
                                             display);
    const bool values = ViewRecorder_isVisible(full ? ScreenContainer::singleMeasurementView
                                                    : ScreenContainer::dualMeasurementViews,
                                               display);
    if (!layout || otherLayout || text == values) {
        return gtkSensorInstanceCount;
    }
    if (values) {
        return full ? onlyVisible(fullCandidates, display) : onlyVisible(halfCandidates, display);
    }
    if (full) {
        return gtkSensorSingleNoConnection;
    }
    return display == UpperDisplay ? gtkSensorDualNoConnectionCh1 : gtkSensorDualNoConnectionCh2;
}

const char* ViewRecorder_nameOf(ScreenContainer container) {
    return screenContainers[static_cast<uint32_t>(container)].name;
}
