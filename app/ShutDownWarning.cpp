#include "ShutDownWarning.h"

WarningDialog shutDownWarningDlg{};

void ShutDownWarning_create(GtkWindow* mainWindow) {
    WarningDialog_create(
        &shutDownWarningDlg, mainWindow,
        "Warning: Battery is critically low.\r\nConnect AC to continue operating.");
}
