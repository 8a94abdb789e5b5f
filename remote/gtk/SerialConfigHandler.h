#ifndef REMOTE_SERIAL_CONFIG_HANDLER_H
#define REMOTE_SERIAL_CONFIG_HANDLER_H

#include <gtk/gtk.h>

#include <cstdint>
#include <termios.h>

/// The dialog that changes speed, data bits, stop bits and parity of the serial command port. They
/// are applied by a thread of its own, which shows that it is at work. Main thread, GDK lock held.

/// The settings that are being edited, and the dialog's widgets.
struct serConfig {
    termios config; ///< of the port when the dialog was opened
    speed_t speed;  ///< a terminal speed code
    int8_t dataBits;
    int8_t stopBits;
    int8_t parity;
    GtkWidget* serSettingsDialog;
    GtkWidget* serSettingsVbox;
    GtkWidget* serSettingsActionArea;
    GtkWidget* serSettingsTable;
    GtkWidget* serSettingsLabelSpeed;
    GtkWidget* serSettingsComboSpeed;
    GtkWidget* serSettingsLabelDataBits;
    GtkWidget* serSettingsRadioData7;
    GtkWidget* serSettingsRadioData8;
    GtkWidget* serSettingsLabelStopBits;
    GtkWidget* serSettingsRadioStop1;
    GtkWidget* serSettingsRadioStop2;
    GtkWidget* serSettingsLabelParity;
    GtkWidget* serSettingsComboParity;
    GtkWidget* serSettingsButtonApply;
    GtkWidget* serSettingsButtonCancel;
};
using SERCONFIG_S = struct serConfig;

/// Present while the dialog exists, else null.
extern SERCONFIG_S* serConfig;

/// The top line's button that opens the dialog.
GtkWidget* SerialConfig_Dialog_ButtonCreate();

/// Makes the record with the port's settings, or with those that a port that is gone will have;
/// ends the process if there is no memory.
void initSerConfig();

/// Opens the dialog, with a new record; one that is open stays. Nothing while settings are still
/// being applied.
void SerialSettingsDialog_Create();

#endif
