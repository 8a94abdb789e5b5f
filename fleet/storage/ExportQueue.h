#ifndef FLEET_STORAGE_EXPORT_QUEUE_H
#define FLEET_STORAGE_EXPORT_QUEUE_H

#include "LineProtocol.h"
#include "SqliteFile.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The part of the service's database that says which readings are to be exported yet, in the order
/// in which they were stored. A reading enters in the transaction that stores it, and leaves after
/// the receiver has taken it.
struct ExportQueue {
    SqliteStatement insert;
    SqliteStatement insertLabels;
    SqliteStatement selectLabels;
    SqliteStatement removeTaken;
    SqliteStatement removeOld;
    std::vector<ReadingLabels> labels;
    std::vector<int64_t> labelNumbers; ///< of the labels in the file, 0 while unknown
    /// Number of the next reading: while the program runs none is given twice, even if the queue
    /// has been empty meanwhile.
    int64_t next = 1;
    int64_t takenTo = 0; ///< number of the last reading that the receiver has
    bool isTakenRemoved = true;
    /// How many are in the queue, by the minute of their times: the first minute is where thinning
    /// ends.
    std::map<int64_t, uint64_t> minutes;
    uint64_t count = 0;
    uint64_t forgotten = 0; ///< that became too old; since the program's start
    // Of the transaction that goes on.
    std::vector<int64_t> added_ms;
    std::vector<int64_t> removed_ms;
};

/// False with the reason, as everywhere here.
bool ExportQueue_open(ExportQueue& queue, const SqliteFile& file, std::string& error);

/// Returns the index by which these labels are given.
size_t ExportQueue_label(ExportQueue& queue, ReadingLabels labels);

// Within a transaction, whose end ExportQueue_end is told.
bool ExportQueue_add(ExportQueue& queue, const SqliteFile& file, int64_t source, int64_t time_ms,
                     size_t labels, std::string& error);
bool ExportQueue_removeTaken(ExportQueue& queue, const SqliteFile& file, std::string& error);
void ExportQueue_end(ExportQueue& queue, bool isCommitted);

/// Gives up some of those at the front that are older, outside of transactions; to be called again
/// and again.
bool ExportQueue_forget(ExportQueue& queue, const SqliteFile& file, int64_t before_ms,
                        std::string& error);

/// No reading that waits is older; the largest number without any.
int64_t ExportQueue_oldest_ms(const ExportQueue& queue);

void ExportQueue_close(ExportQueue& queue);

#endif
