#include "RunOptions.h"

#include "BenchText.h"

#include <algorithm>
#include <array>

namespace {

struct Option {
    std::string_view name;
    const char* value; ///< null: the option has none
    const char* help;
    void (*apply)(RunOptions&, const std::string&);
};

constexpr std::array<Option, 14> optionTable{{
    {"--window", nullptr, "show the program in a window of this desktop",
     [](RunOptions& o, const std::string&) { o.screen = ScreenKind::window; }},
    {"--browser", nullptr, "show it in a web browser, at the address that is printed",
     [](RunOptions& o, const std::string&) { o.screen = ScreenKind::browser; }},
    {"--headless", nullptr, "show it on a virtual screen",
     [](RunOptions& o, const std::string&) { o.screen = ScreenKind::headless; }},
    {"--screenshot", "FILE", "save a picture after start-up, then end",
     [](RunOptions& o, const std::string& v) { o.screenshot = v; }},
    {"--world", "DIR", "use and keep this world instead of a new one",
     [](RunOptions& o, const std::string& v) { o.world = v; }},
    {"--port", "N", "remote control on this TCP port; without it on the first free one from 5025",
     [](RunOptions& o, const std::string& v) { o.port = v; }},
    {"--speed", "N", "let the program's time run faster",
     [](RunOptions& o, const std::string& v) { o.commands.push_back("clock speed " + v); }},
    {"--plug", "'PORT MODEL ...'", "plug a sensor in before the program starts",
     [](RunOptions& o, const std::string& v) { o.commands.push_back("plug " + v); }},
    {"--do", "'COMMAND'", "carry out a command before the program starts",
     [](RunOptions& o, const std::string& v) { o.commands.push_back(v); }},
    {"--legacy", nullptr, "let the command port speak the older meter's protocol",
     [](RunOptions& o, const std::string&) { o.isLegacy = true; }},
    {"--stays-on", nullptr, "go on after the meter has switched itself off",
     [](RunOptions& o, const std::string&) { o.staysOn = true; }},
    {"--watchdog", nullptr, "start the program again when it hangs, as the instrument's unit does",
     [](RunOptions& o, const std::string&) { o.hasWatchdog = true; }},
    {"--program", "FILE", "run this instead of the application",
     [](RunOptions& o, const std::string& v) { o.program = v; }},
    {"--quiet", nullptr, "print nothing but errors",
     [](RunOptions& o, const std::string&) { o.isQuiet = true; }},
}};

} // namespace

bool RunOptions_parse(const std::vector<std::string>& words, RunOptions& options,
                      std::string& error) {
    for (size_t at = 0; at < words.size(); ++at) {
        if (words[at] == "--") {
            options.programArguments.assign(words.begin() + static_cast<ptrdiff_t>(at) + 1,
                                            words.end());
            return true;
        }
        const auto* option = std::ranges::find(optionTable, words[at], &Option::name);
        if (option == optionTable.end()) {
            error = "unknown option '" + words[at] + "': see quorvel-bench --help";
            return false;
        }
        const bool hasValue = option->value != nullptr;
        if (hasValue && at + 1 == words.size()) {
            error = words[at] + " needs " + option->value;
            return false;
        }
        option->apply(options, hasValue ? words[++at] : std::string());
    }
    return true;
}

std::string RunOptions_help() {
    std::string text;
    for (const Option& option : optionTable) {
        const std::string left = std::string(option.name) +
                                 (option.value == nullptr ? "" : std::string(" ") + option.value);
        text += BenchText_format("  %-40s %s\n", left.c_str(), option.help);
    }
    return text;
}
