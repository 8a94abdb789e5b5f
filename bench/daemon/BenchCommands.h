#ifndef BENCH_DAEMON_BENCH_COMMANDS_H
#define BENCH_DAEMON_BENCH_COMMANDS_H

#include <string>
#include <string_view>

struct BenchHardware;

/// The commands of a running bench, as a table.

/// Runs one line. The answer is "ok\n" and lines of text, or "error TEXT\n".
std::string BenchCommands_run(BenchHardware& hardware, std::string_view line);

/// One line of help per command.
std::string BenchCommands_help();

/// True when the daemon, not the tool itself, knows the command.
bool BenchCommands_knows(std::string_view name);

#endif
