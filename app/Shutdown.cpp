#include "Shutdown.h"

#include "AppFlags.h"
#include "BatteryMonitor.h"
#include "Configuration.h"
#include "Files.h"
#include "LogManager.h"
#include "Threads.h"
#include "message.h"

namespace {

constexpr uint32_t armShipModeTime_ms = 3000;
constexpr uint32_t savingLimit_ms = 5000; // a disk that never ends does not keep the unit on
constexpr const char* shutdownCommand = "shutdown";

/// Whether the command was issued, and who waits for that.
struct ShutdownProgress {
    pthread_mutex_t mutex;
    pthread_cond_t changed;
    bool commandIssued;
};

ShutdownProgress& progress() {
    static ShutdownProgress record = [] {
        ShutdownProgress fresh{PTHREAD_MUTEX_INITIALIZER, {}, false};
        Condition_initialize(&fresh.changed);
        return fresh;
    }();
    return record;
}

void waitForSettings() {
    if (!configuration_waitUntilSaved(savingLimit_ms)) {
        DIAGNOSTIC("shutDownPower: the settings are not saved after %u ms\n", savingLimit_ms);
    }
}

bool isCommandIssued() {
    const ScopedLock lock(progress().mutex);
    return progress().commandIssued;
}

void announceCommand() {
    const ScopedLock lock(progress().mutex);
    progress().commandIssued = true;
    pthread_cond_broadcast(&progress().changed);
}

} // namespace

void shutDownPower() {
    if (isCommandIssued()) {
        return;
    }
    disableBatteryMonitor();
    DIAGNOSTIC("**************** shutDownPower Attempting to issue ARM SHIP MODE "
               "****************\n");
    Thread_sleep_ms(armShipModeTime_ms);
    DIAGNOSTIC("**************** shutDownPower Turning off the power by writing a zero to the "
               "KeepOn GPIO pin ****************\n");
    LogManager_flush();
    waitForSettings();
    const int result = File_runShellCommand(shutdownCommand);
    if (result == 0) {
        announceCommand();
    } else {
        DIAGNOSTIC("shutDownPower: %s returned %d\n", shutdownCommand, result);
    }
}

bool Shutdown_waitForCommand(uint32_t limit_ms) {
    const timespec deadline = Thread_deadline(limit_ms);
    const ScopedLock lock(progress().mutex);
    int error = 0;
    while (!progress().commandIssued && error == 0) {
        error = pthread_cond_timedwait(&progress().changed, &progress().mutex, &deadline);
    }
    return progress().commandIssued;
}

void resetDetectedSensors() {
    resetSensorDetect = true;
}
