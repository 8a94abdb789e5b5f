// The daemon without its process: a test turns the loop and holds the program's end of the wires.

#include "BenchDaemon.h"

#include "BenchChannel.h"
#include "BenchCommands.h"
#include "BenchFaults.h"
#include "LocalSocket.h"
#include "WorldFolder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <limits>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using testing::HasSubstr;
using testing::StartsWith;

namespace {

class BenchDaemonTest : public testing::Test {
protected:
    void SetUp() override {
        world = WorldFolder_makeTemporary("quorvel-daemon");
        ASSERT_TRUE(WorldFolder_create(world));
        std::string error;
        ASSERT_TRUE(BenchDaemon_open(daemon, world, error)) << error;
    }

    void TearDown() override {
        BenchDaemon_close(daemon);
        WorldFolder_remove(world);
    }

    std::string command(const std::string& line) {
        return BenchCommands_run(daemon.hardware, line);
    }

    std::string commandOverSocket(const std::string& line) {
        std::string text;
        std::atomic<bool> isAnswered = false;
        std::thread client([&] {
            BenchChannel_command(world, line, text);
            isAnswered = true;
        });
        EXPECT_TRUE(turnUntil([&] { return isAnswered.load(); }));
        client.join();
        return text;
    }

    int openPort(const char* device) const {
        return open(WorldFolder_path(world, device).c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    }

    void turnOnce() {
        std::vector<pollfd> waiting;
        BenchDaemon_collect(daemon, waiting);
        const int64_t wait_ns = BenchDaemon_wait_ns(daemon);
        const int64_t most_ns = 5000000;
        const timespec limit = {0, wait_ns < 0 || wait_ns > most_ns ? most_ns : wait_ns};
        ppoll(waiting.data(), waiting.size(), &limit, nullptr);
        BenchDaemon_service(daemon);
    }

    bool turnUntil(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            turnOnce();
        }
        return true;
    }

    std::string exchange(int port, const std::string& bytes, size_t expected) {
        std::string reply;
        EXPECT_EQ(write(port, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        turnUntil([&] {
            char buffer[64];
            const ssize_t count = read(port, buffer, sizeof buffer);
            reply.append(buffer, count > 0 ? static_cast<size_t>(count) : 0);
            return reply.size() >= expected;
        });
        return reply;
    }

    std::string current(uint32_t port) const {
        return WorldFolder_read(world, WorldFolder_currentFile(port));
    }

    /// As the preload library writes down what is not to run.
    void record(const std::string& line) const {
        std::ofstream(world + "/commands", std::ios::app) << line << "\n";
    }

    std::string addresses() const {
        return WorldFolder_readFile(world + "/ifaddrs");
    }

    BenchDaemon daemon{};
    std::string world;
};

} // namespace

TEST_F(BenchDaemonTest, APluggedSensorDrawsCurrentAndAnswers) {
    EXPECT_LT(atoi(current(0).c_str()), 250);
    ASSERT_EQ(command("plug serial1 5132 fwd=9 boot=0s"), "ok\n");
    EXPECT_GT(atoi(current(0).c_str()), 250);
    EXPECT_LT(atoi(current(1).c_str()), 250);
    const int port = openPort("/dev/ttyS1");
    EXPECT_EQ(exchange(port, "S", 1), "S");
    EXPECT_EQ(exchange(port, "F", 4), std::string("\x02\x60\x00\x00", 4));
    close(port);
}

TEST_F(BenchDaemonTest, AnExactCurrentNearTheThresholdIsWrittenAsAsked) {
    ASSERT_EQ(command("plug serial2 5132 current=250"), "ok\n");
    EXPECT_EQ(current(1), "250\n");
    ASSERT_EQ(command("set serial2 current=251"), "ok\n");
    EXPECT_EQ(current(1), "251\n");
}

TEST_F(BenchDaemonTest, AnUnpluggedSensorIsSilentAndDrawsNothing) {
    command("plug serial1 5132 boot=0s");
    ASSERT_EQ(command("unplug serial1"), "ok\n");
    EXPECT_LT(atoi(current(0).c_str()), 250);
    const int port = openPort("/dev/ttyS1");
    EXPECT_EQ(write(port, "S", 1), 1);
    EXPECT_TRUE(turnUntil([this] { return daemon.hardware.serial[0].log.bytesToSensor == 1; }));
    EXPECT_TRUE(turnUntil([this] { return daemon.hardware.serial[0].toSensor.empty(); }));
    EXPECT_EQ(daemon.hardware.serial[0].log.bytesFromSensor, 0U);
    close(port);
}

TEST_F(BenchDaemonTest, TheWireTakesTheTimeOfItsBytes) {
    command("plug serial1 5132 boot=0s");
    const int port = openPort("/dev/ttyS1");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(exchange(port, "I", 40).size(), 40U);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken.count(), 41 * 10 / 9600.0 - 0.0005);
    close(port);
}

TEST_F(BenchDaemonTest, AnUnlimitedWireTakesNone) {
    command("plug serial1 5132 boot=0s baud=unlimited");
    const int port = openPort("/dev/ttyS1");
    EXPECT_EQ(exchange(port, "I", 40).size(), 40U);
    EXPECT_EQ(daemon.hardware.serial[0].log.bytesFromSensor, 40U);
    EXPECT_EQ(daemon.hardware.serial[0].log.entries.back().bytes.size(), 40U);
    close(port);
}

TEST_F(BenchDaemonTest, ACutCableEndsInTheMiddleOfTheReply) {
    command("plug serial1 5132 boot=0s baud=unlimited");
    command("fault serial1 cut");
    const int port = openPort("/dev/ttyS1");
    EXPECT_EQ(exchange(port, "F", 2).size(), 2U);
    EXPECT_TRUE(turnUntil([this] { return !daemon.hardware.serial[0].sensor; }));
    EXPECT_LT(atoi(current(0).c_str()), 250);
    close(port);
}

TEST_F(BenchDaemonTest, ChatterGoesOnUntilTheFaultEnds) {
    command("plug serial1 5132 boot=0s");
    command("fault serial1 chatter");
    EXPECT_TRUE(turnUntil([this] { return daemon.hardware.serial[0].log.bytesFromSensor > 20; }));
    command("fault serial1 none");
    const uint64_t sent = daemon.hardware.serial[0].log.bytesFromSensor;
    turnOnce();
    turnOnce();
    EXPECT_EQ(daemon.hardware.serial[0].log.bytesFromSensor, sent);
}

TEST_F(BenchDaemonTest, ASensorIsSilentWhileItStarts) {
    command("plug serial1 5132 boot=30s");
    const int port = openPort("/dev/ttyS1");
    EXPECT_EQ(write(port, "S", 1), 1);
    EXPECT_TRUE(turnUntil([this] {
        return daemon.hardware.serial[0].log.bytesToSensor == 1 &&
               daemon.hardware.serial[0].toSensor.empty();
    }));
    EXPECT_EQ(daemon.hardware.serial[0].log.bytesFromSensor, 0U);
    close(port);
}

TEST_F(BenchDaemonTest, TheLogShowsBytesBothWays) {
    command("plug serial1 5132 boot=0s baud=unlimited");
    const int port = openPort("/dev/ttyS1");
    exchange(port, "S", 1);
    const std::string log = command("log serial1");
    EXPECT_THAT(log, HasSubstr("-> 53  S\n"));
    EXPECT_THAT(log, HasSubstr("<- 53  S\n"));
    EXPECT_EQ(command("log serial1 3"), "ok\n");
    EXPECT_THAT(command("log serial1 --last 1"),
                testing::AllOf(HasSubstr("<- 53  S\n"), testing::Not(HasSubstr("->"))));
    EXPECT_EQ(command("log serial1 --last 0"), "ok\n");
    EXPECT_EQ(command("log serial1 --last 1e300"), log);
    close(port);
}

TEST_F(BenchDaemonTest, ADiskIsMadeSlowOrFullAndMended) {
    BenchFaults* const faults = BenchFaults_map(world.c_str());
    ASSERT_NE(faults, nullptr);
    constexpr const char* file = "/etc/QuorvelPowerMeterApp/QuorvelPulseSensor.conf";
    EXPECT_THAT(command("status"), HasSubstr("disk: slow=0ms\n"));
    EXPECT_EQ(command("disk slow=0.5s"), "ok\n");
    EXPECT_EQ(command("disk slow=20ms"), "ok\n");
    EXPECT_EQ(command("disk full"), "ok\n");
    EXPECT_THAT(command("status"), HasSubstr("disk: slow=20ms full\n"));
    EXPECT_EQ(BenchFaults_find(*faults, BenchFault::slow, file), 20);
    EXPECT_EQ(BenchFaults_find(*faults, BenchFault::slow, "/root/.battcharged"), 20);
    EXPECT_EQ(BenchFaults_find(*faults, BenchFault::full, file), ENOSPC);
    EXPECT_EQ(BenchFaults_find(*faults, BenchFault::full, "/tmp/crashlog.txt"), 0);
    EXPECT_EQ(command("disk none"), "ok\n");
    EXPECT_EQ(BenchFaults_find(*faults, BenchFault::slow, file), 0);
    EXPECT_EQ(BenchFaults_find(*faults, BenchFault::full, file), 0);
    munmap(faults, sizeof *faults);
}

TEST_F(BenchDaemonTest, ErrorsNameWhatIsAllowed) {
    command("plug serial2 5132");
    const struct {
        const char* line;
        const char* says;
    } cases[] = {
        {"", "error no command"},
        {"fly", "unknown command 'fly': there are plug, unplug, replug"},
        {"plug serial1", "usage: plug PORT MODEL"},
        {"plug serial7 5132", "unknown port 'serial7': there are serial1"},
        {"plug serial1 4711", "unknown model '4711'"},
        {"plug serial1 5132 fwd", "'fwd' is not KEY=VALUE"},
        {"plug serial1 5132 baud=x", "baud: 'x' is not a speed"},
        {"plug serial1 5132 hat=1", "unknown key 'hat'"},
        {"unplug serial1", "serial1 has no sensor"},
        {"set serial1 fwd=1", "serial1 has no sensor"},
        {"fault serial1 silence", "serial1 has no sensor"},
        {"fault serial2 anger", "unknown fault 'anger'"},
        {"log serial2 x", "is not the number of an entry"},
        {"log serial2 --last x", "is not the number of the last entries"},
        {"log serial2 1 2", "usage: log PORT"},
        {"set serial2 fwd=file:/nowhere/series", "file:/nowhere/series"},
        {"lan link", "'link' is not KEY=VALUE"},
        {"lan link=soft", "link is up or down"},
        {"lan lease=1.2.3.4", "lease is ADDRESS/NETMASK"},
        {"lan lease=1.2.3.4/x", "lease is ADDRESS/NETMASK"},
        {"lan hat=1", "the network has link, mac and lease"},
        {"disk soft", "'soft' is not slow=TIME, full or none"},
        {"disk slow=soon", "is not a time such as slow=500ms"},
        {"disk slow=-1s", "is not a time such as slow=500ms"},
        {"clock stop now", "unknown clock command 'stop'"},
        {"clock speed 0", "is not a speed"},
        {"clock step soon", "is not a time"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(command(c.line), testing::AllOf(StartsWith("error "), HasSubstr(c.says)))
            << c.line;
    }
}

TEST_F(BenchDaemonTest, ARefusedCommandChangesNothing) {
    command("plug serial1 5132 fwd=4");
    command("set serial1 fwd=9 hat=1");
    EXPECT_THAT(command("status"), HasSubstr("fwd=4 "));
}

TEST_F(BenchDaemonTest, CommandsArriveOverTheSocket) {
    EXPECT_THAT(commandOverSocket("status"), HasSubstr("serial1: no sensor"));
}

TEST_F(BenchDaemonTest, AClientThatSaysNothingHoldsNobodyUp) {
    const int silent = LocalSocket_connect(world + "/daemon.sock", SOCK_STREAM);
    ASSERT_GE(silent, 0);
    EXPECT_THAT(commandOverSocket("status"), HasSubstr("serial1: no sensor"));
    close(silent);
}

TEST_F(BenchDaemonTest, ARestartOfTheNetworkGivesTheInterfacesWhatTheirFileAsksFor) {
    WorldFolder_write(world, "/etc/network/interfaces",
                      "auto lo\niface lo inet loopback\n\nauto eth0\niface eth0 inet static\n"
                      "    address 10.1.2.7\n    netmask 255.255.0.0\n    gateway 10.1.2.1\n\n"
                      "iface eth0:0 inet static\n  address 192.168.2.1\n");
    const std::string before = addresses();
    turnOnce();
    EXPECT_EQ(addresses(), before) << "nothing has been restarted";
    record("/etc/init.d/network restart");
    EXPECT_TRUE(turnUntil([&] { return addresses() != before; }));
    EXPECT_EQ(addresses(), "lo 127.0.0.1 255.0.0.0\neth0\neth0 10.1.2.7 255.255.0.0\n"
                           "eth0:0 192.168.2.1 255.255.255.0\n");
    const std::string routes = WorldFolder_read(world, "/proc/net/route");
    EXPECT_THAT(routes, HasSubstr("\neth0\t00000000\t0102010A\t0003\t0\t0\t0\t00000000\t"));
    EXPECT_THAT(routes, HasSubstr("\neth0\t0000010A\t00000000\t0001\t0\t0\t0\t0000FFFF\t"));
}

TEST_F(BenchDaemonTest, TheLeaseOfTheNetworkIsTheAddressWithWhichTheWorldBegan) {
    const std::string before = addresses();
    const std::string file = WorldFolder_read(world, "/etc/network/interfaces");
    WorldFolder_write(world, "/etc/network/interfaces", "iface eth0 inet static\n");
    record("/etc/init.d/networking restart");
    EXPECT_TRUE(turnUntil([&] { return addresses() != before; }));
    EXPECT_EQ(addresses(), "lo 127.0.0.1 255.0.0.0\neth0\n") << "a static one without address";
    WorldFolder_write(world, "/etc/network/interfaces", file);
    record("/etc/init.d/network restart");
    EXPECT_TRUE(turnUntil([&] { return addresses() == before; })) << addresses();
}

TEST_F(BenchDaemonTest, TheNetworksCableAndMacArePlayed) {
    EXPECT_THAT(command("status"), HasSubstr("lan: link=up mac=02:88:30:00:00:01\n"));
    EXPECT_EQ(command("lan link=down mac=02:88:30:00:00:09"), "ok\n");
    EXPECT_THAT(command("status"), HasSubstr("lan: link=down mac=02:88:30:00:00:09\n"));
    EXPECT_EQ(WorldFolder_read(world, "/sys/class/net/eth0/carrier"), "0\n");
    EXPECT_EQ(WorldFolder_read(world, "/sys/class/net/eth0/operstate"), "down\n");
    EXPECT_EQ(WorldFolder_read(world, "/sys/class/net/eth0/address"), "02:88:30:00:00:09\n");
    const std::string before = addresses();
    record("/etc/init.d/network restart");
    EXPECT_TRUE(turnUntil([&] { return addresses() != before; })) << "nobody gives a lease";
    EXPECT_THAT(addresses(), HasSubstr("\neth0\neth0:0 "));
    EXPECT_EQ(command("lan link=up lease=10.0.0.7/255.0.0.0"), "ok\n");
    record("/etc/init.d/network restart");
    EXPECT_TRUE(turnUntil(
        [&] { return addresses().find("\neth0 10.0.0.7 255.0.0.0\n") != std::string::npos; }));
}

TEST_F(BenchDaemonTest, AnInterfaceThatWasRemovedCannotBePlayed) {
    EXPECT_EQ(command("remove /sys/class/net/eth0"), "ok\n");
    EXPECT_THAT(command("lan link=up"), HasSubstr("the interface's files cannot be written"));
}

TEST_F(BenchDaemonTest, AMachineThatIsShutDownIsOffAMomentLater) {
    const Machine& machine = daemon.hardware.machine;
    record("/bin/echo shutdown");
    turnOnce();
    EXPECT_EQ(machine.off_ns, std::numeric_limits<int64_t>::max());
    record("/sbin/shutdown -h now");
    EXPECT_TRUE(turnUntil([&] { return machine.off_ns != std::numeric_limits<int64_t>::max(); }));
    EXPECT_FALSE(machine.isOff) << "its programs are still ending";
    EXPECT_EQ(command("clock speed 100"), "ok\n");
    EXPECT_TRUE(turnUntil([&] { return machine.isOff; }));
    EXPECT_LT(BenchDaemon_wait_ns(daemon), 0) << "there is nothing to wait for";
}
