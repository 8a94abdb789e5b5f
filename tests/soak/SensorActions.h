#ifndef TESTS_SOAK_SENSOR_ACTIONS_H
#define TESTS_SOAK_SENSOR_ACTIONS_H

#include "Soak.h"

/// What happens at the meter's four ports. Each function does one thing and notes it, or returns
/// false when it is not possible now.

bool SensorActions_plug(Soak& soak);
bool SensorActions_unplug(Soak& soak);
/// Pulls and puts back so quickly that the meter may not see it.
bool SensorActions_replug(Soak& soak);
bool SensorActions_setPowers(Soak& soak);
bool SensorActions_setOther(Soak& soak);
bool SensorActions_beginFault(Soak& soak);
bool SensorActions_endFault(Soak& soak);

/// Pulls whatever is at the port; nothing when it is empty.
void SensorActions_pull(Soak& soak, size_t port);

#endif
