#ifndef BENCH_MACHINE_USB_TMC_DEVICE_H
#define BENCH_MACHINE_USB_TMC_DEVICE_H

#include "UsbFaults.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A USB device of the test and measurement class, between a host controller and a sensor of the
/// bench: it answers the host's control requests, cuts the messages out of the bulk transfers, and
/// speaks to the sensor as a world's packets do (bench/WORLD.md). Transfers come with a number, and
/// are completed by it, at once or later.

enum class UsbStatus : uint8_t {
    done,
    stalled,
    brokenOff, ///< noise on the cable
    babble,    ///< more bytes than there is room for
    cancelled
};

/// A transfer that has ended.
struct UsbCompletion {
    uint64_t id;
    uint8_t endpoint; ///< 0 for a control request
    UsbStatus status;
    std::string bytes;   ///< to the host
    uint32_t takenCount; ///< bytes from the host that were taken
};

struct UsbSetup {
    uint8_t type;
    uint8_t request;
    uint16_t value;
    uint16_t index;
    uint16_t length;
};

struct UsbTransfer {
    uint64_t id;
    uint32_t length;
};

/// A transfer that ends when the sensor has answered.
struct UsbPending {
    uint64_t id;
    char kind; ///< of the packet that was sent to the sensor
    uint32_t length;
    std::string answer; ///< what the host is told on success
    bool isGivenUp;     ///< by the host
};

/// What the host has asked to be sent.
struct UsbReadRequest {
    uint8_t tag;
    uint32_t size;
};

struct UsbTmcDevice {
    UsbFaults faults{};
    std::deque<UsbTransfer> readers{}; ///< transfers to the host that wait
    std::deque<UsbPending> pending{};
    std::optional<UsbReadRequest> request{};
    std::string reply{};
    int replyError = 0;    ///< that the next transfer to the host ends with
    std::string message{}; ///< the beginning of one that is not whole
    bool isInHalted = false;
    bool isOutHalted = false;
    bool isSensorInHalted = false; ///< as the sensor says
    bool isPulled = false;         ///< a fault wants it to be pulled
    uint64_t readings = 0;         ///< asked for so far

    // What has come about, for the caller to take.
    std::vector<UsbCompletion> completed{};
    std::vector<std::string> toSensor{};
    std::vector<std::string> log{};
};

constexpr uint8_t usbTmcEndpointIn = 0x81;
constexpr uint8_t usbTmcEndpointOut = 0x02;
constexpr uint16_t usbTmcPacketSize = 512;
constexpr uint16_t usbTmcVendor = 0x1209;
constexpr uint16_t usbTmcProduct = 0x316f;
constexpr uint8_t usbTmcClass = 0xfe;
constexpr uint8_t usbTmcSubclass = 3;
constexpr uint8_t usbTmcProtocol = 1;

/// As after plugging in, or a reset by the host.
void UsbTmcDevice_reset(UsbTmcDevice& device);

void UsbTmcDevice_control(UsbTmcDevice& device, uint64_t id, const UsbSetup& setup);
void UsbTmcDevice_receive(UsbTmcDevice& device, uint64_t id, std::string_view bytes);
void UsbTmcDevice_send(UsbTmcDevice& device, uint64_t id, uint32_t length);
/// The host gives a transfer up.
void UsbTmcDevice_cancel(UsbTmcDevice& device, uint64_t id);

/// A packet from the sensor.
void UsbTmcDevice_takePacket(UsbTmcDevice& device, std::string_view packet);

#endif
