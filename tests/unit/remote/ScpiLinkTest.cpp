#include "RemoteInstrument.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <vector>

namespace {

TEST(ScpiLink, AnswersEveryLineOfABurstHoweverItIsCut) {
    std::string burst;
    for (int i = 0; i < 1000; ++i) {
        burst += i % 3 == 0 ? "*OPC?\r\n" : i % 3 == 1 ? "SYST:VERS?\n" : "*TST?\r";
    }
    for (const size_t size : {1U, 7U, 255U, 256U, 1000U}) {
        RemoteInstrument instrument;
        std::string answered;
        for (size_t at = 0; at < burst.size(); at += size) {
            answered += instrument.sendBytes(std::string_view(burst).substr(at, size));
        }
        EXPECT_EQ(std::count(answered.begin(), answered.end(), '\n'), 1000) << size;
        EXPECT_EQ(instrument.errors(), "");
    }
}

TEST(ScpiLink, RefusesALineThatIsTooLongOnceAndTakesTheNext) {
    for (const size_t length : {256U, 300U, 1000U, 1U << 20U}) {
        for (const size_t pieceSize : {1U, 100U, 256U}) {
            if (length > 1000 && pieceSize == 1) {
                continue;
            }
            RemoteInstrument instrument;
            const std::string text = std::string(length, 'A') + "\n*OPC?\n";
            std::string answered;
            for (size_t at = 0; at < text.size(); at += pieceSize) {
                answered += instrument.sendBytes(std::string_view(text).substr(at, pieceSize));
            }
            EXPECT_EQ(answered, "1\r\n") << length << " in pieces of " << pieceSize;
            EXPECT_EQ(instrument.errors(), "-363,\"Input buffer overrun\"");
        }
    }
}

TEST(ScpiLink, TakesTheLongestLineThatFits) {
    RemoteInstrument instrument;
    EXPECT_EQ(instrument.sendBytes("*OPC?" + std::string(249, ' ') + "\n"), "1\r\n");
    EXPECT_EQ(instrument.sendBytes("*OPC?" + std::string(250, ' ') + "\n"), "");
    EXPECT_EQ(instrument.errors(), "-363,\"Input buffer overrun\"");
}

TEST(ScpiLink, RunsWhatIsPendingWhenItsTimeIsUp) {
    RemoteInstrument instrument;
    EXPECT_EQ(instrument.sendBytes("*OPC?"), "");
    EXPECT_TRUE(ScpiLink_runPending(&instrument.link));
    EXPECT_EQ(instrument.readReplies(), "1\r\n");
    EXPECT_TRUE(ScpiLink_runPending(&instrument.link));
    EXPECT_EQ(instrument.readReplies(), "");
}

TEST(ScpiLink, EndsALineThatIsTooLongWhenItsTimeIsUp) {
    RemoteInstrument instrument;
    instrument.sendBytes(std::string(400, 'A'));
    ScpiLink_runPending(&instrument.link);
    EXPECT_EQ(instrument.send("*OPC?"), "1\r\n");
}

TEST(ScpiLink, HasATimeThatCanBeUpOnlyWhileALineLacksItsEnd) {
    struct Case {
        std::string bytes;
        bool isPending;
    };
    const Case cases[] = {
        {"*OPC?", true},
        {"*OPC?\n", false},
        {"*OPC?\n*T", true},
        {"*OPC?\n*TST?\r\n", false},
        {std::string(400, 'A'), true},
        {std::string(400, 'A') + "\n", false},
        {"\n", false},
        {" ", true},
    };
    for (const Case& row : cases) {
        RemoteInstrument instrument;
        EXPECT_FALSE(ScpiLink_isPending(&instrument.link));
        instrument.sendBytes(row.bytes);
        EXPECT_EQ(ScpiLink_isPending(&instrument.link), row.isPending) << row.bytes;
        ScpiLink_runPending(&instrument.link);
        EXPECT_FALSE(ScpiLink_isPending(&instrument.link)) << row.bytes;
    }
}

TEST(ScpiLink, KeepsALineEndWithinQuotesAsText) {
    RemoteInstrument instrument;
    EXPECT_EQ(instrument.sendBytes("TRIG:SLOP \"a\nb\";*OPC?\n"), "1\r\n");
    EXPECT_EQ(instrument.errors(), "-220,\"Parameter error\"");
}

TEST(ScpiLink, LosesNothingBetweenTwoStrayQuotes) {
    RemoteInstrument instrument;
    std::string burst = "FOO'\n";
    for (int i = 0; i < 100; ++i) {
        burst += "*OPC?\n";
    }
    const std::string answered = instrument.sendBytes(burst + "FOO'\n");
    EXPECT_EQ(std::count(answered.begin(), answered.end(), '\n'), 100);
    EXPECT_EQ(instrument.errors().find("-363"), std::string::npos);
}

TEST(ScpiLink, SurvivesZeroBytesAndAnyOther) {
    RemoteInstrument instrument;
    std::string everything;
    for (int byte = 0; byte < 256; ++byte) {
        everything += static_cast<char>(byte);
    }
    instrument.sendBytes(everything + "\n" + std::string(30, '\0') + "\n");
    instrument.errors();
    EXPECT_EQ(instrument.send("*OPC?"), "1\r\n");
}

TEST(ScpiLink, SendsEachReplyInOnePiece) {
    RemoteInstrument instrument;
    const std::string idn = instrument.send("*IDN?");
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends), 0);
    const int32_t old = instrument.linkEnd.exchange(ends[0]);
    ScpiLink_receive(&instrument.link, "*IDN?;*OPC?;:SYST:VERS?;*TST?\n");
    char packet[512];
    const ssize_t first = recv(ends[1], packet, sizeof packet, 0);
    EXPECT_EQ(std::string(packet, static_cast<size_t>(std::max<ssize_t>(first, 0))),
              idn.substr(0, idn.size() - 2) + ";1;1999.0;0\r\n");
    ScpiLink_receive(&instrument.link, "*OPC?\n*TST?\n*WAI\n*OPC?\n");
    EXPECT_EQ(recv(ends[1], packet, sizeof packet, 0), 6) << "no reply waits for a command";
    EXPECT_EQ(recv(ends[1], packet, sizeof packet, 0), 3);
    close(ends[0]);
    close(ends[1]);
    instrument.linkEnd = old;
}

/// The replies to these bytes, as they were sent.
std::vector<std::string> piecesOf(RemoteInstrument& instrument, const std::string& bytes) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends), 0);
    const int32_t old = instrument.linkEnd.exchange(ends[0]);
    ScpiLink_receive(&instrument.link, bytes);
    instrument.linkEnd = old;
    std::vector<std::string> pieces;
    std::array<char, 32768> packet;
    for (ssize_t count = 0; (count = recv(ends[1], packet.data(), packet.size(), 0)) > 0;) {
        pieces.emplace_back(packet.data(), static_cast<size_t>(count));
    }
    close(ends[0]);
    close(ends[1]);
    return pieces;
}

std::string repeated(const std::string& text, size_t times) {
    std::string all;
    for (size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

TEST(ScpiLink, SendsTheLongestReplyInOnePiece) {
    RemoteInstrument instrument;
    const std::string version(scpiFwVersionSize - 1, 'v');
    const std::string model(scpiIdentitySize - 1, 'm');
    snprintf(scpi.load()->fwVersion, scpiFwVersionSize, "%s", version.c_str());
    snprintf(scpi.load()->modelNum, scpiIdentitySize, "%s", model.c_str());
    snprintf(scpi.load()->serialNum, scpiIdentitySize, "%s", model.c_str());
    const std::string line = repeated("*IDN?;", 41) + "*IDN?\n";
    const std::string answer = "QUORVEL-TECHNOLOGIES," + model + "," + model + "," + version;
    const std::string reply = repeated(answer + ";", 41) + answer + "\r\n";
    ASSERT_LT(reply.size(), scpiLineReplySize);
    EXPECT_EQ(piecesOf(instrument, line), std::vector<std::string>{reply});
    std::string all;
    for (const std::string& piece : piecesOf(instrument, repeated(line, 5))) {
        EXPECT_TRUE(piece.ends_with("\r\n")) << "no line's reply is cut";
        all += piece;
    }
    EXPECT_EQ(all, repeated(reply, 5));
}

TEST(ScpiLink, SendsTheWholeErrorQueueInOnePiece) {
    RemoteInstrument instrument;
    const std::string unknown(230, 'X');
    for (size_t error = 0; error < scpiErrorQueueSize; ++error) {
        instrument.send(unknown);
    }
    const std::string one = "-113,\"Undefined header;" + unknown + "\"";
    EXPECT_EQ(piecesOf(instrument, "SYST:ERR?" + repeated(";ERR?", scpiErrorQueueSize - 1) + "\n"),
              std::vector<std::string>{repeated(one + ";", scpiErrorQueueSize - 1) + one + "\r\n"});
}

TEST(ScpiLink, SendsWhatACommandWroteThoughNoQuerySucceeded) {
    RemoteInstrument instrument;
    EXPECT_EQ(instrument.send("SYST:COMM:RS232:FLOW?;FLOW? 1"), "none;none\r\n");
    EXPECT_EQ(instrument.errors(), "-108,\"Parameter not allowed\"");
}

TEST(ScpiLink, AnswersNobodyWithoutADescriptor) {
    RemoteInstrument instrument;
    instrument.link.descriptor = nullptr;
    EXPECT_EQ(instrument.send("*OPC?"), "");
    EXPECT_EQ(scpi_interface.write(&instrument.context, "x", 1), 0U);
    instrument.link.descriptor = &instrument.linkEnd;
    EXPECT_EQ(scpi_interface.write(&instrument.context, "x", 1), 1U);
}

TEST(ScpiLink, DeliversAReplyThatIsLongerThanItsBuffer) {
    RemoteInstrument instrument;
    const std::string text(3 * scpiLineReplySize, 'x');
    EXPECT_EQ(scpi_interface.write(&instrument.context, text.data(), text.size()), text.size());
    EXPECT_EQ(instrument.readReplies() + instrument.send(""), text);
}

TEST(ScpiLink, GivesUpAPeerThatHasGone) {
    RemoteInstrument instrument;
    close(instrument.clientEnd);
    EXPECT_FALSE(ScpiLink_receive(&instrument.link, "*OPC?\n"));
    EXPECT_FALSE(ScpiLink_receive(&instrument.link, "*OPC?\n"));
    ScpiLink_discard(&instrument.link);
    EXPECT_TRUE(ScpiLink_receive(&instrument.link, "*WAI\n"));
    instrument.clientEnd = -1;
}

TEST(ScpiLink, GivesUpAPeerThatTakesNoReply) {
    RemoteInstrument instrument;
    World_setSpeed(50);
    bool taken = true;
    for (int i = 0; i < 200000 && taken; ++i) {
        taken = ScpiLink_receive(&instrument.link, "*IDN?\n");
    }
    World_setSpeed(1);
    EXPECT_FALSE(taken);
}

TEST(ScpiLink, ForgetsWhatIsPendingButNotTheErrors) {
    RemoteInstrument instrument;
    instrument.send("FOO");
    instrument.sendBytes("*OPC");
    ScpiLink_discard(&instrument.link);
    EXPECT_EQ(instrument.send("*TST?"), "0\r\n");
    EXPECT_EQ(instrument.errors(), "-113,\"Undefined header;FOO\"");
}

TEST(ScpiLink, RecordsErrorsServiceRequestsAndResets) {
    RemoteInstrument instrument;
    World_clearSyslog();
    instrument.send("*SRE 4;FOO;*RST");
    EXPECT_TRUE(World_syslogContains("**ERROR: -113, Undefined header"));
    EXPECT_TRUE(World_syslogContains("**SRQ: 0x44 (68)"));
    EXPECT_TRUE(World_syslogContains("**Reset"));
    scpi_interface.control(&instrument.context, SCPI_CTRL_GTL, 16);
    EXPECT_TRUE(World_syslogContains("**CTRL 02: 0x10 (16)"));
    EXPECT_EQ(scpi_interface.error(&instrument.context, -113), SCPI_RES_ERR);
    EXPECT_EQ(scpi_interface.flush(&instrument.context), SCPI_RES_OK);
}

} // namespace
