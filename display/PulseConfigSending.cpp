#include "PulseConfigSending.h"

#include "PulseConfig.h"
#include "Threads.h"
#include "UsbSensorConfig.h"
#include "message.h"

#include <gtk/gtk.h>

#include <atomic>

namespace {

struct Sending {
    SENSOR_CONFIGS config;
    uint32_t port;
    bool isStored;
    PulseConfigSent done;
    void* context;
    uint32_t number;
    USBTMC_PARAM_ERRORS errors;
    std::atomic<bool> isFinished; ///< set last by the thread, which then gives the record away
};

/// Number of the sending that somebody waits for; 0 when nobody does.
std::atomic<uint32_t> awaited;
uint32_t latest = 0;   ///< GDK lock
uint32_t usedPort = 0; ///< of the awaited sending; GDK lock

bool isAwaited(const Sending* sending) {
    return awaited == sending->number;
}

/// Main thread, GDK lock held.
gboolean finish(gpointer data) {
    auto* sending = static_cast<Sending*>(data);
    if (sending->isFinished && isAwaited(sending)) {
        awaited = 0;
        sending->done(sending->errors, sending->context);
    }
    delete sending;
    return G_SOURCE_REMOVE;
}

void* sendAndStore(void* data) {
    pthread_detach(pthread_self());
    auto* sending = static_cast<Sending*>(data);
    if (isAwaited(sending)) {
        sending->errors = sensorPortHandler_setSensorConfigs(sending->config, sending->port);
    }
    const bool isAccepted = sending->errors.count == 0 && !sending->errors.sensorHasGone;
    if (isAccepted && sending->isStored && isAwaited(sending)) {
        sensorPortHandler_saveSensorConfig(&sending->config);
    }
    sending->isFinished = true;
    gdk_threads_add_idle(finish, sending);
    return nullptr;
}

} // namespace

bool PulseConfigSending_start(const SENSOR_CONFIGS& config, uint32_t port, bool isStored,
                              PulseConfigSent done, void* context) {
    // 0 stands for nobody.
    latest = latest == UINT32_MAX ? 1 : latest + 1;
    auto* sending = new Sending{.config = config,
                                .port = port,
                                .isStored = isStored,
                                .done = done,
                                .context = context,
                                .number = latest,
                                .errors = {},
                                .isFinished = false};
    usedPort = port;
    awaited = latest;
    pthread_t thread{};
    if (Thread_startJoinable(&thread, "pulseConfig", sendAndStore, sending) != 0) {
        DIAGNOSTIC("Failed to spawn the pulse configuration thread.\n");
        awaited = 0;
        delete sending;
        return false;
    }
    return true;
}

void PulseConfigSending_cancel() {
    if (awaited.exchange(0) != 0) {
        sensorPortHandler_abandonSensorConfigs(usedPort);
    }
}

bool PulseConfigSending_isActive() {
    return awaited != 0;
}
