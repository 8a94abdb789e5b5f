// Where the instrument's paths lead, through each of the C library's calls.

#include "World.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* settings = "/etc/QuorvelPowerMeterApp/x.conf";

std::string readThrough(int fd) {
    char buffer[100];
    const ssize_t count = read(fd, buffer, sizeof buffer);
    close(fd);
    return count < 0 ? "read failed" : std::string(buffer, static_cast<size_t>(count));
}

} // namespace

TEST(Paths, EveryWayOfOpeningReachesTheWorldsFile) {
    World_writeFile(settings, "content");
    const std::vector<std::pair<const char*, std::function<int()>>> calls = {
        {"open", [] { return open(settings, O_RDONLY); }},
        {"open64", [] { return open64(settings, O_RDONLY); }},
        {"openat", [] { return openat(AT_FDCWD, settings, O_RDONLY); }},
        {"openat64", [] { return openat64(AT_FDCWD, settings, O_RDONLY); }},
        {"fopen", [] { return dup(fileno(fopen(settings, "r"))); }},
        {"fopen64", [] { return dup(fileno(fopen64(settings, "re"))); }},
        {"freopen", [] { return dup(fileno(freopen(settings, "r", fopen("/dev/null", "r")))); }},
    };
    for (const auto& [name, call] : calls) {
        EXPECT_EQ(readThrough(call()), "content") << name;
    }
    std::ifstream stream(settings);
    std::string text;
    stream >> text;
    EXPECT_EQ(text, "content");
    EXPECT_EQ(std::filesystem::file_size(settings), 7U);
}

TEST(Paths, ACreatedFileLiesInTheWorldAndNotOnTheMachine) {
    World_removeFile(settings);
    const int fd = open(settings, O_WRONLY | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(write(fd, "abc", 3), 3);
    close(fd);
    EXPECT_EQ(World_readFile(settings), "abc");
    struct stat status;
    ASSERT_EQ(stat(World_realPath(settings).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST(Paths, APathWithDetoursReachesTheSameFile) {
    World_writeFile(settings, "content");
    for (const char* path :
         {"//etc//QuorvelPowerMeterApp///x.conf", "/etc/./QuorvelPowerMeterApp/./x.conf",
          "/usr/../etc/network/../QuorvelPowerMeterApp/x.conf"}) {
        EXPECT_EQ(readThrough(open(path, O_RDONLY)), "content") << path;
    }
    ASSERT_EQ(chdir("/etc"), 0);
    EXPECT_EQ(readThrough(open("QuorvelPowerMeterApp/x.conf", O_RDONLY)), "content");
    const int directory = open("/etc", O_RDONLY | O_DIRECTORY);
    EXPECT_EQ(readThrough(openat(directory, "QuorvelPowerMeterApp/x.conf", O_RDONLY)), "content");
    close(directory);
}

TEST(Paths, NamesThatOnlyBeginAlikeStayTheMachines) {
    for (const char* path : {"/etc/QuorvelPowerMeterApp2/x", "/tmp/debugger", "/dev/ttyS10"}) {
        World_writeFile(path, "content");
        EXPECT_EQ(open(path, O_RDONLY), -1) << path;
    }
}

TEST(Paths, ASiblingThatReplacesAFileIsInTheWorldToo) {
    const int fd = open("/tmp/logConfig.new", O_WRONLY | O_CREAT, 0644);
    ASSERT_GE(fd, 0);
    close(fd);
    EXPECT_EQ(rename("/tmp/logConfig.new", "/tmp/logConfig"), 0);
    EXPECT_EQ(access(World_realPath("/tmp/logConfig").c_str(), F_OK), 0);
}

TEST(Paths, AnAttributeThatIsMissingCannotBeCreated) {
    EXPECT_EQ(open("/sys/class/hwmon/none", O_WRONLY | O_CREAT, 0644), -1);
    EXPECT_EQ(fopen("/sys/class/leds/none/brightness", "w"), nullptr);
}

TEST(Paths, EveryFolderOfTheInstrumentStandsFromTheStart) {
    for (const char* path : {"/sys/class/hwmon", "/sys/devices/virtual/battery_charger/ltc4162",
                             "/sys/class/power_supply/fuel_gauge", "/sys/class/net/eth0",
                             "/etc/QuorvelPowerMeterApp", "/etc/network"}) {
        DIR* const directory = opendir(path);
        EXPECT_NE(directory, nullptr) << path;
        if (directory != nullptr) {
            closedir(directory);
        }
    }
}

TEST(Paths, UniqueNamesComeBackInTheCallersPattern) {
    char pattern[] = "/etc/QuorvelPowerMeterApp/x.XXXXXX";
    const int fd = mkostemp(pattern, O_CLOEXEC);
    ASSERT_GE(fd, 0);
    close(fd);
    EXPECT_STRNE(pattern, "/etc/QuorvelPowerMeterApp/x.XXXXXX");
    EXPECT_EQ(access(World_realPath(pattern).c_str(), F_OK), 0);
    EXPECT_EQ(unlink(pattern), 0);
}

TEST(Paths, APathThatIsTooLongInTheWorldLeadsNowhere) {
    const std::string fits = "/etc/QuorvelPowerMeterApp/" + std::string(200, 'x');
    World_writeFile(fits, "content");
    EXPECT_EQ(readThrough(open(fits.c_str(), O_RDONLY)), "content");
    std::string path = "/etc/QuorvelPowerMeterApp";
    while (path.size() < PATH_MAX - 30) {
        path += "/longer";
    }
    EXPECT_EQ(open(path.c_str(), O_WRONLY | O_CREAT, 0644), -1);
    EXPECT_EQ(mkdir(path.c_str(), 0755), -1);
}

TEST(Paths, WhatIsNotTheInstrumentsStaysTheMachines) {
    char program[PATH_MAX] = "";
    ASSERT_GT(readlink("/proc/self/exe", program, sizeof program - 1), 0);
    EXPECT_THAT(program, testing::EndsWith("/unit_bench"));
    EXPECT_EQ(readThrough(open("/dev/null", O_RDONLY)), "");
    EXPECT_EQ(access("/etc/passwd", R_OK), 0);
    EXPECT_NE(access(World_realPath("/etc/passwd").c_str(), F_OK), 0);
}
