#include "WebFiles.h"

#include <fstream>
#include <sstream>
#include <unistd.h>

namespace {

struct PageFile {
    const char* name; ///< "" for the page itself
    const char* path; ///< from the program's folder on, unless it begins with '/'
    const char* type;
};
constexpr PageFile pageFiles[] = {
    {"", "../share/quorvel-fleet/web/index.html", "text/html; charset=utf-8"},
    {"fleet.css", "../share/quorvel-fleet/web/fleet.css", "text/css; charset=utf-8"},
    {"fleet.js", "../share/quorvel-fleet/web/fleet.js", "text/javascript; charset=utf-8"},
    {"dygraph.js", "/usr/share/javascript/dygraphs/dygraph.min.js",
     "text/javascript; charset=utf-8"},
    {"dygraph.css", "/usr/share/javascript/dygraphs/dygraph.css", "text/css; charset=utf-8"},
};

/// With a slash at its end; "" if it is not to be known.
std::string programFolder() {
    constexpr size_t longestPath = 4096;
    std::string path(longestPath, '\0');
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    path.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return path.substr(0, path.rfind('/') + 1);
}

} // namespace

WebFiles WebFiles_read() {
    WebFiles files;
    const std::string folder = programFolder();
    for (const PageFile& file : pageFiles) {
        std::ifstream stream(file.path[0] == '/' ? file.path : folder + file.path);
        std::ostringstream content;
        if (stream && content << stream.rdbuf()) {
            files[file.name] = {200, file.type, std::make_shared<const std::string>(content.str())};
        }
    }
    return files;
}
