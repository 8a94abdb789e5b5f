#ifndef DISPLAY_PULSE_CONFIG_DIALOG_H
#define DISPLAY_PULSE_CONFIG_DIALOG_H

#include "PulseConfigForm.h"

#include <gtk/gtk.h>

#include <cstdint>

/// The dialog in which a USB sensor's pulse configuration is edited, checked, sent and stored: one
/// for sensors without triggered states and one for sensors with them. The readings go on while it
/// is open. Main thread, GDK lock held.

extern PULSE_CONFIG_DIALOG gPulseConfigDlg3163;
extern PULSE_CONFIG_DIALOG gPulseConfigDlg3164;

enum PulseConfigDialogForm : int { pulseConfigForm3163 = 0, pulseConfigForm3164 = 1 };

/// Builds a dialog, hidden, and has the pulse screens' configuration buttons open it. A failed load
/// is logged, and there is no dialog then. At start-up, after the screens.
void pulseConfigDialog_Create(PULSE_CONFIG_DIALOG& dialog, int form);

/// The two forms.
void createPulseConfigDisplay3163(PULSE_CONFIG_DIALOG* dialog);
void createPulseConfigDisplay3164(PULSE_CONFIG_DIALOG* dialog);

/// Fills the form that fits the port's sensor with its configuration and shows it. The dialog
/// belongs to that sensor: once it has gone, only Cancel answers.
void pulseConfigDialog_Show(uint32_t port);

/// True when the configuration as it was read is valid. Otherwise the first failed rule is told in
/// an error dialog and the keypad turns to the entry that it is about.
bool validatePulseConfiguration3163(PULSE_CONFIG_DIALOG* dialog);
bool validatePulseConfiguration3164(PULSE_CONFIG_DIALOG* dialog);

/// Shows a text that the user has to confirm.
void showErrorDialog(PULSE_CONFIG_DIALOG* dialog, const char* text);

/// Restore, Apply, Apply and store, Cancel; `data` is the dialog. Apply turns the keypad to an
/// entry that was left empty, and sends nothing then. Otherwise it returns at once: the
/// configuration is sent by a thread of its own, and the dialog closes when no error came back.
void callbackPulseConfigBtnClicked(GtkWidget* button, gpointer data);

#endif
