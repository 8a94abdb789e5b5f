#ifndef TESTS_UNIT_SENSORS_PORT_HANDLERS_H
#define TESTS_UNIT_SENSORS_PORT_HANDLERS_H

#include "SensorPortHandler.h"

/// Starts the four handlers' threads, which never end, once for all tests of this process.
inline void PortHandlers_startOnce() {
    static const bool isStarted = [] {
        sensorPortHandler_createAll();
        return true;
    }();
    static_cast<void>(isStarted);
}

inline bool isReadyNow(uint32_t port) {
    return sensorPortHandler_getSensorStatus(port).status == isReady;
}

#endif
