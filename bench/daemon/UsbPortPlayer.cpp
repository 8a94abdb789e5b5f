#include "UsbPortPlayer.h"

#include "BenchText.h"
#include "LocalSocket.h"
#include "WorldFolder.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <sys/socket.h>
#include <unistd.h>

const std::array<const char*, usbFaultCount> usbFaultNames = {
    "none",    "silence", "late",       "garbage",   "hostile", "stall",
    "stallin", "deaf",    "stallclear", "empty",     "padded",  "babble",
    "noise",   "cut",     "cutreply",   "cutdevice", "error"};

namespace {

constexpr int64_t late_ns = 8000000000;
constexpr int64_t cutReply_ns = 100000000; ///< the program waits for the reply by then
constexpr size_t packetAlignment = 4;
constexpr size_t longestPacket = 8192;

std::string nodePath(const UsbPortPlayer& player) {
    return "/dev/usbtmc" + std::to_string(player.port);
}

std::string socketPath(const UsbPortPlayer& player) {
    return player.world + "/usbtmc" + std::to_string(player.port) + ".sock";
}

void sendPacket(int channel, const std::string& packet) {
    send(channel, packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

void acknowledge(int channel, int error) {
    sendPacket(channel, "A" + std::to_string(error));
}

std::string garbage(UsbPortPlayer& player) {
    std::string bytes(12, '\0');
    for (char& byte : bytes) {
        player.noise = player.noise * 1664525U + 1013904223U;
        byte = static_cast<char>(player.noise >> 24U);
    }
    return bytes;
}

bool isSilent(UsbFault fault) {
    return fault == usbFaultSilence || fault == usbFaultDeaf || fault == usbFaultStallClear;
}

// The reply as the driver hands it on.
void spoil(UsbPortPlayer& player, UsbReply& reply, int64_t now_ns) {
    switch (player.fault) {
    case usbFaultLate:
        reply.due_ns = now_ns + late_ns;
        break;
    case usbFaultGarbage:
        reply.bytes = garbage(player);
        break;
    case usbFaultEmpty:
        reply.bytes.clear();
        break;
    case usbFaultPadded: // the header is of whole units
        reply.bytes.append((0U - reply.bytes.size()) % packetAlignment, '\0');
        break;
    case usbFaultBabble:
        reply.error = EOVERFLOW;
        break;
    case usbFaultCutReply:
        reply.due_ns = now_ns + cutReply_ns;
        break;
    default:
        break;
    }
}

void queueReply(UsbPortPlayer& player, std::string bytes, int64_t now_ns) {
    if (bytes.empty() || isSilent(player.fault)) {
        return;
    }
    const auto latency = static_cast<int64_t>(player.sensor->latency_s * 1e9);
    player.reply = {now_ns + latency, std::move(bytes), 0};
    spoil(player, *player.reply, now_ns);
}

// Returns the error number that the transfer ends with.
int takeMessage(UsbPortPlayer& player, const std::string& message, int64_t now_ns) {
    if (player.fault == usbFaultNoise) {
        return EPROTO;
    }
    if (player.isOutHalted) {
        return EPIPE;
    }
    if (player.reply) {
        player.reply.reset();
        Sensor316x_interrupt(*player.sensor);
    }
    WireLog_addMessage(player.log, now_ns, true, message);
    std::string reply = Sensor316x_receive(*player.sensor, message, now_ns);
    if (!player.lostQuery.empty() && message.starts_with(player.lostQuery)) {
        player.lostQuery.clear();
        reply.clear();
    }
    queueReply(player, std::move(reply), now_ns);
    return 0;
}

void pull(UsbPortPlayer& player, int channel, int64_t now_ns) {
    const int error = player.fault == usbFaultCut ? ESHUTDOWN : ENODEV;
    acknowledge(channel, error);
    UsbPortPlayer_unplug(player, now_ns);
}

void takeWrite(UsbPortPlayer& player, int channel, const std::string& message, int64_t now_ns) {
    const int error = takeMessage(player, message, now_ns);
    const bool isUnanswered = message.find('?') != std::string::npos && !player.reply;
    acknowledge(channel, error);
    if (player.isHasty && error == 0 && isUnanswered) {
        sendPacket(channel, "E" + std::to_string(ETIMEDOUT));
    }
}

void tellHalt(const UsbPortPlayer& player, int channel) {
    sendPacket(channel, player.isInHalted ? "H1" : "H0");
}

void haltIn(UsbPortPlayer& player, bool isHalted) {
    if (player.isInHalted == isHalted) {
        return;
    }
    player.isInHalted = isHalted;
    for (const int channel : player.channels) {
        tellHalt(player, channel);
    }
}

// Returns the error number that a control request ends with.
int carryOutRequest(UsbPortPlayer& player, char request) {
    if (player.fault == usbFaultNoise) {
        return EPROTO;
    }
    if (player.fault == usbFaultStallClear && request == 'C') {
        return EPIPE;
    }
    return Sensor316x_request(*player.sensor, request);
}

// Clearing the device ends the halt of bulk-out only, as the kernel's driver does it.
void takeRequest(UsbPortPlayer& player, int channel, char request) {
    if (player.fault == usbFaultDeaf) {
        sendPacket(channel, "N");
        return;
    }
    const int error = carryOutRequest(player, request);
    if (error == 0 && request == 'I') {
        haltIn(player, false);
    } else if (error == 0) {
        player.isOutHalted = false;
    }
    acknowledge(channel, error);
}

void handlePacket(UsbPortPlayer& player, int channel, const std::string& packet, int64_t now_ns) {
    const bool isCut = player.fault == usbFaultCut || player.fault == usbFaultCutDevice;
    switch (packet[0]) {
    case 'W':
        player.reader = channel;
        if (isCut) {
            pull(player, channel, now_ns);
        } else {
            takeWrite(player, channel, packet.substr(1), now_ns);
        }
        break;
    case 'C':
        player.reply.reset();
        takeRequest(player, channel, packet[0]);
        break;
    default: // the two clear-halt requests
        takeRequest(player, channel, packet[0]);
    }
}

// True when the channel is still open.
bool serveChannel(UsbPortPlayer& player, int channel, int64_t now_ns) {
    std::array<char, longestPacket> buffer{};
    const ssize_t count = recv(channel, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count > 0 && player.sensor) {
        handlePacket(player, channel, {buffer.data(), static_cast<size_t>(count)}, now_ns);
    }
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

void serveChannels(UsbPortPlayer& player, int64_t now_ns) {
    for (size_t at = 0; at < player.channels.size();) {
        const int channel = player.channels[at];
        const bool isOpen = serveChannel(player, channel, now_ns);
        if (player.channels.empty()) {
            return; // pulled while it was served
        }
        if (isOpen) {
            ++at;
            continue;
        }
        close(channel);
        player.channels.erase(player.channels.begin() + static_cast<ptrdiff_t>(at));
        player.reply.reset();
    }
}

void deliver(UsbPortPlayer& player, int64_t now_ns) {
    if (!player.reply || player.isInHalted || now_ns < player.reply->due_ns) {
        return;
    }
    const UsbReply reply = *player.reply;
    player.reply.reset();
    if (player.fault == usbFaultCutReply) {
        UsbPortPlayer_unplug(player, now_ns);
    } else if (reply.error != 0) {
        sendPacket(player.reader, "E" + std::to_string(reply.error));
    } else {
        sendPacket(player.reader, "R" + reply.bytes);
        WireLog_addMessage(player.log, now_ns, false, reply.bytes);
    }
}

void acceptChannels(UsbPortPlayer& player) {
    for (;;) {
        const int fd = accept4(player.listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd < 0) {
            return;
        }
        player.channels.push_back(fd);
        ++player.openings;
        if (player.isInHalted) {
            tellHalt(player, fd);
        }
    }
}

// What becomes of a reply that is on its way when a fault begins.
void meetFault(UsbPortPlayer& player, int64_t now_ns) {
    if (player.reply && player.fault == usbFaultNoise) {
        player.reply->due_ns = now_ns;
        player.reply->error = EPROTO;
    } else if (player.fault != usbFaultLate) {
        player.reply.reset();
    }
}

/// A setting that is to be refused.
struct Refusal {
    int code;
    std::string header;
};

/// "CODE:HEADER"; nothing for anything else.
std::optional<Refusal> refusalOf(std::string_view text) {
    const size_t colon = text.find(':');
    const auto code = BenchText_number(text.substr(0, colon));
    if (!code || std::abs(*code) > 99999 || colon == std::string_view::npos ||
        colon + 1 == text.size()) {
        return std::nullopt;
    }
    return Refusal{static_cast<int>(*code), std::string(text.substr(colon + 1))};
}

} // namespace

void UsbPortPlayer_open(UsbPortPlayer& player, uint32_t port, const std::string& world) {
    player.port = port;
    player.world = world;
    player.listener = -1;
    player.noise = port + 1;
    unlink(WorldFolder_path(world, nodePath(player)).c_str());
}

void UsbPortPlayer_hangUp(UsbPortPlayer& player) {
    for (const int channel : player.channels) {
        close(channel);
    }
    player.channels.clear();
    player.reply.reset();
    player.isOutHalted = false;
    player.isInHalted = false;
}

void UsbPortPlayer_close(UsbPortPlayer& player) {
    UsbPortPlayer_hangUp(player);
    if (player.listener >= 0) {
        close(player.listener);
        player.listener = -1;
        unlink(socketPath(player).c_str());
    }
}

bool UsbPortPlayer_plug(UsbPortPlayer& player, Sensor316x sensor, int64_t now_ns) {
    UsbPortPlayer_close(player);
    player.fault = usbFaultNone;
    player.replug_ns = 0;
    player.sensor = std::move(sensor);
    WireLog_note(player.log, now_ns, "plugged " + player.sensor->modelText);
    player.listener = LocalSocket_listen(socketPath(player), SOCK_SEQPACKET);
    // The node comes last: who sees it can open it.
    return player.listener >= 0 && WorldFolder_write(player.world, nodePath(player), "");
}

void UsbPortPlayer_unplug(UsbPortPlayer& player, int64_t now_ns) {
    unlink(WorldFolder_path(player.world, nodePath(player)).c_str());
    UsbPortPlayer_close(player);
    player.fault = usbFaultNone;
    player.replug_ns = 0;
    player.sensor.reset();
    WireLog_note(player.log, now_ns, "unplugged");
}

void UsbPortPlayer_replug(UsbPortPlayer& player, double after_s, int64_t now_ns) {
    player.pulled = player.sensor;
    UsbPortPlayer_unplug(player, now_ns);
    player.replug_ns = now_ns + static_cast<int64_t>(after_s * 1e9);
}

bool UsbPortPlayer_setFault(UsbPortPlayer& player, std::string_view name, int64_t now_ns) {
    const size_t colon = name.find(':');
    const auto* found = std::ranges::find(usbFaultNames, name.substr(0, colon));
    if (found == usbFaultNames.end()) {
        return false;
    }
    const auto fault = static_cast<UsbFault>(found - usbFaultNames.begin());
    const auto refusal = refusalOf(colon == std::string_view::npos ? "" : name.substr(colon + 1));
    if (refusal.has_value() != (fault == usbFaultError) ||
        (fault != usbFaultError && colon != std::string_view::npos)) {
        return false;
    }
    Sensor316x& sensor = *player.sensor;
    sensor.refused.clear();
    if (refusal) {
        sensor.refused[refusal->header] = refusal->code;
    }
    player.fault = fault;
    sensor.isHostile = fault == usbFaultHostile;
    player.isOutHalted = fault == usbFaultStall;
    haltIn(player, fault == usbFaultStall || fault == usbFaultStallIn);
    meetFault(player, now_ns);
    WireLog_note(player.log, now_ns, "fault " + std::string(name));
    return true;
}

void UsbPortPlayer_collect(const UsbPortPlayer& player, std::vector<pollfd>& waiting) {
    if (player.listener >= 0) {
        waiting.push_back({player.listener, POLLIN, 0});
    }
    for (const int channel : player.channels) {
        waiting.push_back({channel, POLLIN, 0});
    }
}

void UsbPortPlayer_service(UsbPortPlayer& player, int64_t now_ns) {
    if (player.replug_ns != 0 && now_ns >= player.replug_ns && player.pulled) {
        UsbPortPlayer_plug(player, *player.pulled, now_ns);
    }
    if (player.listener < 0) {
        return;
    }
    acceptChannels(player);
    serveChannels(player, now_ns);
    deliver(player, now_ns);
}

int64_t UsbPortPlayer_nextDue_ns(const UsbPortPlayer& player) {
    int64_t next = std::numeric_limits<int64_t>::max();
    if (player.replug_ns != 0) {
        next = player.replug_ns;
    }
    if (player.reply && !player.isInHalted) {
        next = std::min(next, player.reply->due_ns);
    }
    return next;
}
