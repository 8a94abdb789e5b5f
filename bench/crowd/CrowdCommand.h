#ifndef BENCH_CROWD_CROWD_COMMAND_H
#define BENCH_CROWD_CROWD_COMMAND_H

#include <string>
#include <vector>

/// "quorvel-bench crowd N OPTION...": plays a crowd until SIGINT or SIGTERM. `words` stand behind
/// "crowd". False with the reason.
bool CrowdCommand_run(const std::vector<std::string>& words, std::string& error);

#endif
