#ifndef TESTS_FLEET_SUPPORT_WIRE_RECORDER_H
#define TESTS_FLEET_SUPPORT_WIRE_RECORDER_H

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

/// A relay in front of a meter, which keeps all that its clients say. One client at a time.
class WireRecorder {
public:
    WireRecorder(std::string host, uint16_t port);
    ~WireRecorder();
    WireRecorder(const WireRecorder&) = delete;
    WireRecorder& operator=(const WireRecorder&) = delete;

    /// As a host for quorvel-fleet.
    std::string address() const;
    std::string said();
    size_t clients();

private:
    void serve();
    void relay(int client);

    std::string meterHost;
    uint16_t meterPort;
    int listener;
    int wakeUp[2];
    uint16_t ownPort = 0;
    std::mutex mutex;
    std::string recorded;
    size_t clientCount = 0;
    std::thread thread;
};

/// A client of a test's own: a connected socket, -1 on failure.
int WireRecorder_connect(const std::string& host, uint16_t port);

#endif
