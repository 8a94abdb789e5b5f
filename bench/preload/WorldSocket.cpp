// Local sockets in the world's folder.

#include "WorldSocket.h"

#include "PreloadWorld.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// A socket's address has room for 107 characters only, so that it is reached through the folder's
/// descriptor, which must stay open for the call.
int nameThroughFolder(sockaddr_un& address, const char* name) {
    const char* const folder = PreloadWorld_folder();
    if (folder == nullptr) {
        errno = ENOENT;
        return -1;
    }
    const int directory = open(folder, O_PATH | O_DIRECTORY | O_CLOEXEC);
    address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", directory, name);
    return directory;
}

template <typename Use> int openSocket(const char* name, int type, Use use) {
    sockaddr_un address;
    const int directory = nameThroughFolder(address, name);
    if (directory < 0) {
        return -1;
    }
    const int socketFd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    const bool isUsable =
        socketFd >= 0 && use(socketFd, reinterpret_cast<const sockaddr*>(&address));
    const int keptErrno = errno;
    close(directory);
    if (!isUsable && socketFd >= 0) {
        close(socketFd);
    }
    errno = keptErrno;
    return isUsable ? socketFd : -1;
}

} // namespace

int WorldSocket_listen(const char* name, int type) {
    char path[PATH_MAX];
    if (!PreloadWorld_file(path, sizeof path, name)) {
        return -1;
    }
    unlink(path);
    return openSocket(name, type, [](int socketFd, const sockaddr* address) {
        constexpr int backlog = 16;
        return bind(socketFd, address, sizeof(sockaddr_un)) == 0 && listen(socketFd, backlog) == 0;
    });
}

int WorldSocket_connect(const char* name, int type) {
    return openSocket(name, type, [](int socketFd, const sockaddr* address) {
        return connect(socketFd, address, sizeof(sockaddr_un)) == 0;
    });
}
