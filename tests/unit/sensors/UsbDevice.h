#ifndef TESTS_UNIT_SENSORS_USB_DEVICE_H
#define TESTS_UNIT_SENSORS_USB_DEVICE_H

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

/// A USB sensor that a test plays behind "/dev/usbtmc0" or "/dev/usbtmc1" of its world. It knows
/// every query, keeps every setting for its read-back, and has an error queue; a test replaces what
/// it wants to be different.
class UsbDevice {
public:
    /// Plugged in at once.
    explicit UsbDevice(int number);
    ~UsbDevice();
    UsbDevice(const UsbDevice&) = delete;
    UsbDevice& operator=(const UsbDevice&) = delete;

    void plug();
    void unplug();
    /// The far end of the open device hangs up while the node stays.
    void breakConnection();

    /// Reply to a query such as "SENS:FREQ?", without its line end; an empty one leaves it
    /// unanswered.
    void setReply(const std::string& query, const std::string& reply);
    /// The reply as it is sent, line end or none.
    void setRawReply(const std::string& query, const std::string& reply);
    /// A setting that is refused with this error, whatever its value.
    void refuse(const std::string& command, int error);
    void accept(const std::string& command);
    void queueError(int error);
    /// Claims this many errors, whatever the queue holds.
    void setErrorCount(const std::string& count);
    /// Leaves the question for an error unanswered.
    void setErrorSilence();
    /// Called on the device's thread before a message is answered.
    void setListener(std::function<void(const std::string&)> listener);
    /// Error number of the clearing requests, 0 for success.
    void setRequestError(int error);

    /// Every message, without its line end, and "<C>", "<O>", "<I>" for the clearing requests.
    std::vector<std::string> messages() const;
    /// The same without the questions for errors.
    std::vector<std::string> conversation() const;
    void clearMessages();
    bool hasReceived(const std::string& message) const;
    int connectionCount() const;

private:
    void listen();
    void serve();
    bool serveConnection(int connection);
    void answer(int connection, const std::string& message);
    std::string replyTo(const std::string& message);
    void take(const std::string& setting);

    std::string socketPath;
    std::string nodePath;
    int listener = -1;
    std::atomic<int> present{-1}; ///< the connection that is open
    std::atomic<int> connections{0};
    std::atomic<bool> isPlugged{false};
    std::atomic<bool> isOver{false};
    std::thread server;
    mutable std::mutex mutex;
    std::map<std::string, std::string> replies;
    std::map<std::string, int> refused;
    std::vector<int> errors;
    std::string claimedErrors;
    bool keepsErrors = false;
    std::vector<std::string> received;
    std::function<void(const std::string&)> onMessage;
    int requestError = 0;
};

/// The speed of tests in which a transfer's five seconds pass: an answer that a busy machine keeps
/// for half a second is still in time.
constexpr double usbDevice_speed = 8;

/// The blocks of a plug-and-play file as a sensor sends them.
std::string usbDevice_block(const std::string& data);

#endif
