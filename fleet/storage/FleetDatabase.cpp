#include "FleetDatabase.h"

#include "SchemaColumns.h"

#include <algorithm>
#include <array>
#include <span>
#include <sqlite3.h>

namespace {

constexpr int64_t minute_ms = 60'000;
constexpr int64_t week_ms = 7 * (24 * (60 * minute_ms));
// Little at a time, so that nobody waits for long.
constexpr size_t roundParts = 10;
constexpr size_t leastPart = 200; ///< readings: so many are stored at once, whatever their channels
constexpr size_t visitedAtOnce = 20;              ///< sources
constexpr int64_t thinnedAtOnce = 1000;           ///< rows of a table, or of a source
constexpr int64_t thinnedRaw = 2 * thinnedAtOnce; ///< rows of all sources
constexpr int checkpointPages = 1000;             ///< 4 MB, as SQLite itself has it

// The view shows readings under the names that every log has.
constexpr std::array schema{
    "CREATE TABLE sources (id INTEGER PRIMARY KEY, meter TEXT NOT NULL, channel INTEGER NOT NULL, "
    "sensor TEXT NOT NULL, sensor_serial TEXT NOT NULL, "
    "UNIQUE (meter, channel, sensor, sensor_serial));"
    "CREATE TABLE raw (source INTEGER NOT NULL REFERENCES sources, time_ms INTEGER NOT "
    "NULL, " FLEET_SCHEMA_1_VALUES ", "
    "PRIMARY KEY (source, time_ms)) WITHOUT ROWID;"
    "CREATE INDEX raw_by_time ON raw (time_ms);"
    "CREATE TABLE minutes (source INTEGER NOT NULL REFERENCES sources, time_ms INTEGER NOT NULL, "
    "count INTEGER NOT NULL, forward_W REAL, forward_min_W REAL, forward_max_W REAL, "
    "reflected_W REAL, reflected_min_W REAL, reflected_max_W REAL, "
    "vswr REAL, vswr_max REAL, frequency_MHz REAL, temperature_C REAL, "
    "PRIMARY KEY (source, time_ms)) WITHOUT ROWID;"
    "CREATE INDEX minutes_by_time ON minutes (time_ms);"
    "CREATE TABLE events (id INTEGER PRIMARY KEY AUTOINCREMENT, time_ms INTEGER NOT NULL, "
    "meter TEXT NOT NULL, channel INTEGER NOT NULL, kind TEXT NOT NULL, detail TEXT NOT NULL);"
    "CREATE INDEX events_by_time ON events (time_ms);"
    "CREATE VIEW readings AS SELECT "
    "strftime('%Y-%m-%dT%H:%M:%S', time_ms / 1000, 'unixepoch') || "
    "printf('.%03dZ', time_ms % 1000) AS time, meter, channel, sensor, sensor_serial, "
    "forward_W, forward_min_W, forward_max_W, reflected_W, reflected_min_W, reflected_max_W, vswr, "
    "frequency_MHz, temperature_C, duty_percent, period_us, prf_Hz, width_us, "
    "gate_mean_W, gate_max_W, gate_min_W, state1_mean_W, state1_max_W, state1_min_W, "
    "state2_mean_W, state2_max_W, state2_min_W, state3_mean_W, state3_max_W, state3_min_W, "
    "state4_mean_W, state4_max_W, state4_min_W FROM raw JOIN sources ON source = sources.id",

    "CREATE TABLE export_labels (id INTEGER PRIMARY KEY, name TEXT NOT NULL, place TEXT NOT NULL, "
    "offset_dB REAL NOT NULL, UNIQUE (name, place, offset_dB));"
    "CREATE TABLE export_queue (id INTEGER PRIMARY KEY, source INTEGER NOT NULL, "
    "time_ms INTEGER NOT NULL, labels INTEGER NOT NULL)",

    // Old readings are looked for source by source, which changes fewer pages.
    "DROP INDEX IF EXISTS raw_by_time",
};

constexpr const char* insertMinutes =
    "INSERT OR REPLACE INTO minutes SELECT source, time_ms / 60000 * 60000, count(*), "
    "avg(forward_W), min(forward_min_W), max(forward_max_W), "
    "avg(reflected_W), min(reflected_min_W), max(reflected_max_W), "
    "avg(vswr), max(vswr), avg(frequency_MHz), avg(temperature_C) "
    "FROM raw WHERE source = ?1 AND time_ms >= ?2 AND time_ms < ?3 GROUP BY 1, 2";

constexpr const char* removeRaw =
    "DELETE FROM raw WHERE source = ?1 AND time_ms IN "
    "(SELECT time_ms FROM raw WHERE source = ?1 AND time_ms < ?2 ORDER BY time_ms LIMIT ?3)";

std::string insertReadingStatement() {
    std::string places;
    for (size_t i = 0; i < fleetValueCount; ++i) {
        places += ",?";
    }
    return "INSERT OR IGNORE INTO raw VALUES (?,?" + places + ")";
}

int noteLogPages(void* logPages, sqlite3* /*file*/, const char* /*name*/, int count) {
    *static_cast<int*>(logPages) = count;
    return SQLITE_OK;
}

bool prepare(FleetDatabase& database, SqliteStatement& statement, const std::string& text,
             std::string& error) {
    statement = SqliteFile_prepare(database.file, text, error);
    return statement != nullptr;
}

bool prepareAll(FleetDatabase& database, std::string& error) {
    return prepare(database, database.insertReading, insertReadingStatement(), error) &&
           prepare(database, database.insertSource,
                   "INSERT OR IGNORE INTO sources (meter, channel, sensor, sensor_serial) VALUES "
                   "(?,?,?,?)",
                   error) &&
           prepare(database, database.selectSource,
                   "SELECT id FROM sources WHERE meter = ? AND channel = ? AND sensor = ? AND "
                   "sensor_serial = ?",
                   error) &&
           prepare(database, database.insertEvent,
                   "INSERT INTO events (time_ms, meter, channel, kind, detail) VALUES (?,?,?,?,?)",
                   error) &&
           prepare(database, database.newestMinute,
                   "SELECT coalesce(max(time_ms) + 60000, 0) FROM minutes WHERE source = ?",
                   error) &&
           prepare(database, database.insertMinutes, insertMinutes, error) &&
           prepare(database, database.removeRaw, removeRaw, error);
}

void bindSource(const SqliteStatement& statement, const FleetReading& reading) {
    SqliteFile_bind(statement, 1, std::string_view(reading.meter));
    SqliteFile_bind(statement, 2, int64_t{reading.channel});
    SqliteFile_bind(statement, 3, std::string_view(reading.sensor));
    SqliteFile_bind(statement, 4, std::string_view(reading.sensorSerial));
}

/// The number of a reading's source, which is entered if need be; -1 on failure.
int64_t sourceOf(FleetDatabase& database, const FleetReading& reading, std::string& error) {
    const auto key = std::tie(reading.meter, reading.channel, reading.sensor, reading.sensorSerial);
    if (const auto known = database.sources.find(key); known != database.sources.end()) {
        return known->second;
    }
    bindSource(database.insertSource, reading);
    bindSource(database.selectSource, reading);
    if (!SqliteFile_step(database.file, database.insertSource, error)) {
        return -1;
    }
    const int64_t number = SqliteFile_askNumber(database.file, database.selectSource, error);
    if (number >= 0) {
        database.sources.emplace(key, number);
    }
    return number;
}

bool storeReading(FleetDatabase& database, const WaitingReading& waiting, std::string& error) {
    const FleetReading& reading = waiting.reading;
    const int64_t source = sourceOf(database, reading, error);
    if (source < 0) {
        return false;
    }
    SqliteFile_bind(database.insertReading, 1, source);
    SqliteFile_bind(database.insertReading, 2, reading.time_ms);
    int parameter = 2;
    for (const double value : reading.values) {
        SqliteFile_bind(database.insertReading, ++parameter, value);
    }
    if (!SqliteFile_step(database.file, database.insertReading, error)) {
        return false;
    }
    const bool isNew = sqlite3_changes(database.file.get()) > 0;
    return !isNew || waiting.labels == fleetDatabaseNotExported ||
           ExportQueue_add(database.queue, database.file, source, reading.time_ms, waiting.labels,
                           error);
}

bool storeEvent(FleetDatabase& database, const FleetEvent& event, std::string& error) {
    SqliteFile_bind(database.insertEvent, 1, event.time_ms);
    SqliteFile_bind(database.insertEvent, 2, std::string_view(event.meter));
    SqliteFile_bind(database.insertEvent, 3, int64_t{event.channel});
    SqliteFile_bind(database.insertEvent, 4, std::string_view(event.kind));
    SqliteFile_bind(database.insertEvent, 5, std::string_view(event.detail));
    return SqliteFile_step(database.file, database.insertEvent, error);
}

/// Begins with the readings that have come meanwhile, if all before are stored.
void beginRound(FleetDatabase& database) {
    if (database.roundStored < database.round.size()) {
        return;
    }
    database.round.clear();
    database.round.swap(database.waitingReadings);
    database.roundStored = 0;
    database.roundPart = std::max(leastPart, database.round.size() / roundParts + 1);
    std::ranges::stable_sort(database.round, {}, [](const WaitingReading& waiting) {
        return std::tie(waiting.reading.meter, waiting.reading.channel);
    });
}

/// Stores the round's readings up to the `to`-th, the events, and what the exporter is done with.
bool storeWaiting(FleetDatabase& database, size_t to, std::string& error) {
    const auto readings = std::span(database.round).first(to).subspan(database.roundStored);
    return std::ranges::all_of(readings,
                               [&](const WaitingReading& waiting) {
                                   return storeReading(database, waiting, error);
                               }) &&
           std::ranges::all_of(
               database.waitingEvents,
               [&](const FleetEvent& event) { return storeEvent(database, event, error); }) &&
           ExportQueue_removeTaken(database.queue, database.file, error);
}

/// The next `most` readings of the round, and all else, in one transaction.
bool storePart(FleetDatabase& database, size_t most, std::string& error) {
    const size_t to =
        database.roundStored + std::min(most, database.round.size() - database.roundStored);
    if (to == database.roundStored && database.waitingEvents.empty() &&
        database.queue.isTakenRemoved) {
        return true;
    }
    if (!SqliteFile_run(database.file, "BEGIN IMMEDIATE", error)) {
        return false;
    }
    const bool isCommitted =
        storeWaiting(database, to, error) && SqliteFile_run(database.file, "COMMIT", error);
    ExportQueue_end(database.queue, isCommitted);
    if (!isCommitted) {
        std::string ignored; // some failures have rolled back already
        SqliteFile_run(database.file, "ROLLBACK", ignored);
        database.sources.clear(); // those that were entered just now are gone again
        return false;
    }
    database.roundStored = to;
    database.waitingEvents.clear();
    return true;
}

/// Gives the oldest up where there are too many. Returns how many.
template <typename Entry> size_t makeRoom(std::vector<Entry>& entries, size_t count) {
    if (count < fleetDatabaseMostWaiting) {
        return 0;
    }
    const size_t part = std::min(fleetDatabaseMostWaiting / 100, entries.size());
    entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(part));
    return part;
}

bool listSources(const FleetDatabase& database, std::vector<int64_t>& numbers, std::string& error) {
    const SqliteStatement sources =
        SqliteFile_prepare(database.file, "SELECT id FROM sources", error);
    int result = sources ? SQLITE_ROW : SQLITE_ERROR;
    while (result == SQLITE_ROW) {
        result = sqlite3_step(sources.get());
        if (result == SQLITE_ROW) {
            numbers.push_back(sqlite3_column_int64(sources.get(), 0));
        }
    }
    if (result != SQLITE_DONE) {
        error = SqliteFile_failure(database.file);
    }
    return result == SQLITE_DONE;
}

bool summarizeSource(FleetDatabase& database, int64_t source, std::string& error) {
    SqliteFile_bind(database.newestMinute, 1, source);
    const int64_t from_ms = SqliteFile_askNumber(database.file, database.newestMinute, error);
    if (from_ms < 0) {
        return false;
    }
    SqliteFile_bind(database.insertMinutes, 1, source);
    SqliteFile_bind(database.insertMinutes, 2, from_ms);
    SqliteFile_bind(database.insertMinutes, 3, database.summarizedTo_ms);
    return SqliteFile_step(database.file, database.insertMinutes, error);
}

/// Goes round the sources, a few at a time, and stays with one that has many old readings.
bool thinRaw(FleetDatabase& database, int64_t before_ms, std::string& error) {
    if (database.unthinned.empty() && !listSources(database, database.unthinned, error)) {
        return false;
    }
    int64_t removed = 0;
    for (size_t visited = 0;
         visited < visitedAtOnce && removed < thinnedRaw && !database.unthinned.empty();
         ++visited) {
        SqliteFile_bind(database.removeRaw, 1, database.unthinned.back());
        SqliteFile_bind(database.removeRaw, 2, before_ms);
        SqliteFile_bind(database.removeRaw, 3, thinnedAtOnce);
        if (!SqliteFile_step(database.file, database.removeRaw, error)) {
            return false;
        }
        const int64_t count = sqlite3_changes(database.file.get());
        removed += count;
        if (count < thinnedAtOnce) {
            database.unthinned.pop_back();
        }
    }
    return true;
}

std::string removal(const char* table, const char* key, int64_t before_ms) {
    const std::string name = table;
    const std::string keys = key;
    return "DELETE FROM " + name + " WHERE (" + keys + ") IN (SELECT " + keys + " FROM " + name +
           " WHERE time_ms < " + std::to_string(before_ms) + " LIMIT " +
           std::to_string(thinnedAtOnce) + ");";
}

} // namespace

bool FleetDatabase_open(FleetDatabase& database, const std::string& path, std::string& error) {
    database.file = SqliteFile_open(path, schema, error);
    if (database.file) {
        // In place of SQLite's own, which makes the checkpoints at once.
        sqlite3_wal_hook(database.file.get(), noteLogPages, &database.logPages);
    }
    return database.file && prepareAll(database, error) &&
           ExportQueue_open(database.queue, database.file, error);
}

void FleetDatabase_add(FleetDatabase& database, FleetReading reading, size_t labels) {
    database.lost += makeRoom(database.waitingReadings, FleetDatabase_waiting(database));
    database.waitingReadings.push_back({std::move(reading), labels});
}

void FleetDatabase_addEvent(FleetDatabase& database, FleetEvent event) {
    makeRoom(database.waitingEvents, database.waitingEvents.size());
    database.waitingEvents.push_back(std::move(event));
}

void FleetDatabase_noteExported(FleetDatabase& database, int64_t last) {
    database.queue.takenTo = last;
    database.queue.isTakenRemoved = false;
}

bool FleetDatabase_flush(FleetDatabase& database, std::string& error) {
    do {
        beginRound(database);
        if (!storePart(database, database.round.size(), error)) {
            return false;
        }
    } while (!database.waitingReadings.empty());
    return true;
}

bool FleetDatabase_flushSome(FleetDatabase& database, std::string& error) {
    beginRound(database);
    return storePart(database, database.roundPart, error);
}

size_t FleetDatabase_waiting(const FleetDatabase& database) {
    return database.waitingReadings.size() + database.round.size() - database.roundStored;
}

bool FleetDatabase_summarize(FleetDatabase& database, int64_t time_ms, size_t most,
                             std::string& error) {
    const int64_t minute = time_ms / minute_ms * minute_ms;
    if (database.unsummarized.empty() && minute > database.summarizedTo_ms) {
        if (!listSources(database, database.unsummarized, error)) {
            return false;
        }
        database.summarizedTo_ms = minute;
    }
    for (size_t done = 0; done < most && !database.unsummarized.empty(); ++done) {
        if (!summarizeSource(database, database.unsummarized.back(), error)) {
            return false;
        }
        database.unsummarized.pop_back();
    }
    return true;
}

bool FleetDatabase_thin(FleetDatabase& database, int64_t now_ms, int64_t keepRaw_ms,
                        int64_t keepMinutes_ms, std::string& error) {
    const int64_t keepQueue_ms = keepRaw_ms + std::max(keepRaw_ms, week_ms);
    if (!ExportQueue_forget(database.queue, database.file, now_ms - keepQueue_ms, error)) {
        return false;
    }
    const int64_t keptFrom_ms =
        std::min(now_ms - keepRaw_ms, ExportQueue_oldest_ms(database.queue));
    return thinRaw(database, keptFrom_ms, error) &&
           SqliteFile_run(database.file,
                          removal("minutes", "source, time_ms", now_ms - keepMinutes_ms) +
                              removal("events", "id", now_ms - keepMinutes_ms),
                          error);
}

bool FleetDatabase_isCheckpointDue(FleetDatabase& database) {
    if (database.logPages < database.checkpointedAt) {
        database.checkpointedAt = 0; // the log has begun anew
    }
    const bool isDue = database.logPages - database.checkpointedAt >= checkpointPages;
    if (isDue) {
        database.checkpointedAt = database.logPages;
    }
    return isDue;
}

void FleetDatabase_close(FleetDatabase& database) {
    for (SqliteStatement* statement :
         {&database.insertReading, &database.insertSource, &database.selectSource,
          &database.insertEvent, &database.insertMinutes, &database.newestMinute,
          &database.removeRaw}) {
        statement->reset();
    }
    ExportQueue_close(database.queue);
    database.file.reset();
}
