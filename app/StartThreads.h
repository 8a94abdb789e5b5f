#ifndef APP_START_THREADS_H
#define APP_START_THREADS_H

/// The steps of start-up that begin the program's threads. A thread that cannot be started is
/// logged and ends the process with status -1. Main thread, once each.

/// Starts gtkThread and waits until it has held the GDK lock for the first time.
void StartThreads_startGui();

/// Creates the graph buffer of both display slots from the settings; screens and ports stay as
/// gtkThread has set them.
void StartThreads_createDisplaySlots();

/// Starts the worker threads, in their fixed order.
void StartThreads_startWorkers();

#endif
