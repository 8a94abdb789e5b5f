#include "Sensor513x.h"

#include "SensorFloat.h"
#include "SensorTest.h"

#include <set>

using testing::HasSubstr;
using testing::SizeIs;

namespace {

Sensor513x sensorOf(const char* model) {
    return existing(Sensor513x_create(model));
}

std::string ask(Sensor513x& sensor, const std::string& command,
                SerialFault fault = serialFaultNone) {
    std::string reply;
    for (const char byte : command) {
        reply += Sensor513x_receive(sensor, fault, static_cast<uint8_t>(byte), 1000);
    }
    return reply;
}

} // namespace

TEST(SensorFloat, KnownNumbersHaveTheirWords) {
    const struct {
        double value;
        uint32_t word;
    } cases[] = {
        {1.0, 0x01400000},   {-1.0, 0x01C00000},       {0.5, 0x00400000}, {25.0, 0x05640000},
        {100.0, 0x07640000}, {0.001, 0xF7418937},      {0.0, 0x00000000}, {1e60, 0x7F7FFFFF},
        {1e-60, 0x00000000}, {0.99999999, 0x01400000},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(SensorFloat_encode(c.value), c.word) << c.value;
    }
}

TEST(SensorFloat, BytesGoMostSignificantFirst) {
    EXPECT_EQ(SensorFloat_bytes(25.0), std::string("\x05\x64\x00\x00", 4));
}

TEST(Sensor513x, EveryModelAnswersItsIdentityInFortyBytes) {
    std::set<std::string> names;
    for (const Model513x& model : Sensor513x_models()) {
        Sensor513x sensor = sensorOf(model.name);
        const std::string identity = ask(sensor, "I");
        ASSERT_THAT(identity, SizeIs(40)) << model.name;
        EXPECT_TRUE(identity.starts_with(model.modelText)) << model.name;
        EXPECT_EQ(identity.substr(32, 4), SensorFloat_bytes(model.maxPower_W)) << model.name;
        EXPECT_EQ(identity.substr(36, 4), SensorFloat_bytes(model.minPower_W)) << model.name;
        EXPECT_GT(model.current_mA, 250) << model.name << " would not be detected";
        EXPECT_TRUE(names.insert(model.name).second) << model.name << " stands twice";
    }
}

TEST(Sensor513x, AReplyIsReplacedByItsCommandsLetter) {
    Sensor513x sensor = sensorOf("5132");
    sensor.scripted = {{'F', "abc"}, {'S', ""}, {'Z', "5"}};
    EXPECT_EQ(ask(sensor, "F"), "abc");
    EXPECT_EQ(ask(sensor, "S"), "");
    EXPECT_EQ(ask(sensor, "Z\x04\x30"), "5");
    sensor.scripted.erase('S');
    EXPECT_EQ(ask(sensor, "S"), "S");
}

TEST(Sensor513x, IdentityPadsTheModelWithFullBytesAndCommandsWithBlanks) {
    Sensor513x sensor = sensorOf("5132");
    EXPECT_EQ(ask(sensor, "I").substr(0, 32), "5132\xFF\xFF\xFF\xFF"
                                              "2.04    "
                                              "SIFRHTZ         ");
}

TEST(Sensor513x, PowersAreSentAsSquareRoots) {
    Sensor513x sensor = sensorOf("5132");
    ASSERT_TRUE(set(sensor, "fwd", "9"));
    ASSERT_TRUE(set(sensor, "rfl", "250mW"));
    EXPECT_EQ(ask(sensor, "F"), SensorFloat_bytes(3));
    EXPECT_EQ(ask(sensor, "R"), SensorFloat_bytes(0.5));
}

TEST(Sensor513x, FrequencyAndTemperatureAreSentAsTheyAre) {
    Sensor513x sensor = sensorOf("5132");
    ASSERT_TRUE(set(sensor, "freq", "27.12MHz"));
    ASSERT_TRUE(set(sensor, "temp", "-12.5"));
    EXPECT_EQ(ask(sensor, "H"), SensorFloat_bytes(27.12e6));
    EXPECT_EQ(ask(sensor, "T"), SensorFloat_bytes(-12.5));
}

TEST(Sensor513x, MemoryHoldsTheSerialNumberFromAddress48) {
    Sensor513x sensor = sensorOf("5132");
    ASSERT_TRUE(set(sensor, "serial", "987654321"));
    std::string digits;
    for (char address = 48; address <= 56; ++address) {
        const std::string reply = ask(sensor, std::string("Z\x04") + address);
        ASSERT_THAT(reply, SizeIs(2));
        EXPECT_EQ(reply[1], '\0');
        digits += reply[0];
    }
    EXPECT_EQ(digits, "987654321");
}

TEST(Sensor513x, AddressesWithoutMemorySaySo) {
    Sensor513x sensor = sensorOf("5132");
    for (const char address : {'\0', '\x2F', '\x39', '\xFF'}) {
        EXPECT_EQ(ask(sensor, std::string("Z\x04") + address).at(1), '\x01');
    }
}

TEST(Sensor513x, ModelsWithoutMemoryDoNotAnswerTheMemoryCommand) {
    for (const char* model : {"5132A200", "SMK"}) {
        Sensor513x sensor = sensorOf(model);
        EXPECT_EQ(ask(sensor, "Z\x04\x30"), "") << model;
        EXPECT_EQ(ask(sensor, "S"), "S") << model;
    }
}

TEST(Sensor513x, UnknownLettersAreNotAnswered) {
    Sensor513x sensor = sensorOf("5132");
    EXPECT_EQ(ask(sensor, "sXQ\n"), "");
    EXPECT_EQ(ask(sensor, "S"), "S");
}

TEST(Sensor513x, AnUnfinishedMemoryCommandIsForgotten) {
    Sensor513x sensor = sensorOf("5132");
    EXPECT_EQ(ask(sensor, "Z"), "");
    EXPECT_EQ(Sensor513x_receive(sensor, serialFaultNone, 'S', 2000000000), "S");
}

TEST(Sensor513x, FaultsChangeTheReplies) {
    const struct {
        SerialFault fault;
        const char* command;
        size_t length;
    } cases[] = {
        {serialFaultNone, "F", 4},      {serialFaultSilence, "S", 0},  {serialFaultSilence, "I", 0},
        {serialFaultShort, "I", 39},    {serialFaultShort, "F", 3},    {serialFaultShort, "S", 0},
        {serialFaultWrongSync, "S", 1}, {serialFaultHostile, "I", 40}, {serialFaultNoise, "I", 40},
    };
    for (const auto& c : cases) {
        Sensor513x sensor = sensorOf("5132");
        EXPECT_THAT(ask(sensor, c.command, c.fault), SizeIs(c.length))
            << serialFaultNames.at(c.fault) << " " << c.command;
    }
    Sensor513x sensor = sensorOf("5132");
    EXPECT_NE(ask(sensor, "S", serialFaultWrongSync), "S");
    EXPECT_THAT(ask(sensor, "I", serialFaultHostile), HasSubstr("%n"));
}

TEST(Sensor513x, RefusalsNameWhatIsAllowed) {
    expectRefusals(sensorOf("5132"), Sensor513x_describe,
                   {{"current", "-1", "is not a number"},
                    {"boot", "-1s", "is not a time"},
                    {"model", "123456789", "longer than 8"},
                    {"serial", "1234567890", "longer than 9"}});
}

TEST(Sensor513x, UnknownModelsAreRefused) {
    EXPECT_FALSE(Sensor513x_create("9999"));
    EXPECT_FALSE(Sensor513x_create(""));
}
