#include "SerialSensorProtocol.h"

#include "SensorFloat.h"
#include "SensorLine.h"
#include "SensorRecords.h"
#include "SerialSensorModel.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
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

SensorLine::Answer always(const std::string& reply) {
    return [reply](const std::string&) { return reply; };
}

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
        SensorLine line(always(one.reply));
        Buffer buffer{};
        EXPECT_EQ(one.run(line.fd(), buffer.data()), one.succeeds) << one.legend;
        EXPECT_EQ(line.allCommands(), one.sent) << one.legend;
    }
}

bool askForward(int fd, char* buffer) {
    return handleMeasCommand(fd, buffer, "F");
}

bool readMemory(int fd, char* buffer) {
    return handleCommandZ(fd, buffer, 48, 1);
}

struct LimitCase {
    const char* legend;
    bool (*run)(int fd, char* buffer);
    double onADeadLine_ms;
    double onAQuietLine_ms;
};

TEST(SerialSensorProtocol, EachCommandHasItsTimeLimitAndARead) {
    // A dead line shows the limit itself: on a quiet one the last read blocks for a second.
    const LimitCase cases[] = {
        {"sync", handleCommandS, 500, 1000},
        {"identify", handleCommandI, 1000, 1000},
        {"measurement", askForward, 500, 1000},
        {"memory, and what is pending before", readMemory, 500 + 500, 500 + 1000},
        {"flush", flushSensorBuffer, 250, 250 + 1000},
    };
    constexpr int noDescriptor = 9999;
    for (const LimitCase& one : cases) {
        Buffer buffer{};
        const SensorLine line(always(""));
        EXPECT_TRUE(line.clock().takes(one.onADeadLine_ms, [&] {
            one.run(noDescriptor, buffer.data());
        })) << one.legend;
        EXPECT_TRUE(line.clock().takes(one.onAQuietLine_ms, [&] {
            one.run(line.fd(), buffer.data());
        })) << one.legend;
    }
}

struct LateCase {
    const char* legend;
    bool (*run)(int fd, char* buffer);
    std::vector<LineByte> bytes;
    bool succeeds;
    double time_ms;
};

std::vector<LineByte> withLast(std::vector<LineByte> bytes, double at_ms) {
    bytes.back().at_ms = at_ms;
    return bytes;
}

TEST(SerialSensorProtocol, AReplyThatBeginsInTimeIsReadToItsEnd) {
    const std::string identity = identityReply("5132");
    const std::string number = SensorFloat_bytes(3);
    const LateCase cases[] = {
        {"begins within the read", handleCommandS, {{990, 'S'}}, true, 990},
        {"begins behind it", handleCommandS, {{1080, 'S'}}, false, 1000},
        {"a late forward", askForward, SensorLine_bytes(number, 700, 1), true, 703},
        {"a late identity", handleCommandI, SensorLine_bytes(identity, 980, 1), true, 1019},
        {"a slow one", askForward, SensorLine_bytes(number, 480, 60), true, 660},
        {"a gap behind the limit", askForward, SensorLine_bytes(number, 480, 170), false, 580},
        {"a gap before it", askForward, withLast(SensorLine_bytes(number, 0, 1), 490), true, 490},
        {"a gap over it", askForward, withLast(SensorLine_bytes(number, 0, 1), 580), false, 500},
        {"in the identity", handleCommandI, withLast(SensorLine_bytes(identity, 0, 1), 990), true,
         990},
        {"over its limit", handleCommandI, withLast(SensorLine_bytes(identity, 0, 1), 1080), false,
         1000},
    };
    for (const LateCase& one : cases) {
        const SensorLine line(one.bytes);
        Buffer buffer{};
        bool succeeds = false;
        EXPECT_TRUE(line.clock().takes(one.time_ms, [&] {
            succeeds = one.run(line.fd(), buffer.data());
        })) << one.legend;
        EXPECT_EQ(succeeds, one.succeeds) << one.legend;
    }
}

TEST(SerialSensorProtocol, AFlushWaitsForASecondOfSilenceForTwoSecondsAtMost) {
    const struct {
        double last_ms; ///< bytes come every 400 ms until then
        bool succeeds;
        double time_ms;
    } cases[] = {{1000, true, 2000}, {1900, true, 2900}, {2500, false, 2150}};
    for (const auto& one : cases) {
        std::vector<LineByte> bytes;
        for (int at_ms = 150; at_ms < one.last_ms; at_ms += 400) {
            bytes.push_back({static_cast<double>(at_ms), 'x'});
        }
        bytes.push_back({one.last_ms, 'x'});
        const SensorLine line(bytes);
        Buffer buffer{};
        bool succeeds = !one.succeeds;
        EXPECT_TRUE(line.clock().takes(one.time_ms, [&] {
            succeeds = flushSensorBuffer(line.fd(), buffer.data());
        })) << one.last_ms;
        EXPECT_EQ(succeeds, one.succeeds) << one.last_ms;
    }
}

TEST(SerialSensorProtocol, AReplyThatTricklesInIsPutTogether) {
    const SensorLine line(SensorLine_bytes("abcdx", 5, 5));
    Buffer buffer;
    buffer.fill('#');
    EXPECT_EQ(waitForSensorResponse(line.fd(), buffer.data(), 4, 2000), 4);
    EXPECT_EQ(std::string(buffer.data(), 5), "abcd#");
}

TEST(SerialSensorProtocol, AMissingReplyLeavesTheAskedLengthCleared) {
    SensorLine line(always(""));
    line.send("a");
    Buffer buffer;
    buffer.fill('x');
    EXPECT_EQ(waitForSensorResponse(line.fd(), buffer.data(), 4, 50), 1);
    EXPECT_EQ(std::string(buffer.data(), 5), "a\0\0\0x"s);
}

TEST(SerialSensorProtocol, ALineOfNoUseIsWaitedForWithoutSpinning) {
    SensorLine line(always(""));
    line.hangUp();
    for (const int fd : {line.fd(), -1, 9999}) {
        Buffer buffer{};
        const int64_t used = threadTime_ms();
        const double start_ms = StillClock::now_ms();
        EXPECT_EQ(waitForSensorResponse(fd, buffer.data(), 4, 500), 0) << fd;
        EXPECT_GE(StillClock::now_ms() - start_ms, 499) << fd;
        EXPECT_LE(threadTime_ms() - used, 20) << fd;
        EXPECT_TRUE(flushSensorBuffer(fd, buffer.data())) << fd;
    }
}

TEST(SerialSensorProtocol, AFlushDiscardsWhatIsPendingAndEndsOnAQuietLine) {
    SensorLine line(always(""));
    line.send(std::string(100, 'x'));
    Buffer buffer{};
    EXPECT_TRUE(flushSensorBuffer(line.fd(), buffer.data()));
    EXPECT_EQ(recv(line.fd(), buffer.data(), buffer.size(), MSG_DONTWAIT), -1);
}

/// Answers memory reads from `memory`; addresses that it does not hold stay unanswered.
SensorLine::Answer memory(const std::string& replies) {
    return [replies](const std::string& command) -> std::string {
        const size_t index = (static_cast<uint8_t>(command.back()) - size_t{48}) * 2;
        return index + 2 <= replies.size() ? replies.substr(index, 2) : std::string();
    };
}

TEST(SerialSensorProtocol, MemoryIsReadAddressByAddress) {
    SensorLine line(memory("2\0000\0000\0002\0000\0001\0001\0007\0000\000"s));
    Buffer buffer{};
    EXPECT_TRUE(handleCommandZ(line.fd(), buffer.data(), 48, 9));
    EXPECT_STREQ(buffer.data(), "200201170");
    std::string expected;
    for (char address = 48; address <= 56; ++address) {
        expected += "Z\x04"s + address;
    }
    EXPECT_EQ(line.allCommands(), expected);
}

TEST(SerialSensorProtocol, AMemoryCharacterWithASecondByteIsDropped) {
    SensorLine line(memory("1\0002\0013\0004\1775\0006\0007\0008\0009\000"s));
    Buffer buffer{};
    EXPECT_TRUE(handleCommandZ(line.fd(), buffer.data(), 48, 9));
    EXPECT_STREQ(buffer.data(), "1356789");
}

TEST(SerialSensorProtocol, AMemoryReadWithoutAnyCharacterStillSucceeds) {
    SensorLine line(always("5\001"));
    Buffer buffer{};
    EXPECT_TRUE(handleCommandZ(line.fd(), buffer.data(), 48, 9));
    std::array<char, 10> serialNumber{};
    validateSerialNumber(serialNumber.data(), buffer.data());
    EXPECT_STREQ(serialNumber.data(), "");
}

TEST(SerialSensorProtocol, PendingBytesStayWhenAMemoryReadStoresNoCharacter) {
    SensorLine line(always("5\001"));
    line.send("12ab34cd5");
    Buffer buffer{};
    EXPECT_TRUE(handleCommandZ(line.fd(), buffer.data(), 48, 9));
    std::array<char, 10> serialNumber{};
    validateSerialNumber(serialNumber.data(), buffer.data());
    EXPECT_STREQ(serialNumber.data(), "12345");
}

TEST(SerialSensorProtocol, AMemoryReadFailsWhenNoAddressAnswers) {
    SensorLine line(always(""));
    Buffer buffer{};
    EXPECT_FALSE(handleCommandZ(line.fd(), buffer.data(), 48, 2));
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
