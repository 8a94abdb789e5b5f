#include "SensorHandOff.h"

#include "Threads.h"
#include "message.h"

CONNECTED_SENSORS PowerSensors{};
bool sensorConnectionsChanged = false;
uint32_t multipleUpdateCount = 0;
pthread_mutex_t sensorDetectionMutex = PTHREAD_MUTEX_INITIALIZER;

void SensorHandOff_create() {
    const int error = pthread_mutex_init(&sensorDetectionMutex, nullptr);
    if (error != 0) {
        DIAGNOSTIC("pthread_mutex_init FAILED for sensorDetectionMutex with error = %d\n", error);
    }
}

void gtkThread_SensorChanged(CONNECTED_SENSORS current) {
    if (current.detectedSensorsChanged == 0) {
        return;
    }
    uint32_t updates = 0;
    {
        const ScopedLock lock(sensorDetectionMutex);
        if (sensorConnectionsChanged) {
            updates = ++multipleUpdateCount;
            PowerSensors = SensorHandOff_merge(PowerSensors, current);
            sensorConnectionsChanged = PowerSensors.detectedSensorsChanged != 0;
        } else {
            multipleUpdateCount = 0;
            PowerSensors = current;
            sensorConnectionsChanged = true;
        }
    }
    if (updates != 0) {
        DIAGNOSTIC(
            "DetectSensors: Mulitple detection cycles occurred (multipleUpdateCount = %d)!\n",
            static_cast<int>(updates));
    }
}

bool SensorHandOff_take(CONNECTED_SENSORS* record) {
    const ScopedLock lock(sensorDetectionMutex);
    if (!sensorConnectionsChanged) {
        return false;
    }
    *record = PowerSensors;
    sensorConnectionsChanged = false;
    return true;
}

uint32_t SensorHandOff_getDetectedSensors() {
    const ScopedLock lock(sensorDetectionMutex);
    return PowerSensors.detectedSensors;
}
