// What quorvel-fleet says to wrong command lines and files.

#include "FleetProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

FleetRun fleet(std::vector<std::string> words) {
    words.insert(words.begin(), "quorvel-fleet");
    return FleetProcess_run(words);
}

TEST(FleetUsage, AWrongCommandLineIsToldInOneLine) {
    const std::vector<std::vector<std::string>> wrong{
        {},
        {"bogus"},
        {"log"},
        {"log", "a b"},
        {"log", "::1"},
        {"log", "a", "a"},
        {"log", "a", "a:5025"},
        {"log", "a", "--every", "5"},
        {"log", "a", "--every", "1ms"},
        {"log", "a", "--poll", "2s", "--every", "1s"},
        {"log", "a", "--for", "-1s"},
        {"log", "a", "--bogus"},
    };
    for (const std::vector<std::string>& words : wrong) {
        const FleetRun run = fleet(words);
        EXPECT_EQ(2, run.status) << testing::PrintToString(words);
        EXPECT_EQ("", run.output);
        EXPECT_EQ(1U, FleetTest_lines(run.errors).size()) << run.errors;
        EXPECT_THAT(run.errors, testing::StartsWith("quorvel-fleet: "));
    }
}

TEST(FleetUsage, HelpAndVersionAreNoFailures) {
    EXPECT_EQ(0, fleet({"--help"}).status);
    EXPECT_THAT(fleet({"log", "--help"}).output, HasSubstr("--every"));
    EXPECT_THAT(fleet({"--version"}).output, testing::ContainsRegex("^[0-9]+\\.[0-9]+"));
}

TEST(FleetUsage, AFileThatCannotBeWrittenIsToldInOneLine) {
    const TestFolder folder;
    TestFolder_write(folder.file("other.csv"), "other\n");
    TestFolder_write(folder.file("other.sqlite"), std::string(5000, 'x'));
    for (const char* name : {"none/log.csv", "none/log.sqlite", "other.csv", "other.sqlite"}) {
        const FleetRun run = fleet({"log", "127.0.0.1:9", "--to", folder.file(name)});
        EXPECT_EQ(1, run.status) << name;
        EXPECT_EQ(1U, FleetTest_lines(run.errors).size()) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr(name));
    }
}

TEST(FleetUsage, MetersThatNeverAnswerAreAFailure) {
    const FleetRun run =
        fleet({"log", "127.0.0.1:9", "name.invalid", "--every", "100ms", "--for", "500ms"});
    EXPECT_EQ(1, run.status);
    EXPECT_THAT(run.errors, HasSubstr("127.0.0.1:9: gone: Connection refused"));
    EXPECT_THAT(run.errors, testing::EndsWith("quorvel-fleet: no meter has answered\n"));
}

} // namespace
