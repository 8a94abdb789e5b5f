#ifndef DISPLAY_MODEL_SENSOR_DISPLAYS_H
#define DISPLAY_MODEL_SENSOR_DISPLAYS_H

#include "CGraphData.h"
#include "SensorTypes.h"

#include <atomic>
#include <cstdint>

/// The two display slots and the twelve screens that can fill them.

enum SensorDisplayInstance_t : uint32_t {
    UpperDisplay = 0,
    LowerDisplay = 1,
    NumberOfDisplays = 2
};

enum GtkSensorInstance : uint32_t {
    gtkSensorSingleChannel1 = 0,
    gtkSensorSingleChannel1withGraph = 1,
    gtkSensorDualChannel1 = 2,
    gtkSensorDualChannel1withGraph = 3,
    gtkSensorDualChannel2 = 4,
    gtkSensorDualChannel2withGraph = 5,
    gtkSensorSinglePulse = 6,
    gtkSensorDualPulseChannel1 = 7,
    gtkSensorDualPulseChannel2 = 8,
    gtkSensorSingleNoConnection = 9,
    gtkSensorDualNoConnectionCh1 = 10,
    gtkSensorDualNoConnectionCh2 = 11,
    gtkSensorInstanceCount = 12
};

/// One slot. The GUI-refresh thread writes screen and port; the sampling and remote threads read
/// them.
struct SensorDisplayInstance {
    std::atomic<GtkSensorInstance> display;
    std::atomic<uint32_t> sensorPort; ///< SensorPort
    CGraphData graphDataPwr;
};

extern SensorDisplayInstance sensorDisplays[NumberOfDisplays];

#endif
