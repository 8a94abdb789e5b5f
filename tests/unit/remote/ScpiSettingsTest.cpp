// Serial and LAN settings.
#include "CommandForms.h"
#include "Configuration.h"
#include "EthernetUtilities.h"
#include "PulseConfig.h"
#include "RemoteInstrument.h"
#include "ScpiSerialTables.h"
#include "SerialConfig.h"
#include "SerialPort.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// clang-format off
const std::vector<std::string> serialPatterns = {
    "SYSTem:COMMunicate:RS232:BAUD?",
    "SYSTem:COMMunicate:RS232:BAUD",
    "SYSTem:COMMunicate:RS232:LENGTH?",
    "SYSTem:COMMunicate:RS232:LENGTH",
    "SYSTem:COMMunicate:RS232:STOPbits?",
    "SYSTem:COMMunicate:RS232:STOPbits",
    "SYSTem:COMMunicate:RS232:PARity?",
    "SYSTem:COMMunicate:RS232:PARity",
    "SYSTem:COMMunicate:RS232:FLOWcontrol?",
    "SYSTem:COMMunicate:RS232:RESTart",
};

const std::vector<std::string> lanPatterns = {
    "SYSTem:COMMunicate:LAN:ADDRess?",
    "SYSTem:COMMunicate:LAN:ADDRess",
    "SYSTem:COMMunicate:LAN:GATeway?",
    "SYSTem:COMMunicate:LAN:GATeway",
    "SYSTem:COMMunicate:LAN:MASk?",
    "SYSTem:COMMunicate:LAN:MASk",
    "SYSTem:COMMunicate:LAN:DHCP[:STATe]?",
    "SYSTem:COMMunicate:LAN:DHCP[:STATe]",
    "SYSTem:COMMunicate:LAN:MAC?",
    "SYSTem:COMMunicate:LAN:RESTart",
    "SYSTem:PRESet",
};
// clang-format on

namespace {

constexpr const char* interfacesFile = "/etc/network/interfaces";
constexpr const char* pulseFile = "/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf";
constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";
constexpr const char* illegal = "-224,\"Illegal parameter value\"";
constexpr const char* missing = "-109,\"Missing parameter\"";
constexpr const char* restartCommand = "/etc/init.d/network restart";
const std::string alias = "auto eth0:0\niface eth0:0 inet static\n    address 192.168.1.1\n";

/// An instrument whose serial command port is there, at 9600 8N1.
struct SerialMeter : RemoteInstrument {
    SerialMeter() {
        World_resetSerialSettings();
        terminal = World_plugTerminal(serialCommandPortName);
        SerialConfig_registerWithSettings();
        setConfigurationFile(nullptr);
        readConfigFile();
        SerialPort_Open(serialCommandPortName);
        send("SYST:COMM:RS232:BAUD 9600;LENGTH 8;STOP 1;PAR N;REST");
        EXPECT_EQ(errors(), "");
    }
    ~SerialMeter() {
        SerialPort_Close();
        World_unplugTerminal(serialCommandPortName);
    }
    SerialMeter(const SerialMeter&) = delete;
    SerialMeter& operator=(const SerialMeter&) = delete;

    static std::string port() {
        return World_serialSettings(serialCommandPortName);
    }
    int terminal = -1;
};

TEST(ScpiSerialSettings, AreStagedAndAppliedByARestart) {
    SerialMeter meter;
    EXPECT_EQ(SerialMeter::port(), "9600 8 N 1");
    expectExchange(meter, {"SYST:COMM:RS232:BAUD 1200;LENGTH 7;STOP 2;PAR E", "", ""});
    EXPECT_EQ(SerialMeter::port(), "9600 8 N 1");
    expectExchange(meter, {"SYST:COMM:RS232:REST", "", ""});
    EXPECT_EQ(SerialMeter::port(), "1200 7 E 2");
    expectExchange(meter,
                   {"SYST:COMM:RS232:BAUD?;LENGTH?;STOP?;PAR?;FLOW?", "1200;7;2;e;none\r\n", ""});
    EXPECT_NE(World_readFile(settingsFile).find("serialSpeed 1200"), std::string::npos);
    const termios applied = WrappedCalls_lastTerminal();
    EXPECT_EQ(applied.c_ispeed, B1200);
    EXPECT_EQ(applied.c_ospeed, B1200);
    // Nothing is staged any more.
    expectExchange(meter, {"SYST:COMM:RS232:PAR O", "", ""});
    expectExchange(meter, {"SYST:COMM:RS232:REST", "", ""});
    EXPECT_EQ(SerialMeter::port(), "1200 7 O 2");
}

TEST(ScpiSerialSettings, TakeEveryValueOfTheirTables) {
    SerialMeter meter;
    for (const baud_item_t& item : baud_table) {
        const std::string value = std::to_string(item.value);
        meter.send("SYST:COMM:RS232:BAUD " + value + ";REST");
        EXPECT_EQ(meter.send("SYST:COMM:RS232:BAUD?"), value + "\r\n");
        EXPECT_EQ(item.label, value);
    }
    for (const char* parity : {"n", "E", "o"}) {
        meter.send(std::string("SYST:COMM:RS232:PAR ") + parity + ";REST");
        EXPECT_EQ(meter.send("SYST:COMM:RS232:PAR?"),
                  std::string(1, static_cast<char>(std::tolower(parity[0]))) + "\r\n");
    }
    EXPECT_EQ(meter.errors(), "");
}

TEST(ScpiSerialSettings, RefuseWhatIsNotInTheirTables) {
    const Exchange exchanges[] = {
        {"SYST:COMM:RS232:BAUD 19200", "", illegal},
        {"SYST:COMM:RS232:BAUD", "", missing},
        {"SYST:COMM:RS232:BAUD ABC", "", illegal},
        {"SYST:COMM:RS232:BAUD -1", "", illegal},
        {"SYST:COMM:RS232:BAUD 1E99", "", illegal},
        {"SYST:COMM:RS232:LENGTH 9", "", illegal},
        {"SYST:COMM:RS232:STOP 0", "", illegal},
        {"SYST:COMM:RS232:PAR X", "", illegal},
        {"SYST:COMM:RS232:PAR", "", missing},
        {"SYST:COMM:RS232:PAR \"\"", "", illegal},
        {"SYST:COMM:RS232:PAR #HE", "", illegal},
        {"SYST:COMM:RS232:BAUD 1200.9", "", ""},
        {"SYST:COMM:RS232:STOP 2.5", "", ""},
        {"SYST:COMM:RS232:BAUD 1200,1", "", "-108,\"Parameter not allowed\""},
    };
    for (const Exchange& exchange : exchanges) {
        RemoteInstrument instrument;
        expectExchange(instrument, exchange);
    }
}

TEST(ScpiSerialSettings, ForgetAStagedSpeedWhenAnIllegalOneComes) {
    SerialMeter meter;
    meter.send("SYST:COMM:RS232:BAUD 1200;LENGTH 7");
    expectExchange(meter, {"SYST:COMM:RS232:BAUD 19200", "", illegal});
    meter.send("SYST:COMM:RS232:REST");
    EXPECT_EQ(SerialMeter::port(), "9600 7 N 1");
}

TEST(ScpiSerialSettings, StageTheFirstLetterOfAParityThatIsRefused) {
    SerialMeter meter;
    meter.send("SYST:COMM:RS232:PAR E;REST");
    expectExchange(meter, {"SYST:COMM:RS232:PAR NONE", "", illegal});
    EXPECT_EQ(scpi.load()->newTty.parity, 1);
    meter.send("SYST:COMM:RS232:REST");
    EXPECT_EQ(SerialMeter::port(), "9600 8 N 1");
}

TEST(ScpiSerialSettings, FailWithoutThePort) {
    RemoteInstrument instrument;
    for (const char* line :
         {"SYST:COMM:RS232:BAUD?", "SYST:COMM:RS232:LENGTH?", "SYST:COMM:RS232:STOP?",
          "SYST:COMM:RS232:PAR?", "SYST:COMM:RS232:REST"}) {
        expectExchange(instrument, {line, "", "-200,\"Execution error\""});
    }
}

/// An instrument whose interfaces file holds this stanza of "eth0".
struct LanMeter : RemoteInstrument {
    explicit LanMeter(const std::string& stanza) {
        World_writeFile(interfacesFile, stanza + alias);
        World_clearCommands();
    }
    static std::string file() {
        const std::string text = World_readFile(interfacesFile);
        return text.ends_with(alias) ? text.substr(0, text.size() - alias.size()) : text;
    }
    static size_t restarts() {
        size_t count = 0;
        for (const std::string& command : World_commands()) {
            count += command.find(restartCommand) != std::string::npos ? 1 : 0;
        }
        return count;
    }
};

const std::string dhcp = "iface eth0 inet dhcp\n\n";
const std::string fixedAddress = "iface eth0 inet static\n    address 10.1.2.3\n"
                                 "    netmask 255.255.0.0\n    gateway 10.1.0.1\n\n";

std::string stanza(const std::string& address, const std::string& netmask,
                   const std::string& gateway) {
    return "iface eth0 inet static\n    address " + address + "\n    netmask " + netmask + "\n" +
           (gateway.empty() ? "" : "    gateway " + gateway + "\n") + "\n";
}

struct LanRestart {
    std::string before;
    std::string staged; ///< commands of SYST:COMM:LAN
    std::string after;
    std::string errors;
};

TEST(ScpiLanSettings, AreAppliedByARestart) {
    const LanRestart restarts[] = {
        {dhcp, "DHCP 0;ADDR 10.0.0.5", stanza("10.0.0.5", "255.255.255.0", ""), ""},
        {dhcp, "DHCP 0;ADDR 10.0.0.5;MASK 255.0.0.0;GAT 10.0.0.1",
         stanza("10.0.0.5", "255.0.0.0", "10.0.0.1"), ""},
        {dhcp, "DHCP 0;ADDR '10.0.0.5'", stanza("10.0.0.5", "255.255.255.0", ""), ""},
        {fixedAddress, "DHCP 0;ADDR 10.0.0.5", stanza("10.0.0.5", "255.255.255.0", "10.1.0.1"), ""},
        // Keeping the address: the file's netmask, but never a staged one.
        {fixedAddress, "DHCP 0", stanza("10.1.2.3", "255.255.0.0", "10.1.0.1"), ""},
        {fixedAddress, "DHCP 0;MASK 255.0.0.0", stanza("10.1.2.3", "255.255.255.0", "10.1.0.1"),
         ""},
        {"iface eth0 inet static\n    address 10.1.2.3\n\n", "DHCP 0",
         stanza("10.1.2.3", "255.255.255.0", ""), ""},
        {fixedAddress, "DHCP 1", dhcp, ""},
        {dhcp, "DHCP 0", dhcp, illegal},
    };
    for (const LanRestart& restart : restarts) {
        LanMeter meter(restart.before);
        SCOPED_TRACE(restart.staged);
        expectExchange(meter, {"SYST:COMM:LAN:" + restart.staged, "", ""});
        EXPECT_EQ(LanMeter::file(), restart.before) << "staged only";
        expectExchange(meter, {"SYST:COMM:LAN:REST", "", restart.errors});
        EXPECT_EQ(LanMeter::file(), restart.after);
        EXPECT_EQ(LanMeter::restarts(), restart.errors.empty() ? 1U : 0U);
        EXPECT_EQ(scpi.load()->newLan.address[0], '\0');
        EXPECT_EQ(scpi.load()->newLan.netmask[0], '\0');
        EXPECT_EQ(scpi.load()->newLan.gateway[0], '\0');
    }
}

TEST(ScpiLanSettings, KeepTheStagedMethodOverARestart) {
    LanMeter meter(fixedAddress);
    meter.send("SYST:COMM:LAN:DHCP 0;REST;ADDR 10.0.0.9;REST");
    EXPECT_EQ(meter.errors(), "");
    EXPECT_EQ(LanMeter::file(), stanza("10.0.0.9", "255.255.255.0", "10.1.0.1"));
    EXPECT_EQ(scpi.load()->newLan.method, 1);
    meter.send("SYST:COMM:LAN:DHCP 1;REST;DHCP 0;REST");
    EXPECT_EQ(meter.errors(), illegal);
    EXPECT_EQ(scpi.load()->newLan.method, 0) << "a refused restart goes back to DHCP";
}

TEST(ScpiLanSettings, ForgetAStagedNetmaskWhenAnotherOneIsRefused) {
    LanMeter meter(dhcp);
    meter.send("SYST:COMM:LAN:DHCP 0;ADDR 10.0.0.9;MASK 255.0.0.0;MASK 0.0.0.0");
    EXPECT_EQ(meter.errors(), illegal);
    meter.send("SYST:COMM:LAN:REST");
    EXPECT_EQ(meter.errors(), "");
    EXPECT_EQ(LanMeter::file(), stanza("10.0.0.9", "255.255.255.0", ""));
}

TEST(ScpiLanSettings, FailWithoutAStanzaToReplace) {
    LanMeter meter("auto lo\n");
    expectExchange(meter, {"SYST:COMM:LAN:REST", "", "-200,\"Execution error\""});
    EXPECT_EQ(LanMeter::file(), "auto lo\n");
    EXPECT_EQ(LanMeter::restarts(), 0U);
}

TEST(ScpiLanSettings, RefuseTextsThatAreNoAddresses) {
    const Exchange exchanges[] = {
        {"SYST:COMM:LAN:ADDR 192.168.1", "", illegal},
        {"SYST:COMM:LAN:ADDR 192.168.1.256", "", illegal},
        {"SYST:COMM:LAN:ADDR '192.168.100.1000'", "", illegal},
        {"SYST:COMM:LAN:ADDR 1234567.12345678.1.1", "", illegal},
        {"SYST:COMM:LAN:ADDR ABC", "", illegal},
        {"SYST:COMM:LAN:ADDR ''", "", illegal},
        {"SYST:COMM:LAN:ADDR", "", missing},
        {"SYST:COMM:LAN:GAT 1.2.3", "", illegal},
        {"SYST:COMM:LAN:MASK 255.255.0.255", "", illegal},
        {"SYST:COMM:LAN:MASK 0.0.0.0", "", illegal},
        {"SYST:COMM:LAN:MASK 255.255.255.255", "", ""},
        {"SYST:COMM:LAN:DHCP 2", "", illegal},
        {"SYST:COMM:LAN:DHCP ON", "", illegal},
        {"SYST:COMM:LAN:DHCP", "", missing},
        {"SYST:COMM:LAN:ADDR 255.255.255.255", "", ""},
    };
    for (const Exchange& exchange : exchanges) {
        RemoteInstrument instrument;
        expectExchange(instrument, exchange);
    }
}

TEST(ScpiLanSettings, ReplaceAStagedTextAndClearItWhenAnotherIsRefused) {
    RemoteInstrument instrument;
    instrument.send("SYST:COMM:LAN:ADDR 100.100.100.100");
    instrument.send("SYST:COMM:LAN:ADDR 10.0.0.5");
    EXPECT_STREQ(scpi.load()->newLan.address, "10.0.0.5");
    instrument.send("SYST:COMM:LAN:ADDR 10.0.0.500");
    EXPECT_STREQ(scpi.load()->newLan.address, "");
    EXPECT_EQ(instrument.errors(), illegal);
}

TEST(ScpiLanSettings, AnswerHowTheInterfaceRuns) {
    LanMeter meter(dhcp);
    const char* gateway = get_gateway("eth0");
    expectExchange(meter,
                   {"SYST:COMM:LAN:ADDR?", get_ip_address("eth0") + std::string("\r\n"), ""});
    expectExchange(meter, {"SYST:COMM:LAN:MASK?", get_netmask("eth0") + std::string("\r\n"), ""});
    expectExchange(meter, {"SYST:COMM:LAN:GAT?",
                           (gateway == nullptr ? "" : gateway) + std::string("\r\n"), ""});
    expectExchange(meter,
                   {"SYST:COMM:LAN:MAC?", get_mac_address("eth0") + std::string("\r\n"), ""});
    expectExchange(meter, {"SYST:COMM:LAN:DHCP?", "1\r\n", ""});
    World_writeFile(interfacesFile, fixedAddress);
    expectExchange(meter, {"SYST:COMM:LAN:DHCP:STAT?", "0\r\n", ""});
}

TEST(ScpiLanSettings, AreAQueryWhereverTheLineHoldsAQuestionMark) {
    RemoteInstrument instrument;
    const std::string address = get_ip_address("eth0");
    expectExchange(instrument, {"SYST:COMM:LAN:ADDR 10.0.0.5;:SYST:COMM:LAN:ADDR?",
                                address + address + "\r\n", "-108,\"Parameter not allowed\""});
    EXPECT_STREQ(scpi.load()->newLan.address, "");
}

TEST(ScpiPreset, BringsPortLanAndPulseConfigurationBack) {
    SerialMeter meter;
    World_writeFile(interfacesFile, fixedAddress + alias);
    World_removeFile(pulseFile);
    sensorPortHandler_setPulseConfigFile(nullptr);
    World_clearCommands();
    meter.send("SYST:COMM:RS232:BAUD 300;LENGTH 7;STOP 2;PAR O;REST");
    meter.send("SYST:COMM:RS232:BAUD 600");
    meter.send("SYST:COMM:LAN:DHCP 0;ADDR 10.0.0.5");
    EXPECT_NE(World_readFile(settingsFile).find("serialSpeed 300"), std::string::npos);
    expectExchange(meter, {"SYST:PRES", "", ""});
    EXPECT_EQ(SerialMeter::port(), "9600 8 N 1");
    EXPECT_EQ(WrappedCalls_lastTerminal().c_ispeed, B9600);
    EXPECT_EQ(WrappedCalls_lastTerminal().c_ospeed, B9600);
    EXPECT_NE(World_readFile(settingsFile).find("serialSpeed 9600"), std::string::npos);
    EXPECT_EQ(LanMeter::file(), dhcp);
    EXPECT_EQ(LanMeter::restarts(), 1U);
    EXPECT_EQ(scpi.load()->newTty.speed, 0);
    EXPECT_EQ(scpi.load()->newLan.method, 0);
    EXPECT_STREQ(scpi.load()->newLan.address, "");
    EXPECT_NE(World_readFile(pulseFile), "");
}

} // namespace
