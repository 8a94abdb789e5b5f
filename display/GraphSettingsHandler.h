#ifndef DISPLAY_GRAPH_SETTINGS_HANDLER_H
#define DISPLAY_GRAPH_SETTINGS_HANDLER_H

#include "DialogHelpers.h"

#include <span>

/// What the widgets of the graph settings dialog call: the handlers that its interface file names,
/// the keypad, and the order of the entries. GDK lock held.

/// The handlers that the interface file names.
std::span<const DialogHandler> GraphSettingsHandler_handlers();

/// The entries in the order of the "Next" key: range, limits (each minimum first), count.
void initializeEntryOrder(GtkBuilder* builder);

/// Makes an entry the keypad's target, its whole text selected. The entry that is left is brought
/// into its limits.
void GraphSettingsHandler_setTarget(GtkWidget* entry);

/// Turns to the entry after the target, leaving out those that do not answer.
void setNextEntryWidget();

#endif
