// The message channel as the library behind "/dev/usbtmcN" uses it.

#include "UsbPortPlayer.h"

#include "LocalSocket.h"
#include "WorldFolder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <sys/socket.h>
#include <unistd.h>

using testing::HasSubstr;

namespace {

constexpr int64_t second_ns = 1000000000;

class UsbPortPlayerTest : public testing::Test {
protected:
    void SetUp() override {
        world = WorldFolder_makeTemporary("quorvel-usb");
        ASSERT_TRUE(WorldFolder_create(world));
        UsbPortPlayer_open(player, 0, world);
        ASSERT_TRUE(UsbPortPlayer_plug(player, *Sensor316x_create("3164"), 0));
        channel = LocalSocket_connect(world + "/usbtmc0.sock", SOCK_SEQPACKET);
        ASSERT_GE(channel, 0);
    }

    void TearDown() override {
        close(channel);
        UsbPortPlayer_close(player);
        WorldFolder_remove(world);
    }

    bool isNodeThere() const {
        return access(WorldFolder_path(world, "/dev/usbtmc0").c_str(), F_OK) == 0;
    }

    std::string packet(const std::string& sent, int64_t now_ns = 0) {
        EXPECT_EQ(send(channel, sent.data(), sent.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(sent.size()));
        return receive(now_ns);
    }

    std::string receive(int64_t now_ns) {
        UsbPortPlayer_service(player, now_ns);
        char buffer[2048];
        const ssize_t count = recv(channel, buffer, sizeof buffer, MSG_DONTWAIT);
        return {buffer, count > 0 ? static_cast<size_t>(count) : 0};
    }

    static std::string acknowledged(int error = 0) {
        return "A" + std::to_string(error);
    }

    std::string write(const std::string& message, int64_t now_ns = 0) {
        return packet("W" + message, now_ns);
    }

    std::string read(int64_t now_ns = 0) {
        return receive(now_ns);
    }

    UsbPortPlayer player{};
    std::string world;
    int channel = -1;
};

} // namespace

TEST_F(UsbPortPlayerTest, AQueryIsAnsweredWhenItIsRead) {
    EXPECT_TRUE(isNodeThere());
    EXPECT_EQ(write("SYST:IDEN:MOD?\n"), acknowledged());
    EXPECT_EQ(read(), std::string("R3164\n"));
}

TEST_F(UsbPortPlayerTest, AReplyThatNobodyWaitsForIsInterrupted) {
    player.sensor->latency_s = 1;
    write("SYST:IDEN:MOD?\n");
    player.sensor->latency_s = 0;
    write("SYST:ERR?\n");
    EXPECT_EQ(read(), std::string("R-410,\"Query INTERRUPTED\"\n"));
}

TEST_F(UsbPortPlayerTest, UnpluggingTakesTheNodeAndTheChannelAway) {
    UsbPortPlayer_service(player, 0);
    UsbPortPlayer_unplug(player, 0);
    EXPECT_FALSE(isNodeThere());
    char byte = 0;
    EXPECT_EQ(recv(channel, &byte, 1, 0), 0) << "end of the channel";
}

TEST_F(UsbPortPlayerTest, AReplugBringsTheSameSensorBack) {
    UsbPortPlayer_replug(player, 0.2, 0);
    EXPECT_FALSE(isNodeThere());
    EXPECT_EQ(UsbPortPlayer_nextDue_ns(player), second_ns / 5);
    UsbPortPlayer_service(player, second_ns / 5);
    EXPECT_TRUE(isNodeThere());
    ASSERT_TRUE(player.sensor);
    EXPECT_EQ(player.sensor->modelText, "3164");
}

TEST_F(UsbPortPlayerTest, SilenceLeavesReadsWaiting) {
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "silence", 0));
    EXPECT_EQ(write("*OPC?\n"), acknowledged());
    EXPECT_EQ(read(), "");
}

TEST_F(UsbPortPlayerTest, ALateAnswerComesAfterTheDriverHasGivenUp) {
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "late", 0));
    write("*OPC?\n");
    EXPECT_EQ(read(5 * second_ns), "");
    EXPECT_EQ(read(9 * second_ns), std::string("R1\n"));
}

TEST_F(UsbPortPlayerTest, EachHaltIsEndedByTheRequestsThatEndItInTheKernel) {
    write("*CLS\n");
    for (const char* request : {"O", "C"}) {
        ASSERT_TRUE(UsbPortPlayer_setFault(player, "stall", 0));
        EXPECT_EQ(read(), "H1");
        EXPECT_EQ(write("*OPC?\n"), acknowledged(EPIPE));
        EXPECT_EQ(packet(request), acknowledged());
        EXPECT_EQ(write("*OPC?\n"), acknowledged());
        EXPECT_EQ(read(), "") << "bulk-in is still halted";
        EXPECT_EQ(UsbPortPlayer_nextDue_ns(player), std::numeric_limits<int64_t>::max());
        EXPECT_EQ(packet("I"), "H0");
        EXPECT_EQ(read(), acknowledged());
        EXPECT_EQ(read(), "R1\n") << "the reply has waited";
    }
}

TEST_F(UsbPortPlayerTest, AHaltOfBulkInAloneLetsMessagesThroughAndIsToldToWhoOpensTheDevice) {
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "stallin", 0));
    EXPECT_EQ(write("*CLS\n"), "H1");
    EXPECT_EQ(read(), acknowledged());
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "none", 0));
    EXPECT_EQ(read(), "H0");
}

TEST_F(UsbPortPlayerTest, ACutCableFailsTheNextMessageAndTakesTheSensorAway) {
    const struct {
        const char* fault;
        int error;
    } cases[] = {{"cut", ESHUTDOWN}, {"cutdevice", ENODEV}};
    for (const auto& c : cases) {
        ASSERT_TRUE(UsbPortPlayer_plug(player, *Sensor316x_create("3162"), 0));
        close(channel);
        channel = LocalSocket_connect(world + "/usbtmc0.sock", SOCK_SEQPACKET);
        ASSERT_TRUE(UsbPortPlayer_setFault(player, c.fault, 0));
        EXPECT_EQ(write("*OPC?\n"), acknowledged(c.error)) << c.fault;
        EXPECT_FALSE(isNodeThere()) << c.fault;
    }
}

TEST_F(UsbPortPlayerTest, AReplyThatIsCutTakesTheSensorAwayInItsPlace) {
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "cutreply", 0));
    EXPECT_EQ(write("*OPC?\n"), acknowledged());
    EXPECT_TRUE(isNodeThere());
    EXPECT_EQ(read(second_ns), "");
    EXPECT_FALSE(isNodeThere());
}

TEST_F(UsbPortPlayerTest, ABadContactBreaksEveryTransferOff) {
    const std::string broken = std::to_string(EPROTO);
    player.sensor->latency_s = 1;
    write("*OPC?\n");
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "noise", 0));
    EXPECT_EQ(read(), "E" + broken) << "the one that is under way, too";
    EXPECT_EQ(write("*OPC?\n"), "A" + broken);
    EXPECT_EQ(packet("C"), "A" + broken);
}

TEST_F(UsbPortPlayerTest, ASensorThatDoesNotLetItselfBeClearedAnswersNoQueryEither) {
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "stallclear", 0));
    EXPECT_EQ(write("*OPC?\n"), acknowledged());
    EXPECT_EQ(read(), "");
    EXPECT_EQ(packet("C"), acknowledged(EPIPE));
    EXPECT_EQ(packet("O"), acknowledged());
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "deaf", 0));
    EXPECT_EQ(write("*OPC?\n"), acknowledged());
    EXPECT_EQ(read(), "");
    EXPECT_EQ(packet("C"), "N");
}

TEST_F(UsbPortPlayerTest, RepliesOfAWrongFormComeAsTheDriverHandsThemOn) {
    const struct {
        const char* fault;
        std::string packet;
    } cases[] = {{"empty", "R"},
                 {"padded", std::string("R1\n\0\0", 5)},
                 {"babble", "E" + std::to_string(EOVERFLOW)}};
    for (const auto& c : cases) {
        ASSERT_TRUE(UsbPortPlayer_setFault(player, c.fault, 0));
        write("*OPC?\n");
        EXPECT_EQ(read(), c.packet) << c.fault;
    }
}

TEST_F(UsbPortPlayerTest, AChosenSettingIsRefusedUntilTheFaultEnds) {
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "error:-222:SENS:FREQ", 0));
    write("SENS:FREQ 20\n");
    write("SYST:ERR?\n");
    EXPECT_EQ(read(), std::string("R-222,\"Data out of range\"\n"));
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "none", 0));
    write("SENS:FREQ 20\n");
    write("SYST:ERR?\n");
    EXPECT_EQ(read(), std::string("R0,\"No error\"\n"));
}

TEST_F(UsbPortPlayerTest, GarbageAndHostileTextsComeAsReplies) {
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "garbage", 0));
    write("SYST:IDEN:MOD?\n");
    EXPECT_NE(read(), std::string("R3164\n"));
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "hostile", 0));
    write("SYST:IDEN:MOD?\n");
    EXPECT_THAT(read(), HasSubstr("%n%s"));
}

TEST_F(UsbPortPlayerTest, UnknownFaultsAreRefusedAndChangeNothing) {
    ASSERT_TRUE(UsbPortPlayer_setFault(player, "error:-222:SENS:FREQ", 0));
    for (const char* name :
         {"", "anger", "none:1", "silence:", "error", "error:", "error:x:SENS:FREQ", "error:-222",
          "error:-222:", "error::SENS:FREQ", "error:1e9:SENS:FREQ"}) {
        EXPECT_FALSE(UsbPortPlayer_setFault(player, name, 0)) << name;
    }
    EXPECT_EQ(player.fault, usbFaultError);
    EXPECT_EQ(player.sensor->refused.size(), 1U);
    EXPECT_EQ(player.sensor->refused["SENS:FREQ"], -222);
}

TEST_F(UsbPortPlayerTest, AReadWithoutAReplyCanTimeOutAtOnce) {
    player.isHasty = true;
    player.sensor->scripted["*STB?"] = "";
    EXPECT_EQ(write("*STB?\n"), acknowledged());
    EXPECT_EQ(read(), "E" + std::to_string(ETIMEDOUT));
    EXPECT_EQ(read(), "");
    EXPECT_EQ(write("*CLS\n"), acknowledged());
    EXPECT_EQ(read(), "") << "nobody asked";
    EXPECT_EQ(write("*OPC?\n"), acknowledged());
    EXPECT_EQ(read(), "R1\n");
}

TEST_F(UsbPortPlayerTest, OneAnswerCanGetLostAfterTheSensorHasGivenIt) {
    player.sensor->errors = {{-100, "First"}, {-200, "Second"}};
    player.lostQuery = "SYST:ERR?";
    EXPECT_EQ(write("SYST:ERR:COUN?\n"), acknowledged());
    EXPECT_EQ(read(), "R2\n");
    EXPECT_EQ(write("SYST:ERR?\n"), acknowledged());
    EXPECT_EQ(read(), "");
    EXPECT_EQ(write("SYST:ERR?\n"), acknowledged());
    EXPECT_EQ(read(), "R-200,\"Second\"\n");
}

TEST_F(UsbPortPlayerTest, AHangUpEndsTheConnectionOfASensorThatStays) {
    EXPECT_EQ(write("*CLS\n"), acknowledged());
    EXPECT_EQ(player.openings, 1U);
    UsbPortPlayer_hangUp(player);
    char byte = 0;
    EXPECT_EQ(recv(channel, &byte, 1, 0), 0);
    EXPECT_TRUE(isNodeThere());
    close(channel);
    channel = LocalSocket_connect(world + "/usbtmc0.sock", SOCK_SEQPACKET);
    EXPECT_EQ(write("*CLS\n"), acknowledged());
    EXPECT_EQ(player.openings, 2U);
}

TEST_F(UsbPortPlayerTest, TheLogHoldsTheConversation) {
    write("SYST:IDEN:MOD?\n");
    read();
    const std::string log = WireLog_text(player.log, 0, true);
    EXPECT_THAT(log, HasSubstr("-> SYST:IDEN:MOD?\\n"));
    EXPECT_THAT(log, HasSubstr("<- 3164\\n"));
}
