#include "CommandLine.h"

#include <array>
#include <cstdio>
#include <string_view>
#include <unistd.h>

namespace {

/// What start scripts and debuggers pass on; none of it is ours to parse.
constexpr std::array<std::string_view, 2> passedOnPrefixes = {"-prog-args", "--g-fatal-warning"};

bool isPassedOn(std::string_view argument) {
    for (const std::string_view prefix : passedOnPrefixes) {
        if (argument.starts_with(prefix)) {
            return true;
        }
    }
    return false;
}

void printUsage() {
    puts("QuorvelPowerMeterApp application");
    puts("Usage: ");
    puts("-v\tPrint version");
    puts("-?\tPrint this message");
}

} // namespace

const char* app_version() {
    return "QuorvelPowerMeterApp v3.0.1 built Oct 10 2024 18:59:34";
}

bool CommandLine_handle(int argc, char* argv[]) {
    if (argc > 1 && isPassedOn(argv[1])) {
        return false;
    }
    bool optionSeen = false;
    optind = 0; // start anew, also when called a second time
    for (int option = getopt(argc, argv, "?v"); option != -1; option = getopt(argc, argv, "?v")) {
        optionSeen = true;
        if (option == 'v') {
            puts(app_version());
        } else {
            printUsage();
        }
    }
    return optionSeen;
}
