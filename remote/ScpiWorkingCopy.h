#ifndef REMOTE_SCPI_WORKING_COPY_H
#define REMOTE_SCPI_WORKING_COPY_H

#include "ScpiRecord.h"
#include "Threads.h"

#include <cstddef>

/// Changes of the remote working copies.

/// Changes one value of a channel's working copy through `place`, which finds it in the
/// configuration. A value that differs marks the copy Modified. False when there is no copy: the
/// sensor is still starting, or the one that the caller has checked is gone, and its settings must
/// not become another's. Takes the record's lock.
template <typename Value, typename Place>
bool ScpiWorkingCopy_set(size_t channel, Place place, const Value& value) {
    SCPI_S* record = scpi;
    if (record == nullptr || channel >= scpiChannelCount) {
        return false;
    }
    const ScopedLock lock(record->lock);
    scpi_sensor_config& copy = record->configs[channel];
    if (copy.state == NotInitialized) {
        return false;
    }
    if (place(copy.config) != value) {
        place(copy.config) = value;
        copy.state = Modified;
    }
    return true;
}

/// Lets a copy in which nothing is staged follow its sensor, whose configuration may have been
/// changed on the screen. While the sensor is starting the copy stays as it is. Any thread.
void ScpiWorkingCopy_refresh(size_t channel, uint32_t port);

/// Takes the sensor's configuration, whatever is staged. False while the sensor is starting.
bool ScpiWorkingCopy_synchronize(size_t channel, uint32_t port);

/// Counts the enabled states into numStates; at most three of them are moved to the front.
void ScpiWorkingCopy_arrangeStates(SENSOR_CONFIGS* config);

/// Arranges the copy's states and gives what is to be sent, if the copy is Modified.
bool ScpiWorkingCopy_takeForCommit(size_t channel, SENSOR_CONFIGS* config);

/// Marks the copy Syncronized after this configuration was sent to the sensor on this port, unless
/// it was changed meanwhile or the sensor is another one.
void ScpiWorkingCopy_committed(size_t channel, uint32_t port, const SENSOR_CONFIGS& config);

#endif
