#include "ApplicationDirectory.h"

#include "Process.h"
#include "message.h"

#include <array>
#include <cstdio>
#include <unistd.h>

char application_dir[applicationDirectorySize];

namespace {

constexpr const char* executableLink = "/proc/self/exe";
constexpr std::string_view fallbackDirectory = "/usr/local/bin";

/// Path of the executable, at most 4095 bytes; empty if it cannot be read.
std::string_view readExecutable(std::span<char, applicationDirectorySize> buffer) {
    const ssize_t length = readlink(executableLink, buffer.data(), buffer.size() - 1);
    if (length <= 0) {
        return {};
    }
    return {buffer.data(), static_cast<size_t>(length)};
}

} // namespace

void ApplicationDirectory_derive(std::string_view executable,
                                 std::span<char, applicationDirectorySize> directory) {
    const size_t slash = executable.rfind('/');
    std::string_view found = fallbackDirectory;
    if (slash == 0) {
        found = "/";
    } else if (slash != std::string_view::npos) {
        found = executable.substr(0, slash);
    }
    snprintf(directory.data(), directory.size(), "%.*s", static_cast<int>(found.size()),
             found.data());
}

void ApplicationDirectory_enter() {
    std::array<char, applicationDirectorySize> link{};
    ApplicationDirectory_derive(readExecutable(link), application_dir);
    if (chdir(application_dir) != 0) {
        perror("Unable to change to application directory");
        Process_leave(processStatusFatal);
    }
    DIAGNOSTIC("Application directory = %s\n", application_dir);
}
