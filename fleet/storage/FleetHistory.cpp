#include "FleetHistory.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <sqlite3.h>
#include <utility>

namespace {

constexpr int64_t minute_ms = 60'000;
constexpr int sensorColumn = 1;
constexpr int sensorSerialColumn = 2;
constexpr int sourceColumn = 3;
constexpr int firstValueColumn = 4;
constexpr size_t summedCount = fleetTemperature + 1; ///< values that steps have

// Parameters: 1 meter, 2 channel, 3 from, 4 to.
#define WHERE_ASKED " WHERE meter = ?1 AND channel = ?2 AND time_ms >= ?3 AND time_ms < ?4"
#define SUMMED_COLUMNS                                                                             \
    "forward_W, forward_min_W, forward_max_W, reflected_W, reflected_min_W, reflected_max_W, "     \
    "vswr, frequency_MHz, temperature_C "

constexpr const char* storedRows =
    "SELECT time_ms, sensor, sensor_serial, raw.* FROM sources JOIN raw ON source = id" WHERE_ASKED
    " ORDER BY time_ms";
constexpr const char* rawRows = "SELECT time_ms, sensor, sensor_serial, source, " SUMMED_COLUMNS
                                "FROM sources JOIN raw ON source = id" WHERE_ASKED;
constexpr const char* minuteRows = "SELECT time_ms, sensor, sensor_serial, source, " SUMMED_COLUMNS
                                   "FROM sources JOIN minutes ON source = id" WHERE_ASKED;
// The last moments, which have not become minutes yet, as minutes.
constexpr const char* newestRows =
    "SELECT time_ms / 60000 * 60000 AS minute, sensor, sensor_serial, source, avg(forward_W), "
    "min(forward_min_W), max(forward_max_W), avg(reflected_W), min(reflected_min_W), "
    "max(reflected_max_W), avg(vswr), avg(frequency_MHz), avg(temperature_C) "
    "FROM sources JOIN raw ON source = id WHERE meter = ?1 AND channel = ?2 AND time_ms < ?4 AND "
    "time_ms >= max(?3, coalesce((SELECT max(time_ms) + 60000 FROM minutes WHERE source = id), 0)) "
    "GROUP BY source, minute";

#undef WHERE_ASKED
#undef SUMMED_COLUMNS

constexpr const char* newestEvents =
    "SELECT time_ms, meter, channel, kind, detail FROM events "
    "WHERE (?1 = '' OR meter = ?1) AND time_ms >= ?2 AND time_ms < ?3 ORDER BY id DESC LIMIT ?4";

// In the order of the queue, so that no more is read than is asked for. Behind the first columns
// stands all of the raw reading.
constexpr const char* queuedReadings =
    "SELECT export_queue.id, sensor, sensor_serial, meter, channel, name, place, offset_dB, raw.* "
    "FROM export_queue CROSS JOIN sources ON sources.id = export_queue.source "
    "CROSS JOIN export_labels ON export_labels.id = export_queue.labels "
    "CROSS JOIN raw ON raw.source = export_queue.source AND raw.time_ms = export_queue.time_ms "
    "WHERE export_queue.id > ?1 ORDER BY export_queue.id LIMIT ?2";
enum QueuedColumn {
    queuedMeter = 3,
    queuedChannel,
    queuedName,
    queuedPlace,
    queuedOffset,
    queuedRaw
};

std::string textOf(const SqliteStatement& row, int column) {
    const unsigned char* text = sqlite3_column_text(row.get(), column);
    return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

double numberOf(const SqliteStatement& row, int column) {
    return sqlite3_column_type(row.get(), column) == SQLITE_NULL
               ? std::numeric_limits<double>::quiet_NaN()
               : sqlite3_column_double(row.get(), column);
}

/// A row without its values.
FleetReading readingOf(const SqliteStatement& row, const HistoryQuery& query, int64_t time_ms) {
    FleetReading reading;
    reading.time_ms = time_ms;
    reading.meter = query.meter;
    reading.channel = query.channel;
    reading.sensor = textOf(row, sensorColumn);
    reading.sensorSerial = textOf(row, sensorSerialColumn);
    reading.values = FleetReading_noValues();
    return reading;
}

void readValues(const SqliteStatement& row, int first, FleetReading& reading) {
    for (size_t value = 0; value < fleetValueCount; ++value) {
        reading.values[value] = numberOf(row, first + static_cast<int>(value));
    }
}

FleetReading storedReadingOf(const SqliteStatement& row, const HistoryQuery& query) {
    FleetReading reading = readingOf(row, query, sqlite3_column_int64(row.get(), 0));
    readValues(row, firstValueColumn + 1, reading); // behind the source's number and the time again
    return reading;
}

QueuedReading queuedReadingOf(const SqliteStatement& row) {
    QueuedReading queued;
    FleetReading& reading = queued.reading;
    reading.meter = textOf(row, queuedMeter);
    reading.channel = sqlite3_column_int(row.get(), queuedChannel);
    reading.sensor = textOf(row, sensorColumn);
    reading.sensorSerial = textOf(row, sensorSerialColumn);
    reading.time_ms = sqlite3_column_int64(row.get(), queuedRaw + 1); // behind the source's number
    readValues(row, queuedRaw + 2, reading);
    queued.labels = {textOf(row, queuedName), textOf(row, queuedPlace),
                     sqlite3_column_double(row.get(), queuedOffset)};
    return queued;
}

/// What the rows of one step and source have in sum.
struct StepSum {
    FleetReading reading;
    std::array<size_t, summedCount> counts{};
};
/// By the begin of the step and the source: a whole year is read in the order in which it is
/// stored, since sorting takes several times as long.
using StepSums = std::map<std::pair<int64_t, int64_t>, StepSum>;

bool isLeast(size_t value) {
    return value == fleetForwardMin || value == fleetReflectedMin;
}

bool isGreatest(size_t value) {
    return value == fleetForwardMax || value == fleetReflectedMax;
}

void addNumber(StepSum& sum, size_t value, double number) {
    if (std::isnan(number)) {
        return;
    }
    double& sofar = sum.reading.values[value];
    const bool isFirst = sum.counts[value]++ == 0;
    sofar = isFirst             ? number
            : isLeast(value)    ? std::min(sofar, number)
            : isGreatest(value) ? std::max(sofar, number)
                                : sofar + number;
}

FleetReading meanOf(StepSum& sum) {
    for (size_t value = 0; value < summedCount; ++value) {
        if (sum.counts[value] > 1 && !isLeast(value) && !isGreatest(value)) {
            sum.reading.values[value] /= static_cast<double>(sum.counts[value]);
        }
    }
    return std::move(sum.reading);
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

SqliteStatement askReadings(const SqliteFile& file, const char* text, const HistoryQuery& query,
                            std::string& error) {
    SqliteStatement statement = SqliteFile_prepare(file, text, error);
    if (statement) {
        int parameter = 0;
        SqliteFile_bind(statement, ++parameter, std::string_view(query.meter));
        SqliteFile_bind(statement, ++parameter, int64_t{query.channel});
        SqliteFile_bind(statement, ++parameter, query.from_ms);
        SqliteFile_bind(statement, ++parameter, query.to_ms);
    }
    return statement;
}

/// False, with the reason, where there are too many.
bool isRoomFor(size_t count, std::string& error) {
    if (count <= fleetHistoryMostReadings) {
        return true;
    }
    error = "more than " + std::to_string(fleetHistoryMostReadings) +
            " readings: ask for a shorter time, or for a (longer) step";
    return false;
}

bool readStored(const SqliteFile& file, const HistoryQuery& query,
                std::vector<FleetReading>& readings, std::string& error) {
    const SqliteStatement statement = askReadings(file, storedRows, query, error);
    return statement && readRows(file, statement, error, [&](const SqliteStatement& row) {
               readings.push_back(storedReadingOf(row, query));
               return isRoomFor(readings.size(), error);
           });
}

/// Adds up rows of a time, sensor and serial number, source and values.
bool readSteps(const SqliteFile& file, const char* text, const HistoryQuery& query, StepSums& sums,
               std::string& error) {
    const SqliteStatement statement = askReadings(file, text, query, error);
    auto sum = sums.end();
    return statement && readRows(file, statement, error, [&](const SqliteStatement& row) {
               const int64_t time_ms = sqlite3_column_int64(row.get(), 0);
               const int64_t source = sqlite3_column_int64(row.get(), sourceColumn);
               const std::pair step(time_ms / query.step_ms * query.step_ms, source);
               if (sum == sums.end() || sum->first != step) {
                   sum = sums.try_emplace(step, StepSum{readingOf(row, query, step.first)}).first;
               }
               for (size_t value = 0; value < summedCount; ++value) {
                   addNumber(sum->second, value,
                             numberOf(row, firstValueColumn + static_cast<int>(value)));
               }
               return isRoomFor(sums.size(), error);
           });
}

/// In one transaction: what becomes a minute meanwhile is neither missed nor met twice.
bool readLongSteps(const SqliteFile& file, const HistoryQuery& query, StepSums& sums,
                   std::string& error) {
    const bool isRead = SqliteFile_run(file, "BEGIN", error) &&
                        readSteps(file, minuteRows, query, sums, error) &&
                        readSteps(file, newestRows, query, sums, error);
    std::string ignored;
    SqliteFile_run(file, "ROLLBACK", ignored);
    return isRead;
}

} // namespace

bool FleetHistory_readings(const SqliteFile& file, const HistoryQuery& query,
                           std::vector<FleetReading>& readings, std::string& error) {
    if (query.step_ms == 0) {
        return readStored(file, query, readings, error);
    }
    StepSums sums;
    const bool isRead = query.step_ms < minute_ms ? readSteps(file, rawRows, query, sums, error)
                                                  : readLongSteps(file, query, sums, error);
    for (auto& [step, sum] : sums) {
        readings.push_back(meanOf(sum));
    }
    return isRead;
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

bool FleetHistory_queued(const SqliteFile& file, int64_t most, int64_t& last,
                         std::vector<QueuedReading>& readings, std::string& error) {
    const SqliteStatement statement = SqliteFile_prepare(file, queuedReadings, error);
    if (!statement) {
        return false;
    }
    SqliteFile_bind(statement, 1, last);
    SqliteFile_bind(statement, 2, most);
    return readRows(file, statement, error, [&](const SqliteStatement& row) {
        last = sqlite3_column_int64(row.get(), 0);
        readings.push_back(queuedReadingOf(row));
        return true;
    });
}
