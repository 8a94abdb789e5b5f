#ifndef FLEET_WEB_HISTORY_READER_H
#define FLEET_WEB_HISTORY_READER_H

#include "FleetHistory.h"
#include "FleetLoop.h"

#include <functional>
#include <memory>
#include <string>

/// Reads the service's database on a thread of its own, so that no meter waits for it: a year takes
/// its time.
struct HistoryReader;

/// Nothing, with the reason, if the database cannot be opened.
std::shared_ptr<HistoryReader> HistoryReader_start(const std::shared_ptr<FleetLoop>& loop,
                                                   const std::string& path, std::string& error);

/// Calls `read` on the thread and then what it returned on the loop. False if too much is to be
/// read already.
bool HistoryReader_do(HistoryReader& reader,
                      std::function<std::function<void()>(const SqliteFile&)> read);

/// Ends the thread after what it reads just now.
void HistoryReader_stop(HistoryReader& reader);

#endif
