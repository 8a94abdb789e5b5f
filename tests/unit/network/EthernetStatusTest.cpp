#include "EthernetStatus.h"

#include "World.h"
#include "WorldTree.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string>

namespace {

constexpr char interfacesFile[] = "/etc/network/interfaces";
constexpr char routeFile[] = "/proc/net/route";
constexpr char macFile[] = "/sys/class/net/eth0/address";
constexpr char carrierFile[] = "/sys/class/net/eth0/carrier";

class EthernetStatusOfTheWorld : public testing::Test {
protected:
    EthernetStatusOfTheWorld() {
        std::ofstream(World_folder() + "/" + WorldFile::addresses, std::ios::trunc)
            << "eth0 192.168.1.40 255.255.255.0\neth0:0 10.1.2.3 255.0.0.0\n";
        World_writeFile(interfacesFile, "iface eth0 inet dhcp\n");
        World_writeFile(routeFile, "eth0\t00000000\t0101A8C0\n");
        World_writeFile(macFile, "02:88:30:00:00:01\n");
        World_writeFile(carrierFile, "1\n");
        World_clearSyslog();
    }
    ~EthernetStatusOfTheWorld() override {
        WrappedCalls_reset();
        for (const char* file : {interfacesFile, routeFile, macFile, carrierFile}) {
            World_removeFile(file);
        }
    }
    static long failuresTold() {
        const auto lines = World_syslog();
        return std::ranges::count_if(
            lines, [](const std::string& line) { return line.find("fopen") != line.npos; });
    }
    EthernetStatus status{};
};

} // namespace

TEST_F(EthernetStatusOfTheWorld, TellsHowTheInterfaceRuns) {
    EthernetStatus_refresh(&status);
    EXPECT_STREQ(status.method, "DHCP");
    EXPECT_STREQ(status.address, "192.168.1.40");
    EXPECT_STREQ(status.netmask, "255.255.255.0");
    EXPECT_STREQ(status.gateway, "192.168.1.1");
    EXPECT_STREQ(status.fixedAddress, "10.1.2.3");
    EXPECT_STREQ(status.mac, "02:88:30:00:00:01");
    EXPECT_STREQ(status.link, "up");
}

TEST_F(EthernetStatusOfTheWorld, FollowsWhatChanges) {
    EthernetStatus_refresh(&status);
    World_writeFile(interfacesFile, "iface eth0 inet static\n");
    World_writeFile(carrierFile, "0\n");
    World_writeFile(macFile, "02:88:30:00:00:02\n");
    EthernetStatus_refresh(&status);
    EXPECT_STREQ(status.method, "Static");
    EXPECT_STREQ(status.link, "down");
    EXPECT_STREQ(status.mac, "02:88:30:00:00:02");
}

TEST_F(EthernetStatusOfTheWorld, AnEmptyCarrierFileSaysNothingWhateverFailedBefore) {
    World_writeFile(carrierFile, "");
    errno = EINVAL;
    EthernetStatus_refresh(&status);
    EXPECT_STREQ(status.link, "");
}

TEST_F(EthernetStatusOfTheWorld, AnInterfaceThatIsSwitchedOffIsDown) {
    WrappedCalls_fail(Call::readFile, EINVAL);
    EthernetStatus_refresh(&status);
    EXPECT_STREQ(status.link, "down");
}

TEST_F(EthernetStatusOfTheWorld, WithoutInterfaceNothingIsKnownAndItIsLoggedOnce) {
    std::ofstream(World_folder() + "/" + WorldFile::addresses, std::ios::trunc) << "lo\n";
    for (const char* file : {interfacesFile, routeFile, macFile, carrierFile}) {
        World_removeFile(file);
    }
    for (int look = 0; look < 3; ++look) {
        EthernetStatus_refresh(&status);
        for (const char* text : {status.method, status.address, status.netmask, status.gateway,
                                 status.fixedAddress, status.mac, status.link}) {
            EXPECT_STREQ(text, "");
        }
    }
    EXPECT_EQ(failuresTold(), 1);
    World_writeFile(carrierFile, "1\n");
    World_writeFile(macFile, "02:88:30:00:00:01\n");
    EthernetStatus_refresh(&status);
    EXPECT_STREQ(status.mac, "02:88:30:00:00:01") << "it has come";
}

TEST_F(EthernetStatusOfTheWorld, ALinkFileThatCannotBeReadSaysNothing) {
    WrappedCalls_fail(Call::readFile, EIO);
    EthernetStatus_refresh(&status);
    EXPECT_STREQ(status.link, "");
}
