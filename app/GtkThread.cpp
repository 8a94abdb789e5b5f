#include "GtkThread.h"

#include "AppFlags.h"
#include "BatteryIndicator.h"
#include "CSensorDisplayFSM.h"
#include "CloseWindow.h"
#include "Configuration.h"
#include "FocusGuard.h"
#include "GdkLock.h"
#include "GtkHelpers.h"
#include "Heartbeat.h"
#include "LogManager.h"
#include "SensorChanges.h"
#include "ShutDownWarning.h"
#include "message.h"

namespace {

constexpr uint32_t passPeriod_ms = 300;
constexpr int passesPerFocusCheck = 25;

/// Of the running thread. It is reached through here while a pass waits for the user.
GtkThreadState threadState{};

void showGraph(bool show) {
    if (show) {
        CSensorDisplayFSM_showGraph();
    } else {
        CSensorDisplayFSM_hideGraph();
    }
}

void setPulseMode(bool isActive) {
    if (isActive) {
        CSensorDisplayFSM_setPulse();
    } else {
        CSensorDisplayFSM_setCW();
    }
}

void beat(GtkThreadState* state, uint32_t now_ms) {
    if (Heartbeat_isDue(&state->heartbeat, now_ms)) {
        DIAGNOSTIC("Thread is alive at %ul ms.\n\n", now_ms);
    }
}

void followSettings(GtkThreadState* state) {
    const bool graph = configuration_getDisplayGraph();
    if (graph != state->graphIsShown) {
        showGraph(graph);
        state->graphIsShown = graph;
    }
    const bool pulseMode = configuration_getPulseMode();
    if (pulseMode != state->pulseModeIsActive) {
        setPulseMode(pulseMode);
        state->pulseModeIsActive = pulseMode;
    }
}

void serviceTopLine() {
    updateBatteryDisplay();
    ShutDownWarning_handleState();
}

} // namespace

GtkThreadState GtkThread_begin(uint32_t now_ms) {
    GtkThreadState state{};
    state.heartbeat = {threadHeartbeat_ms, now_ms};
    state.pulseModeIsActive = configuration_getPulseMode();
    state.graphIsShown = configuration_getDisplayGraph();
    CSensorDisplayFSM_reset();
    setPulseMode(state.pulseModeIsActive);
    showGraph(state.graphIsShown);
    return state;
}

void GtkThread_pass(GtkThreadState* state, uint32_t now_ms) {
    beat(state, now_ms);
    SensorChanges_handle();
    followSettings(state);
    for (uint32_t port = sensorPort_Serial1; port < sensorPortCount; ++port) {
        CSensorDisplayFSM_updateMeasurements(port);
    }
    serviceTopLine();
    if (++state->focusCount >= passesPerFocusCheck) {
        handleFocusChange();
        state->focusCount = 0;
    }
    flushDisplay();
}

void GtkThread_serviceWhileWaiting() {
    beat(&threadState, getTime_ms());
    if (CloseWindow_isDestroyed()) {
        return;
    }
    serviceTopLine();
    flushDisplay();
}

void gtkThread() {
    {
        const ScopedGdkLock lock;
        threadState = GtkThread_begin(getTime_ms());
    }
    for (;;) {
        {
            const ScopedGdkLock lock;
            gtk_init_done = true;
            gtk_init_done.notify_all();
            if (!CloseWindow_isDestroyed()) {
                GtkThread_pass(&threadState, getTime_ms());
            }
        }
        logManager_printToLog(ThreadMonitor, "gtkThread: gtkThread loop count = %d\n",
                              threadState.loopCount);
        ++threadState.loopCount;
        Thread_sleep_ms(passPeriod_ms);
    }
}
