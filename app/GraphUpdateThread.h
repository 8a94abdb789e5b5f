#ifndef APP_GRAPH_UPDATE_THREAD_H
#define APP_GRAPH_UPDATE_THREAD_H

#include "SensorDisplays.h"
#include "SensorTypes.h"

#include <array>

/// What the sampling thread remembers from one second to the next.
struct GraphUpdateState {
    std::array<SENSOR_MEASUREMENTS, NumberOfDisplays> fetched; ///< last readings of each slot
};

/// No readings yet.
GraphUpdateState GraphUpdate_begin();

/// Appends one sample to the graph buffer of each slot whose sensor is ready, if the graph is
/// enabled. A sensor that is no longer detected repeats the value fetched last.
void GraphUpdate_sample(GraphUpdateState* state);

/// Thread: waits for the screens, then samples once a second.
void graphUpdateThread();

#endif
