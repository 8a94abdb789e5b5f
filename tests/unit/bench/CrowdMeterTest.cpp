#include "CrowdMeter.h"

#include <gtest/gtest.h>

namespace {

struct CrowdMeterTest : testing::Test {
    CrowdMeter meter;

    void SetUp() override {
        meter.number = 7;
        meter.sensor = "51\"32, <script>%s";
        CrowdMeter_initialize(meter);
    }
    void TearDown() override {
        SCPI_ErrorClear(&meter.context);
    }
    std::string ask(const std::string& text, int64_t now_ns = 0) {
        meter.replies.clear();
        CrowdMeter_receive(meter, text, now_ns);
        return meter.replies;
    }
};

TEST_F(CrowdMeterTest, TellsWhoItIs) {
    EXPECT_EQ("QUORVEL-TECHNOLOGIES,8830K,90000007,crowd\r\n", ask("*IDN?\n"));
    EXPECT_EQ("51\"32, <script>%s\r\n", ask("SYST:IDEN:SENS? 1\n"));
    EXPECT_EQ("71\r\n", ask("SYST:IDEN:SENS:SN?\n"));
}

TEST_F(CrowdMeterTest, MeasuresItsOwnSignal) {
    EXPECT_EQ("17;0.17;13.56;36.5\r\n",
              ask("MEAS:AVER?;:MEAS:REFL:AVER?;:MEAS:FREQ?;:MEAS:TEMP? 1\n"));
    const int64_t quarter_ns = 2'500'000'000;
    EXPECT_EQ(18.7, CrowdMeter_forward_W(7, 1, quarter_ns));
    EXPECT_EQ("18.7\r\n", ask("MEAS:AVER? 1\n", quarter_ns));
    EXPECT_NE(CrowdMeter_forward_W(8, 1, 0), CrowdMeter_forward_W(7, 1, 0));
}

TEST_F(CrowdMeterTest, WithoutReadingsItStillTellsItsSensor) {
    meter.hasReadings = false;
    EXPECT_EQ("nan;nan\r\n", ask("MEAS:AVER?;:MEAS:REFL:AVER? 1\n"));
    EXPECT_EQ("71\r\n", ask("SYST:IDEN:SENS:SN? 1\n"));
}

TEST_F(CrowdMeterTest, ReadingsDifferWhereTheSignalTurns) {
    const int64_t top_ns = 2'500'000'000;
    const int64_t interval_ns = 100'000'000;
    const int64_t nearly_ns = interval_ns / 2 - interval_ns / 1000; // the last poll before the top
    EXPECT_NE(CrowdMeter_forward_W(7, 1, top_ns - nearly_ns),
              CrowdMeter_forward_W(7, 1, top_ns - nearly_ns + interval_ns));
}

TEST_F(CrowdMeterTest, AnEmptyChannelAnswersNothingAndLeavesAnError) {
    EXPECT_EQ("", ask("MEAS:AVER? 2\n"));
    EXPECT_EQ("-220,\"Parameter error;No sensor connected on the channel\"\r\n",
              ask("SYST:ERR?\n"));
    EXPECT_EQ("0,\"No error\"\r\n", ask("SYST:ERR?\n"));
}

TEST_F(CrowdMeterTest, WrongQuestionsLeaveErrors) {
    EXPECT_EQ("", ask("BOGUS\nMEAS:AVER? 3\nMEAS:AVER? x\n"));
    EXPECT_EQ("3\r\n", ask("SYST:ERR:COUN?\n"));
}

TEST_F(CrowdMeterTest, LinesMayComeInPiecesAndManyAtOnce) {
    EXPECT_EQ("", ask("*OP"));
    EXPECT_EQ("1\r\n", ask("C?\n"));
    std::string many;
    for (int i = 0; i < 100; ++i) {
        many += "*OPC?\n";
    }
    EXPECT_EQ(300U, ask(many).size());
    ask(std::string(1000, 'x') + "\n");
    EXPECT_EQ("1\r\n", ask("*OPC?\n"));
}

TEST_F(CrowdMeterTest, ANewClientDoesNotMeetHalfACommandOfTheLast) {
    ask("MEAS:AV");
    CrowdMeter_forgetInput(meter);
    EXPECT_EQ("1\r\n", ask("*OPC?\n"));
}

} // namespace
