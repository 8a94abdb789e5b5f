#ifndef BENCH_TOOL_RUN_OPTIONS_H
#define BENCH_TOOL_RUN_OPTIONS_H

#include <string>
#include <string_view>
#include <vector>

/// The command line of "quorvel-bench run".

enum class ScreenKind { automatic, window, browser, headless };

struct RunOptions {
    ScreenKind screen = ScreenKind::automatic;
    std::string world;      ///< empty: a new one, removed at the end
    std::string port;       ///< TCP port in place of 5025, "auto" for any free one
    std::string screenshot; ///< picture to save after start-up; the bench ends then
    std::string program;    ///< empty: the application beside the bench
    std::vector<std::string> programArguments;
    std::vector<std::string> commands; ///< carried out before the program starts
    bool isLegacy = false;             ///< the older meter's protocol owns the command port
    bool staysOn = false;              ///< a shutdown of the machine is written down only
    bool hasWatchdog = false;          ///< a program that hangs is started again
    bool isQuiet = false;
};

/// Reads the words after "run". False with the reason.
bool RunOptions_parse(const std::vector<std::string>& words, RunOptions& options,
                      std::string& error);

/// Help text for the options, a line each.
std::string RunOptions_help();

#endif
