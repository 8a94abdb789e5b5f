#ifndef BENCH_DAEMON_DISK_COMMAND_H
#define BENCH_DAEMON_DISK_COMMAND_H

#include "PortCommands.h"

/// The disk that keeps the instrument's files: slow, or full.

/// "disk slow=TIME", "disk full" or "disk none".
CommandOutcome DiskCommand_run(BenchHardware& hardware, const CommandWords& words);

/// One line.
std::string DiskCommand_status(const BenchHardware& hardware);

#endif
