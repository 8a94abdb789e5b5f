#ifndef UI_WARNING_DIALOG_H
#define UI_WARNING_DIALOG_H

#include <gtk/gtk.h>

#include <atomic>

/// A message box that any thread asks for and gtkThread puts up.
struct WarningDialog {
    std::atomic<bool> showSignal;  ///< a request to show it
    std::atomic<bool> closeSignal; ///< a request to close it
    GtkWidget* dialog;             ///< while it is on screen, else null
    GtkWindow* parent;             ///< the main window
    char message[100];
    const char* name; ///< of the widget
    bool hasButton;   ///< OK closes it
};

/// Clears both signals and the widget and copies the text, cut to what the message holds.
void WarningDialog_create(WarningDialog* warning, GtkWindow* parent, const char* text);

/// The same for a box that the user cannot close; `name` is its widget's and must stay.
void WarningDialog_createWithoutButton(WarningDialog* warning, GtkWindow* parent, const char* name,
                                       const char* text);

/// Ask for the box to be shown or closed; the later request counts. Any thread.
void WarningDialog_show(WarningDialog* warning);
void WarningDialog_close(WarningDialog* warning);

/// Does what was asked for and keeps a shown box above all other windows. A box that is already
/// there is not put up twice. gtkThread or main thread, GDK lock held.
void WarningDialog_handleState(WarningDialog* warning);

#endif
