#include "Sensor316x.h"

#include "PlugAndPlay316x.h"
#include "SensorTest.h"
#include "Settings316x.h"

#include <set>

using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr int64_t second_ns = 1000000000;

Sensor316x sensorOf(const char* model) {
    return existing(Sensor316x_create(model));
}

std::string ask(Sensor316x& sensor, const std::string& message, int64_t now_ns = 0) {
    return Sensor316x_receive(sensor, message + "\n", now_ns);
}

} // namespace

TEST(Sensor316x, EveryModelTellsWhoItIs) {
    for (const Model316x& model : Sensor316x_models()) {
        Sensor316x sensor = sensorOf(model.name);
        EXPECT_EQ(ask(sensor, "SYST:IDEN:MOD?"), std::string(model.name) + "\n");
        EXPECT_EQ(ask(sensor, "SYST:IDEN:SN?"), std::string(model.serialNumber) + "\n");
        EXPECT_EQ(ask(sensor, "SYST:IDEN:FWR?"), std::string(model.firmware) + "\n");
    }
}

TEST(Sensor316x, HeadersOfSettingsAreUnique) {
    std::set<std::string_view> headers;
    for (const SettingRow316x& row : Settings316x_rows()) {
        EXPECT_TRUE(headers.insert(row.header).second) << row.header;
        EXPECT_LE(row.least, row.initial) << row.header;
        EXPECT_GE(row.most, row.initial) << row.header;
    }
}

TEST(Sensor316x, EverySettingIsReadBackAsItWasWritten) {
    Sensor316x sensor = sensorOf("3164");
    for (const SettingRow316x& row : Settings316x_rows()) {
        const std::string value = row.type == setting316xText
                                      ? (row.header == "TRIG:SLOP" ? "NEG" : "EXT")
                                  : row.type == setting316xFlag ? "1"
                                                                : "0.5";
        const std::string header(row.header);
        EXPECT_EQ(ask(sensor, header + " " + value), "");
        EXPECT_EQ(ask(sensor, header + "?"), value + "\n") << header;
    }
    EXPECT_EQ(ask(sensor, "SYST:ERR:COUN?"), "0\n");
}

TEST(Sensor316x, AResetPutsSettingsBackAndShowsInTheStatusByte) {
    Sensor316x sensor = sensorOf("3164");
    ASSERT_TRUE(set(sensor, "period", "1ms"));
    ask(sensor, "*CLS");
    ask(sensor, "SENS:FREQ 50.000000");
    EXPECT_EQ(ask(sensor, "*STB?"), "0\n");
    ask(sensor, "*RST");
    EXPECT_EQ(ask(sensor, "SENS:FREQ?"), "13.56\n");
    EXPECT_EQ(ask(sensor, "*STB?"), "1\n");
    ask(sensor, "*CLS");
    EXPECT_EQ(ask(sensor, "*STB?"), "0\n");
}

TEST(Sensor316x, UntilItHasBootedItsStatusByteIsZero) {
    Sensor316x sensor = sensorOf("3164");
    ASSERT_TRUE(set(sensor, "boot", "2s"));
    ask(sensor, "*RST", 5 * second_ns);
    EXPECT_EQ(ask(sensor, "*STB?", 7 * second_ns - 1), "0\n");
    EXPECT_EQ(ask(sensor, "*STB?", 7 * second_ns), "9\n");
    ask(sensor, "*RST", 8 * second_ns);
    EXPECT_EQ(ask(sensor, "*STB?", 9 * second_ns), "0\n");
    ASSERT_TRUE(set(sensor, "boot", "0s"));
    EXPECT_EQ(ask(sensor, "*STB?", 9 * second_ns), "9\n");
}

TEST(Sensor316x, WhatIsRefusedStandsInTheErrorQueue) {
    const struct {
        const char* message;
        const char* error;
    } cases[] = {
        {"SENS:FREQ 5000", "-222,\"Data out of range\"\n"},
        {"TRIG:SLOP UP", "-222,\"Data out of range\"\n"},
        {"SENS:FREQ", "-109,\"Missing parameter\"\n"},
        {"SENS:FREQ loud", "-104,\"Data type error\"\n"},
        {"SENS:COLOUR 1", "-113,\"Undefined header\"\n"},
        {"SENS:COLOUR?", "-113,\"Undefined header\"\n"},
        {"PNP:FILE:BLOC:NUMB 99", "-222,\"Data out of range\"\n"},
    };
    for (const auto& c : cases) {
        Sensor316x sensor = sensorOf("3164");
        EXPECT_EQ(ask(sensor, c.message), "") << c.message;
        EXPECT_EQ(ask(sensor, "SYST:ERR:COUN?"), "1\n") << c.message;
        EXPECT_EQ(std::stoi(ask(sensor, "*STB?")) & 4, 4) << c.message;
        EXPECT_EQ(ask(sensor, "SYST:ERR?"), c.error) << c.message;
        EXPECT_EQ(ask(sensor, "SYST:ERR?"), "0,\"No error\"\n") << c.message;
    }
}

TEST(Sensor316x, ModelsWithoutPulseSettingsDoNotKnowThem) {
    for (const char* model : {"3163", "3165"}) {
        Sensor316x sensor = sensorOf(model);
        for (const SettingRow316x& row : Settings316x_rows()) {
            const std::string reply = ask(sensor, std::string(row.header) + "?");
            EXPECT_EQ(reply.empty(), row.isPulseOnly) << model << " " << row.header;
        }
    }
}

TEST(Sensor316x, OperationIsCompleteOnceTheMeasuringTimeHasGoneBy) {
    Sensor316x sensor = sensorOf("3162");
    ASSERT_TRUE(set(sensor, "measuring", "2s"));
    ask(sensor, "INIT", second_ns);
    EXPECT_EQ(ask(sensor, "*OPC?", 2 * second_ns), "0\n");
    EXPECT_EQ(ask(sensor, "*OPC?", 3 * second_ns), "1\n");
}

TEST(Sensor316x, ReadingsComeInTheirUnits) {
    Sensor316x sensor = sensorOf("3164");
    const struct {
        const char* key;
        const char* value;
    } settings[] = {{"fwd", "12.5"},      {"rfl", "0.25"},     {"freq", "13.56MHz"},
                    {"temp", "41.5"},     {"period", "1ms"},   {"width", "250us"},
                    {"gate", "50:60:40"}, {"state3", "9:10:8"}};
    for (const auto& setting : settings) {
        ASSERT_TRUE(set(sensor, setting.key, setting.value));
    }
    ask(sensor, "INIT");
    const struct {
        const char* query;
        const char* reply;
    } cases[] = {
        {"FETC:FORW:AVER?", "12.5\n"}, {"FETC:REFL:AVER?", "0.25\n"}, {"FETC:FREQ?", "13.56\n"},
        {"FETC:TEMP?", "41.5\n"},      {"FETC:PER?", "1000\n"},       {"FETC:PRF?", "1000\n"},
        {"FETC:WIDT?", "250\n"},       {"FETC:DCYC?", "25\n"},        {"FETC:GATE:MEAN?", "50\n"},
        {"FETC:GATE:MAX?", "60\n"},    {"FETC:GATE:MIN?", "40\n"},    {"FETC:STAT3:MEAN?", "9\n"},
        {"FETC:STAT3:MAX?", "10\n"},   {"FETC:STAT3:MIN?", "8\n"},    {"FETC:STAT1:MEAN?", "50\n"},
        {"FETC:GATE:COUN?", "1\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ask(sensor, c.query), c.reply) << c.query;
    }
}

TEST(Sensor316x, AContinuousWaveIsQuestionableAsAPulse) {
    Sensor316x sensor = sensorOf("3164");
    EXPECT_EQ(ask(sensor, "STAT:QUES:COND?"), "512\n");
    ASSERT_TRUE(set(sensor, "period", "1ms"));
    EXPECT_EQ(ask(sensor, "STAT:QUES:COND?"), "0\n");
    ASSERT_TRUE(set(sensor, "questionable", "16"));
    EXPECT_EQ(ask(sensor, "STAT:QUES:COND?"), "16\n");
    EXPECT_EQ(std::stoi(ask(sensor, "*STB?")) & 8, 8);
}

TEST(Sensor316x, NothingIsThereBeforeTheFirstMeasurement) {
    Sensor316x sensor = sensorOf("3164");
    EXPECT_EQ(ask(sensor, "FETC:FORW:AVER?"), "9.91e+37\n");
}

TEST(Sensor316x, ThePlugAndPlayFileComesInBlocksOfDefiniteLength) {
    Sensor316x sensor = sensorOf("3164");
    EXPECT_EQ(ask(sensor, "PNP:AVA?"), "1\n");
    ask(sensor, "PNP:ITR");
    const size_t size = std::stoul(ask(sensor, "PNP:FILE:SIZE?"));
    const int blocks = std::stoi(ask(sensor, "PNP:FILE:BLOC:TOT?"));
    std::string file;
    for (int block = 1; block <= blocks; ++block) {
        ask(sensor, "PNP:FILE:BLOC:NUMB " + std::to_string(block));
        EXPECT_EQ(ask(sensor, "PNP:FILE:BLOC:NUMB?"), std::to_string(block) + "\n");
        const std::string data = ask(sensor, "PNP:FILE:BLOC:DATA?");
        ASSERT_THAT(data, StartsWith("#3"));
        ASSERT_LE(data.size(), 1024U);
        const size_t length = std::stoul(data.substr(2, 3));
        ASSERT_EQ(data.size(), 5 + length + 1);
        file += data.substr(5, length);
    }
    EXPECT_EQ(file.size(), size);
    EXPECT_EQ(file, PlugAndPlay316x_file(sensor.modelText, sensor.input));
    for (const char* name :
         {"Measurement.ForwardAveragePower", "Measurement.PRF", "Configuration.CorrectionFrequency",
          "Configuration.MaximumPulsePeriod", "Configuration.TriggerDelay"}) {
        EXPECT_THAT(file, HasSubstr(name));
    }
    EXPECT_THAT(file, HasSubstr("<Maximum>2000</Maximum>"));
}

TEST(Sensor316x, OneSettingCanBeRefusedOnPurpose) {
    Sensor316x sensor = sensorOf("3164");
    sensor.refused["SENS:PER"] = -230;
    ask(sensor, "SENS:PER 0.5");
    EXPECT_THAT(ask(sensor, "SYST:ERR?"), StartsWith("-230,"));
    EXPECT_EQ(ask(sensor, "SENS:PER?"), "0.02\n");
}

TEST(Sensor316x, AReplyIsReplacedUntilItsSettingIsStored) {
    Sensor316x sensor = sensorOf("3164");
    sensor.scripted["SENS:PER?"] = "soon";
    sensor.scripted["FETC:TEMP?"] = "";
    EXPECT_EQ(ask(sensor, "SENS:PER?"), "soon");
    EXPECT_EQ(ask(sensor, "FETC:TEMP?"), "");
    ask(sensor, "SENS:PER 7");
    EXPECT_EQ(ask(sensor, "SENS:PER?"), "soon") << "it was refused";
    ask(sensor, "SENS:PER 0.5");
    EXPECT_EQ(ask(sensor, "SENS:PER?"), "0.5\n");
    EXPECT_EQ(ask(sensor, "FETC:TEMP?"), "");
}

TEST(Sensor316x, AListenerHearsEachMessageBeforeItIsAnswered) {
    Sensor316x sensor = sensorOf("3164");
    std::string heard;
    sensor.listener = [&](const std::string& message) {
        heard += message + ";";
        sensor.scripted["*STB?"] = "heard";
    };
    EXPECT_EQ(ask(sensor, "*STB?"), "heard");
    ask(sensor, "SENS:PER 0.5");
    EXPECT_EQ(Sensor316x_request(sensor, 'C'), 0);
    sensor.requestError = 5;
    EXPECT_EQ(Sensor316x_request(sensor, 'O'), 5);
    EXPECT_EQ(heard, "*STB?;SENS:PER 0.5;<C>;<O>;");
}

TEST(Sensor316x, RefusalsNameWhatIsAllowed) {
    expectRefusals(sensorOf("3164"), Sensor316x_describe,
                   {{"period", "-1s", "is not a time"},
                    {"gate", "1:2", "is not MEAN:MAX:MIN"},
                    {"state4", "1:2:x", "is not MEAN:MAX:MIN"},
                    {"level", "-1", "is not a number"},
                    {"pnp", "maybe", "is not on or off"},
                    {"questionable", "70000", "is not a register value"}});
}
