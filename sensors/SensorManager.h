#ifndef SENSORS_SENSOR_MANAGER_H
#define SENSORS_SENSOR_MANAGER_H

#include "SensorTypes.h"

/// Decides which two of the four ports are measured, and which of the two displays each one takes.
/// Instances and slots are guarded by a short lock inside this module; it is never held while the
/// user is asked.

struct sSensorInstance {
    bool isPulseSensor;
    uint32_t state;           ///< enSensorState
    uint32_t index;           ///< port 0 to 3, 255 when idle
    uint32_t logicalChannel;  ///< enSensorLogicalChannel
    uint32_t physicalChannel; ///< the port's bit, 0 when idle
};
using SensorInstance = sSensorInstance;

/// The at most two sensors that are measured; null where a slot is free. Slots are not compacted.
struct sActiveSensors {
    SensorInstance* sensor1;
    SensorInstance* sensor2;
};
using ActiveSensors = sActiveSensors;

struct sSensorManager {
    SensorInstance sensor[sensorPortCount];
    CONNECTED_SENSORS connectedSensors;
    ActiveSensors activeSensors;
};
using SensorManager = sSensorManager;

extern SensorManager* gSensors;

/// Asking the user for a channel needs the screen, which belongs to a higher floor. `ask` is called
/// on the GUI-refresh thread and returns once the user has answered or the sensor has gone.
void SensorManager_registerChannelPrompt(void (*ask)(SensorInstance* instance));

void SensorManager_Create();
void SensorManager_Destroy();

/// The pair of active sensors, or null with a diagnostic before SensorManager_Create.
ActiveSensors* SensorManager_GetActiveSensors();

/// Instance of port 0 to 3; null with a diagnostic for any other.
SensorInstance* SensorManager_GetSensorInstance(uint32_t port);

bool SensorManager_IsSensorActive(uint32_t port);
uint32_t SensorInstance_GetActiveCount();
bool SensorInstance_IsLogicalChannelAssigned(uint32_t channel);

/// Accessors by port. A port above 3 reads as 255 (channel), 0 (physical) and sensorIdle.
uint32_t SensorInstance_GetLogicalChannel(uint32_t port);
void SensorInstance_SetLogicalChannel(uint32_t port, uint32_t channel);
uint32_t SensorInstance_GetPhysicalChannel(uint32_t port);
void SensorInstance_SetPhysicalChannel(uint32_t port, uint32_t physicalChannel);
uint32_t SensorInstance_GetState(uint32_t port);
void SensorInstance_SetState(uint32_t port, uint32_t state);

void SensorInstance_Create(SensorInstance* instance);

/// Takes a detection cycle's record: frees and fills instances and slots, tells the port handlers,
/// clears the bits of a sensor that finds no free slot, sets promptForlogicalChannel. True when an
/// instance changed. hwPollingThread.
bool SensorManager_UpdatePhysicalSensors(CONNECTED_SENSORS* record);

/// Assigns channels where that is unambiguous; false when the user must choose.
bool SensorManager_AssignLogicalChannels();

/// Settles the channels of all active sensors, asking the user where needed. GUI-refresh thread,
/// with the GDK lock held; the lock is released while the user is asked.
void SensorManager_UpdateLogicalChannel();

#endif
