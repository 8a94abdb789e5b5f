#include "Configuration.h"
#include "SettingsFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

namespace {

using SettingsFailure = SettingsFile;

const std::string unwritable = "Warning: Unable to open settings file " +
                               std::string(standardSettingsFile) + " for writing.\\n\\n";
const std::string unreadable = "Warning: Unable to open settings file " +
                               std::string(standardSettingsFile) + " for reading\\n\\n";

std::string realDirectory() {
    return World_realPath("/etc/QuorvelPowerMeterApp");
}

TEST_F(SettingsFailure, MissingFileIsWrittenFromTheDefaults) {
    configuration_setPowerUnitsIsdBm(true);
    World_removeFile(standardSettingsFile);
    startSettings();
    EXPECT_EQ(fileText(), defaultSettingsText);
    EXPECT_EQ(recordText(), defaultSettingsText);
    EXPECT_TRUE(World_syslogContains("<7> DIAGNOSTIC:Configuration.cpp:"));
    EXPECT_TRUE(World_syslogContains(unreadable));
    EXPECT_TRUE(World_syslogContains("Using defaults\\n\\n"));
}

TEST_F(SettingsFailure, UnwritableFileChangesTheRecordOnlyAndTheNextSaveWorks) {
    for (const ReplacingFailure& row : replacingFailures) {
        resetConfigToDefaults();
        World_clearSyslog();
        WrappedCalls_fail(row.call, row.error);
        configuration_setPowerUnitsIsdBm(true);
        EXPECT_TRUE(configuration_getPowerUnitsIsdBm()) << row.legend;
        EXPECT_EQ(fileText(), defaultSettingsText) << row.legend;
        EXPECT_TRUE(World_syslogContains(unwritable)) << row.legend;
        configuration_setDisplayGraph(true);
        EXPECT_EQ(fileText(),
                  withLine(withLine(defaultSettingsText, "powerUnitsIsdBm 1"), "displayGraph 1"))
            << row.legend;
        configuration_setDisplayGraph(false);
    }
}

TEST_F(SettingsFailure, DiagnosticIsWrittenAtEachAttempt) {
    WrappedCalls_fail(Call::syncFile, EIO, 3);
    for (int count = 0; count < 3; ++count) {
        writeConfigFile();
    }
    EXPECT_EQ(World_syslog().size(), 3U);
    writeConfigFile();
    EXPECT_EQ(World_syslog().size(), 3U);
}

TEST_F(SettingsFailure, LostDirectoryIsMadeAgain) {
    std::filesystem::remove_all(realDirectory());
    configuration_setPowerUnitsIsdBm(true);
    EXPECT_EQ(fileText(), withLine(defaultSettingsText, "powerUnitsIsdBm 1"));
    EXPECT_TRUE(World_syslog().empty());
}

TEST_F(SettingsFailure, DirectoryIsOpenToAllAsFarAsTheProcessAllows) {
    std::filesystem::remove_all(realDirectory());
    const mode_t mask = umask(0);
    startSettings();
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(realDirectory().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0777U);
}

TEST_F(SettingsFailure, NewFileIsForAllAsFarAsTheProcessAllows) {
    for (const mode_t mask : {0000U, 0022U}) {
        World_removeFile(standardSettingsFile);
        const mode_t before = umask(mask);
        startSettings();
        umask(before);
        struct stat status {};
        ASSERT_EQ(stat(World_realPath(standardSettingsFile).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0666U & ~mask);
    }
}

TEST_F(SettingsFailure, DirectoryThatCannotBeMadeIsTheSameAsAnUnwritableFile) {
    startSettings("/etc/QuorvelPowerMeterApp/one/two/settings");
    configuration_setPowerUnitsIsdBm(true);
    EXPECT_TRUE(configuration_getPowerUnitsIsdBm());
    EXPECT_TRUE(World_syslogContains("settings file /etc/QuorvelPowerMeterApp/one/two/settings for "
                                     "writing"));
}

TEST_F(SettingsFailure, SymbolicLinkToTheFileIsKept) {
    const std::string link = World_realPath(standardSettingsFile);
    std::filesystem::rename(link, link + ".elsewhere");
    std::filesystem::create_symlink("QuorvelApplicationSettings.conf.elsewhere", link);
    configuration_setPowerUnitsIsdBm(true);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(World_readFile(std::string(standardSettingsFile) + ".elsewhere"),
              withLine(defaultSettingsText, "powerUnitsIsdBm 1"));
    std::filesystem::remove(link);
    std::filesystem::remove(link + ".elsewhere");
}

TEST_F(SettingsFailure, FileThatCannotBeRenamedOverIsWrittenInPlace) {
    WrappedCalls_fail(Call::renameFile, EBUSY);
    configuration_setPowerUnitsIsdBm(true);
    EXPECT_EQ(fileText(), withLine(defaultSettingsText, "powerUnitsIsdBm 1"));
    EXPECT_TRUE(World_syslog().empty());
}

TEST_F(SettingsFailure, MutexThatCannotBeInitializedIsLoggedAndLoadingGoesOn) {
    World_writeFile(standardSettingsFile, "powerUnitsIsdBm 1\n");
    WrappedCalls_fail(Call::mutexInit, EAGAIN);
    startSettings();
    EXPECT_TRUE(World_syslogContains("Failed to initialize multiple access mutex. "
                                     "pthread_mutex_init failed with error = " +
                                     std::to_string(EAGAIN) + "\\n\\n"));
    EXPECT_TRUE(configuration_getPowerUnitsIsdBm());
}

TEST_F(SettingsFailure, TextThatDoesNotFitItsBufferIsNotWritten) {
    configuration_registerSerialLines({[](FILE* file) {
                                           for (int line = 0; line < 10000; ++line) {
                                               fputs("endless\n", file);
                                           }
                                       },
                                       nullptr});
    configuration_setPowerUnitsIsdBm(true);
    EXPECT_EQ(fileText(), defaultSettingsText);
    EXPECT_TRUE(World_syslogContains(unwritable));
    configuration_registerSerialLines({nullptr, nullptr});
    writeConfigFile();
    EXPECT_EQ(fileText(), withLine(defaultSettingsText, "powerUnitsIsdBm 1"));
}

} // namespace
