#include "Soak.h"

#include "BenchText.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr const char* settingsPath = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

} // namespace

int Soak_pick(Soak& soak, int from, int to) {
    return std::uniform_int_distribution<int>(from, to)(soak.random);
}

double Soak_pickPower(Soak& soak, double from_W, double to_W) {
    const double exponent =
        std::uniform_real_distribution<double>(std::log10(from_W), std::log10(to_W))(soak.random);
    return strtod(BenchText_format("%.3g", std::pow(10, exponent)).c_str(), nullptr);
}

void Soak_changeSettings(Soak& soak, const SoakSettings& settings) {
    soak.settingsBefore = soak.settings;
    soak.settings = settings;
    soak.settingsChanged = SoakClock::now();
}

std::map<std::string, std::string> Soak_settingsFile(const Soak& soak) {
    std::map<std::string, std::string> values;
    const std::string text = Bench_readFile(soak.bench, settingsPath);
    for (const std::string_view line : BenchText_split(text, '\n')) {
        const size_t blank = line.find(' ');
        if (blank != std::string_view::npos) {
            values[std::string(line.substr(0, blank))] = line.substr(blank + 1);
        }
    }
    return values;
}

void Soak_believeSettingsFile(Soak& soak) {
    auto file = Soak_settingsFile(soak);
    SoakSettings read;
    read.isdBm = file["powerUnitsIsdBm"] == "1";
    read.showsForward = file["displayForwardPower"] != "0";
    read.showsReflected = file["displayReflectedPower"] != "0";
    read.showsMatch = file["displayVSWR_ReturnLoss_or_ReflCoeff_Value"] != "0";
    read.matchType = atoi(file["matchMeasurementType"].c_str());
    read.showsGraph = file["displayGraph"] == "1";
    read.isPulse = file["sensorPulseMode"] == "1";
    Soak_changeSettings(soak, read);
}

uint32_t Soak_limit_ms(const Soak& soak, double meter_s) {
    return static_cast<uint32_t>((meter_s / soak.truth.speed + soakTimes::machineReal) * 1000);
}
