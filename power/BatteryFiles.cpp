#include "BatteryFiles.h"

#include "Files.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>

namespace {

constexpr const char* chargerDirectory = "/sys/devices/virtual/battery_charger/ltc4162/";
constexpr const char* fuelGaugeDirectory = "/sys/class/power_supply/fuel_gauge/";
constexpr size_t recordSize = 16;
constexpr size_t readSize = 8;
constexpr size_t pathSize = 96;

struct FileRow {
    const char* directory;
    const char* name;
};

/// In the order of BatteryFile.
constexpr std::array<FileRow, 10> files = {{
    {chargerDirectory, "armShipMode_raw"},
    {chargerDirectory, "configBits_raw"},
    {chargerDirectory, "cOverXTerm_enable"},
    {chargerDirectory, "inputCurrentLimit_raw"},
    {chargerDirectory, "cellCount"},
    {chargerDirectory, "chargerState_raw"},
    {fuelGaugeDirectory, "charge_now"},
    {fuelGaugeDirectory, "voltage_now"},
    {fuelGaugeDirectory, "temp"},
    {fuelGaugeDirectory, "current_now"},
}};
static_assert(files.size() == static_cast<size_t>(BatteryFile::current_now) + 1);

std::array<char, pathSize> pathOf(BatteryFile file) {
    const FileRow& row = files[static_cast<size_t>(file)];
    std::array<char, pathSize> path{};
    snprintf(path.data(), path.size(), "%s%s", row.directory, row.name);
    return path;
}

} // namespace

const char* BatteryFile_name(BatteryFile file) {
    return files[static_cast<size_t>(file)].name;
}

std::optional<long> BatteryFile_read(BatteryFile file) {
    std::array<char, readSize + 1> text{};
    if (File_readStart(pathOf(file).data(), text.data(), readSize) <= 0) {
        return std::nullopt;
    }
    char* end = text.data();
    const long value = strtol(text.data(), &end, 10);
    if (end == text.data()) {
        return std::nullopt;
    }
    return value;
}

bool BatteryFile_write(BatteryFile file, const char* text) {
    std::array<char, recordSize> record{};
    snprintf(record.data(), record.size(), "%s", text);
    const ScopedFd device(open(pathOf(file).data(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    return device.isOpen() &&
           File_writeAll(device.get(), std::string_view(record.data(), record.size()));
}
