#include "SensorDisplays.h"

// The samples take up most of the record, so it lies in zeroed memory: no samples yet. The rest is
// filled in below before main begins, thus before any thread can look.
SensorDisplayInstance sensorDisplays[NumberOfDisplays];

namespace {

bool initialiseSlots() {
    for (SensorDisplayInstance& slot : sensorDisplays) {
        slot.display = gtkSensorSingleNoConnection;
        slot.sensorPort = sensorPort_None;
        pthread_mutex_init(&slot.graphDataPwr.mutex, nullptr);
        slot.graphDataPwr.filterWidth = graphMaxFilterWidth;
    }
    return true;
}

[[maybe_unused]] const bool slotsAreInitialised = initialiseSlots();

} // namespace
