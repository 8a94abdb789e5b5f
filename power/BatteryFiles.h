#ifndef POWER_BATTERY_FILES_H
#define POWER_BATTERY_FILES_H

#include <optional>

/// The charger's and the fuel gauge's driver files. Values are decimal text: written as a 16-byte,
/// zero-padded record, read from the first 8 bytes. A file that cannot be read, or that holds no
/// number, gives nothing. Any thread; no lock is taken.

enum class BatteryFile {
    armShipMode_raw,
    configBits_raw,
    cOverXTerm_enable,
    inputCurrentLimit_raw,
    cellCount,
    chargerState_raw,
    charge_now,  ///< raw counts
    voltage_now, ///< microvolts
    temp,        ///< tenths of a degree Celsius
    current_now  ///< microamperes
};

/// The file's name without its directory.
const char* BatteryFile_name(BatteryFile file);

std::optional<long> BatteryFile_read(BatteryFile file);

/// False when the file cannot be opened or written.
bool BatteryFile_write(BatteryFile file, const char* text);

#endif
