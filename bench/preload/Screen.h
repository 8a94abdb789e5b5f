#ifndef BENCH_PRELOAD_SCREEN_H
#define BENCH_PRELOAD_SCREEN_H

#include <cstdio>

/// Writes every window and widget of the program, one a line; WORLD.md tells the columns. Main
/// loop's thread, under the GDK lock. False when the program has no GTK.
bool Screen_list(FILE* output);

/// The same without what takes the most time: the columns of colours and font are empty.
bool Screen_places(FILE* output);

/// Writes what the program's windows show as a PNG file, however its screen is made. The same rules
/// hold.
bool Screen_picture(FILE* output);

#endif
