#ifndef BENCH_WORLD_RUNNING_BENCHES_H
#define BENCH_WORLD_RUNNING_BENCHES_H

#include <string>
#include <vector>

/// The benches of this user that are playing now: a folder with a link to each one's world.

/// Enters a bench that answers in this world. Returns what leave() takes, empty when it cannot be
/// entered.
std::string RunningBenches_enter(const std::string& world);
void RunningBenches_leave(const std::string& entry);

/// Their worlds, the bench that was started last at the end. Entries of benches that have ended
/// without leaving are removed.
std::vector<std::string> RunningBenches_worlds();

/// The world of the bench that was started last without a world of the user's choice; empty when
/// there is none.
std::string RunningBenches_current();

/// Whether a bench plays in this world.
bool RunningBenches_answers(const std::string& world);

#endif
