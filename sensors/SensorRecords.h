#ifndef SENSORS_SENSOR_RECORDS_H
#define SENSORS_SENSOR_RECORDS_H

#include "SensorTypes.h"

#include <cstdint>
#include <pthread.h>

/// What the handlers of all four ports keep of their sensors in the same way: the records that
/// others copy, and what becomes of them.

/// Taken for the power of a sensor that has not told its own.
constexpr float sensorDefaultMaxPower_W = 199990.0F;

/// A sensor that has just been plugged in is left alone for this long.
constexpr uint32_t sensorSettlingPause_ms = 100;

/// The identity of a sensor that has not told anything: empty but for the default power.
constexpr SENSOR_IDENTITY SensorRecords_noIdentity() {
    SENSOR_IDENTITY none{};
    none.sensorPower.max = sensorDefaultMaxPower_W;
    return none;
}

/// The part of a handler's record that all four have in common.
struct SENSOR_HANDLER_RECORD {
    // Of the thread that starts the handler.
    pthread_t thread_id;

    // Of the handler's thread alone.
    bool isInitialized;
    double start_time_ms;
    double finish_time_ms;
    double measCycle_time_ms;

    // Under the port's sensorPortInfoMutex.
    SENSOR_STATUS sensorStatus;
    SENSOR_IDENTITY sensorIdentity;
    char serialNumber[sensorSerialNumberSize];

    // Under the port's sensorPortMeasureMutex.
    SENSOR_MEASUREMENTS sensorMeasurements;
};

/// Where a port's handler keeps what others copy.
struct SensorRecords {
    uint32_t port;
    SENSOR_STATUS* status;             ///< under the port's sensorPortInfoMutex
    SENSOR_IDENTITY* identity;         ///< the same
    char* serialNumber;                ///< the same; sensorSerialNumberSize characters
    SENSOR_MEASUREMENTS* measurements; ///< under the port's sensorPortMeasureMutex
};

inline SensorRecords SensorRecords_of(uint32_t port, SENSOR_HANDLER_RECORD* handler) {
    return {port, &handler->sensorStatus, &handler->sensorIdentity, handler->serialNumber,
            &handler->sensorMeasurements};
}

// The functions take the mutexes that they need, one after the other.

/// Forgets the sensor: no identity, no serial number, no readings. The status stays.
void SensorRecords_reset(const SensorRecords& records);

void SensorRecords_setStatus(const SensorRecords& records, SensorStatus status);

/// Replaces the serial number by the digits of a sensor's reply of nine bytes or more.
void SensorRecords_storeSerialNumber(const SensorRecords& records, const char* reply);

/// Logs what a sensor has told of itself. Without any lock.
void SensorRecords_logIdentity(uint32_t port, const SENSOR_IDENTITY& identity);

/// Ends the measuring cycle that began at `start_time_ms`: stores the present time, logs the
/// cycle's length and returns it, in milliseconds. Handler threads.
double SensorRecords_endCycle(uint32_t port, double start_time_ms, double* finish_time_ms);

/// Appends the digits among the buffer's first nine bytes to the serial number, which never grows
/// beyond nine digits. Without a digit nothing is written. No lock.
void validateSerialNumber(char* serialNumber, const char* buffer);

/// A record without readings: all zero, but forward, reflected, frequency and temperature NaN.
void sensorPortHandler_setMeasurementsToDefault(SENSOR_MEASUREMENTS* measurements);

#endif
