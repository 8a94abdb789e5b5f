#ifndef APP_GTK_START_H
#define APP_GTK_START_H

/// Starts GTK for a touch instrument: the GDK lock, the "C" locale whatever the desktop's is, no
/// multi-device input, no accessibility bridge unless one is asked for, the simple input method,
/// and a drag threshold that no finger reaches. Main thread, once.
void GtkStart_initialize(int* argc, char*** argv);

#endif
