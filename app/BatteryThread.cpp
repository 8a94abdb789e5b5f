#include "BatteryThread.h"

#include "AppFlags.h"
#include "BatteryMonitor.h"
#include "Heartbeat.h"
#include "LogManager.h"
#include "ShutDownWarning.h"
#include "message.h"

namespace {

constexpr uint32_t passPeriod_ms = 5000;

void act(BatteryAction action) {
    switch (action) {
    case BatteryAction::none:
        break;
    case BatteryAction::showWarning:
        WarningDialog_show(&shutDownWarningDlg);
        break;
    case BatteryAction::closeWarning:
        WarningDialog_close(&shutDownWarningDlg);
        break;
    case BatteryAction::switchOff:
        quit = true;
        break;
    }
}

} // namespace

BatteryAction BatteryThread_step(BatteryThreadState* state, int percent, int charging,
                                 uint32_t now_ms) {
    const bool isDischarging = charging == BATT_NOT_CHARGING;
    switch (state->shutDown) {
    case shutdownIdle:
        if (!state->isPercentKnown || percent > criticalBatteryPercent || !isDischarging) {
            return BatteryAction::none;
        }
        state->warningTimer = {shutdownWarningTime_ms, now_ms};
        state->shutDown = shutdownWarning;
        return BatteryAction::showWarning;
    case shutdownWarning:
        if (!isDischarging) {
            state->shutDown = shutdownIdle;
            return BatteryAction::closeWarning;
        }
        if (!CSimpleTimer_isExpiredAt(state->warningTimer, now_ms)) {
            return BatteryAction::none;
        }
        state->shutDown = shutdownShuttingDown;
        return BatteryAction::switchOff;
    case shutdownShuttingDown:
        break;
    }
    return BatteryAction::none;
}

void BatteryThread_limitInputCurrent() {
    const std::optional<float> temperature_C = getFuelGaugeTemperature();
    if (!temperature_C) {
        return;
    }
    const int wanted = BatteryRules_inputCurrentLimit(static_cast<double>(*temperature_C));
    if (getLastInputCurrentLimit() == wanted) {
        return;
    }
    const std::optional<int> reported = setInputCurrentLimit(wanted);
    if (reported && *reported != wanted) {
        USER_WARNING("input current limit is %d; should be %d\n", *reported, wanted);
    }
}

void BatteryThread_watch(BatteryThreadState* state, uint32_t now_ms) {
    if (!modelHasBattery()) {
        return;
    }
    int percent = batteryPercent;
    if (pollBatteryPercent(&percent)) {
        state->isPercentKnown = true;
        batteryPercent = percent;
    }
    DIAGNOSTIC("state = %d, batteryPercent = %d, threshold = %d.\n",
               static_cast<int>(state->shutDown), percent, criticalBatteryPercent);
    act(BatteryThread_step(state, percent, batteryCharging, now_ms));
}

void batteryThread() {
    BatteryThreadState state{};
    SimpleTimerData heartbeat{};
    CSimpleTimer_Reset(&heartbeat, threadHeartbeat_ms);
    for (;;) {
        const uint32_t now_ms = getTime_ms();
        if (Heartbeat_isDue(&heartbeat, now_ms)) {
            logManager_printToLog(ThreadMonitor, "batteryThread: Thread is alive at %ul ms.\n",
                                  now_ms);
        }
        BatteryThread_limitInputCurrent();
        Thread_sleep_ms(passPeriod_ms);
        BatteryThread_watch(&state, getTime_ms());
    }
}
