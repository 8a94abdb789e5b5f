#ifndef FLEET_STORAGE_SQLITE_FILE_H
#define FLEET_STORAGE_SQLITE_FILE_H

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

/// What all our databases have in common. Not for use by two threads.

struct SqliteCloser {
    void operator()(sqlite3* database) const;
    void operator()(sqlite3_stmt* statement) const;
};
using SqliteFile = std::unique_ptr<sqlite3, SqliteCloser>;
using SqliteStatement = std::unique_ptr<sqlite3_stmt, SqliteCloser>;

/// The steps that lead from an empty file to the present schema: the step at index N makes version
/// N + 1 of version N. They are never changed once they were released, only added to.
using SqliteSchema = std::span<const char* const>;

/// Opens or makes a database with a write-ahead log. An older schema is brought forward; a newer
/// one, and a file that is none of ours, are refused. Nothing, with the reason, on failure.
SqliteFile SqliteFile_open(const std::string& path, SqliteSchema schema, std::string& error);

/// Opens a database that is there, for reading only. Nothing, with the reason, on failure.
SqliteFile SqliteFile_openToRead(const std::string& path, std::string& error);

/// Opens a database that somebody else writes, for SqliteFile_checkpoint. Nothing, with the reason,
/// on failure.
SqliteFile SqliteFile_openToCheckpoint(const std::string& path, std::string& error);

/// Brings the write-ahead log into the file, and waits for the disk. Others read and write
/// meanwhile; if nobody does, the log begins anew with what is written next. False with the reason.
bool SqliteFile_checkpoint(const SqliteFile& file, std::string& error);

/// Runs statements without results. False with the reason.
bool SqliteFile_run(const SqliteFile& file, const std::string& statements, std::string& error);

/// Nothing, with the reason, on failure.
SqliteStatement SqliteFile_prepare(const SqliteFile& file, std::string_view statement,
                                   std::string& error);

// Parameters count from 1. NaN is bound as NULL. Texts must live until the statement has run.
void SqliteFile_bind(const SqliteStatement& statement, int parameter, int64_t number);
void SqliteFile_bind(const SqliteStatement& statement, int parameter, double number);
void SqliteFile_bind(const SqliteStatement& statement, int parameter, std::string_view text);

/// Runs a statement without results once and makes it ready for the next time.
bool SqliteFile_step(const SqliteFile& file, const SqliteStatement& statement, std::string& error);

/// Runs a query and makes it ready for the next time: the first column of its first row, a number
/// that is never negative. -1 with the reason when there is none.
int64_t SqliteFile_askNumber(const SqliteFile& file, const SqliteStatement& statement,
                             std::string& error);

/// What went wrong last, in words for people.
std::string SqliteFile_failure(const SqliteFile& file);

#endif
