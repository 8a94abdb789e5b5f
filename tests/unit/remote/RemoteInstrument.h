// The remote side of the instrument in a test: one link, four sensor ports, and what a client sees.
#pragma once

#include "ScpiLink.h"
#include "ScpiRecord.h"
#include "UsbSensorHandler.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

class RemoteInstrument {
public:
    RemoteInstrument();
    ~RemoteInstrument();
    RemoteInstrument(const RemoteInstrument&) = delete;
    RemoteInstrument& operator=(const RemoteInstrument&) = delete;

    /// Sends a line, a line feed added, and gives what the link has answered.
    std::string send(std::string_view line);
    /// Sends bytes as they are.
    std::string sendBytes(std::string_view bytes);
    /// What the client can read by now.
    std::string readReplies();
    /// Takes the error queue, as in `-220,"Parameter error;text"`, one error a line.
    std::string errors();

    /// Connects a sensor that has started, and gives it a channel, 0 or 1.
    static void plug(uint32_t port, uint32_t channel);
    /// The same in two steps.
    static void plugStarting(uint32_t port, uint32_t channel);
    static void finishStart(uint32_t port);
    static void unplug(uint32_t port);
    /// A USB sensor's own configuration.
    static void setSensorConfig(uint32_t port, const SENSOR_CONFIGS& config);

    ScpiLink link{};
    scpi_t context{};
    std::atomic<int32_t> linkEnd{-1};
    int clientEnd = -1;

private:
    char inputBuffer[scpiInputBufferSize]{};
    scpi_error_t errorQueue[scpiErrorQueueSize]{};
};

/// A line, what the instrument answers to it, and the errors that it leaves.
struct Exchange {
    std::string sent;
    std::string answered;
    std::string errors;
};
void expectExchange(RemoteInstrument& instrument, const Exchange& exchange);

/// Takes configurations as a USB sensor's handler does, and answers with these errors.
class FakeUsbSensor {
public:
    explicit FakeUsbSensor(uint32_t port, std::vector<std::string> errors = {});
    ~FakeUsbSensor();
    FakeUsbSensor(const FakeUsbSensor&) = delete;
    FakeUsbSensor& operator=(const FakeUsbSensor&) = delete;

    int received() const {
        return receivedCount;
    }
    /// The latest configuration that was handed over.
    SENSOR_CONFIGS lastConfig() const;
    /// Leaves what is handed over waiting.
    std::atomic<bool> isSlow{false};

private:
    void serve();
    bool takeRequest();

    USB_HANDLER_DATA_STRUCT& handler;
    uint32_t port;
    std::vector<std::string> refusals;
    std::atomic<int> receivedCount{0};
    std::atomic<bool> isStopping{false};
    std::thread thread;
};
