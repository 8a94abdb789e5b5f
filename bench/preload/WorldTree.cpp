// A world's folder: what stands in it from the start, and its end.

#include "WorldTree.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::array instrumentPaths = {
    InstrumentPath{"/dev/ttyS1", false},
    InstrumentPath{"/dev/ttyS2", false},
    InstrumentPath{"/dev/ttyS4", false},
    InstrumentPath{"/dev/usbtmc0", false},
    InstrumentPath{"/dev/usbtmc1", false},
    InstrumentPath{"/dev/input/event0", false},
    InstrumentPath{"/dev/i2c-1", false},
    InstrumentPath{"/dev/log", false},
    InstrumentPath{"/sys/class/hwmon", true},
    InstrumentPath{"/sys/devices/virtual/battery_charger", true},
    InstrumentPath{"/sys/class/power_supply", true},
    InstrumentPath{"/sys/class/leds", true},
    InstrumentPath{"/sys/class/net", true},
    InstrumentPath{"/proc/net/route", false},
    InstrumentPath{"/proc/sysrq-trigger", false},
    InstrumentPath{"/etc/QuorvelPowerMeterApp", true},
    InstrumentPath{"/etc/network", true},
    InstrumentPath{"/etc/init.d/network", false},
    InstrumentPath{"/usr/local/etc/defconfig/buildInstalled", false},
    InstrumentPath{"/var/run/Quorvel_autorun", false},
    InstrumentPath{"/root/.battcharged", false},
    InstrumentPath{"/tmp/crashlog.txt", false},
    InstrumentPath{"/tmp/debug", false},
    InstrumentPath{"/tmp/logConfig", false},
};

constexpr std::array folders = {
    "bin",
    "tty",
    "root/dev/input",
    "root/sys/class/hwmon",
    "root/sys/devices/virtual/battery_charger/ltc4162",
    "root/sys/class/power_supply/fuel_gauge",
    "root/sys/class/leds/quorvel8830k:KeepOn",
    "root/sys/class/net/eth0",
    "root/proc/net",
    "root/etc/QuorvelPowerMeterApp",
    "root/etc/network",
    "root/etc/init.d",
    "root/usr/local/etc/defconfig",
    "root/var/run",
    "root/root",
    "root/tmp",
};

struct StandingFile {
    const char* name;
    const char* content;
};
constexpr std::array standingFiles = {
    StandingFile{"syslog", ""},
    StandingFile{"commands", ""},
    StandingFile{WorldFile::addresses, WorldTree_addresses},
    StandingFile{"root/sys/class/leds/quorvel8830k:KeepOn/brightness", "0\n"},
    StandingFile{"root/sys/class/net/eth0/address", "02:88:30:00:00:01\n"},
};

/// Commands that this machine may not even have, found on the PATH so that a shell starts them.
constexpr std::array shadowCommands = {"shutdown",  "poweroff", "reboot", "halt",
                                       "systemctl", "ifup",     "ifdown"};

/// From the last folder up to the first that is there: most have their parent already.
bool makeFolders(const char* path) {
    if (mkdir(path, 0755) == 0 || errno == EEXIST) {
        return true;
    }
    const char* const slash = strrchr(path, '/');
    if (errno != ENOENT || slash == nullptr || slash == path) {
        return false;
    }
    char parent[PATH_MAX];
    snprintf(parent, sizeof parent, "%.*s", static_cast<int>(slash - path), path);
    return makeFolders(parent) && (mkdir(path, 0755) == 0 || errno == EEXIST);
}

void makeFile(const char* folder, const StandingFile& file) {
    char path[PATH_MAX];
    snprintf(path, sizeof path, "%s/%s", folder, file.name);
    const int fd = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd >= 0) {
        [[maybe_unused]] const ssize_t written = write(fd, file.content, strlen(file.content));
        close(fd);
    }
}

bool isDotName(const char* name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

bool removeBelow(int directory);

bool removeEntry(int parent, const char* name) {
    if (unlinkat(parent, name, 0) == 0 || errno == ENOENT) {
        return true;
    }
    const int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    removeBelow(fd);
    return unlinkat(parent, name, AT_REMOVEDIR) == 0 || errno == ENOENT;
}

bool removeBelow(int directory) {
    DIR* const listing = fdopendir(directory);
    if (listing == nullptr) {
        close(directory);
        return false;
    }
    bool isEmpty = true;
    for (const dirent* entry = readdir(listing); entry != nullptr; entry = readdir(listing)) {
        if (!isDotName(entry->d_name)) {
            isEmpty = removeEntry(directory, entry->d_name) && isEmpty;
        }
    }
    closedir(listing);
    return isEmpty;
}

bool isNumberOfDeadProcess(const char* name) {
    char* end = nullptr;
    const long number = strtol(name, &end, 10);
    return *end == '\0' && number > 0 && number <= INT_MAX &&
           kill(static_cast<pid_t>(number), 0) != 0 && errno == ESRCH;
}

} // namespace

bool WorldTree_isInstrumentPath(std::string_view path) {
    for (const InstrumentPath& entry : instrumentPaths) {
        if (!path.starts_with(entry.path)) {
            continue;
        }
        if (path.size() == entry.path.size()) {
            return true;
        }
        const char next = path[entry.path.size()];
        if (entry.isTree ? next == '/' : (next == '.' || next == '~')) {
            return true;
        }
    }
    return false;
}

bool WorldTree_create(const char* folder) {
    if (!makeFolders(folder)) {
        return false;
    }
    for (const char* name : folders) {
        char path[PATH_MAX];
        snprintf(path, sizeof path, "%s/%s", folder, name);
        makeFolders(path);
    }
    for (const StandingFile& file : standingFiles) {
        makeFile(folder, file);
    }
    for (const char* name : shadowCommands) {
        char path[PATH_MAX];
        snprintf(path, sizeof path, "%s/bin/%s", folder, name);
        [[maybe_unused]] const int made = symlink("/bin/true", path);
    }
    return true;
}

bool WorldTree_remove(const char* folder) {
    // A thread that is still running may write into a folder between its emptying and its end.
    constexpr int attempts = 3;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (removeEntry(AT_FDCWD, folder)) {
            return true;
        }
    }
    return false;
}

void WorldTree_removeStale(const char* parent) {
    DIR* const listing = opendir(parent);
    if (listing == nullptr) {
        return;
    }
    for (const dirent* entry = readdir(listing); entry != nullptr; entry = readdir(listing)) {
        if (isNumberOfDeadProcess(entry->d_name)) {
            removeEntry(dirfd(listing), entry->d_name);
        }
    }
    closedir(listing);
}
