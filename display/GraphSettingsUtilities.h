#ifndef DISPLAY_GRAPH_SETTINGS_UTILITIES_H
#define DISPLAY_GRAPH_SETTINGS_UTILITIES_H

#include "GraphText.h"

#include <gtk/gtk.h>

#include <cstdint>

/// Numbers in the entries of the graph settings dialog. GDK lock held.

/// Number in an entry; a text that is none, or no finite one, is 0.
double GraphSettingsUtilities_entryValue(GtkEntry* entry);

/// Puts a number into an entry as formatValueForEntry of GraphText.h writes it.
void formatValueForEntry(GtkEntry* entry, double value, uint32_t digits);

/// The same, but a value between -1 and 0 keeps its sign, so that a shown value reads back as
/// itself.
void GraphSettingsUtilities_showValue(GtkEntry* entry, double value, uint32_t digits);

/// Brings the number in an entry into [min, max] and writes it back.
void validateEntry(GtkEntry* entry, uint32_t digits, double min, double max);

#endif
