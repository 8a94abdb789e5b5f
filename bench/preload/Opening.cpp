// What opening a file of the world means beyond opening the file that lies there.

#include "Opening.h"

#include "Terminals.h"

Opening Opening_begin(const WorldPath& path, int flags) {
    Opening opening{false, -1, flags};
    if (path.isMadeBySystem()) {
        // An attribute or a device that is not there cannot be created by writing to it.
        opening.flags &= ~(O_CREAT | O_EXCL);
    }
    return opening;
}

int Opening_end(const WorldPath& path, const Opening&, int fd) {
    if (fd >= 0) {
        Terminals_opened(fd, path.instrumentPath());
    }
    return fd;
}
