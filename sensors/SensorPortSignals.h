#ifndef SENSORS_SENSOR_PORT_SIGNALS_H
#define SENSORS_SENSOR_PORT_SIGNALS_H

#include "SensorTypes.h"

#include <atomic>
#include <cstdint>
#include <pthread.h>

/// What a port's handler thread and the rest of the program tell each other: whether a sensor is
/// connected, and that a reading is there. Functions ignore a port above 3.

/// The mutexes of one port, in their order. They are held for copying only, never across a device
/// access.
extern pthread_mutex_t sensorPortMutex[sensorPortCount];        ///< connected flag
extern pthread_mutex_t sensorPortConfigMutex[sensorPortCount];  ///< configuration
extern pthread_mutex_t sensorPortInfoMutex[sensorPortCount];    ///< identity, serial number, status
extern pthread_mutex_t sensorPortMeasureMutex[sensorPortCount]; ///< measurements

/// Set by a handler between a forward reading and the end of its use; one per port.
extern std::atomic<bool> newMeasurementIsAvailable[sensorPortCount];

/// Tells a port's handler whether a sensor is there; a waiting handler thread wakes at once.
/// Any thread.
void sensorPortHandler_setIsConnected(uint32_t port, bool isConnected);
bool sensorPortHandler_getIsConnected(uint32_t port);

/// Waits, without cost, until the port is connected. Returns the number of this connection, which
/// grows with every rise of the flag, from 1 on. Handler threads.
uint32_t SensorPortSignals_waitUntilConnected(uint32_t port);

/// The same for a handler that may be woken for something else: 0 after SensorPortSignals_wake.
uint32_t SensorPortSignals_waitUntilConnectedOrWoken(uint32_t port);

/// Wakes a waiting handler, now or when it waits next. Any thread.
void SensorPortSignals_wake(uint32_t port);

/// True while the flag has not fallen since the connection of this number began.
bool SensorPortSignals_isSameConnection(uint32_t port, uint32_t connection);

/// Clears the flag if it still belongs to this connection; false if another sensor has been
/// connected meanwhile, or none is.
bool SensorPortSignals_endConnection(uint32_t port, uint32_t connection);

/// The handler has put the records of the previous sensor away and serves this connection now.
void SensorPortSignals_setServedConnection(uint32_t port, uint32_t connection);

/// True when the port is connected and its records belong to the sensor that is connected now.
bool SensorPortSignals_isServed(uint32_t port);

/// Tells that a reading begins: nothing of it has been measured yet. Handler threads.
void SensorPortSignals_beginReading(uint32_t port);

/// Counts a reading that is new. Handler threads, without any lock.
void SensorPortSignals_countReading(uint32_t port, bool isNew);

/// Tells the listener of a reading. Handler threads, without any lock.
void SensorPortSignals_tellOfReading();

/// Number of readings that a port has delivered since the program's start (a forward and reflected
/// pair counts once). Any thread, no lock.
uint32_t sensorPortHandler_getReadingNumber(uint32_t port);

/// Number of the reading that a port has begun last, delivered or not. Any thread, no lock.
uint32_t sensorPortHandler_getBegunReading(uint32_t port);

/// True once a port has delivered a reading that began after the one of this number: all of it was
/// measured since then. Any thread, no lock.
bool sensorPortHandler_hasReadingSince(uint32_t port, uint32_t begunReading);

/// A value of any kind has arrived from a port's sensor, or the sensor has become ready: its
/// silence is counted from now. Any thread, no lock.
void SensorPortSignals_breakSilence(uint32_t port);

/// Tells how long a port's last measuring cycle took, in milliseconds. Handler threads, no lock.
void SensorPortSignals_noteCycle(uint32_t port, uint32_t cycle_ms);

/// For how long nothing has been heard. Any thread, no lock.
SensorSilence SensorPortSignals_silence(uint32_t port);

/// Registers who is told, on the handler's thread, that a port has a new reading.
void sensorPortHandler_registerReadingListener(void (*listener)());

#endif
