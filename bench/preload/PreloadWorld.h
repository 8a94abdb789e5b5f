#ifndef BENCH_PRELOAD_PRELOAD_WORLD_H
#define BENCH_PRELOAD_PRELOAD_WORLD_H

#include <cstddef>

/// The world that this process lives in.

/// The world's folder, or null when the process has none (QUORVEL_BENCH is not set, or the process
/// has not come far enough to know its environment). The first call enters the world: "%p" in the
/// variable becomes the process number, for children too, and the folder is made.
const char* PreloadWorld_folder();

/// The same, but null until the world has been entered: for callers that may not allocate.
const char* PreloadWorld_enteredFolder();

/// "<folder>/<name>" into `path`; false when there is no world or the path is too long.
bool PreloadWorld_file(char* path, size_t size, const char* name);

/// Appends "<prefix><text>" as one line to a file of the world in one write, so that processes and
/// threads do not mix; line ends inside the text are written as "\n". errno is kept.
void PreloadWorld_appendLine(const char* name, const char* prefix, const char* text);

/// Removes the world if this process made it for itself.
void PreloadWorld_leave();

#endif
