#include "SensorManager.h"

#include "LogManager.h"
#include "Process.h"
#include "SensorPortHandler.h"
#include "Threads.h"
#include "message.h"

#include <atomic>
#include <new>

SensorManager* gSensors = nullptr;
pthread_mutex_t sensorManagerMutex = PTHREAD_MUTEX_INITIALIZER;

namespace {

std::atomic<void (*)(const SensorAdmission&)> channelPrompt;

/// By port; guarded by sensorManagerMutex.
std::array<uint32_t, sensorPortCount> admissionNumbers;

/// Sensors leave in the order of their ports, and USB sensors are admitted before serial ones.
constexpr std::array<uint32_t, sensorPortCount> removalOrder = {
    sensorPort_Serial1, sensorPort_Serial2, sensorPort_USB1, sensorPort_USB2};
constexpr std::array<uint32_t, sensorPortCount> admissionOrder = {
    sensorPort_USB1, sensorPort_USB2, sensorPort_Serial1, sensorPort_Serial2};

/// The functions named ...Locked expect sensorManagerMutex to be held and gSensors to exist.

SensorInstance* instanceLocked(uint32_t port) {
    return gSensors != nullptr && port < sensorPortCount ? &gSensors->sensor[port] : nullptr;
}

/// Frees each slot whose sensor is that of the port or has gone idle.
void freeSlotsLocked(uint32_t port) {
    ActiveSensors& active = gSensors->activeSensors;
    for (SensorInstance** slot : {&active.sensor1, &active.sensor2}) {
        if (*slot != nullptr && ((*slot)->index == port || (*slot)->index == sensorPort_None)) {
            *slot = nullptr;
        }
    }
}

SensorInstance** freeSlotLocked() {
    ActiveSensors& active = gSensors->activeSensors;
    if (active.sensor1 == nullptr) {
        return &active.sensor1;
    }
    return active.sensor2 == nullptr ? &active.sensor2 : nullptr;
}

void removeLocked(uint32_t port) {
    freeSlotsLocked(port);
    SensorInstance_Create(&gSensors->sensor[port]);
    ++admissionNumbers[port];
    sensorPortHandler_setIsConnected(port, false);
    logManager_printToLog(SensorMmngr, "SensorManager: port %u removed\n", port);
}

/// False when both slots are taken.
bool admitLocked(uint32_t port) {
    SensorInstance** slot = freeSlotLocked();
    if (slot == nullptr) {
        return false;
    }
    gSensors->sensor[port] = {SensorPort_isUsb(port), sensorActive, port, sensorLogicalNoChannel,
                              SensorPort_bit(port)};
    *slot = &gSensors->sensor[port];
    ++admissionNumbers[port];
    sensorPortHandler_setIsConnected(port, true);
    logManager_printToLog(SensorMmngr, "SensorManager: port %u admitted as sensor%d\n", port,
                          slot == &gSensors->activeSensors.sensor1 ? 1 : 2);
    return true;
}

bool removeMissingLocked(const CONNECTED_SENSORS& record) {
    const uint32_t missing = gSensors->connectedSensors.detectedSensors & ~record.detectedSensors;
    bool hasChanged = false;
    for (const uint32_t port : removalOrder) {
        if ((missing & SensorPort_bit(port)) != 0) {
            removeLocked(port);
            hasChanged = true;
        }
    }
    return hasChanged;
}

/// A sensor that finds no slot is taken out of the record: it is found again, as a new one, on a
/// later cycle.
bool admitNewLocked(CONNECTED_SENSORS* record) {
    const uint32_t added = record->detectedSensors & ~gSensors->connectedSensors.detectedSensors;
    bool hasChanged = false;
    for (const uint32_t port : admissionOrder) {
        const uint32_t bit = SensorPort_bit(port);
        if ((added & bit) == 0) {
            continue;
        }
        if (admitLocked(port)) {
            hasChanged = true;
        } else {
            record->detectedSensors &= ~bit;
            record->detectedSensorsChanged &= ~bit;
        }
    }
    return hasChanged;
}

/// The channel that the other sensor of a pair takes; none when this one has none.
uint32_t otherChannel(uint32_t channel) {
    switch (channel) {
    case sensorLogicalChannel1:
        return sensorLogicalChannel2;
    case sensorLogicalChannel2:
        return sensorLogicalChannel1;
    default:
        return sensorLogicalNoChannel;
    }
}

bool hasChannel(const SensorInstance* sensor) {
    return otherChannel(sensor->logicalChannel) != sensorLogicalNoChannel;
}

/// In this order sensor1's channel wins even over one that sensor2 holds already.
bool assignPairLocked(SensorInstance* sensor1, SensorInstance* sensor2) {
    if (hasChannel(sensor1)) {
        sensor2->logicalChannel = otherChannel(sensor1->logicalChannel);
        return true;
    }
    if (hasChannel(sensor2)) {
        sensor1->logicalChannel = otherChannel(sensor2->logicalChannel);
        return true;
    }
    return false;
}

bool assignLocked() {
    SensorInstance* sensor1 = gSensors->activeSensors.sensor1;
    SensorInstance* sensor2 = gSensors->activeSensors.sensor2;
    if (sensor1 != nullptr && sensor2 != nullptr) {
        return assignPairLocked(sensor1, sensor2);
    }
    const SensorInstance* only = sensor1 != nullptr ? sensor1 : sensor2;
    return only == nullptr || hasChannel(only);
}

/// The sensor that the user has to be asked for: the first one without a channel when no rule gives
/// it one.
SensorInstance* sensorToAskForLocked() {
    const ActiveSensors& active = gSensors->activeSensors;
    const bool isPairSettled = active.sensor1 != nullptr && active.sensor2 != nullptr &&
                               hasChannel(active.sensor1) && hasChannel(active.sensor2);
    if (isPairSettled || assignLocked()) {
        return nullptr;
    }
    return active.sensor1 != nullptr ? active.sensor1 : active.sensor2;
}

std::optional<SensorAdmission> admissionOfLocked(SensorInstance* sensor) {
    if (sensor == nullptr || sensor->index >= sensorPortCount) {
        return {};
    }
    return SensorAdmission{sensor, sensor->index, sensor->logicalChannel,
                           admissionNumbers[sensor->index]};
}

/// The next sensor to ask for; none when all is settled.
std::optional<SensorAdmission> nextQuestion() {
    const ScopedLock lock(sensorManagerMutex);
    return gSensors != nullptr ? admissionOfLocked(sensorToAskForLocked()) : std::nullopt;
}

/// True when the sensor is still there and still without a channel.
bool isUnanswered(const SensorAdmission& question) {
    const ScopedLock lock(sensorManagerMutex);
    return admissionNumbers[question.port] == question.admission && !hasChannel(question.instance);
}

/// One field of a port's instance, or a fixed value for a port above 3.
uint32_t readField(uint32_t port, uint32_t SensorInstance::*field, uint32_t otherwise) {
    const ScopedLock lock(sensorManagerMutex);
    const SensorInstance* instance = instanceLocked(port);
    return instance != nullptr ? instance->*field : otherwise;
}

void writeField(uint32_t port, uint32_t SensorInstance::*field, uint32_t value) {
    const ScopedLock lock(sensorManagerMutex);
    SensorInstance* instance = instanceLocked(port);
    if (instance != nullptr) {
        instance->*field = value;
    }
}

std::optional<SensorInstance> copyOf(const SensorInstance* sensor) {
    return sensor != nullptr ? std::optional(*sensor) : std::nullopt;
}

} // namespace

void SensorManager_registerChannelPrompt(void (*ask)(const SensorAdmission& sensor)) {
    channelPrompt = ask;
}

void SensorManager_Create() {
    auto* manager = new (std::nothrow) SensorManager{};
    if (manager == nullptr) {
        DIAGNOSTIC("Unable to allocate memory for gSensors.\n");
        Process_leave(processStatusFatal);
    }
    for (SensorInstance& instance : manager->sensor) {
        SensorInstance_Create(&instance);
    }
    const ScopedLock lock(sensorManagerMutex);
    gSensors = manager;
}

void SensorManager_Destroy() {
    const ScopedLock lock(sensorManagerMutex);
    delete gSensors;
    gSensors = nullptr;
}

ActiveSensors* SensorManager_GetActiveSensors() {
    if (gSensors == nullptr) {
        DIAGNOSTIC("Unexpected error: SensorManager instance is NULL.\n");
        return nullptr;
    }
    return &gSensors->activeSensors;
}

ActiveSensorCopies SensorManager_copyActiveSensors() {
    const ScopedLock lock(sensorManagerMutex);
    if (gSensors == nullptr) {
        return {};
    }
    return {copyOf(gSensors->activeSensors.sensor1), copyOf(gSensors->activeSensors.sensor2)};
}

SensorInstance* SensorManager_GetSensorInstance(uint32_t port) {
    if (gSensors == nullptr || port >= sensorPortCount) {
        DIAGNOSTIC("Invalid sensor index (%d).\n", static_cast<int>(port));
        return nullptr;
    }
    return &gSensors->sensor[port];
}

bool SensorManager_IsSensorActive(uint32_t port) {
    return SensorInstance_GetState(port) == sensorActive;
}

uint32_t SensorInstance_GetActiveCount() {
    uint32_t count = 0;
    for (const auto& sensor : SensorManager_copyActiveSensors()) {
        count += sensor.has_value() ? 1 : 0;
    }
    return count;
}

bool SensorInstance_IsLogicalChannelAssigned(uint32_t channel) {
    for (const auto& sensor : SensorManager_copyActiveSensors()) {
        if (sensor.has_value() && sensor->logicalChannel == channel) {
            return true;
        }
    }
    return false;
}

uint32_t SensorInstance_GetLogicalChannel(uint32_t port) {
    return readField(port, &SensorInstance::logicalChannel, sensorLogicalNoChannel);
}

void SensorInstance_SetLogicalChannel(uint32_t port, uint32_t channel) {
    writeField(port, &SensorInstance::logicalChannel, channel);
}

uint32_t SensorInstance_GetPhysicalChannel(uint32_t port) {
    return readField(port, &SensorInstance::physicalChannel, 0);
}

void SensorInstance_SetPhysicalChannel(uint32_t port, uint32_t physicalChannel) {
    writeField(port, &SensorInstance::physicalChannel, physicalChannel);
}

uint32_t SensorInstance_GetState(uint32_t port) {
    return readField(port, &SensorInstance::state, sensorIdle);
}

void SensorInstance_SetState(uint32_t port, uint32_t state) {
    writeField(port, &SensorInstance::state, state);
}

void SensorInstance_Create(SensorInstance* instance) {
    *instance = {false, sensorIdle, sensorPort_None, sensorLogicalNoChannel, 0};
}

bool SensorManager_UpdatePhysicalSensors(CONNECTED_SENSORS* record) {
    const ScopedLock lock(sensorManagerMutex);
    if (gSensors == nullptr) {
        return false;
    }
    // Without a change nothing is admitted. A sensor may still be missing: one that was pulled just
    // after a reset had reported all sensors as removed.
    if (record->detectedSensorsChanged == 0) {
        const bool isMissing = removeMissingLocked(*record);
        gSensors->connectedSensors = *record;
        return isMissing;
    }
    const bool hasRemoved = removeMissingLocked(*record);
    const bool hasAdmitted = admitNewLocked(record);
    gSensors->connectedSensors = *record;
    record->promptForlogicalChannel = !assignLocked();
    return hasRemoved || hasAdmitted;
}

bool SensorManager_AssignLogicalChannels() {
    const ScopedLock lock(sensorManagerMutex);
    return gSensors == nullptr || assignLocked();
}

bool SensorManager_isChannelMissing() {
    for (const auto& sensor : SensorManager_copyActiveSensors()) {
        if (sensor.has_value() && !hasChannel(&*sensor)) {
            return true;
        }
    }
    return false;
}

uint32_t SensorManager_getAdmissionNumber(uint32_t port) {
    const ScopedLock lock(sensorManagerMutex);
    return port < sensorPortCount ? admissionNumbers[port] : 0;
}

std::array<std::optional<SensorAdmission>, 2> SensorManager_copyAdmissions() {
    const ScopedLock lock(sensorManagerMutex);
    if (gSensors == nullptr) {
        return {};
    }
    return {admissionOfLocked(gSensors->activeSensors.sensor1),
            admissionOfLocked(gSensors->activeSensors.sensor2)};
}

bool SensorManager_setChannelOfAdmission(uint32_t port, uint32_t admission, uint32_t channel) {
    const ScopedLock lock(sensorManagerMutex);
    SensorInstance* instance = instanceLocked(port);
    if (instance == nullptr || instance->state != sensorActive ||
        admissionNumbers[port] != admission) {
        return false;
    }
    instance->logicalChannel = channel;
    return true;
}

void SensorManager_UpdateLogicalChannel() {
    void (*const ask)(const SensorAdmission&) = channelPrompt;
    for (auto question = nextQuestion(); question && ask != nullptr; question = nextQuestion()) {
        ask(*question);
        // A dialog that could not be shown is tried again on a later pass.
        if (isUnanswered(*question)) {
            return;
        }
    }
}
