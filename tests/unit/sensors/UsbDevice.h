#ifndef TESTS_UNIT_SENSORS_USB_DEVICE_H
#define TESTS_UNIT_SENSORS_USB_DEVICE_H

#include "UsbPortPlayer.h"

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// The bench's USB sensor behind "/dev/usbtmc0" or "/dev/usbtmc1" of a test's world, on a thread of
/// its own: a 3164 as after a reset, whose measurements take no time. A read of a reply that it
/// does not give times out at once. A test replaces what it wants to be different.
class UsbDevice {
public:
    using Listener = std::function<void(const std::string& message)>;

    /// Plugged in at once.
    explicit UsbDevice(uint32_t number);
    ~UsbDevice();
    UsbDevice(const UsbDevice&) = delete;
    UsbDevice& operator=(const UsbDevice&) = delete;

    /// For good; what follows changes a device that is plugged in only.
    void unplug();
    /// The far end of the open device hangs up while the node stays.
    void breakConnection();

    /// Every setting 0 or empty, so that a test sees each one that is changed.
    void clearSettings();
    /// Reply to a query such as "SENS:FREQ?", without its line end; an empty one leaves it
    /// unanswered. A setting that is stored later answers for itself.
    void setReply(const std::string& query, const std::string& reply);
    /// The reply as it is sent, line end or none.
    void setRawReply(const std::string& query, const std::string& reply);
    /// The next answer to this question gets lost under way.
    void loseNextAnswer(const std::string& query);
    /// One of the bench's faults, such as "stallin".
    void fault(const std::string& name);
    /// A setting that is refused with this error, whatever its value.
    void refuse(const std::string& command, int error);
    void accept(const std::string& command);
    void queueError(int error);
    /// Called on the device's thread before a message is answered; it may call the device.
    void setListener(Listener listener);
    /// Error number of the clearing requests, 0 for success.
    void setRequestError(int error);

    /// Every message, without its line end, and "<C>", "<O>", "<I>" for the clearing requests.
    std::vector<std::string> messages() const;
    /// The same without the questions for errors.
    std::vector<std::string> conversation() const;
    void clearMessages();
    bool hasReceived(const std::string& message) const;
    uint32_t connectionCount() const;

private:
    using Lock = std::lock_guard<std::recursive_mutex>;
    void serve();
    void wakeServer() const;

    mutable std::recursive_mutex mutex;
    UsbPortPlayer player{};
    std::vector<std::string> received;
    Listener onMessage;
    bool isOver = false;
    int wake = -1; ///< ends the server's wait when there is something else to wait for
    std::thread server;
};

/// The blocks of a plug-and-play file as a sensor sends them.
std::string usbDevice_block(const std::string& data);

#endif
