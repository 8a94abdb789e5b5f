#ifndef FLEET_TOOL_LOG_COMMAND_H
#define FLEET_TOOL_LOG_COMMAND_H

#include "MeterAddress.h"

#include <cstdint>
#include <string>
#include <vector>

struct LogOptions {
    std::vector<MeterAddress> meters;
    int64_t every_ms = 1000; ///< between rows
    int64_t poll_ms = 0;     ///< between polls, at most every_ms
    int64_t duration_ms = 0; ///< 0: until it is ended
    std::string path = "-";
    bool holds = false;
};

/// Logs until the time is over, or SIGINT or SIGTERM comes. Returns the exit status.
int LogCommand_run(const LogOptions& options);

#endif
