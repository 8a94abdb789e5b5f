#ifndef BENCH_PRELOAD_BENCH_FAULTS_H
#define BENCH_PRELOAD_BENCH_FAULTS_H

#include <array>
#include <atomic>
#include <cstdint>
#include <string_view>

/// What fails in a world: a record in the world's file "faults", mapped by every process of the
/// world. A file of zeros is a world in which nothing fails.

enum class BenchFault : uint32_t {
    none,
    open,   ///< opening fails, for reading as well
    change, ///< a read-only place: opening for writing, making, renaming and removing fail
    full,   ///< a full disk: files open, but every write to them fails with ENOSPC
    rename, ///< renaming to the path fails
    sync,   ///< flushing to the disk fails
    slow,   ///< flushing to the disk takes this many milliseconds, or until the fault ends
    freeze, ///< the thread of this name stands still until the fault ends
};

constexpr size_t benchFaultLimit = 8;

struct BenchFaultEntry {
    std::atomic<BenchFault> kind;
    std::atomic<int32_t> error; ///< of a slow disk its time
    /// The instrument path; the fault holds for it and for all below it or beside it by a suffix.
    /// Of a frozen thread its name.
    std::array<char, 248> path;
};

struct BenchFaults {
    std::array<BenchFaultEntry, benchFaultLimit> entries;
};

/// Maps the faults of a world, making the file if there is none. Null on failure.
BenchFaults* BenchFaults_map(const char* folder);

/// The error number with which this kind of access to an instrument path fails (of a slow disk its
/// time), or 0.
int BenchFaults_find(const BenchFaults& faults, BenchFault kind, std::string_view instrumentPath);

/// Adds a fault; false when there are too many or the path is too long.
bool BenchFaults_add(const char* folder, BenchFault kind, std::string_view instrumentPath,
                     int error);
/// Ends the faults of this kind, or all.
bool BenchFaults_remove(const char* folder, BenchFault kind);
bool BenchFaults_clear(const char* folder);

#endif
