#include "SerialConfigHandler.h"

#include "AppFlags.h"
#include "Configuration.h"
#include "DialogHelpers.h"
#include "GdkLock.h"
#include "GtkHelpers.h"
#include "Process.h"
#include "SerialConfig.h"
#include "SerialPort.h"
#include "Threads.h"
#include "message.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <iterator>

SERCONFIG_S* serConfig = nullptr;

namespace {

constexpr char interfaceFile[] = "./resources/serSettingsDialog.ui";

/// A widget of the dialog: its builder id and its place in the record.
struct Part {
    const char* id;
    GtkWidget* SERCONFIG_S::*widget;
};

constexpr Part parts[] = {
    {"serSettingsDlg", &SERCONFIG_S::serSettingsDialog},
    {"serSettingsVbox", &SERCONFIG_S::serSettingsVbox},
    {"serSettingsActionArea", &SERCONFIG_S::serSettingsActionArea},
    {"serSettingsTable", &SERCONFIG_S::serSettingsTable},
    {"serSettingsLabelSpeed", &SERCONFIG_S::serSettingsLabelSpeed},
    {"serSettingsComboSpeed", &SERCONFIG_S::serSettingsComboSpeed},
    {"serSettingsLabelDataBits", &SERCONFIG_S::serSettingsLabelDataBits},
    {data_bits_name[DATA_BITS_7], &SERCONFIG_S::serSettingsRadioData7},
    {data_bits_name[DATA_BITS_8], &SERCONFIG_S::serSettingsRadioData8},
    {"serSettingsLabelStopBits", &SERCONFIG_S::serSettingsLabelStopBits},
    {stop_bits_name[STOP_BITS_1], &SERCONFIG_S::serSettingsRadioStop1},
    {stop_bits_name[STOP_BITS_2], &SERCONFIG_S::serSettingsRadioStop2},
    {"serSettingsLabelParity", &SERCONFIG_S::serSettingsLabelParity},
    {"serSettingsComboParity", &SERCONFIG_S::serSettingsComboParity},
    {"serSettingsDialog_apply", &SERCONFIG_S::serSettingsButtonApply},
    {"serSettingsDialog_cancel", &SERCONFIG_S::serSettingsButtonCancel},
};

/// While the controls are set from the record, their changes mean nothing.
bool isLoading = false;

/// The port is being set by a thread, which alone reads what was chosen.
std::atomic<bool> isApplying{false};
SERCONFIG_S chosen{};
GtkWidget* progress = nullptr;

bool isUserAction() {
    return gtk_init_done && !isLoading && serConfig != nullptr;
}

void closeDialog() {
    if (serConfig == nullptr) {
        return;
    }
    SERCONFIG_S* closing = serConfig;
    serConfig = nullptr;
    Dialog_close(&closing->serSettingsDialog);
    free(closing);
}

void on_serSettingsComboSpeed_changed(GtkComboBox* combo, gpointer /*data*/) {
    const char* label = gtk_combo_box_get_active_id(combo);
    if (isUserAction() && label != nullptr) {
        serConfig->speed = SerialConfig_LabelToSpeed(label);
    }
}

void on_serSettingsComboParity_changed(GtkComboBox* combo, gpointer /*data*/) {
    const char* label = gtk_combo_box_get_active_id(combo);
    if (isUserAction() && label != nullptr) {
        serConfig->parity = SerialConfig_LabelToParity(label);
    }
}

/// True for the button of a pair that has been chosen; the one that is left tells its change, too.
bool isChosen(GtkToggleButton* button) {
    return isUserAction() && gtk_toggle_button_get_active(button) != FALSE;
}

void on_serSettingsRadioData_toggled(GtkToggleButton* button, gpointer /*data*/) {
    if (isChosen(button)) {
        const bool isEight = GTK_WIDGET(button) == serConfig->serSettingsRadioData8;
        serConfig->dataBits = isEight ? DATA_BITS_8 : DATA_BITS_7;
    }
}

void on_serSettingsRadioStop_toggled(GtkToggleButton* button, gpointer /*data*/) {
    if (isChosen(button)) {
        const bool isTwo = GTK_WIDGET(button) == serConfig->serSettingsRadioStop2;
        serConfig->stopBits = isTwo ? STOP_BITS_2 : STOP_BITS_1;
    }
}

void endApplying() {
    Dialog_close(&progress);
    isApplying = false;
}

/// Thread: a port takes new settings when it has sent what is queued, which may last for seconds.
void applyChosen() {
    // The port may have come, or changed how it is read, since the dialog was opened.
    termios settings = SerialConfig_portSettings();
    SerialConfig_TermiosPutSpeed(&settings, chosen.speed);
    SerialConfig_TermiosPutDataBits(&settings, static_cast<data_bits_t>(chosen.dataBits));
    SerialConfig_TermiosPutStopBits(&settings, static_cast<stop_bits_t>(chosen.stopBits));
    SerialConfig_TermiosPutParity(&settings, static_cast<parity_t>(chosen.parity));
    SerialPort_SetConfig(&settings); // a missing port takes the settings when it is opened
    writeConfigFile();
    const ScopedGdkLock lock;
    endApplying();
    flushDisplay();
}

/// The dialog stays open when its settings cannot be applied.
void on_serSettingsDialog_apply_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (!isUserAction()) {
        return;
    }
    isApplying = true;
    chosen = *serConfig;
    pthread_t thread{};
    if (Thread_start(&thread, "serialApply", applyChosen) != 0) {
        DIAGNOSTIC("Failed to start the thread that sets the serial port.\n");
        isApplying = false;
        return;
    }
    closeDialog();
    // The thread's end waits for the lock that is held here.
    progress = Dialog_showProgress("serProgress", "Applying the serial settings...");
}

void on_serSettingsDialog_cancel_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        closeDialog();
    }
}

gboolean on_serSettingsDialog_delete_event(GtkWidget* /*window*/, GdkEvent* /*event*/,
                                           gpointer /*data*/) {
    closeDialog();
    return TRUE;
}

void on_serialButton_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        SerialSettingsDialog_Create();
    }
}

const DialogHandler handlers[] = {
    {"on_serSettingsComboSpeed_changed", G_CALLBACK(on_serSettingsComboSpeed_changed)},
    {"on_serSettingsComboParity_changed", G_CALLBACK(on_serSettingsComboParity_changed)},
    {"on_serSettingsRadioData_toggled", G_CALLBACK(on_serSettingsRadioData_toggled)},
    {"on_serSettingsRadioStop_toggled", G_CALLBACK(on_serSettingsRadioStop_toggled)},
    {"on_serSettingsDialog_apply_clicked", G_CALLBACK(on_serSettingsDialog_apply_clicked)},
    {"on_serSettingsDialog_cancel_clicked", G_CALLBACK(on_serSettingsDialog_cancel_clicked)},
    {"on_serSettingsDialog_delete_event", G_CALLBACK(on_serSettingsDialog_delete_event)},
};

/// Takes the widgets into the record; false if one is missing.
bool findParts(GtkBuilder* builder) {
    bool isComplete = true;
    for (const Part& part : parts) {
        serConfig->*part.widget = Dialog_widget(builder, part.id);
        isComplete = isComplete && serConfig->*part.widget != nullptr;
    }
    return isComplete;
}

void setActive(GtkWidget* button) {
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(button), TRUE);
}

void loadControls() {
    const SERCONFIG_S& record = *serConfig;
    isLoading = true;
    gtk_combo_box_set_active_id(GTK_COMBO_BOX(record.serSettingsComboSpeed),
                                SerialConfig_SpeedToLabel(record.speed));
    gtk_combo_box_set_active_id(GTK_COMBO_BOX(record.serSettingsComboParity),
                                SerialConfig_ParityToLabel(static_cast<parity_t>(record.parity)));
    setActive(record.dataBits == DATA_BITS_8 ? record.serSettingsRadioData8
                                             : record.serSettingsRadioData7);
    setActive(record.stopBits == STOP_BITS_2 ? record.serSettingsRadioStop2
                                             : record.serSettingsRadioStop1);
    isLoading = false;
}

} // namespace

GtkWidget* SerialConfig_Dialog_ButtonCreate() {
    GtkWidget* button = newPictureButton("serialButton", "./resources/Serial.png", "Serial button");
    g_signal_connect(button, "clicked", G_CALLBACK(on_serialButton_clicked), nullptr);
    return button;
}

void initSerConfig() {
    serConfig = static_cast<SERCONFIG_S*>(calloc(1, sizeof *serConfig));
    if (serConfig == nullptr) {
        DIAGNOSTIC("%s: serConfig malloc failed\n", __func__);
        Process_leave(processStatusFatal);
    }
    termios& settings = serConfig->config;
    settings = SerialConfig_portSettings();
    serConfig->speed = SerialConfig_TermiosGetSpeed(&settings);
    serConfig->dataBits = SerialConfig_TermiosGetDataBits(&settings);
    serConfig->stopBits = SerialConfig_TermiosGetStopBits(&settings);
    serConfig->parity = SerialConfig_TermiosGetParity(&settings);
}

void SerialSettingsDialog_Create() {
    if (serConfig != nullptr || isApplying) {
        return;
    }
    initSerConfig();
    GtkBuilder* builder = Dialog_load(interfaceFile, handlers, std::size(handlers));
    const bool isComplete = builder != nullptr && findParts(builder);
    if (builder != nullptr) {
        g_object_unref(builder);
    }
    if (!isComplete) {
        closeDialog();
        return;
    }
    loadControls();
    Dialog_showAbove(serConfig->serSettingsDialog);
}
