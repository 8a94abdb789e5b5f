#ifndef UI_ABOUT_HANDLER_H
#define UI_ABOUT_HANDLER_H

#include <gtk/gtk.h>

/// The buttons of the About dialogs, and the one that opens them. They do nothing before start-up
/// has finished. Main thread, GDK lock held.

/// The top line's button that opens the dialog.
GtkWidget* about_Dialog_ButtonCreate();

/// Open one of the dialogs; the viewers take the place of each other.
void aboutDialog_Create();
void aboutDialogRegulatory_Create();
void aboutDialogLicense_Create();

#endif
