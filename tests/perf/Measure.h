#ifndef TESTS_PERF_MEASURE_H
#define TESTS_PERF_MEASURE_H

#include "Bench.h"

#include <string>

/// Measurements of the running meter, from outside.

/// Plugs a sensor in, answers the channel dialog if one comes, and waits for readings.
bool Measure_plugAndMeasure(Bench& bench, const std::string& line, const std::string& label);

/// Part of one core that the program uses during this time, in percent.
double Measure_processorShare(const Bench& bench, double seconds);

/// Processor time of the threads of a name, in nanoseconds; -1 when there is none.
int64_t Measure_threadTime_ns(const Bench& bench, const std::string& threadName);

/// Time from now until something is painted on the X display, in milliseconds; negative when
/// nothing is within 10 s.
double Measure_untilPainted_ms(const std::string& display);

#endif
