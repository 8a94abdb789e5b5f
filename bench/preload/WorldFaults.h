#ifndef BENCH_PRELOAD_WORLD_FAULTS_H
#define BENCH_PRELOAD_WORLD_FAULTS_H

#include "BenchFaults.h"
#include "WorldPath.h"

/// The faults of this process's world.

/// True, with errno set, when this kind of access to the path is to fail. Paths outside the world
/// never fail.
bool WorldFaults_fails(BenchFault kind, const WorldPath& path);

/// Where a thread may wait: one that is frozen does not come back from here. errno stays.
void WorldFaults_standStill();

#endif
