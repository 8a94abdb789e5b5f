#include "RunCommand.h"

#include "BenchCommands.h"
#include "BenchDaemon.h"
#include "BenchFaults.h"
#include "BenchText.h"
#include "ChildProcess.h"
#include "ReservedPort.h"
#include "RunningBenches.h"
#include "ScreenServer.h"
#include "ServiceManager.h"
#include "ToolAnswer.h"
#include "WorldFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <poll.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";
constexpr const char* legacyKey = "useLegacyRS232Commands";

struct Run {
    const RunOptions& options;
    std::string world{};
    bool isWorldOurs = false; ///< made for this run, removed at its end
    std::string entry{};      ///< among the running benches
    BenchDaemon daemon{};
    bool isDaemonOpen = false;
    ReservedPort port{}; ///< of the remote control
    ScreenServer screen{};
    ServiceManager manager{-1, false, false, 0};
    pid_t program = 0;
    pid_t photographer = 0;
    int signals = -1;
};

void say(const Run& run, const std::string& text) {
    if (!run.options.isQuiet) {
        fprintf(stderr, "%s\n", text.c_str());
    }
}

fs::path ownFolder() {
    std::error_code ignored;
    return fs::read_symlink("/proc/self/exe", ignored).parent_path();
}

// Where a package has put it, or else the place in a build.
std::string findBesideTool(const fs::path& inBuild, const fs::path& installed) {
    std::error_code ignored;
    const fs::path found = ownFolder() / installed;
    return fs::exists(found, ignored) ? found.lexically_normal() : ownFolder() / inBuild;
}

std::string programPath(const RunOptions& options) {
    return options.program.empty()
               ? findBesideTool("QuorvelPowerMeterApp",
                                "../lib/quorvel-power-meter/QuorvelPowerMeterApp")
               : options.program;
}

std::string libraryPath() {
    return findBesideTool("../lib/libquorvelbench.so",
                          "../lib/quorvel-bench/preload/libquorvelbench.so");
}

std::string absolute(const std::string& path) {
    std::error_code ignored;
    return fs::absolute(path, ignored);
}

bool makeWorld(Run& run, std::string& error) {
    std::error_code ignored;
    const std::string userFolder = WorldFolder_userFolder();
    fs::create_directories(userFolder, ignored);
    fs::permissions(userFolder, fs::perms::owner_all, ignored);
    run.isWorldOurs = run.options.world.empty();
    if (run.isWorldOurs) {
        std::string pattern = userFolder + "/world-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            error = pattern + ": " + strerror(errno);
            return false;
        }
        run.world = pattern;
    } else {
        run.world = absolute(run.options.world);
    }
    if (!WorldFolder_create(run.world)) {
        error = run.world + ": " + strerror(errno);
        return false;
    }
    return true;
}

bool startDaemon(Run& run, std::string& error) {
    run.isDaemonOpen = true;
    if (!BenchDaemon_open(run.daemon, run.world, error)) {
        return false;
    }
    for (const std::string& command : run.options.commands) {
        const std::string answer = BenchCommands_run(run.daemon.hardware, command);
        if (!answer.starts_with("ok")) {
            error = command + ": " + answer.substr(0, answer.find('\n'));
            return false;
        }
    }
    return true;
}

// The setting decides at the program's start; all others in the file stay.
bool chooseProtocol(const Run& run, std::string& error) {
    if (!run.options.isLegacy) {
        return true;
    }
    std::istringstream lines(WorldFolder_read(run.world, settingsFile));
    std::string content;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with(legacyKey)) {
            content += line + '\n';
        }
    }
    content += std::string(legacyKey) + " 1\n";
    if (WorldFolder_write(run.world, settingsFile, content)) {
        return true;
    }
    error = std::string(settingsFile) + ": " + strerror(errno);
    return false;
}

// The instrument's own port where it is free, so that benches run side by side.
bool choosePort(Run& run, std::string& error) {
    constexpr int instrumentPort = 5025;
    const std::string& wanted = run.options.port;
    const bool isSearched = wanted.empty() || wanted == "auto";
    if (isSearched && !ReservedPort_take(run.port, wanted.empty() ? instrumentPort : 0)) {
        error = "there is no free port for remote control";
        return false;
    }
    if (isSearched && run.port.number != instrumentPort) {
        say(run, "Remote control is on port " + std::to_string(run.port.number) + ".");
    }
    const std::string port = isSearched ? std::to_string(run.port.number) : wanted;
    return WorldFolder_writeFile(run.world + "/port", port + "\n");
}

ScreenKind chosenScreen(const RunOptions& options) {
    if (options.screen != ScreenKind::automatic) {
        return options.screen;
    }
    if (!options.screenshot.empty()) {
        return ScreenKind::headless;
    }
    return getenv("DISPLAY") != nullptr ? ScreenKind::window : ScreenKind::browser;
}

bool startScreen(Run& run, std::string& error) {
    switch (chosenScreen(run.options)) {
    case ScreenKind::headless:
        if (!ScreenServer_startVirtual(run.screen, error)) {
            return false;
        }
        break;
    case ScreenKind::browser:
        if (!ScreenServer_startBrowser(run.screen, error)) {
            return false;
        }
        say(run, "Open " + run.screen.address + " in a web browser.");
        return WorldFolder_writeFile(run.world + "/address", run.screen.address + "\n");
    default: {
        const char* display = getenv("DISPLAY");
        if (display == nullptr) {
            error = "there is no display for a window: use --browser or --headless";
            return false;
        }
        run.screen.display = display;
    }
    }
    return WorldFolder_writeFile(run.world + "/display", run.screen.display + "\n");
}

std::vector<ChildEnvironment> programEnvironment(const Run& run) {
    const bool isBrowser = !run.screen.address.empty();
    std::vector<ChildEnvironment> environment = ServiceManager_environment(run.manager, run.world);
    environment.insert(environment.end(),
                       {{"LD_PRELOAD", libraryPath()},
                        {"QUORVEL_BENCH", run.world},
                        {"WAYLAND_DISPLAY", ""},
                        {"GDK_BACKEND", isBrowser ? "broadway" : "x11"},
                        {"BROADWAY_DISPLAY", isBrowser ? run.screen.display : ""},
                        {"DISPLAY", isBrowser ? "" : run.screen.display}});
    return environment;
}

bool startProgram(Run& run, std::string& error) {
    std::vector<std::string> words = {programPath(run.options)};
    words.insert(words.end(), run.options.programArguments.begin(),
                 run.options.programArguments.end());
    for (const std::string& needed : {words[0], libraryPath()}) {
        if (access(needed.c_str(), R_OK) != 0) {
            error = needed + ": " + strerror(errno);
            return false;
        }
    }
    run.program = ChildProcess_start(words, programEnvironment(run));
    return run.program > 0 &&
           WorldFolder_writeFile(run.world + "/program.pid", std::to_string(run.program) + "\n");
}

bool startManager(Run& run, std::string& error) {
    if (!run.options.hasWatchdog || ServiceManager_open(run.manager, run.world)) {
        return true;
    }
    error = run.world + "/notify.sock: " + strerror(errno);
    return false;
}

// A new process; nothing of it stands still.
bool startAgain(Run& run) {
    std::string error;
    BenchFaults_remove(run.world.c_str(), BenchFault::freeze);
    ServiceManager_begin(run.manager);
    if (startProgram(run, error)) {
        return true;
    }
    ToolAnswer_fail(error);
    return false;
}

void startPhotographer(Run& run) {
    if (!run.options.screenshot.empty()) {
        const std::string tool = ownFolder() / "quorvel-bench";
        run.photographer = ChildProcess_start(
            {tool, "--world", run.world, "screenshot", "--wait", absolute(run.options.screenshot)},
            {});
    }
}

int exitStatus(int status) {
    constexpr int signalBase = 128;
    return WIFEXITED(status) ? WEXITSTATUS(status) : signalBase + WTERMSIG(status);
}

// Why a program has ended stands in its log, which may be gone with the world in a moment.
void reportProgramsEnd(const Run& run, int status) {
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        return;
    }
    std::string text =
        WIFEXITED(status)
            ? "the program has ended with status " + std::to_string(WEXITSTATUS(status))
            : "the program was ended by signal " + std::to_string(WTERMSIG(status)) + " (" +
                  strsignal(WTERMSIG(status)) + ")";
    constexpr size_t lastLines = 5;
    const std::string log = WorldFolder_readFile(run.world + "/syslog");
    const std::string last = BenchText_lastLines(log, lastLines);
    if (!last.empty()) {
        text += "; the end of its log:\n" + last;
    }
    ToolAnswer_fail(text);
}

// Takes up what the signals tell. True when the run is over.
bool handleSignals(Run& run, int& result) {
    signalfd_siginfo signal{};
    bool isOver = false;
    while (read(run.signals, &signal, sizeof signal) == sizeof signal) {
        isOver = isOver || signal.ssi_signo != SIGCHLD;
    }
    int status = 0;
    for (pid_t child = 0; (child = waitpid(-1, &status, WNOHANG)) > 0;) {
        if (child == run.program) {
            run.program = 0;
            result = exitStatus(status);
            reportProgramsEnd(run, status);
            isOver = !run.manager.isAborting || !startAgain(run);
        } else if (child == run.photographer) {
            run.photographer = 0;
            result = exitStatus(status);
            isOver = true;
        } else if (child == run.screen.process) {
            run.screen.process = 0;
            result = ToolAnswer_fail("the program's screen has ended");
            isOver = true;
        }
    }
    return isOver;
}

// Real time until the program's next sign of life is due, negative for ever.
int64_t managersWait_ns(const Run& run) {
    const BenchHardware& hardware = run.daemon.hardware;
    if (!run.manager.isArmed) {
        return -1;
    }
    const int64_t left_ns = run.manager.limit_ns - BenchHardware_now_ns(hardware);
    return std::max(int64_t{0}, static_cast<int64_t>(static_cast<double>(left_ns) /
                                                     BenchClock_read(*hardware.clock).speed));
}

int64_t wait_ns(const Run& run) {
    const int64_t hardware_ns = BenchDaemon_wait_ns(run.daemon);
    const int64_t manager_ns = managersWait_ns(run);
    return hardware_ns < 0  ? manager_ns
           : manager_ns < 0 ? hardware_ns
                            : std::min(hardware_ns, manager_ns);
}

void watchProgram(Run& run) {
    const int signal =
        ServiceManager_service(run.manager, BenchHardware_now_ns(run.daemon.hardware));
    if (signal != 0 && run.program > 0) {
        say(run, "The program hangs: it is started again.");
        kill(run.program, signal);
    }
}

int playUntilTheEnd(Run& run) {
    int result = 0;
    std::vector<pollfd> waiting;
    prctl(PR_SET_TIMERSLACK, 1);
    for (;;) {
        waiting.assign(1, {run.signals, POLLIN, 0});
        BenchDaemon_collect(run.daemon, waiting);
        PageServer_collect(run.screen.page, waiting);
        ServiceManager_collect(run.manager, waiting);
        const int64_t limit_ns = wait_ns(run);
        const timespec limit = {limit_ns / 1000000000, limit_ns % 1000000000};
        ppoll(waiting.data(), waiting.size(), limit_ns < 0 ? nullptr : &limit, nullptr);
        if ((waiting[0].revents & POLLIN) != 0 && handleSignals(run, result)) {
            return result;
        }
        BenchDaemon_service(run.daemon);
        PageServer_service(run.screen.page);
        watchProgram(run);
        if (run.daemon.hardware.isToldToEnd) {
            return result;
        }
        if (run.daemon.hardware.machine.isOff && !run.options.staysOn) {
            say(run, "The meter has switched itself off.");
            return result;
        }
    }
}

bool catchSignals(Run& run) {
    sigset_t watched;
    sigemptyset(&watched);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
        sigaddset(&watched, signal);
    }
    sigprocmask(SIG_BLOCK, &watched, nullptr);
    run.signals = signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);
    return run.signals >= 0;
}

// The program ignores the polite signals by design: the instrument is switched off, never told to
// end. So the bench takes its power away.
void end(Run& run) {
    ChildProcess_kill(run.photographer, SIGKILL);
    ChildProcess_kill(run.program, SIGKILL);
    if (!run.screen.display.empty() && run.screen.process != 0) {
        ScreenServer_stop(run.screen);
    }
    if (run.isDaemonOpen) {
        BenchDaemon_close(run.daemon);
    }
    RunningBenches_leave(run.entry);
    ReservedPort_release(run.port);
    ServiceManager_close(run.manager);
    unlink((run.world + "/program.pid").c_str());
    if (run.isWorldOurs) {
        WorldFolder_remove(run.world);
    }
}

} // namespace

int RunCommand_run(const RunOptions& options) {
    Run run{options};
    run.daemon.listener = -1;
    std::string error;
    if (!catchSignals(run) || !makeWorld(run, error)) {
        return ToolAnswer_fail(error);
    }
    int result = 1;
    if (choosePort(run, error) && chooseProtocol(run, error) && startDaemon(run, error) &&
        startScreen(run, error) && startManager(run, error) && startProgram(run, error)) {
        run.entry = RunningBenches_enter(run.world);
        say(run, "The bench plays in " + run.world + "; Ctrl-C ends it.");
        startPhotographer(run);
        result = playUntilTheEnd(run);
    } else {
        ToolAnswer_fail(error);
    }
    end(run);
    return result;
}
