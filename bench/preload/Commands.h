#ifndef BENCH_PRELOAD_COMMANDS_H
#define BENCH_PRELOAD_COMMANDS_H

/// True for a program that must never run from within a world: what switches the machine off or
/// changes its network, and what would start such a program behind this library's back. `file` is a
/// path or a name.
bool Commands_isForbidden(const char* file);

/// Writes the command down, its words joined by blanks.
void Commands_record(const char* file, char* const arguments[]);

/// What runs in place of a forbidden program; it does nothing and succeeds.
constexpr const char* harmlessProgram = "/bin/true";

#endif
