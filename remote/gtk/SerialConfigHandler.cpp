#include "SerialConfigHandler.h"

#include "AppFlags.h"
#include "Configuration.h"
#include "DialogHelpers.h"
#include "GtkHelpers.h"
#include "Process.h"
#include "SerialConfig.h"
#include "SerialPort.h"
#include "message.h"

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

void on_serSettingsDialog_apply_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (!isUserAction()) {
        return;
    }
    termios& settings = serConfig->config;
    // The port may have come, or changed how it is read, since the dialog was opened.
    SerialPort_GetConfig(&settings);
    SerialConfig_TermiosPutSpeed(&settings, serConfig->speed);
    SerialConfig_TermiosPutDataBits(&settings, static_cast<data_bits_t>(serConfig->dataBits));
    SerialConfig_TermiosPutStopBits(&settings, static_cast<stop_bits_t>(serConfig->stopBits));
    SerialConfig_TermiosPutParity(&settings, static_cast<parity_t>(serConfig->parity));
    SerialPort_SetConfig(&settings); // a missing port takes the settings when it is opened
    writeConfigFile();
    closeDialog();
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

/// What is offered for a port that is not there.
termios presetSettings() {
    termios settings{};
    cfmakeraw(&settings);
    settings.c_cflag |= CREAD | CLOCAL;
    settings.c_cc[VMIN] = 1;
    SerialConfig_TermiosPutSpeed(&settings, B9600);
    SerialConfig_TermiosPutDataBits(&settings, DATA_BITS_8);
    return settings;
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
    if (SerialPort_GetConfig(&settings) != 0) {
        settings = presetSettings();
    }
    serConfig->speed = SerialConfig_TermiosGetSpeed(&settings);
    serConfig->dataBits = SerialConfig_TermiosGetDataBits(&settings);
    serConfig->stopBits = SerialConfig_TermiosGetStopBits(&settings);
    serConfig->parity = SerialConfig_TermiosGetParity(&settings);
}

void SerialSettingsDialog_Create() {
    if (serConfig != nullptr) {
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
