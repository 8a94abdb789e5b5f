#ifndef TESTS_PERF_REPORT_H
#define TESTS_PERF_REPORT_H

#include <string>

/// What a measurement has found, for ./perf to gather. A figure that misses its goal is told, not a
/// failed test: a busy or slow machine misses some.

enum class PerfGoal {
    ratioAtMost,  ///< figure / reference
    ratioAtLeast, ///< figure / reference
    figureBelow,  ///< in the figure's own unit
    excessAtMost, ///< figure - reference, in the figure's own unit
};

struct PerfResult {
    const char* name;          ///< what was measured
    double figure;             ///< what the meter needs
    const char* unit;          ///< of figure and reference
    const char* referenceName; ///< what it is compared with, measured or known in the same run
    double reference;
    PerfGoal goal;
    double limit;
};

bool PerfResult_isMet(const PerfResult& result);

/// Prints one line: "perf:" and the name, figure, reference with its name, ratio, goal, and "yes"
/// or "no", with a tab before each.
void PerfResult_report(const PerfResult& result);

#endif
