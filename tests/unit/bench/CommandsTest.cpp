// What would switch the machine off or change its network is written down and never runs.

#include "World.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

using testing::ElementsAre;

TEST(Commands, AShellsRedirectionGoesIntoTheWorld) {
    EXPECT_EQ(system("echo 1 > /sys/class/leds/quorvel8830k:KeepOn/brightness"), 0);
    EXPECT_EQ(World_readFile("/sys/class/leds/quorvel8830k:KeepOn/brightness"), "1\n");
    EXPECT_EQ(system("touch /tmp/debug"), 0);
    EXPECT_EQ(World_readFile("/tmp/debug"), "");
    EXPECT_EQ(system("test -e /tmp/debug"), 0);
}

TEST(Commands, ShutdownIsWrittenDownAndNeverRun) {
    for (const char* command :
         {"shutdown", "/sbin/shutdown -h now", "/etc/init.d/network restart"}) {
        World_clearCommands();
        EXPECT_EQ(system(command), 0);
        EXPECT_THAT(World_commands(), ElementsAre(command));
    }
}
