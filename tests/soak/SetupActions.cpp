#include "SetupActions.h"

#include "BenchText.h"
#include "RemoteCheck.h"
#include "WorldFolder.h"

#include <array>

namespace {

constexpr int commitLimit_ms = 60000;
constexpr const char* noError = "0,\"No error\"";

void expectReply(Soak& soak, const std::string& line, const std::string& expected,
                 int limit_ms = soakReplyLimit_ms) {
    const std::string reply = RemoteCheck_exchange(soak, soak.tcp, line, limit_ms);
    if (!reply.empty() && reply != expected) {
        Report_finding(soak.report, "reply to a command",
                       line + " answered " + reply + ", not " + expected);
    }
}

} // namespace

bool SetupActions_pulseMode(Soak& soak) {
    if (!Truth_isPast(soak.truth, soak.settingsChanged, 2)) {
        return false;
    }
    SoakSettings changed = soak.settings;
    changed.isPulse = !changed.isPulse;
    const std::string line =
        changed.isPulse ? "SYST:PULS ON;:SYST:ERR?" : "SYST:PULS OFF;:SYST:ERR?";
    Report_action(soak.report, "remote: pulse mode", line);
    expectReply(soak, line, noError);
    Soak_changeSettings(soak, changed);
    return true;
}

bool SetupActions_commit(Soak& soak) {
    for (int channel = 0; channel < static_cast<int>(soakChannelCount); ++channel) {
        const int port = Truth_portOfChannel(soak.truth, channel);
        const bool isPossible = port >= 0 && Truth_isUsb(static_cast<size_t>(port)) &&
                                soak.settings.isPulse &&
                                Truth_isPast(soak.truth, soak.settingsChanged, 15) &&
                                Truth_isLayoutSettled(soak.truth) &&
                                Truth_mustMeasure(soak.truth, static_cast<size_t>(port));
        if (!isPossible) {
            continue;
        }
        const int frequency_MHz = Soak_pick(soak, 1, 100);
        const std::string stage =
            BenchText_format("SYST:PULS:CONF %d;:SENS:FREQ:AUTO OFF,%d;:SENS:FREQ %d,%d;:SYST:ERR?",
                             channel + 1, channel + 1, frequency_MHz, channel + 1);
        const std::string commit =
            BenchText_format("SYST:PULS:CONF:COMM %d;:SYST:ERR?", channel + 1);
        const std::string readBack = BenchText_format("SYST:PULS:CONF %d;:SENS:FREQ? %d;:SYST:ERR?",
                                                      channel + 1, channel + 1);
        Report_action(soak.report, "remote: commit", stage + " ; " + commit);
        expectReply(soak, stage, noError);
        expectReply(soak, commit, noError, commitLimit_ms);
        const std::string reply = RemoteCheck_exchange(soak, soak.tcp, readBack, commitLimit_ms);
        if (!RemoteCheck_isFrequency(reply, frequency_MHz)) {
            Report_finding(soak.report, "committed setting",
                           readBack + " answered " + reply + ", not " +
                               std::to_string(frequency_MHz));
        }
        Report_checked(soak.report, "committed setting");
        return true;
    }
    return false;
}

bool SetupActions_serialPort(Soak& soak) {
    if (soak.protocol == SoakProtocol::legacy) {
        return false;
    }
    constexpr std::array speeds = {300, 600, 1200, 2400, 4800, 9600};
    const int speed = speeds.at(static_cast<size_t>(Soak_pick(soak, 0, 5)));
    const int stopBits = Soak_pick(soak, 1, 2);
    constexpr std::array parities = {'n', 'e', 'o'};
    const char parity = parities.at(static_cast<size_t>(Soak_pick(soak, 0, 2)));
    // A question mark would make every command of its line a query.
    const std::string line =
        BenchText_format("SYST:COMM:RS232:BAUD %d;STOP %d;PAR %c;REST", speed, stopBits, parity);
    Report_action(soak.report, "remote: serial port", line);
    soak.tcp.send(line + "\n");
    expectReply(soak, "SYST:ERR?", noError);
    expectReply(soak, "SYST:COMM:RS232:BAUD?;STOP?;PAR?;LENGTH?",
                BenchText_format("%d;%d;%c;8", speed, stopBits, parity));
    return true;
}

bool SetupActions_lan(Soak& soak) {
    const bool isStatic = Soak_pick(soak, 0, 1) == 0;
    const std::string address = BenchText_format("10.%d.%d.%d", Soak_pick(soak, 0, 255),
                                                 Soak_pick(soak, 0, 255), Soak_pick(soak, 1, 254));
    const std::string line = isStatic ? "SYST:COMM:LAN:ADDR " + address + ";MASK 255.255.0.0;DHCP 0"
                                      : std::string("SYST:COMM:LAN:DHCP 1");
    Report_action(soak.report, "remote: LAN", line);
    soak.tcp.send(line + "\n");
    expectReply(soak, "SYST:COMM:LAN:REST\nSYST:ERR?", noError);
    const std::string stanza =
        isStatic ? "iface eth0 inet static\n    address " + address + "\n    netmask 255.255.0.0\n"
                 : std::string("iface eth0 inet dhcp\n\n");
    if (Bench_readFile(soak.bench, "/etc/network/interfaces").find(stanza) == std::string::npos) {
        Report_finding(soak.report, "interfaces file", "does not hold " + stanza);
    }
    Report_checked(soak.report, "interfaces file");
    return true;
}

bool SetupActions_disk(Soak& soak) {
    constexpr int slowest_ms = 500;
    const std::string line =
        Soak_pick(soak, 0, 1) == 0
            ? std::string("disk none")
            : BenchText_format("disk slow=%dms", Soak_pick(soak, 1, slowest_ms));
    Report_action(soak.report, "disk", line);
    return Bench_do(soak.bench, line);
}

bool SetupActions_supply(Soak& soak) {
    std::string line;
    switch (Soak_pick(soak, 0, 3)) {
    case 0:
        line = "ac on";
        break;
    case 1:
        line = "ac off";
        break;
    default:
        line = BenchText_format("battery volts=%.2f temp=%d", Soak_pick(soak, 1090, 1250) / 100.0,
                                Soak_pick(soak, 5, 60));
    }
    Report_action(soak.report, "supply", line);
    Bench_do(soak.bench, line);
    soak.supplyChanged = SoakClock::now();
    return true;
}
