#ifndef TESTS_SYSTEM_ALLOCATION_COUNTER_H
#define TESTS_SYSTEM_ALLOCATION_COUNTER_H

#include <array>
#include <atomic>
#include <cstdint>

/// What the counting library and a test share, in a file that both map.

/// Names the file.
constexpr const char* allocationCountsVariable = "ALLOCATION_COUNTS";

constexpr uint32_t allocationCallersKept = 256;

struct AllocationCounts {
    std::atomic<uint32_t> isLoaded;
    std::atomic<uint32_t> count; ///< allocations that the program's own code has asked for
    /// Where the last ones came from, as places in the program's file; entry count % 256 is next.
    std::array<std::atomic<uintptr_t>, allocationCallersKept> callers;
};

#endif
