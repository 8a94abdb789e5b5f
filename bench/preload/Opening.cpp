// What opening a file of the world means beyond opening the file that lies there.

#include "Opening.h"

#include "Terminals.h"
#include "UsbTmc.h"
#include "WorldFaults.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool isForWriting(int flags) {
    return (flags & O_ACCMODE) != O_RDONLY || (flags & (O_CREAT | O_TRUNC)) != 0;
}

/// A full disk: the file is there, but whatever is written to it fails, through streams as well.
void fillDisk(int fd, int flags) {
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (full >= 0) {
        dup3(full, fd, flags & O_CLOEXEC);
        close(full);
    }
}

} // namespace

Opening Opening_begin(const WorldPath& path, int flags) {
    Opening opening{false, -1, flags};
    if (!path.isInWorld()) {
        return opening;
    }
    if (WorldFaults_fails(BenchFault::open, path) ||
        (isForWriting(flags) && WorldFaults_fails(BenchFault::change, path))) {
        opening.isDecided = true;
        return opening;
    }
    if (path.isMadeBySystem()) {
        // An attribute or a device that is not there cannot be created by writing to it.
        opening.flags &= ~(O_CREAT | O_EXCL);
    }
    struct stat status;
    if (stat(path.get(), &status) == 0) {
        opening.isDecided = UsbTmc_open(path.instrumentPath(), flags, opening.fd);
    }
    return opening;
}

int Opening_end(const WorldPath& path, const Opening& opening, int fd) {
    if (fd < 0 || !path.isInWorld()) {
        return fd;
    }
    const int keptErrno = errno;
    Terminals_opened(fd, path.instrumentPath());
    if (isForWriting(opening.flags) && WorldFaults_fails(BenchFault::full, path)) {
        fillDisk(fd, opening.flags);
    }
    errno = keptErrno;
    return fd;
}
