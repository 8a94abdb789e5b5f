#include "message.h"

#include "World.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Message, DiagnosticTellsFileLineAndFunctionAtDebugPriority) {
    World_clearSyslog();
    const int line = __LINE__ + 1;
    DIAGNOSTIC("Thread is alive at %ul ms.\n\n", 17U);
    EXPECT_TRUE(World_syslogContains("<7> DIAGNOSTIC:MessageTest.cpp:" + std::to_string(line) +
                                     ":TestBody(): Thread is alive at 17l ms."));
}

TEST(Message, DiagnosticNeedsNoArguments) {
    World_clearSyslog();
    DIAGNOSTIC("Using defaults\n\n");
    EXPECT_TRUE(World_syslogContains("TestBody(): Using defaults"));
}

TEST(Message, UserWarningHasWarningPriorityAndTwoBlanks) {
    World_clearSyslog();
    USER_WARNING("input current limit is %d; should be %d\n", 1, 2);
    EXPECT_TRUE(World_syslogContains("<4> USER_WARNING:  input current limit is 1; should be 2"));
}

TEST(Message, UserErrorHasErrorPriorityAndOneBlank) {
    World_clearSyslog();
    USER_ERROR("%s\n", "no supply");
    EXPECT_TRUE(World_syslogContains("<3> USER_ERROR: no supply"));
}

TEST(Message, FileNameIsShownWithoutItsDirectory) {
    EXPECT_STREQ(message_fileName("/one/two/Three.cpp"), "Three.cpp");
    EXPECT_STREQ(message_fileName("Three.cpp"), "Three.cpp");
    EXPECT_STREQ(message_fileName("one/"), "");
}

} // namespace
