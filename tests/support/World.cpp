// The tests' access to the bench world of their process.

#include "World.h"

#include "BenchClock.h"
#include "BenchFaults.h"
#include "WorldTree.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

bool isBehindLibrary() {
    return dlsym(RTLD_DEFAULT, "quorvelbench_folder") != nullptr;
}

/// A test program starts itself again behind the library, so that no test ever touches the
/// machine's own files, or its power.
[[gnu::constructor]] void enterWorld(int, char** arguments, char**) {
    constexpr const char* attempt = "QUORVEL_BENCH_ENTERING";
    if (isBehindLibrary() && getenv("QUORVEL_BENCH") != nullptr) {
        unsetenv(attempt);
        return;
    }
    if (getenv(attempt) == nullptr) {
        setenv(attempt, "1", 1);
        setenv("QUORVEL_BENCH", QUORVEL_WORLDS "/%p", 1);
        setenv("LD_PRELOAD", QUORVEL_PRELOAD_LIBRARY, 1);
        execv("/proc/self/exe", arguments);
    }
    fputs("this test cannot enter its bench world\n", stderr);
    _exit(1);
}

std::string worldFile(const char* name) {
    return World_folder() + "/" + name;
}

std::string readRealFile(const std::string& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

std::vector<std::string> readLines(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

void makeFoldersFor(const std::string& path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        mkdir(path.substr(0, slash).c_str(), 0755);
    }
}

struct Terminal {
    std::string path;
    int farSide;
    int nearSide;
};
std::vector<Terminal> terminals;

} // namespace

std::string World_folder() {
    const char* const folder = getenv("QUORVEL_BENCH");
    return folder != nullptr ? folder : "";
}

std::string World_realPath(const std::string& instrumentPath) {
    return World_folder() + "/root" + instrumentPath;
}

void World_writeFile(const std::string& instrumentPath, const std::string& content) {
    const std::string path = World_realPath(instrumentPath);
    makeFoldersFor(path);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

std::string World_readFile(const std::string& instrumentPath) {
    return readRealFile(World_realPath(instrumentPath));
}

void World_removeFile(const std::string& instrumentPath) {
    remove(World_realPath(instrumentPath).c_str());
}

std::vector<std::string> World_syslog() {
    return readLines(worldFile(WorldFile::syslog));
}

void World_clearSyslog() {
    std::ofstream(worldFile(WorldFile::syslog), std::ios::trunc).flush();
}

bool World_syslogContains(const std::string& text) {
    for (const std::string& line : World_syslog()) {
        if (line.find(text) != std::string::npos) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> World_commands() {
    return readLines(worldFile(WorldFile::commands));
}

void World_clearCommands() {
    std::ofstream(worldFile(WorldFile::commands), std::ios::trunc).flush();
}

int World_plugTerminal(const std::string& instrumentPath) {
    World_unplugTerminal(instrumentPath);
    const int farSide = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    char name[64];
    if (farSide < 0 || grantpt(farSide) != 0 || unlockpt(farSide) != 0 ||
        ptsname_r(farSide, name, sizeof name) != 0) {
        return -1;
    }
    const std::string place = World_realPath(instrumentPath);
    makeFoldersFor(place);
    if (symlink(name, place.c_str()) != 0) {
        close(farSide);
        return -1;
    }
    terminals.push_back({instrumentPath, farSide, open(name, O_RDWR | O_NOCTTY | O_CLOEXEC)});
    return farSide;
}

void World_unplugTerminal(const std::string& instrumentPath) {
    World_removeFile(instrumentPath);
    std::erase_if(terminals, [&](const Terminal& terminal) {
        if (terminal.path != instrumentPath) {
            return false;
        }
        close(terminal.nearSide);
        close(terminal.farSide);
        return true;
    });
}

std::string World_serialSettings(const std::string& instrumentPath) {
    const std::string name = instrumentPath.substr(instrumentPath.rfind('/'));
    const std::vector<std::string> lines = readLines(World_folder() + "/tty" + name);
    return lines.empty() ? "" : lines.front();
}

void World_resetSerialSettings() {
    for (const char* name : {"tty/ttyS1", "tty/ttyS2", "tty/ttyS4"}) {
        remove(worldFile(name).c_str());
    }
}

uint16_t World_commandPort() {
    return static_cast<uint16_t>(
        strtoul(readRealFile(worldFile(WorldFile::boundPort)).c_str(), nullptr, 10));
}

void World_stepWallClock_ms(int64_t step_ms) {
    BenchClock_stepWall(World_folder().c_str(), step_ms * 1'000'000);
}

void World_setSpeed(double factor) {
    BenchClock_setSpeed(World_folder().c_str(), factor);
}

void World_skipSleeps(bool skips) {
    BenchClock_skipSleeps(World_folder().c_str(), skips);
}

void World_playWaits(int64_t (*player)(int64_t end_ns)) {
    using Register = void(int64_t(*)(int64_t));
    reinterpret_cast<Register*>(dlsym(RTLD_DEFAULT, "quorvelbench_playWaits"))(player);
}

bool World_fail(WorldFault fault, const std::string& instrumentPath, int error) {
    const auto kind = static_cast<BenchFault>(static_cast<uint32_t>(fault) + 1);
    return BenchFaults_add(World_folder().c_str(), kind, instrumentPath, error);
}
static_assert(static_cast<uint32_t>(WorldFault::open) + 1 ==
                  static_cast<uint32_t>(BenchFault::open) &&
              static_cast<uint32_t>(WorldFault::freeze) + 1 ==
                  static_cast<uint32_t>(BenchFault::freeze));

void World_clearFaults() {
    BenchFaults_clear(World_folder().c_str());
}

bool World_waitUntil(const std::function<bool()>& condition, uint32_t limit_ms) {
    // Real time: the raw clock is the one that the bench never alters.
    constexpr timespec pause = {0, 2'000'000};
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC_RAW, &start);
    for (;;) {
        if (condition()) {
            return true;
        }
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC_RAW, &now);
        const int64_t elapsed_ms =
            (now.tv_sec - start.tv_sec) * 1000 + (now.tv_nsec - start.tv_nsec) / 1'000'000;
        if (elapsed_ms >= limit_ms) {
            return false;
        }
        syscall(SYS_nanosleep, &pause, nullptr); // real time, too
    }
}
