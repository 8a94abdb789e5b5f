#include "CsvFile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t blockSize = 4096;
constexpr mode_t fileMode = 0644;

bool fails(std::string& error, const char* what) {
    error = std::string(what) + ": " + strerror(errno);
    return false;
}

/// Appends everything. Takes up interrupted calls.
bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<size_t>(written));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool beginsWith(int fd, std::string_view header) {
    std::string start(header.size(), '\0');
    return pread(fd, start.data(), start.size(), 0) == static_cast<ssize_t>(start.size()) &&
           start == header;
}

/// Where the last line feed before `size` is, and the row that it ends; -1 on failure.
int64_t endOfLastRow(int fd, int64_t size) {
    std::array<char, blockSize> block;
    while (size > 0) {
        const int64_t start = std::max<int64_t>(size - static_cast<int64_t>(blockSize), 0);
        const ssize_t count = pread(fd, block.data(), static_cast<size_t>(size - start), start);
        if (count != size - start) {
            return -1;
        }
        const size_t found = std::string_view(block.data(), static_cast<size_t>(count)).rfind('\n');
        if (found != std::string_view::npos) {
            return start + static_cast<int64_t>(found) + 1;
        }
        size = start;
    }
    return 0;
}

bool begin(CsvFile& file, std::string_view header, std::string& error) {
    return CsvFile_write(file, header, error);
}

/// A file that was begun before.
bool goOn(CsvFile& file, int64_t size, std::string_view header, std::string& error) {
    if (!beginsWith(file.fd, header)) {
        error = "it holds something else than readings with the columns of this version";
        return false;
    }
    file.end = endOfLastRow(file.fd, size);
    if (file.end < 0) {
        return fails(error, "it cannot be read");
    }
    if (file.end < size && ftruncate(file.fd, file.end) != 0) {
        return fails(error, "its last row is incomplete and cannot be removed");
    }
    return true;
}

bool openRegular(CsvFile& file, std::string_view header, std::string& error) {
    struct stat status {};
    if (fstat(file.fd, &status) != 0) {
        return fails(error, "it cannot be read");
    }
    file.isRegular = S_ISREG(status.st_mode);
    if (!file.isRegular) {
        return begin(file, header, error);
    }
    if (flock(file.fd, LOCK_EX | LOCK_NB) != 0) {
        return fails(error, "another program writes to it");
    }
    return status.st_size == 0 ? begin(file, header, error)
                               : goOn(file, status.st_size, header, error);
}

} // namespace

bool CsvFile_open(CsvFile& file, const std::string& path, std::string_view header,
                  std::string& error) {
    file = {};
    if (path == "-") {
        file.fd = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        return file.fd >= 0 ? begin(file, header, error) : fails(error, "it cannot be opened");
    }
    file.fd = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, fileMode);
    if (file.fd < 0) {
        return fails(error, "it cannot be opened");
    }
    if (openRegular(file, header, error)) {
        return true;
    }
    close(file.fd);
    file.fd = -1;
    return false;
}

bool CsvFile_write(CsvFile& file, std::string_view rows, std::string& error) {
    if (writeAll(file.fd, rows)) {
        file.end += static_cast<int64_t>(rows.size());
        return true;
    }
    fails(error, "it cannot be written");
    if (file.isRegular && ftruncate(file.fd, file.end) != 0) {
        error += ", and half a row stays in it";
    }
    return false;
}

bool CsvFile_close(CsvFile& file, std::string& error) {
    const bool isSafe = !file.isRegular || fsync(file.fd) == 0;
    if (!isSafe) {
        fails(error, "it cannot be brought to the disk");
    }
    const bool isClosed = close(file.fd) == 0;
    if (isSafe && !isClosed) {
        fails(error, "it cannot be closed");
    }
    file.fd = -1;
    return isSafe && isClosed;
}
