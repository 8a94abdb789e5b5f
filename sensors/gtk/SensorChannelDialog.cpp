#include "SensorChannelDialog.h"

#include "AppFlags.h"
#include "GdkLock.h"
#include "GtkHelpers.h"
#include "Process.h"
#include "Threads.h"
#include "message.h"

#include <array>
#include <atomic>
#include <cstdio>

namespace {

constexpr char interfaceFile[] = "./resources/sensorSettingsDialog.ui";
constexpr uint32_t dialogPoll_ms = 100;
constexpr uint32_t servicePeriod_ms = 300;

constexpr std::array<const char*, sensorPortCount> sensorTitles = {
    "Tessel CW Sensor on Serial1", "Tessel CW Sensor on Serial2",
    "Tessel CW & Pulse Sensor on USB1", "Tessel CW & Pulse Sensor on USB2"};

/// The interface file names its objects for the builder only; style sheet and tests look for widget
/// names, which are the same here.
constexpr std::array<const char*, 8> objectNames = {
    "sensorSettingsDialog",           "sensorSettingsDialogVbox",
    "sensorInfoDialogGrid",           "sensorSettingsDialogTitleStr",
    "sensorSettingsDialogRadioChan1", "sensorSettingsDialogRadioChan2",
    "sensorSettingsDialogNoteStr",    "sensorSettingsDialog_ok"};

/// The dialog on the screen. GDK lock.
struct ChannelDialog {
    GtkWidget* dialog;
    GtkWidget* channel1Button;
    uint32_t port;
    uint32_t admission; ///< of the sensor that is asked for
};

ChannelDialog channelDialog;
GtkWindow* parentWindow = nullptr;

/// Lets the waiting threads see at once that the dialog has been closed, and that the channel
/// thread has ended. No other lock is taken under the mutex.
struct Progress {
    pthread_mutex_t mutex;
    pthread_cond_t changed;
    bool isDialogOpen;
    bool isThreadRunning;
};

Progress progress = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, false, false};

std::atomic<void (*)()> whileWaiting;

void setProgress(bool Progress::*what, bool value) {
    const ScopedLock lock(progress.mutex);
    progress.*what = value;
    pthread_cond_broadcast(&progress.changed);
}

/// Waits until the flag falls, or for this time. True when it has fallen.
bool waitForEnd(bool Progress::*what, uint32_t time_ms) {
    const timespec deadline = Thread_deadline(time_ms);
    const ScopedLock lock(progress.mutex);
    int result = 0;
    while (progress.*what && result == 0) {
        result = pthread_cond_timedwait(&progress.changed, &progress.mutex, &deadline);
    }
    return !(progress.*what);
}

bool hasGone(uint32_t port, uint32_t admission) {
    return port >= sensorPortCount || SensorManager_getAdmissionNumber(port) != admission;
}

/// Names the interface's objects. False, with a message and without the dialog, if one is missing:
/// a dialog without its buttons could not be answered.
bool nameObjects(GtkBuilder* builder) {
    bool isComplete = true;
    for (const char* name : objectNames) {
        GObject* object = gtk_builder_get_object(builder, name);
        if (object == nullptr) {
            DIAGNOSTIC("The interface has no widget %s.\n", name);
            isComplete = false;
        } else {
            gtk_widget_set_name(GTK_WIDGET(object), name);
        }
    }
    GObject* dialog = gtk_builder_get_object(builder, objectNames[0]);
    if (!isComplete && dialog != nullptr) {
        gtk_widget_destroy(GTK_WIDGET(dialog));
    }
    return isComplete;
}

/// Builds the interface; null, with a message, if its file cannot be loaded or lacks something.
GtkBuilder* loadInterface() {
    GtkBuilder* builder = gtk_builder_new();
    gtk_builder_add_callback_symbol(builder, "on_sensorSettingsDialog_ok_clicked",
                                    G_CALLBACK(on_sensorSettingsDialog_ok_clicked));
    GError* error = nullptr;
    if (gtk_builder_add_from_file(builder, interfaceFile, &error) == 0) {
        fprintf(stderr, "Error loading file: %s\n", error->message);
        g_error_free(error);
        g_object_unref(builder);
        return nullptr;
    }
    gtk_builder_connect_signals(builder, nullptr);
    if (!nameObjects(builder)) {
        g_object_unref(builder);
        return nullptr;
    }
    return builder;
}

const char* titleOf(uint32_t port) {
    if (port >= sensorTitles.size()) {
        DIAGNOSTIC("Invalid Sensor Index (%d).\n", static_cast<int>(port));
        return "Unknown Sensor";
    }
    return sensorTitles[port];
}

/// Nothing but the answer closes the dialog, no key and no window manager either.
gboolean refuseToClose(GtkWidget* /*widget*/, GdkEvent* /*event*/, gpointer /*data*/) {
    return TRUE;
}

void showAbove(GtkWidget* dialog) {
    g_signal_connect(dialog, "delete-event", G_CALLBACK(refuseToClose), nullptr);
    GtkWindow* window = GTK_WINDOW(dialog);
    gtk_window_set_transient_for(window, parentWindow);
    gtk_window_set_modal(window, TRUE);
    gtk_window_set_keep_above(window, TRUE);
    gtk_widget_show_all(gtk_bin_get_child(GTK_BIN(dialog)));
    if (parentWindow != nullptr) {
        placeOverWindow(window, parentWindow);
    }
    gtk_widget_show(dialog);
}

/// Takes the dialog away and forgets it, which ends the channel thread's wait.
void closeDialog() {
    if (channelDialog.dialog != nullptr) {
        gtk_widget_destroy(channelDialog.dialog);
    }
    channelDialog = {};
    setProgress(&Progress::isDialogOpen, false);
}

/// False when there is nobody to ask for, or nothing to ask with.
bool openDialog(const SensorAdmission& sensor) {
    const ScopedGdkLock lock;
    return !hasGone(sensor.port, sensor.admission) && displaySensorSettings(sensor);
}

void closeDialogOfMissingSensor() {
    const ScopedGdkLock lock;
    if (channelDialog.dialog != nullptr && hasGone(channelDialog.port, channelDialog.admission)) {
        closeDialog();
    }
}

/// What has to go on in the GUI-refresh thread goes on until the channel thread has ended.
void serveUntilAnswered() {
    while (!waitForEnd(&Progress::isThreadRunning, servicePeriod_ms)) {
        void (*const service)() = whileWaiting;
        if (service != nullptr) {
            const ScopedGdkLock lock;
            service();
        }
    }
}

} // namespace

void SensorChannelDialog_register(GtkWindow* mainWindow) {
    parentWindow = mainWindow;
    Condition_initialize(&progress.changed);
    SensorManager_registerChannelPrompt(SensorChannelDialog_ask);
}

void SensorChannelDialog_registerWhileWaiting(void (*service)()) {
    whileWaiting = service;
}

void SensorChannelDialog_ask(const SensorAdmission& sensor) {
    const ScopedGdkUnlock unlocked;
    setProgress(&Progress::isThreadRunning, true);
    SensorAdmission asked = sensor;
    pthread_t thread{};
    if (Thread_startJoinable(&thread, "channelChoice", SensorManager_ChannelThread, &asked) != 0) {
        DIAGNOSTIC("Failed to spawn the SensorManager_ChannelThread.\n");
        Process_leave(processStatusFatal);
    }
    serveUntilAnswered();
    if (pthread_join(thread, nullptr) != 0) {
        DIAGNOSTIC("Failed to join the SensorManager_ChannelThread.\n");
        Process_leave(processStatusFatal);
    }
}

void* SensorManager_ChannelThread(void* sensor) {
    if (openDialog(*static_cast<const SensorAdmission*>(sensor))) {
        while (!waitForEnd(&Progress::isDialogOpen, dialogPoll_ms)) {
            closeDialogOfMissingSensor();
        }
    }
    setProgress(&Progress::isThreadRunning, false);
    return nullptr;
}

bool displaySensorSettings(const SensorAdmission& sensor) {
    GtkBuilder* builder = loadInterface();
    if (builder == nullptr) {
        return false;
    }
    const auto widget = [builder](const char* name) {
        return GTK_WIDGET(gtk_builder_get_object(builder, name));
    };
    channelDialog = {widget("sensorSettingsDialog"), widget("sensorSettingsDialogRadioChan1"),
                     sensor.port, sensor.admission};
    gtk_label_set_text(GTK_LABEL(widget("sensorSettingsDialogTitleStr")), titleOf(sensor.port));
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(channelDialog.channel1Button), TRUE);
    setProgress(&Progress::isDialogOpen, true);
    showAbove(channelDialog.dialog);
    g_object_unref(builder);
    return true;
}

void on_sensorSettingsDialog_ok_clicked(GtkButton* /*button*/, gpointer /*data*/) {
    if (!gtk_init_done || channelDialog.dialog == nullptr) {
        return;
    }
    const bool isChannel1 =
        gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(channelDialog.channel1Button)) != FALSE;
    SensorManager_setChannelOfAdmission(channelDialog.port, channelDialog.admission,
                                        isChannel1 ? sensorLogicalChannel1 : sensorLogicalChannel2);
    closeDialog();
}
