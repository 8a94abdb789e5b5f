#ifndef TESTS_SOAK_REPORT_H
#define TESTS_SOAK_REPORT_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <string>

/// What a soak run has done, counted, and found.

using SoakClock = std::chrono::steady_clock;
using SoakTime = SoakClock::time_point;

struct Report {
    uint64_t seed = 0;
    SoakTime start;
    std::deque<std::string> lastActions; ///< the newest last, at most 50
    std::map<std::string, uint64_t> actions;
    std::map<std::string, uint64_t> checks; ///< "reply ..." and "text ..." that were compared
    std::map<std::string, SoakTime> told;   ///< when a finding of this kind was last printed
    std::map<std::string, uint64_t> findings;
};

/// Seconds since the run began.
double Report_elapsed_s(const Report& report);

/// Notes an action: its kind for the table, its whole text for the list of the last ones.
void Report_action(Report& report, const std::string& kind, const std::string& text);

/// Counts a comparison of this kind.
void Report_checked(Report& report, const std::string& kind, uint64_t count = 1);

/// Notes something that must not be. The first of its kind within a minute is printed with the
/// seed, the time and the last actions; true when it was printed.
bool Report_finding(Report& report, const std::string& kind, const std::string& text);

uint64_t Report_findingCount(const Report& report);

/// The table at the end.
void Report_print(const Report& report);

#endif
