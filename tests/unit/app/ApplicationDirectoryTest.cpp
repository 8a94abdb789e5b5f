#include "ApplicationDirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <unistd.h>

TEST(ApplicationDirectory, IsCutAtTheExecutablesLastSlash) {
    struct Case {
        std::string executable;
        std::string directory;
    };
    const std::array<Case, 6> cases = {{
        {"/usr/local/bin/QuorvelPowerMeterApp", "/usr/local/bin"},
        {"/opt/a b/QuorvelPowerMeterApp (deleted)", "/opt/a b"},
        {"relative/program", "relative"},
        {"/program", "/"},
        {"program", "/usr/local/bin"},
        {"", "/usr/local/bin"},
    }};
    for (const Case& row : cases) {
        std::array<char, applicationDirectorySize> directory{};
        ApplicationDirectory_derive(row.executable, directory);
        EXPECT_EQ(std::string(directory.data()), row.directory) << row.executable;
    }
}

TEST(ApplicationDirectory, LongestPathFits) {
    const std::string folder = "/" + std::string(applicationDirectorySize - 3, 'x');
    std::array<char, applicationDirectorySize> directory{};
    ApplicationDirectory_derive(folder + "/p", directory);
    EXPECT_EQ(std::string(directory.data()), folder);
}

TEST(ApplicationDirectory, BecomesTheWorkingDirectory) {
    ASSERT_EQ(chdir("/"), 0);
    ApplicationDirectory_enter();
    std::array<char, applicationDirectorySize> current{};
    ASSERT_NE(getcwd(current.data(), current.size()), nullptr);
    EXPECT_EQ(std::string(current.data()), application_dir);
    EXPECT_EQ(access("unit_app", X_OK), 0) << "this very program lies there";
}
