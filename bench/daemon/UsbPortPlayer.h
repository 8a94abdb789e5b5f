#ifndef BENCH_DAEMON_USB_PORT_PLAYER_H
#define BENCH_DAEMON_USB_PORT_PLAYER_H

#include "Sensor316x.h"
#include "WireLog.h"

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <poll.h>
#include <string>
#include <vector>

/// One USB connector: a message channel that stands in the world as "/dev/usbtmcN" while a sensor
/// is plugged in.

enum UsbFault : uint32_t {
    usbFaultNone,
    usbFaultSilence,    ///< answers no query
    usbFaultLate,       ///< answers 8 s late, after the driver has given up
    usbFaultGarbage,    ///< answers with random bytes
    usbFaultHostile,    ///< identity texts full of formats
    usbFaultStall,      ///< both endpoints are halted: transfers fail until the halts are ended
    usbFaultStallIn,    ///< bulk-in alone is halted: messages arrive, and every read fails
    usbFaultDeaf,       ///< answers neither queries nor control requests, which time out
    usbFaultStallClear, ///< answers no query, and refuses to be cleared
    usbFaultEmpty,      ///< replies of a form that the driver throws away: reads bring 0 bytes
    usbFaultPadded,     ///< headers announce too much: reads bring the packets' padding, too
    usbFaultBabble,     ///< replies are longer than their transfer has room for
    usbFaultNoise,      ///< a bad contact: transfers and control requests break off
    usbFaultCut,        ///< pulled in the next message
    usbFaultCutReply,   ///< pulled in the next reply
    usbFaultCutDevice,  ///< pulled before the next message
    usbFaultError,      ///< refuses one setting with a code of one's choice
    usbFaultCount
};
extern const std::array<const char*, usbFaultCount> usbFaultNames;

struct UsbReply {
    int64_t due_ns;
    std::string bytes;
    int error; ///< that the read ends with instead, 0 for none
};

struct UsbPortPlayer {
    uint32_t port; ///< 0 or 1
    std::string world;
    std::optional<Sensor316x> sensor;
    UsbFault fault;
    bool isOutHalted; ///< writes fail with EPIPE
    bool isInHalted;  ///< reads do; a reply waits meanwhile
    int listener;
    std::vector<int> channels;     ///< open descriptors of the program, normally one
    uint32_t openings;             ///< that there have been
    bool isHasty;                  ///< a read without a reply times out at once, not after 5 s
    std::string lostQuery;         ///< the next answer to it is lost under way
    std::optional<UsbReply> reply; ///< not sent yet
    int reader;                    ///< channel that asked for it
    int64_t replug_ns;             ///< when a pulled sensor comes back, 0 for never
    std::optional<Sensor316x> pulled;
    uint32_t noise;
    WireLog log;
};

void UsbPortPlayer_open(UsbPortPlayer& player, uint32_t port, const std::string& world);
void UsbPortPlayer_close(UsbPortPlayer& player);

/// Closes what the program has open, and forgets what was on its way. The sensor stays plugged in.
void UsbPortPlayer_hangUp(UsbPortPlayer& player);

/// False when the channel cannot be made.
bool UsbPortPlayer_plug(UsbPortPlayer& player, Sensor316x sensor, int64_t now_ns);
void UsbPortPlayer_unplug(UsbPortPlayer& player, int64_t now_ns);

/// Pulls the sensor and puts the same one back after a time.
void UsbPortPlayer_replug(UsbPortPlayer& player, double after_s, int64_t now_ns);

/// "error:CODE:HEADER" or one of the names; false for anything else.
bool UsbPortPlayer_setFault(UsbPortPlayer& player, std::string_view name, int64_t now_ns);

void UsbPortPlayer_collect(const UsbPortPlayer& player, std::vector<pollfd>& waiting);
void UsbPortPlayer_service(UsbPortPlayer& player, int64_t now_ns);
int64_t UsbPortPlayer_nextDue_ns(const UsbPortPlayer& player);

#endif
