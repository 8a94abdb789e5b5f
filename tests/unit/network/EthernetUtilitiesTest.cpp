#include "EthernetUtilities.h"

#include "Leftovers.h"
#include "Threads.h"
#include "World.h"
#include "WorldTree.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <netdb.h>
#include <string>

namespace {

constexpr const char* interfacesFile = "/etc/network/interfaces";
constexpr const char* routeFile = "/proc/net/route";
constexpr const char* macFile = "/sys/class/net/eth0/address";
const std::string routeHeader = "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\n";

class Ethernet : public testing::Test {
protected:
    Ethernet() {
        World_clearSyslog();
        setInterfaces("eth0 192.168.1.40 255.255.255.0\neth0:0 169.254.0.1 255.255.0.0\n");
    }
    ~Ethernet() override {
        WrappedCalls_reset();
        World_removeFile(interfacesFile);
        World_removeFile(routeFile);
        World_removeFile(macFile);
    }

    static void setInterfaces(const std::string& lines) {
        std::ofstream(World_folder() + "/" + WorldFile::addresses, std::ios::trunc) << lines;
    }
};

TEST_F(Ethernet, AddressAndNetmaskAreThoseOfTheNamedInterface) {
    EXPECT_STREQ(get_ip_address("eth0"), "192.168.1.40");
    EXPECT_STREQ(get_netmask("eth0"), "255.255.255.0");
    EXPECT_STREQ(get_ip_address("eth0:0"), "169.254.0.1");
    EXPECT_STREQ(get_netmask("eth0:0"), "255.255.0.0");
    EXPECT_TRUE(World_syslog().empty());
}

TEST_F(Ethernet, OwnAddressesAreThoseOfAllInterfaces) {
    const auto isOwn = [](const char* text) {
        in_addr address{};
        EXPECT_EQ(inet_pton(AF_INET, text, &address), 1);
        return Ethernet_isOwnAddress(address);
    };
    EXPECT_TRUE(isOwn("192.168.1.40"));
    EXPECT_TRUE(isOwn("169.254.0.1"));
    EXPECT_FALSE(isOwn("192.168.1.41"));
    setInterfaces("eth0\n");
    EXPECT_FALSE(isOwn("192.168.1.40"));
    WrappedCalls_fail(Call::listInterfaces, ENOBUFS);
    EXPECT_TRUE(isOwn("192.168.1.40")) << "nothing is known against it";
}

TEST_F(Ethernet, ARestartIsTold) {
    static int told = 0;
    network_registerRestartListener([] { ++told; });
    World_clearCommands();
    network_restart();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(World_commands().size(), 1U) << "first restarted, then told";
    network_registerRestartListener(nullptr);
    network_restart();
    EXPECT_EQ(told, 1);
}

TEST_F(Ethernet, UnknownInterfaceHasNeitherAddressNorNetmask) {
    EXPECT_STREQ(get_ip_address("eth0"), "192.168.1.40"); // which must not be kept
    for (const char* name : {"eth1", "eth", "eth00", ""}) {
        EXPECT_STREQ(get_ip_address(name), "") << name;
        EXPECT_STREQ(get_netmask(name), "") << name;
    }
}

TEST_F(Ethernet, FailedLookUpsAreLoggedAndGiveAnEmptyText) {
    WrappedCalls_fail(Call::listInterfaces, ENOBUFS);
    EXPECT_STREQ(get_ip_address("eth0"), "");
    EXPECT_TRUE(World_syslogContains("getifaddrs errno=" + std::to_string(ENOBUFS)));
    WrappedCalls_fail(Call::nameAddress, EAI_FAIL);
    EXPECT_STREQ(get_netmask("eth0"), "");
    EXPECT_TRUE(
        World_syslogContains(std::string("getnameinfo() failed: ") + gai_strerror(EAI_FAIL)));
}

TEST_F(Ethernet, LookUpsLeaveNothingBehind) {
    EXPECT_TRUE(leavesNothingBehind([] { get_ip_address("eth0"); }));
    EXPECT_TRUE(leavesNothingBehind([] { Ethernet_isOwnAddress({}); }));
    World_writeFile(macFile, "00:11:22:aa:bb:cc\n");
    EXPECT_TRUE(leavesNothingBehind([] { get_mac_address("eth0"); }));
    World_writeFile(routeFile, routeHeader + "eth0\t00000000\t0101A8C0\t0003\n");
    EXPECT_TRUE(leavesNothingBehind([] { get_gateway("eth0"); }));
}

TEST_F(Ethernet, HardwareAddressIsTheFirst17CharactersOfItsFile) {
    World_writeFile(macFile, "00:11:22:aa:bb:cc\n");
    EXPECT_STREQ(get_mac_address("eth0"), "00:11:22:aa:bb:cc");
    World_writeFile(macFile, "00:11:22:aa:bb:cc:dd:ee:ff\n");
    EXPECT_STREQ(get_mac_address("eth0"), "00:11:22:aa:bb:cc");
    EXPECT_TRUE(World_syslog().empty());
}

TEST_F(Ethernet, MissingOrEmptyHardwareAddressIsLoggedAndGivesAnEmptyText) {
    World_removeFile(macFile);
    EXPECT_STREQ(get_mac_address("eth0"), "");
    EXPECT_TRUE(
        World_syslogContains("fopen /sys/class/net/eth0/address errno=" + std::to_string(ENOENT)));
    World_writeFile(macFile, "");
    EXPECT_STREQ(get_mac_address("eth0"), "");
    EXPECT_TRUE(World_syslogContains("fgets errno="));
}

TEST_F(Ethernet, GatewayIsThatOfTheFirstDefaultRoute) {
    struct Case {
        const char* legend;
        std::string content;
        const char* gateway; ///< null for none
    };
    const Case cases[] = {
        {"one", routeHeader + "eth0\t00000000\t0101A8C0\t0003\n", "192.168.1.1"},
        {"behind another route",
         routeHeader + "eth0\t0001A8C0\t00000000\t0001\neth0\t00000000\t0201A8C0\t0003\n",
         "192.168.1.2"},
        {"of another interface",
         routeHeader + "wlan0\t00000000\t0100000A\t0003\neth0\t00000000\t0201A8C0\t0003\n",
         "10.0.0.1"},
        {"none", routeHeader + "eth0\t0001A8C0\t00000000\t0001\n", nullptr},
        {"header only", routeHeader, nullptr},
        {"empty", "", nullptr},
        {"cut line", routeHeader + "eth0\t00000000\n", nullptr},
        {"rubbish", std::string(2000, 'x') + "\n\n%s %n\n", nullptr},
    };
    for (const Case& row : cases) {
        World_writeFile(routeFile, row.content);
        EXPECT_STREQ(get_gateway("eth0"), row.gateway) << row.legend;
    }
    World_removeFile(routeFile);
    EXPECT_EQ(get_gateway("eth0"), nullptr);
}

struct Texts {
    std::string first;
    std::string second;
};

void* readTexts(void* context) {
    *static_cast<Texts*>(context) = {get_ip_address("eth0:0"), get_netmask("eth0:0")};
    return nullptr;
}

TEST_F(Ethernet, EachThreadHasBuffersOfItsOwn) {
    const char* address = get_ip_address("eth0");
    const char* netmask = get_netmask("eth0");
    Texts texts;
    pthread_t thread{};
    ASSERT_EQ(Thread_startJoinable(&thread, "reader", readTexts, &texts), 0);
    pthread_join(thread, nullptr);
    EXPECT_EQ(texts.first, "169.254.0.1");
    EXPECT_EQ(texts.second, "255.255.0.0");
    EXPECT_STREQ(address, "192.168.1.40");
    EXPECT_STREQ(netmask, "255.255.255.0");
}

const std::string dhcpFile =
    "auto lo\niface lo inet loopback\n\nauto eth0\niface eth0 inet dhcp\n\n"
    "auto eth0:0\niface eth0:0 inet static\n    address 169.254.0.1\n";

TEST_F(Ethernet, ConfigurationIsReadFromTheInterfacesFile) {
    World_writeFile(interfacesFile, "iface eth0 inet static\n  address 10.0.0.5\n"
                                    "  netmask 255.0.0.0\n  gateway 10.0.0.1\n");
    int method = -1;
    char address[ethernetTextSize];
    char netmask[ethernetTextSize];
    char gateway[ethernetTextSize];
    EXPECT_EQ(get_conf_inet("eth0", &method, address, netmask, gateway), 0);
    EXPECT_EQ(method, 1);
    EXPECT_STREQ(address, "10.0.0.5");
    EXPECT_STREQ(netmask, "255.0.0.0");
    EXPECT_STREQ(gateway, "10.0.0.1");
    EXPECT_EQ(get_conf_inet("eth0", &method, nullptr, nullptr, nullptr), 0);
}

TEST_F(Ethernet, AnInterfaceMayHaveANameOfOneLetter) {
    World_writeFile(interfacesFile, "iface e inet dhcp\n");
    int method = -1;
    EXPECT_EQ(get_conf_inet("e", &method, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(method, 0);
}

TEST_F(Ethernet, LongValuesOfTheInterfacesFileAreCut) {
    World_writeFile(interfacesFile,
                    "iface eth0 inet static\n address " + std::string(5000, '1') + "\n");
    int method = -1;
    char address[ethernetTextSize];
    EXPECT_EQ(get_conf_inet("eth0", &method, address, nullptr, nullptr), 0);
    EXPECT_EQ(address, std::string(15, '1'));
}

TEST_F(Ethernet, MissingFileOrNameIsAnErrorWithAnUnknownMethodAndEmptyTexts) {
    int method = 0;
    char address[ethernetTextSize] = "x";
    EXPECT_EQ(get_conf_inet("eth0", &method, address, nullptr, nullptr), 1);
    EXPECT_EQ(method, -1);
    EXPECT_STREQ(address, "");
    World_writeFile(interfacesFile, dhcpFile);
    EXPECT_EQ(get_conf_inet("", &method, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(get_conf_inet(nullptr, &method, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(method, -1);
}

TEST_F(Ethernet, ConfigurationIsWrittenAndReadBack) {
    World_writeFile(interfacesFile, dhcpFile);
    EXPECT_EQ(set_conf_inet("eth0", 1, "10.0.0.5", "255.0.0.0", ""), 0);
    const std::string stanza =
        "iface eth0 inet static\n    address 10.0.0.5\n    netmask 255.0.0.0\n\n";
    std::string expected = dhcpFile;
    expected.replace(expected.find("iface eth0 inet"), strlen("iface eth0 inet dhcp\n\n"), stanza);
    EXPECT_EQ(World_readFile(interfacesFile), expected);
    EXPECT_EQ(set_conf_inet("eth0", 0, "10.0.0.5", nullptr, nullptr), 0);
    EXPECT_EQ(World_readFile(interfacesFile), dhcpFile);
}

TEST_F(Ethernet, FileThatCannotBeReadOrHasNoStanzaIsNotWritten) {
    EXPECT_EQ(set_conf_inet("eth0", 0, "", "", ""), 1);
    EXPECT_EQ(World_readFile(interfacesFile), "");
    World_writeFile(interfacesFile, "auto eth0:0\n");
    EXPECT_EQ(set_conf_inet("eth0", 0, "", "", ""), 1);
    EXPECT_EQ(World_readFile(interfacesFile), "auto eth0:0\n");
    EXPECT_TRUE(World_syslogContains("/etc/network/interfaces has no stanza of eth0"));
}

TEST_F(Ethernet, FileThatCannotBeWrittenStaysWhole) {
    for (const Call call : {Call::writeFile, Call::syncFile, Call::renameFile}) {
        World_writeFile(interfacesFile, dhcpFile);
        WrappedCalls_fail(call, ENOSPC);
        World_clearSyslog();
        EXPECT_EQ(set_conf_inet("eth0", 1, "10.0.0.5", "255.0.0.0", ""), 1);
        EXPECT_EQ(World_readFile(interfacesFile), dhcpFile);
        EXPECT_TRUE(World_syslogContains("Cannot write /etc/network/interfaces errno=28"));
    }
}

TEST_F(Ethernet, WhatAKilledWriterHasLeftIsRemoved) {
    const std::string left = std::string(interfacesFile) + ".new.2147483646.1"; // of no process
    World_writeFile(interfacesFile, dhcpFile);
    World_writeFile(left, "auto lo\n");
    network_removeAbandonedFiles();
    EXPECT_EQ(World_readFile(left), "");
    EXPECT_EQ(World_readFile(interfacesFile), dhcpFile);
}

TEST_F(Ethernet, LargeFileIsKeptWhole) {
    const std::string comment = "# " + std::string(300000, 'x') + "\n";
    World_writeFile(interfacesFile, comment + dhcpFile + comment);
    EXPECT_EQ(set_conf_inet("eth0", 0, "", "", ""), 0);
    EXPECT_EQ(World_readFile(interfacesFile), comment + dhcpFile + comment);
}

TEST_F(Ethernet, RestartRunsTheNetworkScript) {
    World_clearCommands();
    network_restart();
    ASSERT_EQ(World_commands().size(), 1U);
    EXPECT_EQ(World_commands().front(), "/etc/init.d/network restart");
}

} // namespace
