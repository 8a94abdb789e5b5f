#include "SerialConfig.h"

#include "World.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// What a test expects in the system log; empty for nothing.
void expectLogged(const std::string& text, const char* legend) {
    EXPECT_EQ(World_syslog().size(), text.empty() ? 0U : 1U) << legend;
    EXPECT_TRUE(text.empty() || World_syslogContains("(): " + text)) << legend << ": " << text;
    World_clearSyslog();
}

class SerialCodes : public testing::Test {
protected:
    SerialCodes() {
        World_clearSyslog();
    }
};

TEST_F(SerialCodes, SpeedsAndLabelsAreConvertedBothWays) {
    struct Case {
        speed_t speed;
        const char* label;
    };
    constexpr Case cases[] = {{B300, "300"},   {B600, "600"},   {B1200, "1200"},
                              {B2400, "2400"}, {B4800, "4800"}, {B9600, "9600"}};
    ASSERT_EQ(std::size(speed_table), std::size(cases));
    for (const Case& row : cases) {
        EXPECT_STREQ(SerialConfig_SpeedToLabel(row.speed), row.label);
        EXPECT_EQ(SerialConfig_LabelToSpeed(row.label), row.speed) << row.label;
    }
    expectLogged("", "known speeds");
}

TEST_F(SerialCodes, UnknownSpeedIs2400InBothDirections) {
    EXPECT_STREQ(SerialConfig_SpeedToLabel(B19200), "2400");
    expectLogged("Unsupported " + std::to_string(B19200), "speed");
    for (const char* label : {"19200", "", "9600 ", "2400x"}) {
        EXPECT_EQ(SerialConfig_LabelToSpeed(label), static_cast<speed_t>(B2400)) << label;
        expectLogged(std::string("Unsupported '") + label + "'", "label");
    }
}

TEST_F(SerialCodes, DataBitsAndLabelsAreConvertedBothWays) {
    EXPECT_STREQ(SerialConfig_DataBitsToLabel(DATA_BITS_7), "7");
    EXPECT_STREQ(SerialConfig_DataBitsToLabel(DATA_BITS_8), "8");
    EXPECT_EQ(SerialConfig_LabelToDataBits("7"), DATA_BITS_7);
    EXPECT_EQ(SerialConfig_LabelToDataBits("8"), DATA_BITS_8);
    expectLogged("", "known sizes");
    EXPECT_EQ(SerialConfig_LabelToDataBits("6"), DATA_BITS_8);
    expectLogged("Unsupported '6'", "label");
    EXPECT_STREQ(SerialConfig_DataBitsToLabel(static_cast<data_bits_t>(2)), "8");
    expectLogged("Unsupported 2", "code");
    EXPECT_STREQ(SerialConfig_DataBitsToLabel(static_cast<data_bits_t>(-1)), "8");
    expectLogged("Unsupported -1", "negative code");
}

TEST_F(SerialCodes, StopBitsAndLabelsAreConvertedBothWays) {
    EXPECT_STREQ(SerialConfig_StopBitsToLabel(STOP_BITS_1), "1");
    EXPECT_STREQ(SerialConfig_StopBitsToLabel(STOP_BITS_2), "2");
    EXPECT_EQ(SerialConfig_LabelToStopBits("1"), STOP_BITS_1);
    EXPECT_EQ(SerialConfig_LabelToStopBits("2"), STOP_BITS_2);
    expectLogged("", "known numbers");
    EXPECT_EQ(SerialConfig_LabelToStopBits("3"), STOP_BITS_2);
    expectLogged("Unsupported '3'", "label");
    EXPECT_STREQ(SerialConfig_StopBitsToLabel(static_cast<stop_bits_t>(7)), "2");
    expectLogged("Unsupported 7", "code");
}

TEST_F(SerialCodes, ParitiesAndLabelsAreConvertedBothWays) {
    ASSERT_EQ(std::size(parity_table_config), static_cast<size_t>(PARITY_LENGTH));
    for (const parity_item_t& item : parity_table_config) {
        EXPECT_STREQ(SerialConfig_ParityToLabel(item.parity), item.label);
        EXPECT_EQ(SerialConfig_LabelToParity(item.label), item.parity) << item.label;
        EXPECT_STREQ(parity_label[item.parity], item.label);
    }
    expectLogged("", "known parities");
    EXPECT_EQ(SerialConfig_LabelToParity("MARK"), PARITY_NONE);
    expectLogged("Unsupported 'MARK'", "label");
    EXPECT_EQ(SerialConfig_LabelToParity("even"), PARITY_NONE);
    expectLogged("Unsupported 'even'", "lower case");
    EXPECT_STREQ(SerialConfig_ParityToLabel(PARITY_LENGTH), "NONE");
    expectLogged("Unsupported 3", "code");
}

TEST_F(SerialCodes, SpeedIsPutIntoBothDirectionsAndReadFromTheInput) {
    termios settings{};
    SerialConfig_TermiosPutSpeed(&settings, B4800);
    EXPECT_EQ(cfgetispeed(&settings), static_cast<speed_t>(B4800));
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B4800));
    EXPECT_EQ(SerialConfig_TermiosGetSpeed(&settings), static_cast<speed_t>(B4800));
    expectLogged("", "same speeds");
}

TEST_F(SerialCodes, DifferentSpeedsAreLoggedAndTheInputSpeedIsRead) {
    termios settings{};
    cfsetospeed(&settings, B1200);
    cfsetispeed(&settings, B0);
    EXPECT_EQ(SerialConfig_TermiosGetSpeed(&settings), static_cast<speed_t>(B0));
    expectLogged("ispeed (0) <> ospeed (" + std::to_string(B1200) + ")", "different speeds");
}

TEST_F(SerialCodes, DataBitsAreReadFromTheCharacterSize) {
    struct Case {
        tcflag_t size;
        data_bits_t dataBits;
        bool isLogged;
    };
    constexpr Case cases[] = {{CS7, DATA_BITS_7, false},
                              {CS8, DATA_BITS_8, false},
                              {CS5, DATA_BITS_7, true},
                              {CS6, DATA_BITS_7, true}};
    for (const Case& row : cases) {
        termios settings{};
        settings.c_cflag = row.size | CREAD;
        EXPECT_EQ(SerialConfig_TermiosGetDataBits(&settings), row.dataBits);
        char text[64];
        snprintf(text, sizeof text, "Unsupported (c_cflag = %04x)", settings.c_cflag);
        expectLogged(row.isLogged ? text : "", text);
    }
}

constexpr tcflag_t otherFlags = CREAD | CLOCAL | HUPCL | CRTSCTS;

TEST_F(SerialCodes, EachCodeIsPutIntoItsFlagsAndLeavesTheOthersAlone) {
    struct Case {
        const char* legend;
        void (*put)(termios*);
        tcflag_t before;
        tcflag_t after;
        const char* logged;
    };
    constexpr Case cases[] = {
        {"7 bits", [](termios* t) { SerialConfig_TermiosPutDataBits(t, DATA_BITS_7); }, CS8, CS7,
         ""},
        {"8 bits", [](termios* t) { SerialConfig_TermiosPutDataBits(t, DATA_BITS_8); }, CS5, CS8,
         ""},
        {"unknown size", [](termios* t) { SerialConfig_TermiosPutDataBits(t, DATA_BITS_LENGTH); },
         CS8, CS7, "Unsupported 2"},
        {"1 stop bit", [](termios* t) { SerialConfig_TermiosPutStopBits(t, STOP_BITS_1); }, CSTOPB,
         0, ""},
        {"2 stop bits", [](termios* t) { SerialConfig_TermiosPutStopBits(t, STOP_BITS_2); }, 0,
         CSTOPB, ""},
        {"unknown stop bits",
         [](termios* t) { SerialConfig_TermiosPutStopBits(t, STOP_BITS_LENGTH); }, CSTOPB, 0, ""},
        {"no parity", [](termios* t) { SerialConfig_TermiosPutParity(t, PARITY_NONE); }, PARENB, 0,
         ""},
        {"no parity leaves the odd flag",
         [](termios* t) { SerialConfig_TermiosPutParity(t, PARITY_NONE); }, PARENB | PARODD, PARODD,
         ""},
        {"odd parity", [](termios* t) { SerialConfig_TermiosPutParity(t, PARITY_ODD); }, 0,
         PARENB | PARODD, ""},
        {"even parity", [](termios* t) { SerialConfig_TermiosPutParity(t, PARITY_EVEN); }, PARODD,
         PARENB, ""},
        {"unknown parity", [](termios* t) { SerialConfig_TermiosPutParity(t, PARITY_LENGTH); },
         PARENB | PARODD, PARENB | PARODD, "Unsupported 3"},
    };
    for (const Case& row : cases) {
        termios settings{};
        settings.c_cflag = row.before | otherFlags;
        row.put(&settings);
        EXPECT_EQ(settings.c_cflag, row.after | otherFlags) << row.legend;
        expectLogged(row.logged, row.legend);
    }
}

TEST_F(SerialCodes, StopBitsAndParityAreReadFromTheirFlags) {
    struct Case {
        tcflag_t flags;
        stop_bits_t stopBits;
        parity_t parity;
    };
    constexpr Case cases[] = {
        {0, STOP_BITS_1, PARITY_NONE},
        {CSTOPB | PARODD, STOP_BITS_2, PARITY_NONE},
        {PARENB, STOP_BITS_1, PARITY_EVEN},
        {CSTOPB | PARENB | PARODD, STOP_BITS_2, PARITY_ODD},
    };
    for (const Case& row : cases) {
        termios settings{};
        settings.c_cflag = row.flags;
        EXPECT_EQ(SerialConfig_TermiosGetStopBits(&settings), row.stopBits);
        EXPECT_EQ(SerialConfig_TermiosGetParity(&settings), row.parity);
    }
}

TEST_F(SerialCodes, KeysAreKnownExactly) {
    EXPECT_EQ(serial_config_id("serialSpeed"), CONFIG_FILE_SERIAL_SPEED);
    EXPECT_EQ(serial_config_id("serialDataBits"), CONFIG_FILE_SERIAL_DATA_BITS);
    EXPECT_EQ(serial_config_id("serialStopBits"), CONFIG_FILE_SERIAL_STOP_BITS);
    EXPECT_EQ(serial_config_id("serialParity"), CONFIG_FILE_SERIAL_PARITY);
    for (const char* key : {"", "serial", "serialspeed", "serialSpeedX", "displayGraph"}) {
        EXPECT_EQ(serial_config_id(key), CONFIG_FILE_SERIAL_NONE) << key;
    }
}

TEST_F(SerialCodes, WidgetNamesAndLabelsStandInTheOrderOfTheCodes) {
    EXPECT_STREQ(data_bits_name[DATA_BITS_7], "data7");
    EXPECT_STREQ(data_bits_name[DATA_BITS_8], "data8");
    EXPECT_STREQ(stop_bits_name[STOP_BITS_1], "stop1");
    EXPECT_STREQ(stop_bits_name[STOP_BITS_2], "stop2");
}

} // namespace
