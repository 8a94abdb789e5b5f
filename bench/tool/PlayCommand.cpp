#include "PlayCommand.h"

#include "BenchClock.h"
#include "BenchText.h"

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>

namespace {

struct Step {
    double time_s; ///< bench time since the start
    size_t line;   ///< in the file
    Words words;
};

struct Scenario {
    std::string file;
    std::vector<Step> steps;
};

std::string placeOf(const Scenario& scenario, size_t line) {
    return scenario.file + ":" + std::to_string(line) + ": ";
}

/// Blank-separated words up to a remark. False when a quote is not closed.
bool readWords(std::string_view line, Words& words) {
    bool isQuoted = false;
    bool isWord = false;
    for (const char letter : line) {
        const bool isBlank = letter == ' ' || letter == '\t' || letter == '\r';
        if (!isQuoted && letter == '#' && !isWord) {
            break;
        }
        if (!isQuoted && isBlank) {
            isWord = false;
            continue;
        }
        if (!isWord) {
            words.emplace_back();
            isWord = true;
        }
        if (letter == '"') {
            isQuoted = !isQuoted;
        } else {
            words.back() += letter;
        }
    }
    return !isQuoted;
}

/// Takes up one line; says why it cannot be one.
std::string addLine(Scenario& scenario, const PlayedCommands& commands, const std::string& text,
                    size_t line) {
    Words words;
    if (!readWords(text, words)) {
        return "a quote is not closed";
    }
    if (words.empty()) {
        return {};
    }
    const bool isRelative = words[0].starts_with('+');
    const auto time_s = BenchText_duration_s(std::string_view(words[0]).substr(isRelative ? 1 : 0));
    const double before_s = scenario.steps.empty() ? 0 : scenario.steps.back().time_s;
    const double due_s = time_s.value_or(-1) + (isRelative ? before_s : 0);
    if (!time_s || due_s < before_s) {
        return "'" + words[0] + "' is not a time such as 30s or +5s, after the line before";
    }
    words.erase(words.begin());
    if (words.empty() || !commands.knows(words[0]) || words[0] == "play") {
        return words.empty() ? "a time without a command" : "unknown command '" + words[0] + "'";
    }
    scenario.steps.push_back({due_s, line, words});
    return {};
}

bool readScenario(Scenario& scenario, const PlayedCommands& commands, std::string& error) {
    std::ifstream file(scenario.file);
    if (!file) {
        error = scenario.file + ": cannot be read";
        return false;
    }
    size_t line = 0;
    for (std::string text; std::getline(file, text);) {
        ++line;
        const std::string why = addLine(scenario, commands, text, line);
        if (!why.empty()) {
            error = placeOf(scenario, line) + why;
            return false;
        }
    }
    return true;
}

double benchTime_s(const BenchClockReading& reading) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9 +
           static_cast<double>(reading.ahead_ns) / 1e9;
}

// A change of the clock's speed wakes the sleeper, who reckons anew.
void waitUntil(const BenchClock& clock, double due_s) {
    for (;;) {
        const BenchClockReading reading = BenchClock_read(clock);
        const double left_s = due_s - benchTime_s(reading);
        if (left_s <= 0) {
            return;
        }
        BenchClock_sleep(clock, reading, static_cast<int64_t>(left_s / reading.speed * 1e9));
    }
}

void show(const Step& step) {
    printf("%8.1f", step.time_s);
    for (const std::string& word : step.words) {
        printf(" %s", word.c_str());
    }
    printf("\n");
    fflush(stdout);
}

} // namespace

int PlayCommand_run(const std::string& world, const Words& words, const PlayedCommands& commands) {
    if (words.size() != 2) {
        return ToolAnswer_usage("play FILE");
    }
    Scenario scenario{words[1], {}};
    std::string error;
    if (!readScenario(scenario, commands, error)) {
        return ToolAnswer_fail(error);
    }
    const BenchClock* clock = BenchClock_map(world.c_str());
    if (clock == nullptr) {
        return ToolAnswer_fail("no bench plays in " + world);
    }
    const std::string folder = std::filesystem::path(scenario.file).parent_path();
    const double start_s = benchTime_s(BenchClock_read(*clock));
    for (const Step& step : scenario.steps) {
        waitUntil(*clock, start_s + step.time_s);
        show(step);
        const int status = commands.run(world, step.words, folder);
        if (status != 0) {
            return ToolAnswer_fail(placeOf(scenario, step.line) + "the play ends here");
        }
    }
    return 0;
}
