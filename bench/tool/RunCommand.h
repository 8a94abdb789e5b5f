#ifndef BENCH_TOOL_RUN_COMMAND_H
#define BENCH_TOOL_RUN_COMMAND_H

#include "RunOptions.h"

/// Makes a world, plays its hardware and runs the program in it until the program or the user ends.
/// Returns the program's exit status, 128 and the signal's number when a signal ended it, 0 when
/// the user ended the bench, 1 when the bench could not start.
int RunCommand_run(const RunOptions& options);

#endif
