#ifndef BENCH_PRELOAD_BENCH_CLOCK_H
#define BENCH_PRELOAD_BENCH_CLOCK_H

#include <atomic>
#include <cstdint>

/// A world's clock: a record in the world's file "clock", mapped by every process of the world, so
/// that it can change while they run. A file of zeros is real time.
///
/// The bench's clocks run ahead of the machine's by `ahead`, which grows by speed-1 for each second
/// that goes by on CLOCK_MONOTONIC_RAW. That clock itself is never altered: it tells real time to
/// those who need it.
struct BenchClock {
    std::atomic<uint32_t> version; ///< odd while a change is being written; sleepers wait on it
    std::atomic<uint32_t> skipsSleeps;
    std::atomic<double> speed; ///< 0 stands for 1
    std::atomic<int64_t> changed_ns;
    std::atomic<int64_t> aheadAtChange_ns;
    std::atomic<int64_t> wallOffset_ns;
};
static_assert(sizeof(BenchClock) == 40);

/// What a reader needs, from one moment.
struct BenchClockReading {
    double speed;
    int64_t ahead_ns;
    int64_t wallOffset_ns;
    uint32_t version;
    bool skipsSleeps;

    bool isRealTime() const {
        return speed == 1.0 && ahead_ns == 0 && wallOffset_ns == 0;
    }
};

/// Maps the clock of a world, making its file if there is none. Null on failure.
BenchClock* BenchClock_map(const char* folder);

BenchClockReading BenchClock_read(const BenchClock& clock);

/// Sleeps for so long in real time, or until the clock has been changed since the reading. 0, or
/// EINTR when a signal has been handled.
int BenchClock_sleep(const BenchClock& clock, const BenchClockReading& reading, int64_t real_ns);

/// Lets the clocks and waits of the world run `speed` times as fast as real time from now on; they
/// do not jump. Speeds outside 0.01 to 1000 are refused. One writer at a time across processes.
bool BenchClock_setSpeed(const char* folder, double speed);

/// Lets a sleep take no real time: it advances the world's clocks by its length instead. Waits for
/// something that may come sooner still take their time.
bool BenchClock_skipSleeps(const char* folder, bool skips);

/// Lets the world's clocks jump ahead.
bool BenchClock_advance(const char* folder, int64_t step_ns);

/// Steps the wall clock; the monotonic clock does not notice.
bool BenchClock_stepWall(const char* folder, int64_t step_ns);

#endif
