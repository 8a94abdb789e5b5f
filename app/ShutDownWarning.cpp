#include "ShutDownWarning.h"

#include "AppFlags.h"

WarningDialog shutDownWarningDlg{};
WarningDialog switchingOffDlg{};

void ShutDownWarning_create(GtkWindow* mainWindow) {
    WarningDialog_create(
        &shutDownWarningDlg, mainWindow,
        "Warning: Battery is critically low.\r\nConnect AC to continue operating.");
    WarningDialog_createWithoutButton(&switchingOffDlg, mainWindow, "switchingOff",
                                      "Switching off...");
}

void ShutDownWarning_handleState() {
    if (quit) {
        WarningDialog_close(&shutDownWarningDlg);
        WarningDialog_show(&switchingOffDlg);
    }
    WarningDialog_handleState(&shutDownWarningDlg);
    WarningDialog_handleState(&switchingOffDlg);
}
