#ifndef APP_CLOSE_WINDOW_H
#define APP_CLOSE_WINDOW_H

#include <gtk/gtk.h>

/// Closing the main window: sets `quit`, waits in steps of 1 s until no port reports a sensor, and
/// ends the GTK main loop, once however often it is called. The GDK lock is released while it
/// waits. Main thread, GDK lock held.
void closeAppWindow(GtkWidget* widget, gpointer data);

/// Handler of "delete_event": the window itself stays, since other threads draw on it.
gboolean CloseWindow_onDelete(GtkWidget* widget, GdkEvent* event, gpointer data);

/// True once the window is being destroyed; nobody may touch a screen from then on.
bool CloseWindow_isDestroyed();

/// Handler of "destroy".
void CloseWindow_onDestroy(GtkWidget* widget, gpointer data);

#endif
