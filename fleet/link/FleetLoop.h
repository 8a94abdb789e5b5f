#ifndef FLEET_LINK_FLEET_LOOP_H
#define FLEET_LINK_FLEET_LOOP_H

#include <cstdint>
#include <functional>
#include <memory>

/// The event loop that carries everything, on the thread that runs it. All its callbacks come on
/// that thread.
struct FleetLoop;

std::shared_ptr<FleetLoop> FleetLoop_create();

/// Runs until FleetLoop_stop.
void FleetLoop_run(FleetLoop& loop);

/// Lets FleetLoop_run return; from callbacks of the loop only.
void FleetLoop_stop(FleetLoop& loop);

/// Calls once, on the loop's thread; from any thread.
void FleetLoop_post(FleetLoop& loop, std::function<void()> callback);

/// Calls every so many milliseconds, the first time after one of them. What took longer is not made
/// up for.
void FleetLoop_every(FleetLoop& loop, int64_t period_ms, std::function<void()> callback);

/// Calls at each SIGINT and SIGTERM, which then do not end the program.
void FleetLoop_onEnd(FleetLoop& loop, const std::function<void()>& callback);

/// The monotonic clock.
int64_t FleetLoop_monotonic_ns();
/// The wall clock.
int64_t FleetLoop_wall_ns();

#endif
