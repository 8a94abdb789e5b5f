#ifndef APP_SHUT_DOWN_WARNING_H
#define APP_SHUT_DOWN_WARNING_H

#include "WarningDialog.h"

/// The critically low battery's warning: batteryThread asks for it, gtkThread puts it up.
extern WarningDialog shutDownWarningDlg;

/// Creates the warning on the main window. Main thread.
void ShutDownWarning_create(GtkWindow* mainWindow);

#endif
