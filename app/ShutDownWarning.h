#ifndef APP_SHUT_DOWN_WARNING_H
#define APP_SHUT_DOWN_WARNING_H

#include "WarningDialog.h"

/// What the screen says about switching off.

/// The critically low battery's warning: batteryThread asks for it, gtkThread puts it up.
extern WarningDialog shutDownWarningDlg;

/// The instrument is being switched off; nothing takes that back, so the box has no button.
extern WarningDialog switchingOffDlg;

/// Creates both on the main window. Main thread.
void ShutDownWarning_create(GtkWindow* mainWindow);

/// Puts up and takes away what was asked for. Once the instrument is being switched off, that
/// stands above all else, and nothing asks for external power any more, which would not help.
/// gtkThread, GDK lock held.
void ShutDownWarning_handleState();

#endif
