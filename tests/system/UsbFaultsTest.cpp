// What goes wrong on one USB port, and what that must not do to the others.

#include "MeterTest.h"

using testing::HasSubstr;

namespace {

/// A port, the half of the screen that shows it, and its title there.
struct Side {
    std::string port;
    std::string sensor; ///< model and keys
    std::string half;
    std::string title;
};

const Side usb1 = {"usb1", "3164 fwd=25", "upper", "3164: 316400125"};
const Side usb2 = {"usb2", "3162 fwd=4", "lower", "3162: 316200031"};
const Side serial1 = {"serial1", "5134 fwd=4", "lower", "5134: 513400203"};
const Side serial2 = {"serial2", "5132 fwd=4", "lower", "5132: 513200417"};

class UsbTrouble : public MeterTest {
protected:
    void startWithUsb1() {
        startFast();
        plugFirst(usb1.port, usb1.sensor);
    }

    void plugSecond(const Side& side) {
        plug(side.port, side.sensor);
        ASSERT_TRUE(waitForReading(side.half + ".fwd.value"));
    }

    testing::AssertionResult measuresOn(const Side& side) {
        return measures(side.port, side.half + ".fwd.value");
    }

    testing::AssertionResult hasItsTitle(const Side& side) {
        return shows(side.half + ".title", side.title);
    }

    /// The program has the sensor's device open.
    bool isOpen(const Side& side) {
        std::string status;
        Bench_do(bench, "status", &status);
        const size_t line = status.find(side.port + ": ");
        return status.substr(line, status.find('\n', line) - line).find("open=1") !=
               std::string::npos;
    }
};

class UsbFaults : public UsbTrouble, public testing::WithParamInterface<const char*> {
protected:
    void breakAndMend(const Side& broken, const Side& other) {
        const std::string fault = GetParam();
        const std::string where = fault + " on " + broken.port + " beside " + other.port;
        const uint64_t before = lastEntry(broken.port);
        ASSERT_TRUE(Bench_do(bench, "fault " + broken.port + " " + fault));
        ASSERT_TRUE(waitForLog(broken.port, before, "->") || fault == "stall") << where;
        EXPECT_TRUE(measuresOn(other)) << where;
        EXPECT_TRUE(hasItsTitle(other)) << where;
        EXPECT_TRUE(Bench_isVisible(bench, broken.half + ".title")) << where;
        ASSERT_TRUE(Bench_do(bench, "fault " + broken.port + " none"));
        EXPECT_TRUE(measuresOn(broken)) << where;
        EXPECT_TRUE(hasItsTitle(broken)) << where;
        EXPECT_TRUE(measuresOn(other)) << where;
    }
};

} // namespace

TEST_P(UsbFaults, LeaveEveryOtherPortMeasuringAndPassAway) {
    startWithUsb1();
    // Two sensors are measured at a time: each of the other ports has its turn.
    for (const Side* other : {&serial1, &serial2, &usb2}) {
        plugSecond(*other);
        breakAndMend(usb1, *other);
        ASSERT_FALSE(HasFatalFailure());
        if (other != &usb2) {
            ASSERT_TRUE(Bench_do(bench, "unplug " + other->port));
            ASSERT_TRUE(becomesVisible("singleSensorContainer", true));
        }
    }
    breakAndMend(usb2, usb1);
}

INSTANTIATE_TEST_SUITE_P(Usb, UsbFaults,
                         testing::Values("silence", "late", "garbage", "hostile", "stall",
                                         "stallin", "error:-222:INIT"),
                         [](const testing::TestParamInfo<const char*>& chosen) {
                             const std::string name = chosen.param;
                             return name.substr(0, name.find(':'));
                         });

TEST_F(UsbTrouble, AStalledEndpointIsClearedWithoutHelp) {
    startWithUsb1();
    plugSecond(usb2);
    for (const char* fault : {" stall", " stallin"}) {
        for (const Side* side : {&usb1, &usb2}) {
            ASSERT_TRUE(Bench_do(bench, "fault " + side->port + fault));
            EXPECT_TRUE(measuresOn(*side)) << side->port << fault;
            EXPECT_TRUE(hasItsTitle(*side)) << side->port << fault;
        }
    }
}

TEST_F(UsbTrouble, AHostileIdentityIsShownAsItIs) {
    startFast();
    plug("usb1", "3164 fwd=25");
    ASSERT_TRUE(Bench_do(bench, "fault usb1 hostile"));
    ASSERT_TRUE(chooseChannel(1));
    EXPECT_TRUE(shows("single.title", "%n%s%n%s%n%s%n%s: ", readingLimit_ms));
    EXPECT_TRUE(measures("usb1", "single.fwd.value"));
}

TEST_F(UsbTrouble, ASensorThatBabblesIsIdentifiedOnceItSpeaks) {
    startFast();
    plug("usb1", "3164 fwd=25");
    ASSERT_TRUE(Bench_do(bench, "fault usb1 garbage"));
    ASSERT_TRUE(chooseChannel(1));
    // Twice it has been cleared and reset in vain.
    const auto isTriedAgain = [&] {
        const std::string log = logOf("usb1", 0);
        const size_t first = log.find("-> *RST");
        return first != std::string::npos && log.find("-> *RST", first + 1) != std::string::npos;
    };
    ASSERT_TRUE(Bench_do(bench, "clock speed 20"));
    ASSERT_TRUE(Bench_waitUntil(isTriedAgain, readingLimit_ms));
    EXPECT_TRUE(Bench_isVisible(bench, "noConnection.title"));
    setSpeed(4); // at the other speed a busy machine's replies come too late
    ASSERT_TRUE(Bench_do(bench, "fault usb1 none"));
    EXPECT_TRUE(shows("single.title", "3164: 316400125", readingLimit_ms));
    EXPECT_TRUE(measures("usb1", "single.fwd.value"));
}

TEST_F(UsbTrouble, ARefusedSettingIsLoggedAndTheSensorMeasures) {
    const struct {
        const char* code;
        const char* status;
    } cases[] = {{"-222", "2"}, {"-113", "3"}};
    for (const auto& c : cases) {
        startFast();
        plug("usb1", "3164 fwd=25");
        ASSERT_TRUE(Bench_do(bench, std::string("fault usb1 error:") + c.code + ":SENS:SWE:TIME"));
        ASSERT_TRUE(chooseChannel(1));
        EXPECT_TRUE(shows("single.fwd.value", "  25.00", readingLimit_ms)) << c.code;
        const std::string warning =
            std::string("USB sensor 2 sweep time command failed with ") + "error " + c.status + ".";
        EXPECT_GE(Bench_countInSyslog(bench, "USER_WARNING:  " + warning), 1U) << c.code;
        EXPECT_GE(Bench_countInSyslog(bench, "USER_ERROR: SCPIErrors: channel 2, error[0] = Sweep "
                                             "Time is not valid."),
                  1U)
            << c.code;
        Bench_stop(bench);
    }
}

TEST_F(UsbTrouble, ACutCableIsAnUnpluggedSensor) {
    for (const char* fault : {"cut", "cutdevice"}) {
        for (const Side* other : {&serial1, &serial2, &usb2}) {
            const std::string where = std::string(fault) + " beside " + other->port;
            startWithUsb1();
            plugSecond(*other);
            ASSERT_TRUE(Bench_do(bench, std::string("fault usb1 ") + fault));
            EXPECT_TRUE(becomesVisible("single.fwd.value", true)) << where;
            EXPECT_TRUE(measures(other->port, "single.fwd.value")) << where;
            EXPECT_TRUE(shows("single.title", other->title)) << where;
            plug(usb1.port, usb1.sensor);
            EXPECT_TRUE(waitForReading("upper.fwd.value")) << where;
            EXPECT_TRUE(measuresOn(usb1)) << where;
            EXPECT_TRUE(hasItsTitle(usb1)) << where;
            EXPECT_FALSE(Bench_isVisible(bench, channelDialog::window)) << where;
            Bench_stop(bench);
        }
    }
}

TEST_F(UsbTrouble, WhatADriverMakesOfABadCableOrFirmwarePassesAway) {
    startWithUsb1();
    plugSecond(serial1);
    for (const char* fault : {"noise", "babble", "empty", "padded", "stallclear", "deaf"}) {
        ASSERT_TRUE(Bench_do(bench, std::string("fault usb1 ") + fault));
        EXPECT_TRUE(measuresOn(serial1)) << fault;
        EXPECT_TRUE(hasItsTitle(serial1)) << fault;
        EXPECT_TRUE(std::string(fault) != "padded" || measuresOn(usb1));
        ASSERT_TRUE(Bench_do(bench, "fault usb1 none"));
        EXPECT_TRUE(measuresOn(usb1)) << fault;
        EXPECT_TRUE(hasItsTitle(usb1)) << fault;
    }
    EXPECT_FALSE(Bench_isVisible(bench, channelDialog::window));
}

TEST_F(UsbTrouble, ASensorThatIsPulledInTheMiddleOfATransferIsUnplugged) {
    startWithUsb1();
    plugSecond(serial1);
    const auto isPulled = [&](const std::string& where) {
        EXPECT_TRUE(becomesVisible("single.fwd.value", true)) << where;
        EXPECT_TRUE(measures("serial1", "single.fwd.value")) << where;
        plug(usb1.port, usb1.sensor);
        EXPECT_TRUE(measuresOn(usb1)) << where;
    };
    ASSERT_TRUE(Bench_do(bench, "fault usb1 cutreply"));
    isPulled("in a reply");
    const uint64_t before = lastEntry("usb1");
    ASSERT_TRUE(Bench_do(bench, "fault usb1 deaf"));
    ASSERT_TRUE(waitForLog("usb1", before, "->"));
    ASSERT_TRUE(Bench_do(bench, "unplug usb1"));
    isPulled("while nothing answers");
    EXPECT_FALSE(Bench_isVisible(bench, channelDialog::window));
}

TEST_F(UsbTrouble, ASensorThatIsReplacedWithinAPollKeepsItsChannel) {
    startWithUsb1();
    plugSecond(usb2);
    for (const char* gap : {"0s", "100ms", "200ms", "400ms"}) {
        for (const Side* side : {&usb1, &usb2}) {
            const Side& other = side == &usb1 ? usb2 : usb1;
            const std::string where = side->port + " after " + gap;
            const uint64_t before = lastEntry(side->port);
            ASSERT_TRUE(Bench_do(bench, "replug " + side->port + " " + gap));
            EXPECT_TRUE(waitForLog(side->port, before, "-> SYST:IDEN:MOD?")) << where;
            EXPECT_TRUE(measuresOn(*side)) << where;
            EXPECT_TRUE(hasItsTitle(*side)) << where;
            EXPECT_TRUE(measuresOn(other)) << where;
            EXPECT_TRUE(hasItsTitle(other)) << where;
            EXPECT_TRUE(isOpen(*side)) << where;
            EXPECT_FALSE(Bench_isVisible(bench, channelDialog::window)) << where;
        }
    }
}
