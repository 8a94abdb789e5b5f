#ifndef FLEET_STORAGE_FLEET_DATABASE_H
#define FLEET_STORAGE_FLEET_DATABASE_H

#include "ExportQueue.h"
#include "FleetReading.h"
#include "SqliteFile.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

/// The service's database: readings as they came for days, their minutes (least, mean, greatest)
/// for years, and events. What is added waits in memory until it is flushed, longer while the file
/// cannot take it.
///
/// Readings lie in the file by their sources: those of a channel on one page, those of a thousand
/// channels on a thousand. So a reading waits a moment for others of its channel, and each flush
/// stores those of some channels.

struct FleetEvent {
    int64_t time_ms = 0; ///< UTC
    std::string meter;   ///< serial number, or the address of a meter that has not told it yet
    int channel = 0;     ///< 0: of the meter itself
    std::string kind;    ///< as in "sensor came"
    std::string detail;
};

/// Labels of a reading that is not exported.
constexpr size_t fleetDatabaseNotExported = SIZE_MAX;

struct WaitingReading {
    FleetReading reading;
    size_t labels = fleetDatabaseNotExported; ///< see ExportQueue_label
};

struct FleetDatabase {
    SqliteFile file;
    ExportQueue queue;
    SqliteStatement insertReading;
    SqliteStatement insertSource;
    SqliteStatement selectSource;
    SqliteStatement insertEvent;
    SqliteStatement newestMinute;
    SqliteStatement insertMinutes;
    SqliteStatement removeRaw;
    /// Numbers of meter, channel, sensor and its serial number in the table `sources`.
    std::map<std::tuple<std::string, int, std::string, std::string>, int64_t, std::less<>> sources;
    std::vector<WaitingReading> waitingReadings; ///< as they came
    std::vector<WaitingReading> round;           ///< that came before, by channel
    size_t roundStored = 0;                      ///< so many of the round
    size_t roundPart = 0;                        ///< are stored at a time
    std::vector<FleetEvent> waitingEvents;
    std::vector<int64_t> unsummarized; ///< sources whose minutes are to be made
    std::vector<int64_t> unthinned;    ///< sources in which old readings are to be looked for
    int64_t summarizedTo_ms = 0;       ///< the minute up to which they are
    int logPages = 0;                  ///< of the write-ahead log, after the last transaction
    int checkpointedAt = 0;            ///< so many pages, when a checkpoint was due last
    uint64_t lost = 0;                 ///< readings that the file did not take for too long
};

constexpr size_t fleetDatabaseMostWaiting = 200'000; ///< readings, and as many events

/// Opens or makes it. False with the reason. The structure must stay where it is from then on.
///
/// This connection brings nothing of the write-ahead log into the file, which would wait for the
/// disk: that is for SqliteFile_checkpoint, on another connection and another thread, whenever it
/// is due.
bool FleetDatabase_open(FleetDatabase& database, const std::string& path, std::string& error);

void FleetDatabase_add(FleetDatabase& database, FleetReading reading,
                       size_t labels = fleetDatabaseNotExported);
void FleetDatabase_addEvent(FleetDatabase& database, FleetEvent event);

/// The receiver has all readings of the queue up to this number. It is stored with the next flush.
void FleetDatabase_noteExported(FleetDatabase& database, int64_t last);

/// Stores all that waits. False with the reason; what was not stored waits on, and it may be tried
/// again. A reading that is there already is not stored twice.
bool FleetDatabase_flush(FleetDatabase& database, std::string& error);

/// Stores the events that wait and, channel by channel, a tenth of the readings, or some hundreds
/// of them: called ten times a second it keeps none waiting for more than some two seconds. All of
/// it is stored, or nothing. False as above.
bool FleetDatabase_flushSome(FleetDatabase& database, std::string& error);

/// Readings that are not stored yet.
size_t FleetDatabase_waiting(const FleetDatabase& database);

/// Makes the minutes that are over at a time and not yet made, of `most` sources at most, so that
/// nobody waits for long; to be called again and again. What is stored later with an earlier time
/// is in no minute. False with the reason.
bool FleetDatabase_summarize(FleetDatabase& database, int64_t time_ms, size_t most,
                             std::string& error);

/// Removes some of what is older than it is to be kept; to be called again and again. Readings that
/// are not exported yet are kept for as long again, and a week at least. False with the reason.
bool FleetDatabase_thin(FleetDatabase& database, int64_t now_ms, int64_t keepRaw_ms,
                        int64_t keepMinutes_ms, std::string& error);

/// Whether a checkpoint is due. Says so once: it is due again when the log has grown as much again.
bool FleetDatabase_isCheckpointDue(FleetDatabase& database);

void FleetDatabase_close(FleetDatabase& database);

#endif
