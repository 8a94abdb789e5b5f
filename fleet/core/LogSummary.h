#ifndef FLEET_CORE_LOG_SUMMARY_H
#define FLEET_CORE_LOG_SUMMARY_H

#include <cstddef>
#include <cstdint>
#include <string>

/// What a log tells of itself while it runs and at its end.
struct LogSummary {
    size_t meters = 0;
    size_t metersThere = 0; ///< that answer now
    uint64_t readings = 0;
    uint64_t gaps = 0; ///< readings that should have been there
    int64_t elapsed_ms = 0;
    int64_t duration_ms = 0; ///< of the whole log, 0 without an end
};

/// One line without its end, as in "1234 readings, 9.9/s, 3 gaps, 2 of 3 meters, 0:57:12 left".
std::string LogSummary_progress(const LogSummary& summary);

/// One line without its end, as in "1234 readings of 3 meters in 1:00:00, 3 gaps, in readings.csv".
std::string LogSummary_end(const LogSummary& summary, const std::string& path);

#endif
