#include "BenchCommands.h"

#include "BenchClock.h"
#include "BenchFaults.h"
#include "BenchHardware.h"
#include "BenchText.h"
#include "DiskCommand.h"
#include "PortCommands.h"
#include "WorldFolder.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <vector>

namespace {

CommandOutcome status(BenchHardware& hardware, const CommandWords&) {
    std::string text = "world: " + hardware.world + "\n";
    const std::string pid = WorldFolder_readFile(hardware.world + "/program.pid");
    text += "program: " + (pid.empty() ? "not running\n" : pid);
    text += std::string("machine: ") + (hardware.machine.isOff ? "off\n" : "on\n");
    const BenchClockReading clock = BenchClock_read(*hardware.clock);
    text += BenchText_format("clock: speed=%g ahead=%.3fs\n", clock.speed,
                             static_cast<double>(clock.ahead_ns + clock.wallOffset_ns) / 1e9);
    return CommandOutcome_accept(text + PortCommands_status(hardware) +
                                 Supply_describe(hardware.supply) + DiskCommand_status(hardware) +
                                 Lan_describe(hardware.machine.lan));
}

CommandOutcome battery(BenchHardware& hardware, const CommandWords& words) {
    const int64_t now = BenchHardware_now_ns(hardware);
    if (words[1] == "drain" && words.size() == 3) {
        const auto time_s = BenchText_duration_s(words[2]);
        if (!time_s || *time_s <= 0) {
            return CommandOutcome_refuse(CommandOutcome_quoted(words[2]) +
                                         " is not a time such as 60s");
        }
        Supply_drain(hardware.supply, *time_s, now);
        return CommandOutcome_accept();
    }
    std::string error;
    if (words[1] == "remove" && words.size() == 2) {
        Supply_set(hardware.supply, "state", "missing", now, error);
        return CommandOutcome_accept();
    }
    for (size_t at = 1; at < words.size(); ++at) {
        const auto pair = BenchText_split(words[at], '=');
        if (pair.size() != 2) {
            return CommandOutcome_refuse(CommandOutcome_quoted(words[at]) +
                                         " is not KEY=VALUE, drain TIME or remove");
        }
        if (!Supply_set(hardware.supply, pair[0], pair[1], now, error)) {
            return CommandOutcome_refuse(error);
        }
    }
    return CommandOutcome_accept();
}

CommandOutcome lan(BenchHardware& hardware, const CommandWords& words) {
    std::string error;
    for (size_t at = 1; at < words.size(); ++at) {
        const auto pair = BenchText_split(words[at], '=');
        if (pair.size() != 2) {
            return CommandOutcome_refuse(CommandOutcome_quoted(words[at]) + " is not KEY=VALUE");
        }
        if (!Lan_set(hardware.machine.lan, pair[0], pair[1], error)) {
            return CommandOutcome_refuse(error);
        }
    }
    return CommandOutcome_accept();
}

CommandOutcome externalPower(BenchHardware& hardware, const CommandWords& words) {
    if (words[1] != "on" && words[1] != "off") {
        return CommandOutcome_refuse(CommandOutcome_quoted(words[1]) + " is not on or off");
    }
    Supply_setExternalPower(hardware.supply, words[1] == "on");
    return CommandOutcome_accept();
}

CommandOutcome stop(BenchHardware& hardware, const CommandWords&) {
    hardware.isToldToEnd = true;
    return CommandOutcome_accept();
}

CommandOutcome pressSwitch(BenchHardware& hardware, const CommandWords& words) {
    if (words.size() == 1) {
        Supply_pressSwitch(hardware.supply);
    } else if (words[1] == "down" || words[1] == "up") {
        Supply_holdSwitch(hardware.supply, words[1] == "down");
    } else {
        return CommandOutcome_refuse(CommandOutcome_quoted(words[1]) + " is not down or up");
    }
    return CommandOutcome_accept();
}

CommandOutcome removeFile(BenchHardware& hardware, const CommandWords& words) {
    const std::string path = WorldFolder_path(hardware.world, std::string(words[1]));
    const bool isInside =
        words[1].starts_with('/') && words[1].find("..") == std::string_view::npos;
    if (!isInside || !WorldFolder_remove(path)) {
        return CommandOutcome_refuse("the instrument has no " + CommandOutcome_quoted(words[1]));
    }
    return CommandOutcome_accept();
}

CommandOutcome freeze(BenchHardware& hardware, const CommandWords& words) {
    constexpr size_t longestName = 15;
    const char* const world = hardware.world.c_str();
    if (words[1] == "none") {
        return BenchFaults_remove(world, BenchFault::freeze)
                   ? CommandOutcome_accept()
                   : CommandOutcome_refuse("the faults of the world cannot be written");
    }
    if (words[1].size() > longestName) {
        return CommandOutcome_refuse(CommandOutcome_quoted(words[1]) +
                                     " is no name of a thread in process listings");
    }
    return BenchFaults_add(world, BenchFault::freeze, words[1], 1)
               ? CommandOutcome_accept()
               : CommandOutcome_refuse("too much is broken already");
}

CommandOutcome clock(BenchHardware& hardware, const CommandWords& words) {
    if (words[1] == "step") {
        const auto step_s = BenchText_duration_s(words[2]);
        if (!step_s) {
            return CommandOutcome_refuse(CommandOutcome_quoted(words[2]) +
                                         " is not a time such as 1h or -30s");
        }
        return BenchClock_stepWall(hardware.world.c_str(), static_cast<int64_t>(*step_s * 1e9))
                   ? CommandOutcome_accept()
                   : CommandOutcome_refuse("the clock cannot be written");
    }
    if (words[1] == "speed") {
        const auto speed = BenchText_number(words[2]);
        return speed && BenchClock_setSpeed(hardware.world.c_str(), *speed)
                   ? CommandOutcome_accept()
                   : CommandOutcome_refuse(CommandOutcome_quoted(words[2]) +
                                           " is not a speed from 0.01 to 1000");
    }
    return CommandOutcome_refuse("unknown clock command " + CommandOutcome_quoted(words[1]) +
                                 ": there are step and speed");
}

struct Command {
    std::string_view name;
    size_t leastWords; ///< the name included
    size_t mostWords;
    CommandOutcome (*run)(BenchHardware&, const CommandWords&);
    const char* usage;
    const char* help;
};

constexpr size_t anyNumber = 100;

constexpr std::array<Command, 16> commands{{
    {"plug", 3, anyNumber, PortCommands_plug, "plug PORT MODEL [KEY=VALUE...]", "plug a sensor in"},
    {"unplug", 2, 2, PortCommands_unplug, "unplug PORT", "pull it"},
    {"replug", 2, 3, PortCommands_replug, "replug PORT [TIME]", "pull it and put it back"},
    {"set", 3, anyNumber, PortCommands_set, "set PORT KEY=VALUE...",
     "change what it measures or is"},
    {"fault", 3, 3, PortCommands_fault, "fault PORT NAME", "break it; none mends it"},
    {"log", 2, 4, PortCommands_log, "log PORT [--last N | --follow]",
     "bytes both ways with their times"},
    {"status", 1, 1, status, "status", "what is plugged in, and how it is doing"},
    {"battery", 2, anyNumber, battery, "battery KEY=VALUE... | drain TIME | remove",
     "the battery; fail=0.3 lets its files fail"},
    {"ac", 2, 2, externalPower, "ac on | off", "external power"},
    {"lan", 2, anyNumber, lan, "lan KEY=VALUE...",
     "the wired network: link=up|down, mac=TEXT, lease=ADDRESS/NETMASK"},
    {"switch", 1, 2, pressSwitch, "switch [down | up]", "press the power switch, or hold it"},
    {"remove", 2, 2, removeFile, "remove PATH", "take a device or file away, such as /dev/ttyS4"},
    {"disk", 2, 2, DiskCommand_run, "disk slow=TIME | full | none",
     "the disk: how long a flush takes, and whether there is room"},
    {"freeze", 2, 2, freeze, "freeze THREAD | none",
     "let a thread of the program stand still, such as hwPolling"},
    {"clock", 3, 3, clock, "clock step TIME | clock speed FACTOR", "the program's time"},
    {"stop", 1, 1, stop, "stop [--all]", "end the bench; --all: all benches of this user"},
}};

CommandOutcome dispatch(BenchHardware& hardware, const CommandWords& words) {
    if (words.empty()) {
        return CommandOutcome_refuse("no command");
    }
    const auto* command = std::ranges::find(commands, words[0], &Command::name);
    if (command == commands.end()) {
        std::vector<std::string> names;
        names.reserve(commands.size());
        for (const Command& known : commands) {
            names.emplace_back(known.name);
        }
        return CommandOutcome_refuse("unknown command " + CommandOutcome_quoted(words[0]) +
                                     ": there are " + BenchText_list(names));
    }
    if (words.size() < command->leastWords || words.size() > command->mostWords) {
        return CommandOutcome_refuse(std::string("usage: ") + command->usage);
    }
    return command->run(hardware, words);
}

} // namespace

std::string BenchCommands_run(BenchHardware& hardware, std::string_view line) {
    const CommandOutcome outcome = dispatch(hardware, BenchText_words(line));
    return outcome.isRefused ? "error " + outcome.text + "\n" : "ok\n" + outcome.text;
}

std::string BenchCommands_help() {
    std::string text;
    for (const Command& command : commands) {
        text += BenchText_format("  %-40s %s\n", command.usage, command.help);
    }
    return text;
}

bool BenchCommands_knows(std::string_view name) {
    return std::ranges::find(commands, name, &Command::name) != commands.end();
}
