#include "SqliteReadings.h"

#include "FleetText.h"
#include "SchemaColumns.h"

#include <array>

namespace {

constexpr std::array schema{
    "CREATE TABLE readings ("
    "time TEXT NOT NULL, meter TEXT NOT NULL, channel INTEGER NOT NULL, sensor TEXT, "
    "sensor_serial TEXT, " FLEET_SCHEMA_1_VALUES ");"
    "CREATE INDEX readings_by_time ON readings (time)",
};

std::string insertStatement() {
    std::string names;
    std::string places;
    for (const std::string_view column : FleetReading_columns()) {
        names += names.empty() ? "" : ",";
        names += column;
        places += places.empty() ? "?" : ",?";
    }
    return "INSERT INTO readings (" + names + ") VALUES (" + places + ")";
}

bool insertRow(SqliteReadings& readings, const FleetReading& row, std::string& error) {
    const std::string time = FleetText_time(row.time_ms);
    SqliteFile_bind(readings.insert, 1, std::string_view(time));
    SqliteFile_bind(readings.insert, 2, std::string_view(row.meter));
    SqliteFile_bind(readings.insert, 3, int64_t{row.channel});
    SqliteFile_bind(readings.insert, 4, std::string_view(row.sensor));
    SqliteFile_bind(readings.insert, 5, std::string_view(row.sensorSerial));
    int parameter = fleetTextCount;
    for (const double value : row.values) {
        SqliteFile_bind(readings.insert, ++parameter, value);
    }
    return SqliteFile_step(readings.file, readings.insert, error);
}

} // namespace

bool SqliteReadings_open(SqliteReadings& readings, const std::string& path, std::string& error) {
    readings.file = SqliteFile_open(path, schema, error);
    if (readings.file) {
        readings.insert = SqliteFile_prepare(readings.file, insertStatement(), error);
    }
    return readings.insert != nullptr;
}

bool SqliteReadings_write(SqliteReadings& readings, std::span<const FleetReading> rows,
                          std::string& error) {
    if (!SqliteFile_run(readings.file, "BEGIN IMMEDIATE", error)) {
        return false;
    }
    for (const FleetReading& row : rows) {
        if (!insertRow(readings, row, error)) {
            std::string ignored; // some failures have rolled back already
            SqliteFile_run(readings.file, "ROLLBACK", ignored);
            return false;
        }
    }
    if (SqliteFile_run(readings.file, "COMMIT", error)) {
        return true;
    }
    std::string ignored;
    SqliteFile_run(readings.file, "ROLLBACK", ignored);
    return false;
}

void SqliteReadings_close(SqliteReadings& readings) {
    readings.insert.reset();
    readings.file.reset();
}
