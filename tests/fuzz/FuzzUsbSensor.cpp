// What a USB sensor replies: any messages of any lengths, to the questions for its limits and to
// every setting. Each message of the input begins with its length (times 8).
#include "UsbPnPFile.h"
#include "UsbTmcPort.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// A device that has all its answers ready and never makes anyone wait.
class Device {
public:
    Device() {
        socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data());
    }
    ~Device() {
        close(ends[0]);
        close(ends[1]);
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    int fd() const {
        return ends[0];
    }
    void reply(const uint8_t* data, size_t size) const {
        for (size_t at = 0; at + 1 < size;) {
            const size_t length = std::min(size - at - 1, size_t{data[at]} * 8);
            send(ends[1], data + at + 1, std::max(length, size_t{1}), MSG_NOSIGNAL);
            at += length + 1;
        }
    }

private:
    std::array<int, 2> ends = {-1, -1};
};

void readLimits(const uint8_t* data, size_t size) {
    const Device device;
    device.reply(data, size);
    std::array<char, pnpBlockSize + 1> block{};
    SENSOR_IDENTITY identity{};
    getMinMaxParameters(device.fd(), block.data(), &identity);
}

void sendSettings(const uint8_t* data, size_t size) {
    const Device device;
    device.reply(data, size);
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
