// What a USB sensor replies: any messages of any lengths, to the questions for its limits and to
// every setting. Each message of the input begins with its length (times 8).
#include "FuzzUsbDevice.h"
#include "UsbPnPFile.h"
#include "UsbTmcPort.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t lengthUnit = 8;

;

void readLimits(const uint8_t* data, size_t size) {
    const FuzzUsbDevice device;
    device.reply(data, size, lengthUnit);
    std::array<char, pnpBlockSize + 1> block{};
    SENSOR_IDENTITY identity{};
    getMinMaxParameters(device.fd(), block.data(), &identity);
}

void sendSettings(const uint8_t* data, size_t size) {
    const FuzzUsbDevice device;
    device.reply(data, size, lengthUnit);
    std::array<char, usbTmcReplySize + 1> buffer{};
    for (const sensor_cmd_param_t& row : sensor_cmd_param) {
        cmd_type value = {1, 0.5F, "POS"};
        handleCmdWithStatus(device.fd(), buffer.data(), row.command, &value);
    }
}

void searchFile(const uint8_t* data, size_t size) {
    std::array<char, 4096> file{};
    memcpy(file.data(), data, std::min(size, file.size() - 1));
    getBlockSize(file.data());
    float max = 0.0F;
    float min = 0.0F;
    getMaxMin(file.data(), "ScalarConfiguration", "Configuration.TriggerDelay", &max, &min);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    readLimits(data, size);
    sendSettings(data, size);
    searchFile(data, size);
    return 0;
}
