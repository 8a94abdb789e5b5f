// USB sensors as message channels.

#include "UsbTmc.h"

#include "NextFunction.h"
#include "PreloadWorld.h"
#include "WorldClock.h"
#include "WorldSocket.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/usb/tmc.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

struct Device {
    const char* instrumentPath;
    const char* socketName;
};
constexpr std::array devices = {
    Device{"/dev/usbtmc0", "usbtmc0.sock"},
    Device{"/dev/usbtmc1", "usbtmc1.sock"},
};

/// The driver's time-out for every transfer.
constexpr int64_t transferLimit_ns = 5'000'000'000;
constexpr size_t packetLimit = 8192;

struct Packet {
    char kind;
    size_t size;
    size_t taken;
    std::array<char, packetLimit> bytes;
};

enum class Place : uint8_t { free, beingTaken, used };

/// One open descriptor. A reply that arrives while a message is being acknowledged is kept. What
/// comes for a transfer that was given up is thrown away, as a driver's abort does: else every
/// later transfer would get what belongs to an earlier one.
struct Channel {
    std::atomic<Place> place{Place::free};
    std::atomic<int> fd{-1};
    std::atomic<ino_t> identity{0}; // tells the socket from a later file of the same number
    bool isInHalted = false;
    int owedAnswers = 0; // to transfers that were given up
    size_t keptCount = 0;
    std::array<Packet, 4> kept;
};

// Without a lock: a child between fork and exec comes here, too, and could find it held for ever.
std::array<Channel, 8> channels;
std::atomic<int> usedCount{0};

ino_t identityOf(int fd) {
    const int keptErrno = errno;
    struct stat status;
    const bool isSocket = fstat(fd, &status) == 0 && S_ISSOCK(status.st_mode);
    errno = keptErrno;
    return isSocket ? status.st_ino : 0;
}

Channel* findChannel(int fd) {
    if (usedCount.load() == 0) {
        return nullptr;
    }
    for (Channel& channel : channels) {
        if (channel.place.load() == Place::used && channel.fd.load() == fd) {
            return channel.identity.load() == identityOf(fd) ? &channel : nullptr;
        }
    }
    return nullptr;
}

/// Takes a place that is free, or whose descriptor was closed behind our back.
bool takePlace(Channel& channel, int fd) {
    Place now = channel.place.load();
    if (now == Place::used) {
        const int old = channel.fd.load();
        if (old != fd && channel.identity.load() == identityOf(old)) {
            return false;
        }
    }
    const bool wasFree = now == Place::free;
    if (now == Place::beingTaken ||
        !channel.place.compare_exchange_strong(now, Place::beingTaken)) {
        return false;
    }
    usedCount.fetch_add(wasFree ? 1 : 0);
    return true;
}

bool remember(int fd) {
    const auto found = std::find_if(channels.begin(), channels.end(),
                                    [fd](Channel& channel) { return takePlace(channel, fd); });
    if (found == channels.end()) {
        return false;
    }
    found->fd.store(fd);
    found->identity.store(identityOf(fd));
    found->isInHalted = false;
    found->owedAnswers = 0;
    found->keptCount = 0;
    found->place.store(Place::used);
    return true;
}

/// A pulled sensor: the transfer that is under way is broken off, later ones find no device.
int failGone(bool isUnderWay) {
    errno = isUnderWay ? ESHUTDOWN : ENODEV;
    return -1;
}

/// Sends one packet whole. -1 with errno when the sensor has gone.
int sendPacket(Channel& channel, char kind, const void* bytes, size_t size) {
    std::array<iovec, 2> parts = {iovec{&kind, 1}, iovec{const_cast<void*>(bytes), size}};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    for (;;) {
        if (sendmsg(channel.fd, &message, MSG_NOSIGNAL) >= 0) {
            return 0;
        }
        if (errno == EMSGSIZE) {
            return -1;
        }
        if (errno != EINTR) {
            return failGone(false);
        }
    }
}

/// Takes a packet that is there. recvmsg's result; -1 with EAGAIN when none is.
ssize_t takePacket(const Channel& channel, Packet& packet) {
    std::array<iovec, 2> parts = {iovec{&packet.kind, 1},
                                  iovec{packet.bytes.data(), packet.bytes.size() - 1}};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    return recvmsg(channel.fd, &message, MSG_DONTWAIT);
}

/// Waits for the far side. -1 with ETIMEDOUT or EINTR.
int awaitFarSide(const Channel& channel) {
    static NextFunction<int(pollfd*, nfds_t, const timespec*, const sigset_t*)> nextPpoll("ppoll");
    pollfd input{channel.fd, POLLIN, 0};
    const timespec limit =
        WorldClock_timespec(WorldClock_realWait_ns(WorldClock_read(), transferLimit_ns));
    const int ready = nextPpoll(&input, 1, &limit, nullptr);
    errno = ready == 0 ? ETIMEDOUT : errno;
    return ready > 0 ? 0 : -1;
}

/// Waits for a packet, and notes what it says of the bulk-in endpoint. -1 with ETIMEDOUT, EINTR, or
/// the errors of a sensor that has gone, which tell whether a transfer was under way.
int receivePacket(Channel& channel, Packet& packet, bool isUnderWay) {
    ssize_t count = takePacket(channel, packet);
    if (count < 0 && errno == EAGAIN) {
        isUnderWay = true;
        if (awaitFarSide(channel) != 0) {
            return -1;
        }
        count = takePacket(channel, packet);
    }
    if (count <= 0) {
        return failGone(isUnderWay);
    }
    packet.size = static_cast<size_t>(count) - 1;
    packet.taken = 0;
    packet.bytes[packet.size] = '\0';
    if (packet.kind == 'H') {
        channel.isInHalted = packet.bytes[0] == '1';
    }
    return 0;
}

/// True when this is what became of a transfer that was given up: what was kept belongs to it.
bool isOverdue(Channel& channel, const Packet& packet) {
    if ((packet.kind != 'A' && packet.kind != 'N') || channel.owedAnswers == 0) {
        return false;
    }
    --channel.owedAnswers;
    channel.keptCount = 0;
    return true;
}

/// Waits until the far side has acknowledged; its error number becomes errno. Replies that come in
/// between wait for their read.
int awaitAcknowledgement(Channel& channel) {
    Packet packet;
    const bool isBehind = channel.owedAnswers > 0; // replies are those of what was given up
    bool isOwed = true;
    for (;;) {
        if (receivePacket(channel, packet, true) != 0) {
            if (errno == EINTR) {
                continue;
            }
            channel.owedAnswers += errno == ETIMEDOUT && isOwed ? 1 : 0;
            return -1;
        }
        if (packet.kind == 'H' || isOverdue(channel, packet)) {
            continue;
        }
        if (packet.kind == 'N') {
            isOwed = false;
            continue;
        }
        if (packet.kind == 'A') {
            errno = atoi(packet.bytes.data());
            return errno == 0 ? 0 : -1;
        }
        if (!isBehind && channel.keptCount < channel.kept.size()) {
            channel.kept[channel.keptCount++] = packet;
        }
    }
}

/// A read that times out at once has waited no less on the bench's clocks.
void passTransferLimit(int error) {
    const char* const folder = PreloadWorld_folder();
    if (error == ETIMEDOUT && folder != nullptr) {
        BenchClock_advance(folder, transferLimit_ns);
    }
}

/// Takes what fits of the oldest kept packet.
ssize_t takeKept(Channel& channel, void* buffer, size_t size) {
    Packet& packet = channel.kept[0];
    ssize_t result = -1;
    bool isFinished = true;
    if (packet.kind == 'E') {
        errno = atoi(packet.bytes.data());
        passTransferLimit(errno);
    } else {
        const size_t count = std::min(size, packet.size - packet.taken);
        memcpy(buffer, packet.bytes.data() + packet.taken, count);
        packet.taken += count;
        isFinished = packet.taken == packet.size;
        result = static_cast<ssize_t>(count);
    }
    if (isFinished) {
        --channel.keptCount;
        for (size_t index = 0; index < channel.keptCount; ++index) {
            channel.kept[index] = channel.kept[index + 1];
        }
    }
    return result;
}

} // namespace

bool UsbTmc_open(const char* instrumentPath, int flags, int& fd) {
    for (const Device& device : devices) {
        if (strcmp(device.instrumentPath, instrumentPath) != 0) {
            continue;
        }
        fd = WorldSocket_connect(device.socketName, SOCK_SEQPACKET);
        if (fd < 0) {
            errno = errno == EMFILE || errno == ENFILE ? errno : ENODEV;
            return true;
        }
        if ((flags & O_CLOEXEC) == 0) {
            fcntl(fd, F_SETFD, 0);
        }
        if (!remember(fd)) {
            close(fd);
            fd = -1;
            errno = EBUSY;
        }
        return true;
    }
    return false;
}

bool UsbTmc_isChannel(int fd) {
    return findChannel(fd) != nullptr;
}

ssize_t UsbTmc_write(int fd, const void* message, size_t size) {
    Channel* const channel = findChannel(fd);
    if (channel == nullptr) {
        errno = EBADF;
        return -1;
    }
    const bool isWritten =
        sendPacket(*channel, 'W', message, size) == 0 && awaitAcknowledgement(*channel) == 0;
    return isWritten ? static_cast<ssize_t>(size) : -1;
}

ssize_t UsbTmc_read(int fd, void* buffer, size_t size) {
    Channel* const channel = findChannel(fd);
    if (channel == nullptr) {
        errno = EBADF;
        return -1;
    }
    while (channel->keptCount == 0 && !channel->isInHalted) {
        if (receivePacket(*channel, channel->kept[0], false) != 0) {
            return -1;
        }
        // An answer that comes after its transfer was given up means nothing any more.
        const Packet& packet = channel->kept[0];
        const bool isOfNoUse = isOverdue(*channel, packet) || packet.kind == 'A' ||
                               packet.kind == 'N' || packet.kind == 'H';
        channel->keptCount = isOfNoUse ? 0 : 1;
    }
    if (channel->isInHalted) {
        errno = EPIPE;
        return -1;
    }
    return takeKept(*channel, buffer, size);
}

int UsbTmc_request(int fd, unsigned long request) {
    Channel* const channel = findChannel(fd);
    char kind = 0;
    switch (request) {
    case USBTMC_IOCTL_CLEAR:
        kind = 'C';
        break;
    case USBTMC_IOCTL_CLEAR_OUT_HALT:
        kind = 'O';
        break;
    case USBTMC_IOCTL_CLEAR_IN_HALT:
        kind = 'I';
        break;
    default:
        break;
    }
    if (channel == nullptr || kind == 0) {
        errno = ENOTTY;
        return -1;
    }
    if (sendPacket(*channel, kind, nullptr, 0) != 0 || awaitAcknowledgement(*channel) != 0) {
        return -1;
    }
    if (kind == 'C') {
        channel->keptCount = 0; // a clear throws away what has not been read
    }
    return 0;
}

void UsbTmc_closing(int fd) {
    Channel* const channel = findChannel(fd);
    Place now = Place::used;
    if (channel != nullptr && channel->place.compare_exchange_strong(now, Place::free)) {
        usedCount.fetch_sub(1);
    }
}
