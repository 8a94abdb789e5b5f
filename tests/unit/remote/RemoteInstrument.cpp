#include "RemoteInstrument.h"

#include "Configuration.h"
#include "SensorManager.h"
#include "SensorPortSignals.h"
#include "SensorRecords.h"
#include "SerialSensorHandler.h"
#include "Threads.h"
#include "UsbSensorConfig.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr uint32_t servePause_ms = 1;
CONNECTED_SENSORS detected;

void detect(uint32_t bits) {
    CONNECTED_SENSORS record{};
    record.detectedSensors = bits;
    record.detectedSensorsChanged = detected.detectedSensors ^ bits;
    SensorManager_UpdatePhysicalSensors(&record);
    detected = record;
}

SensorRecords recordsOf(uint32_t port) {
    return SensorPort_isUsb(port)
               ? SensorRecords_of(port, &sensorUsbHandlerData[port - sensorPort_USB1])
               : SensorRecords_of(port, &sensorSerialHandlerData[port]);
}

} // namespace

RemoteInstrument::RemoteInstrument() {
    detected = {};
    SensorManager_Create();
    for (USB_HANDLER_DATA_STRUCT& handler : sensorUsbHandlerData) {
        handler.sensorConfigs = {};
    }
    restoreDefaultSettings();
    initScpiParser();
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0) {
        linkEnd = ends[0];
        clientEnd = ends[1];
        fcntl(clientEnd, F_SETFL, O_NONBLOCK);
    }
    ScpiLink_initialize(&link, &context, inputBuffer, errorQueue);
    link.descriptor = &linkEnd;
}

RemoteInstrument::~RemoteInstrument() {
    SCPI_ErrorClear(&context);
    close(linkEnd);
    close(clientEnd);
    detect(0);
    destroyScpiParser();
    SensorManager_Destroy();
}

std::string RemoteInstrument::send(std::string_view line) {
    return sendBytes(std::string(line) + "\n");
}

std::string RemoteInstrument::sendBytes(std::string_view bytes) {
    ScpiLink_receive(&link, bytes);
    return readReplies();
}

std::string RemoteInstrument::readReplies() {
    std::string text;
    std::array<char, 4096> piece;
    for (;;) {
        const ssize_t count = read(clientEnd, piece.data(), piece.size());
        if (count <= 0) {
            return text;
        }
        text.append(piece.data(), static_cast<size_t>(count));
    }
}

std::string RemoteInstrument::errors() {
    std::string text;
    while (SCPI_ErrorCount(&context) > 0) {
        const std::string answer = send("SYST:ERR?");
        text += (text.empty() ? "" : "\n") + answer.substr(0, answer.size() - 2);
    }
    return text;
}

void RemoteInstrument::plug(uint32_t port, uint32_t channel) {
    plugStarting(port, channel);
    finishStart(port);
}

void RemoteInstrument::finishStart(uint32_t port) {
    SensorRecords_setStatus(recordsOf(port), isReady);
    SensorPortSignals_setServedConnection(port, SensorPortSignals_waitUntilConnected(port));
}

void RemoteInstrument::plugStarting(uint32_t port, uint32_t channel) {
    detect(detected.detectedSensors | SensorPort_bit(port));
    SensorInstance_SetLogicalChannel(port, channel);
}

void RemoteInstrument::unplug(uint32_t port) {
    detect(detected.detectedSensors & ~SensorPort_bit(port));
}

void RemoteInstrument::setSensorConfig(uint32_t port, const SENSOR_CONFIGS& config) {
    const ScopedLock lock(sensorPortConfigMutex[port]);
    sensorUsbHandlerData[port - sensorPort_USB1].sensorConfigs = config;
}

void expectExchange(RemoteInstrument& instrument, const Exchange& exchange) {
    EXPECT_EQ(instrument.send(exchange.sent), exchange.answered) << exchange.sent;
    EXPECT_EQ(instrument.errors(), exchange.errors) << exchange.sent;
}

FakeUsbSensor::FakeUsbSensor(uint32_t usbPort, std::vector<std::string> errors)
    : handler(sensorUsbHandlerData[usbPort - sensorPort_USB1]), port(usbPort),
      refusals(std::move(errors)) {
    sensorUsbHandler_initSensorData(&handler, "/dev/usbtmc0");
    UsbSensorConfig_setServing(&handler, true);
    thread = std::thread([this] { serve(); });
}

FakeUsbSensor::~FakeUsbSensor() {
    isStopping = true;
    thread.join();
    UsbSensorConfig_setServing(&handler, false);
}

SENSOR_CONFIGS FakeUsbSensor::lastConfig() const {
    const ScopedLock lock(sensorPortConfigMutex[port]);
    return handler.sensorConfigs;
}

bool FakeUsbSensor::takeRequest() {
    const ScopedLock lock(sensorPortConfigMutex[port]);
    if (!handler.newConfig) {
        return false;
    }
    handler.newConfig = false;
    handler.sendingNumber = handler.requestNumber;
    usbtmcClearErrors(&handler.usbtmc_Errors);
    for (const std::string& refusal : refusals) {
        usbtmcAddError(&handler.usbtmc_Errors, refusal.c_str());
    }
    return true;
}

void FakeUsbSensor::serve() {
    while (!isStopping) {
        if (!isSlow && takeRequest()) {
            ++receivedCount;
            UsbSensorConfig_complete(&handler);
        }
        Thread_sleep_ms(servePause_ms);
    }
}
