#include "DisplayViewSwitch.h"

#include "Configuration.h"
#include "SensorPortHandler.h"

#include <array>

namespace {

constexpr uint32_t sensorLabelLength = 30;
constexpr uint32_t sensorLabelLengthBesideGraph = 22;

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
};

/// A measurement screen with the width of its sensor label.
struct BoundScreen {
    GtkSensorInstance screen;
    uint32_t labelLength;
};

constexpr std::array<BoundScreen, 3> fullScreens = {{
    {gtkSensorSingleChannel1, sensorLabelLength},
    {gtkSensorSingleChannel1withGraph, sensorLabelLength},
    {gtkSensorSinglePulse, sensorLabelLength},
}};

constexpr std::array<BoundScreen, 3> halfScreens[NumberOfDisplays] = {
    {{{gtkSensorDualChannel1, sensorLabelLength},
      {gtkSensorDualChannel1withGraph, sensorLabelLengthBesideGraph},
      {gtkSensorDualPulseChannel1, sensorLabelLength}}},
    {{{gtkSensorDualChannel2, sensorLabelLength},
      {gtkSensorDualChannel2withGraph, sensorLabelLengthBesideGraph},
      {gtkSensorDualPulseChannel2, sensorLabelLength}}},
};

/// The containers of one mode: full screen or half.
struct ModeContainers {
    ScreenContainer noConnection;
    ScreenContainer measurement;
    ScreenContainer cw;
    ScreenContainer cwGraph;
    ScreenContainer pulse;
};

constexpr ModeContainers fullContainers = {
    ScreenContainer::noConnectionScreen,       ScreenContainer::singleMeasurementView,
    ScreenContainer::singleChannel1Screen,     ScreenContainer::singleChannel1ScreenGraph,
    ScreenContainer::singleChannelPulseScreen,
};

constexpr ModeContainers halfContainers = {
    ScreenContainer::dualNoConnectionScreens, ScreenContainer::dualMeasurementViews,
    ScreenContainer::dualCWChannels,          ScreenContainer::dualCWChannelsGraph,
    ScreenContainer::dualPWChannels,
};

const ModeContainers& containersOf(const CSensorDisplayFSM* instance) {
    return instance->fullSCreen ? fullContainers : halfContainers;
}

void show(const CSensorDisplayFSM* instance, ScreenContainer container) {
    view.setVisible(container, instance->display, true);
}

void hide(const CSensorDisplayFSM* instance, ScreenContainer container) {
    view.setVisible(container, instance->display, false);
}

/// Puts the display's own layout, full or half, on the screen.
void showLayout(const CSensorDisplayFSM* instance) {
    const bool full = instance->fullSCreen;
    show(instance,
         full ? ScreenContainer::singleSensorContainer : ScreenContainer::dualSensorContainer);
    hide(instance,
         full ? ScreenContainer::dualSensorContainer : ScreenContainer::singleSensorContainer);
}

void setText(GtkSensorInstance screen, NoMeasurementText text, uint32_t port) {
    switch (text) {
    case NoMeasurementText::noSensor:
        view.setNoConnect(screen);
        break;
    case NoMeasurementText::connecting:
        view.setConnecting_withPort(screen, CSensorDisplayFSM_getSensorPortName(port));
        break;
    case NoMeasurementText::sensorError:
        view.setSensorError_withPort(screen, CSensorDisplayFSM_getSensorPortName(port));
        break;
    }
}

/// Notes which screen the display shows now.
void setScreen(const CSensorDisplayFSM* instance, GtkSensorInstance screen) {
    sensorDisplays[instance->display].display = screen;
}

/// Text and area of the display's mode, which includes the layout.
void showTextInMode(CSensorDisplayFSM* instance, NoMeasurementText text) {
    const GtkSensorInstance screen = getNonMeasurementViewInstance(instance);
    setText(screen, text, instance->port);
    hide(instance, containersOf(instance).measurement);
    show(instance, containersOf(instance).noConnection);
    setScreen(instance, screen);
    showLayout(instance);
}

bool showsGraph(const CSensorDisplayFSM* instance) {
    return instance->graphSubState == ShowGraph;
}

bool showsPulse(const CSensorDisplayFSM* instance) {
    return instance->typeSubState == Pulse;
}

GtkSensorInstance measurementScreen(const CSensorDisplayFSM* instance) {
    return getActiveGtkMeasurementInstance(instance->display, instance->fullSCreen,
                                           showsGraph(instance), showsPulse(instance));
}

ScreenContainer cwContainer(const CSensorDisplayFSM* instance) {
    const ModeContainers& containers = containersOf(instance);
    return showsGraph(instance) ? containers.cwGraph : containers.cw;
}

ScreenContainer measurementContainer(const CSensorDisplayFSM* instance) {
    return showsPulse(instance) ? containersOf(instance).pulse : cwContainer(instance);
}

/// Shows the container of the machine's sub-states. The screen in it has not been refreshed while
/// it was hidden: it starts blank.
void showMeasurementScreen(const CSensorDisplayFSM* instance) {
    const GtkSensorInstance screen = measurementScreen(instance);
    view.clearValues(screen);
    show(instance, measurementContainer(instance));
    setScreen(instance, screen);
}

void bindScreens(const CSensorDisplayFSM* instance, const std::array<BoundScreen, 3>& screens) {
    for (const BoundScreen& bound : screens) {
        view.bindScreen(bound.screen, instance->display, instance->port);
        view.clearValues(bound.screen);
        view.setSensorLabel(bound.screen, bound.labelLength);
    }
}

void hideMeasurementScreens(const CSensorDisplayFSM* instance) {
    const ModeContainers& containers = containersOf(instance);
    hide(instance, containers.cw);
    hide(instance, containers.cwGraph);
    hide(instance, containers.pulse);
}

/// Exchanges the no-connection area for the measurement area.
void showMeasurementArea(const CSensorDisplayFSM* instance) {
    hide(instance, containersOf(instance).noConnection);
    show(instance, containersOf(instance).measurement);
}

void setSubStatesFromSettings(CSensorDisplayFSM* instance) {
    if (configuration_getPulseMode() && SensorPort_isUsb(instance->port)) {
        instance->typeSubState = Pulse;
        return;
    }
    instance->graphSubState = configuration_getDisplayGraph() ? ShowGraph : HideGraph;
    instance->typeSubState = CW;
}

} // namespace

void DisplayViewSwitch_registerView(const DisplayView& newView) {
    view = newView;
}

const DisplayView& DisplayViewSwitch_view() {
    return view;
}

void DisplayViewSwitch_showInitialScreens() {
    view.setVisible(ScreenContainer::singleChannel1Screen, UpperDisplay, true);
    view.setVisible(ScreenContainer::dualCWChannels, UpperDisplay, true);
    view.setVisible(ScreenContainer::dualCWChannels, LowerDisplay, true);
    view.setNoConnect(gtkSensorSingleNoConnection);
    view.setNoConnect(gtkSensorDualNoConnectionCh1);
    view.setNoConnect(gtkSensorDualNoConnectionCh2);
    view.setVisible(ScreenContainer::noConnectionScreen, UpperDisplay, true);
    view.setVisible(ScreenContainer::dualNoConnectionScreens, UpperDisplay, true);
    view.setVisible(ScreenContainer::dualNoConnectionScreens, LowerDisplay, true);
    view.setVisible(ScreenContainer::singleSensorContainer, UpperDisplay, true);
}

void DisplayViewSwitch_showText(CSensorDisplayFSM* instance, NoMeasurementText text) {
    const GtkSensorInstance screen = getNonMeasurementViewInstance(instance);
    setText(screen, text, instance->port);
    setScreen(instance, screen);
    if (text != NoMeasurementText::connecting) {
        hide(instance, containersOf(instance).measurement);
        show(instance, containersOf(instance).noConnection);
    }
}

void DisplayViewSwitch_showTextFull(CSensorDisplayFSM* instance, NoMeasurementText text) {
    instance->fullSCreen = true;
    showTextInMode(instance, text);
}

void DisplayViewSwitch_showTextHalf(CSensorDisplayFSM* instance, NoMeasurementText text) {
    instance->fullSCreen = false;
    showTextInMode(instance, text);
}

void DisplayViewSwitch_showFirstMeasurement(CSensorDisplayFSM* instance) {
    if (instance->fullSCreen) {
        bindScreens(instance, fullScreens);
    }
    bindScreens(instance, halfScreens[instance->display]);
    setSubStatesFromSettings(instance);
    hideMeasurementScreens(instance);
    showMeasurementScreen(instance);
    showMeasurementArea(instance);
}

void DisplayViewSwitch_showCW(CSensorDisplayFSM* instance) {
    hide(instance, containersOf(instance).pulse);
    showMeasurementScreen(instance);
}

void DisplayViewSwitch_showPulse(CSensorDisplayFSM* instance) {
    hide(instance, cwContainer(instance));
    showMeasurementScreen(instance);
}

void DisplayViewSwitch_showGraphState(CSensorDisplayFSM* instance) {
    const ModeContainers& containers = containersOf(instance);
    hide(instance, showsGraph(instance) ? containers.cw : containers.cwGraph);
    showMeasurementScreen(instance);
}

void DisplayViewSwitch_showMeasurementFull(CSensorDisplayFSM* instance) {
    instance->fullSCreen = true;
    hideMeasurementScreens(instance);
    bindScreens(instance, fullScreens);
    showMeasurementScreen(instance);
    showMeasurementArea(instance);
    showLayout(instance);
}

void DisplayViewSwitch_showMeasurementHalf(CSensorDisplayFSM* instance) {
    instance->fullSCreen = false;
    hideMeasurementScreens(instance);
    showMeasurementScreen(instance);
    showMeasurementArea(instance);
    showLayout(instance);
}

SENSOR_MEASUREMENTS DisplayViewSwitch_refreshCW(const CSensorDisplayFSM* instance) {
    const bool graph = showsGraph(instance);
    const GtkSensorInstance screen =
        getActiveGtkMeasurementInstance(instance->display, instance->fullSCreen, graph, false);
    view.setSensorLabel(screen, sensorLabelLength);
    view.updateScale(screen);
    const SENSOR_MEASUREMENTS measurements =
        sensorPortHandler_getSensorMeasurements(instance->port);
    view.updateMeasurements(screen, measurements);
    if (graph) {
        view.updateGraph(screen);
    }
    return measurements;
}

SENSOR_MEASUREMENTS DisplayViewSwitch_refreshPulse(const CSensorDisplayFSM* instance) {
    const GtkSensorInstance screen =
        getActiveGtkMeasurementInstance(instance->display, instance->fullSCreen, false, true);
    view.updateScale(screen);
    const SENSOR_MEASUREMENTS measurements =
        sensorPortHandler_getSensorMeasurements(instance->port);
    view.updatePulseMeasurements(screen, measurements);
    return measurements;
}
