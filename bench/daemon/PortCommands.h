#ifndef BENCH_DAEMON_PORT_COMMANDS_H
#define BENCH_DAEMON_PORT_COMMANDS_H

#include <string>
#include <string_view>
#include <vector>

struct BenchHardware;

/// Commands that plug, change and break sensors.

using CommandWords = std::vector<std::string_view>;

/// What a command says: text of the answer, or why it was refused.
struct CommandOutcome {
    bool isRefused;
    std::string text;
};
CommandOutcome CommandOutcome_accept(std::string text = {});
CommandOutcome CommandOutcome_refuse(std::string text);
std::string CommandOutcome_quoted(std::string_view word);

/// Each takes its own name as the first word; the number of words has been checked.
CommandOutcome PortCommands_plug(BenchHardware& hardware, const CommandWords& words);
CommandOutcome PortCommands_unplug(BenchHardware& hardware, const CommandWords& words);
CommandOutcome PortCommands_replug(BenchHardware& hardware, const CommandWords& words);
CommandOutcome PortCommands_set(BenchHardware& hardware, const CommandWords& words);
CommandOutcome PortCommands_fault(BenchHardware& hardware, const CommandWords& words);
CommandOutcome PortCommands_log(BenchHardware& hardware, const CommandWords& words);

/// A line per port.
std::string PortCommands_status(BenchHardware& hardware);

#endif
