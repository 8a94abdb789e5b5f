// quorvel-bench: plays the instrument's hardware, and tells a running bench what to do.

#include "CrowdCommand.h"
#include "HelpCommand.h"
#include "RunCommand.h"
#include "RunningBenches.h"
#include "RunningCommands.h"
#include "ToolCommand.h"

#include <algorithm>
#include <array>

namespace {

int runCommand(const Words& words) {
    RunOptions options;
    std::string error;
    if (!RunOptions_parse({words.begin() + 1, words.end()}, options, error)) {
        return ToolAnswer_fail(error);
    }
    return RunCommand_run(options);
}

int crowdCommand(const Words& words) {
    std::string error;
    return CrowdCommand_run({words.begin() + 1, words.end()}, error) ? 0 : ToolAnswer_fail(error);
}

/// What needs no bench that runs.
struct FreeCommand {
    std::string_view name;
    int (*run)(const Words& words);
};
constexpr std::array<FreeCommand, 6> freeCommands{{
    {"help", HelpCommand_run},
    {"--help", HelpCommand_run},
    {"-h", HelpCommand_run},
    {"run", runCommand},
    {"crowd", crowdCommand},
    {"list", RunningCommands_list},
}};

int command(const std::string& givenWorld, const Words& words) {
    if (words[0] == "stop") {
        return RunningCommands_stop(givenWorld, words);
    }
    if (!ToolCommand_knows(words[0])) {
        return ToolAnswer_fail("unknown command '" + words[0] + "': see quorvel-bench --help");
    }
    const std::string world = givenWorld.empty() ? RunningBenches_current() : givenWorld;
    if (world.empty()) {
        return ToolAnswer_fail("no bench is running: start one with quorvel-bench run");
    }
    return ToolCommand_run(world, words, {});
}

} // namespace

int main(int argc, char** argv) {
    Words words(argv + 1, argv + argc);
    if (words.empty()) {
        return HelpCommand_run({"help"});
    }
    const auto* row = std::ranges::find(freeCommands, words[0], &FreeCommand::name);
    if (row != freeCommands.end()) {
        return row->run(words);
    }
    std::string world;
    if (words[0] == "--world") {
        if (words.size() < 3) {
            return ToolAnswer_usage("--world DIR COMMAND");
        }
        world = words[1];
        words.erase(words.begin(), words.begin() + 2);
    }
    return command(world, words);
}
