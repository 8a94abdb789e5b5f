#include "DiskCommand.h"

#include "BenchFaults.h"
#include "BenchHardware.h"
#include "BenchText.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <sys/mman.h>

namespace {

/// What outlives the instrument's power; the other places are memory or devices.
constexpr std::array<std::string_view, 2> places = {"/etc/", "/root/"};
constexpr double longest_s = 3600;
constexpr double millisecondsPerSecond = 1000;

bool setFault(const BenchHardware& hardware, BenchFault kind, int value) {
    const char* const world = hardware.world.c_str();
    bool isSet = BenchFaults_remove(world, kind);
    for (const std::string_view place : places) {
        isSet = isSet && BenchFaults_add(world, kind, place, value);
    }
    return isSet;
}

CommandOutcome outcomeOf(bool isDone) {
    return isDone ? CommandOutcome_accept()
                  : CommandOutcome_refuse("the faults of the world cannot be written");
}

} // namespace

CommandOutcome DiskCommand_run(BenchHardware& hardware, const CommandWords& words) {
    const char* const world = hardware.world.c_str();
    if (words[1] == "none") {
        return outcomeOf(BenchFaults_remove(world, BenchFault::slow) &&
                         BenchFaults_remove(world, BenchFault::full));
    }
    if (words[1] == "full") {
        return outcomeOf(setFault(hardware, BenchFault::full, ENOSPC));
    }
    constexpr std::string_view slow = "slow=";
    if (!words[1].starts_with(slow)) {
        return CommandOutcome_refuse(CommandOutcome_quoted(words[1]) +
                                     " is not slow=TIME, full or none");
    }
    const auto time_s = BenchText_duration_s(words[1].substr(slow.size()));
    if (!time_s || *time_s < 0 || *time_s > longest_s) {
        return CommandOutcome_refuse(CommandOutcome_quoted(words[1]) +
                                     " is not a time such as slow=500ms");
    }
    return outcomeOf(setFault(hardware, BenchFault::slow,
                              static_cast<int>(std::lround(*time_s * millisecondsPerSecond))));
}

std::string DiskCommand_status(const BenchHardware& hardware) {
    BenchFaults* const faults = BenchFaults_map(hardware.world.c_str());
    if (faults == nullptr) {
        return "disk: unknown\n";
    }
    const int slow_ms = BenchFaults_find(*faults, BenchFault::slow, places[0]);
    const bool isFull = BenchFaults_find(*faults, BenchFault::full, places[0]) != 0;
    munmap(faults, sizeof *faults);
    return BenchText_format("disk: slow=%dms%s\n", slow_ms, isFull ? " full" : "");
}
