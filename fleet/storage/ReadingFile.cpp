#include "ReadingFile.h"

#include "FleetCsv.h"

#include <algorithm>
#include <span>
#include <utility>

namespace {

constexpr size_t batch = 1000; ///< rows that are written, or not, together

bool writeRows(ReadingFile& file, std::span<const FleetReading> rows, std::string& error) {
    if (file.isSqlite) {
        return SqliteReadings_write(file.sqlite, rows, error);
    }
    std::string text;
    for (const FleetReading& row : rows) {
        FleetCsv_append(text, row);
    }
    return CsvFile_write(file.csv, text, error);
}

void forgetFirst(std::vector<FleetReading>& rows, size_t count) {
    rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(count));
}

} // namespace

bool ReadingFile_open(ReadingFile& file, const std::string& path, std::string& error) {
    file = {};
    file.isSqlite =
        path.ends_with(".sqlite") || path.ends_with(".sqlite3") || path.ends_with(".db");
    return file.isSqlite ? SqliteReadings_open(file.sqlite, path, error)
                         : CsvFile_open(file.csv, path, FleetCsv_header(), error);
}

void ReadingFile_add(ReadingFile& file, FleetReading row) {
    if (file.waiting.size() >= readingFileMostWaiting) {
        forgetFirst(file.waiting, batch);
        file.lost += batch;
    }
    file.waiting.push_back(std::move(row));
}

bool ReadingFile_flush(ReadingFile& file, std::string& error) {
    size_t written = 0;
    bool isWritten = true;
    while (isWritten && written < file.waiting.size()) {
        const size_t count = std::min(batch, file.waiting.size() - written);
        isWritten = writeRows(file, std::span(file.waiting).subspan(written, count), error);
        written += isWritten ? count : 0;
    }
    forgetFirst(file.waiting, written);
    file.written += written;
    return isWritten;
}

bool ReadingFile_close(ReadingFile& file, std::string& error) {
    const bool isFlushed = ReadingFile_flush(file, error);
    if (file.isSqlite) {
        SqliteReadings_close(file.sqlite);
        return isFlushed;
    }
    std::string closing;
    const bool isClosed = CsvFile_close(file.csv, closing);
    if (isFlushed && !isClosed) {
        error = closing;
    }
    return isFlushed && isClosed;
}
