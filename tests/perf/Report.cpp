#include "Report.h"

#include <cstdio>

namespace {

std::string number(double value) {
    char text[32];
    snprintf(text, sizeof text, value < 1000 ? "%.4g" : "%.0f", value);
    return text;
}

std::string goalText(const PerfResult& result) {
    const std::string limit = number(result.limit);
    switch (result.goal) {
    case PerfGoal::ratioAtMost:
        return "ratio at most " + limit;
    case PerfGoal::ratioAtLeast:
        return "ratio at least " + limit;
    case PerfGoal::figureBelow:
        return "below " + limit + " " + result.unit;
    case PerfGoal::excessAtMost:
        return "at most " + limit + " " + result.unit + " more";
    }
    return "";
}

} // namespace

bool PerfResult_isMet(const PerfResult& result) {
    const double ratio = result.figure / result.reference;
    switch (result.goal) {
    case PerfGoal::ratioAtMost:
        return ratio <= result.limit;
    case PerfGoal::ratioAtLeast:
        return ratio >= result.limit;
    case PerfGoal::figureBelow:
        return result.figure < result.limit;
    case PerfGoal::excessAtMost:
        return result.figure - result.reference <= result.limit;
    }
    return false;
}

void PerfResult_report(const PerfResult& result) {
    printf("perf:\t%s\t%s %s\t%s %s, %s\t%s\t%s\t%s\n", result.name, number(result.figure).c_str(),
           result.unit, number(result.reference).c_str(), result.unit, result.referenceName,
           number(result.figure / result.reference).c_str(), goalText(result).c_str(),
           PerfResult_isMet(result) ? "yes" : "no");
    fflush(stdout);
}
