#include "LogManager.h"

#include "Leftovers.h"
#include "NamedCategories.h"
#include "Threads.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* traceMarker = "/tmp/debug";
constexpr const char* configuration = "/tmp/logConfig";
constexpr uint32_t limit_ms = 30000;

/// Standard output goes into a pipe, as it does for a technician who pages through the trace.
class LogManager : public testing::Test {
protected:
    LogManager() {
        World_removeFile(traceMarker);
        World_removeFile(configuration);
        LogManager_create();
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
        reader = ends[0];
        fflush(stdout);
        realOutput = dup(STDOUT_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        close(ends[1]);
    }
    ~LogManager() override {
        fflush(stdout);
        dup2(realOutput, STDOUT_FILENO);
        close(realOutput);
        close(reader);
    }

    /// What has reached the pipe since the last call, once all has.
    std::string trace() const {
        EXPECT_TRUE(World_waitUntil(LogManager_flush, limit_ms));
        std::string text;
        std::array<char, 256> piece{};
        ssize_t count = 0;
        while ((count = read(reader, piece.data(), piece.size())) > 0) {
            text.append(piece.data(), static_cast<size_t>(count));
        }
        return text;
    }
    void startTrace(const std::string& categories) const {
        World_writeFile(traceMarker, "");
        World_writeFile(configuration, categories);
        LogManager_route();
    }
    /// The categories that are on, by writing one message into each.
    std::string enabledCategories() const {
        for (unsigned category = 0; category < CategoryCount; ++category) {
            logManager_printToLog(category, "%u ", category);
        }
        return trace();
    }

    int reader = -1;
    int realOutput = -1;
};

TEST_F(LogManager, HasElevenCategoriesOfWhichTenAreNamed) {
    EXPECT_EQ(CategoryCount, 11U);
    EXPECT_EQ(AllCategories, 10U);
    EXPECT_EQ(std::size(namedCategories), 10U);
    for (const NamedCategory& row : namedCategories) {
        EXPECT_EQ(LookupCategory(row.name), static_cast<int>(row.category)) << row.name;
    }
}

TEST_F(LogManager, LookUpIsExact) {
    for (const char* name : {"", "scpiparser", "SensorMmngr", "AllCategories", "None ", "ScpiParse",
                             "ScpiParsers", "CategoryCount"}) {
        EXPECT_EQ(LookupCategory(name), -1) << name;
    }
}

TEST_F(LogManager, EveryCategoryIsOffAtTheStart) {
    World_writeFile(traceMarker, "");
    LogManager_route();
    EXPECT_EQ(enabledCategories(), "");
}

TEST_F(LogManager, EachNameOfTheConfigurationEnablesItsCategoryOnly) {
    for (const NamedCategory& row : namedCategories) {
        startTrace(std::string(row.name) + "\n");
        EXPECT_EQ(enabledCategories(), std::to_string(row.category) + " ") << row.name;
    }
}

TEST_F(LogManager, ConfigurationLinesAreTrimmedAndUnknownOnesIgnored) {
    struct Case {
        const char* legend;
        std::string content;
        const char* enabled;
    };
    const Case cases[] = {
        {"two names", "SensorDetection\nThreadMonitor\n", "1 3 "},
        {"blanks before and after", "  \t ScpiParser \t \n", "8 "},
        {"lower case", "scpiparser\n", ""},
        {"the enumerator instead of the name", "SensorMmngr\n", ""},
        {"the sensor manager's name", "SensorManager\n", "9 "},
        {"carriage return", "ScpiParser\r\n", "8 "},
        {"no line end", "ScpiParser", "8 "},
        {"unknown lines", "# comment\n\nScpiParser=1\nNone\n", "0 "},
        {"name behind 99 characters of one line", std::string(99, ' ') + "ScpiParser\n", "8 "},
        {"name cut by the end of a piece", std::string(95, ' ') + "ScpiParser\n", ""},
        {"empty", "", ""},
        {"zero bytes", std::string("None\0\nScpiParser\n", 16), "0 8 "},
    };
    for (const Case& row : cases) {
        startTrace(row.content);
        EXPECT_EQ(enabledCategories(), row.enabled) << row.legend;
    }
}

TEST_F(LogManager, NothingReachesStandardOutputWithoutTheMarker) {
    startTrace("None\nScpiParser\n");
    World_removeFile(traceMarker);
    LogManager_route();
    EXPECT_EQ(enabledCategories(), "");
    logManager_fprintf("direct %d\n", 1);
    fflush(stdout);
    EXPECT_EQ(trace(), "");
}

TEST_F(LogManager, RemovedConfigurationTurnsEveryCategoryOffAgain) {
    startTrace("None\nScpiParser\n");
    EXPECT_EQ(enabledCategories(), "0 8 ");
    World_removeFile(configuration);
    LogManager_route();
    EXPECT_EQ(enabledCategories(), "");
    LogManager_enable(ScpiParser, true);
    loadLogConfigFile(); // which finds no file either
    EXPECT_EQ(enabledCategories(), "");
}

TEST_F(LogManager, MarkerThatCannotBeReadSwitchesNothingOn) {
    startTrace("ScpiParser\n");
    WrappedCalls_fail(Call::askReadable, EACCES); // the marker is asked for first
    LogManager_route();
    LogManager_enable(ScpiParser, true);
    EXPECT_EQ(enabledCategories(), "");
    LogManager_route();
    EXPECT_EQ(enabledCategories(), "8 ");
}

TEST_F(LogManager, EnableSwitchesOneCategoryAndIgnoresIndexesBehindTheLast) {
    startTrace("");
    LogManager_enable(BatteryMonitor, true);
    LogManager_enable(CategoryCount, true);
    LogManager_enable(UINT_MAX, true);
    EXPECT_EQ(enabledCategories(), "7 ");
    logManager_printToLog(CategoryCount, "behind the last\n");
    logManager_printToLog(UINT_MAX, "behind the last\n");
    LogManager_enable(BatteryMonitor, false);
    EXPECT_EQ(enabledCategories(), "");
}

TEST_F(LogManager, UncategorisedTraceFollowsNone) {
    startTrace("ScpiParser\n");
    logManager_fprintf("direct\n");
    logManager_fprintf_wrapper("wrapped\n");
    EXPECT_EQ(trace(), "");
    startTrace("None\n");
    logManager_fprintf("direct %d\n", 1);
    logManager_fprintf_wrapper("wrapped %d\n", 2);
    EXPECT_EQ(trace(), "direct 1\nwrapped 2\n");
}

TEST_F(LogManager, EachMessageReachesAPipeAtOnce) {
    startTrace("ScpiParser\n");
    logManager_printToLog(ScpiParser, "first\n");
    EXPECT_EQ(trace(), "first\n");
    logManager_printToLog(ScpiParser, "second, without a line end");
    EXPECT_EQ(trace(), "second, without a line end");
}

TEST_F(LogManager, ComposedTextIsFormattedOnceMore) {
    struct Case {
        const char* text;
        const char* written;
    };
    constexpr Case cases[] = {
        {"100%%", "100%"},
        {"50% of it", "50% of it"},
        {"%s%s%s%s%s%s%s%s", "%s%s%s%s%s%s%s%s"},
        {"%n", "%n"},
        {"%d%%", "%d%"},
        {"%", "%"},
        {"%%%", "%%"},
        {"%%%%", "%%"},
        {"%5%%", "%5%"},
        {"%%s", "%s"},
        {"%1000000000d", "%1000000000d"},
        {"", ""},
        {"plain\n", "plain\n"},
    };
    startTrace("ScpiParser\n");
    for (const Case& row : cases) {
        logManager_log_out(row.text);
        EXPECT_EQ(trace(), row.written);
        logManager_printToLog(ScpiParser, "%s", row.text);
        EXPECT_EQ(trace(), row.written);
    }
}

TEST_F(LogManager, DirectWritingFormatsOnlyOnce) {
    startTrace("None\n");
    logManager_fprintf("%s", "100%%");
    EXPECT_EQ(trace(), "100%%");
}

TEST_F(LogManager, MessagesLeaveNothingBehind) {
    startTrace("None\n");
    EXPECT_TRUE(leavesNothingBehind([this] {
        logManager_fprintf("direct %d\n", 1);
        trace();
    }));
    EXPECT_TRUE(leavesNothingBehind([this] {
        logManager_fprintf_wrapper("wrapped %d\n", 2);
        trace();
    }));
}

TEST_F(LogManager, MessageThatCannotBeComposedIsReplaced) {
    startTrace("ScpiParser\n");
    WrappedCalls_fail(Call::composeText, ENOMEM);
    logManager_printToLog(ScpiParser, "never composed\n");
    EXPECT_EQ(trace(), "Error while logging a message: Memory allocation failed.\n");
}

TEST_F(LogManager, WhiteSpaceIsTrimmedInPlace) {
    struct Case {
        const char* text;
        const char* trimmed;
    };
    constexpr Case cases[] = {
        {"", ""},          {"   ", ""},           {"word", "word"},
        {" word", "word"}, {"word \r\n", "word"}, {"\t two words \v\f", "two words"},
    };
    for (const Case& row : cases) {
        std::array<char, 32> text{};
        snprintf(text.data(), text.size(), "%s", row.text);
        EXPECT_STREQ(LogManager_trimwhitespace(text.data()), row.trimmed);
    }
}

TEST_F(LogManager, HooksDoNothing) {
    startTrace("None\n");
    LogManager_StringToConsole("label", "text");
    LogManager_StringToConsole_Hex("label", "text");
    LogManager_IntToConsole("label", 1);
    EXPECT_TRUE(LogManager_flush());
    EXPECT_EQ(trace(), "");
}

using LogManagerDeathTest = LogManager;

void createWithoutDescriptors() {
    rlimit limits{};
    getrlimit(RLIMIT_NOFILE, &limits);
    limits.rlim_cur = 0;
    setrlimit(RLIMIT_NOFILE, &limits);
    LogManager_create();
}

TEST_F(LogManagerDeathTest, MissingNullDeviceEndsTheProgramWithStatusOne) {
    EXPECT_EXIT(createWithoutDescriptors(), testing::ExitedWithCode(EXIT_FAILURE),
                "devNullFp /dev/null is NULL: Too many open files");
}

/// Runs the routing thread in a process of its own, since the thread never ends; it writes a
/// message every few milliseconds.
class RoutingThread : public LogManager {
protected:
    RoutingThread() {
        child = fork();
        if (child == 0) {
            pthread_t thread{};
            Thread_start(&thread, "debugPrintf", debugPrintfThread);
            for (;;) {
                logManager_printToLog(ScpiParser, "traced\n");
                Thread_sleep_ms(5);
            }
        }
    }
    ~RoutingThread() override {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }

    bool traceBecomes(bool isOn) const {
        trace();
        return World_waitUntil(
            [&] {
                usleep(50000); // ten times as long as it takes from one message to the next
                return trace().empty() != isOn;
            },
            limit_ms);
    }

    pid_t child = -1;
};

TEST_F(RoutingThread, FollowsMarkerAndConfigurationWhileTheProgramRuns) {
    World_setSpeed(5); // the child's clock, too
    EXPECT_TRUE(traceBecomes(false));
    World_writeFile(configuration, "ScpiParser\n");
    World_writeFile(traceMarker, "");
    EXPECT_TRUE(traceBecomes(true));
    World_removeFile(configuration);
    EXPECT_TRUE(traceBecomes(false));
    World_writeFile(configuration, "ScpiParser\n");
    EXPECT_TRUE(traceBecomes(true));
    World_removeFile(traceMarker);
    EXPECT_TRUE(traceBecomes(false));
    World_setSpeed(1);
}

} // namespace
