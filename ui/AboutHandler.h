#ifndef UI_ABOUT_HANDLER_H
#define UI_ABOUT_HANDLER_H

#include "DialogHelpers.h"

#include <span>

/// The signal handlers that the About dialogs' interface files name. They do nothing before
/// start-up has finished.
std::span<const DialogHandler> AboutHandler_handlers();

/// "clicked" of the About button.
void on_aboutButton_clicked(GtkWidget* button, gpointer data);

#endif
