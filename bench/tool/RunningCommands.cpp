#include "RunningCommands.h"

#include "BenchChannel.h"
#include "RunningBenches.h"
#include "WorldFolder.h"

#include <cstdio>
#include <ctime>

namespace {

std::string lineOf(const std::string& world, const char* name) {
    const std::string content = WorldFolder_readFile(world + "/" + name);
    return content.substr(0, content.find('\n'));
}

bool hasEnded(const std::string& world) {
    constexpr int tries = 500;
    constexpr timespec pause = {0, 20000000};
    for (int tried = 0; tried < tries; ++tried) {
        if (!RunningBenches_answers(world)) {
            return true;
        }
        nanosleep(&pause, nullptr);
    }
    return false;
}

int stopOne(const std::string& world) {
    std::string text;
    if (!BenchChannel_command(world, "stop", text)) {
        return ToolAnswer_fail(text);
    }
    return hasEnded(world) ? 0 : ToolAnswer_fail("the bench in " + world + " does not end");
}

} // namespace

int RunningCommands_list(const Words& words) {
    if (words.size() != 1) {
        return ToolAnswer_usage("list");
    }
    const std::string current = RunningBenches_current();
    for (const std::string& world : RunningBenches_worlds()) {
        const std::string display = lineOf(world, "display");
        printf("%c %s port=%s program=%s screen=%s\n", world == current ? '*' : ' ', world.c_str(),
               lineOf(world, "port").c_str(), lineOf(world, "program.pid").c_str(),
               (display.empty() ? lineOf(world, "address") : display).c_str());
    }
    return 0;
}

int RunningCommands_stop(const std::string& givenWorld, const Words& words) {
    const bool stopsAll = words.size() == 2 && words[1] == "--all" && givenWorld.empty();
    if (words.size() != 1 && !stopsAll) {
        return ToolAnswer_usage("stop [--all]");
    }
    int status = 0;
    if (stopsAll) {
        for (const std::string& world : RunningBenches_worlds()) {
            status |= stopOne(world);
        }
        return status;
    }
    const std::string world = givenWorld.empty() ? RunningBenches_current() : givenWorld;
    return world.empty() ? ToolAnswer_fail("no bench is running") : stopOne(world);
}
