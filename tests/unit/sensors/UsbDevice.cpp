#include "UsbDevice.h"

#include "PlugAndPlay316x.h"
#include "World.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

UsbDevice::UsbDevice(uint32_t number) : wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    auto sensor = Sensor316x_create("3164");
    sensor->serialNumber = "123456789";
    sensor->firmware = "2.05";
    sensor->period_s = 0.001;
    sensor->measuring_s = 0;
    sensor->listener = [this](const std::string& message) {
        received.push_back(message);
        if (onMessage) {
            onMessage(message);
        }
    };
    UsbPortPlayer_open(player, number, World_folder());
    player.isHasty = true;
    EXPECT_TRUE(UsbPortPlayer_plug(player, std::move(*sensor), 0));
    server = std::thread([this] { serve(); });
}

UsbDevice::~UsbDevice() {
    {
        const Lock lock(mutex);
        isOver = true;
    }
    wakeServer();
    server.join();
    UsbPortPlayer_unplug(player, 0);
    close(wake);
}

void UsbDevice::wakeServer() const {
    eventfd_write(wake, 1);
}

void UsbDevice::serve() {
    std::vector<pollfd> waiting;
    for (;;) {
        waiting.assign(1, {wake, POLLIN, 0});
        {
            const Lock lock(mutex);
            if (isOver) {
                return;
            }
            UsbPortPlayer_service(player, 0);
            UsbPortPlayer_collect(player, waiting);
        }
        poll(waiting.data(), waiting.size(), -1);
        eventfd_t count = 0;
        eventfd_read(wake, &count);
    }
}

void UsbDevice::unplug() {
    {
        const Lock lock(mutex);
        UsbPortPlayer_unplug(player, 0);
    }
    wakeServer();
}

void UsbDevice::breakConnection() {
    {
        const Lock lock(mutex);
        UsbPortPlayer_hangUp(player);
    }
    wakeServer();
}

void UsbDevice::clearSettings() {
    const Lock lock(mutex);
    player.sensor->settings.values = {};
}

void UsbDevice::setReply(const std::string& query, const std::string& reply) {
    setRawReply(query, reply.empty() ? reply : reply + "\n");
}

void UsbDevice::setRawReply(const std::string& query, const std::string& reply) {
    const Lock lock(mutex);
    player.sensor->scripted[query] = reply;
}

void UsbDevice::loseNextAnswer(const std::string& query) {
    const Lock lock(mutex);
    player.lostQuery = query;
}

void UsbDevice::fault(const std::string& name) {
    const Lock lock(mutex);
    EXPECT_TRUE(UsbPortPlayer_setFault(player, name, 0));
}

void UsbDevice::refuse(const std::string& command, int error) {
    const Lock lock(mutex);
    player.sensor->refused[command] = error;
}

void UsbDevice::accept(const std::string& command) {
    const Lock lock(mutex);
    player.sensor->refused.erase(command);
}

void UsbDevice::queueError(int error) {
    const Lock lock(mutex);
    player.sensor->errors.push_back({error, "Queued"});
}

void UsbDevice::setListener(Listener listener) {
    const Lock lock(mutex);
    onMessage = std::move(listener);
}

void UsbDevice::setRequestError(int error) {
    const Lock lock(mutex);
    player.sensor->requestError = error;
}

std::vector<std::string> UsbDevice::messages() const {
    const Lock lock(mutex);
    return received;
}

std::vector<std::string> UsbDevice::conversation() const {
    std::vector<std::string> result = messages();
    std::erase_if(result,
                  [](const std::string& message) { return message.starts_with("SYST:ERR"); });
    return result;
}

void UsbDevice::clearMessages() {
    const Lock lock(mutex);
    received.clear();
}

bool UsbDevice::hasReceived(const std::string& message) const {
    const Lock lock(mutex);
    return std::ranges::find(received, message) != received.end();
}

uint32_t UsbDevice::connectionCount() const {
    const Lock lock(mutex);
    return player.openings;
}

std::string usbDevice_block(const std::string& data) {
    return PlugAndPlay316x_block(data, 1);
}
