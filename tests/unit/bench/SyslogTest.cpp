// What reaches the system log.

#include "World.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <syslog.h>

using testing::ElementsAre;

class Syslog : public testing::Test {
protected:
    void SetUp() override {
        World_clearSyslog();
    }
};

TEST_F(Syslog, EveryMessageIsOneLineWithItsPriority) {
    syslog(LOG_DEBUG, "value %d\n", 5);
    syslog(LOG_LOCAL3 | LOG_ERR, "two\nlines");
    EXPECT_THAT(World_syslog(), ElementsAre("<7> value 5\\n", "<3> two\\nlines"));
    EXPECT_TRUE(World_syslogContains("two"));
    World_clearSyslog();
    EXPECT_FALSE(World_syslogContains("two"));
}

TEST_F(Syslog, TheErrorTextIsTheCallersAndErrnoIsKept) {
    errno = ENOENT;
    const std::string format = "%m%s"; // ISO C++ does not know it, the C library does
    syslog(LOG_ERR, format.c_str(), "");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_THAT(World_syslog(), ElementsAre("<3> No such file or directory"));
}

TEST_F(Syslog, AMessageOfAnyLengthIsWhole) {
    const std::string text(100'000, 'x');
    syslog(LOG_INFO, "%s", text.c_str());
    ASSERT_EQ(World_syslog().size(), 1U);
    EXPECT_TRUE(World_syslog().front() == "<6> " + text);
}

TEST_F(Syslog, MessagesOutsideTheMaskAreDropped) {
    const int kept = setlogmask(LOG_UPTO(LOG_WARNING));
    syslog(LOG_DEBUG, "quiet");
    setlogmask(kept);
    EXPECT_TRUE(World_syslog().empty());
}
