// quorvel-bench: plays the instrument's hardware, and tells a running bench what to do.

#include "BenchChannel.h"
#include "BenchCommands.h"
#include "BenchPointer.h"
#include "BenchScreen.h"
#include "BenchText.h"
#include "CrowdCommand.h"
#include "CrowdOptions.h"
#include "RunCommand.h"
#include "Signal.h"
#include "TerminalCommand.h"
#include "WorldFolder.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace {

using Words = std::vector<std::string>;

int fail(const std::string& why) {
    fprintf(stderr, "quorvel-bench: %s\n", why.c_str());
    return 1;
}

int usage(const std::string& text) {
    return fail("usage: quorvel-bench " + text);
}

void pause_ms(long time_ms) {
    const timespec pause = {time_ms / 1000, time_ms % 1000 * 1000000};
    nanosleep(&pause, nullptr);
}

std::string displayOf(const std::string& world) {
    const std::string display = WorldFolder_readFile(world + "/display");
    return display.substr(0, display.find('\n'));
}

int forward(const std::string& world, const Words& words) {
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + word;
    }
    std::string text;
    if (!BenchChannel_command(world, line, text)) {
        return fail(text);
    }
    fputs(text.c_str(), stdout);
    return 0;
}

int showScreen(const std::string& world, const Words& words) {
    std::vector<ScreenWidget> widgets;
    if (!BenchScreen_list(world, widgets)) {
        return fail("the program has no screen yet");
    }
    const bool showsAll = words.size() > 1 && words[1] == "--all";
    for (const ScreenWidget& widget : widgets) {
        if (!showsAll && !widget.isVisible) {
            continue;
        }
        const bool hasName = widget.name != widget.type;
        printf("%*s%s%s%s%s%s %d,%d %dx%d %s on %s%s%s \"%s\"\n", widget.depth * 2, "",
               widget.type.c_str(), hasName ? " " : "", hasName ? widget.name.c_str() : "",
               widget.id.empty() ? "" : " id=", widget.id.c_str(), widget.x, widget.y, widget.width,
               widget.height, widget.foreground.c_str(), widget.background.c_str(),
               !widget.isVisible     ? " hidden"
               : !widget.isSensitive ? " insensitive"
                                     : "",
               widget.isActive ? " active" : "", widget.text.c_str());
    }
    return 0;
}

int tap(const std::string& world, const Words& words) {
    if (words.size() != 2) {
        return usage("tap NAME");
    }
    std::vector<ScreenWidget> widgets;
    if (!BenchScreen_list(world, widgets)) {
        return fail("the program has no screen yet");
    }
    const ScreenWidget* widget = BenchScreen_find(widgets, words[1]);
    if (widget == nullptr) {
        return fail("nothing on the screen is called '" + words[1] +
                    "': quorvel-bench screen lists the names");
    }
    if (!widget->isVisible) {
        return fail("'" + words[1] + "' is hidden");
    }
    std::string error;
    return BenchPointer_tap(displayOf(world), widget->x + widget->width / 2,
                            widget->y + widget->height / 2, error)
               ? 0
               : fail(error);
}

// A program that has just been started paints its first screen within moments; the picture is to
// show it complete, sensors included.
void waitForScreen(const std::string& world) {
    std::vector<ScreenWidget> widgets;
    for (int tries = 0; tries < 200 && !BenchScreen_list(world, widgets); ++tries) {
        pause_ms(50);
    }
    pause_ms(2500);
}

int screenshot(const std::string& world, const Words& words) {
    const bool waits = words.size() == 3 && words[1] == "--wait";
    if (words.size() != 2 && !waits) {
        return usage("screenshot [--wait] FILE");
    }
    if (waits) {
        waitForScreen(world);
    }
    std::string error;
    return BenchPointer_savePicture(displayOf(world), words.back(), error) ? 0 : fail(error);
}

int followLog(const std::string& world, const std::string& port) {
    std::string after = "0";
    for (;;) {
        std::string text;
        std::string line = "log ";
        line += port;
        line += ' ';
        line += after;
        if (!BenchChannel_command(world, line, text)) {
            return fail(text);
        }
        fputs(text.c_str(), stdout);
        fflush(stdout);
        const size_t lastLine = text.size() > 1 ? text.rfind('\n', text.size() - 2) : 0;
        if (!text.empty()) {
            const size_t start = lastLine == std::string::npos ? 0 : lastLine + (lastLine > 0);
            after = text.substr(start, text.find(' ', start) - start);
        }
        pause_ms(200);
    }
}

int log(const std::string& world, const Words& words) {
    const bool follows = words.size() == 3 && words[2] == "--follow";
    return follows ? followLog(world, words[1]) : forward(world, words);
}

int terminal(const std::string& world, const Words& words) {
    std::string error;
    if (words.size() != 1) {
        return usage("terminal");
    }
    return TerminalCommand_run(world, error) ? 0 : fail(error);
}

struct LocalCommand {
    std::string_view name;
    int (*run)(const std::string& world, const Words& words);
    const char* usage;
    const char* help;
};
constexpr std::array<LocalCommand, 5> localCommands{{
    {"screen", showScreen, "screen [--all]", "windows and widgets, those hidden too with --all"},
    {"tap", tap, "tap NAME", "touch a widget, by its name or text"},
    {"screenshot", screenshot, "screenshot FILE", "save the screen as PNG"},
    {"terminal", terminal, "terminal", "type to the command port, see its replies; Ctrl-C ends"},
    {"log", log, "log PORT --follow", "the same, going on"},
}};

int help() {
    printf(
        "quorvel-bench run [OPTION...] [-- PROGRAM ARGUMENTS]   run the meter on the bench\n"
        "quorvel-bench [--world DIR] COMMAND                    tell a running bench\n"
        "quorvel-bench crowd N [OPTION...]                      N meters that only answer SCPI\n\n"
        "Options of run:\n%s\nOptions of crowd:\n%s\nCommands:\n%s",
        RunOptions_help().c_str(), CrowdOptions_help().c_str(), BenchCommands_help().c_str());
    for (const LocalCommand& command : localCommands) {
        printf("  %-40s %s\n", command.usage, command.help);
    }
    printf("Signals are %s; powers take W, mW, kW, dBm.\n", signalShapesText);
    return 0;
}

int runCommand(const Words& words) {
    RunOptions options;
    std::string error;
    if (!RunOptions_parse({words.begin() + 1, words.end()}, options, error)) {
        return fail(error);
    }
    return RunCommand_run(options);
}

int crowdCommand(const Words& words) {
    std::string error;
    return CrowdCommand_run({words.begin() + 1, words.end()}, error) ? 0 : fail(error);
}

int command(const std::string& givenWorld, const Words& words) {
    const auto* local = std::ranges::find(localCommands, words[0], &LocalCommand::name);
    if (local == localCommands.end() && !BenchCommands_knows(words[0])) {
        return fail("unknown command '" + words[0] + "': see quorvel-bench --help");
    }
    const std::string world = BenchChannel_findWorld(givenWorld);
    if (world.empty()) {
        return fail("no bench is running: start one with quorvel-bench run");
    }
    return local != localCommands.end() ? local->run(world, words) : forward(world, words);
}

} // namespace

int main(int argc, char** argv) {
    Words words(argv + 1, argv + argc);
    if (words.empty() || words[0] == "help" || words[0] == "--help" || words[0] == "-h") {
        return help();
    }
    if (words[0] == "run") {
        return runCommand(words);
    }
    if (words[0] == "crowd") {
        return crowdCommand(words);
    }
    std::string world;
    if (words[0] == "--world") {
        if (words.size() < 3) {
            return usage("--world DIR COMMAND");
        }
        world = words[1];
        words.erase(words.begin(), words.begin() + 2);
    }
    return command(world, words);
}
