#include "WorldFolder.h"

#include "WorldTree.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr mode_t fileMode = 0644;

struct InstrumentFile {
    const char* path;
    std::string_view content;
    mode_t mode = fileMode;
};

using namespace std::string_view_literals;

constexpr const char* monitorFolders[2] = {"/sys/class/hwmon/hwmon1/curr1_input",
                                           "/sys/class/hwmon/hwmon2/curr1_input"};

// What the instrument's system offers when it is switched on. The current monitors' addresses are
// device-tree cells, big-endian; the first monitor of the board measures a temperature.
constexpr std::array instrumentFiles = {
    InstrumentFile{"/sys/class/hwmon/hwmon0/name", "lm75\n"},
    InstrumentFile{"/sys/class/hwmon/hwmon0/temp1_input", "36500\n"},
    InstrumentFile{"/sys/class/hwmon/hwmon1/name", "ina219\n"},
    InstrumentFile{"/sys/class/hwmon/hwmon1/device/of_node/reg", "\0\0\0\x40"sv},
    InstrumentFile{"/sys/class/hwmon/hwmon1/curr1_input", "2\n"},
    InstrumentFile{"/sys/class/hwmon/hwmon2/name", "ina219\n"},
    InstrumentFile{"/sys/class/hwmon/hwmon2/device/of_node/reg", "\0\0\0\x45"sv},
    InstrumentFile{"/sys/class/hwmon/hwmon2/curr1_input", "2\n"},
    InstrumentFile{"/sys/devices/virtual/battery_charger/ltc4162/armShipMode_raw", "0\n"},
    InstrumentFile{"/sys/devices/virtual/battery_charger/ltc4162/configBits_raw", "0\n"},
    InstrumentFile{"/sys/devices/virtual/battery_charger/ltc4162/cOverXTerm_enable", "disable\n"},
    InstrumentFile{"/sys/devices/virtual/battery_charger/ltc4162/inputCurrentLimit_raw", "63\n"},
    InstrumentFile{"/sys/devices/virtual/battery_charger/ltc4162/cellCount", "3\n"},
    InstrumentFile{"/sys/devices/virtual/battery_charger/ltc4162/chargerState_raw", "64\n"},
    InstrumentFile{"/sys/class/power_supply/fuel_gauge/charge_now", "9000000\n"},
    InstrumentFile{"/sys/class/power_supply/fuel_gauge/voltage_now", "11700000\n"},
    InstrumentFile{"/sys/class/power_supply/fuel_gauge/temp", "270\n"},
    InstrumentFile{"/sys/class/power_supply/fuel_gauge/current_now", "850000\n"},
    InstrumentFile{"/sys/class/leds/quorvel8830k:KeepOn/brightness", "0\n"},
    InstrumentFile{"/sys/class/net/eth0/address", "02:88:30:00:00:01\n"},
    InstrumentFile{"/sys/class/net/eth0/operstate", "up\n"},
    InstrumentFile{"/sys/class/net/eth0/carrier", "1\n"},
    InstrumentFile{
        "/proc/net/route",
        "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\tMTU\tWindow\tIRTT\n"
        "eth0\t00000000\t0101A8C0\t0003\t0\t0\t0\t00000000\t0\t0\t0\n"
        "eth0\t0001A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"},
    InstrumentFile{"/etc/network/interfaces", "auto lo\niface lo inet loopback\n\n"
                                              "auto eth0\niface eth0 inet dhcp\n\n"
                                              "auto eth0:0\niface eth0:0 inet static\n"
                                              "    address 192.168.2.1\n"
                                              "    netmask 255.255.255.0\n"},
    InstrumentFile{"/etc/init.d/network", "#!/bin/sh\nexit 0\n", 0755},
    InstrumentFile{"/etc/QuorvelPowerMeterApp/QuorvelIdentity.conf",
                   "modelNumber 8830K\nserialNumber 20260001\n"},
    InstrumentFile{"/usr/local/etc/defconfig/buildInstalled",
                   "BUILD_DATE=2026-01-15T09:30:00\nBUILD_HOSTNAME=bench\n"
                   "BUILD_UUID=8830b3c4-3d0e-4f5a-9b1c-26a7c0ffee30\n"},
    InstrumentFile{"/dev/i2c-1", ""},
};

constexpr std::array instrumentFolders = {"/dev/input", "/var/run", "/root", "/tmp"};

bool makeFolders(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    errno = error.value();
    return !error;
}

/// Writes a file that is not there yet.
bool layOut(const std::string& path, std::string_view content, mode_t mode) {
    return access(path.c_str(), F_OK) == 0 ||
           (makeFolders(fs::path(path).parent_path()) &&
            WorldFolder_writeFile(path, std::string(content)) && chmod(path.c_str(), mode) == 0);
}

} // namespace

bool WorldFolder_create(const std::string& world) {
    for (const char* folder : instrumentFolders) {
        if (!makeFolders(WorldFolder_path(world, folder))) {
            return false;
        }
    }
    for (const InstrumentFile& file : instrumentFiles) {
        if (!layOut(WorldFolder_path(world, file.path), file.content, file.mode)) {
            return false;
        }
    }
    return layOut(world + "/" + WorldFile::addresses, WorldTree_addresses, fileMode) &&
           makeFolders(world + "/tty");
}

bool WorldFolder_remove(const std::string& world) {
    std::error_code error;
    const auto count = fs::remove_all(world, error);
    return !error && count > 0;
}

std::string WorldFolder_path(const std::string& world, const std::string& instrumentPath) {
    return world + "/root" + instrumentPath;
}

bool WorldFolder_write(const std::string& world, const std::string& instrumentPath,
                       const std::string& content) {
    return WorldFolder_writeFile(WorldFolder_path(world, instrumentPath), content);
}

std::string WorldFolder_read(const std::string& world, const std::string& instrumentPath) {
    return WorldFolder_readFile(WorldFolder_path(world, instrumentPath));
}

std::string WorldFolder_readFile(const std::string& path) {
    std::string content;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while (fd >= 0 && ((count = read(fd, buffer.data(), buffer.size())) > 0 ||
                       (count < 0 && errno == EINTR))) {
        content.append(buffer.data(), count > 0 ? static_cast<size_t>(count) : 0);
    }
    if (fd >= 0) {
        close(fd);
    }
    return content;
}

bool WorldFolder_writeFile(const std::string& path, const std::string& content) {
    const std::string sibling = path + ".new" + std::to_string(getpid());
    FILE* file = fopen(sibling.c_str(), "we");
    if (file == nullptr) {
        return false;
    }
    const bool isWritten = fwrite(content.data(), 1, content.size(), file) == content.size();
    const bool isClosed = fclose(file) == 0;
    if (isWritten && isClosed && rename(sibling.c_str(), path.c_str()) == 0) {
        return true;
    }
    unlink(sibling.c_str());
    return false;
}

const char* WorldFolder_currentFile(uint32_t port) {
    return monitorFolders[port % 2];
}

std::string WorldFolder_makeTemporary(const std::string& name) {
    std::error_code error;
    const fs::path place = fs::temp_directory_path(error);
    if (error) { // its path would be empty, and the folder the root's
        errno = error.value();
        return {};
    }
    std::string pattern = place / (name + "-XXXXXX");
    return mkdtemp(pattern.data()) != nullptr ? pattern : std::string();
}

std::string WorldFolder_userFolder() {
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && access(runtime, W_OK) == 0) {
        return std::string(runtime) + "/quorvel-bench";
    }
    return "/tmp/quorvel-bench-" + std::to_string(getuid());
}
