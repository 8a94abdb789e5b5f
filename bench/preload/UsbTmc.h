#ifndef BENCH_PRELOAD_USB_TMC_H
#define BENCH_PRELOAD_USB_TMC_H

#include <sys/types.h>

/// "/dev/usbtmcN" as a message channel to the far side that plays the sensor. WORLD.md tells what
/// the messages are.

/// Opens the channel behind an instrument path. False when the path is not a USB sensor's; else
/// `fd` is the descriptor, or -1 with errno (ENODEV when nobody plays the sensor).
bool UsbTmc_open(const char* instrumentPath, int flags, int& fd);

/// True when the descriptor is such a channel. Costs nothing while none is open.
bool UsbTmc_isChannel(int fd);

/// What the driver makes of the calls: one message, the next reply (waiting up to five seconds of
/// the bench's time), one of the three clear requests. -1 with errno on failure.
ssize_t UsbTmc_write(int fd, const void* message, size_t size);
ssize_t UsbTmc_read(int fd, void* buffer, size_t size);
int UsbTmc_request(int fd, unsigned long request);

/// Forgets a descriptor that is about to be closed.
void UsbTmc_closing(int fd);

#endif
