// What remote control costs: round trips over loopback against a bare server that answers each line
// with the same text, and finding the last command against the first.

#include "Configuration.h"
#include "Files.h"
#include "LogManager.h"
#include "Report.h"
#include "ScpiCommands.h"
#include "ScpiRecord.h"
#include "ScpiTcpServer.h"
#include "SensorManager.h"
#include "Threads.h"
#include "World.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint32_t limit_ms = 10000;
constexpr int rounds = 7;

double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

sockaddr_in loopback(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

void sendAtOnce(int fd) {
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

/// Answers every line with one text, as directly as can be.
class BareServer {
public:
    explicit BareServer(std::string text) : answer(std::move(text)) {
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
        EXPECT_EQ(listen(listener.get(), 1), 0);
        getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
        thread = std::thread([this] { serve(); });
    }
    ~BareServer() {
        thread.join();
    }
    BareServer(const BareServer&) = delete;
    BareServer& operator=(const BareServer&) = delete;

    uint16_t port = 0;

private:
    void serve() const {
        const ScopedFd client(accept(listener.get(), nullptr, nullptr));
        sendAtOnce(client.get());
        std::array<char, 256> buffer;
        for (;;) {
            const ssize_t count = recv(client.get(), buffer.data(), buffer.size(), 0);
            if (count <= 0) {
                return;
            }
            const auto lines = std::count(buffer.data(), buffer.data() + count, '\n');
            for (long line = 0; line < lines; ++line) {
                send(client.get(), answer.data(), answer.size(), MSG_NOSIGNAL);
            }
        }
    }

    ScopedFd listener{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::string answer;
    std::thread thread;
};

class Client {
public:
    explicit Client(uint16_t port) {
        const sockaddr_in address = loopback(port);
        EXPECT_EQ(connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
                  0);
        sendAtOnce(fd.get());
    }
    /// Sends the query so many times at once and reads as many replies; their bytes.
    size_t exchange(const std::string& query, int times) {
        std::string burst;
        for (int i = 0; i < times; ++i) {
            burst += query;
        }
        send(fd.get(), burst.data(), burst.size(), MSG_NOSIGNAL);
        size_t bytes = 0;
        for (long lines = 0; lines < times;) {
            const ssize_t count = recv(fd.get(), buffer.data(), buffer.size(), 0);
            if (count <= 0) {
                return 0;
            }
            lines += std::count(buffer.data(), buffer.data() + count, '\n');
            bytes += static_cast<size_t>(count);
        }
        return bytes;
    }
    /// Queries a second, so many on the way at once.
    double rate(const std::string& query, int onTheWay, int count) {
        const double start = seconds();
        for (int done = 0; done < count; done += onTheWay) {
            if (exchange(query, onTheWay) == 0) {
                return 0;
            }
        }
        return count / (seconds() - start);
    }

private:
    ScopedFd fd{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::vector<char> buffer = std::vector<char>(65536);
};

void pinToOneCore() {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(0, &cores);
    sched_setaffinity(0, sizeof cores, &cores);
}

/// The server on one core with the bare one and the client; a sensor with readings on channel 1.
void startServer() {
    static const bool isStarted = [] {
        pinToOneCore();
        LogManager_create();
        SensorManager_Create();
        initScpiParser();
        CONNECTED_SENSORS record{sensorPortBit_Serial1, sensorPortBit_Serial1, false};
        SensorManager_UpdatePhysicalSensors(&record);
        SensorInstance_SetLogicalChannel(sensorPort_Serial1, sensorLogicalChannel1);
        SENSOR_MEASUREMENTS reading = SensorMeasurements_none();
        reading.fwdPwrVal = 25.37F;
        scpiUpdateMeasurement(sensorPort_Serial1, reading);
        static pthread_t thread;
        return Thread_start(&thread, "scpiTcp", scpiTcpServerThread) == 0;
    }();
    ASSERT_TRUE(isStarted);
    ASSERT_TRUE(World_waitUntil([] { return World_commandPort() != 0; }, limit_ms));
}

/// One round's figures, told as they were; of several rounds the one of the middle ratio counts.
struct Round {
    double meter;
    double reference;
};

Round middleRound(std::vector<Round> figures) {
    std::ranges::sort(figures, {},
                      [](const Round& round) { return round.meter / round.reference; });
    return figures[figures.size() / 2];
}

struct Traffic {
    const char* name;
    const char* query;
    int onTheWay;
    int count;
    double goal;
};

TEST(ScpiPerf, RoundTripsKeepUpWithABareServer) {
    const Traffic traffic[] = {
        {"*IDN?, one on the way", "*IDN?\n", 1, 3000, 0.95},
        {"MEAS:AVER?, one on the way", "MEAS:AVER?\n", 1, 3000, 0.95},
        {"*IDN?, 32 on the way", "*IDN?\n", 32, 6400, 0.9},
        {"MEAS:AVER?, 32 on the way", "MEAS:AVER?\n", 32, 6400, 0.9},
        {"*IDN?, 1000 on the way", "*IDN?\n", 1000, 10000, 0.7},
        {"MEAS:AVER?, 1000 on the way", "MEAS:AVER?\n", 1000, 10000, 0.7},
    };
    startServer();
    Client meter(World_commandPort());
    for (const Traffic& row : traffic) {
        const size_t replySize = meter.exchange(row.query, 1);
        ASSERT_GT(replySize, 0U);
        BareServer bare(std::string(replySize - 1, 'x') + "\n");
        std::vector<Round> figures;
        {
            Client reference(bare.port);
            for (int round = 0; round < rounds; ++round) {
                const double bareRate = reference.rate(row.query, row.onTheWay, row.count);
                figures.push_back({meter.rate(row.query, row.onTheWay, row.count), bareRate});
            }
        }
        EXPECT_EQ(meter.exchange(row.query, 1000), 1000 * replySize) << "none is lost";
        const Round middle = middleRound(figures);
        PerfResult_report({row.name, middle.meter, "queries/s", "a bare server of the same replies",
                           middle.reference, PerfGoal::ratioAtLeast, row.goal});
    }
}

scpi_result_t doNothing(scpi_t*) {
    return SCPI_RES_OK;
}

size_t writeNothing(scpi_t*, const char*, size_t length) {
    return length;
}

/// Time of one lookup with this row as the table's first or last, in nanoseconds.
double lookupTime_ns(const std::string& line, bool isLast) {
    std::vector<scpi_command_t> table(scpi_commands.begin(), scpi_commands.end() - 1);
    for (scpi_command_t& row : table) {
        row.callback = doNothing;
    }
    if (!isLast) {
        std::rotate(table.begin(), table.end() - 1, table.end());
    }
    table.push_back(SCPI_CMD_LIST_END);
    static scpi_t context;
    scpi_interface_t callbacks = {nullptr, writeNothing, nullptr, nullptr, nullptr};
    std::array<char, 256> input;
    std::array<scpi_error_t, 4> errors;
    SCPI_Init(&context, table.data(), &callbacks, nullptr, nullptr, nullptr, nullptr, nullptr,
              input.data(), input.size(), errors.data(), static_cast<int16_t>(errors.size()));
    constexpr int count = 20000;
    const double start = seconds();
    for (int i = 0; i < count; ++i) {
        SCPI_Input(&context, line.data(), static_cast<int>(line.size()));
    }
    return (seconds() - start) / count * 1e9;
}

TEST(ScpiPerf, TheLastCommandIsFoundAsQuicklyAsTheFirst) {
    const std::string line = "SYST:PULS:CONF:COMM\n";
    std::vector<Round> figures;
    for (int round = 0; round < rounds; ++round) {
        const double first_ns = lookupTime_ns(line, false);
        figures.push_back({lookupTime_ns(line, true), first_ns});
    }
    const Round middle = middleRound(figures);
    PerfResult_report({"finding the command table's last row", middle.meter, "ns", "its first row",
                       middle.reference, PerfGoal::ratioAtMost, 1.2});
}

} // namespace
