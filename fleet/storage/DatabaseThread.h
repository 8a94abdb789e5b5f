#ifndef FLEET_STORAGE_DATABASE_THREAD_H
#define FLEET_STORAGE_DATABASE_THREAD_H

#include "FleetLoop.h"
#include "SqliteFile.h"

#include <functional>
#include <memory>

/// A thread with a connection to the service's database, for what takes its time: no meter waits
/// for it.
struct DatabaseThread;

std::shared_ptr<DatabaseThread> DatabaseThread_start(const std::shared_ptr<FleetLoop>& loop,
                                                     SqliteFile file);

/// Calls `work` on the thread and then what it returned on the loop. False if too much is to be
/// done already.
bool DatabaseThread_do(DatabaseThread& thread,
                       std::function<std::function<void()>(const SqliteFile&)> work);

/// Ends the thread after what it does just now, and closes its connection.
void DatabaseThread_stop(DatabaseThread& thread);

#endif
