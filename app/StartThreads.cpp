#include "StartThreads.h"

#include "AppFlags.h"
#include "BatteryThread.h"
#include "Configuration.h"
#include "FocusGuard.h"
#include "GraphUpdateThread.h"
#include "GtkThread.h"
#include "HwPollingThread.h"
#include "LogManager.h"
#include "Process.h"
#include "SensorDisplays.h"
#include "SoftPowerSwitch.h"
#include "Threads.h"
#include "message.h"

#include <array>
#include <cstdio>

namespace {

// Handles of the threads; none is ever joined.
pthread_t gtk_thread_id;
pthread_t focus_thread_id;
pthread_t battery_thread_id;
pthread_t graph_update_thread_0_id;
pthread_t sensor_hot_swap_thread_id;
pthread_t soft_power_button_thread_id;
pthread_t debug_printf_thread_id;

struct ThreadRow {
    const char* name; ///< as in process listings, at most 15 characters
    const char* failure;
    pthread_t* id;
    void (*entry)();
};

constexpr ThreadRow guiThread = {"gtkThread", "Fail...Cannot spawn the gtkThread.\n",
                                 &gtk_thread_id, gtkThread};

/// In the order in which they start.
constexpr std::array<ThreadRow, 6> workers = {{
    {"focusThread", "Fail...Cannot spawn the focusThread.\n", &focus_thread_id, focusThread},
    {"batteryThread", "Fail...Cannot spawn the batteryThread.\n", &battery_thread_id,
     batteryThread},
    {"graphUpdate", "Fail...Cannot spawn the graphUpdateThread.\n", &graph_update_thread_0_id,
     graphUpdateThread},
    {"hwPolling", "Fail...Cannot spawn the hwPollingThread.\n", &sensor_hot_swap_thread_id,
     hwPollingThread},
    {"powerSwitch", "Fail...Cannot spawn the softPowerSwitchPollingThread.\n",
     &soft_power_button_thread_id, softPowerSwitchPollingThread},
    {"debugPrintf", "Fail...Cannot spawn the debugPrintfThread.\n", &debug_printf_thread_id,
     debugPrintfThread},
}};

void start(const ThreadRow& row) {
    if (Thread_start(row.id, row.name, row.entry) != 0) {
        DIAGNOSTIC("%s", row.failure);
        fputs(row.failure, stderr);
        Process_leave(processStatusFatal);
    }
}

void logDisplays(const char* label) {
    for (uint32_t slot = UpperDisplay; slot < NumberOfDisplays; ++slot) {
        DIAGNOSTIC("%s: display %u: screen = %u, port = %u\n", label, slot,
                   static_cast<unsigned>(sensorDisplays[slot].display.load()),
                   static_cast<unsigned>(sensorDisplays[slot].sensorPort.load()));
    }
}

} // namespace

void StartThreads_startGui() {
    start(guiThread);
    gtk_init_done.wait(false);
}

void StartThreads_createDisplaySlots() {
    for (uint32_t slot = UpperDisplay; slot < NumberOfDisplays; ++slot) {
        const GraphSettings_t settings = configuration_getGraphSettings(slot);
        CGraphData_create(&sensorDisplays[slot].graphDataPwr, settings.averageCount);
    }
    logDisplays("GTK Displays (Initialize)");
}

void StartThreads_startWorkers() {
    for (const ThreadRow& row : workers) {
        start(row);
    }
}
