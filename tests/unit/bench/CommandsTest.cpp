// What would switch the machine off or change its network is written down and never runs.
//
// The proof needs no real shutdown: harmless programs of the dangerous names leave a mark when they
// run. They are called through every call that starts programs, and no mark may ever be left.

#include "World.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <sys/reboot.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Commands : public testing::Test {
protected:
    void SetUp() override {
        World_clearCommands();
        folder = World_folder() + "/canary";
        mkdir(folder.c_str(), 0755);
        for (const char* name :
             {"shutdown", "poweroff", "reboot", "halt", "systemctl", "harmless"}) {
            makeProgram(folder + "/" + name);
        }
    }
    void TearDown() override {
        unlink(mark().c_str());
    }

    std::string mark() const {
        return folder + "/ran";
    }
    bool hasRun() const {
        return access(mark().c_str(), F_OK) == 0;
    }
    std::string program(const char* name) const {
        return folder + "/" + name;
    }

private:
    void makeProgram(const std::string& path) const {
        FILE* const file = fopen(path.c_str(), "w");
        ASSERT_NE(file, nullptr);
        fprintf(file, "#!/bin/sh\necho \"$@\" >> %s\n", mark().c_str());
        fclose(file);
        chmod(path.c_str(), 0755);
    }

    std::string folder;
};

/// Makes the call in a child, which it replaces.
int inChild(const std::function<void()>& call) {
    const pid_t child = fork();
    if (child == 0) {
        call();
        _exit(99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

struct StartingCall {
    const char* name;
    std::function<void(const char* path, char* const arguments[])> call;
};

char* const emptyEnvironment[] = {nullptr};

void spawnAndWait(decltype(posix_spawn)* spawn, const char* path, char* const arguments[]) {
    pid_t child = 0;
    int status = 0;
    if (spawn(&child, path, nullptr, nullptr, arguments, environ) == 0) {
        waitpid(child, &status, 0);
    }
    _exit(WEXITSTATUS(status));
}

const StartingCall startingCalls[] = {
    {"execv", [](const char* path, char* const words[]) { execv(path, words); }},
    {"execve", [](const char* path, char* const words[]) { execve(path, words, environ); }},
    {"execve without environment",
     [](const char* path, char* const words[]) { execve(path, words, emptyEnvironment); }},
    {"execvp", [](const char* path, char* const words[]) { execvp(path, words); }},
    {"execvpe", [](const char* path, char* const words[]) { execvpe(path, words, environ); }},
    {"execl",
     [](const char* path, char* const words[]) { execl(path, words[0], words[1], nullptr); }},
    {"execlp",
     [](const char* path, char* const words[]) { execlp(path, words[0], words[1], nullptr); }},
    {"execle", [](const char* path,
                  char* const words[]) { execle(path, words[0], words[1], nullptr, environ); }},
    {"execveat",
     [](const char* path, char* const words[]) { execveat(AT_FDCWD, path, words, environ, 0); }},
    // The script behind the descriptor is opened again by its shell, so it must stay open there.
    {"fexecve",
     [](const char* path, char* const words[]) { fexecve(open(path, O_RDONLY), words, environ); }},
    {"posix_spawn",
     [](const char* path, char* const words[]) { spawnAndWait(posix_spawn, path, words); }},
    {"posix_spawnp",
     [](const char* path, char* const words[]) { spawnAndWait(posix_spawnp, path, words); }},
};

} // namespace

TEST_F(Commands, AShellsRedirectionGoesIntoTheWorld) {
    EXPECT_EQ(system("echo 1 > /sys/class/leds/quorvel8830k:KeepOn/brightness"), 0);
    EXPECT_EQ(World_readFile("/sys/class/leds/quorvel8830k:KeepOn/brightness"), "1\n");
    EXPECT_EQ(system("touch /tmp/debug"), 0);
    EXPECT_EQ(system("test -e /tmp/debug && cd /etc/QuorvelPowerMeterApp && echo x > y && cat y"),
              0);
    EXPECT_EQ(World_readFile("/etc/QuorvelPowerMeterApp/y"), "x\n");
    EXPECT_EQ(system("rm /tmp/debug"), 0);
    EXPECT_NE(access(World_realPath("/tmp/debug").c_str(), F_OK), 0);
    EXPECT_THAT(World_commands(), IsEmpty());
}

TEST_F(Commands, EveryDoorRunsAHarmlessProgram) {
    for (const StartingCall& start : startingCalls) {
        SCOPED_TRACE(start.name);
        const std::string path = program("harmless");
        char first[] = "harmless";
        char second[] = "now";
        char* const words[] = {first, second, nullptr};
        EXPECT_EQ(inChild([&] { start.call(path.c_str(), words); }), 0);
        EXPECT_TRUE(hasRun());
        unlink(mark().c_str());
        EXPECT_THAT(World_commands(), IsEmpty());
    }
}

TEST_F(Commands, NoDoorRunsAProgramThatSwitchesTheMachineOff) {
    for (const StartingCall& start : startingCalls) {
        for (const char* name : {"shutdown", "poweroff", "reboot", "halt", "systemctl"}) {
            SCOPED_TRACE(std::string(start.name) + " " + name);
            World_clearCommands();
            const std::string path = program(name);
            std::string first = name;
            char second[] = "now";
            char* const words[] = {first.data(), second, nullptr};
            EXPECT_EQ(inChild([&] { start.call(path.c_str(), words); }), 0);
            EXPECT_FALSE(hasRun());
            EXPECT_THAT(World_commands(), ElementsAre(first + " now"));
        }
    }
}

TEST_F(Commands, NoWayThroughTheShellReachesIt) {
    const std::string canary = program("shutdown");
    const std::string path = "PATH=" + program("") + ":$PATH ";
    const std::pair<std::string, std::string> ways[] = {
        {"shutdown", "shutdown"},
        {"shutdown -h now", "shutdown -h now"},
        {"/sbin/shutdown -h now", "/sbin/shutdown -h now"},
        {"/etc/init.d/network restart", "/etc/init.d/network restart"},
        {canary, canary},
        {path + "shutdown", "shutdown"},
        {path + "exec shutdown now", "shutdown now"},
        {path + "env shutdown now", "shutdown now"},
        {"env -i " + canary, canary},
        {"env -i /bin/sh -c " + canary, canary},
        {"unset LD_PRELOAD QUORVEL_BENCH; /bin/sh -c '" + canary + "; true'", canary},
        {"LD_PRELOAD= /bin/sh -c '" + canary + "; true'", canary},
        {path + "nohup sh -c 'sh -c \"shutdown; true\"; true'", "shutdown"},
        {path + "echo now | xargs shutdown", "shutdown now"},
    };
    for (const auto& [command, expected] : ways) {
        SCOPED_TRACE(command);
        World_clearCommands();
        EXPECT_EQ(system(command.c_str()), 0);
        EXPECT_FALSE(hasRun());
        EXPECT_THAT(World_commands(), ElementsAre(expected));
    }
}

TEST_F(Commands, APipeIsNoWayEither) {
    FILE* const pipe = popen((program("poweroff") + " -f").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    EXPECT_EQ(pclose(pipe), 0);
    EXPECT_FALSE(hasRun());
    EXPECT_THAT(World_commands(), ElementsAre(program("poweroff") + " -f"));
}

TEST_F(Commands, AnEmptiedEnvironmentIsNoWayEither) {
    const std::string canary = program("halt");
    EXPECT_EQ(inChild([&] {
                  clearenv();
                  _exit(WEXITSTATUS(system(canary.c_str())));
              }),
              0);
    EXPECT_FALSE(hasRun());
    EXPECT_THAT(World_commands(), ElementsAre(canary));
}

TEST_F(Commands, TheSystemCallItselfIsWrittenDown) {
    EXPECT_EQ(reboot(RB_POWER_OFF), 0);
    EXPECT_THAT(World_commands(), ElementsAre("reboot()"));
}
