#include "ScpiRecord.h"

#include "EthernetUtilities.h"
#include "FirmwareVersion.h"
#include "InstrumentIdentity.h"
#include "Process.h"
#include "Threads.h"
#include "message.h"

#include <cstdio>
#include <cstdlib>
#include <optional>

std::atomic<SCPI_S*> scpi{nullptr};

namespace {

/// What tells a channel's sensor from the one that takes its place.
struct ChannelOwner {
    uint32_t port;
    uint32_t admission;

    bool operator==(const ChannelOwner&) const = default;
};
constexpr ChannelOwner noOwner{sensorPort_None, 0};

/// Guarded by the record's lock.
ChannelOwner owners[scpiChannelCount] = {noOwner, noOwner};

/// Refreshes from the sensor manager are numbered as they begin, so that what an earlier one has
/// copied never replaces what a later one has published.
std::atomic<uint32_t> refreshes{0};
/// The one published last. Guarded by the record's lock.
uint32_t latestRefresh = 0;

/// Channels as the sensor manager has given them now.
struct ChannelOwners {
    uint32_t refresh;
    bool anySensor;
    ChannelOwner channel[scpiChannelCount];
    SensorInstance* instance[scpiChannelCount];
};

ChannelOwners currentOwners() {
    ChannelOwners current{++refreshes, false, {noOwner, noOwner}, {}};
    for (const std::optional<SensorAdmission>& sensor : SensorManager_copyAdmissions()) {
        if (!sensor) {
            continue;
        }
        current.anySensor = true;
        if (sensor->logicalChannel < scpiChannelCount) {
            current.channel[sensor->logicalChannel] = {sensor->port, sensor->admission};
            current.instance[sensor->logicalChannel] = sensor->instance;
        }
    }
    return current;
}

bool isLater(uint32_t refresh, uint32_t than) {
    return static_cast<int32_t>(refresh - than) > 0;
}

/// The lock is held.
void takeOver(SCPI_S* record, size_t channel, const ChannelOwner& owner, SensorInstance* instance) {
    record->chanValid[channel] = owner.port != sensorPort_None;
    record->sensor[channel] = instance;
    if (!(owners[channel] == owner)) {
        owners[channel] = owner;
        record->configs[channel] = {};
        record->measurements[channel] = SensorMeasurements_none();
    }
}

void storeCopy(size_t channel, uint32_t port, const SENSOR_CONFIGS& config, bool keepsModified) {
    SCPI_S* record = scpi;
    if (record == nullptr || channel >= scpiChannelCount) {
        return;
    }
    const ScopedLock lock(record->lock);
    scpi_sensor_config& copy = record->configs[channel];
    if (owners[channel].port == port && !(keepsModified && copy.state == Modified)) {
        copy = {Syncronized, config};
    }
}

} // namespace

void initScpiParser() {
    auto* record = static_cast<SCPI_S*>(calloc(1, sizeof(SCPI_S)));
    if (record == nullptr) {
        DIAGNOSTIC("scpi malloc failed");
        Process_leave(processStatusFatal);
    }
    if (pthread_mutex_init(&record->lock, nullptr) != 0) {
        DIAGNOSTIC("scpi mutex init failed");
        Process_leave(processStatusFatal);
    }
    const InstrumentIdentity& identity = InstrumentIdentity_get();
    snprintf(record->modelNum, sizeof record->modelNum, "%s", identity.modelNumber);
    snprintf(record->serialNum, sizeof record->serialNum, "%s", identity.serialNumber);
    snprintf(record->fwVersion, sizeof record->fwVersion, "%s", getFwVersion());
    record->checkIp = validate_ip;
    record->checkNetmask = validate_netmask;
    record->newLan.method = 0;
    for (size_t channel = 0; channel < scpiChannelCount; ++channel) {
        owners[channel] = noOwner;
        record->measurements[channel] = SensorMeasurements_none();
    }
    scpi = record;
}

void destroyScpiParser() {
    SCPI_S* record = scpi.exchange(nullptr);
    if (record != nullptr) {
        pthread_mutex_destroy(&record->lock);
        free(record);
    }
}

bool scpiGetSensor() {
    SCPI_S* record = scpi;
    if (record == nullptr) {
        return false;
    }
    // Worked out first and published at once: the other threads never see a channel without its
    // sensor in between.
    const ChannelOwners current = currentOwners();
    const ScopedLock lock(record->lock);
    if (isLater(current.refresh, latestRefresh)) {
        latestRefresh = current.refresh;
        for (size_t channel = 0; channel < scpiChannelCount; ++channel) {
            takeOver(record, channel, current.channel[channel], current.instance[channel]);
        }
    }
    return current.anySensor;
}

void scpiUpdateMeasurement(uint32_t index, SENSOR_MEASUREMENTS measurement) {
    SCPI_S* record = scpi;
    if (record == nullptr) {
        return;
    }
    scpiGetSensor();
    const ScopedLock lock(record->lock);
    for (size_t channel = 0; channel < scpiChannelCount; ++channel) {
        if (record->chanValid[channel] && owners[channel].port == index) {
            record->measurements[channel] = measurement;
        }
    }
}

uint32_t ScpiRecord_sensorPort(size_t channel) {
    SCPI_S* record = scpi;
    if (record == nullptr || channel >= scpiChannelCount) {
        return sensorPort_None;
    }
    const ScopedLock lock(record->lock);
    return owners[channel].port;
}

SENSOR_MEASUREMENTS ScpiRecord_measurements(size_t channel) {
    SCPI_S* record = scpi;
    if (record == nullptr || channel >= scpiChannelCount) {
        return SensorMeasurements_none();
    }
    const ScopedLock lock(record->lock);
    return record->measurements[channel];
}

scpi_sensor_config ScpiRecord_workingCopy(size_t channel) {
    SCPI_S* record = scpi;
    if (record == nullptr || channel >= scpiChannelCount) {
        return {};
    }
    const ScopedLock lock(record->lock);
    return record->configs[channel];
}

void ScpiRecord_synchronizeCopy(size_t channel, uint32_t port, const SENSOR_CONFIGS& config) {
    storeCopy(channel, port, config, false);
}

void ScpiRecord_refreshCopy(size_t channel, uint32_t port, const SENSOR_CONFIGS& config) {
    storeCopy(channel, port, config, true);
}

void ScpiRecord_forgetCopy(size_t channel) {
    SCPI_S* record = scpi;
    if (record == nullptr || channel >= scpiChannelCount) {
        return;
    }
    const ScopedLock lock(record->lock);
    record->configs[channel] = {};
}
