#include "BatteryMonitor.h"

#include "BatteryFiles.h"
#include "Files.h"
#include "InstrumentIdentity.h"
#include "LogManager.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

BATT_MONITOR battMon{};

namespace {

constexpr const char* calibrationMark = "/root/.battcharged";
constexpr std::string_view modelWithoutBattery = "8830K8";
constexpr uint16_t fittedCellCount = 3;
constexpr int initialCurrentLimit = 39;
constexpr float microPerUnit = 1e6F;
constexpr float tenthsPerDegree = 10;
constexpr size_t valueTextSize = 16;

/// Set by disableBatteryMonitor; the record itself is never freed, since threads use it.
std::atomic<bool> isReleased{true};

const char* stateName(int state) {
    switch (state) {
    case BATT_MON_STATE_POWERUP:
        return "BATT_MON_STATE_POWERUP";
    case BATT_MON_STATE_CHARGE:
        return "BATT_MON_STATE_CHARGE";
    default:
        return "BATT_MON_STATE_DISCHARGE";
    }
}

void resetRecord() {
    battMon.state = BATT_MON_STATE_POWERUP;
    battMon.lastState = BATT_MON_STATE_POWERUP;
    battMon.cellCount = fittedCellCount;
    battMon.lipoBattVoltage = 0;
    battMon.battChargeState = BATT_MISSING;
    battMon.accumChargeWasSet = false;
    battMon.setAccumCharge = false;
    battMon.battPresent = false;
    battMon.hasBattery = true;
    battMon.inputCurrentLimit = 0;
    isReleased = false;
}

/// Writes one of the charger's start values; false, and a trace line, if that fails.
bool setUp(BatteryFile file, const char* value) {
    if (BatteryFile_write(file, value)) {
        return true;
    }
    logManager_printToLog(BatteryMonitor, "%s: Failed to open battery charger file: %s\n",
                          "initBatteryMonitor", BatteryFile_name(file));
    return false;
}

void setUpCharger() {
    if (!setUp(BatteryFile::armShipMode_raw, "0") || !setUp(BatteryFile::configBits_raw, "12")) {
        return;
    }
    setInputCurrentLimit(initialCurrentLimit);
    if (!setUp(BatteryFile::cOverXTerm_enable, "enable")) {
        return;
    }
    // Logged only: whatever the charger counts, the packs fitted have three cells.
    logManager_printToLog(BatteryMonitor, "initBatteryMonitor: cellCount %d\n",
                          getBatteryCellCount().value_or(-1));
    if (!battMon.accumChargeWasSet && readBattFile()) {
        battMon.accumChargeWasSet = true;
    }
}

std::optional<uint32_t> readChargerState() {
    const std::optional<long> word = BatteryFile_read(BatteryFile::chargerState_raw);
    if (!word) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(*word);
}

std::optional<float> readScaled(BatteryFile file, float divisor) {
    const std::optional<long> value = BatteryFile_read(file);
    if (!value) {
        return std::nullopt;
    }
    return static_cast<float>(*value) / divisor;
}

/// Takes a state word over as the charge state.
int storeChargeState(uint32_t word) {
    if (!battMon.battPresent) {
        battMon.battChargeState = BATT_MISSING;
        return BATT_MISSING;
    }
    const std::optional<batteryState> decoded =
        BatteryRules_chargeState(word, battMon.accumChargeWasSet);
    if (decoded) {
        battMon.battChargeState = *decoded;
        if (*decoded == BATT_FULLY_CHARGED) {
            battMon.setAccumCharge = true;
        }
    }
    return battMon.battChargeState;
}

void enterState(int chargeState) {
    battMon.lastState = battMon.state.load();
    battMon.state = chargeState != BATT_MISSING ? BATT_MON_STATE_CHARGE : BATT_MON_STATE_DISCHARGE;
    logManager_printToLog(BatteryMonitor, "%s: %s (l) && %s (c)\n", "pollI2CBatteryMonitor",
                          stateName(battMon.lastState), stateName(battMon.state));
    if (BatteryRules_mustCalibrate(battMon.lastState, battMon.state, chargeState,
                                   battMon.accumChargeWasSet, battMon.setAccumCharge)) {
        setFuelGaugeAccumCharge();
    }
}

} // namespace

int initBatteryMonitor() {
    resetRecord();
    setUpCharger();
    return 1;
}

void disableBatteryMonitor() {
    isReleased = true;
}

void checkModelForBattery() {
    const std::string_view model = InstrumentIdentity_get().modelNumber;
    battMon.hasBattery = !model.starts_with(modelWithoutBattery);
}

bool modelHasBattery() {
    return !isReleased && battMon.hasBattery;
}

bool checkBattery() {
    const std::optional<uint32_t> word = readChargerState();
    if (word) {
        battMon.battPresent = BatteryRules_isPresent(*word);
    }
    return battMon.battPresent;
}

int checkIfCharging() {
    if (!battMon.battPresent) {
        battMon.battChargeState = BATT_MISSING;
        return BATT_MISSING;
    }
    const std::optional<uint32_t> word = readChargerState();
    return word ? storeChargeState(*word) : battMon.battChargeState.load();
}

void pollI2CBatteryMonitor(bool* present, int* charging) {
    if (battMon.state == BATT_MON_STATE_POWERUP) {
        // Presence is decided once; a charger that does not answer yet is asked again.
        const std::optional<uint32_t> word = readChargerState();
        if (!word) {
            return;
        }
        battMon.battPresent = BatteryRules_isPresent(*word);
        *present = battMon.battPresent;
    }
    const int chargeState = checkIfCharging();
    *charging = chargeState;
    enterState(chargeState);
}

void pollI2CFuelGauge() {
    const std::optional<float> voltage_V = getFuelGaugeVoltage();
    if (!voltage_V) {
        return;
    }
    battMon.lipoBattVoltage = *voltage_V;
    logManager_printToLog(BatteryMonitor, "%s: batteryVoltage %.2f\n", "pollI2CFuelGauge",
                          static_cast<double>(*voltage_V));
}

bool pollBatteryPercent(int* percent) {
    if (battMon.state == BATT_MON_STATE_POWERUP) {
        return false;
    }
    if (battMon.accumChargeWasSet) {
        const std::optional<long> charge = getFuelGaugeAccumCharge();
        if (!charge) {
            return false;
        }
        *percent = BatteryRules_percentFromCharge(*charge);
    } else {
        const float voltage_V = battMon.lipoBattVoltage;
        if (!(voltage_V > 0)) {
            return false;
        }
        *percent =
            BatteryRules_percentFromVoltage(static_cast<double>(voltage_V), battMon.cellCount);
    }
    logManager_printToLog(BatteryMonitor, "%s: batteryPercent %d\n", "pollBatteryPercent",
                          *percent);
    return true;
}

std::optional<float> getFuelGaugeVoltage() {
    return readScaled(BatteryFile::voltage_now, microPerUnit);
}

std::optional<float> getFuelGaugeTemperature() {
    return readScaled(BatteryFile::temp, tenthsPerDegree);
}

std::optional<long> getFuelGaugeAccumCharge() {
    return BatteryFile_read(BatteryFile::charge_now);
}

std::optional<float> getFuelGaugeCurrent() {
    return readScaled(BatteryFile::current_now, microPerUnit);
}

void setFuelGaugeAccumCharge() {
    std::array<char, valueTextSize> text{};
    snprintf(text.data(), text.size(), "%ld", fullChargeCount);
    if (!BatteryFile_write(BatteryFile::charge_now, text.data())) {
        return;
    }
    writeBattFile();
    battMon.accumChargeWasSet = true;
    battMon.setAccumCharge = false;
}

std::optional<int> setInputCurrentLimit(int code) {
    const auto limit = static_cast<uint8_t>(code);
    std::array<char, valueTextSize> text{};
    snprintf(text.data(), text.size(), "%d", static_cast<int>(limit));
    if (!BatteryFile_write(BatteryFile::inputCurrentLimit_raw, text.data())) {
        return std::nullopt;
    }
    battMon.inputCurrentLimit = limit;
    return getInputCurrentLimit();
}

std::optional<int> getInputCurrentLimit() {
    const std::optional<long> code = BatteryFile_read(BatteryFile::inputCurrentLimit_raw);
    if (!code) {
        return std::nullopt;
    }
    return static_cast<int>(*code);
}

int getLastInputCurrentLimit() {
    return battMon.inputCurrentLimit;
}

std::optional<int> getBatteryCellCount() {
    const std::optional<long> count = BatteryFile_read(BatteryFile::cellCount);
    if (!count) {
        return std::nullopt;
    }
    return static_cast<int>(*count);
}

void writeBattFile() {
    if (readBattFile()) {
        return;
    }
    const ScopedFd mark(open(calibrationMark, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (!mark.isOpen()) {
        logManager_printToLog(BatteryMonitor, "Warning: Unable to open file %s for writing.\n",
                              calibrationMark);
    }
}

bool readBattFile() {
    return access(calibrationMark, F_OK) == 0;
}
