#include "LogSummary.h"

#include "FleetText.h"

#include <array>
#include <cstdio>

namespace {

std::string counted(uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string rate(const LogSummary& summary) {
    std::array<char, 32> text;
    const double elapsed_s = static_cast<double>(summary.elapsed_ms) / 1000;
    const double perSecond = elapsed_s > 0 ? static_cast<double>(summary.readings) / elapsed_s : 0;
    snprintf(text.data(), text.size(), "%.1f/s", perSecond);
    return text.data();
}

} // namespace

std::string LogSummary_progress(const LogSummary& summary) {
    const int64_t left_ms = summary.duration_ms - summary.elapsed_ms;
    return counted(summary.readings, "reading", "readings") + ", " + rate(summary) + ", " +
           counted(summary.gaps, "gap", "gaps") + ", " + std::to_string(summary.metersThere) +
           " of " + counted(summary.meters, "meter", "meters") + ", " +
           (summary.duration_ms > 0 ? FleetText_clock(left_ms) + " left"
                                    : FleetText_clock(summary.elapsed_ms) + " so far");
}

std::string LogSummary_end(const LogSummary& summary, const std::string& path) {
    return counted(summary.readings, "reading", "readings") + " of " +
           counted(summary.meters, "meter", "meters") + " in " +
           FleetText_clock(summary.elapsed_ms) + ", " + counted(summary.gaps, "gap", "gaps") +
           (path == "-" ? "" : ", in " + path);
}
