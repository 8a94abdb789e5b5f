#ifndef FLEET_STORAGE_READING_FILE_H
#define FLEET_STORAGE_READING_FILE_H

#include "CsvFile.h"
#include "FleetReading.h"
#include "SqliteReadings.h"

#include <cstdint>
#include <string>
#include <vector>

/// The file of a log. Rows wait in memory until they are flushed, longer while the file cannot take
/// them.
struct ReadingFile {
    bool isSqlite = false;
    CsvFile csv;
    SqliteReadings sqlite;
    std::vector<FleetReading> waiting;
    uint64_t written = 0;
    uint64_t lost = 0; ///< rows that the file did not take for too long
};

/// Rows that wait in memory at most.
constexpr size_t readingFileMostWaiting = 100'000;

/// Opens or makes the file, which goes on where it ended: an SQLite database if the name ends in
/// ".sqlite", ".sqlite3" or ".db", else CSV; "-" is CSV on the standard output. False with the
/// reason.
bool ReadingFile_open(ReadingFile& file, const std::string& path, std::string& error);

void ReadingFile_add(ReadingFile& file, FleetReading row);

/// Writes what waits. False with the reason; what was not written waits on.
bool ReadingFile_flush(ReadingFile& file, std::string& error);

/// Writes what waits and closes the file. False with the reason.
bool ReadingFile_close(ReadingFile& file, std::string& error);

#endif
