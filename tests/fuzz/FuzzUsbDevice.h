#ifndef TESTS_FUZZ_FUZZ_USB_DEVICE_H
#define TESTS_FUZZ_FUZZ_USB_DEVICE_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <sys/socket.h>
#include <unistd.h>

/// A USB device that has all its answers ready and never makes anyone wait.
class FuzzUsbDevice {
public:
    FuzzUsbDevice() {
        socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data());
    }
    ~FuzzUsbDevice() {
        close(ends[0]);
        close(ends[1]);
    }
    FuzzUsbDevice(const FuzzUsbDevice&) = delete;
    FuzzUsbDevice& operator=(const FuzzUsbDevice&) = delete;

    /// What the meter opens.
    int fd() const {
        return ends[0];
    }

    /// Cuts the bytes into messages, each behind a byte that holds its length in units.
    void reply(const uint8_t* data, size_t size, size_t unit) const {
        size_t count = 0;
        for (size_t at = 0; at + 1 < size && count < mostMessages; ++count) {
            const size_t length = std::clamp<size_t>(data[at] * unit, 1, size - at - 1);
            send(ends[1], data + at + 1, length, MSG_NOSIGNAL);
            at += length + 1;
        }
    }

    /// Takes what the meter has sent.
    void listen() const {
        std::array<char, 256> heard;
        while (recv(ends[1], heard.data(), heard.size(), 0) > 0) {
        }
    }

private:
    static constexpr size_t mostMessages = 200;
    std::array<int, 2> ends = {-1, -1};
};

#endif
