#include "UsbDevice.h"

#include "UsbTmcCommands.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

UsbDevice::UsbDevice(int number)
    : socketPath(World_folder() + "/usbtmc" + std::to_string(number) + ".sock"),
      nodePath("/dev/usbtmc" + std::to_string(number)) {
    for (const sensor_qry_param_t& row : sensor_qry_param) {
        replies[row.text] = row.reply == reply_float ? "0.000000\n" : "0\n";
    }
    setReply("*STB?", "1");
    setReply("*OPC?", "1");
    setReply("SYST:IDEN:MOD?", "3164");
    setReply("SYST:IDEN:SN?", "123456789");
    setReply("SYST:IDEN:FWR?", "2.05");
    setReply("PNP:AVA?", "1");
    setReply("PNP:FILE:SIZE?", "4");
    setReply("PNP:FILE:BLOC:TOT?", "1");
    setReply("PNP:FILE:BLOC:DATA?", usbDevice_block("none"));
    listen();
    plug();
    server = std::thread([this] { serve(); });
}

UsbDevice::~UsbDevice() {
    isOver = true;
    breakConnection();
    server.join();
    close(listener);
    World_removeFile(nodePath);
    unlink(socketPath.c_str());
}

void UsbDevice::listen() {
    unlink(socketPath.c_str());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(socketPath.size(), sizeof address.sun_path);
    snprintf(address.sun_path, sizeof address.sun_path, "%s", socketPath.c_str());
    listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 4), 0);
}

void UsbDevice::plug() {
    isPlugged = true;
    World_writeFile(nodePath, "");
}

void UsbDevice::unplug() {
    isPlugged = false;
    World_removeFile(nodePath);
    breakConnection();
}

void UsbDevice::breakConnection() {
    const int connection = present;
    if (connection >= 0) {
        shutdown(connection, SHUT_RDWR);
    }
}

void UsbDevice::setReply(const std::string& query, const std::string& reply) {
    setRawReply(query, reply.empty() ? reply : reply + "\n");
}

void UsbDevice::setRawReply(const std::string& query, const std::string& reply) {
    const std::lock_guard lock(mutex);
    replies[query] = reply;
}

void UsbDevice::refuse(const std::string& command, int error) {
    const std::lock_guard lock(mutex);
    refused[command] = error;
}

void UsbDevice::accept(const std::string& command) {
    const std::lock_guard lock(mutex);
    refused.erase(command);
}

void UsbDevice::queueError(int error) {
    const std::lock_guard lock(mutex);
    errors.push_back(error);
}

void UsbDevice::setErrorCount(const std::string& count) {
    const std::lock_guard lock(mutex);
    claimedErrors = count + "\n";
}

void UsbDevice::setErrorSilence() {
    const std::lock_guard lock(mutex);
    keepsErrors = true;
}

void UsbDevice::setListener(std::function<void(const std::string&)> listenerToUse) {
    const std::lock_guard lock(mutex);
    onMessage = std::move(listenerToUse);
}

void UsbDevice::setRequestError(int error) {
    const std::lock_guard lock(mutex);
    requestError = error;
}

std::vector<std::string> UsbDevice::messages() const {
    const std::lock_guard lock(mutex);
    return received;
}

std::vector<std::string> UsbDevice::conversation() const {
    std::vector<std::string> result;
    for (const std::string& message : messages()) {
        if (message.rfind("SYST:ERR", 0) != 0) {
            result.push_back(message);
        }
    }
    return result;
}

void UsbDevice::clearMessages() {
    const std::lock_guard lock(mutex);
    received.clear();
}

bool UsbDevice::hasReceived(const std::string& message) const {
    for (const std::string& one : messages()) {
        if (one == message) {
            return true;
        }
    }
    return false;
}

int UsbDevice::connectionCount() const {
    return connections;
}

void UsbDevice::serve() {
    while (!isOver) {
        std::array<pollfd, 1> waiting = {pollfd{listener, POLLIN, 0}};
        if (poll(waiting.data(), waiting.size(), 20) <= 0) {
            continue;
        }
        const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        present = connection;
        ++connections;
        while (isPlugged && serveConnection(connection)) {
        }
        present = -1;
        close(connection);
    }
}

bool UsbDevice::serveConnection(int connection) {
    std::array<char, 512> packet{};
    const ssize_t count = recv(connection, packet.data(), packet.size() - 1, 0);
    if (count <= 0) {
        return false;
    }
    const std::string text(packet.data() + 1, static_cast<size_t>(count) - 1);
    if (packet[0] == 'W') {
        answer(connection, text.substr(0, text.find('\n')));
        return true;
    }
    const std::lock_guard lock(mutex);
    received.push_back(std::string("<") + packet[0] + ">");
    const std::string acknowledgement = "A" + std::to_string(requestError);
    send(connection, acknowledgement.data(), acknowledgement.size(), MSG_NOSIGNAL);
    return true;
}

void UsbDevice::answer(int connection, const std::string& message) {
    std::function<void(const std::string&)> tell;
    {
        const std::lock_guard lock(mutex);
        received.push_back(message);
        tell = onMessage;
    }
    if (tell) {
        tell(message);
    }
    std::string reply;
    {
        const std::lock_guard lock(mutex);
        reply = replyTo(message);
    }
    send(connection, "A0", 2, MSG_NOSIGNAL);
    if (!reply.empty()) {
        reply.insert(0, "R");
        send(connection, reply.data(), reply.size(), MSG_NOSIGNAL);
    }
}

std::string UsbDevice::replyTo(const std::string& message) {
    if (message == "SYST:ERR:COUN?") {
        if (!claimedErrors.empty()) {
            return claimedErrors;
        }
        return replies[message].empty() ? "" : std::to_string(errors.size()) + "\n";
    }
    if (message == "SYST:ERR?") {
        if (keepsErrors) {
            return {};
        }
        if (errors.empty()) {
            return "0,\"No error\"\n";
        }
        const int error = errors.front();
        errors.erase(errors.begin());
        return std::to_string(error) + ",\"Refused\"\n";
    }
    if (message.find('?') != std::string::npos) {
        return replies[message];
    }
    take(message);
    return {};
}

void UsbDevice::take(const std::string& setting) {
    const size_t blank = setting.find(' ');
    if (blank == std::string::npos) {
        return;
    }
    const std::string command = setting.substr(0, blank);
    if (refused.count(command) != 0) {
        errors.push_back(refused[command]);
        return;
    }
    replies[command + "?"] = setting.substr(blank + 1) + "\n";
}

std::string usbDevice_block(const std::string& data) {
    std::array<char, 8> header{};
    snprintf(header.data(), header.size(), "#3%03zu", data.size());
    return header.data() + data;
}
