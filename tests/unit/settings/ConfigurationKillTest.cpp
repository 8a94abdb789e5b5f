#include "Configuration.h"
#include "SettingsFile.h"
#include "Threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using SettingsUnderKill = SettingsFile;

constexpr int killCount = 200;
constexpr int longestStorm_us = 6000;

void writeSerialLine(FILE* file) {
    fputs("serialParity NONE\n", file);
}

void* storm(void* context) {
    const auto channel = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(context));
    for (uint32_t count = 0;; ++count) {
        configuration_setRfPowerScale({count % 2 == 0, count % 11}, channel, count % 2);
    }
    return nullptr;
}

/// A process that has read the settings and changes them from two threads until it is killed. It
/// tells through the pipe that its storm has begun.
[[noreturn]] void runStorm(int pipeEnd) {
    startSettings();
    pthread_t thread{};
    Thread_startJoinable(&thread, "storm", storm, nullptr);
    const char begun = '!';
    if (write(pipeEnd, &begun, sizeof begun) != sizeof begun) {
        _exit(1);
    }
    storm(reinterpret_cast<void*>(uintptr_t{1}));
    _exit(1);
}

/// Starts a storm and kills it after `delay_us`. True if the storm was under way.
bool killStorm(useconds_t delay_us) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child == 0) {
        runStorm(ends[1]);
    }
    close(ends[1]);
    char begun = 0;
    const bool hasBegun = read(ends[0], &begun, sizeof begun) == sizeof begun;
    close(ends[0]);
    usleep(delay_us);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    return hasBegun && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

/// The keys of a settings file in their order.
std::string keysOf(const std::string& text) {
    std::string keys;
    for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
        keys += text.substr(at, text.find(' ', at) - at) + '\n';
        if (text.find('\n', at) == std::string::npos) {
            return keys + "(no line end)";
        }
    }
    return keys;
}

TEST_F(SettingsUnderKill, EveryRestartReadsACompleteFile) {
    configuration_registerSerialLines({writeSerialLine, nullptr});
    writeConfigFile();
    const std::string keys = keysOf(std::string(defaultSettingsText) + "serialParity NONE\n");
    std::minstd_rand random(8830);
    std::uniform_int_distribution<useconds_t> delay_us(0, longestStorm_us);
    for (int count = 0; count < killCount; ++count) {
        ASSERT_TRUE(killStorm(delay_us(random))) << "kill " << count;
        ASSERT_EQ(keysOf(fileText()), keys) << "kill " << count;
    }
    EXPECT_NE(fileText(), std::string(defaultSettingsText) + "serialParity NONE\n");
}

TEST_F(SettingsUnderKill, RestartRemovesWhatTheKilledWriterHasLeft) {
    ASSERT_TRUE(killStorm(longestStorm_us));
    startSettings();
    std::vector<std::string> names;
    for (const auto& entry :
         std::filesystem::directory_iterator(World_realPath("/etc/QuorvelPowerMeterApp"))) {
        if (entry.path().filename().string().find("Settings.conf") != std::string::npos) {
            names.push_back(entry.path().filename());
        }
    }
    EXPECT_THAT(names, testing::ElementsAre("QuorvelApplicationSettings.conf"));
}

} // namespace
