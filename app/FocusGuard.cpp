#include "FocusGuard.h"

#include "CloseWindow.h"
#include "EntireScreen.h"
#include "GdkLock.h"
#include "Heartbeat.h"
#include "LogManager.h"

namespace {

constexpr uint32_t passPeriod_ms = 5000;

} // namespace

bool handleFocusChange() {
    GtkWidget* window = entireScreen.mainWindow;
    // The window holds nothing but the screens and the buttons of the top line; dialogs are
    // windows with a focus of their own.
    if (window == nullptr || gtk_window_get_focus(GTK_WINDOW(window)) == nullptr) {
        return false;
    }
    gtk_window_set_focus(GTK_WINDOW(window), nullptr);
    return true;
}

void focusThread() {
    SimpleTimerData heartbeat{};
    CSimpleTimer_Reset(&heartbeat, threadHeartbeat_ms);
    for (;;) {
        const uint32_t now_ms = getTime_ms();
        if (Heartbeat_isDue(&heartbeat, now_ms)) {
            logManager_printToLog(ThreadMonitor, "focusThread: Thread is alive at %ul ms.\n",
                                  now_ms);
        }
        bool restored = false;
        {
            const ScopedGdkLock lock;
            restored = !CloseWindow_isDestroyed() && handleFocusChange();
        }
        logManager_printToLog(ThreadMonitor, "focusThread: focus restored = %d\n",
                              static_cast<int>(restored));
        Thread_sleep_ms(passPeriod_ms);
    }
}
