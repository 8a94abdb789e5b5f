// Stores settings and pulse configurations without end, each with a number that counts up, and
// tells each number once it is stored. Power is cut meanwhile.

#include "Configuration.h"
#include "PulseConfig.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

const std::string settingsName = "/QuorvelApplicationSettings.conf";
const std::string pulseName = "/QuorvelPulseSensor.conf";

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

void storm(const char* what, int number, void (*store)(int number), const std::string& copyFrom,
           const std::string& copyTo) {
    for (;; ++number) {
        store(number);
        if (!copyTo.empty()) {
            overwrite(copyFrom, copyTo);
        }
        dprintf(STDOUT_FILENO, "%s %d\n", what, number);
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
    const std::string folder = argv[1];
    const int first = atoi(argv[2]);
    const std::string own = argc == 4 ? argv[3] : folder;
    const std::string copy = argc == 4 ? folder : "";
    setConfigurationFile((own + settingsName).c_str());
    readConfigFile();
    sensorPortHandler_setPulseConfigFile((own + pulseName).c_str());
    std::thread pulses(storm, "pulse", first, storePulse, own + pulseName,
                       copy.empty() ? "" : copy + pulseName);
    storm("settings", first, storeSettings, own + settingsName,
          copy.empty() ? "" : copy + settingsName);
    pulses.join();
}
