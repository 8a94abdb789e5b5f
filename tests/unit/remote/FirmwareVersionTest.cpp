#include "FirmwareVersion.h"

#include "World.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {

constexpr const char* buildFile = "/usr/local/etc/defconfig/buildInstalled";

struct BuildFile {
    std::string content;
    std::string version;
};

TEST(FirmwareVersion, IsReadFromTheBuildInformation) {
    const BuildFile files[] = {
        {"BUILD_DATE=2024-10-10T18:59:38\nBUILD_UUID=ab-12\n", "2024-10-10 18:59:38  ab-12"},
        {"BUILD_DATE=2024-10-10T18:59:38\n", "2024-10-10 18:59:38"},
        {"BUILD_DATE=2024-10-10T18:59:38", "2024-10-10 18:59:38"},
        {"BUILD_HOSTNAME=x\nBUILD_DATE=2024-10-10T18:59:38\r\nBUILD_HOSTNAME=y\nBUILD_UUID=u\n",
         "2024-10-10 18:59:38  u"},
        {"BUILD_UUID=before\nBUILD_DATE=2024\n", "2024"},
        {"export BUILD_DATE=T1T2\n", " 1T2"},
        {"BUILD_DATE=2024\nBUILD_DATE=2025\nBUILD_UUID=one\nBUILD_UUID=two\n", "2024  one"},
        {"BUILD_DATE=2024\nBUILD_UUID=\n", "2024  "},
    };
    for (const BuildFile& file : files) {
        World_writeFile(buildFile, file.content);
        EXPECT_EQ(getFwVersion(), file.version) << file.content;
    }
}

TEST(FirmwareVersion, LosesOnlyOneTrailingSpace) {
    World_writeFile(buildFile, "BUILD_DATE=2024  \n");
    EXPECT_STREQ(getFwVersion(), "2024 ");
    World_writeFile(buildFile, "BUILD_DATE=2024\nBUILD_UUID=u\r\n");
    EXPECT_STREQ(getFwVersion(), "2024  u\r");
}

TEST(FirmwareVersion, IsUnknownWithTheProgramsOwnDateWithoutTheFile) {
    World_removeFile(buildFile);
    EXPECT_TRUE(std::regex_match(
        getFwVersion(), std::regex(R"(unknown: [A-Z][a-z]{2} [ 0-9][0-9] 20\d\d \d\d:\d\d:\d\d)")))
        << getFwVersion();
}

TEST(FirmwareVersion, StaysUnknownWithoutADate) {
    World_writeFile(buildFile, "BUILD_UUID=ab-12\n");
    EXPECT_EQ(std::string(getFwVersion()).substr(0, 9), "unknown: ");
}

TEST(FirmwareVersion, IsCutAt127Characters) {
    const std::string longText(300, 'x');
    World_writeFile(buildFile, "BUILD_DATE=" + longText + "\nBUILD_UUID=u\n");
    EXPECT_EQ(getFwVersion(), longText.substr(0, 127));
    World_writeFile(buildFile, "BUILD_DATE=2024\nBUILD_UUID=" + longText + "\n");
    EXPECT_EQ(getFwVersion(), "2024  " + longText.substr(0, 121));
}

TEST(FirmwareVersion, TagsAreReadFromPiecesOf63Characters) {
    const BuildFile files[] = {
        {std::string(63, 'x') + "BUILD_DATE=2024\n", "2024"},
        {std::string(62, 'x') + "BUILD_DATE=2024\n", ""},
        {std::string(64, 'x') + "BUILD_DATE=2024\n", ""},
    };
    for (const BuildFile& file : files) {
        World_writeFile(buildFile, file.content);
        EXPECT_EQ(FirmwareVersion_readTags().build_date, file.version) << file.content;
    }
}

} // namespace
