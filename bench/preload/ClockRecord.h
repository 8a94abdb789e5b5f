#ifndef BENCH_PRELOAD_CLOCK_RECORD_H
#define BENCH_PRELOAD_CLOCK_RECORD_H

#include <atomic>
#include <cstdint>

/// The bench clock, in the world's file "clock", mapped by every process of the bench. A reader
/// takes the sequence, the fields, the sequence again, and starts over if it was odd or has changed.
struct ClockRecord {
    std::atomic<uint64_t> sequence;    ///< odd while the record is being changed
    std::atomic<double> speed;         ///< bench seconds per real second; 0 means real time
    std::atomic<int64_t> real_ns;      ///< real monotonic time of the last change of speed
    std::atomic<int64_t> bench_ns;     ///< bench monotonic time at that moment
    std::atomic<int64_t> wallAhead_ns; ///< bench wall clock minus bench monotonic clock
    int64_t reserved[3];
};
static_assert(sizeof(ClockRecord) == 64, "the record's layout is shared between processes");

/// Bench monotonic time at a real monotonic time.
inline int64_t ClockRecord_benchTime(double speed, int64_t base_real_ns, int64_t base_bench_ns,
                                     int64_t real_ns) {
    return base_bench_ns +
           static_cast<int64_t>(static_cast<double>(real_ns - base_real_ns) * speed);
}

#endif
