#include "Machine.h"

#include "BenchText.h"
#include "WorldFolder.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <limits>
#include <string_view>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

using namespace std::string_view_literals;

/// What a machine takes to end its programs before it lets the power go.
constexpr int64_t ending_ns = 2000000000;
constexpr int64_t never_ns = std::numeric_limits<int64_t>::max();

constexpr std::array switchingOff = {"shutdown"sv, "poweroff"sv, "halt"sv};
constexpr std::array networkScripts = {"/etc/init.d/network"sv, "/etc/init.d/networking"sv};

template <size_t count>
bool contains(const std::array<std::string_view, count>& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

void takeCommand(Machine& machine, std::string_view line, int64_t now_ns) {
    const auto words = BenchText_words(line);
    if (words.empty()) {
        return;
    }
    if (contains(switchingOff, words[0].substr(words[0].rfind('/') + 1))) {
        machine.off_ns = std::min(machine.off_ns, now_ns + ending_ns);
    } else if (contains(networkScripts, words[0]) && words.back() != "stop") {
        Lan_restart(machine.lan);
    }
}

} // namespace

bool Machine_open(Machine& machine, const std::string& world) {
    machine.commandFile = world + "/commands";
    machine.off_ns = never_ns;
    Lan_open(machine.lan, world);
    // It is there from the start, so that it can be watched.
    const int file = open(machine.commandFile.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (file < 0) {
        machine.watcher = -1;
        return false;
    }
    machine.taken = static_cast<size_t>(lseek(file, 0, SEEK_END));
    close(file);
    machine.watcher = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    return machine.watcher >= 0 &&
           inotify_add_watch(machine.watcher, machine.commandFile.c_str(), IN_MODIFY) >= 0;
}

void Machine_close(Machine& machine) {
    if (machine.watcher >= 0) {
        close(machine.watcher);
        machine.watcher = -1;
    }
}

void Machine_service(Machine& machine, int64_t now_ns) {
    if (now_ns >= machine.off_ns) {
        machine.isOff = true;
        machine.off_ns = never_ns;
    }
    std::array<char, 4096> events{};
    if (read(machine.watcher, events.data(), events.size()) <= 0) {
        return;
    }
    const std::string text = WorldFolder_readFile(machine.commandFile);
    for (size_t end = 0; (end = text.find('\n', machine.taken)) != std::string::npos;
         machine.taken = end + 1) {
        takeCommand(machine, std::string_view(text).substr(machine.taken, end - machine.taken),
                    now_ns);
    }
}
