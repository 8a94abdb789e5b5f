// What opening a file of the world means beyond opening the file that lies there.

#include "Opening.h"

#include <cerrno>

Opening Opening_begin(const WorldPath& path, int flags) {
    Opening opening{false, -1, flags};
    if (path.isMadeBySystem()) {
        // An attribute or a device that is not there cannot be created by writing to it.
        opening.flags &= ~(O_CREAT | O_EXCL);
    }
    return opening;
}

int Opening_end(const WorldPath&, const Opening& opening, int fd) {
    if (fd < 0 && errno == ENOENT && (opening.flags & O_CREAT) == 0) {
        return fd;
    }
    return fd;
}
