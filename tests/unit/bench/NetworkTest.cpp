// The bench's network: its interfaces, and servers that nobody outside can reach.

#include "World.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cstdlib>
#include <fstream>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string dottedQuad(const sockaddr* address) {
    char text[INET_ADDRSTRLEN] = "?";
    inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text, sizeof text);
    return text;
}

std::vector<std::string> listInterfaces() {
    std::vector<std::string> found;
    ifaddrs* list = nullptr;
    EXPECT_EQ(getifaddrs(&list), 0);
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        found.push_back(entry->ifa_name);
        if (entry->ifa_addr->sa_family == AF_INET) {
            found.back() +=
                " " + dottedQuad(entry->ifa_addr) + " " + dottedQuad(entry->ifa_netmask);
        }
    }
    freeifaddrs(list);
    return found;
}

void writeAddresses(const std::string& text) {
    std::ofstream(World_folder() + "/ifaddrs", std::ios::trunc) << text;
}

int server(in_addr_t host, uint16_t port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    const bool isOpen =
        bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        listen(fd, 1) == 0;
    if (!isOpen) {
        close(fd);
    }
    return isOpen ? fd : -1;
}

sockaddr_in addressOf(int fd) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    return address;
}

} // namespace

TEST(Network, TheListShowsTheBenchsInterfaces) {
    EXPECT_THAT(listInterfaces(),
                ElementsAre("lo 127.0.0.1 255.0.0.0", "eth0", "eth0 192.168.1.50 255.255.255.0",
                            "eth0:0 192.168.2.1 255.255.255.0"));
}

TEST(Network, TheListFollowsTheWorldsFile) {
    writeAddresses("eth0 10.0.0.7 255.0.0.0\nbroken line here\n\neth0:0 nonsense 1\n");
    EXPECT_THAT(listInterfaces(), ElementsAre("eth0 10.0.0.7 255.0.0.0"));
    writeAddresses("");
    EXPECT_THAT(listInterfaces(), IsEmpty());
    unlink((World_folder() + "/ifaddrs").c_str());
    ifaddrs* list = nullptr;
    EXPECT_EQ(getifaddrs(&list), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(Network, AServerOnAnyAddressIsOnLoopbackOnly) {
    const int fd = server(INADDR_ANY, 0);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(ntohl(addressOf(fd).sin_addr.s_addr), INADDR_LOOPBACK);
    close(fd);
}

TEST(Network, TheInstrumentsPortIsAPortOfTheBenchsOwn) {
    const int fd = server(INADDR_ANY, 5025);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(ntohl(addressOf(fd).sin_addr.s_addr), INADDR_LOOPBACK);
    EXPECT_EQ(ntohs(addressOf(fd).sin_port), World_commandPort());
    EXPECT_EQ(server(INADDR_ANY, 5025), -1) << "one server has the port";

    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(5025);
    EXPECT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(client);
    close(fd);
}

TEST(Network, TheBenchsPortIsChosenByTheWorldOrTheEnvironment) {
    const std::string portFile = World_folder() + "/port";
    const int helper = server(INADDR_LOOPBACK, 0);
    const uint16_t chosen = ntohs(addressOf(helper).sin_port);
    close(helper);
    std::ofstream(portFile, std::ios::trunc) << chosen << "\n";
    const int byWorld = server(INADDR_ANY, 5025);
    ASSERT_GE(byWorld, 0);
    EXPECT_EQ(ntohs(addressOf(byWorld).sin_port), chosen);
    close(byWorld);

    std::ofstream(portFile, std::ios::trunc) << "1\n";
    setenv("QUORVEL_BENCH_PORT", std::to_string(chosen).c_str(), 1);
    const int byEnvironment = server(INADDR_ANY, 5025);
    ASSERT_GE(byEnvironment, 0);
    EXPECT_EQ(ntohs(addressOf(byEnvironment).sin_port), chosen);
    close(byEnvironment);
    unsetenv("QUORVEL_BENCH_PORT");
    std::ofstream(portFile, std::ios::trunc) << "0\n";
}

TEST(Network, ALocalSocketAtAnInstrumentPathIsInTheWorld) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "/dev/log");
    const int logger = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(logger, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(access(World_realPath("/dev/log").c_str(), F_OK), 0);
    const int client = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(send(client, "hello", 5, 0), 5);
    char text[8];
    EXPECT_EQ(recv(logger, text, sizeof text, 0), 5);
    close(client);
    close(logger);
}
