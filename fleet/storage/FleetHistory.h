#ifndef FLEET_STORAGE_FLEET_HISTORY_H
#define FLEET_STORAGE_FLEET_HISTORY_H

#include "FleetDatabase.h"

#include <string>
#include <vector>

/// What the service's database holds, for those who look on: a connection of its own that only
/// reads, for use by one thread.

struct HistoryQuery {
    std::string meter; ///< serial number; "" for all, events only
    int channel = 1;
    int64_t from_ms = 0; ///< UTC, included
    int64_t to_ms = 0;   ///< not included
    int64_t step_ms = 0; ///< readings are summed up to one for each step; 0: as they are stored
    int64_t limit = 0;   ///< events at most
};

/// Readings that one answer holds at most.
constexpr size_t fleetHistoryMostReadings = 50'000;

/// Readings of a meter's channel in the order of their times, offsets not applied. With steps, a
/// reading has the begin of its step as its time, and means, least and greatest powers; steps of a
/// minute and more are made of the stored minutes. False, with the reason, on failure and where
/// there are too many.
bool FleetHistory_readings(const SqliteFile& file, const HistoryQuery& query,
                           std::vector<FleetReading>& readings, std::string& error);

/// Events, the newest first. False with the reason.
bool FleetHistory_events(const SqliteFile& file, const HistoryQuery& query,
                         std::vector<FleetEvent>& events, std::string& error);

/// A reading of the export queue, as it was measured.
struct QueuedReading {
    FleetReading reading;
    ReadingLabels labels;
};

/// Readings of the export queue behind the number `last`, `most` of them at most, in their order;
/// `last` becomes the number of the last one. False with the reason.
bool FleetHistory_queued(const SqliteFile& file, int64_t most, int64_t& last,
                         std::vector<QueuedReading>& readings, std::string& error);

#endif
