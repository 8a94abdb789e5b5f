#include "ExportQueue.h"

#include <algorithm>
#include <limits>
#include <sqlite3.h>
#include <utility>

namespace {

constexpr int64_t minute_ms = 60'000;

struct PreparedStatement {
    SqliteStatement ExportQueue::*statement;
    const char* text;
};
constexpr PreparedStatement statements[] = {
    {&ExportQueue::insert,
     "INSERT INTO export_queue (id, source, time_ms, labels) VALUES (?,?,?,?)"},
    {&ExportQueue::insertLabels,
     "INSERT OR IGNORE INTO export_labels (name, place, offset_dB) VALUES (?,?,?)"},
    {&ExportQueue::selectLabels,
     "SELECT id FROM export_labels WHERE name = ? AND place = ? AND offset_dB = ?"},
    {&ExportQueue::removeTaken, "DELETE FROM export_queue WHERE id <= ? RETURNING time_ms"},
    // Few at a time, so that nobody waits for long.
    {&ExportQueue::removeOld,
     "DELETE FROM export_queue WHERE time_ms < ? AND id IN "
     "(SELECT id FROM export_queue ORDER BY id LIMIT 1000) RETURNING time_ms"},
};

/// Takes the numbers with which the rows of a statement begin.
template <typename Take>
bool readRows(const SqliteFile& file, const SqliteStatement& statement, std::string& error,
              Take take) {
    int result = sqlite3_step(statement.get());
    for (; result == SQLITE_ROW; result = sqlite3_step(statement.get())) {
        take(sqlite3_column_int64(statement.get(), 0));
    }
    if (result != SQLITE_DONE) {
        error = SqliteFile_failure(file);
    }
    sqlite3_reset(statement.get());
    return result == SQLITE_DONE;
}

void bindLabels(const SqliteStatement& statement, const ReadingLabels& labels) {
    SqliteFile_bind(statement, 1, std::string_view(labels.name));
    SqliteFile_bind(statement, 2, std::string_view(labels.place));
    SqliteFile_bind(statement, 3, labels.offset_dB);
}

/// The labels' number in the file, into which they are entered if need be; -1 on failure.
int64_t numberOf(ExportQueue& queue, const SqliteFile& file, size_t index, std::string& error) {
    int64_t& number = queue.labelNumbers[index];
    if (number == 0) {
        bindLabels(queue.insertLabels, queue.labels[index]);
        bindLabels(queue.selectLabels, queue.labels[index]);
        if (!SqliteFile_step(file, queue.insertLabels, error)) {
            return -1;
        }
        number = std::max<int64_t>(SqliteFile_askNumber(file, queue.selectLabels, error), 0);
    }
    return number > 0 ? number : -1;
}

void leave(ExportQueue& queue, const std::vector<int64_t>& times_ms) {
    for (const int64_t time_ms : times_ms) {
        const auto minute = queue.minutes.find(time_ms / minute_ms);
        if (minute != queue.minutes.end() && --minute->second == 0) {
            queue.minutes.erase(minute);
        }
    }
    queue.count -= times_ms.size();
}

} // namespace

bool ExportQueue_open(ExportQueue& queue, const SqliteFile& file, std::string& error) {
    for (const PreparedStatement& row : statements) {
        queue.*row.statement = SqliteFile_prepare(file, row.text, error);
        if (!(queue.*row.statement)) {
            return false;
        }
    }
    const SqliteStatement counts = SqliteFile_prepare(
        file, "SELECT time_ms / 60000, count(*), max(id) FROM export_queue GROUP BY 1", error);
    return counts && readRows(file, counts, error, [&](int64_t minute) {
               const int64_t count = sqlite3_column_int64(counts.get(), 1);
               queue.minutes[minute] = static_cast<uint64_t>(count);
               queue.count += static_cast<uint64_t>(count);
               queue.next =
                   std::max<int64_t>(queue.next, sqlite3_column_int64(counts.get(), 2) + 1);
           });
}

size_t ExportQueue_label(ExportQueue& queue, ReadingLabels labels) {
    const auto known = std::ranges::find(queue.labels, labels);
    const auto index = static_cast<size_t>(known - queue.labels.begin());
    if (known == queue.labels.end()) {
        queue.labels.push_back(std::move(labels));
        queue.labelNumbers.push_back(0);
    }
    return index;
}

bool ExportQueue_add(ExportQueue& queue, const SqliteFile& file, int64_t source, int64_t time_ms,
                     size_t labels, std::string& error) {
    const int64_t number = numberOf(queue, file, labels, error);
    if (number < 0) {
        return false;
    }
    SqliteFile_bind(queue.insert, 1, queue.next++);
    SqliteFile_bind(queue.insert, 2, source);
    SqliteFile_bind(queue.insert, 3, time_ms);
    SqliteFile_bind(queue.insert, 4, number);
    queue.added_ms.push_back(time_ms);
    return SqliteFile_step(file, queue.insert, error);
}

bool ExportQueue_removeTaken(ExportQueue& queue, const SqliteFile& file, std::string& error) {
    SqliteFile_bind(queue.removeTaken, 1, queue.takenTo);
    return queue.isTakenRemoved ||
           readRows(file, queue.removeTaken, error,
                    [&queue](int64_t time_ms) { queue.removed_ms.push_back(time_ms); });
}

void ExportQueue_end(ExportQueue& queue, bool isCommitted) {
    if (isCommitted) {
        for (const int64_t time_ms : queue.added_ms) {
            ++queue.minutes[time_ms / minute_ms];
        }
        queue.count += queue.added_ms.size();
        leave(queue, queue.removed_ms);
        queue.isTakenRemoved = true;
    } else {
        std::ranges::fill(queue.labelNumbers, 0); // those that were entered just now are gone again
    }
    queue.added_ms.clear();
    queue.removed_ms.clear();
}

bool ExportQueue_forget(ExportQueue& queue, const SqliteFile& file, int64_t before_ms,
                        std::string& error) {
    if (ExportQueue_oldest_ms(queue) >= before_ms) {
        return true;
    }
    std::vector<int64_t> forgotten_ms;
    SqliteFile_bind(queue.removeOld, 1, before_ms);
    const bool isDone = readRows(file, queue.removeOld, error, [&forgotten_ms](int64_t time_ms) {
        forgotten_ms.push_back(time_ms);
    });
    if (isDone) {
        leave(queue, forgotten_ms);
        queue.forgotten += forgotten_ms.size();
    }
    return isDone;
}

int64_t ExportQueue_oldest_ms(const ExportQueue& queue) {
    return queue.minutes.empty() ? std::numeric_limits<int64_t>::max()
                                 : queue.minutes.begin()->first * minute_ms;
}

void ExportQueue_close(ExportQueue& queue) {
    for (const PreparedStatement& row : statements) {
        (queue.*row.statement).reset();
    }
}
