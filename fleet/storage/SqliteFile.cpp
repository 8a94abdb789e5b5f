#include "SqliteFile.h"

#include <cmath>
#include <sqlite3.h>

namespace {

constexpr int patience_ms = 10; ///< with another program; meanwhile no meter is asked

SqliteFile openFile(const std::string& path, int flags, std::string& error) {
    sqlite3* database = nullptr;
    const int result =
        sqlite3_open_v2(path.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    SqliteFile file(database);
    if (result != SQLITE_OK) {
        error = file ? SqliteFile_failure(file) : sqlite3_errstr(result);
        return nullptr;
    }
    sqlite3_busy_timeout(database, patience_ms);
    return file;
}

int64_t ask(const SqliteFile& file, std::string_view query, std::string& error) {
    const SqliteStatement statement = SqliteFile_prepare(file, query, error);
    return statement ? SqliteFile_askNumber(file, statement, error) : -1;
}

/// One step in one transaction: after a power cut the file is of the one version or of the other.
bool bringForward(const SqliteFile& file, const char* step, size_t version, std::string& error) {
    const std::string statements = std::string("BEGIN IMMEDIATE;") + step +
                                   ";PRAGMA user_version = " + std::to_string(version) + ";COMMIT;";
    if (SqliteFile_run(file, statements, error)) {
        return true;
    }
    std::string ignored;
    SqliteFile_run(file, "ROLLBACK", ignored);
    return false;
}

bool applySchema(const SqliteFile& file, SqliteSchema schema, std::string& error) {
    const int64_t version = ask(file, "PRAGMA user_version", error);
    const int64_t tables = ask(file, "SELECT count(*) FROM sqlite_schema", error);
    if (version < 0 || tables < 0) {
        return false;
    }
    if (version > static_cast<int64_t>(schema.size())) {
        error = "its schema has version " + std::to_string(version) + ", and this program knows " +
                std::to_string(schema.size()) + " at most: a newer quorvel-fleet has written it";
        return false;
    }
    if (version == 0 && tables > 0) {
        error = "it is a database of something else";
        return false;
    }
    for (size_t next = static_cast<size_t>(version); next < schema.size(); ++next) {
        if (!bringForward(file, schema[next], next + 1, error)) {
            return false;
        }
    }
    return true;
}

} // namespace

void SqliteCloser::operator()(sqlite3* database) const {
    sqlite3_close_v2(database);
}

void SqliteCloser::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

SqliteFile SqliteFile_openToRead(const std::string& path, std::string& error) {
    return openFile(path, SQLITE_OPEN_READONLY, error);
}

SqliteFile SqliteFile_open(const std::string& path, SqliteSchema schema, std::string& error) {
    SqliteFile file = openFile(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, error);
    // With a write-ahead log, NORMAL loses nothing but the last moments to a power cut.
    const bool isOpen =
        file &&
        SqliteFile_run(file, "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;", error) &&
        applySchema(file, schema, error);
    return isOpen ? std::move(file) : nullptr;
}

SqliteFile SqliteFile_openToCheckpoint(const std::string& path, std::string& error) {
    return openFile(path, SQLITE_OPEN_READWRITE, error);
}

bool SqliteFile_checkpoint(const SqliteFile& file, std::string& error) {
    return SqliteFile_run(file, "PRAGMA wal_checkpoint(PASSIVE)", error);
}

bool SqliteFile_run(const SqliteFile& file, const std::string& statements, std::string& error) {
    if (sqlite3_exec(file.get(), statements.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) {
        return true;
    }
    error = SqliteFile_failure(file);
    return false;
}

SqliteStatement SqliteFile_prepare(const SqliteFile& file, std::string_view statement,
                                   std::string& error) {
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(file.get(), statement.data(), static_cast<int>(statement.size()),
                           &prepared, nullptr) != SQLITE_OK) {
        error = SqliteFile_failure(file);
    }
    return SqliteStatement(prepared);
}

void SqliteFile_bind(const SqliteStatement& statement, int parameter, int64_t number) {
    sqlite3_bind_int64(statement.get(), parameter, number);
}

void SqliteFile_bind(const SqliteStatement& statement, int parameter, double number) {
    if (std::isnan(number)) {
        sqlite3_bind_null(statement.get(), parameter);
    } else {
        sqlite3_bind_double(statement.get(), parameter, number);
    }
}

void SqliteFile_bind(const SqliteStatement& statement, int parameter, std::string_view text) {
    sqlite3_bind_text(statement.get(), parameter, text.data(), static_cast<int>(text.size()),
                      SQLITE_STATIC);
}

bool SqliteFile_step(const SqliteFile& file, const SqliteStatement& statement, std::string& error) {
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_DONE) {
        error = SqliteFile_failure(file);
    }
    sqlite3_reset(statement.get());
    return result == SQLITE_DONE;
}

int64_t SqliteFile_askNumber(const SqliteFile& file, const SqliteStatement& statement,
                             std::string& error) {
    const int result = sqlite3_step(statement.get());
    const int64_t number = result == SQLITE_ROW ? sqlite3_column_int64(statement.get(), 0) : -1;
    if (result != SQLITE_ROW) {
        error = result == SQLITE_DONE ? "there is no such row" : SqliteFile_failure(file);
    }
    sqlite3_reset(statement.get());
    return number;
}

std::string SqliteFile_failure(const SqliteFile& file) {
    switch (sqlite3_errcode(file.get())) {
    case SQLITE_FULL:
        return "the disk is full";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return "another program has locked it";
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return "it is broken, or no database: " + std::string(sqlite3_errmsg(file.get()));
    default:
        return sqlite3_errmsg(file.get());
    }
}
