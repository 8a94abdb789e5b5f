#ifndef BENCH_PRELOAD_SCREEN_H
#define BENCH_PRELOAD_SCREEN_H

#include <cstdio>

/// Writes every window and widget of the program, one a line; WORLD.md tells the columns. With a
/// wanted text only the windows, and the widgets that have it as their name, builder id or text:
/// much quicker. Main loop's thread, under the GDK lock. False when the program has no GTK.
bool Screen_list(FILE* output, const char* wanted);

/// Writes what the program's windows show as a PNG file, however its screen is made; nothing of it
/// can be wanted alone. The same rules hold.
bool Screen_picture(FILE* output, const char* wanted);

#endif
