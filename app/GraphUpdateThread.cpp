#include "GraphUpdateThread.h"

#include "AppFlags.h"
#include "Configuration.h"
#include "Heartbeat.h"
#include "SensorHandOff.h"
#include "SensorPortHandler.h"
#include "SensorRecords.h"
#include "message.h"

namespace {

constexpr uint32_t screenPollPeriod_ms = 125;
constexpr uint32_t samplePeriod_ms = 1000;

void sampleSlot(uint32_t slot, uint32_t detectedSensors, SENSOR_MEASUREMENTS* fetched) {
    const uint32_t port = sensorDisplays[slot].sensorPort;
    if (port == sensorPort_None || sensorPortHandler_getSensorStatus(port).status != isReady) {
        return;
    }
    if ((detectedSensors & SensorPort_bit(port)) != 0) {
        *fetched = sensorPortHandler_getSensorMeasurements(port);
    }
    const float power_W =
        configuration_getGraphRflMode(slot) ? fetched->rflPwrVal : fetched->fwdPwrVal;
    CGraphData_addItem(&sensorDisplays[slot].graphDataPwr, power_W);
}

} // namespace

GraphUpdateState GraphUpdate_begin() {
    GraphUpdateState state{};
    for (SENSOR_MEASUREMENTS& measurements : state.fetched) {
        sensorPortHandler_setMeasurementsToDefault(&measurements);
    }
    return state;
}

void GraphUpdate_sample(GraphUpdateState* state) {
    if (!configuration_getDisplayGraph()) {
        return;
    }
    const uint32_t detectedSensors = SensorHandOff_getDetectedSensors();
    for (uint32_t slot = UpperDisplay; slot < NumberOfDisplays; ++slot) {
        sampleSlot(slot, detectedSensors, &state->fetched[slot]);
    }
}

void graphUpdateThread() {
    while (!screenInitComplete) {
        Thread_sleep_ms(screenPollPeriod_ms);
    }
    GraphUpdateState state = GraphUpdate_begin();
    SimpleTimerData heartbeat{};
    CSimpleTimer_Reset(&heartbeat, threadHeartbeat_ms);
    for (;;) {
        const uint32_t now_ms = getTime_ms();
        if (Heartbeat_isDue(&heartbeat, now_ms)) {
            DIAGNOSTIC("Thread is alive at %ul ms.\n\n", now_ms);
        }
        GraphUpdate_sample(&state);
        Thread_sleep_ms(samplePeriod_ms);
    }
}
