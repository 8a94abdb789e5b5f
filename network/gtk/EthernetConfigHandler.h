#ifndef NETWORK_ETHERNET_CONFIG_HANDLER_H
#define NETWORK_ETHERNET_CONFIG_HANDLER_H

#include <gtk/gtk.h>

/// The LAN dialogs: the addresses with which the interface runs, and its configuration. Main
/// thread, GDK lock held. The record ethConfig exists while one of them does, and until networking
/// has been restarted with new settings.

/// Their widgets; null while they are not on the screen.
struct EthernetDialogs {
    GtkWidget* ethInfoDialog;
    GtkWidget* ethInfoTable;
    GtkWidget* ethInfoLabelIP1;
    GtkWidget* ethInfoLabelIP2;
    GtkWidget* ethInfoLabelStaticIP1;
    GtkWidget* ethInfoLabelStaticIP2;
    GtkWidget* ethInfoMethod;
    GtkWidget* ethInfoNetmask;
    GtkWidget* ethInfoGateway;
    GtkWidget* ethInfoMac;
    GtkWidget* ethInfoLink;
    GtkWidget* ethInfoDialog_ok;
    GtkWidget* ethInfoDialog_configure;

    GtkWidget* ethSettingsDialog;
    GtkWidget* ethSettingsHbox;
    GtkWidget* ethSettingsTable;
    GtkWidget* ethSettingsLabelMethod;
    GtkWidget* ethSettingsRadioButton1; ///< DHCP
    GtkWidget* ethSettingsRadioButton2; ///< static
    GtkWidget* ethSettingsLabelAddress;
    GtkWidget* ethSettingsEntryAddress;
    GtkWidget* ethSettingsLabelNetmask;
    GtkWidget* ethSettingsEntryNetmask;
    GtkWidget* ethSettingsLabelGateway;
    GtkWidget* ethSettingsEntryGateway;
    GtkWidget* ethSettingsProblem; ///< says what is wrong with an entry
    GtkWidget* ethSettingsDialog_apply;
    GtkWidget* ethSettingsDialog_cancel;

    GtkWidget* ethProgress; ///< shown while networking is restarted
};
extern EthernetDialogs ethDialogs;

/// The top line's button that opens the information dialog.
GtkWidget* EthernetConfig_Dialog_ButtonCreate();

/// Opens the information dialog, which follows what it shows. While networking is being restarted,
/// or a LAN dialog is open, nothing.
void EthernetInfoDialog_Create();

/// Opens the settings dialog in place of the information dialog.
void EthernetSettingsDialog_Create();

#endif
