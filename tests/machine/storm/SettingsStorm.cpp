// Stores settings and pulse configurations without end, each with a number that counts up, and
// tells each number once it is stored. Power is cut meanwhile.

#include "Configuration.h"
#include "PulseConfig.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

/// What is stored again and again.
struct Kind {
    const char* name;
    const char* file;
    void (*store)(int number);
};

/// Where the meter's functions store, and where it is copied to; not at all if that is empty.
struct Folders {
    std::string own;
    std::string copies;
};

void storeSettings(int number) {
    // The file keeps whatever number stands in this line.
    configuration_setMatchMeasurementType(static_cast<rfMatchType_t>(number));
}

void storePulse(int number) {
    SENSOR_CONFIGS configs{};
    configs.freqVal = static_cast<float>(number);
    setPulseSensorConfig(&configs);
}

/// As a program does that knows nothing of power cuts.
void overwrite(const std::string& from, const std::string& to) {
    std::ofstream(to) << std::ifstream(from).rdbuf();
}

constexpr Kind settings{"settings", "/QuorvelApplicationSettings.conf", storeSettings};
constexpr Kind pulse{"pulse", "/QuorvelPulseSensor.conf", storePulse};

void storm(const Kind& kind, const Folders& folders, int number) {
    for (;; ++number) {
        kind.store(number);
        if (!folders.copies.empty()) {
            overwrite(folders.own + kind.file, folders.copies + kind.file);
        }
        dprintf(STDOUT_FILENO, "%s %d\n", kind.name, number);
    }
}

} // namespace

/// settings-storm FOLDER FIRST-NUMBER [SCRATCH]: into FOLDER as the meter does; or, with SCRATCH,
/// there as the meter does, and from there over the files in FOLDER.
int main(int argc, char* argv[]) {
    if (argc < 3 || argc > 4) {
        fprintf(stderr, "usage: settings-storm FOLDER FIRST-NUMBER [SCRATCH]\n");
        return EXIT_FAILURE;
    }
    const int first = atoi(argv[2]);
    const Folders folders = argc == 4 ? Folders{argv[3], argv[1]} : Folders{argv[1], ""};
    setConfigurationFile((folders.own + settings.file).c_str());
    readConfigFile();
    sensorPortHandler_setPulseConfigFile((folders.own + pulse.file).c_str());
    std::thread pulses(storm, pulse, folders, first);
    storm(settings, folders, first);
    pulses.join();
}
