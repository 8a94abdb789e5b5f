#include "UsbTmcDevice.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using namespace std::string_view_literals;

constexpr uint64_t writeId = 7;
constexpr uint64_t askId = 8;
constexpr uint64_t readId = 9;
constexpr uint64_t requestId = 10;
constexpr UsbSetup clearDevice{0xa1, 5, 0, 0, 1};
constexpr UsbSetup checkClear{0xa1, 6, 0, 0, 2};
constexpr UsbSetup clearHaltIn{0x02, 1, 0, 0x81, 0};

class UsbTmcDeviceTest : public testing::Test {
protected:
    /// A message of the program, as the driver wraps it.
    void write(std::string_view text) {
        std::string bytes("\x01\x01\xfe\x00\x00\x00\x00\x00\x01\x00\x00\x00"sv);
        bytes[4] = static_cast<char>(text.size());
        UsbTmcDevice_receive(device, writeId, bytes + std::string(text));
    }

    /// A read of the program: the driver asks for a reply, and waits for it.
    void read() {
        UsbTmcDevice_receive(device, askId, "\x02\x05\xfa\x00\x00\x10\x00\x00\x00\x00\x00\x00"sv);
        UsbTmcDevice_send(device, readId, 512);
    }

    /// A query and its reply.
    void exchange(std::string_view query, std::string_view reply) {
        write(query);
        UsbTmcDevice_takePacket(device, "A0");
        UsbTmcDevice_takePacket(device, "R" + std::string(reply));
        read();
    }

    /// How the transfer of this number has ended; nothing while it has not.
    const UsbCompletion* ended(uint64_t id) const {
        for (const UsbCompletion& one : device.completed) {
            if (one.id == id) {
                return &one;
            }
        }
        return nullptr;
    }

    UsbTmcDevice device;
};

} // namespace

TEST_F(UsbTmcDeviceTest, AMessageEndsWhenTheSensorHasTakenIt) {
    write("INIT\n");
    EXPECT_THAT(device.toSensor, ElementsAre("WINIT\n"));
    EXPECT_THAT(device.completed, IsEmpty());
    UsbTmcDevice_takePacket(device, "A0");
    ASSERT_NE(ended(writeId), nullptr);
    EXPECT_EQ(ended(writeId)->status, UsbStatus::done);
    EXPECT_EQ(ended(writeId)->takenCount, 17U);
}

TEST_F(UsbTmcDeviceTest, AReplyComesWithHeaderTagAndPadding) {
    exchange("*OPC?\n", "1\n");
    ASSERT_NE(ended(readId), nullptr);
    EXPECT_EQ(ended(readId)->bytes, "\x02\x05\xfa\x00\x02\x00\x00\x00\x01\x00\x00\x00"
                                    "1\n\0\0"sv);
}

TEST_F(UsbTmcDeviceTest, AReadWaitsForTheReply) {
    write("*OPC?\n");
    UsbTmcDevice_takePacket(device, "A0");
    read();
    EXPECT_EQ(ended(readId), nullptr);
    UsbTmcDevice_takePacket(device, "R1\n");
    EXPECT_NE(ended(readId), nullptr);
}

TEST_F(UsbTmcDeviceTest, ErrorsOfTheSensorBecomeThoseOfTransfers) {
    constexpr std::array<std::pair<int, UsbStatus>, 3> rows{{{EPIPE, UsbStatus::stalled},
                                                             {EOVERFLOW, UsbStatus::babble},
                                                             {EPROTO, UsbStatus::brokenOff}}};
    for (const auto& [error, status] : rows) {
        device = {};
        write("*OPC?\n");
        UsbTmcDevice_takePacket(device, "A0");
        UsbTmcDevice_takePacket(device, "E" + std::to_string(error));
        read();
        ASSERT_NE(ended(readId), nullptr);
        EXPECT_EQ(ended(readId)->status, status);
    }
}

TEST_F(UsbTmcDeviceTest, AHaltOfTheSensorStallsReadsUntilItEnds) {
    write("*OPC?\n");
    UsbTmcDevice_takePacket(device, "A0");
    UsbTmcDevice_takePacket(device, "H1");
    read();
    ASSERT_NE(ended(readId), nullptr);
    EXPECT_EQ(ended(readId)->status, UsbStatus::stalled);
    device.completed.clear();
    UsbTmcDevice_takePacket(device, "H0");
    UsbTmcDevice_takePacket(device, "R1\n");
    read();
    ASSERT_NE(ended(readId), nullptr);
    EXPECT_EQ(ended(readId)->status, UsbStatus::done);
}

TEST_F(UsbTmcDeviceTest, AFaultStrikesTheExchangeThatItIsAimedAt) {
    ASSERT_TRUE(UsbFaults_set(device.faults, "stallin on=FETC"));
    exchange("*OPC?\n", "1\n");
    ASSERT_NE(ended(readId), nullptr);
    EXPECT_EQ(ended(readId)->status, UsbStatus::done);
    device.completed.clear();
    exchange("FETC:FREQ?\n", "13.56\n");
    ASSERT_NE(ended(readId), nullptr);
    EXPECT_EQ(ended(readId)->status, UsbStatus::stalled);
    EXPECT_EQ(UsbFaults_describe(device.faults), "none");
}

TEST_F(UsbTmcDeviceTest, AFaultCanBeAimedAtASettingAndNotAtItsQuery) {
    ASSERT_TRUE(UsbFaults_set(device.faults, "stallin 2 on=SENS:PER 0"));
    device.faults.message = "SENS:PER?";
    EXPECT_FALSE(UsbFaults_strikes(device.faults, wireFaultStallIn));
    device.faults.message = "SENS:PER 1";
    EXPECT_FALSE(UsbFaults_strikes(device.faults, wireFaultStallIn));
    device.faults.message = "SENS:PER 0.01";
    EXPECT_TRUE(UsbFaults_strikes(device.faults, wireFaultStallIn));
    EXPECT_TRUE(UsbFaults_strikes(device.faults, wireFaultStallIn));
    EXPECT_FALSE(UsbFaults_strikes(device.faults, wireFaultStallIn));
}

TEST_F(UsbTmcDeviceTest, AHaltByAFaultEndsWhenTheHostClearsIt) {
    ASSERT_TRUE(UsbFaults_set(device.faults, "stallin"));
    exchange("*OPC?\n", "1\n");
    device.toSensor.clear();
    UsbTmcDevice_control(device, requestId, clearHaltIn);
    EXPECT_THAT(device.toSensor, ElementsAre("I"));
    UsbTmcDevice_takePacket(device, "A0");
    device.completed.clear();
    exchange("*OPC?\n", "1\n");
    ASSERT_NE(ended(readId), nullptr);
    EXPECT_EQ(ended(readId)->status, UsbStatus::done);
}

TEST_F(UsbTmcDeviceTest, ClearingForgetsTheReply) {
    write("*OPC?\n");
    UsbTmcDevice_takePacket(device, "A0");
    UsbTmcDevice_takePacket(device, "R1\n");
    UsbTmcDevice_control(device, requestId, clearDevice);
    UsbTmcDevice_takePacket(device, "A0");
    ASSERT_NE(ended(requestId), nullptr);
    EXPECT_EQ(ended(requestId)->bytes, "\x01");
    read();
    EXPECT_EQ(ended(readId), nullptr);
}

TEST_F(UsbTmcDeviceTest, ADeviceThatIsStillBeingClearedSaysSo) {
    ASSERT_TRUE(UsbFaults_set(device.faults, "pendclear"));
    UsbTmcDevice_control(device, requestId, checkClear);
    ASSERT_NE(ended(requestId), nullptr);
    EXPECT_EQ(ended(requestId)->bytes, "\x02\0"sv);
}

TEST_F(UsbTmcDeviceTest, ATransferThatIsGivenUpEndsOnce) {
    write("*OPC?\n");
    UsbTmcDevice_cancel(device, writeId);
    UsbTmcDevice_takePacket(device, "A0");
    ASSERT_EQ(device.completed.size(), 1U);
    EXPECT_EQ(device.completed[0].status, UsbStatus::cancelled);
}

TEST_F(UsbTmcDeviceTest, AMessageThatIsLostIsTakenAndNeverSeen) {
    ASSERT_TRUE(UsbFaults_set(device.faults, "lost"));
    write("*OPC?\n");
    EXPECT_THAT(device.toSensor, IsEmpty());
    ASSERT_NE(ended(writeId), nullptr);
    EXPECT_EQ(ended(writeId)->status, UsbStatus::done);
}

TEST_F(UsbTmcDeviceTest, SpoiltHeadersAreWhatTheirFaultsSay) {
    constexpr std::array<std::pair<const char*, std::string_view>, 5> rows{{
        {"short", "\x02\x01\xfe\x00\x00"sv},
        {"empty", ""sv},
        {"badtag", "\x02\x06\xf9\x00\x02\x00\x00\x00\x01\x00\x00\x00"
                   "1\n\0\0"sv},
        {"toolong", "\x02\x05\xfa\x00\x28\x10\x00\x00\x01\x00\x00\x00"
                    "1\n\0\0"sv},
        {"cut", "\x02\x05\xfa\x00\x2a\x00\x00\x00\x01\x00\x00\x00"
                "1\n\0\0"sv},
    }};
    for (const auto& [fault, packet] : rows) {
        device = {};
        ASSERT_TRUE(UsbFaults_set(device.faults, fault));
        exchange("*OPC?\n", "1\n");
        ASSERT_NE(ended(readId), nullptr) << fault;
        EXPECT_EQ(ended(readId)->bytes, packet) << fault;
    }
}

TEST(UsbWireFaults, CountAndUnknownWords) {
    UsbFaults faults;
    EXPECT_TRUE(UsbFaults_set(faults, "nakin 2"));
    EXPECT_TRUE(UsbFaults_strikes(faults, wireFaultNakIn));
    EXPECT_TRUE(UsbFaults_strikes(faults, wireFaultNakIn));
    EXPECT_FALSE(UsbFaults_strikes(faults, wireFaultNakIn));
    EXPECT_FALSE(UsbFaults_set(faults, "rust"));
    EXPECT_FALSE(UsbFaults_set(faults, "nakin often"));
    EXPECT_THAT(UsbFaults_names(), HasSubstr("stallclear"));
    EXPECT_TRUE(UsbFaults_set(faults, "babble forever"));
    UsbFaults_clear(faults);
    EXPECT_EQ(UsbFaults_describe(faults), "none");
}
