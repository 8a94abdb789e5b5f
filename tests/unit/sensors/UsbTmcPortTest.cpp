#include "UsbTmcPort.h"

#include "StillClock.h"
#include "UsbDevice.h"
#include "World.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace {

using Messages = std::vector<std::string>;

/// The driver's time-out, and the pause between two questions.
constexpr double transferLimit_ms = 5000;
constexpr double askAgain_ms = 50;

class UsbTmc : public testing::Test {
protected:
    UsbTmc() {
        fd = UsbTmcPort_Open(0, usbPort1Name);
        UsbTmcPort_forgetUnplugged();
        EXPECT_TRUE(World_waitUntil([this] { return device.connectionCount() == 1; }, 30000));
        device.setRawReply("TRIG:SLOP?", "POS");
    }
    ~UsbTmc() override {
        World_setSpeed(1);
        World_skipSleeps(false);
        UsbTmcPort_Close(fd);
    }
    ssize_t command(sensor_cmd_e which, int ival, float fval, const char* sval) {
        value.ival = ival;
        value.fval = fval;
        snprintf(value.sval, sizeof value.sval, "%s", sval);
        return handleCmd(fd, buffer.data(), which, &value);
    }

    UsbDevice device{0};
    int32_t fd = -1;
    std::array<char, 65> buffer{};
    cmd_type value{};
};

TEST_F(UsbTmc, OpensItsNodeForItselfOnly) {
    EXPECT_GE(fd, 1);
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(UsbTmcPort_Open(1, "/dev/usbtmc1"), -1);
}

TEST_F(UsbTmc, ADescriptorBelowOneIsNotTouched) {
    for (const int32_t none : {0, -1, -5}) {
        qry_type reply;
        cmd_type nothing{};
        EXPECT_EQ(UsbTmcPort_Send(none, "*RST\n"), -1);
        EXPECT_EQ(UsbTmcPort_Receive(none, buffer.data(), 64), -1);
        EXPECT_EQ(handleUsbTmcClear(none), -1);
        EXPECT_EQ(handleQuery(none, buffer.data(), Q_COMMON_STB, &reply), -1);
        EXPECT_EQ(handleCmd(none, buffer.data(), C_COMMON_RST, &nothing), -1);
        EXPECT_EQ(handleQueryWithStatus(none, buffer.data(), Q_COMMON_STB, &reply),
                  usbtmc_transportError);
        EXPECT_EQ(handleCmdWithStatus(none, buffer.data(), C_COMMON_RST, &nothing),
                  usbtmc_transportError);
        EXPECT_EQ(handleInitCmd(none, buffer.data()), -1);
        EXPECT_EQ(handleReadStatusByteQuery(none, buffer.data()), -1);
        EXPECT_EQ(clearSysErrCount(none, buffer.data()), -1);
        UsbTmcPort_Close(none);
    }
    EXPECT_TRUE(device.messages().empty());
}

TEST_F(UsbTmc, ClearsBothEndpointsThenTheDevice) {
    EXPECT_GE(handleUsbTmcClear(fd), 0);
    EXPECT_EQ(device.messages(), (Messages{"<O>", "<I>", "<C>"}));
}

TEST_F(UsbTmc, ClearingStopsAtTheFirstFailure) {
    device.setRequestError(EIO);
    EXPECT_EQ(handleUsbTmcClear(fd), -1);
    EXPECT_EQ(device.messages(), Messages{"<O>"});
}

TEST_F(UsbTmc, AReadThatFailsClearsTheDevice) {
    World_setSpeed(8); // the clear that follows must not come too late
    EXPECT_EQ(UsbTmcPort_Receive(fd, buffer.data(), 64), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(device.messages(), Messages{"<C>"});
}

TEST_F(UsbTmc, AReplyIsTerminatedEvenIfItFillsTheBuffer) {
    device.setRawReply("SYST:IDEN:MOD?", std::string(80, 'm'));
    buffer.fill('x');
    qry_type reply;
    EXPECT_EQ(handleQuery(fd, buffer.data(), Q_SYSTEM_MODEL, &reply), 64);
    EXPECT_EQ(buffer.data(), std::string(64, 'm'));
    EXPECT_EQ(reply.sval, std::string(63, 'm'));
}

struct ReplyCase {
    sensor_qry_e query;
    const char* reply;
    int ival;
    float fval;
    const char* sval;
};

TEST_F(UsbTmc, AReplyFillsTheFieldOfItsTypeAndClearsTheOthers) {
    const ReplyCase cases[] = {
        {Q_SYSTEM_MODEL, "3164\n", 0, 0.0F, "3164\n"},
        {Q_SYSTEM_MODEL, "%n%s\n", 0, 0.0F, "%n%s\n"},
        {Q_COMMON_STB, "12\n", 12, 0.0F, ""},
        {Q_COMMON_STB, "-222,\"Data out of range\"\n", -222, 0.0F, ""},
        {Q_COMMON_STB, "noise\n", 0, 0.0F, ""},
        {Q_COMMON_STB, "99999999999\n", 2147483647, 0.0F, ""},
        {Q_SENSE_FREQUENCY, "13.56\n", 0, 13.56F, ""},
        {Q_SENSE_FREQUENCY, "1.5E-3\n", 0, 0.0015F, ""},
        {Q_SENSE_FREQUENCY, "noise\n", 0, 0.0F, ""},
    };
    for (const ReplyCase& one : cases) {
        device.setRawReply(sensor_qry_param[one.query].text, one.reply);
        qry_type reply;
        reply.ival = 77;
        reply.fval = 77.0F;
        reply.sval[0] = 'x';
        EXPECT_EQ(handleQuery(fd, buffer.data(), one.query, &reply),
                  static_cast<ssize_t>(std::string(one.reply).size()));
        EXPECT_EQ(reply.ival, one.ival) << one.reply;
        EXPECT_EQ(reply.fval, one.fval) << one.reply;
        EXPECT_STREQ(reply.sval, one.sval);
    }
}

TEST_F(UsbTmc, AQueryWithoutAnAnswerLeavesAClearedRecord) {
    device.setReply("*STB?", "");
    qry_type reply;
    reply.ival = 77;
    EXPECT_EQ(handleQuery(fd, buffer.data(), Q_COMMON_STB, &reply), -1);
    EXPECT_EQ(reply.ival, 0);
}

struct CommandCase {
    sensor_cmd_e command;
    int ival;
    float fval;
    const char* sval;
    Messages messages;
};

TEST_F(UsbTmc, ACommandIsSentWithItsArgumentAfterItsReadBack) {
    const CommandCase cases[] = {
        {C_COMMON_RST, 5, 5.0F, "x", {"*RST"}},
        {C_PNP_FILE_BLOCK_NUMBER, 7, 5.0F, "x", {"PNP:FILE:BLOC:NUMB 7"}},
        {C_SENSE_FREQ_AUTO, 0, 5.0F, "x", {"SENS:FREQ:AUTO?", "SENS:FREQ:AUTO 0"}},
        {C_SENSE_FREQ, 5, 1000000.0F, "x", {"SENS:FREQ?", "SENS:FREQ 1000000.000000"}},
        {C_TRIGGER_SLOPE, 5, 5.0F, "NEG", {"TRIG:SLOP?", "TRIG:SLOP NEG"}},
        {C_TRIGGER_LEVEL_AUTO, 5, 5.0F, "ON", {"TRIG:LEV:AUTO?", "TRIG:LEV:AUTO ON"}},
        {C_CALCULATE_STATE4_END,
         0,
         -0.5F,
         "",
         {"CALC:STAT4:END:DEL?", "CALC:STAT4:END:DEL "
                                 "-0.500000"}},
    };
    for (const CommandCase& one : cases) {
        device.clearMessages();
        EXPECT_GT(command(one.command, one.ival, one.fval, one.sval), 0);
        EXPECT_EQ(device.messages(), one.messages);
        EXPECT_EQ(value.ival, 0);
        EXPECT_EQ(value.fval, 0.0F);
        EXPECT_STREQ(value.sval, "");
    }
}

TEST_F(UsbTmc, ASettingThatTheSensorHasIsNotSent) {
    EXPECT_GT(command(C_SENSE_FREQ, 0, 13.56F, ""), 0);
    EXPECT_GT(command(C_SENSE_FREQ_AUTO, 1, 0.0F, ""), 0);
    EXPECT_GT(command(C_TRIGGER_SLOPE, 0, 0.0F, "POS"), 0);
    EXPECT_EQ(device.messages(), (Messages{"SENS:FREQ?", "SENS:FREQ:AUTO?", "TRIG:SLOP?"}));
}

TEST_F(UsbTmc, ATextReplyKeepsItsLineEndSoThatItDiffersFromTheWantedText) {
    EXPECT_GT(command(C_TRIGGER_SOURCE, 0, 0.0F, "INT"), 0);
    EXPECT_EQ(device.messages(), (Messages{"TRIG:SOUR?", "TRIG:SOUR INT"}));
}

TEST_F(UsbTmc, TheAutomaticTriggerLevelIsNotSentWithoutAText) {
    EXPECT_GT(command(C_TRIGGER_LEVEL_AUTO, 1, 0.0F, ""), 0);
    EXPECT_EQ(device.messages(), Messages{"TRIG:LEV:AUTO?"});
}

TEST_F(UsbTmc, ASettingThatCannotBeReadBackIsNotSent) {
    device.setReply("SENS:FREQ?", "");
    EXPECT_EQ(command(C_SENSE_FREQ, 0, 1.0F, ""), -1);
    EXPECT_EQ(device.messages(), (Messages{"SENS:FREQ?", "<C>"}));
}

struct StatusCase {
    std::vector<int> errors;
    enUSBTMCErrors status;
};

TEST_F(UsbTmc, AnExchangesStatusIsTheSensorsError) {
    const StatusCase cases[] = {
        {{}, usbtmc_success},
        {{-222}, usbtmc_sensorError222},
        {{-113}, usbtmc_sensorError},
        {{-1}, usbtmc_sensorError},
        {{-113, -222}, usbtmc_sensorError222},
        {{-222, -113}, usbtmc_sensorError},
        {{5}, usbtmc_success},
    };
    for (const StatusCase& one : cases) {
        for (const int error : one.errors) {
            device.queueError(error);
        }
        qry_type reply;
        EXPECT_EQ(handleQueryWithStatus(fd, buffer.data(), Q_PNP_AVAILABLE, &reply), one.status);
        EXPECT_EQ(reply.ival, 1);
        for (const int error : one.errors) {
            device.queueError(error);
        }
        cmd_type none{};
        EXPECT_EQ(handleCmdWithStatus(fd, buffer.data(), C_TRIGGER_INIT, &none), one.status);
        EXPECT_EQ(clearSysErrCount(fd, buffer.data()), 0) << "errors are left";
    }
}

TEST_F(UsbTmc, DrainingTellsTheLastNegativeErrorOrTheCount) {
    EXPECT_EQ(clearSysErrCount(fd, buffer.data()), 0);
    device.queueError(3);
    device.queueError(4);
    EXPECT_EQ(clearSysErrCount(fd, buffer.data()), 2);
    device.queueError(-100);
    device.queueError(4);
    EXPECT_EQ(clearSysErrCount(fd, buffer.data()), -100);
}

TEST_F(UsbTmc, DrainingWithoutAnAnswerFails) {
    device.setReply("SYST:ERR:COUN?", "");
    EXPECT_EQ(clearSysErrCount(fd, buffer.data()), -1);
    qry_type reply;
    EXPECT_EQ(handleQueryWithStatus(fd, buffer.data(), Q_COMMON_STB, &reply), usbtmc_sensorError);
}

TEST_F(UsbTmc, DrainingEndsWhateverCountTheSensorClaims) {
    device.setReply("SYST:ERR:COUN?", "2147483647");
    EXPECT_EQ(clearSysErrCount(fd, buffer.data()), 2147483647);
    EXPECT_EQ(device.messages().size(), 257U);
    device.clearMessages();
    device.setReply("SYST:ERR?", "");
    EXPECT_EQ(clearSysErrCount(fd, buffer.data()), -1);
    constexpr size_t lostAnswers = 6; // five seconds each: it is lost itself after thirty
    EXPECT_EQ(device.messages().size(), 1 + 2 * lostAnswers);
}

TEST_F(UsbTmc, DrainingGoesOnBehindALostAnswer) {
    struct {
        std::vector<int> errors; ///< the answer with the first one is lost
        int result;
    } cases[] = {{{-100, -101, -102}, -102}, {{-100, 4}, -1}, {{-100}, -1}};
    for (auto& one : cases) {
        for (const int error : one.errors) {
            device.queueError(error);
        }
        device.loseNextAnswer("SYST:ERR?");
        EXPECT_EQ(clearSysErrCount(fd, buffer.data()), one.result);
        EXPECT_EQ(clearSysErrCount(fd, buffer.data()), 0) << "errors are left";
    }
}

TEST_F(UsbTmc, AMeasurementIsCompleteOnceTheAnswerIsOne) {
    std::atomic<int> asked{0};
    device.setReply("*OPC?", "0");
    device.setListener([&](const std::string& message) {
        if (message == "*OPC?" && ++asked == 3) {
            device.setReply("*OPC?", "1");
        }
    });
    EXPECT_EQ(handleInitCmd(fd, buffer.data()), 1);
    EXPECT_EQ(device.messages(), (Messages{"INIT", "*OPC?", "*OPC?", "*OPC?"}));
}

TEST_F(UsbTmc, AMeasurementThatNeverCompletesTimesOutAfter1200Tries) {
    World_skipSleeps(true);
    device.setRawReply("*OPC?", "1"); // without a line end it is another answer
    EXPECT_EQ(handleInitCmd(fd, buffer.data()), 0);
    EXPECT_EQ(device.messages().size(), 1201U);
}

TEST_F(UsbTmc, TheLastTryTimesOutEvenIfItBringsTheAnswer) {
    EXPECT_EQ(waitOperationComplete(fd, buffer.data(), 1), 0);
    EXPECT_EQ(waitOperationComplete(fd, buffer.data(), 2), 1);
}

TEST_F(UsbTmc, TheStatusIsAskedForAnewWhenItsAnswerIsLost) {
    device.setReply("*STB?", "68");
    device.setReply("STAT:QUES:COND?", "512");
    device.loseNextAnswer("*STB?");
    const StillClock clock;
    EXPECT_TRUE(clock.takes(transferLimit_ms + askAgain_ms, [this] {
        EXPECT_EQ(handleReadStatusByteQuery(fd, buffer.data()), 3);
        EXPECT_STREQ(buffer.data(), "68\n");
    }));
    device.loseNextAnswer("STAT:QUES:COND?");
    EXPECT_EQ(handleQuestionableEventQuery(fd, buffer.data()), 4);
    EXPECT_STREQ(buffer.data(), "512\n");
    EXPECT_EQ(device.messages(),
              (Messages{"*STB?", "<C>", "*STB?", "STAT:QUES:COND?", "<C>", "STAT:QUES:COND?"}));
}

TEST_F(UsbTmc, TheStatusIsReadOnBehindAnEmptyAnswerAndNotAskedForAnew) {
    World_setSpeed(8); // the second read ends with the driver's time-out
    device.setReply("*STB?", "68");
    device.fault("empty");
    device.setListener([this](const std::string& message) {
        if (message == "<C>") {
            device.fault("none");
        }
    });
    EXPECT_EQ(handleReadStatusByteQuery(fd, buffer.data()), 3);
    EXPECT_EQ(device.messages(), (Messages{"*STB?", "<C>", "*STB?"}));
}

TEST_F(UsbTmc, ASensorThatIsSilentForHalfAMinuteIsGivenUp) {
    const StillClock clock;
    constexpr int reads = 6;
    constexpr double silence_ms = reads * transferLimit_ms + (reads - 1) * askAgain_ms;
    device.setReply("*STB?", "");
    device.setReply("*OPC?", "");
    EXPECT_TRUE(clock.takes(
        silence_ms, [this] { EXPECT_EQ(handleReadStatusByteQuery(fd, buffer.data()), -1); }));
    EXPECT_EQ(device.messages().size(), 2U * reads);
    EXPECT_TRUE(clock.takes(
        silence_ms, [this] { EXPECT_EQ(waitOperationComplete(fd, buffer.data(), 1200), 0); }));
    EXPECT_EQ(device.messages().size(), 4U * reads);
}

TEST_F(UsbTmc, ASensorThatAnswersNowAndThenIsBusyAndNotSilent) {
    const StillClock clock;
    std::atomic<int> asked{0};
    device.setListener([&](const std::string& message) {
        if (message == "*OPC?") {
            ++asked;
            device.setReply("*OPC?", asked % 5 != 0 ? "" : asked < 20 ? "0" : "1");
        }
    });
    EXPECT_EQ(handleInitCmd(fd, buffer.data()), 1);
    EXPECT_EQ(asked, 20);
}

TEST_F(UsbTmc, AHaltOfBulkInEndsEveryWaitAtItsFirstRead) {
    using Wait = int (*)(int32_t fd, char* buffer);
    const Wait waits[] = {handleInitCmd, [](int32_t port, char* reply) {
                              return static_cast<int>(handleReadStatusByteQuery(port, reply));
                          }};
    for (const Wait wait : waits) {
        device.fault("stallin");
        device.clearMessages();
        UsbTmcPort_forgetUnplugged();
        EXPECT_LT(wait(fd, buffer.data()), 0);
        EXPECT_EQ(std::ranges::count(device.messages(), "<C>"), 1);
        EXPECT_TRUE(UsbTmcPort_wasUnplugged());
        EXPECT_GE(handleUsbTmcClear(fd), 0); // as the sensor is started again
        EXPECT_EQ(waitOperationComplete(fd, buffer.data(), 2), -1) << "until it is forgotten";
        UsbTmcPort_forgetUnplugged();
        EXPECT_EQ(waitOperationComplete(fd, buffer.data(), 2), 1);
    }
}

TEST_F(UsbTmc, AMeasurementIsAskedForAfterTenMillisecondsAndThenEveryFifty) {
    const StillClock clock;
    EXPECT_TRUE(
        clock.takes(10 + askAgain_ms, [this] { EXPECT_EQ(handleInitCmd(fd, buffer.data()), 1); }));
    device.setReply("*OPC?", "0");
    EXPECT_TRUE(clock.takes(
        9 * askAgain_ms, [this] { EXPECT_EQ(waitOperationComplete(fd, buffer.data(), 10), 0); }));
}

TEST_F(UsbTmc, ASensorThatIsPulledInTheMiddleOfACallIsNoticedByIt) {
    device.fault("cut");
    EXPECT_LT(UsbTmcPort_Send(fd, "*RST\n"), 0);
    EXPECT_EQ(errno, ESHUTDOWN);
    EXPECT_TRUE(UsbTmcPort_wasUnplugged());
}

TEST_F(UsbTmc, APulledSensorIsNoticedByTheNextCall) {
    EXPECT_FALSE(UsbTmcPort_wasUnplugged());
    device.unplug();
    EXPECT_LT(UsbTmcPort_Send(fd, "*RST\n"), 0);
    EXPECT_TRUE(UsbTmcPort_wasUnplugged());
    UsbTmcPort_forgetUnplugged();
    EXPECT_LT(handleUsbTmcClear(fd), 0); // now there is no such device
    EXPECT_TRUE(UsbTmcPort_wasUnplugged());
    EXPECT_LT(handleInitCmd(fd, buffer.data()), 0);
    EXPECT_LT(handleReadStatusByteQuery(fd, buffer.data()), 0);
}

TEST(UsbTmcOfANewThread, HasFoundNoSensorGone) {
    bool isGone = true;
    std::thread([&] { isGone = UsbTmcPort_wasUnplugged(); }).join();
    EXPECT_FALSE(isGone);
}

TEST_F(UsbTmc, ATimeOutIsNoUnplugging) {
    device.setReply("*STB?", "");
    qry_type reply;
    handleQuery(fd, buffer.data(), Q_COMMON_STB, &reply);
    EXPECT_FALSE(UsbTmcPort_wasUnplugged());
}

} // namespace
