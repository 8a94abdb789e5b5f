#ifndef DISPLAY_MODEL_SENSOR_DISPLAYS_H
#define DISPLAY_MODEL_SENSOR_DISPLAYS_H

#include "CGraphData.h"
#include "ScreenTable.h"
#include "SensorTypes.h"

#include <atomic>
#include <cstdint>

/// The two display slots: the screen that fills each, its sensor and its history.

/// One slot. The GUI-refresh thread writes screen and port; the sampling and remote threads read
/// them.
struct SensorDisplayInstance {
    std::atomic<GtkSensorInstance> display;
    std::atomic<uint32_t> sensorPort; ///< SensorPort
    CGraphData graphDataPwr;
};

extern SensorDisplayInstance sensorDisplays[NumberOfDisplays];

#endif
