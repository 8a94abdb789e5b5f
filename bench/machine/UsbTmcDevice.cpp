#include "UsbTmcDevice.h"

#include "BenchText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace {

// Requests, by their type and number.
constexpr uint8_t typeIn = 0x80;
constexpr uint8_t typeClass = 0x20;
constexpr uint8_t typeMask = 0x60;
constexpr uint8_t typeToEndpoint = 0x02;

constexpr uint8_t requestGetStatus = 0;
constexpr uint8_t requestClearFeature = 1;
constexpr uint8_t requestGetDescriptor = 6;

constexpr uint8_t classInitiateAbortOut = 1;
constexpr uint8_t classCheckAbortOut = 2;
constexpr uint8_t classInitiateAbortIn = 3;
constexpr uint8_t classCheckAbortIn = 4;
constexpr uint8_t classInitiateClear = 5;
constexpr uint8_t classCheckClear = 6;
constexpr uint8_t classGetCapabilities = 7;

constexpr char statusSuccess = 1;
constexpr char statusPending = 2;
constexpr char statusNotInProgress = '\x81';

// Messages in the bulk transfers.
constexpr uint8_t messageOut = 1;
constexpr uint8_t messageIn = 2;
constexpr size_t headerSize = 12;
constexpr size_t packetAlignment = 4;
constexpr uint32_t beyond = 40; ///< bytes that a header announces without reason
constexpr uint8_t lastTag = 127;

using namespace std::string_view_literals;

constexpr uint8_t descriptorDevice = 1;
constexpr uint8_t descriptorConfiguration = 2;
constexpr uint8_t descriptorString = 3;

constexpr std::string_view deviceDescriptor =
    "\x12\x01\x00\x02\x00\x00\x00\x40\x09\x12\x6f\x31\x00\x01\x01\x02\x03\x01"sv;
constexpr std::string_view configurationDescriptor = "\x09\x02\x20\x00\x01\x01\x00\xc0\x00"
                                                     "\x09\x04\x00\x00\x02\xfe\x03\x01\x00"
                                                     "\x07\x05\x02\x02\x00\x02\x00"
                                                     "\x07\x05\x81\x02\x00\x02\x00"sv;
/// Of the class's version 1.0, with those of its subclass for instruments.
constexpr std::string_view capabilities = "\x01\x00\x00\x01\x00\x00\x00\x00\x00\x00\x00\x00"
                                          "\x00\x01\x06\x0f\x00\x00\x00\x00\x00\x00\x00\x00"sv;
constexpr std::array<std::string_view, 3> texts = {"Bench", "USB power sensor", "1"};

std::string stringDescriptor(size_t number) {
    if (number == 0) {
        return std::string("\x04\x03\x09\x04"sv);
    }
    std::string wide;
    for (const char letter : texts.at(number - 1)) {
        wide += letter;
        wide += '\0';
    }
    return static_cast<char>(wide.size() + 2) + std::string(1, descriptorString) + wide;
}

void completeControl(UsbTmcDevice& device, uint64_t id, UsbStatus status, std::string bytes = {}) {
    device.completed.push_back({id, 0, status, std::move(bytes), 0});
}

void completeIn(UsbTmcDevice& device, uint64_t id, UsbStatus status, std::string bytes = {}) {
    device.completed.push_back({id, usbTmcEndpointIn, status, std::move(bytes), 0});
}

void completeOut(UsbTmcDevice& device, uint64_t id, UsbStatus status, size_t takenCount = 0) {
    device.completed.push_back(
        {id, usbTmcEndpointOut, status, {}, static_cast<uint32_t>(takenCount)});
}

bool strikes(UsbTmcDevice& device, UsbWireFault fault) {
    const std::string waiting = UsbFaults_describe(device.faults);
    if (!UsbFaults_strikes(device.faults, fault)) {
        return false;
    }
    device.log.push_back("fault of " + waiting + " at " + device.faults.message);
    return true;
}

UsbStatus statusOf(int error) {
    switch (error) {
    case 0:
        return UsbStatus::done;
    case EPIPE:
        return UsbStatus::stalled;
    case EOVERFLOW:
        return UsbStatus::babble;
    default:
        return UsbStatus::brokenOff;
    }
}

// Bulk transfers to the host.

std::string header(uint8_t messageId, uint8_t tag, uint32_t size, bool isLast) {
    std::string bytes(headerSize, '\0');
    bytes[0] = static_cast<char>(messageId);
    bytes[1] = static_cast<char>(tag);
    bytes[2] = static_cast<char>(~tag);
    for (size_t at = 0; at < sizeof size; ++at) {
        bytes[4 + at] = static_cast<char>(size >> (8 * at));
    }
    bytes[8] = isLast ? 1 : 0;
    return bytes;
}

// The reply, or what the faults make of it.
std::string nextPacket(UsbTmcDevice& device, const UsbReadRequest& request) {
    const std::string part = device.reply.substr(0, request.size);
    device.reply.erase(0, part.size());
    if (strikes(device, wireFaultShort)) {
        return std::string("\x02\x01\xfe\x00\x00"sv);
    }
    if (strikes(device, wireFaultEmpty)) {
        return {};
    }
    auto announced = static_cast<uint32_t>(part.size());
    announced = strikes(device, wireFaultTooLong) ? request.size + beyond : announced;
    announced += strikes(device, wireFaultCut) ? beyond : 0;
    const uint8_t tag = strikes(device, wireFaultBadTag)
                            ? static_cast<uint8_t>(request.tag % lastTag + 1)
                            : request.tag;
    const uint8_t id = strikes(device, wireFaultBadId) ? lastTag : messageIn;
    std::string packet = header(id, tag, announced, device.reply.empty()) + part;
    packet.append((0U - packet.size()) % packetAlignment, '\0');
    return packet;
}

void answerReader(UsbTmcDevice& device, const UsbTransfer& reader) {
    const UsbReadRequest request = *device.request;
    device.request.reset();
    if (device.replyError != 0) {
        const int error = std::exchange(device.replyError, 0);
        completeIn(device, reader.id, statusOf(error));
    } else if (strikes(device, wireFaultNakIn)) {
        device.log.emplace_back("a transfer to the host waits for ever");
    } else if (strikes(device, wireFaultNoiseIn)) {
        completeIn(device, reader.id, UsbStatus::brokenOff);
    } else if (strikes(device, wireFaultBabble)) {
        completeIn(device, reader.id, UsbStatus::babble);
    } else {
        const std::string packet = nextPacket(device, request);
        completeIn(device, reader.id, UsbStatus::done, packet.substr(0, reader.length));
    }
}

bool hasReply(const UsbTmcDevice& device) {
    return !device.reply.empty() || device.replyError != 0;
}

void serveReaders(UsbTmcDevice& device) {
    while (!device.readers.empty() && !device.isPulled) {
        if (device.request && strikes(device, wireFaultStallIn)) {
            device.isInHalted = true;
        }
        const bool isHalted = device.isInHalted || device.isSensorInHalted;
        if (device.request && strikes(device, wireFaultPullIn)) {
            device.isPulled = true;
            return;
        }
        if (!isHalted && (!device.request || !hasReply(device))) {
            return;
        }
        const UsbTransfer reader = device.readers.front();
        device.readers.pop_front();
        if (isHalted) {
            device.request.reset();
            completeIn(device, reader.id, UsbStatus::stalled);
        } else {
            answerReader(device, reader);
        }
    }
}

// Bulk transfers from the host.

uint32_t sizeIn(std::string_view bytes) {
    uint32_t size = 0;
    for (size_t at = sizeof size; at-- > 0;) {
        size = size << 8U | static_cast<uint8_t>(bytes[4 + at]);
    }
    return size;
}

void passOn(UsbTmcDevice& device, uint64_t id, char kind, uint32_t length,
            const std::string& bytes) {
    device.toSensor.push_back(kind + bytes);
    device.pending.push_back({id, kind, length, {}, false});
}

void takeMessage(UsbTmcDevice& device, uint64_t id, std::string_view bytes) {
    const auto length = static_cast<uint32_t>(bytes.size());
    device.request.reset();
    device.message += bytes.substr(headerSize, sizeIn(bytes));
    const bool isLast = (static_cast<uint8_t>(bytes[8]) & 1U) != 0;
    if (!isLast || strikes(device, wireFaultLost)) {
        device.message.erase(0, isLast ? device.message.size() : 0);
        completeOut(device, id, UsbStatus::done, length);
        return;
    }
    device.reply.clear();
    device.replyError = 0;
    passOn(device, id, 'W', length, std::exchange(device.message, {}));
}

/// True when a fault has taken the transfer.
bool meetsFault(UsbTmcDevice& device, uint64_t id) {
    if (strikes(device, wireFaultPullOut)) {
        device.isPulled = true;
        return true;
    }
    device.isOutHalted = device.isOutHalted || strikes(device, wireFaultStallOut);
    if (device.isOutHalted) {
        completeOut(device, id, UsbStatus::stalled);
        return true;
    }
    if (strikes(device, wireFaultNakOut)) {
        return true;
    }
    if (strikes(device, wireFaultNoiseOut)) {
        completeOut(device, id, UsbStatus::brokenOff);
        return true;
    }
    return false;
}

void noteMessage(UsbTmcDevice& device, std::string_view bytes) {
    constexpr std::string_view reading = "FETC:FORW";
    const std::string_view text = bytes.substr(headerSize, sizeIn(bytes));
    device.faults.message = text.substr(0, text.find('\n'));
    device.readings += text.starts_with(reading) ? 1 : 0;
}

// Control requests.

void stall(UsbTmcDevice& device, uint64_t id, const UsbSetup& setup) {
    device.log.push_back(BenchText_format("refuses request %02x %u", setup.type, setup.request));
    completeControl(device, id, UsbStatus::stalled);
}

void describe(UsbTmcDevice& device, uint64_t id, const UsbSetup& setup) {
    const auto kind = static_cast<uint8_t>(setup.value >> 8U);
    const auto number = static_cast<uint8_t>(setup.value);
    std::string bytes;
    if (kind == descriptorDevice) {
        bytes = deviceDescriptor;
    } else if (kind == descriptorConfiguration) {
        bytes = configurationDescriptor;
    } else if (kind == descriptorString && number <= texts.size()) {
        bytes = stringDescriptor(number);
    } else {
        stall(device, id, setup);
        return;
    }
    completeControl(device, id, UsbStatus::done, bytes.substr(0, setup.length));
}

void askSensor(UsbTmcDevice& device, uint64_t id, char kind, std::string answer) {
    device.toSensor.push_back(std::string(1, kind));
    device.pending.push_back({id, kind, 0, std::move(answer), false});
}

void clearHalt(UsbTmcDevice& device, uint64_t id, const UsbSetup& setup) {
    askSensor(device, id, (setup.index & typeIn) != 0 ? 'I' : 'O', {});
}

void initiateClear(UsbTmcDevice& device, uint64_t id, const UsbSetup& setup) {
    if (strikes(device, wireFaultStallClear)) {
        stall(device, id, setup);
        return;
    }
    askSensor(device, id, 'C', std::string(1, statusSuccess));
}

void classRequest(UsbTmcDevice& device, uint64_t id, const UsbSetup& setup) {
    device.log.push_back(BenchText_format("request %u value %u", setup.request, setup.value));
    if (strikes(device, wireFaultNakControl)) {
        return;
    }
    std::string bytes;
    switch (setup.request) {
    case classInitiateClear:
        initiateClear(device, id, setup);
        return;
    case classCheckClear:
        bytes = {strikes(device, wireFaultPendClear) ? statusPending : statusSuccess, '\0'};
        break;
    case classGetCapabilities:
        bytes = capabilities;
        break;
    case classInitiateAbortOut:
    case classInitiateAbortIn:
        bytes = {statusNotInProgress, '\0'};
        break;
    case classCheckAbortOut:
    case classCheckAbortIn:
        bytes = {statusSuccess, '\0', '\0', '\0', '\0', '\0', '\0', '\0'};
        break;
    default:
        stall(device, id, setup);
        return;
    }
    completeControl(device, id, UsbStatus::done, bytes.substr(0, setup.length));
}

// Packets from the sensor.

void forgetExchange(UsbTmcDevice& device) {
    device.request.reset();
    device.reply.clear();
    device.replyError = 0;
    device.message.clear();
}

void endRequest(UsbTmcDevice& device, const UsbPending& request, int error) {
    if (error == 0 && request.kind == 'C') {
        forgetExchange(device);
    } else if (error == 0) {
        (request.kind == 'I' ? device.isInHalted : device.isOutHalted) = false;
    }
    completeControl(device, request.id, statusOf(error), error == 0 ? request.answer : "");
}

void endPending(UsbTmcDevice& device, int error) {
    if (device.pending.empty()) {
        return;
    }
    const UsbPending first = device.pending.front();
    device.pending.pop_front();
    if (first.isGivenUp || error == ENODEV || error == ESHUTDOWN) {
        return; // or pulled: nobody is there to complete it
    }
    if (first.kind == 'W') {
        completeOut(device, first.id, statusOf(error), error == 0 ? first.length : 0);
    } else {
        endRequest(device, first, error);
    }
}

} // namespace

void UsbTmcDevice_reset(UsbTmcDevice& device) {
    const UsbFaults faults = device.faults;
    const uint64_t readings = device.readings;
    device = {};
    device.faults = faults;
    device.readings = readings;
}

void UsbTmcDevice_control(UsbTmcDevice& device, uint64_t id, const UsbSetup& setup) {
    if ((setup.type & typeMask) == typeClass) {
        classRequest(device, id, setup);
    } else if (setup.type == typeIn && setup.request == requestGetDescriptor) {
        describe(device, id, setup);
    } else if (setup.type == typeToEndpoint && setup.request == requestClearFeature) {
        clearHalt(device, id, setup);
    } else if ((setup.type & typeIn) != 0 && setup.request == requestGetStatus) {
        completeControl(device, id, UsbStatus::done, std::string(2, '\0'));
    } else {
        stall(device, id, setup);
    }
}

void UsbTmcDevice_receive(UsbTmcDevice& device, uint64_t id, std::string_view bytes) {
    const bool isWhole = bytes.size() >= headerSize;
    const bool isMessage = isWhole && static_cast<uint8_t>(bytes[0]) == messageOut;
    if (isMessage) {
        noteMessage(device, bytes);
    }
    if (!isWhole || meetsFault(device, id)) {
        if (!isWhole) {
            completeOut(device, id, UsbStatus::stalled);
        }
        return;
    }
    if (isMessage) {
        takeMessage(device, id, bytes);
    } else {
        device.request = UsbReadRequest{static_cast<uint8_t>(bytes[1]), sizeIn(bytes)};
        completeOut(device, id, UsbStatus::done, bytes.size());
    }
    serveReaders(device);
}

void UsbTmcDevice_send(UsbTmcDevice& device, uint64_t id, uint32_t length) {
    device.readers.push_back({id, length});
    serveReaders(device);
}

void UsbTmcDevice_cancel(UsbTmcDevice& device, uint64_t id) {
    device.log.push_back("the host gives a transfer up");
    std::erase_if(device.readers, [id](const UsbTransfer& reader) { return reader.id == id; });
    for (UsbPending& one : device.pending) {
        one.isGivenUp = one.isGivenUp || one.id == id; // its answer is still to come
    }
    completeIn(device, id, UsbStatus::cancelled);
}

void UsbTmcDevice_takePacket(UsbTmcDevice& device, std::string_view packet) {
    const std::string rest(packet.substr(packet.empty() ? 0 : 1));
    switch (packet.empty() ? '\0' : packet[0]) {
    case 'A':
        endPending(device, std::atoi(rest.c_str()));
        break;
    case 'N':
        if (!device.pending.empty()) {
            device.pending.pop_front();
        }
        break;
    case 'R':
        device.reply += rest;
        break;
    case 'E':
        device.replyError = std::atoi(rest.c_str());
        break;
    case 'H':
        device.isSensorInHalted = rest == "1";
        break;
    default:
        break;
    }
    serveReaders(device);
}
