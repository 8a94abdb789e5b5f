#include "SerialSensorProtocol.h"

#include "Channel.h"
#include "SensorFloat.h"
#include "SensorRecords.h"
#include "SerialSensorModel.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <ctime>
#include <sys/socket.h>

namespace {

using namespace std::string_literals;

using Buffer = std::array<char, 64>;

std::string identityReply(const std::string& model, const std::string& commands = "SIFRHTZ") {
    SerialSensorModel sensor;
    sensor.setModel(model);
    sensor.setCommands(commands);
    return sensor.answer("I");
}

Channel::Answer always(const std::string& reply) {
    return [reply](const std::string&) { return reply; };
}

/// Lets a test that waits for time to run out do so quickly. An answer that is in time on a machine
/// that is busy, too, wants the real clock.
class Hurry {
public:
    Hurry() {
        World_setSpeed(10);
    }
    ~Hurry() {
        World_setSpeed(1);
    }
    Hurry(const Hurry&) = delete;
    Hurry& operator=(const Hurry&) = delete;
};

int64_t threadTime_ms() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return time.tv_sec * 1000 + time.tv_nsec / 1'000'000;
}

struct CommandCase {
    const char* legend;
    bool (*run)(int fd, char* buffer);
    std::string sent;
    std::string reply;
    bool succeeds;
};

TEST(SerialSensorProtocol, EachCommandSendsItsLetterAndChecksItsReply) {
    constexpr auto forward = [](int fd, char* buffer) {
        return handleMeasCommand(fd, buffer, "F");
    };
    constexpr auto reflected = [](int fd, char* buffer) {
        return handleMeasCommand(fd, buffer, "R");
    };
    constexpr auto frequency = [](int fd, char* buffer) {
        return handleMeasCommand(fd, buffer, "H");
    };
    constexpr auto temperature = [](int fd, char* buffer) {
        return handleMeasCommand(fd, buffer, "T");
    };
    const CommandCase cases[] = {
        {"sync", handleCommandS, "S", "S", true},
        {"sync with another byte", handleCommandS, "S", "X", false},
        {"sync without an answer", handleCommandS, "S", "", false},
        {"identify", handleCommandI, "I", identityReply("5132"), true},
        {"identify of 39 bytes", handleCommandI, "I", identityReply("5132").substr(1), false},
        {"forward", forward, "F", SensorFloat_bytes(3), true},
        {"forward of 3 bytes", forward, "F", "abc", false},
        {"reflected", reflected, "R", SensorFloat_bytes(3), true},
        {"reflected without an answer", reflected, "R", "", false},
        {"frequency", frequency, "H", SensorFloat_bytes(3), true},
        {"temperature", temperature, "T", SensorFloat_bytes(3), true},
    };
    for (const CommandCase& one : cases) {
        const Channel channel(SOCK_STREAM, always(one.reply));
        World_setSpeed(one.succeeds ? 1 : 10);
        Buffer buffer{};
        EXPECT_EQ(one.run(channel.fd(), buffer.data()), one.succeeds) << one.legend;
        EXPECT_EQ(channel.allCommands(), one.sent) << one.legend;
    }
    World_setSpeed(1);
}

TEST(SerialSensorProtocol, AReplyThatTricklesInIsPutTogether) {
    const Channel channel(SOCK_STREAM, always(""));
    std::thread sensor([&channel] {
        for (const char letter : "abcd"s) {
            channel.send(std::string(1, letter));
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    Buffer buffer;
    buffer.fill('x');
    EXPECT_EQ(waitForSensorResponse(channel.fd(), buffer.data(), 4, 2000), 4);
    EXPECT_EQ(std::string(buffer.data(), 5), "abcdx");
    sensor.join();
}

TEST(SerialSensorProtocol, AMissingReplyLeavesTheAskedLengthCleared) {
    const Hurry hurry;
    const Channel channel(SOCK_STREAM, always(""));
    channel.send("a");
    Buffer buffer;
    buffer.fill('x');
    EXPECT_EQ(waitForSensorResponse(channel.fd(), buffer.data(), 4, 50), 1);
    EXPECT_EQ(std::string(buffer.data(), 5), "a\0\0\0x"s);
}

TEST(SerialSensorProtocol, ALineOfNoUseIsWaitedForWithoutSpinning) {
    Channel channel(SOCK_STREAM, always(""));
    channel.hangUp();
    World_setSpeed(5); // less time to wait, and as much that a spinning wait would use
    for (const int fd : {channel.fd(), -1, 9999}) {
        Buffer buffer{};
        const auto start = std::chrono::steady_clock::now();
        const int64_t used = threadTime_ms();
        EXPECT_EQ(waitForSensorResponse(fd, buffer.data(), 4, 500), 0) << fd;
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(490)) << fd;
        EXPECT_LE(threadTime_ms() - used, 20) << fd;
        EXPECT_TRUE(flushSensorBuffer(fd, buffer.data())) << fd;
    }
    World_setSpeed(1);
}

TEST(SerialSensorProtocol, AFlushDiscardsWhatIsPendingAndEndsOnAQuietLine) {
    const Hurry hurry;
    const Channel channel(SOCK_STREAM, always(""));
    channel.send(std::string(100, 'x'));
    Buffer buffer{};
    EXPECT_TRUE(flushSensorBuffer(channel.fd(), buffer.data()));
    EXPECT_EQ(recv(channel.fd(), buffer.data(), buffer.size(), MSG_DONTWAIT), -1);
}

TEST(SerialSensorProtocol, AFlushFailsWhileTheSensorKeepsTalking) {
    World_setSpeed(4); // a silence of a quarter of a second is still none
    const Channel channel(SOCK_STREAM, always(""));
    std::atomic<bool> isOver = false;
    std::thread chatter([&] {
        while (!isOver) {
            channel.send("x");
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    });
    Buffer buffer{};
    EXPECT_FALSE(flushSensorBuffer(channel.fd(), buffer.data()));
    isOver = true;
    chatter.join();
    World_setSpeed(1);
}

/// Answers memory reads from `memory`; addresses that it does not hold stay unanswered.
Channel::Answer memory(const std::string& replies) {
    return [replies](const std::string& command) -> std::string {
        const size_t index = (static_cast<uint8_t>(command.back()) - size_t{48}) * 2;
        return index + 2 <= replies.size() ? replies.substr(index, 2) : std::string();
    };
}

TEST(SerialSensorProtocol, MemoryIsReadAddressByAddress) {
    const Channel channel(SOCK_STREAM, memory("2\0000\0000\0002\0000\0001\0001\0007\0000\000"s));
    Buffer buffer{};
    EXPECT_TRUE(handleCommandZ(channel.fd(), buffer.data(), 48, 9));
    EXPECT_STREQ(buffer.data(), "200201170");
    std::string expected;
    for (char address = 48; address <= 56; ++address) {
        expected += "Z\x04"s + address;
    }
    EXPECT_EQ(channel.allCommands(), expected);
}

TEST(SerialSensorProtocol, AMemoryCharacterWithASecondByteIsDropped) {
    const Channel channel(SOCK_STREAM, memory("1\0002\0013\0004\1775\0006\0007\0008\0009\000"s));
    Buffer buffer{};
    EXPECT_TRUE(handleCommandZ(channel.fd(), buffer.data(), 48, 9));
    EXPECT_STREQ(buffer.data(), "1356789");
}

TEST(SerialSensorProtocol, AMemoryReadWithoutAnyCharacterStillSucceeds) {
    const Channel channel(SOCK_STREAM, always("5\001"));
    Buffer buffer{};
    EXPECT_TRUE(handleCommandZ(channel.fd(), buffer.data(), 48, 9));
    std::array<char, 10> serialNumber{};
    validateSerialNumber(serialNumber.data(), buffer.data());
    EXPECT_STREQ(serialNumber.data(), "");
}

TEST(SerialSensorProtocol, PendingBytesStayWhenAMemoryReadStoresNoCharacter) {
    const Channel channel(SOCK_STREAM, always("5\001"));
    channel.send("12ab34cd5");
    Buffer buffer{};
    EXPECT_TRUE(handleCommandZ(channel.fd(), buffer.data(), 48, 9));
    std::array<char, 10> serialNumber{};
    validateSerialNumber(serialNumber.data(), buffer.data());
    EXPECT_STREQ(serialNumber.data(), "12345");
}

TEST(SerialSensorProtocol, AMemoryReadFailsWhenNoAddressAnswers) {
    const Hurry hurry;
    const Channel channel(SOCK_STREAM, always(""));
    Buffer buffer{};
    EXPECT_FALSE(handleCommandZ(channel.fd(), buffer.data(), 48, 2));
}

TEST(SerialSensorProtocol, MeasurementsArriveMostSignificantByteFirst) {
    EXPECT_EQ(parseMeasurement("\x05\x64\x00\x00"), 25.0F);
    EXPECT_EQ(parseMeasurement(SensorFloat_bytes(-1.5).data()), -1.5F);
}

TEST(SerialSensorProtocol, AnIdentityIsTakenApart) {
    SENSOR_IDENTITY identity{};
    parseIdentity(identityReply("5132A200").data(), &identity);
    EXPECT_STREQ(identity.sensorModel, "5132A200");
    EXPECT_STREQ(identity.sensorFirmwareRevision, "V1.23   ");
    EXPECT_STREQ(identity.sensorSupportedCommands, "SIFRHTZ");
    EXPECT_EQ(identity.sensorPower.max, 500.0F);
    EXPECT_EQ(identity.sensorPower.min, 0.25F);
}

struct ModelCase {
    std::string bytes;
    std::string model;
};

TEST(SerialSensorProtocol, AModelLosesItsTrailingFillBytesOnly) {
    const ModelCase cases[] = {
        {"5134\xFF\xFF\xFF\xFF", "5134"},
        {"\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", ""},
        {"51\xFF\x34\xFF\xFF\xFF\xFF", "51\xFF\x34"},
        {"5132A200", "5132A200"},
        {"5134    ", "5134    "},
        {"%n%s%n%s", "%n%s%n%s"},
    };
    for (const ModelCase& one : cases) {
        SENSOR_IDENTITY identity{};
        parseIdentity((one.bytes + identityReply("5132").substr(8)).data(), &identity);
        EXPECT_EQ(identity.sensorModel, one.model);
    }
}

TEST(SerialSensorProtocol, SixteenSupportedCommandsAreStoredAtTheirPositions) {
    SENSOR_IDENTITY identity{};
    parseIdentity(identityReply("5132", "ABCDEFGHIJKLMNOP").data(), &identity);
    EXPECT_STREQ(identity.sensorSupportedCommands, "ABCDEFGHIJKLMNOP");
    identity = {};
    parseIdentity(identityReply("5132", "A C").data(), &identity);
    EXPECT_EQ(std::string(identity.sensorSupportedCommands, 4), "A\0C\0"s);
}

struct SerialNumberCase {
    std::string before;
    std::string buffer;
    std::string after;
};

TEST(SerialSensorProtocol, ASerialNumberTakesTheDigitsOfTheFirstNineBytes) {
    const SerialNumberCase cases[] = {
        {"", "200201170", "200201170"},
        {"", "2a0b0c2d01",
         "2002"
         "0"},
        {"", "ABCDEFGHI5", ""},
        {"",
         "12\0"
         "34\0"
         "567"s,
         "1234567"},
        {"77", "12       3", "7712"},
        {"123456789", "123456789", "123456789"},
        {"12345678", "99abcdefg", "123456789"},
        {"5", "         ", "5"},
    };
    for (const SerialNumberCase& one : cases) {
        std::array<char, 11> serialNumber{};
        serialNumber.back() = '#';
        one.before.copy(serialNumber.data(), 9);
        std::array<char, 16> buffer{};
        one.buffer.copy(buffer.data(), buffer.size());
        validateSerialNumber(serialNumber.data(), buffer.data());
        EXPECT_EQ(serialNumber.data(), one.after);
        EXPECT_EQ(serialNumber.back(), '#');
    }
}

TEST(SerialSensorProtocol, WithoutADigitNothingOfTheSerialNumberIsWritten) {
    std::array<char, 10> serialNumber;
    serialNumber.fill('x');
    serialNumber[0] = '\0';
    validateSerialNumber(serialNumber.data(), "abcdefghi");
    EXPECT_EQ(serialNumber[1], 'x');
}

struct ListCase {
    const char* text;
    const char* list;
    uint32_t count;
    bool contains;
};

TEST(SerialSensorProtocol, AListIsContainedWhenEachOfItsFirstLettersOccurs) {
    const ListCase cases[] = {
        {"SIFRHTZ", "FR", 2, true},      {"SIFRHTZ", "FX", 2, false}, {"SIFRHTZ", "FX", 1, true},
        {"SIFRHTZ", "", 0, true},        {"", "F", 1, false},         {"", "F", 0, true},
        {"SIFRHTZ", "ZTHRFIS", 7, true}, {"SIF", "SI", 9, true},
    };
    for (const ListCase& one : cases) {
        EXPECT_EQ(strContainsList(one.text, one.list, one.count), one.contains)
            << one.text << ' ' << one.list << ' ' << one.count;
    }
}

TEST(SerialSensorProtocol, TwoModelFamiliesHaveNoSerialNumber) {
    EXPECT_TRUE(SerialSensorProtocol_hasNoSerialNumber("5132A200"));
    EXPECT_TRUE(SerialSensorProtocol_hasNoSerialNumber("SMK"));
    EXPECT_TRUE(SerialSensorProtocol_hasNoSerialNumber("SMKanyth"));
    EXPECT_FALSE(SerialSensorProtocol_hasNoSerialNumber("5132A20"));
    EXPECT_FALSE(SerialSensorProtocol_hasNoSerialNumber("5132"));
    EXPECT_FALSE(SerialSensorProtocol_hasNoSerialNumber("SM"));
    EXPECT_FALSE(SerialSensorProtocol_hasNoSerialNumber(""));
}

} // namespace
