#ifndef BENCH_MACHINE_USB_REDIRECTION_H
#define BENCH_MACHINE_USB_REDIRECTION_H

#include "UsbTmcDevice.h"

#include <memory>
#include <string>
#include <usbredirparser.h>

/// A USB device's end of the cable into an emulated machine: the emulator's redirection of USB over
/// a local socket. The device is plugged in while the connection stands.

struct UsbParserEnd {
    void operator()(usbredirparser* parser) const {
        usbredirparser_destroy(parser);
    }
};

/// Never moved while it is open: the parser knows where it is.
struct UsbRedirection {
    int fd = -1;
    UsbTmcDevice* device = nullptr;
    std::unique_ptr<usbredirparser, UsbParserEnd> parser{};
};

/// Plugs the device in. False while there is no emulator at that socket.
bool UsbRedirection_open(UsbRedirection& link, const std::string& socketPath, UsbTmcDevice& device);
void UsbRedirection_close(UsbRedirection& link);

/// Takes what has come. False when the emulator has gone.
bool UsbRedirection_receive(UsbRedirection& link);

/// Sends the transfers that have been completed. False when the emulator has gone.
bool UsbRedirection_send(UsbRedirection& link);

#endif
