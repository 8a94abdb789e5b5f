#ifndef DISPLAY_GRAPH_SETTINGS_KEYPAD_H
#define DISPLAY_GRAPH_SETTINGS_KEYPAD_H

#include "DialogHelpers.h"

#include <span>

/// The numeric keypad of the graph settings dialog, and the order of the entries that it types
/// into. GDK lock held.

/// The handlers of keys and entries that the interface file names.
std::span<const DialogHandler> GraphSettingsKeypad_handlers();

/// The entries in the order of the "Next" key: range, limits (each minimum first), count.
/// `leaveEntry` is called with an entry that is no longer the target.
void initializeEntryOrder(GtkBuilder* builder, void (*leaveEntry)(GtkWidget* entry));

/// Makes an entry the keypad's target, its whole text selected; null ends it.
void GraphSettingsKeypad_setTarget(GtkWidget* entry);

/// Turns to the entry after the target, leaving out those that do not answer.
void setNextEntryWidget();

/// A target that no longer answers gives way to the next entry.
void GraphSettingsKeypad_keepTargetUsable();

/// The first entry that answers and holds no number; null when there is none.
GtkWidget* GraphSettingsKeypad_emptyEntry();

#endif
