#ifndef DISPLAY_GRAPH_SETTINGS_DIALOG_H
#define DISPLAY_GRAPH_SETTINGS_DIALOG_H

#include "gtkTimePowerGraph.h"

#include <gtk/gtk.h>

/// The dialog that a tap on a graph's axis title opens: power range, limit lines, direction and
/// averaging of that display's graph. Nothing is stored before Apply. While it is open the graph's
/// buttons do not answer; the readings go on. Main thread, GDK lock held.

/// Builds the dialog above `parent`, hidden, and has graphs open it. A failed load is logged, and
/// there is no dialog then.
void graphSettingsDialog_Create(GtkWindow* parent);

/// Fills the dialog for a graph and shows it.
void graphSettingsDialog_Show(CGTKTimePowerGraph* graph);

/// Fills the dialog from the settings of the graph's display.
void GraphSettingsDialog_setParameters(CGTKTimePowerGraph* graph);

/// The dialog's Cancel: takes it away, and nothing is stored.
void cancelButtonClicked(GtkWidget* button, gpointer data);

#endif
