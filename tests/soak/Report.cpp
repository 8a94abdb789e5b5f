#include "Report.h"

#include <cinttypes>
#include <cstdio>

namespace {

constexpr size_t actionsKept = 50;
constexpr auto silenceAfterFinding = std::chrono::minutes(1);

void printTable(const char* title, const std::map<std::string, uint64_t>& rows) {
    uint64_t sum = 0;
    printf("%s\n", title);
    for (const auto& [name, count] : rows) {
        printf("  %-36s %10" PRIu64 "\n", name.c_str(), count);
        sum += count;
    }
    printf("  %-36s %10" PRIu64 "\n", "in all", sum);
}

} // namespace

double Report_elapsed_s(const Report& report) {
    return std::chrono::duration<double>(SoakClock::now() - report.start).count();
}

void Report_action(Report& report, const std::string& kind, const std::string& text) {
    ++report.actions[kind];
    char time[32];
    snprintf(time, sizeof time, "%9.2f s  ", Report_elapsed_s(report));
    report.lastActions.push_back(time + text);
    if (report.lastActions.size() > actionsKept) {
        report.lastActions.pop_front();
    }
}

void Report_checked(Report& report, const std::string& kind, uint64_t count) {
    report.checks[kind] += count;
}

bool Report_finding(Report& report, const std::string& kind, const std::string& text) {
    ++report.findings[kind];
    const auto known = report.told.find(kind);
    const SoakTime now = SoakClock::now();
    if (known != report.told.end() && now - known->second < silenceAfterFinding) {
        return false;
    }
    report.told[kind] = now;
    printf("FINDING %s: %s\n  seed %" PRIu64 ", after %.2f s; the last actions:\n", kind.c_str(),
           text.c_str(), report.seed, Report_elapsed_s(report));
    for (const std::string& action : report.lastActions) {
        printf("    %s\n", action.c_str());
    }
    fflush(stdout);
    return true;
}

uint64_t Report_findingCount(const Report& report) {
    uint64_t sum = 0;
    for (const auto& [kind, count] : report.findings) {
        sum += count;
    }
    return sum;
}

void Report_print(const Report& report) {
    printf("\nSoak of %.1f minutes, seed %" PRIu64 "\n", Report_elapsed_s(report) / 60,
           report.seed);
    printTable("Actions", report.actions);
    printTable("Compared with the bench's truth", report.checks);
    printTable("Findings", report.findings);
    fflush(stdout);
}
