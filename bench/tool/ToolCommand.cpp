#include "ToolCommand.h"

#include "BenchChannel.h"
#include "BenchCommands.h"
#include "BenchText.h"
#include "PlayCommand.h"
#include "ScreenCommands.h"
#include "TerminalCommand.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

int forward(const std::string& world, const Words& words) {
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + word;
    }
    std::string text;
    if (!BenchChannel_command(world, line, text)) {
        return ToolAnswer_fail(text);
    }
    fputs(text.c_str(), stdout);
    return 0;
}

int followLog(const std::string& world, const std::string& port) {
    constexpr timespec pause = {0, 200000000};
    std::string after = "0";
    for (;;) {
        std::string text;
        std::string line = "log ";
        line += port;
        line += ' ';
        line += after;
        if (!BenchChannel_command(world, line, text)) {
            return ToolAnswer_fail(text);
        }
        fputs(text.c_str(), stdout);
        fflush(stdout);
        const std::string last = BenchText_lastLines(text, 1);
        if (!last.empty()) {
            after = last.substr(0, last.find(' '));
        }
        nanosleep(&pause, nullptr);
    }
}

int log(const std::string& world, const Words& words) {
    const bool follows = words.size() == 3 && words[2] == "--follow";
    return follows ? followLog(world, words[1]) : forward(world, words);
}

int terminal(const std::string& world, const Words& words) {
    std::string error;
    if (words.size() != 1) {
        return ToolAnswer_usage("terminal");
    }
    return TerminalCommand_run(world, error) ? 0 : ToolAnswer_fail(error);
}

int play(const std::string& world, const Words& words) {
    return PlayCommand_run(world, words, {ToolCommand_knows, ToolCommand_run});
}

struct LocalCommand {
    std::string_view name;
    int (*run)(const std::string& world, const Words& words);
    const char* usage; ///< null: the daemon's row tells it
    const char* help;
};
constexpr std::array<LocalCommand, 9> localCommands{{
    {"log", log, nullptr, nullptr},
    {"screen", ScreenCommands_list, "screen [--all]",
     "windows and widgets, those hidden too with --all"},
    {"text", ScreenCommands_text, "text NAME", "what a widget shows"},
    {"wait", ScreenCommands_wait, "wait NAME TEXT [TIME]",
     "until a widget shows the text, 10s at most or TIME"},
    {"tap", ScreenCommands_tap, "tap NAME | tap X,Y",
     "touch a widget, by its name or text, or a point"},
    {"drag", ScreenCommands_drag, "drag X,Y X,Y", "touch, move and let go"},
    {"screenshot", ScreenCommands_screenshot, "screenshot FILE", "save the screen as PNG"},
    {"terminal", terminal, "terminal", "type to the command port, see its replies; Ctrl-C ends"},
    {"play", play, "play FILE", "a scenario: lines of a time and a command"},
}};

/// A series that a signal replays is read by the bench, which may stand in another folder.
Words withWholePaths(const Words& words, const std::string& folder) {
    constexpr std::string_view mark = "=file:";
    Words whole = words;
    for (std::string& word : whole) {
        const size_t at = word.find(mark);
        if (at != std::string::npos) {
            const size_t name = at + mark.size();
            std::error_code ignored;
            word.replace(name, std::string::npos,
                         fs::absolute(fs::path(folder) / word.substr(name), ignored));
        }
    }
    return whole;
}

} // namespace

bool ToolCommand_knows(std::string_view name) {
    return std::ranges::find(localCommands, name, &LocalCommand::name) != localCommands.end() ||
           BenchCommands_knows(name);
}

int ToolCommand_run(const std::string& world, const Words& words, const std::string& folder) {
    const auto* local = std::ranges::find(localCommands, words[0], &LocalCommand::name);
    const Words whole = withWholePaths(words, folder);
    return local != localCommands.end() ? local->run(world, whole) : forward(world, whole);
}

std::string ToolCommand_help() {
    std::string text = BenchCommands_help();
    for (const LocalCommand& command : localCommands) {
        if (command.usage != nullptr) {
            text += BenchText_format("  %-40s %s\n", command.usage, command.help);
        }
    }
    return text;
}
