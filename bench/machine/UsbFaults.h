#ifndef BENCH_MACHINE_USB_FAULTS_H
#define BENCH_MACHINE_USB_FAULTS_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

/// What can be wrong with a USB sensor or its cable below the kernel's driver. Each fault is aimed
/// at single exchanges: it strikes a number of times, and only while the latest message begins as
/// wanted.

enum UsbWireFault : uint32_t {
    wireFaultNakIn,      ///< a transfer to the host is never completed
    wireFaultNakOut,     ///< nor one from it
    wireFaultNakControl, ///< nor a request of the class
    wireFaultStallIn,    ///< the endpoint halts, until its halt is cleared
    wireFaultStallOut,
    wireFaultStallClear, ///< a request to clear the device is refused
    wireFaultPendClear,  ///< the device says that it is still being cleared
    wireFaultShort,      ///< a packet shorter than its header
    wireFaultEmpty,      ///< a packet of no bytes
    wireFaultBadTag,     ///< a header with another transfer's tag
    wireFaultBadId,      ///< a header of another kind of message
    wireFaultTooLong,    ///< a header that announces more than was asked for
    wireFaultCut,        ///< a header that announces more than the packet has
    wireFaultBabble,     ///< more than the transfer has room for
    wireFaultNoiseIn,    ///< the transfer breaks off
    wireFaultNoiseOut,
    wireFaultLost,   ///< a message arrives, and the sensor never sees it
    wireFaultPullIn, ///< the sensor is pulled while a transfer to the host is pending
    wireFaultPullOut,
    wireFaultCount
};

struct AimedFault {
    int64_t left;    ///< how often it still strikes, negative for ever
    std::string aim; ///< how a message must begin; empty for any
};

struct UsbFaults {
    std::array<AimedFault, wireFaultCount> faults{};
    std::string message{}; ///< the latest one
};

/// Words "NAME [COUNT | forever] [on=BEGINNING]"; the beginning may hold blanks. False for anything
/// else.
bool UsbFaults_set(UsbFaults& faults, std::string_view words);
void UsbFaults_clear(UsbFaults& faults);

/// True when this one strikes now, which counts.
bool UsbFaults_strikes(UsbFaults& faults, UsbWireFault fault);

/// Names of those that wait, with blanks between; "none".
std::string UsbFaults_describe(const UsbFaults& faults);
/// Names of all, for a refusal.
std::string UsbFaults_names();

#endif
