#include "FleetHistory.h"

#include <limits>
#include <sqlite3.h>

namespace {

constexpr int64_t minute_ms = 60'000;
constexpr int sensorColumn = 1;
constexpr int sensorSerialColumn = 2;
constexpr int firstValueColumn = 3;

// Parameters: 1 meter, 2 channel, 3 from, 4 to, 5 step.
#define WHERE_ASKED " WHERE meter = ?1 AND channel = ?2 AND time_ms >= ?3 AND time_ms < ?4 "
#define SUMMED_UP                                                                                  \
    "avg(forward_W) AS forward_W, min(forward_min_W) AS forward_min_W, "                           \
    "max(forward_max_W) AS forward_max_W, avg(reflected_W) AS reflected_W, "                       \
    "min(reflected_min_W) AS reflected_min_W, max(reflected_max_W) AS reflected_max_W, "           \
    "avg(vswr) AS vswr, avg(frequency_MHz) AS frequency_MHz, avg(temperature_C) AS temperature_C "

constexpr const char* storedReadings =
    "SELECT time_ms, sensor, sensor_serial, raw.* FROM sources JOIN raw ON source = id" WHERE_ASKED
    "ORDER BY time_ms";

constexpr const char* shortSteps =
    "SELECT time_ms / ?5 * ?5 AS step, sensor, sensor_serial, " SUMMED_UP
    "FROM sources JOIN raw ON source = id" WHERE_ASKED "GROUP BY step, source ORDER BY step";

// The last moments have not become minutes yet.
constexpr const char* longSteps =
    "WITH present AS (SELECT id, sensor, sensor_serial, "
    "coalesce((SELECT max(time_ms) + 60000 FROM minutes WHERE source = id), 0) AS made_ms "
    "FROM sources WHERE meter = ?1 AND channel = ?2), "
    "every_minute AS (SELECT id, sensor, sensor_serial, time_ms, forward_W, forward_min_W, "
    "forward_max_W, reflected_W, reflected_min_W, reflected_max_W, vswr, frequency_MHz, "
    "temperature_C FROM present JOIN minutes ON source = id WHERE time_ms >= ?3 AND time_ms < ?4 "
    "UNION ALL SELECT id, sensor, sensor_serial, time_ms / 60000 * 60000 AS minute, " SUMMED_UP
    "FROM present JOIN raw ON source = id "
    "WHERE time_ms >= max(?3, made_ms) AND time_ms < ?4 GROUP BY id, minute) "
    "SELECT time_ms / ?5 * ?5 AS step, sensor, sensor_serial, " SUMMED_UP
    "FROM every_minute GROUP BY step, id ORDER BY step";

#undef WHERE_ASKED
#undef SUMMED_UP

constexpr const char* newestEvents =
    "SELECT time_ms, meter, channel, kind, detail FROM events "
    "WHERE (?1 = '' OR meter = ?1) AND time_ms >= ?2 AND time_ms < ?3 ORDER BY id DESC LIMIT ?4";

std::string textOf(const SqliteStatement& row, int column) {
    const unsigned char* text = sqlite3_column_text(row.get(), column);
    return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

double numberOf(const SqliteStatement& row, int column) {
    return sqlite3_column_type(row.get(), column) == SQLITE_NULL
               ? std::numeric_limits<double>::quiet_NaN()
               : sqlite3_column_double(row.get(), column);
}

FleetReading readingOf(const SqliteStatement& row, const HistoryQuery& query) {
    FleetReading reading;
    reading.time_ms = sqlite3_column_int64(row.get(), 0);
    reading.meter = query.meter;
    reading.channel = query.channel;
    reading.sensor = textOf(row, sensorColumn);
    reading.sensorSerial = textOf(row, sensorSerialColumn);
    reading.values = FleetReading_noValues();
    // Stored readings have their source and time before the values.
    const int first = firstValueColumn + (query.step_ms == 0 ? 2 : 0);
    const int end = sqlite3_column_count(row.get());
    for (int column = first; column < end; ++column) {
        reading.values[static_cast<size_t>(column - first)] = numberOf(row, column);
    }
    return reading;
}

FleetEvent eventOf(const SqliteStatement& row) {
    constexpr int detailColumn = 4;
    return {sqlite3_column_int64(row.get(), 0), textOf(row, 1), sqlite3_column_int(row.get(), 2),
            textOf(row, 3), textOf(row, detailColumn)};
}

/// Calls `take(row)` for each row until it returns false.
template <typename Take>
bool readRows(const SqliteFile& file, const SqliteStatement& statement, std::string& error,
              Take take) {
    int result = sqlite3_step(statement.get());
    while (result == SQLITE_ROW && take(statement)) {
        result = sqlite3_step(statement.get());
    }
    if (result == SQLITE_DONE) {
        return true;
    }
    if (result != SQLITE_ROW) {
        error = SqliteFile_failure(file);
    }
    return false;
}

} // namespace

bool FleetHistory_readings(const SqliteFile& file, const HistoryQuery& query,
                           std::vector<FleetReading>& readings, std::string& error) {
    const char* text = query.step_ms == 0          ? storedReadings
                       : query.step_ms < minute_ms ? shortSteps
                                                   : longSteps;
    const SqliteStatement statement = SqliteFile_prepare(file, text, error);
    if (!statement) {
        return false;
    }
    int parameter = 0;
    SqliteFile_bind(statement, ++parameter, std::string_view(query.meter));
    SqliteFile_bind(statement, ++parameter, int64_t{query.channel});
    SqliteFile_bind(statement, ++parameter, query.from_ms);
    SqliteFile_bind(statement, ++parameter, query.to_ms);
    if (query.step_ms > 0) {
        SqliteFile_bind(statement, ++parameter, query.step_ms);
    }
    return readRows(file, statement, error, [&](const SqliteStatement& row) {
        if (readings.size() == fleetHistoryMostReadings) {
            error = "more than " + std::to_string(fleetHistoryMostReadings) +
                    " readings: ask for a shorter time, or for a (longer) step";
            return false;
        }
        readings.push_back(readingOf(row, query));
        return true;
    });
}

bool FleetHistory_events(const SqliteFile& file, const HistoryQuery& query,
                         std::vector<FleetEvent>& events, std::string& error) {
    const SqliteStatement statement = SqliteFile_prepare(file, newestEvents, error);
    if (!statement) {
        return false;
    }
    int parameter = 0;
    SqliteFile_bind(statement, ++parameter, std::string_view(query.meter));
    SqliteFile_bind(statement, ++parameter, query.from_ms);
    SqliteFile_bind(statement, ++parameter, query.to_ms);
    SqliteFile_bind(statement, ++parameter, query.limit);
    return readRows(file, statement, error, [&events](const SqliteStatement& row) {
        events.push_back(eventOf(row));
        return true;
    });
}
