// Which programs are written down instead of run. Every process of the world looks here before it
// starts another (ExecCalls), so it does not matter how deep in a script the command stands.

#include "Commands.h"

#include "PreloadWorld.h"
#include "WorldTree.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

using namespace std::string_view_literals;

constexpr std::array forbiddenNames = {
    "shutdown"sv, "poweroff"sv, "reboot"sv,     "halt"sv,    "init"sv,     "telinit"sv,
    "kexec"sv,    "rtcwake"sv,  "systemctl"sv,  "service"sv, "loginctl"sv, "ifup"sv,
    "ifdown"sv,   "ifconfig"sv, "ip"sv,         "route"sv,   "dhclient"sv, "udhcpc"sv,
    "dhcpcd"sv,   "nmcli"sv,    "networkctl"sv, "hwclock"sv,
};

constexpr std::array forbiddenPaths = {"/etc/init.d/network"sv, "/etc/init.d/networking"sv};

/// They start other programs without this library.
constexpr std::array blindStarters = {"sudo"sv,   "su"sv,      "doas"sv,
                                      "pkexec"sv, "busybox"sv, "toybox"sv};

template <size_t size>
bool contains(const std::array<std::string_view, size>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string_view baseName(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace

bool Commands_isForbidden(const char* file) {
    return contains(forbiddenPaths, file) || contains(forbiddenNames, baseName(file)) ||
           contains(blindStarters, baseName(file));
}

void Commands_record(const char* file, char* const arguments[]) {
    char line[4096];
    size_t length = 0;
    const auto append = [&](const char* word) {
        const int added =
            snprintf(line + length, sizeof line - length, "%s%s", length == 0 ? "" : " ", word);
        length = std::min(length + static_cast<size_t>(std::max(added, 0)), sizeof line - 1);
    };
    if (arguments == nullptr || arguments[0] == nullptr) {
        append(file);
    } else {
        for (size_t index = 0; arguments[index] != nullptr; ++index) {
            append(arguments[index]);
        }
    }
    PreloadWorld_appendLine(WorldFile::commands, "", line);
}
