#include "HwPollingThread.h"

#include "AppFlags.h"
#include "BatteryMonitor.h"
#include "Heartbeat.h"
#include "SensorDetect.h"
#include "SensorHandOff.h"
#include "SensorPortHandler.h"
#include "Shutdown.h"
#include "message.h"

namespace {

constexpr uint32_t passPeriod_ms = 500;

void pollBattery() {
    if (!modelHasBattery()) {
        return;
    }
    bool present = batteryPresent;
    int charging = batteryCharging;
    pollI2CBatteryMonitor(&present, &charging);
    batteryPresent = present;
    batteryCharging = charging;
    batteryIsPolled = battMon.state != BATT_MON_STATE_POWERUP; // last: the others are known now
    if (present) {
        pollI2CFuelGauge();
    }
}

void detectSensors(HwPollingState* state) {
    CONNECTED_SENSORS record = SensorDetect_getConnectedSensors(state->previous);
    if (resetSensorDetect.exchange(false)) {
        record = HwPolling_reportAllRemoved(state->previous, record);
    }
    gtkThread_SensorChanged(record);
    state->previous = record;
}

void switchOff() {
    DIAGNOSTIC("hwPollingThread: shutdown signal detected...\n\n");
    for (uint32_t port = sensorPort_Serial1; port < sensorPortCount; ++port) {
        sensorPortHandler_setIsConnected(port, false);
    }
    shutDownPower();
}

} // namespace

CONNECTED_SENSORS HwPolling_reportAllRemoved(const CONNECTED_SENSORS& previous,
                                             const CONNECTED_SENSORS& current) {
    CONNECTED_SENSORS removed = current;
    removed.detectedSensors = 0;
    removed.detectedSensorsChanged = previous.detectedSensors;
    return removed;
}

void HwPolling_pass(HwPollingState* state) {
    pollBattery();
    detectSensors(state);
    if (quit) {
        switchOff();
    }
}

void hwPollingThread() {
    HwPollingState state{};
    resetSensorDetect = false;
    SimpleTimerData heartbeat{};
    CSimpleTimer_Reset(&heartbeat, threadHeartbeat_ms);
    for (;;) {
        const uint32_t now_ms = getTime_ms();
        if (Heartbeat_isDue(&heartbeat, now_ms)) {
            DIAGNOSTIC("hwPollingThread: Thread is alive at %ul ms.\n\n", now_ms);
        }
        Thread_sleep_ms(passPeriod_ms);
        HwPolling_pass(&state);
    }
}
