#ifndef BENCH_CLIENT_BENCH_H
#define BENCH_CLIENT_BENCH_H

#include "BenchScreen.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/// A bench for a test: a world of its own, a virtual screen of its own, and the program in it,
/// driven as a user drives it.

struct BenchOptions {
    std::vector<std::string> commands; ///< "plug ...", "clock ..." before the program starts
    std::string program;               ///< in place of the application
    std::vector<std::string> programArguments;
    std::vector<std::pair<std::string, std::string>> environment; ///< for the program
    std::function<void(const std::string& world)> prepare; ///< lays out files in the new world
    bool hasWatchdog = false;   ///< a program that hangs is started again
    bool waitsForScreen = true; ///< Bench_start returns once the main window is on the screen
};

struct Bench {
    std::string world;
    pid_t tool = 0;      ///< quorvel-bench
    int output = -1;     ///< the program's standard output
    std::string printed; ///< what was read of it so far
    int exitStatus = -1; ///< once the bench has ended
};

/// Starts quorvel-bench and the program. False, with the reason on standard error, when the program
/// is not there within a minute.
bool Bench_start(Bench& bench, const BenchOptions& options = {});

/// Ends everything and removes the world.
void Bench_stop(Bench& bench);

/// Stops the program and starts it anew in the same world, as switching off and on does.
bool Bench_restart(Bench& bench, const BenchOptions& options = {});

/// Carries out a command line such as "plug serial1 5132 fwd=25". The answer's text comes back in
/// `text` where it is wanted. False when it was refused; the reason is on standard error.
bool Bench_do(Bench& bench, const std::string& line, std::string* text = nullptr);

/// Asks again every few milliseconds until the condition holds; false once the limit has gone by.
bool Bench_waitUntil(const std::function<bool()>& condition, uint32_t limit_ms);

/// The screen, as it is now, with colours and fonts: who only waits for a text or a place asks
/// below.
std::vector<ScreenWidget> Bench_screen(const Bench& bench);
std::optional<ScreenWidget> Bench_widget(const Bench& bench, const std::string& name);
std::string Bench_labelText(const Bench& bench, const std::string& name);
bool Bench_isVisible(const Bench& bench, const std::string& name);
bool Bench_waitForText(const Bench& bench, const std::string& name, const std::string& text,
                       uint32_t limit_ms);
bool Bench_waitForVisible(const Bench& bench, const std::string& name, bool isVisible,
                          uint32_t limit_ms);
/// A visible widget that shows exactly this text, whatever its name.
bool Bench_waitForShown(const Bench& bench, const std::string& text, uint32_t limit_ms);

/// Touches a visible widget by its name or text. False when there is none.
bool Bench_tap(const Bench& bench, const std::string& name);
bool Bench_savePicture(const Bench& bench, const std::string& file);

/// What the program left behind in its world.
std::vector<std::string> Bench_syslog(const Bench& bench);
size_t Bench_countInSyslog(const Bench& bench, const std::string& text);
std::vector<std::string> Bench_commands(const Bench& bench);
std::string Bench_readFile(const Bench& bench, const std::string& instrumentPath);
bool Bench_writeFile(const Bench& bench, const std::string& instrumentPath,
                     const std::string& content);
bool Bench_removeFile(const Bench& bench, const std::string& instrumentPath);

/// All that the program has printed so far.
const std::string& Bench_output(Bench& bench);

/// The program's process, 0 when it has ended.
pid_t Bench_programId(const Bench& bench);

/// Exit status of the program (128 and the number for a signal), nothing within the limit.
std::optional<int> Bench_waitForEnd(Bench& bench, uint32_t limit_ms);

/// What the program uses of its machine.
struct ProgramUse {
    int threads;
    int descriptors;
    long resident_kB;
    long own_kB;            ///< of it what is no file's: code is loaded page by page as it is used
    double processorTime_s; ///< user and system
};
ProgramUse Bench_programUse(const Bench& bench);

#endif
