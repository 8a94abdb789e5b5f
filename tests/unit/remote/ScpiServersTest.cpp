// The servers' threads, as clients see them.
#include "CSimpleTimer.h"
#include "CommandForms.h"
#include "Configuration.h"
#include "Files.h"
#include "LogManager.h"
#include "RemoteInstrument.h"
#include "ScpiCommands.h"
#include "ScpiParser.h"
#include "ScpiSerialServer.h"
#include "ScpiTcpServer.h"
#include "SerialConfig.h"
#include "SerialPort.h"
#include "World.h"
#include "WorldTree.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <clocale>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int limit_ms = 10000;

/// Client of the command port.
class Client {
public:
    Client() : fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(World_commandPort());
        isConnected =
            connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    void send(std::string_view bytes) const {
        ::send(fd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }
    /// Reads until this many lines have come, or the time is up.
    std::string readLines(long count) const {
        return readFrom(fd.get(), count);
    }
    std::string ask(std::string_view line) const {
        send(std::string(line) + "\n");
        return readLines(1);
    }
    /// Hangs up at once, so that the other side meets an error.
    void reset() {
        const linger none{1, 0};
        setsockopt(fd.get(), SOL_SOCKET, SO_LINGER, &none, sizeof none);
        fd.close();
    }
    bool hasReply() const {
        pollfd waited{fd.get(), POLLIN, 0};
        return poll(&waited, 1, 0) > 0;
    }
    bool isClosedByServer() const {
        char byte;
        pollfd waited{fd.get(), POLLIN, 0};
        return poll(&waited, 1, limit_ms) > 0 && recv(fd.get(), &byte, 1, 0) <= 0;
    }
    static std::string readFrom(int from, long count) {
        std::string text;
        while (std::count(text.begin(), text.end(), '\n') < count) {
            pollfd waited{from, POLLIN, 0};
            char buffer[4096];
            if (poll(&waited, 1, limit_ms) <= 0) {
                return text + "(time is up)";
            }
            const ssize_t got = read(from, buffer, sizeof buffer);
            if (got <= 0) {
                return text + "(closed)";
            }
            text.append(buffer, static_cast<size_t>(got));
        }
        return text;
    }

    ScopedFd fd;
    bool isConnected;
};

// Before the servers of this program run.

/// Exit status of a process that runs this part of the program, or -1.
int exitStatusOf(void (*part)()) {
    const pid_t child = fork();
    if (child == 0) {
        LogManager_create();
        SensorManager_Create();
        initScpiParser();
        part();
        _exit(0);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(ScpiServersStart, EndsTheProgramWithoutTheSerialPort) {
    World_unplugTerminal(serialCommandPortName);
    World_clearSyslog();
    EXPECT_EQ(exitStatusOf(scpiSerialServerThread), 255);
    EXPECT_TRUE(World_syslogContains("Could not open /dev/ttyS4"));
    EXPECT_TRUE(World_syslogContains("USER_WARNING:  Serial command interface is not enabled."));
    EXPECT_TRUE(World_syslogContains("createSerialServer() failed"));
}

TEST(ScpiServersStart, EndsTheProgramWithoutOneOfItsThreads) {
    World_clearSyslog();
    EXPECT_EQ(exitStatusOf([] {
                  WrappedCalls_fail(Call::threadCreate, EAGAIN);
                  startScpiParser();
              }),
              255);
    EXPECT_TRUE(World_syslogContains("Fail...Cannot spawn the scpiTcpServer."));
    EXPECT_FALSE(World_syslogContains("Fail...Cannot spawn the scpiSerialServer."));
    EXPECT_EQ(exitStatusOf([] {
                  WrappedCalls_fail(Call::threadCreate, EAGAIN, 1, 1);
                  startScpiParser();
              }),
              255);
    EXPECT_TRUE(World_syslogContains("Fail...Cannot spawn the scpiSerialServer."));
}

TEST(ScpiServersStart, EndsTheProgramWithoutASocket) {
    World_clearSyslog();
    EXPECT_EQ(exitStatusOf([] {
                  WrappedCalls_fail(Call::openSocket, EMFILE);
                  scpiTcpServerThread();
              }),
              255);
    EXPECT_TRUE(World_syslogContains("socket() failed"));
    EXPECT_FALSE(World_syslogContains("bind() failed"));
}

TEST(ScpiServersStart, EndsTheProgramWhenThePortIsTaken) {
    const ScopedFd taken(createTcpServer(scpiTcpPort));
    World_clearSyslog();
    EXPECT_EQ(exitStatusOf(scpiTcpServerThread), 255);
    EXPECT_TRUE(World_syslogContains("bind() failed"));
}

TEST(ScpiServersStart, GoesOnWhenListeningFails) {
    World_clearSyslog();
    WrappedCalls_fail(Call::listenSocket, EADDRINUSE);
    const ScopedFd server(createTcpServer(scpiTcpPort));
    WrappedCalls_reset();
    EXPECT_TRUE(server.isOpen());
    EXPECT_FALSE(World_syslogContains("listen() failed"));
}

/// Leaves the port to its next user with everything that the server sets the other way round.
void misconfigurePort() {
    ASSERT_NE(SerialPort_Open(serialCommandPortName), -1);
    termios settings{};
    ASSERT_EQ(SerialPort_GetConfig(&settings), 0);
    settings.c_cflag |= CRTSCTS;
    settings.c_cflag &= ~static_cast<tcflag_t>(CREAD | CLOCAL);
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ISIG);
    settings.c_lflag |= ECHO | ECHOE | ECHONL | IEXTEN;
    settings.c_iflag |= IGNCR | INPCK | INLCR | ICRNL | IMAXBEL | IXON | IXANY | IXOFF;
    settings.c_oflag |= OPOST;
    settings.c_cc[VEOF] = settings.c_cc[VEOL] = settings.c_cc[VEOL2] = 'x';
    ASSERT_EQ(SerialPort_SetConfig(&settings), 0);
    SerialPort_Close();
}

TEST(ScpiServersStart, SetsThePortUpForLinesWhateverItWasBefore) {
    World_resetSerialSettings();
    const int terminal = World_plugTerminal(serialCommandPortName);
    ASSERT_GE(terminal, 0);
    setConfigurationFile(nullptr);
    misconfigurePort();
    ASSERT_EQ(createSerialServer(serialCommandPortName), 0);
    termios settings{};
    ASSERT_EQ(SerialPort_GetConfig(&settings), 0);
    const tcflag_t control = CREAD | CLOCAL | CRTSCTS;
    EXPECT_EQ(settings.c_cflag & control, static_cast<tcflag_t>(CREAD | CLOCAL));
    const tcflag_t local = ICANON | ISIG | ECHO | ECHOE | ECHONL | IEXTEN;
    EXPECT_EQ(settings.c_lflag & local, static_cast<tcflag_t>(ICANON | ISIG));
    const tcflag_t input = IGNCR | INPCK | INLCR | ICRNL | IMAXBEL | IXON | IXANY | IXOFF;
    EXPECT_EQ(settings.c_iflag & input, 0U);
    EXPECT_EQ(settings.c_oflag & OPOST, 0U);
    EXPECT_EQ(settings.c_cc[VEOF], 0x04);
    EXPECT_EQ(settings.c_cc[VEOL], 0x10);
    EXPECT_EQ(settings.c_cc[VEOL2], 0x00);
    SerialPort_Close();
    World_unplugTerminal(serialCommandPortName);
    World_removeFile("/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf");
}

TEST(ScpiServersStart, LeavesTheSerialPortToTheLegacyProtocol) {
    World_unplugTerminal(serialCommandPortName);
    EXPECT_EQ(exitStatusOf([] {
                  SerialPort_Close();
                  setConfigurationFile(nullptr);
                  configuration_setUseLegacy(true);
                  startScpiParser();
                  const bool serves =
                      World_waitUntil([] { return World_commandPort() != 0; }, limit_ms);
                  _exit(serves && *SerialPort_getfd() == -1 ? 7 : 1);
              }),
              7);
    World_removeFile("/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf");
}

/// Starts both servers once for this test program: their threads never end.
class ScpiServers : public testing::Test {
protected:
    static void SetUpTestSuite() {
        if (terminal >= 0) {
            return;
        }
        World_resetSerialSettings();
        terminal = World_plugTerminal(serialCommandPortName);
        SerialConfig_registerWithSettings();
        setConfigurationFile(nullptr);
        readConfigFile();
        SensorManager_Create();
        startScpiParser();
        ASSERT_TRUE(World_waitUntil([] { return World_commandPort() != 0; }, limit_ms));
        // The port is known when it is bound, before anybody listens there.
        ASSERT_TRUE(World_waitUntil([] { return Client().isConnected; }, limit_ms));
        ASSERT_TRUE(World_waitUntil(isServedOnThePort, limit_ms));
        for (const char* thread : {"scpiTcpServerThread", "scpiSerialServerThread"}) {
            ASSERT_TRUE(World_waitUntil(
                [&] { return World_syslogContains(std::string(thread) + "(): Starting..."); },
                limit_ms));
        }
    }
    /// The port has line mode once the server has set it up.
    static bool isServedOnThePort() {
        termios settings{};
        return *SerialPort_getfd() >= 0 && SerialPort_GetConfig(&settings) == 0 &&
               (settings.c_lflag & ICANON) != 0;
    }
    static std::string askTerminal(const std::string& line) {
        const std::string sent = line + "\n";
        EXPECT_EQ(write(terminal, sent.data(), sent.size()), static_cast<ssize_t>(sent.size()));
        return Client::readFrom(terminal, 1);
    }
    static int terminal;
};

int ScpiServers::terminal = -1;

TEST_F(ScpiServers, AnswerOnBothLinks) {
    const Client client;
    ASSERT_TRUE(client.isConnected);
    const std::string identity = client.ask("*IDN?");
    EXPECT_EQ(identity.substr(0, 21), "QUORVEL-TECHNOLOGIES,");
    ASSERT_TRUE(World_waitUntil([&] { return askTerminal("*IDN?") == identity; }, limit_ms));
}

TEST_F(ScpiServers, GiveTheTerminalItsSpecialCharacters) {
    termios settings{};
    ASSERT_EQ(SerialPort_GetConfig(&settings), 0);
    EXPECT_EQ(settings.c_cc[VEOF], 0x04);
    EXPECT_EQ(settings.c_cc[VEOL], 0x10);
    EXPECT_EQ(settings.c_cc[VEOL2], 0x00);
}

/// The server's end of the client's connection: the descriptor whose peer the client is.
int serverEndOf(const Client& client) {
    sockaddr_in own{};
    socklen_t size = sizeof own;
    EXPECT_EQ(getsockname(client.fd.get(), reinterpret_cast<sockaddr*>(&own), &size), 0);
    for (int fd = 0; fd < FD_SETSIZE; ++fd) {
        sockaddr_in peer{};
        size = sizeof peer;
        if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
            peer.sin_family == AF_INET && peer.sin_port == own.sin_port) {
            return fd;
        }
    }
    return -1;
}

TEST_F(ScpiServers, SetAConnectionUpForPromptRepliesAndClientsThatVanish) {
    struct {
        const char* legend;
        int level;
        int option;
        int value;
    } const options[] = {
        {"no delay", IPPROTO_TCP, TCP_NODELAY, 1},
        {"probing", SOL_SOCKET, SO_KEEPALIVE, 1},
        {"seconds of silence before a probe", IPPROTO_TCP, TCP_KEEPIDLE, 10},
        {"seconds between probes", IPPROTO_TCP, TCP_KEEPINTVL, 5},
        {"milliseconds without an answer", IPPROTO_TCP, TCP_USER_TIMEOUT, 20000},
    };
    const Client client;
    ASSERT_EQ(client.ask("*OPC?"), "1\r\n");
    const int server = serverEndOf(client);
    for (const auto& one : options) {
        int value = -1;
        socklen_t size = sizeof value;
        EXPECT_EQ(getsockopt(server, one.level, one.option, &value, &size), 0) << one.legend;
        EXPECT_EQ(value, one.value) << one.legend;
    }
    timeval limit{};
    socklen_t size = sizeof limit;
    EXPECT_EQ(getsockopt(server, SOL_SOCKET, SO_RCVTIMEO, &limit, &size), 0);
    EXPECT_EQ(limit.tv_sec, 10);
    EXPECT_EQ(limit.tv_usec, 0);
}

TEST_F(ScpiServers, KeepTheirErrorQueuesApart) {
    const Client client;
    client.send("*CLS;FOO\n");
    EXPECT_EQ(client.ask("SYST:ERR:COUN?"), "1\r\n");
    EXPECT_EQ(askTerminal("*CLS;:SYST:ERR:COUN?"), "0\r\n");
    EXPECT_EQ(client.ask("SYST:ERR?"), "-113,\"Undefined header;FOO\"\r\n");
}

/// The error that the command alone gives; the answer's end is the error queue's.
std::string errorOf(const std::function<std::string(const std::string&)>& ask,
                    const std::string& header) {
    const std::string answer = ask("*CLS;" + header + ";:SYST:ERR?");
    const size_t quote = answer.rfind(",\"");
    const size_t code = quote == std::string::npos ? quote : answer.find_last_of(";", quote);
    return quote == std::string::npos ? answer : answer.substr(code + 1);
}

void expectEveryCommand(const std::function<std::string(const std::string&)>& ask) {
    for (size_t row = 0; row < ScpiCommands_count(); ++row) {
        const std::string pattern = scpi_commands[row].pattern;
        for (const std::string& header : CommandForms_all(pattern)) {
            EXPECT_FALSE(errorOf(ask, header).starts_with("-113")) << header;
        }
        const std::string miss = "X" + CommandForms_spelled(pattern, false, false);
        EXPECT_TRUE(errorOf(ask, miss).starts_with(miss[1] == '*' ? "-1" : "-113")) << miss;
    }
}

TEST_F(ScpiServers, FindEveryCommandOverTcp) {
    const Client client;
    expectEveryCommand([&](const std::string& line) { return client.ask(line); });
}

TEST_F(ScpiServers, FindEveryCommandOnTheTerminal) {
    expectEveryCommand(askTerminal);
}

TEST_F(ScpiServers, WriteAndReadNumbersWithAPointWhateverTheDesktopDoes) {
    setenv("LOCPATH", QUORVEL_LOCALES, 1);
    ASSERT_NE(setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    ASSERT_STREQ(localeconv()->decimal_point, ",");
    RemoteInstrument::plug(sensorPort_USB1, 0);
    SENSOR_MEASUREMENTS reading = SensorMeasurements_none();
    reading.fwdPwrVal = 0.5F;
    scpiUpdateMeasurement(sensorPort_USB1, reading);
    const Client client;
    EXPECT_EQ(client.ask("MEAS:AVER?;:SENS:FREQ 1.5;FREQ?"), "0.5;1.5\r\n");
    EXPECT_EQ(askTerminal("MEAS:AVER?;:SENS:FREQ 2.5;FREQ?"), "0.5;2.5\r\n");
    RemoteInstrument::unplug(sensorPort_USB1);
    setlocale(LC_ALL, "C");
}

TEST_F(ScpiServers, ServeOneClientAfterTheOther) {
    auto first = std::make_unique<Client>();
    EXPECT_EQ(first->ask("*OPC?"), "1\r\n");
    const Client second;
    second.send("*TST?\n");
    EXPECT_EQ(first->ask("*OPC?"), "1\r\n");
    pollfd waited{second.fd.get(), POLLIN, 0};
    EXPECT_EQ(poll(&waited, 1, 0), 0) << "not served while the first stays";
    first.reset();
    EXPECT_EQ(second.readLines(1), "0\r\n");
}

void setInterfaces(const std::string& lines) {
    std::ofstream(World_folder() + "/" + WorldFile::addresses, std::ios::trunc) << lines;
}

TEST_F(ScpiServers, DropAClientWhoseAddressARestartHasTaken) {
    World_writeFile("/etc/network/interfaces", "iface eth0 inet dhcp\n\n");
    const Client client;
    setInterfaces("eth0 10.0.0.5 255.255.255.0\n");
    client.send("SYST:COMM:LAN:REST\n");
    EXPECT_TRUE(client.isClosedByServer());
    setInterfaces(WorldTree_addresses);
    const Client next;
    EXPECT_EQ(next.ask("*OPC?"), "1\r\n");
}

TEST_F(ScpiServers, DropAClientWhoseAddressARestartFromElsewhereHasTaken) {
    World_writeFile("/etc/network/interfaces", "iface eth0 inet dhcp\n\n");
    const Client client;
    EXPECT_EQ(client.ask("*OPC?"), "1\r\n");
    setInterfaces("eth0 10.0.0.5 255.255.255.0\n");
    EXPECT_EQ(askTerminal("SYST:COMM:LAN:REST;*OPC?"), "1\r\n");
    EXPECT_TRUE(client.isClosedByServer());
    setInterfaces(WorldTree_addresses);
}

TEST_F(ScpiServers, KeepAClientAndItsErrorsOverARestartThatChangesNothing) {
    World_writeFile("/etc/network/interfaces", "iface eth0 inet dhcp\n\n");
    const Client client;
    client.send("*CLS;FOO\nSYST:COMM:LAN:REST\n");
    EXPECT_EQ(client.ask("SYST:ERR?"), "-113,\"Undefined header;FOO\"\r\n");
}

TEST_F(ScpiServers, DiscardWhatAClientLeftBehind) {
    {
        Client rude;
        rude.send("*TST?\n*OPC");
        EXPECT_EQ(rude.readLines(1), "0\r\n");
    }
    {
        const Client next;
        EXPECT_EQ(next.ask("*TST?"), "0\r\n");
        next.send(std::string(1000, 'A'));
    }
    const Client last;
    EXPECT_EQ(last.ask("*OPC?"), "1\r\n");
}

TEST_F(ScpiServers, LoseNothingOfABurst) {
    const Client client;
    std::string burst;
    for (int i = 0; i < 1000; ++i) {
        burst += "SYST:VERS?\n";
    }
    client.send(burst);
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        expected += "1999.0\r\n";
    }
    EXPECT_EQ(client.readLines(1000), expected);
}

TEST_F(ScpiServers, CompleteACommandWithoutAnEndWhenTheClientFallsSilent) {
    const Client client;
    EXPECT_EQ(client.ask("*TST?"), "0\r\n");
    World_setSpeed(10); // of the silence that follows
    const uint32_t start_ms = getTime_ms();
    client.send("*OPC?");
    EXPECT_TRUE(World_waitUntil([&client] { return client.hasReply(); }, limit_ms));
    EXPECT_GE(getTime_ms() - start_ms, 4990U) << "it may still come to its end";
    World_setSpeed(1);
    EXPECT_EQ(client.readLines(1), "1\r\n");
}

TEST_F(ScpiServers, SurviveAHundredClientsThatHangUpWithoutReading) {
    for (int i = 0; i < 100; ++i) {
        Client rude;
        // Some hang up before they are served at all.
        if (i % 20 != 0) {
            EXPECT_EQ(rude.ask("*TST?"), "0\r\n");
        }
        for (int query = 0; query < 200; ++query) {
            rude.send("*IDN?\n");
        }
        if (i % 2 == 0) {
            rude.reset();
        }
    }
    const Client client;
    EXPECT_EQ(client.ask("*OPC?"), "1\r\n");
}

TEST_F(ScpiServers, DropAClientThatTakesNoReplies) {
    const Client client;
    EXPECT_EQ(client.ask("*OPC?"), "1\r\n");
    const int small = 4096;
    setsockopt(client.fd.get(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    World_setSpeed(50);
    std::string burst = "*IDN?";
    while (burst.size() < 240) {
        burst += ";*IDN?";
    }
    burst += "\n";
    const bool dropped = World_waitUntil(
        [&] {
            while (::send(client.fd.get(), burst.data(), burst.size(),
                          MSG_NOSIGNAL | MSG_DONTWAIT) > 0) {
            }
            return errno != EAGAIN;
        },
        limit_ms);
    World_setSpeed(1);
    EXPECT_TRUE(dropped);
    const Client next;
    EXPECT_EQ(next.ask("*OPC?"), "1\r\n");
}

long processorTime_ms() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000 +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000;
}

TEST_F(ScpiServers, CostNothingWhileTheyWait) {
    const Client client;
    EXPECT_EQ(client.ask("*OPC?"), "1\r\n");
    const long before = processorTime_ms();
    pollfd silence{client.fd.get(), POLLIN, 0};
    EXPECT_EQ(poll(&silence, 1, 500), 0);
    EXPECT_LT(processorTime_ms() - before, 50);
}

TEST_F(ScpiServers, AnswerTheTerminalLineByLine) {
    EXPECT_EQ(askTerminal("*TST?;*OPC?"), "0;1\r\n");
    EXPECT_EQ(askTerminal("*TST?\r"), "0\r\n");
    const std::string longLine(400, 'A');
    askTerminal("*CLS;*OPC?");
    World_clearSyslog();
    const std::string sent = longLine + "\n";
    EXPECT_EQ(write(terminal, sent.data(), sent.size()), static_cast<ssize_t>(sent.size()));
    // Only then: what comes in behind a line while it is read is discarded with its rest.
    ASSERT_TRUE(World_waitUntil([] { return World_syslogContains("**ERROR: -363"); }, limit_ms));
    EXPECT_EQ(askTerminal("SYST:ERR:COUN?"), "1\r\n");
    EXPECT_EQ(askTerminal("SYST:ERR?"), "-363,\"Input buffer overrun\"\r\n");
}

TEST_F(ScpiServers, RunACommandWithoutAnEndAtTheTerminalsEndOfFile) {
    const std::string command = "*OPC?";
    ASSERT_EQ(write(terminal, command.data(), command.size()), 5);
    // The first one hands over what there is, the next one is an end; what is there when a line is
    // read is discarded behind it.
    const auto isAnswered = [] {
        const char endOfFile = '\x04';
        pollfd reply{terminal, POLLIN, 0};
        return write(terminal, &endOfFile, 1) == 1 && poll(&reply, 1, 100) == 1;
    };
    EXPECT_TRUE(World_waitUntil(isAnswered, limit_ms));
    EXPECT_EQ(Client::readFrom(terminal, 1), "1\r\n");
}

TEST_F(ScpiServers, ServeAPortAgainThatWasGone) {
    World_unplugTerminal(serialCommandPortName);
    World_clearSyslog();
    const long before = processorTime_ms();
    World_setSpeed(4); // 0.3 s of real time: a loop without a pause would use them all
    const timespec pause = {1, 200000000};
    nanosleep(&pause, nullptr);
    EXPECT_LT(processorTime_ms() - before, 50);
    World_setSpeed(1);
    terminal = World_plugTerminal(serialCommandPortName);
    ASSERT_TRUE(
        World_waitUntil([] { return World_syslogContains("/dev/ttyS4 is open again"); }, limit_ms));
    ASSERT_TRUE(World_waitUntil(isServedOnThePort, limit_ms));
    EXPECT_EQ(askTerminal("*OPC?"), "1\r\n");
}

} // namespace
