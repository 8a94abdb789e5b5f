#include "CloseWindow.h"

#include "AppFlags.h"
#include "GdkLock.h"
#include "SensorPortHandler.h"
#include "Threads.h"

namespace {

constexpr uint32_t portPollPeriod_ms = 1000;

std::atomic<bool> isClosing{false};
std::atomic<bool> isDestroyed{false};

bool aPortIsConnected() {
    for (uint32_t port = sensorPort_Serial1; port < sensorPortCount; ++port) {
        if (sensorPortHandler_getIsConnected(port)) {
            return true;
        }
    }
    return false;
}

} // namespace

void closeAppWindow(GtkWidget* /*widget*/, gpointer /*data*/) {
    if (!gtk_init_done || isClosing.exchange(true)) {
        return;
    }
    quit = true;
    {
        const ScopedGdkUnlock unlocked;
        while (aPortIsConnected()) {
            Thread_sleep_ms(portPollPeriod_ms);
        }
    }
    gtk_main_quit();
}

gboolean CloseWindow_onDelete(GtkWidget* widget, GdkEvent* /*event*/, gpointer data) {
    closeAppWindow(widget, data);
    return TRUE;
}

bool CloseWindow_isDestroyed() {
    return isDestroyed;
}

void CloseWindow_onDestroy(GtkWidget* widget, gpointer data) {
    isDestroyed = true;
    closeAppWindow(widget, data);
}
