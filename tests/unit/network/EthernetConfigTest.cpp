#include "EthernetConfig.h"

#include "World.h"
#include "WorldTree.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

constexpr const char* interfacesFile = "/etc/network/interfaces";
constexpr const char* routeFile = "/proc/net/route";
const std::string dhcpFile = "auto eth0\niface eth0 inet dhcp\n\nauto eth0:0\n";
const std::string staticFile = "auto eth0\niface eth0 inet static\n    address 10.0.0.5\n"
                               "    netmask 255.0.0.0\n\nauto eth0:0\n";

class EthernetSettings : public testing::Test {
protected:
    EthernetSettings() {
        std::ofstream(World_folder() + "/" + WorldFile::addresses, std::ios::trunc)
            << "eth0 192.168.1.40 255.255.255.0\n";
        World_writeFile(routeFile, "eth0\t00000000\t0101A8C0\n");
        World_writeFile(interfacesFile, dhcpFile);
        initEthConfig();
    }
    ~EthernetSettings() override {
        destroyEthConfig();
        World_removeFile(interfacesFile);
        World_removeFile(routeFile);
    }

    static void edit(int method, const char* address, const char* netmask, const char* gateway) {
        ethConfig->newIp.method = method;
        snprintf(ethConfig->newIp.address, ethernetTextSize, "%s", address);
        snprintf(ethConfig->newIp.netmask, ethernetTextSize, "%s", netmask);
        snprintf(ethConfig->newIp.gateway, ethernetTextSize, "%s", gateway);
    }
};

TEST_F(EthernetSettings, RecordIsEmptyAndHasItsValidators) {
    EXPECT_EQ(ethConfig->method, 0);
    EXPECT_STREQ(ethConfig->newIp.address, "");
    EXPECT_TRUE(ethConfig->checkIp("10.0.0.5"));
    EXPECT_FALSE(ethConfig->checkNetmask("10.0.0.5"));
    destroyEthConfig();
    EXPECT_EQ(ethConfig, nullptr);
    destroyEthConfig();
}

TEST_F(EthernetSettings, RunningValuesAreThoseOfTheConfiguredMethod) {
    ethernetGetConfig(ethConfig);
    EXPECT_EQ(ethConfig->method, ethernetMethodDhcp);
    EXPECT_STREQ(ethConfig->ipDhcp.address, "192.168.1.40");
    EXPECT_STREQ(ethConfig->ipDhcp.netmask, "255.255.255.0");
    EXPECT_STREQ(ethConfig->ipDhcp.gateway, "192.168.1.1");
    EXPECT_STREQ(ethConfig->ipStatic.address, "");

    World_writeFile(interfacesFile, staticFile);
    ethernetGetConfig(ethConfig);
    EXPECT_EQ(ethConfig->method, ethernetMethodStatic);
    EXPECT_STREQ(ethConfig->ipStatic.address, "192.168.1.40");
}

TEST_F(EthernetSettings, MissingValuesAreNotCopied) {
    snprintf(ethConfig->ipDhcp.address, ethernetTextSize, "1.2.3.4");
    snprintf(ethConfig->ipDhcp.gateway, ethernetTextSize, "1.2.3.1");
    std::ofstream(World_folder() + "/" + WorldFile::addresses, std::ios::trunc)
        << "eth9 1.1.1.1 255.0.0.0\n";
    World_removeFile(routeFile);
    ethernetGetConfig(ethConfig);
    EXPECT_STREQ(ethConfig->ipDhcp.address, "1.2.3.4");
    EXPECT_STREQ(ethConfig->ipDhcp.gateway, "1.2.3.1");
}

TEST_F(EthernetSettings, UnknownMethodLeavesTheRecordAlone) {
    World_removeFile(interfacesFile);
    ethConfig->method = ethernetMethodStatic;
    ethernetGetConfig(ethConfig);
    EXPECT_EQ(ethConfig->method, ethernetMethodStatic);
    EXPECT_STREQ(ethConfig->ipStatic.address, "");
}

TEST_F(EthernetSettings, StaticValuesAreWrittenAndTakenOver) {
    edit(ethernetMethodStatic, "10.0.0.5", "255.0.0.0", "");
    EXPECT_TRUE(ethernetSetConfig(ethConfig));
    EXPECT_EQ(World_readFile(interfacesFile), staticFile);
    EXPECT_EQ(ethConfig->method, ethernetMethodStatic);
    EXPECT_STREQ(ethConfig->ipStatic.address, "10.0.0.5");
    EXPECT_STREQ(ethConfig->ipStatic.netmask, "255.0.0.0");
}

TEST_F(EthernetSettings, EmptyNetmaskBecomesThatOfAClassCNetwork) {
    edit(ethernetMethodStatic, "10.0.0.5", "", "10.0.0.1");
    EXPECT_TRUE(ethernetSetConfig(ethConfig));
    EXPECT_NE(
        World_readFile(interfacesFile).find("    netmask 255.255.255.0\n    gateway 10.0.0.1\n\n"),
        std::string::npos);
    EXPECT_STREQ(ethConfig->newIp.netmask, "255.255.255.0");
}

TEST_F(EthernetSettings, StaticWithoutAnAddressWritesNothingAndGoesBackToTheCurrentMethod) {
    for (const char* address : {"", "1.2.3."}) {
        edit(ethernetMethodStatic, address, "255.0.0.0", "");
        EXPECT_FALSE(ethernetSetConfig(ethConfig)) << address;
        EXPECT_EQ(ethConfig->newIp.method, ethernetMethodDhcp);
        EXPECT_EQ(ethConfig->method, ethernetMethodDhcp);
        EXPECT_EQ(World_readFile(interfacesFile), dhcpFile);
    }
    edit(ethernetMethodStatic, "1.2.3.4", "255.0.0.0", ""); // seven characters
    EXPECT_TRUE(ethernetSetConfig(ethConfig));
}

TEST_F(EthernetSettings, DhcpIsWritten) {
    World_writeFile(interfacesFile, staticFile);
    ethConfig->method = ethernetMethodStatic;
    edit(ethernetMethodDhcp, "10.0.0.5", "", "");
    EXPECT_TRUE(ethernetSetConfig(ethConfig));
    EXPECT_EQ(ethConfig->method, ethernetMethodDhcp);
    EXPECT_EQ(World_readFile(interfacesFile), dhcpFile);
}

} // namespace
