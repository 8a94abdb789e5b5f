#include "PulseConfigSending.h"

#include "PulseConfig.h"
#include "Threads.h"
#include "UsbSensorConfig.h"
#include "message.h"

#include <gtk/gtk.h>

#include <atomic>

namespace {

/// One configuration on its way. The thread gives it away at its end; it goes in the main loop.
struct Sending {
    SENSOR_CONFIGS config;
    uint32_t port;
    bool isStored;
    PulseConfigSent done;
    void* context;
    SensorConfigsWait wait;
    USBTMC_PARAM_ERRORS errors;
    std::atomic<bool> isFinished; ///< set last by the thread: what it wrote is there to be read
};

/// The sending that somebody waits for; null when nobody does. GDK lock.
Sending* awaited = nullptr;

/// Main thread, GDK lock held.
gboolean finish(gpointer data) {
    auto* sending = static_cast<Sending*>(data);
    if (sending->isFinished && sending == awaited) {
        awaited = nullptr;
        sending->done(sending->errors, sending->context);
    }
    delete sending;
    return G_SOURCE_REMOVE;
}

void* sendAndStore(void* data) {
    pthread_detach(pthread_self());
    auto* sending = static_cast<Sending*>(data);
    sending->errors =
        sensorPortHandler_setSensorConfigs(sending->config, sending->port, &sending->wait);
    const bool isAccepted = sending->errors.count == 0 && !sending->errors.sensorHasGone;
    if (isAccepted && sending->isStored && !sending->wait.isCancelled) {
        sensorPortHandler_saveSensorConfig(&sending->config);
    }
    sending->isFinished = true;
    gdk_threads_add_idle(finish, sending);
    return nullptr;
}

} // namespace

bool PulseConfigSending_start(const SENSOR_CONFIGS& config, uint32_t port, bool isStored,
                              PulseConfigSent done, void* context) {
    auto* sending = new Sending{.config = config,
                                .port = port,
                                .isStored = isStored,
                                .done = done,
                                .context = context,
                                .wait = {},
                                .errors = {},
                                .isFinished = false};
    pthread_t thread{};
    if (Thread_startJoinable(&thread, "pulseConfig", sendAndStore, sending) != 0) {
        DIAGNOSTIC("Failed to spawn the pulse configuration thread.\n");
        delete sending;
        return false;
    }
    awaited = sending;
    return true;
}

void PulseConfigSending_cancel() {
    if (awaited != nullptr) {
        sensorPortHandler_cancelSensorConfigs(awaited->port, &awaited->wait);
        awaited = nullptr;
    }
}

bool PulseConfigSending_isActive() {
    return awaited != nullptr;
}
