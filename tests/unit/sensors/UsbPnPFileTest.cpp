#include "UsbPnPFile.h"

#include "UsbDevice.h"
#include "UsbTmcPort.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace {

using namespace std::string_literals;

struct HeaderCase {
    std::string block;
    int size;
};

TEST(UsbPnPFile, ABlocksLengthStandsBehindItsHash) {
    const HeaderCase cases[] = {
        {"#3123data", 123},
        {"#15data", 5},
        {"xx#3007", 7},
        {"#0", -1},
        {"", -1},
        {"data", -1},
        {"#", -1},
        {"#3", -1},
        {"#312", -1},
        {"#3a23", -1},
        {"#9999999999", 999999999},
        {"#3000data", 0},
        {"#3-12d", -1},
    };
    for (const HeaderCase& one : cases) {
        EXPECT_EQ(getBlockSize(one.block.c_str()), one.size) << one.block;
    }
}

std::string element(const std::string& kind, const std::string& name, const std::string& limits) {
    return "<" + kind + " name=\"" + name + "\">" + limits + "</" + kind + ">\n";
}

std::string limits(const std::string& min, const std::string& max) {
    return "<Minimum>" + min + "</Minimum><Maximum>" + max + "</Maximum>";
}

struct LimitCase {
    const char* legend;
    std::string file;
    float min;
    float max;
};

TEST(UsbPnPFile, LimitsAreTheNumbersBetweenTheirTags) {
    const float none = std::numeric_limits<float>::quiet_NaN();
    const LimitCase cases[] = {
        {"both", element("E", "P", limits("-1.5", "2e3")), -1.5F, 2000.0F},
        {"blanks", element("E", "P", limits(" 1 ", "\n2\n")), 1.0F, 2.0F},
        {"no minimum", element("E", "P", "<Maximum>2</Maximum>"), none, 2.0F},
        {"no number", element("E", "P", limits("none", "")), none, none},
        {"another parameter", element("E", "Q", limits("1", "2")), none, none},
        {"the next one's", element("E", "P", "") + element("E", "Q", limits("1", "2")), none, none},
        {"no end", "P" + limits("1", "2"), none, none},
        {"an open tag", element("E", "P", "<Minimum>1<Maximum>2</Maximum>"), none, 2.0F},
        {"a long number", element("E", "P", limits(std::string(100, '1'), "2")), none, 2.0F},
        {"nothing", "", none, none},
    };
    for (const LimitCase& one : cases) {
        float min = 0.0F;
        float max = 0.0F;
        getMaxMin(one.file.c_str(), "E", "P", &max, &min);
        EXPECT_TRUE(min == one.min || (std::isnan(min) && std::isnan(one.min))) << one.legend;
        EXPECT_TRUE(max == one.max || (std::isnan(max) && std::isnan(one.max))) << one.legend;
    }
}

class UsbPnPTransfer : public testing::Test {
protected:
    UsbPnPTransfer() {
        fd = UsbTmcPort_Open(0, usbPort1Name);
        UsbTmcPort_forgetUnplugged();
    }
    ~UsbPnPTransfer() override {
        UsbTmcPort_Close(fd);
    }
    /// The blocks are handed out in order.
    void setBlocks(const std::vector<std::string>& blocks) {
        device.setReply("PNP:FILE:BLOC:TOT?", std::to_string(blocks.size()));
        device.setListener([this, blocks](const std::string& message) {
            const std::string command = "PNP:FILE:BLOC:NUMB ";
            if (message.rfind(command, 0) == 0) {
                const size_t number = std::stoul(message.substr(command.size()));
                device.setRawReply("PNP:FILE:BLOC:DATA?", blocks.at(number - 1));
            }
        });
    }
    int read() {
        return openPnPFile(fd, block.data(), file);
    }

    UsbDevice device{0};
    int32_t fd = -1;
    std::array<char, pnpBlockSize + 1> block{};
    std::array<char, 64> file{};
};

TEST_F(UsbPnPTransfer, JoinsTheBlocksInTheirOrder) {
    setBlocks({usbDevice_block("abc"), usbDevice_block("def") + "\n", usbDevice_block("g")});
    EXPECT_EQ(read(), 0);
    EXPECT_STREQ(file.data(), "abcdefg");
    EXPECT_EQ(device.messages(),
              (std::vector<std::string>{
                  "PNP:AVA?", "PNP:ITR", "PNP:FILE:SIZE?", "PNP:FILE:BLOC:TOT?",
                  "PNP:FILE:BLOC:NUMB 1", "PNP:FILE:BLOC:DATA?", "PNP:FILE:BLOC:NUMB 2",
                  "PNP:FILE:BLOC:DATA?", "PNP:FILE:BLOC:NUMB 3", "PNP:FILE:BLOC:DATA?"}));
}

TEST_F(UsbPnPTransfer, LeavesZeroBytesOut) {
    setBlocks({usbDevice_block("a\0b\0\0c"s)});
    EXPECT_EQ(read(), 0);
    EXPECT_STREQ(file.data(), "abc");
}

TEST_F(UsbPnPTransfer, DataBeginsAtTheSixthByteWhateverTheHeaderSays) {
    setBlocks({"#15abcdefg"});
    EXPECT_EQ(read(), 0);
    EXPECT_STREQ(file.data(), "cdefg");
}

TEST_F(UsbPnPTransfer, ABlockThatClaimsMoreThanItHasIsCut) {
    setBlocks({"#9999999999abc"});
    EXPECT_EQ(read(), 0);
    EXPECT_STREQ(file.data(), "999999abc");
}

TEST_F(UsbPnPTransfer, ABlockThatClaimsMoreThanItHasTakesNothingOfTheOneBefore) {
    setBlocks({usbDevice_block("abcdefghijklmnopqrstuvwxyz"), "#9999999999x"});
    EXPECT_EQ(read(), 0);
    EXPECT_STREQ(file.data(), "abcdefghijklmnopqrstuvwxyz999999x");
}

TEST_F(UsbPnPTransfer, ASensorWithoutAnyBlockHasAnEmptyFile) {
    setBlocks({});
    EXPECT_EQ(read(), 0);
    EXPECT_STREQ(file.data(), "");
}

struct FailureCase {
    const char* query;
    const char* reply;
};

TEST_F(UsbPnPTransfer, FailsWhenAnAnswerDoesNotFit) {
    const FailureCase cases[] = {
        {"PNP:AVA?", "0"},
        {"PNP:AVA?", ""},
        {"PNP:AVA?", "2"},
        {"PNP:FILE:SIZE?", "0"},
        {"PNP:FILE:SIZE?", "-4"},
        {"PNP:FILE:SIZE?", ""},
        {"PNP:FILE:BLOC:TOT?", "-1"},
        {"PNP:FILE:BLOC:TOT?", ""},
        {"PNP:FILE:BLOC:TOT?", "1000000"},
        {"PNP:FILE:BLOC:DATA?", ""},
        {"PNP:FILE:BLOC:DATA?", "no header"},
        {"PNP:FILE:BLOC:DATA?", "#3000"},
    };
    for (const FailureCase& one : cases) {
        device.setReply("PNP:AVA?", "1");
        device.setReply("PNP:FILE:SIZE?", "4");
        device.setReply("PNP:FILE:BLOC:TOT?", "1");
        device.setReply("PNP:FILE:BLOC:DATA?", usbDevice_block("none"));
        EXPECT_EQ(read(), 0) << one.query;
        device.setReply(one.query, one.reply);
        EXPECT_EQ(read(), -1) << one.query << ' ' << one.reply;
    }
}

TEST_F(UsbPnPTransfer, ASensorThatClaimsMoreThan4096BlocksIsNotAskedForAny) {
    device.setReply("PNP:FILE:BLOC:DATA?", "no header");
    for (const int total : {4096, 4097}) {
        device.setReply("PNP:FILE:BLOC:TOT?", std::to_string(total));
        device.clearMessages();
        EXPECT_EQ(read(), -1);
        EXPECT_EQ(device.hasReceived("PNP:FILE:BLOC:NUMB 1"), total == 4096) << total;
    }
}

TEST_F(UsbPnPTransfer, AFileThatDoesNotFitFails) {
    setBlocks({usbDevice_block(std::string(file.size(), 'x'))});
    EXPECT_EQ(read(), -1);
    EXPECT_EQ(file.back(), '\0');
    setBlocks({usbDevice_block(std::string(file.size() - 1, 'x'))});
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(file.data(), std::string(file.size() - 1, 'x'));
}

TEST_F(UsbPnPTransfer, LimitsComeFromTheFile) {
    setBlocks(
        {usbDevice_block(
             element("ScalarMeasurement", "Measurement.ForwardAveragePower", limits("0.1", "500")) +
             element("ScalarMeasurement", "Measurement.PRF", limits("10", "20000"))),
         usbDevice_block(element("ScalarConfiguration", "Configuration.CorrectionFrequency",
                                 limits("400000", "30000000")) +
                         element("ScalarConfiguration", "Configuration.MaximumPulsePeriod",
                                 limits("1e-5", "0.5"))),
         usbDevice_block(element("ScalarConfiguration", "Configuration.TriggerDelay",
                                 limits("-0.25", "0.75")))});
    SENSOR_IDENTITY identity{};
    EXPECT_EQ(getMinMaxParameters(fd, block.data(), &identity), 0);
    EXPECT_EQ(identity.sensorPower.min, 0.1F);
    EXPECT_EQ(identity.sensorPower.max, 500.0F);
    EXPECT_EQ(identity.sensorPrf.min, 10.0F);
    EXPECT_EQ(identity.sensorPrf.max, 20000.0F);
    EXPECT_EQ(identity.sensorFrequency.min, 400000.0F);
    EXPECT_EQ(identity.sensorFrequency.max, 30000000.0F);
    EXPECT_EQ(identity.sensorPulsePeriod.min, 1e-5F);
    EXPECT_EQ(identity.sensorPulsePeriod.max, 0.5F);
    EXPECT_EQ(identity.sensorTriggerDelay.min, -0.25F);
    EXPECT_EQ(identity.sensorTriggerDelay.max, 0.75F);
}

TEST_F(UsbPnPTransfer, MissingLimitsTakeTheirDefaults) {
    setBlocks({usbDevice_block("nothing")});
    SENSOR_IDENTITY identity{};
    EXPECT_EQ(getMinMaxParameters(fd, block.data(), &identity), 0);
    EXPECT_EQ(identity.sensorPower.min, 0.0F);
    EXPECT_EQ(identity.sensorPower.max, 100000.0F);
    EXPECT_TRUE(std::isnan(identity.sensorPrf.min));
    EXPECT_TRUE(std::isnan(identity.sensorPrf.max));
    EXPECT_EQ(identity.sensorFrequency.min, 360000.0F);
    EXPECT_EQ(identity.sensorFrequency.max, 105000000.0F);
    EXPECT_EQ(identity.sensorPulsePeriod.min, 6e-6F);
    EXPECT_EQ(identity.sensorPulsePeriod.max, 1.0F);
    EXPECT_EQ(identity.sensorTriggerDelay.min, -1.0F);
    EXPECT_EQ(identity.sensorTriggerDelay.max, 1.0F);
}

TEST_F(UsbPnPTransfer, AFileThatCannotBeReadLeavesTheLimits) {
    device.setReply("PNP:AVA?", "0");
    SENSOR_IDENTITY identity{};
    identity.sensorPower.max = 42.0F;
    EXPECT_LT(getMinMaxParameters(fd, block.data(), &identity), 0);
    EXPECT_EQ(identity.sensorPower.max, 42.0F);
}

} // namespace
