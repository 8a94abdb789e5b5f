#include "Bench.h"

#include "BenchChannel.h"
#include "BenchPointer.h"
#include "BenchText.h"
#include "ChildProcess.h"
#include "WorldFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr uint32_t startLimit_ms = 60000;
/// The pause before asking again: what takes long is asked for less often, as reading a screen
/// takes the program's time, too.
constexpr std::chrono::milliseconds firstPause{4};
constexpr std::chrono::milliseconds longestPause{24};

std::string toolPath() {
    std::error_code ignored;
    return fs::read_symlink("/proc/self/exe", ignored).parent_path() / "quorvel-bench";
}

std::vector<std::string> toolWords(const Bench& bench, const BenchOptions& options) {
    std::vector<std::string> words = {toolPath(), "run",  "--headless", "--quiet",  "--stays-on",
                                      "--port",   "auto", "--world",    bench.world};
    for (const std::string& command : options.commands) {
        words.insert(words.end(), {"--do", command});
    }
    if (options.hasWatchdog) {
        words.emplace_back("--watchdog");
    }
    if (!options.program.empty()) {
        words.insert(words.end(), {"--program", options.program});
    }
    words.emplace_back("--");
    words.insert(words.end(), options.programArguments.begin(), options.programArguments.end());
    return words;
}

bool startTool(Bench& bench, const BenchOptions& options) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return false;
    }
    // The test itself lives in a world; the tool must not. Its bench is none of those that a person
    // lists and stops.
    std::vector<ChildEnvironment> environment = {
        {"LD_PRELOAD", ""}, {"QUORVEL_BENCH", ""}, {"XDG_RUNTIME_DIR", bench.world}};
    for (const auto& [name, value] : options.environment) {
        environment.push_back({name, value});
    }
    bench.tool = ChildProcess_start(toolWords(bench, options), environment,
                                    {.output = ends[1],
                                     .signalAtOurEnd = SIGTERM,
                                     .errorFile = bench.world + "/program.errors"});
    close(ends[1]);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    if (bench.output >= 0) {
        close(bench.output);
    }
    bench.output = ends[0];
    return bench.tool > 0;
}

bool hasEnded(Bench& bench) {
    int status = 0;
    if (bench.tool > 0 && waitpid(bench.tool, &status, WNOHANG) == bench.tool) {
        constexpr int signalBase = 128;
        bench.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : signalBase + WTERMSIG(status);
        bench.tool = 0;
    }
    return bench.tool == 0;
}

bool isMainWindowThere(const Bench& bench) {
    const auto widgets = Bench_screen(bench);
    return std::ranges::any_of(
        widgets, [](const ScreenWidget& widget) { return widget.depth == 0 && widget.isVisible; });
}

bool waitForStart(Bench& bench, const BenchOptions& options) {
    const auto isThere = [&bench, &options] {
        return hasEnded(bench) ||
               (options.waitsForScreen ? isMainWindowThere(bench) : Bench_programId(bench) > 0);
    };
    return Bench_waitUntil(isThere, startLimit_ms) && (bench.tool > 0 || !options.waitsForScreen);
}

void stopTool(Bench& bench) {
    ChildProcess_kill(bench.tool, SIGTERM);
    bench.tool = 0;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (const std::string_view line : BenchText_split(text, '\n')) {
        if (!line.empty()) {
            lines.emplace_back(line);
        }
    }
    return lines;
}

long numberAfter(const std::string& text, std::string_view label) {
    const size_t at = text.find(label);
    return at == std::string::npos ? -1 : strtol(text.c_str() + at + label.size(), nullptr, 10);
}

// Fields 14 and 15 of the process's stat, counted behind the name, which may hold anything.
double processorTime_s(const std::string& stat) {
    constexpr size_t firstTime = 11;
    const auto words = BenchText_words(std::string_view(stat).substr(stat.rfind(')') + 1));
    if (words.size() <= firstTime + 1) {
        return 0;
    }
    const double ticks = BenchText_number(words[firstTime]).value_or(0) +
                         BenchText_number(words[firstTime + 1]).value_or(0);
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::string displayOf(const Bench& bench) {
    const std::string display = WorldFolder_readFile(bench.world + "/display");
    return display.substr(0, display.find('\n'));
}

bool report(bool isDone, const std::string& error) {
    if (!isDone) {
        fprintf(stderr, "%s\n", error.c_str());
    }
    return isDone;
}

} // namespace

bool Bench_start(Bench& bench, const BenchOptions& options) {
    if (bench.world.empty()) {
        bench.world = WorldFolder_makeTemporary("quorvel-test");
        if (bench.world.empty() || !WorldFolder_create(bench.world)) {
            perror("no folder for the world");
            return false;
        }
    }
    if (options.prepare) {
        options.prepare(bench.world);
    }
    if (startTool(bench, options) && waitForStart(bench, options)) {
        return true;
    }
    fprintf(stderr, "the program did not start on the bench\n%s",
            WorldFolder_readFile(bench.world + "/program.errors").c_str());
    return false;
}

void Bench_stop(Bench& bench) {
    stopTool(bench);
    if (bench.output >= 0) {
        close(bench.output);
        bench.output = -1;
    }
    if (!bench.world.empty()) {
        WorldFolder_remove(bench.world);
        bench.world.clear();
    }
}

bool Bench_restart(Bench& bench, const BenchOptions& options) {
    stopTool(bench);
    return Bench_start(bench, options);
}

bool Bench_do(Bench& bench, const std::string& line, std::string* text) {
    std::string answer;
    const bool isDone = BenchChannel_command(bench.world, line, answer);
    if (!isDone) {
        fprintf(stderr, "%s: %s\n", line.c_str(), answer.c_str());
    }
    if (text != nullptr) {
        *text = answer;
    }
    return isDone;
}

bool Bench_waitUntil(const std::function<bool()>& condition, uint32_t limit_ms) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit_ms);
    auto pause = firstPause;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 5 / 4, longestPause);
    }
    return true;
}

std::vector<ScreenWidget> Bench_screen(const Bench& bench) {
    std::vector<ScreenWidget> widgets;
    BenchScreen_list(bench.world, widgets);
    return widgets;
}

std::optional<ScreenWidget> Bench_widget(const Bench& bench, const std::string& name) {
    std::optional<ScreenWidget> widget;
    BenchScreen_one(bench.world, name, widget);
    return widget;
}

std::string Bench_labelText(const Bench& bench, const std::string& name) {
    const auto widget = Bench_widget(bench, name);
    return widget ? widget->text : "(nothing is called " + name + ")";
}

bool Bench_isVisible(const Bench& bench, const std::string& name) {
    const auto widget = Bench_widget(bench, name);
    return widget && widget->isVisible;
}

bool Bench_waitForText(const Bench& bench, const std::string& name, const std::string& text,
                       uint32_t limit_ms) {
    const auto shows = [&] {
        const auto widget = Bench_widget(bench, name);
        return widget && widget->isVisible && widget->text == text;
    };
    return Bench_waitUntil(shows, limit_ms);
}

bool Bench_waitForVisible(const Bench& bench, const std::string& name, bool isVisible,
                          uint32_t limit_ms) {
    return Bench_waitUntil([&] { return Bench_isVisible(bench, name) == isVisible; }, limit_ms);
}

bool Bench_waitForShown(const Bench& bench, const std::string& text, uint32_t limit_ms) {
    const auto isShown = [&] {
        std::vector<ScreenWidget> widgets;
        BenchScreen_named(bench.world, text, widgets);
        return std::ranges::any_of(widgets, [&](const ScreenWidget& widget) {
            return widget.isVisible && widget.text == text;
        });
    };
    return Bench_waitUntil(isShown, limit_ms);
}

bool Bench_tap(const Bench& bench, const std::string& name) {
    const auto widget = Bench_widget(bench, name);
    if (!widget || !widget->isVisible) {
        return report(false, "nothing on the screen is called " + name);
    }
    std::string error;
    return report(BenchPointer_tap(displayOf(bench), widget->x + widget->width / 2,
                                   widget->y + widget->height / 2, error),
                  error);
}

bool Bench_savePicture(const Bench& bench, const std::string& file) {
    std::string error;
    return report(BenchPointer_savePicture(displayOf(bench), file, error), error);
}

std::vector<std::string> Bench_syslog(const Bench& bench) {
    return linesOf(WorldFolder_readFile(bench.world + "/syslog"));
}

size_t Bench_countInSyslog(const Bench& bench, const std::string& text) {
    const auto lines = Bench_syslog(bench);
    return static_cast<size_t>(std::ranges::count_if(
        lines, [&text](const std::string& line) { return line.find(text) != std::string::npos; }));
}

std::vector<std::string> Bench_commands(const Bench& bench) {
    return linesOf(WorldFolder_readFile(bench.world + "/commands"));
}

std::string Bench_readFile(const Bench& bench, const std::string& instrumentPath) {
    return WorldFolder_read(bench.world, instrumentPath);
}

bool Bench_writeFile(const Bench& bench, const std::string& instrumentPath,
                     const std::string& content) {
    return WorldFolder_write(bench.world, instrumentPath, content);
}

bool Bench_removeFile(const Bench& bench, const std::string& instrumentPath) {
    return unlink(WorldFolder_path(bench.world, instrumentPath).c_str()) == 0;
}

const std::string& Bench_output(Bench& bench) {
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while (bench.output >= 0 && (count = read(bench.output, buffer.data(), buffer.size())) > 0) {
        bench.printed.append(buffer.data(), static_cast<size_t>(count));
    }
    return bench.printed;
}

pid_t Bench_programId(const Bench& bench) {
    const std::string number = WorldFolder_readFile(bench.world + "/program.pid");
    return number.empty() ? 0 : static_cast<pid_t>(strtol(number.c_str(), nullptr, 10));
}

std::optional<int> Bench_waitForEnd(Bench& bench, uint32_t limit_ms) {
    const auto isOver = [&bench] {
        Bench_output(bench);
        return hasEnded(bench);
    };
    const bool isEnded = Bench_waitUntil(isOver, limit_ms);
    Bench_output(bench);
    return isEnded ? std::optional(bench.exitStatus) : std::nullopt;
}

ProgramUse Bench_programUse(const Bench& bench) {
    const std::string folder = "/proc/" + std::to_string(Bench_programId(bench));
    const std::string status = WorldFolder_readFile(folder + "/status");
    ProgramUse use{};
    use.threads = static_cast<int>(numberAfter(status, "Threads:"));
    use.resident_kB = numberAfter(status, "VmRSS:");
    use.own_kB = use.resident_kB - numberAfter(status, "RssFile:");
    use.processorTime_s = processorTime_s(WorldFolder_readFile(folder + "/stat"));
    std::error_code error;
    for (fs::directory_iterator it(folder + "/fd", error); it != fs::directory_iterator();
         it.increment(error)) {
        ++use.descriptors;
    }
    return use;
}
