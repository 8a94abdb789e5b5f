// From the path that a program names to the place where it lies.

#include "WorldPath.h"

#include "PreloadWorld.h"
#include "WorldTree.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace {

/// The absolute name of the folder that a relative path starts from.
bool readDirectoryName(int directory, char* name, size_t size) {
    if (directory == AT_FDCWD) {
        return getcwd(name, size) != nullptr;
    }
    char link[32];
    snprintf(link, sizeof link, "/proc/self/fd/%d", directory);
    const ssize_t length = readlink(link, name, size - 1);
    if (length <= 0) {
        return false;
    }
    name[length] = '\0';
    return name[0] == '/';
}

/// Appends the parts of `path` to the normalised path so far, without "." and "..". Returns the new
/// length, or 0 when it does not fit.
size_t appendNormalised(char* whole, size_t length, size_t size, std::string_view path) {
    while (!path.empty()) {
        const size_t slash = path.find('/');
        const std::string_view part = path.substr(0, slash);
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
        if (part == "..") {
            while (length > 0 && whole[--length] != '/') {
            }
        } else if (!part.empty() && part != ".") {
            if (length + 1 + part.size() >= size) {
                return 0;
            }
            whole[length++] = '/';
            memcpy(whole + length, part.data(), part.size());
            length += part.size();
        }
    }
    whole[length] = '\0';
    return length;
}

/// The absolute path without "." and ".."; its length, or 0 if there is none.
size_t normalise(const char* path, int directory, char* whole, size_t size) {
    size_t length = 0;
    if (path[0] != '/') {
        char base[PATH_MAX];
        if (!readDirectoryName(directory, base, sizeof base)) {
            return 0;
        }
        length = appendNormalised(whole, 0, size, base);
    }
    return appendNormalised(whole, length, size, path);
}

} // namespace

WorldPath::WorldPath(const char* path, int directory) : result(path) {
    const char* const folder = PreloadWorld_folder();
    if (folder == nullptr || path == nullptr || path[0] == '\0') {
        return;
    }
    const int keptErrno = errno;
    char whole[PATH_MAX];
    const size_t length = normalise(path, directory, whole, sizeof whole);
    errno = keptErrno;
    if (length == 0 || !WorldTree_isInstrumentPath({whole, length})) {
        return;
    }
    rootLength = snprintf(buffer, sizeof buffer, "%s/root", folder);
    if (static_cast<size_t>(rootLength) + length >= sizeof buffer) {
        // Too long for this machine: it leads nowhere rather than to the machine's own files.
        result = "";
        return;
    }
    memcpy(buffer + rootLength, whole, length + 1);
    result = buffer;
}

bool WorldPath::isMadeBySystem() const {
    if (!isInWorld()) {
        return false;
    }
    const std::string_view path = instrumentPath();
    return path.starts_with("/sys/") || path.starts_with("/dev/") || path.starts_with("/proc/");
}
