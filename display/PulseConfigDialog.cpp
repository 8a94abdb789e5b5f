#include "PulseConfigDialog.h"

#include "AppFlags.h"
#include "Configuration.h"
#include "DialogHelpers.h"
#include "EntireScreen.h"
#include "GtkHelpers.h"
#include "PulseConfig.h"
#include "PulseConfigSending.h"
#include "PulseDisplay.h"
#include "SensorManager.h"
#include "SensorPortHandler.h"

#include <cstdio>
#include <span>

PULSE_CONFIG_DIALOG gPulseConfigDlg3163;
PULSE_CONFIG_DIALOG gPulseConfigDlg3164;

namespace {

constexpr char interfaceFile[] = "./resources/pulseConfigDialog.ui";

/// What the interface file leaves to the title.
constexpr int titleWidth_px = 1000;

constexpr uint32_t watchPeriod_ms = 300;

struct WidgetRow {
    const char* id;
    GtkWidget* PULSE_CONFIG_DIALOG::*field;
};

constexpr WidgetRow widgetRows[] = {
    {"pulseConfigDialog", &PULSE_CONFIG_DIALOG::window},
    {"pulseConfigTitle", &PULSE_CONFIG_DIALOG::title},
    {"pulseConfigRestore", &PULSE_CONFIG_DIALOG::restore},
    {"pulseConfigApply", &PULSE_CONFIG_DIALOG::apply},
    {"pulseConfigStore", &PULSE_CONFIG_DIALOG::applyAndStore},
    {"pulseConfigCancel", &PULSE_CONFIG_DIALOG::cancel},
    {"pulseConfigStatus", &PULSE_CONFIG_DIALOG::status},
    {"pulseConfigError", &PULSE_CONFIG_DIALOG::errorWindow},
    {"pulseConfigErrorText", &PULSE_CONFIG_DIALOG::errorText},
    {"pulseConfigErrorOk", &PULSE_CONFIG_DIALOG::errorOk},
};

bool takeWidgets(PULSE_CONFIG_DIALOG* dialog, GtkBuilder* builder) {
    bool isComplete = true;
    for (const WidgetRow& row : widgetRows) {
        dialog->*row.field = Dialog_widget(builder, row.id);
        isComplete = isComplete && dialog->*row.field != nullptr;
    }
    return PulseConfigForm_create(dialog, builder) && isComplete;
}

const char* statusOf(const PULSE_CONFIG_DIALOG* dialog) {
    if (dialog->sensorHasGone) {
        return dialogSensorGone;
    }
    return dialog->isSending ? "Sending to the sensor..." : "";
}

/// While a configuration is on its way, and once the sensor has gone, only Cancel answers, and the
/// user sees why.
void showStatus(PULSE_CONFIG_DIALOG* dialog) {
    const bool answers = !dialog->isSending && !dialog->sensorHasGone;
    for (GtkWidget* widget :
         {dialog->form, dialog->restore, dialog->apply, dialog->applyAndStore}) {
        gtk_widget_set_sensitive(widget, answers);
    }
    gtk_widget_set_sensitive(dialog->keypad, answers && dialog->pEntryTarget != nullptr);
    setLabelText(dialog->status, statusOf(dialog));
}

void setSending(PULSE_CONFIG_DIALOG* dialog, bool isSending) {
    dialog->isSending = isSending;
    showStatus(dialog);
}

/// Looks whether the sensor is still the one that the dialog was opened for.
bool noticeMissingSensor(PULSE_CONFIG_DIALOG* dialog) {
    const auto port = static_cast<uint32_t>(dialog->channel);
    if (!dialog->sensorHasGone && Dialog_sensorHasGone(port, dialog->admission)) {
        dialog->sensorHasGone = true;
        PulseConfigForm_setTarget(dialog, nullptr);
        showStatus(dialog);
    }
    return dialog->sensorHasGone;
}

gboolean watchSensor(gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    if (!noticeMissingSensor(dialog)) {
        return G_SOURCE_CONTINUE;
    }
    dialog->watch = 0;
    return G_SOURCE_REMOVE;
}

void stopWatching(PULSE_CONFIG_DIALOG* dialog) {
    if (dialog->watch != 0) {
        g_source_remove(dialog->watch);
        dialog->watch = 0;
    }
}

void closeDialog(PULSE_CONFIG_DIALOG* dialog) {
    stopWatching(dialog);
    PulseConfigForm_setTarget(dialog, nullptr);
    setWidgetVisible(dialog->errorWindow, false);
    setWidgetVisible(dialog->window, false);
    dialog->sensorHasGone = false;
    setSending(dialog, false);
}

void confirmError(GtkWidget* /*button*/, gpointer data) {
    setWidgetVisible(static_cast<PULSE_CONFIG_DIALOG*>(data)->errorWindow, false);
}

/// Closing by other means than a button of the dialog is Cancel.
gboolean refuseToClose(GtkWidget* /*window*/, GdkEvent* /*event*/, gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    callbackPulseConfigBtnClicked(dialog->cancel, dialog);
    return TRUE;
}

gboolean hideError(GtkWidget* window, GdkEvent* /*event*/, gpointer /*data*/) {
    setWidgetVisible(window, false);
    return TRUE;
}

void connectDialog(PULSE_CONFIG_DIALOG* dialog) {
    for (GtkWidget* button :
         {dialog->restore, dialog->apply, dialog->applyAndStore, dialog->cancel}) {
        g_signal_connect(button, "clicked", G_CALLBACK(callbackPulseConfigBtnClicked), dialog);
    }
    g_signal_connect(dialog->errorOk, "clicked", G_CALLBACK(confirmError), dialog);
    g_signal_connect(dialog->window, "delete-event", G_CALLBACK(refuseToClose), dialog);
    g_signal_connect(dialog->errorWindow, "delete-event", G_CALLBACK(hideError), nullptr);
}

/// Builds one form; a dialog that lacks a widget stays unusable.
void createDisplay(PULSE_CONFIG_DIALOG* dialog, bool supportsTriggeredGates) {
    *dialog = {};
    GtkBuilder* builder = Dialog_load(interfaceFile, nullptr, 0);
    if (builder == nullptr) {
        return;
    }
    if (!takeWidgets(dialog, builder)) {
        dialog->window = nullptr;
        g_object_unref(builder);
        return;
    }
    connectDialog(dialog);
    gtk_window_set_transient_for(GTK_WINDOW(dialog->window), GTK_WINDOW(entireScreen.mainWindow));
    gtk_window_set_keep_above(GTK_WINDOW(dialog->window), TRUE);
    dialog->pulseConfig.bSupportsTriggeredGates = supportsTriggeredGates;
    PulseConfigForm_fill(dialog);
    g_object_unref(builder);
}

void setTitle(PULSE_CONFIG_DIALOG* dialog, uint32_t port) {
    char text[sizeof dialog->dialogTitle + 24];
    g_strlcpy(dialog->dialogTitle, Dialog_sensorName(port).text, sizeof dialog->dialogTitle);
    std::snprintf(text, sizeof text, "Pulse configuration: %s", dialog->dialogTitle);
    setLabelText(dialog->title, text);
    Dialog_fitLabel(dialog->title, titleWidth_px);
}

SENSOR_IDENTITY limitsOf(const PULSE_CONFIG_DIALOG* dialog) {
    SENSOR_IDENTITY identity = {};
    char serialNumber[sensorSerialNumberSize] = "";
    sensorPortHandler_getSensorInformation(static_cast<uint32_t>(dialog->channel), &identity,
                                           serialNumber, sizeof serialNumber);
    return identity;
}

bool tellFailure(PULSE_CONFIG_DIALOG* dialog, const PulseConfigFailure& failure) {
    showErrorDialog(dialog, failure.message);
    PulseConfigForm_refuse(dialog, PulseConfigForm_entryOf(dialog, failure));
    return false;
}

/// The sensor's answer. Only without errors the dialog has done its work.
void finishSending(const USBTMC_PARAM_ERRORS& errors, void* context) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(context);
    setSending(dialog, false);
    if (errors.sensorHasGone) {
        showErrorDialog(dialog, "The sensor has gone.\nNothing has been stored.");
        return;
    }
    if (errors.count > 0) {
        char text[parameterErrorsTextSize];
        PulseConfigValidation_parameterErrors(
            std::span<const char[32]>(errors.errors).first(static_cast<size_t>(errors.count)),
            text);
        showErrorDialog(dialog, text);
        return;
    }
    closeDialog(dialog);
}

void applyConfiguration(PULSE_CONFIG_DIALOG* dialog, bool isStored) {
    if (noticeMissingSensor(dialog)) {
        return;
    }
    GtkWidget* empty = PulseConfigForm_emptyEntry(dialog);
    if (empty != nullptr) {
        PulseConfigForm_refuse(dialog, empty);
        setLabelText(dialog->status, "A number is missing.");
        return;
    }
    updatePulseSensorConfiguration(dialog);
    const bool isValid = dialog->pulseConfig.bSupportsTriggeredGates
                             ? validatePulseConfiguration3164(dialog)
                             : validatePulseConfiguration3163(dialog);
    if (!isValid) {
        return;
    }
    setSending(dialog, true);
    if (!PulseConfigSending_start(dialog->pulseConfig, static_cast<uint32_t>(dialog->channel),
                                  isStored, finishSending, dialog)) {
        setSending(dialog, false);
        showErrorDialog(dialog, "The configuration could not be sent.");
    }
}

/// The stored configuration comes into the entries; nothing is sent.
void restoreConfiguration(PULSE_CONFIG_DIALOG* dialog) {
    sensorPortHandler_loadSensorConfig(&dialog->pulseConfig);
    PulseConfigForm_fill(dialog);
    PulseConfigForm_setFirstTarget(dialog);
}

} // namespace

void pulseConfigDialog_Create(PULSE_CONFIG_DIALOG& dialog, int form) {
    if (form == pulseConfigForm3163) {
        createPulseConfigDisplay3163(&dialog);
    } else {
        createPulseConfigDisplay3164(&dialog);
    }
    PulseDisplay_registerConfigDialog(pulseConfigDialog_Show);
}

void createPulseConfigDisplay3163(PULSE_CONFIG_DIALOG* dialog) {
    createDisplay(dialog, false);
}

void createPulseConfigDisplay3164(PULSE_CONFIG_DIALOG* dialog) {
    createDisplay(dialog, true);
}

void pulseConfigDialog_Show(uint32_t port) {
    // Looked up first: whatever comes later belongs to this sensor, or is found to have gone.
    const uint32_t admission = SensorManager_getAdmissionNumber(port);
    SENSOR_CONFIGS config = {};
    sensorPortHandler_getSensorConfigs(&config, port);
    PULSE_CONFIG_DIALOG* dialog =
        config.bSupportsTriggeredGates ? &gPulseConfigDlg3164 : &gPulseConfigDlg3163;
    if (dialog->window == nullptr || PulseConfigSending_isActive()) {
        return;
    }
    stopWatching(dialog);
    dialog->channel = static_cast<int>(port);
    dialog->admission = admission;
    dialog->sensorHasGone = false;
    dialog->pulseConfig = config;
    dialog->powerUnitIsdBm = configuration_getPowerUnitsIsdBm();
    setTitle(dialog, port);
    PulseConfigForm_fill(dialog);
    setSending(dialog, false);
    setWidgetVisible(dialog->window, true);
    gtk_window_present(GTK_WINDOW(dialog->window));
    PulseConfigForm_setFirstTarget(dialog);
    if (!noticeMissingSensor(dialog)) {
        dialog->watch = gdk_threads_add_timeout(watchPeriod_ms, watchSensor, dialog);
    }
}

bool validatePulseConfiguration3163(PULSE_CONFIG_DIALOG* dialog) {
    PulseConfigFailure failure = {};
    return PulseConfigValidation_check3163(dialog->pulseConfig, limitsOf(dialog), &failure) ||
           tellFailure(dialog, failure);
}

bool validatePulseConfiguration3164(PULSE_CONFIG_DIALOG* dialog) {
    PulseConfigFailure failure = {};
    return PulseConfigValidation_check3164(&dialog->pulseConfig, limitsOf(dialog),
                                           PulseConfigForm_typedPeriod_s(dialog), &failure) ||
           tellFailure(dialog, failure);
}

void showErrorDialog(PULSE_CONFIG_DIALOG* dialog, const char* text) {
    setLabelText(dialog->errorText, text);
    gtk_window_set_keep_above(GTK_WINDOW(dialog->errorWindow), TRUE);
    setWidgetVisible(dialog->errorWindow, true);
    gtk_window_present(GTK_WINDOW(dialog->errorWindow));
}

void callbackPulseConfigBtnClicked(GtkWidget* button, gpointer data) {
    auto* dialog = static_cast<PULSE_CONFIG_DIALOG*>(data);
    if (!gtk_init_done) {
        return;
    }
    if (button == dialog->restore) {
        restoreConfiguration(dialog);
    } else if (button == dialog->apply) {
        applyConfiguration(dialog, false);
    } else if (button == dialog->applyAndStore) {
        applyConfiguration(dialog, true);
    } else {
        PulseConfigSending_cancel();
        closeDialog(dialog);
    }
}
