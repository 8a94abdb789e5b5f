#include "BenchCommands.h"

#include "BenchClock.h"
#include "BenchDaemon.h"
#include "BenchText.h"
#include "WorldFolder.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <vector>

namespace {

using Words = std::vector<std::string_view>;

struct Outcome {
    bool isRefused;
    std::string text;
};

Outcome accept(std::string text = {}) {
    return {false, std::move(text)};
}

Outcome refuse(std::string text) {
    return {true, std::move(text)};
}

std::string quoted(std::string_view word) {
    return "'" + std::string(word) + "'";
}

constexpr std::array<const char*, 2> portNames = {"serial1", "serial2"};

SerialPortPlayer* findPort(BenchDaemon& daemon, std::string_view name) {
    const auto* found = std::ranges::find(portNames, name);
    return found == portNames.end()
               ? nullptr
               : &daemon.serial.at(static_cast<size_t>(found - portNames.begin()));
}

Outcome unknownPort(std::string_view name) {
    return refuse("unknown port " + quoted(name) + ": there are " +
                  BenchText_list({portNames.begin(), portNames.end()}));
}

Outcome emptyPort(std::string_view name) {
    return refuse(std::string(name) + " has no sensor: plug one first");
}

Outcome unknownModel(std::string_view name) {
    std::vector<std::string> models;
    for (const Model513x& model : Sensor513x_models()) {
        models.emplace_back(model.name);
    }
    return refuse("unknown model " + quoted(name) + ": a serial port takes " +
                  BenchText_list(models));
}

/// Applies "key=value" words; `baud` belongs to the wire, not to the sensor.
std::optional<std::string> applyKeys(Sensor513x& sensor, double& baud, const Words& words,
                                     size_t first, int64_t now_ns) {
    for (size_t at = first; at < words.size(); ++at) {
        const size_t equals = words[at].find('=');
        if (equals == std::string_view::npos) {
            return quoted(words[at]) + " is not KEY=VALUE";
        }
        const auto key = words[at].substr(0, equals);
        const auto value = words[at].substr(equals + 1);
        if (key == "baud") {
            const auto number = value == "unlimited" ? std::optional(0.0) : BenchText_number(value);
            if (!number || *number < 0) {
                return "baud: " + quoted(value) + " is not a speed or unlimited";
            }
            baud = *number;
            continue;
        }
        std::string error;
        if (!Sensor513x_set(sensor, key, value, now_ns, error)) {
            return error;
        }
    }
    return std::nullopt;
}

Outcome plug(BenchDaemon& daemon, const Words& words) {
    SerialPortPlayer* player = findPort(daemon, words[1]);
    if (player == nullptr) {
        return unknownPort(words[1]);
    }
    auto sensor = Sensor513x_create(words[2]);
    if (!sensor) {
        return unknownModel(words[2]);
    }
    const int64_t now = BenchDaemon_now_ns(daemon);
    double baud = player->baud;
    if (const auto error = applyKeys(*sensor, baud, words, 3, now)) {
        return refuse(*error);
    }
    player->baud = baud;
    SerialPortPlayer_plug(*player, std::move(*sensor), now);
    return accept();
}

Outcome unplug(BenchDaemon& daemon, const Words& words) {
    SerialPortPlayer* player = findPort(daemon, words[1]);
    if (player == nullptr) {
        return unknownPort(words[1]);
    }
    if (!player->sensor) {
        return emptyPort(words[1]);
    }
    SerialPortPlayer_unplug(*player, BenchDaemon_now_ns(daemon));
    return accept();
}

Outcome set(BenchDaemon& daemon, const Words& words) {
    SerialPortPlayer* player = findPort(daemon, words[1]);
    if (player == nullptr) {
        return unknownPort(words[1]);
    }
    if (!player->sensor) {
        return emptyPort(words[1]);
    }
    const int64_t now = BenchDaemon_now_ns(daemon);
    Sensor513x changed = *player->sensor;
    double baud = player->baud;
    if (const auto error = applyKeys(changed, baud, words, 2, now)) {
        return refuse(*error);
    }
    player->sensor = std::move(changed);
    player->baud = baud;
    SerialPortPlayer_refreshCurrent(*player, now);
    return accept();
}

Outcome fault(BenchDaemon& daemon, const Words& words) {
    SerialPortPlayer* player = findPort(daemon, words[1]);
    if (player == nullptr) {
        return unknownPort(words[1]);
    }
    const auto* found = std::ranges::find(serialFaultNames, words[2]);
    if (found == serialFaultNames.end()) {
        return refuse("unknown fault " + quoted(words[2]) + ": a serial sensor has " +
                      BenchText_list({serialFaultNames.begin(), serialFaultNames.end()}));
    }
    if (!player->sensor) {
        return emptyPort(words[1]);
    }
    SerialPortPlayer_setFault(*player, static_cast<SerialFault>(found - serialFaultNames.begin()),
                              BenchDaemon_now_ns(daemon));
    return accept();
}

Outcome log(BenchDaemon& daemon, const Words& words) {
    const SerialPortPlayer* player = findPort(daemon, words[1]);
    if (player == nullptr) {
        return unknownPort(words[1]);
    }
    uint64_t after = 0;
    if (words.size() > 2) {
        const auto number = BenchText_number(words[2]);
        if (!number || *number < 0) {
            return refuse(quoted(words[2]) + " is not the number of an entry");
        }
        after = static_cast<uint64_t>(*number);
    }
    return accept(WireLog_text(player->log, after, false));
}

std::string portStatus(BenchDaemon& daemon, size_t port, int64_t now_ns) {
    SerialPortPlayer& player = daemon.serial.at(port);
    const std::string device = port == 0 ? "ttyS1" : "ttyS2";
    std::string line = WorldFolder_readFile(daemon.world + "/tty/" + device);
    std::erase(line, '\n');
    std::string text = std::string(portNames.at(port)) + ": ";
    text += player.sensor ? Sensor513x_describe(*player.sensor, now_ns) : "no sensor";
    text += BenchText_format(" fault=%s line=\"%s\" baud=%g sent=%llu received=%llu\n",
                             serialFaultNames.at(player.fault), line.c_str(), player.baud,
                             static_cast<unsigned long long>(player.log.bytesFromSensor),
                             static_cast<unsigned long long>(player.log.bytesToSensor));
    return text;
}

Outcome status(BenchDaemon& daemon, const Words&) {
    const int64_t now = BenchDaemon_now_ns(daemon);
    std::string text = "world: " + daemon.world + "\n";
    const std::string pid = WorldFolder_readFile(daemon.world + "/program.pid");
    text += "program: " + (pid.empty() ? "not running\n" : pid);
    const BenchClockReading clock = BenchClock_read(*daemon.clock);
    text += BenchText_format("clock: speed=%g ahead=%gs\n", clock.speed,
                             static_cast<double>(clock.ahead_ns + clock.wallOffset_ns) / 1e9);
    for (size_t port = 0; port < daemon.serial.size(); ++port) {
        text += portStatus(daemon, port, now);
    }
    return accept(text + Supply_describe(daemon.supply));
}

Outcome battery(BenchDaemon& daemon, const Words& words) {
    const int64_t now = BenchDaemon_now_ns(daemon);
    if (words[1] == "drain" && words.size() == 3) {
        const auto time_s = BenchText_duration_s(words[2]);
        if (!time_s || *time_s <= 0) {
            return refuse(quoted(words[2]) + " is not a time such as 60s");
        }
        Supply_drain(daemon.supply, *time_s, now);
        return accept();
    }
    std::string error;
    if (words[1] == "remove" && words.size() == 2) {
        Supply_set(daemon.supply, "state", "missing", now, error);
        return accept();
    }
    for (size_t at = 1; at < words.size(); ++at) {
        const auto pair = BenchText_split(words[at], '=');
        if (pair.size() != 2) {
            return refuse(quoted(words[at]) + " is not KEY=VALUE, drain TIME or remove");
        }
        if (!Supply_set(daemon.supply, pair[0], pair[1], now, error)) {
            return refuse(error);
        }
    }
    return accept();
}

Outcome externalPower(BenchDaemon& daemon, const Words& words) {
    if (words[1] != "on" && words[1] != "off") {
        return refuse(quoted(words[1]) + " is not on or off");
    }
    Supply_setExternalPower(daemon.supply, words[1] == "on");
    return accept();
}

Outcome pressSwitch(BenchDaemon& daemon, const Words&) {
    Supply_pressSwitch(daemon.supply);
    return accept();
}

Outcome clock(BenchDaemon& daemon, const Words& words) {
    if (words[1] == "step") {
        const auto step_s = BenchText_duration_s(words[2]);
        if (!step_s) {
            return refuse(quoted(words[2]) + " is not a time such as 1h or -30s");
        }
        return BenchClock_stepWall(daemon.world.c_str(), static_cast<int64_t>(*step_s * 1e9))
                   ? accept()
                   : refuse("the clock cannot be written");
    }
    if (words[1] == "speed") {
        const auto speed = BenchText_number(words[2]);
        return speed && BenchClock_setSpeed(daemon.world.c_str(), *speed)
                   ? accept()
                   : refuse(quoted(words[2]) + " is not a speed from 0.01 to 1000");
    }
    return refuse("unknown clock command " + quoted(words[1]) + ": there are step and speed");
}

struct Command {
    std::string_view name;
    size_t leastWords; ///< the name included
    size_t mostWords;
    Outcome (*run)(BenchDaemon&, const Words&);
    const char* usage;
    const char* help;
};

constexpr size_t anyNumber = 100;

constexpr std::array<Command, 10> commands{{
    {"plug", 3, anyNumber, plug, "plug PORT MODEL [KEY=VALUE...]", "plug a sensor in"},
    {"unplug", 2, 2, unplug, "unplug PORT", "pull it"},
    {"set", 3, anyNumber, set, "set PORT KEY=VALUE...", "change what it measures or is"},
    {"fault", 3, 3, fault, "fault PORT NAME", "break it; none mends it"},
    {"log", 2, 3, log, "log PORT [AFTER]", "bytes both ways with their times"},
    {"status", 1, 1, status, "status", "what is plugged in, and how it is doing"},
    {"battery", 2, anyNumber, battery, "battery KEY=VALUE... | drain TIME | remove",
     "the battery; fail=0.3 lets its files fail"},
    {"ac", 2, 2, externalPower, "ac on | off", "external power"},
    {"switch", 1, 1, pressSwitch, "switch", "press the power switch"},
    {"clock", 3, 3, clock, "clock step TIME | clock speed FACTOR", "the program's time"},
}};

Outcome dispatch(BenchDaemon& daemon, const Words& words) {
    if (words.empty()) {
        return refuse("no command");
    }
    const auto* command = std::ranges::find(commands, words[0], &Command::name);
    if (command == commands.end()) {
        std::vector<std::string> names;
        for (const Command& known : commands) {
            names.emplace_back(known.name);
        }
        return refuse("unknown command " + quoted(words[0]) + ": there are " +
                      BenchText_list(names));
    }
    if (words.size() < command->leastWords || words.size() > command->mostWords) {
        return refuse(std::string("usage: ") + command->usage);
    }
    return command->run(daemon, words);
}

} // namespace

std::string BenchCommands_run(BenchDaemon& daemon, std::string_view line) {
    const Outcome outcome = dispatch(daemon, BenchText_words(line));
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
