#ifndef DISPLAY_MODEL_CSENSOR_DISPLAY_NAMES_H
#define DISPLAY_MODEL_CSENSOR_DISPLAY_NAMES_H

#include <cstdint>

/// Names of the display machine's events and states, for log lines. A value that has none is
/// "Unknown ...".
const char* CSensorDisplayFSM_getEventName(uint32_t event);
const char* CSensorDisplayFSM_getStateName(uint32_t state);
const char* CSensorDisplayFSM_getTypeSubStateName(uint32_t subState);
const char* CSensorDisplayFSM_getGraphSubStateName(uint32_t subState);
const char* CSensorDisplayFSM_getCountSubStateName(uint32_t subState);

/// The name of a sensor's port, which the no-connection texts show, too; "None" for no port.
const char* CSensorDisplayFSM_getSensorPortName(uint32_t port);

#endif
