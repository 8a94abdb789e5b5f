#ifndef APP_SENSOR_HAND_OFF_H
#define APP_SENSOR_HAND_OFF_H

#include "SensorTypes.h"

#include <cstdint>
#include <pthread.h>

/// The hand-off of sensor connections from hwPollingThread to gtkThread. All of it is guarded by
/// sensorDetectionMutex, which is taken inside the GDK lock.

extern CONNECTED_SENSORS PowerSensors;
extern bool sensorConnectionsChanged; ///< PowerSensors holds a change not yet consumed
extern uint32_t multipleUpdateCount;  ///< changes in a row before the first was consumed
extern pthread_mutex_t sensorDetectionMutex;

/// Initialises the mutex. A failure is logged and start-up goes on. Main thread.
void SensorHandOff_create();

/// What is handed over when a second change comes before the first was consumed: the new presence,
/// and the change relative to what the consumer saw last.
constexpr CONNECTED_SENSORS SensorHandOff_merge(const CONNECTED_SENSORS& pending,
                                                const CONNECTED_SENSORS& current) {
    CONNECTED_SENSORS merged = current;
    merged.detectedSensorsChanged =
        current.detectedSensors ^ pending.detectedSensors ^ pending.detectedSensorsChanged;
    return merged;
}

/// Producer side, once a detection cycle. A sensor that went and came back before the consumer
/// looked leaves no change at all. hwPollingThread.
void gtkThread_SensorChanged(CONNECTED_SENSORS current);

/// Consumer side: true, and the record, when a change was pending; it is consumed thereby.
bool SensorHandOff_take(CONNECTED_SENSORS* record);

/// Port bits that were handed over last. Any thread.
uint32_t SensorHandOff_getDetectedSensors();

#endif
