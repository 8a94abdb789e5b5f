#ifndef TESTS_UNIT_SENSORS_CHANNEL_H
#define TESTS_UNIT_SENSORS_CHANNEL_H

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A line whose far end is a sensor played by the test: `answer` is given each byte group that
/// arrives and returns the reply, empty for none.
class Channel {
public:
    using Answer = std::function<std::string(const std::string& command)>;

    /// `type` is SOCK_STREAM for a serial line or SOCK_SEQPACKET for a message channel.
    explicit Channel(int type, Answer answer);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// The near end, which the code under test uses.
    int fd() const {
        return near;
    }
    /// Bytes that the sensor sends by itself.
    void send(const std::string& bytes) const;
    /// Everything that has arrived at the sensor, one entry for each group of bytes.
    std::vector<std::string> commands() const;
    std::string allCommands() const;
    void clearCommands();
    /// The far end goes away: reads on the near end return at once from now on.
    void hangUp();

private:
    void serve();

    int near = -1;
    int far = -1;
    Answer answer;
    mutable std::mutex mutex;
    std::vector<std::string> arrived;
    std::thread sensor;
};

#endif
