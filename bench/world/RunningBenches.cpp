#include "RunningBenches.h"

#include "BenchText.h"
#include "LocalSocket.h"
#include "WorldFolder.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <sys/socket.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string entryFolder() {
    return WorldFolder_userFolder() + "/running";
}

// Sorts by the time of starting.
std::string entryName() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return BenchText_format("%012lld.%09ld-%d", static_cast<long long>(now.tv_sec), now.tv_nsec,
                            getpid());
}

bool isOurs(const std::string& world) {
    return world.starts_with(WorldFolder_userFolder() + "/world-");
}

} // namespace

std::string RunningBenches_enter(const std::string& world) {
    std::error_code error;
    fs::create_directories(entryFolder(), error);
    const std::string entry = entryFolder() + "/" + entryName();
    fs::create_symlink(world, entry, error);
    return error ? std::string() : entry;
}

void RunningBenches_leave(const std::string& entry) {
    if (!entry.empty()) {
        unlink(entry.c_str());
    }
}

std::vector<std::string> RunningBenches_worlds() {
    std::error_code error;
    std::vector<std::string> entries;
    for (fs::directory_iterator it(entryFolder(), error); !error && it != fs::directory_iterator();
         it.increment(error)) {
        entries.push_back(it->path());
    }
    std::ranges::sort(entries);
    std::vector<std::string> worlds;
    for (const std::string& entry : entries) {
        const std::string world = fs::read_symlink(entry, error);
        if (RunningBenches_answers(world)) {
            worlds.push_back(world);
        } else {
            RunningBenches_leave(entry);
        }
    }
    return worlds;
}

std::string RunningBenches_current() {
    const auto worlds = RunningBenches_worlds();
    const auto found = std::find_if(worlds.rbegin(), worlds.rend(), isOurs);
    return found == worlds.rend() ? std::string() : *found;
}

bool RunningBenches_answers(const std::string& world) {
    const int fd = world.empty() ? -1 : LocalSocket_connect(world + "/daemon.sock", SOCK_STREAM);
    if (fd >= 0) {
        close(fd);
    }
    return fd >= 0;
}
