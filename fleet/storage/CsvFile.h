#ifndef FLEET_STORAGE_CSV_FILE_H
#define FLEET_STORAGE_CSV_FILE_H

#include <cstdint>
#include <string>
#include <string_view>

/// A CSV file that grows, by whole rows only.
struct CsvFile {
    int fd = -1;
    bool isRegular = false; ///< and not a pipe or a terminal
    int64_t end = 0;        ///< of the last whole row
};

/// Opens or makes the file and locks it; "-" is the standard output. A file that is there goes on:
/// it must begin with this header, and what a power cut has left of a row is taken away. False with
/// the reason.
bool CsvFile_open(CsvFile& file, const std::string& path, std::string_view header,
                  std::string& error);

/// Writes rows, all of them or none. False with the reason; it may be tried again.
bool CsvFile_write(CsvFile& file, std::string_view rows, std::string& error);

/// Brings it all to the disk and closes it. False with the reason.
bool CsvFile_close(CsvFile& file, std::string& error);

#endif
