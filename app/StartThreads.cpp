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
#include <cstring>

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
    const char* name;      ///< as in the failure's message
    const char* shortName; ///< as in process listings, at most 15 characters
    pthread_t* id;
    void (*entry)();
};

constexpr ThreadRow guiThread = {"gtkThread", "gtkThread", &gtk_thread_id, gtkThread};

/// In the order in which they start.
constexpr std::array<ThreadRow, 6> workers = {{
    {"focusThread", "focusThread", &focus_thread_id, focusThread},
    {"batteryThread", "batteryThread", &battery_thread_id, batteryThread},
    {"graphUpdateThread", "graphUpdate", &graph_update_thread_0_id, graphUpdateThread},
    {"hwPollingThread", "hwPolling", &sensor_hot_swap_thread_id, hwPollingThread},
    {"softPowerSwitchPollingThread", "powerSwitch", &soft_power_button_thread_id,
     softPowerSwitchPollingThread},
    {"debugPrintfThread", "debugPrintf", &debug_printf_thread_id, debugPrintfThread},
}};

void start(const ThreadRow& row) {
    const int error = Thread_start(row.id, row.shortName, row.entry);
    if (error != 0) {
        DIAGNOSTIC("Fail...Cannot spawn the %s.\n", row.name);
        fprintf(stderr, "Cannot spawn the %s: %s\n", row.name, strerror(error));
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
