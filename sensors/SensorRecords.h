#ifndef SENSORS_SENSOR_RECORDS_H
#define SENSORS_SENSOR_RECORDS_H

#include "SensorTypes.h"

#include <cstdint>

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

/// Where a port's handler keeps what others copy.
struct SensorRecords {
    uint32_t port;
    SENSOR_STATUS* status;             ///< under the port's sensorPortInfoMutex
    SENSOR_IDENTITY* identity;         ///< the same
    char* serialNumber;                ///< the same; sensorSerialNumberSize characters
    SENSOR_MEASUREMENTS* measurements; ///< under the port's sensorPortMeasureMutex
};

/// The records of either kind of handler.
template <typename Handler> SensorRecords SensorRecords_of(uint32_t port, Handler* handler) {
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
