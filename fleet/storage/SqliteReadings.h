#ifndef FLEET_STORAGE_SQLITE_READINGS_H
#define FLEET_STORAGE_SQLITE_READINGS_H

#include "FleetReading.h"
#include "SqliteFile.h"

#include <span>
#include <string>

/// A database with one table `readings`, whose columns are those of the CSV files.
struct SqliteReadings {
    SqliteFile file;
    SqliteStatement insert;
};

/// Opens or makes it. False with the reason.
bool SqliteReadings_open(SqliteReadings& readings, const std::string& path, std::string& error);

/// Stores rows, all of them or none. False with the reason; it may be tried again.
bool SqliteReadings_write(SqliteReadings& readings, std::span<const FleetReading> rows,
                          std::string& error);

void SqliteReadings_close(SqliteReadings& readings);

#endif
