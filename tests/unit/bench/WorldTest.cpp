// How a world begins, who lives in it, and how it ends.

#include "World.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>

using testing::StartsWith;

namespace {

/// Runs a shell script in a world of its own beside others of its kind. Returns its exit status, or
/// its signal number below zero. `$OUT` is a file for what it wants to tell.
class OwnWorld : public testing::Test {
protected:
    int run(const std::string& script) {
        const std::string command = "OUT=" + outFile() + " exec env QUORVEL_BENCH=" + worlds() +
                                    "/%p sh -c '" + script + "'";
        const int status = system(command.c_str());
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    static std::string worlds() {
        return World_folder() + "/worlds";
    }
    static std::string outFile() {
        return World_folder() + "/out";
    }
    static std::string told() {
        std::ifstream file(outFile());
        std::string line;
        std::getline(file, line);
        return line;
    }
    static bool isThere(const std::string& path) {
        struct stat status;
        return stat(path.c_str(), &status) == 0;
    }
};

} // namespace

TEST_F(OwnWorld, IsMadeWithItsFirstProcessAndGoesWithIt) {
    EXPECT_EQ(run("echo $QUORVEL_BENCH > $OUT; test -d $QUORVEL_BENCH/root/etc/network"), 0);
    EXPECT_THAT(told(), StartsWith(worlds() + "/"));
    EXPECT_THAT(told(), testing::Not(testing::HasSubstr("%p")));
    EXPECT_FALSE(isThere(told()));
}

TEST_F(OwnWorld, IsSharedByTheChildrenAndOutlivesThem) {
    World_removeFile("/tmp/debug");
    EXPECT_EQ(run("touch /tmp/debug; sh -c \"test -e /tmp/debug && echo x > /tmp/logConfig\"; "
                  "test -e /tmp/logConfig && echo $QUORVEL_BENCH > $OUT"),
              0);
    EXPECT_FALSE(isThere(told()));
    EXPECT_FALSE(isThere(World_realPath("/tmp/debug"))) << "and is not ours";
}

TEST_F(OwnWorld, OfAKilledProcessIsRemovedByTheNext) {
    EXPECT_EQ(run("echo $QUORVEL_BENCH > $OUT; kill -9 $$"), -9);
    const std::string left = told();
    EXPECT_TRUE(isThere(left));
    EXPECT_EQ(run("echo $QUORVEL_BENCH > $OUT"), 0);
    EXPECT_FALSE(isThere(left));
}

TEST_F(OwnWorld, IsKeptOnRequest) {
    EXPECT_EQ(system(("QUORVEL_BENCH_KEEP=1 OUT=" + outFile() + " QUORVEL_BENCH=" + worlds() +
                      "/%p env sh -c 'echo $QUORVEL_BENCH > $OUT'")
                         .c_str()),
              0);
    EXPECT_TRUE(isThere(told()));
}

TEST_F(OwnWorld, WithAnyNameIsMadeWhenItIsMissingAndStays) {
    const std::string named = World_folder() + "/named/deep";
    EXPECT_EQ(system(("QUORVEL_BENCH=" + named + " sh -c 'touch /tmp/debug'").c_str()), 0);
    EXPECT_TRUE(isThere(named + "/root/tmp/debug"));
    EXPECT_TRUE(isThere(named + "/root/sys/class/hwmon"));
}

TEST_F(OwnWorld, ThatCannotBeMadeEndsTheProgramBeforeItDoesHarm) {
    const std::string tooLong = "/" + std::string(2100, 'x');
    for (const std::string& impossible :
         {std::string("/proc/none/here"), std::string("relative"), tooLong}) {
        const std::string command =
            "QUORVEL_BENCH=" + impossible + " sh -c 'echo > " + outFile() + ".harm' 2> /dev/null";
        EXPECT_EQ(WEXITSTATUS(system(command.c_str())), 126) << impossible;
        EXPECT_FALSE(isThere(outFile() + ".harm"));
    }
}
