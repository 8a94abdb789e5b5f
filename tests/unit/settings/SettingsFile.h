#ifndef TESTS_UNIT_SETTINGS_SETTINGS_FILE_H
#define TESTS_UNIT_SETTINGS_SETTINGS_FILE_H

#include "Configuration.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <string>

constexpr const char* standardSettingsFile =
    "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

/// The file that a new instrument writes, without the serial lines of a higher floor.
extern const char* const defaultSettingsText;

/// The record as the file shows it.
std::string textOf(const QUORVEL_APP_SETTINGS& settings);

/// A text in which the line with this line's key has become this line.
std::string withLine(std::string text, const std::string& line);

/// Starts the settings as the program does.
void startSettings(const char* fileName = nullptr);

/// A test that begins with the defaults, their file, and an empty system log.
class SettingsFile : public testing::Test {
protected:
    SettingsFile() {
        configuration_registerSerialLines({nullptr, nullptr});
        World_removeFile(standardSettingsFile);
        startSettings();
        World_clearSyslog();
    }
    ~SettingsFile() override {
        WrappedCalls_reset();
        configuration_registerSerialLines({nullptr, nullptr});
    }

    static std::string fileText() {
        return World_readFile(standardSettingsFile);
    }
    static std::string recordText() {
        return textOf(configuration_getQuorvelAppConfiguration());
    }
    /// Restarts with a file of this content.
    static void restartWith(const std::string& content) {
        World_writeFile(standardSettingsFile, content);
        startSettings();
    }
};

#endif
