#ifndef TESTS_FLEET_SUPPORT_FLEET_PROCESS_H
#define TESTS_FLEET_SUPPORT_FLEET_PROCESS_H

#include "TestFolder.h"

#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

/// What a program has used, up to its end.
struct ProcessUse {
    double processorTime_s = 0; ///< user and system
    double memory_kB = 0;       ///< the most at a time
};

/// A program of this build, with files as its outputs. It ends with the test at the latest.
class FleetProcess {
public:
    /// `words` begin with the program's name, such as "quorvel-fleet", or with a path.
    explicit FleetProcess(std::vector<std::string> words);
    ~FleetProcess();
    FleetProcess(const FleetProcess&) = delete;
    FleetProcess& operator=(const FleetProcess&) = delete;

    std::string output() const;
    std::string errors() const;
    void signal(int number) const;
    /// Waits for its end; the exit status, or minus the number of the signal that ended it.
    int end();
    /// After its end.
    const ProcessUse& use() const {
        return used;
    }

private:
    TestFolder folder;
    pid_t child = -1;
    int status = -1;
    ProcessUse used;
};

/// Runs a program to its end.
struct FleetRun {
    int status;
    std::string output;
    std::string errors;
};
FleetRun FleetProcess_run(const std::vector<std::string>& words);

/// A crowd of meters that runs as long as this lives, on addresses that no other test uses.
class TestCrowd {
public:
    explicit TestCrowd(size_t count, std::vector<std::string> options = {});

    /// Of a meter, counted from 1.
    std::string address(size_t meter) const;

private:
    std::string base;
    FleetProcess crowd;
};

/// Asks again every few milliseconds; false after half a minute.
bool FleetTest_waitUntil(const std::function<bool()>& condition);

std::vector<std::string> FleetTest_lines(const std::string& text);
/// The fields of a CSV row without quotes in it.
std::vector<std::string> FleetTest_fields(const std::string& row);

#endif
