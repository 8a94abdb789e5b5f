#include "UsbRedirection.h"

#include "LocalSocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr uint8_t endpointMask = 0x0f;
constexpr uint8_t endpointIsIn = 0x80;
constexpr size_t endpointsPerDirection = 16;
constexpr uint8_t noEndpoint = 255; ///< type_invalid
constexpr uint8_t onlyConfiguration = 1;
constexpr uint16_t deviceVersion = 0x0100;
constexpr uint16_t controlPacketSize = 64;

UsbRedirection& linkOf(void* context) {
    return *static_cast<UsbRedirection*>(context);
}

UsbTmcDevice& deviceOf(void* context) {
    return *linkOf(context).device;
}

usbredirparser* parserOf(void* context) {
    return linkOf(context).parser.get();
}

// What the parser calls.

void logMessage(void*, int level, const char* text) {
    if (level <= usbredirparser_warning) {
        fprintf(stderr, "%s\n", text);
    }
}

int readBytes(void* context, uint8_t* bytes, int count) {
    const ssize_t got = recv(linkOf(context).fd, bytes, static_cast<size_t>(count), MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
        return 0;
    }
    return got > 0 ? static_cast<int>(got) : -1;
}

int writeBytes(void* context, uint8_t* bytes, int count) {
    const ssize_t sent = send(linkOf(context).fd, bytes, static_cast<size_t>(count), MSG_NOSIGNAL);
    return sent < 0 && errno == EINTR ? 0 : static_cast<int>(sent);
}

size_t indexOf(uint8_t endpoint) {
    return (endpoint & endpointMask) +
           ((endpoint & endpointIsIn) != 0 ? endpointsPerDirection : size_t{0});
}

// The emulator is there: it is told what has been plugged in.
void connectDevice(void* context, usb_redir_hello_header*) {
    usb_redir_ep_info_header endpoints{};
    std::ranges::fill(endpoints.type, noEndpoint);
    for (const uint8_t control : {uint8_t{0}, endpointIsIn}) {
        endpoints.type[indexOf(control)] = usb_redir_type_control;
        endpoints.max_packet_size[indexOf(control)] = controlPacketSize;
    }
    for (const uint8_t bulk : {usbTmcEndpointIn, usbTmcEndpointOut}) {
        endpoints.type[indexOf(bulk)] = usb_redir_type_bulk;
        endpoints.max_packet_size[indexOf(bulk)] = usbTmcPacketSize;
    }
    usb_redir_interface_info_header interface {};
    interface.interface_count = 1;
    interface.interface_class[0] = usbTmcClass;
    interface.interface_subclass[0] = usbTmcSubclass;
    interface.interface_protocol[0] = usbTmcProtocol;
    usb_redir_device_connect_header device{};
    device.speed = usb_redir_speed_high;
    device.vendor_id = usbTmcVendor;
    device.product_id = usbTmcProduct;
    device.device_version_bcd = deviceVersion;
    usbredirparser_send_ep_info(parserOf(context), &endpoints);
    usbredirparser_send_interface_info(parserOf(context), &interface);
    usbredirparser_send_device_connect(parserOf(context), &device);
}

void resetDevice(void* context) {
    UsbTmcDevice_reset(deviceOf(context));
}

void tellConfiguration(void* context, uint64_t id) {
    usb_redir_configuration_status_header status{usb_redir_success, onlyConfiguration};
    usbredirparser_send_configuration_status(parserOf(context), id, &status);
}

void setConfiguration(void* context, uint64_t id, usb_redir_set_configuration_header*) {
    tellConfiguration(context, id);
}

void setAlternative(void* context, uint64_t id, usb_redir_set_alt_setting_header* asked) {
    usb_redir_alt_setting_status_header status{usb_redir_success, asked->interface, asked->alt};
    usbredirparser_send_alt_setting_status(parserOf(context), id, &status);
}

void getAlternative(void* context, uint64_t id, usb_redir_get_alt_setting_header* asked) {
    usb_redir_alt_setting_status_header status{usb_redir_success, asked->interface, 0};
    usbredirparser_send_alt_setting_status(parserOf(context), id, &status);
}

void takeCancel(void* context, uint64_t id) {
    UsbTmcDevice_cancel(deviceOf(context), id);
}

void takeControl(void* context, uint64_t id, usb_redir_control_packet_header* packet,
                 uint8_t* bytes, int) {
    UsbTmcDevice_control(
        deviceOf(context), id,
        {packet->requesttype, packet->request, packet->value, packet->index, packet->length});
    usbredirparser_free_packet_data(parserOf(context), bytes);
}

void takeBulk(void* context, uint64_t id, usb_redir_bulk_packet_header* packet, uint8_t* bytes,
              int count) {
    if ((packet->endpoint & endpointIsIn) != 0) {
        const uint32_t length = static_cast<uint32_t>(packet->length_high) << 16U | packet->length;
        UsbTmcDevice_send(deviceOf(context), id, length);
    } else {
        UsbTmcDevice_receive(deviceOf(context), id,
                             {reinterpret_cast<const char*>(bytes), static_cast<size_t>(count)});
    }
    usbredirparser_free_packet_data(parserOf(context), bytes);
}

// What the device has completed.

uint8_t statusCode(UsbStatus status) {
    switch (status) {
    case UsbStatus::done:
        return usb_redir_success;
    case UsbStatus::stalled:
        return usb_redir_stall;
    case UsbStatus::babble:
        return usb_redir_babble;
    case UsbStatus::cancelled:
        return usb_redir_cancelled;
    default:
        return usb_redir_ioerror;
    }
}

/// The parser takes bytes only with transfers that bring some.
uint8_t* bytesOf(UsbCompletion& completion) {
    return completion.bytes.empty() ? nullptr : reinterpret_cast<uint8_t*>(completion.bytes.data());
}

void sendControl(UsbRedirection& link, UsbCompletion& completion) {
    usb_redir_control_packet_header packet{};
    packet.endpoint = endpointIsIn;
    packet.status = statusCode(completion.status);
    packet.length = static_cast<uint16_t>(completion.bytes.size());
    usbredirparser_send_control_packet(link.parser.get(), completion.id, &packet,
                                       bytesOf(completion), packet.length);
}

void sendBulk(UsbRedirection& link, UsbCompletion& completion) {
    usb_redir_bulk_packet_header packet{};
    const size_t count = completion.bytes.size() + completion.takenCount;
    packet.endpoint = completion.endpoint;
    packet.status = statusCode(completion.status);
    packet.length = static_cast<uint16_t>(count);
    packet.length_high = static_cast<uint16_t>(count >> 16U);
    usbredirparser_send_bulk_packet(link.parser.get(), completion.id, &packet, bytesOf(completion),
                                    static_cast<int>(completion.bytes.size()));
}

bool flush(UsbRedirection& link) {
    while (usbredirparser_has_data_to_write(link.parser.get()) > 0) {
        if (usbredirparser_do_write(link.parser.get()) != 0) {
            return false;
        }
    }
    return true;
}

void setCalls(usbredirparser& parser) {
    parser.log_func = logMessage;
    parser.read_func = readBytes;
    parser.write_func = writeBytes;
    parser.hello_func = connectDevice;
    parser.reset_func = resetDevice;
    parser.set_configuration_func = setConfiguration;
    parser.get_configuration_func = tellConfiguration;
    parser.set_alt_setting_func = setAlternative;
    parser.get_alt_setting_func = getAlternative;
    parser.cancel_data_packet_func = takeCancel;
    parser.control_packet_func = takeControl;
    parser.bulk_packet_func = takeBulk;
}

} // namespace

bool UsbRedirection_open(UsbRedirection& link, const std::string& socketPath,
                         UsbTmcDevice& device) {
    link.fd = LocalSocket_connect(socketPath, SOCK_STREAM);
    if (link.fd < 0) {
        return false;
    }
    link.device = &device;
    link.parser.reset(usbredirparser_create());
    link.parser->priv = &link;
    setCalls(*link.parser);
    std::array<uint32_t, USB_REDIR_CAPS_SIZE> capabilities{};
    for (const int capability :
         {usb_redir_cap_connect_device_version, usb_redir_cap_ep_info_max_packet_size,
          usb_redir_cap_64bits_ids, usb_redir_cap_32bits_bulk_length}) {
        usbredirparser_caps_set_cap(capabilities.data(), capability);
    }
    usbredirparser_init(link.parser.get(), "quorvel-bench", capabilities.data(),
                        capabilities.size(), usbredirparser_fl_usb_host);
    return flush(link);
}

void UsbRedirection_close(UsbRedirection& link) {
    if (link.fd >= 0) {
        close(link.fd);
    }
    link.fd = -1;
    link.parser.reset();
}

bool UsbRedirection_receive(UsbRedirection& link) {
    return usbredirparser_do_read(link.parser.get()) == 0;
}

bool UsbRedirection_send(UsbRedirection& link) {
    for (UsbCompletion& completion : link.device->completed) {
        if (completion.endpoint == 0) {
            sendControl(link, completion);
        } else {
            sendBulk(link, completion);
        }
    }
    link.device->completed.clear();
    return flush(link);
}
