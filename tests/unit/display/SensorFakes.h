#ifndef TESTS_UNIT_DISPLAY_SENSOR_FAKES_H
#define TESTS_UNIT_DISPLAY_SENSOR_FAKES_H

#include "SensorPortHandler.h"
#include "UsbSensorHandler.h"

/// Stand-ins for the sensor side, in place of its library: what the port handlers and the sensor
/// manager answer is set here.
struct SensorFake {
    uint32_t logicalChannel;
    SENSOR_STATUS status;
    SENSOR_MEASUREMENTS measurements;
    SensorSilence silence;
    float maxPower_W;
    float minPower_W;
    char model[21];
    char serialNumber[10];
    SENSOR_CONFIGS configs;
    SENSOR_IDENTITY identity; ///< all but the model
    bool hasGone;
    uint32_t admission;
};

extern SensorFake sensorFakes[sensorPortCount];

/// What SensorInstance_GetActiveCount answers.
extern uint32_t sensorFakesActiveCount;

/// No channels, nothing ready, no readings, 1000 W and 1 W.
void SensorFakes_reset();

/// A configuration that is handed to a port waits until a test answers it.
struct SensorFakeRequest {
    int count; ///< configurations handed over since the reset
    SENSOR_CONFIGS config;
    uint32_t port;
    bool isWaiting;
    int cancelledCount;
    int endedCount; ///< callers that have returned
};
SensorFakeRequest SensorFakes_request();
/// While requests are held, their callers do not even get to the point where they hand over.
void SensorFakes_holdRequests(bool isHeld);
void SensorFakes_answer(const USBTMC_PARAM_ERRORS& errors);

#endif
