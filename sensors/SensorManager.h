#ifndef SENSORS_SENSOR_MANAGER_H
#define SENSORS_SENSOR_MANAGER_H

#include "SensorTypes.h"

#include <array>
#include <cstdint>
#include <optional>
#include <pthread.h>

/// Decides which two of the four ports are measured, and which of the two displays each one takes.
/// Instances and slots are guarded by sensorManagerMutex, a short lock that every function here
/// takes by itself; it is never held while the user is asked.

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
extern pthread_mutex_t sensorManagerMutex;

/// Copies of the occupied slots.
using ActiveSensorCopies = std::array<std::optional<SensorInstance>, 2>;

/// An active sensor and what tells it from the one that takes its place, looked up together.
struct SensorAdmission {
    SensorInstance* instance; ///< to be read with sensorManagerMutex held only
    uint32_t port;
    uint32_t logicalChannel;
    uint32_t admission;
};

/// Asking the user for a channel needs the screen, which belongs to a higher floor. `ask` is called
/// on the GUI-refresh thread and returns once the user has answered or the sensor has gone.
void SensorManager_registerChannelPrompt(void (*ask)(const SensorAdmission& sensor));

/// Allocates the manager; exits the process if it cannot. Main thread, before any thread that uses
/// it.
void SensorManager_Create();
void SensorManager_Destroy();

/// The pair of active sensors, or null with a diagnostic before SensorManager_Create. What it
/// points to may be read with sensorManagerMutex held only.
ActiveSensors* SensorManager_GetActiveSensors();

/// The active sensors as they are now; none before SensorManager_Create. Any thread.
ActiveSensorCopies SensorManager_copyActiveSensors();

/// Instance of port 0 to 3; null with a diagnostic for any other. To be read with
/// sensorManagerMutex held only.
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

/// True when an active sensor has no channel yet: a sensor that was replaced between two passes
/// leaves no change behind but has lost its channel. Any thread.
bool SensorManager_isChannelMissing();

/// Grows whenever a port's sensor is admitted or released: tells a sensor from the one that took
/// its place. 0 for a port above 3.
uint32_t SensorManager_getAdmissionNumber(uint32_t port);

/// The active sensors' admissions as they are now; none before SensorManager_Create. Any thread.
std::array<std::optional<SensorAdmission>, 2> SensorManager_copyAdmissions();

/// Gives a sensor its channel if it is still the one of this admission; false if it has gone.
bool SensorManager_setChannelOfAdmission(uint32_t port, uint32_t admission, uint32_t channel);

/// Settles the channels of all active sensors, asking the user where needed. GUI-refresh thread,
/// with the GDK lock held; the lock is released while the user is asked.
void SensorManager_UpdateLogicalChannel();

#endif
