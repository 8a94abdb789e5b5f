#include "SensorDisplayState.h"

namespace {

ScreenUse measurementUse(bool graph, bool pulse) {
    if (pulse) {
        return ScreenUse::pulse;
    }
    return graph ? ScreenUse::cwGraph : ScreenUse::cw;
}

} // namespace

ScreenUse SensorDisplayState_use(const CSensorDisplayFSM* instance) {
    return instance->state == Measuring ? measurementUse(instance->graphSubState == ShowGraph,
                                                         instance->typeSubState == Pulse)
                                        : ScreenUse::noConnection;
}

const ScreenContainerRow& SensorDisplayState_container(const CSensorDisplayFSM* instance) {
    return ScreenTable_row(SensorDisplayState_use(instance), instance->fullSCreen);
}

GtkSensorInstance getActiveGtkMeasurementInstance(SensorDisplayInstance_t display, bool full,
                                                  bool graph, bool pulse) {
    return ScreenTable_row(measurementUse(graph, pulse), full).screens[display];
}

GtkSensorInstance getNonMeasurementViewInstance(const CSensorDisplayFSM* instance) {
    return ScreenTable_row(ScreenUse::noConnection, instance->fullSCreen)
        .screens[instance->display];
}
