#ifndef BENCH_WORLD_BENCH_CLOCK_H
#define BENCH_WORLD_BENCH_CLOCK_H

#include <cstdint>
#include <string>

struct ClockRecord;

/// The bench's clock as the daemon and the tests see it: it runs at the world's speed and is
/// changed by "clock speed" and "clock step".

struct BenchClock {
    ClockRecord* record; ///< mapped; null before BenchClock_open
};

/// Maps the world's clock, making it at real time when the file is missing. False on error.
bool BenchClock_open(BenchClock& clock, const std::string& world);
void BenchClock_close(BenchClock& clock);

/// Real monotonic time.
int64_t BenchClock_real_ns();

/// Bench time since the clock's start; never runs backwards.
int64_t BenchClock_now_ns(const BenchClock& clock);

double BenchClock_speed(const BenchClock& clock);

/// Lets the program's clocks and waits run faster by this factor, 0.01 to 1000. False outside.
bool BenchClock_setSpeed(const BenchClock& clock, double speed);

/// Moves the program's wall clock; its monotonic clock is left alone.
void BenchClock_step(const BenchClock& clock, int64_t step_ns);

/// How far the wall clock has been moved, relative to its start.
int64_t BenchClock_steps_ns(const BenchClock& clock);

#endif
