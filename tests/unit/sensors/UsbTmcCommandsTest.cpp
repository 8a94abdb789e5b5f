#include "UsbTmcCommands.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(UsbTmcCommands, EveryRowStandsAtItsIdentifier) {
    for (size_t row = 0; row < sensor_cmd_param.size(); ++row) {
        EXPECT_EQ(sensor_cmd_param[row].command, row);
    }
    for (size_t row = 0; row < sensor_qry_param.size(); ++row) {
        EXPECT_EQ(sensor_qry_param[row].query, row);
    }
}

TEST(UsbTmcCommands, TextsAreUniqueAndFitTheirForty) {
    std::set<std::string> texts;
    for (const sensor_cmd_param_t& row : sensor_cmd_param) {
        EXPECT_TRUE(texts.insert(row.text).second) << row.text;
        EXPECT_LE(std::string(row.text).size(), 40U);
        EXPECT_EQ(std::string(row.text).find('?'), std::string::npos);
    }
    for (const sensor_qry_param_t& row : sensor_qry_param) {
        EXPECT_TRUE(texts.insert(row.text).second) << row.text;
        EXPECT_LE(std::string(row.text).size(), 40U);
        EXPECT_EQ(std::string(row.text).back(), '?');
    }
}

TEST(UsbTmcCommands, ASettingIsReadBackWithItsOwnQuestion) {
    for (const sensor_cmd_param_t& row : sensor_cmd_param) {
        if (row.readBack != Q_END) {
            EXPECT_EQ(sensor_qry_param[row.readBack].text, std::string(row.text) + "?");
        }
    }
}

TEST(UsbTmcCommands, OnlyFiveCommandsCannotBeReadBack) {
    std::set<std::string> texts;
    for (const sensor_cmd_param_t& row : sensor_cmd_param) {
        if (row.readBack == Q_END) {
            texts.insert(row.text);
        }
    }
    EXPECT_EQ(texts,
              (std::set<std::string>{"*RST", "*CLS", "INIT", "PNP:ITR", "PNP:FILE:BLOC:NUMB"}));
}

TEST(UsbTmcCommands, AReadBackHasItsCommandsTypeButForTheAutomaticTriggerLevel) {
    for (const sensor_cmd_param_t& row : sensor_cmd_param) {
        if (row.readBack == Q_END) {
            continue;
        }
        const sensor_reply_e reply = sensor_qry_param[row.readBack].reply;
        if (row.command == C_TRIGGER_LEVEL_AUTO) {
            EXPECT_EQ(row.argument, argument_text);
            EXPECT_EQ(reply, reply_integer);
        } else if (row.argument == argument_integer) {
            EXPECT_EQ(reply, reply_integer) << row.text;
        } else if (row.argument == argument_float) {
            EXPECT_EQ(reply, reply_float) << row.text;
        } else {
            EXPECT_EQ(reply, reply_text) << row.text;
        }
    }
}

TEST(UsbTmcCommands, CommandsKeepTheirNumbersAndTexts) {
    const char* texts[] = {
        "*RST",
        "*CLS",
        "INIT",
        "SENS:FREQ",
        "SENS:PER",
        "SENS:FREQ:AUTO",
        "SENS:PER:AUTO",
        "SENS:REFL:ENAB",
        "SENS:SWE:TIME",
        "SENS:SWE:TIME:AUTO",
        "CALC:STAT1:ENAB",
        "CALC:STAT2:ENAB",
        "CALC:STAT3:ENAB",
        "CALC:STAT4:ENAB",
        "CALC:STAT1:BEG:DEL",
        "CALC:STAT2:BEG:DEL",
        "CALC:STAT3:BEG:DEL",
        "CALC:STAT4:BEG:DEL",
        "CALC:STAT1:END:DEL",
        "CALC:STAT2:END:DEL",
        "CALC:STAT3:END:DEL",
        "CALC:STAT4:END:DEL",
        "CALC:GATE:BEG:DEL",
        "CALC:GATE:END:DEL",
        "PNP:ITR",
        "PNP:FILE:BLOC:NUMB",
        "TRIG:SOUR",
        "TRIG:SLOP",
        "TRIG:LEV:AUTO",
        "TRIG:LEV",
        "TRIG:DEL",
    };
    ASSERT_EQ(std::size(texts), static_cast<size_t>(C_END));
    for (size_t row = 0; row < std::size(texts); ++row) {
        EXPECT_STREQ(sensor_cmd_param[row].text, texts[row]);
    }
    EXPECT_STREQ(sensor_cmd_param[C_SENSE_RELFECT_EN].text, "SENS:REFL:ENAB");
}

TEST(UsbTmcCommands, QueriesKeepTheirNumbersAndTexts) {
    const char* texts[] = {
        "*STB?",
        "*OPC?",
        "SYST:IDEN:MOD?",
        "SYST:IDEN:SN?",
        "SYST:IDEN:FWR?",
        "SYST:ERR?",
        "SYST:ERR:COUN?",
        "SENS:FREQ?",
        "SENS:FREQ:AUTO?",
        "SENS:PER?",
        "SENS:PER:AUTO?",
        "SENS:REFL:ENAB?",
        "SENS:SWE:TIME?",
        "SENS:SWE:TIME:AUTO?",
        "STAT:QUES:COND?",
        "FETC:TEMP?",
        "FETC:DCYC?",
        "FETC:FREQ?",
        "FETC:GATE:COUN?",
        "FETC:GATE:MAX?",
        "FETC:GATE:MIN?",
        "FETC:GATE:MEAN?",
        "FETC:PER?",
        "FETC:PRF?",
        "FETC:WIDT?",
        "FETC:FORW:AVER?",
        "FETC:REFL:AVER?",
        "FETC:STAT1:MEAN?",
        "FETC:STAT2:MEAN?",
        "FETC:STAT3:MEAN?",
        "FETC:STAT4:MEAN?",
        "FETC:STAT1:MAX?",
        "FETC:STAT2:MAX?",
        "FETC:STAT3:MAX?",
        "FETC:STAT4:MAX?",
        "FETC:STAT1:MIN?",
        "FETC:STAT2:MIN?",
        "FETC:STAT3:MIN?",
        "FETC:STAT4:MIN?",
        "CALC:STAT1:ENAB?",
        "CALC:STAT2:ENAB?",
        "CALC:STAT3:ENAB?",
        "CALC:STAT4:ENAB?",
        "CALC:STAT1:BEG:DEL?",
        "CALC:STAT2:BEG:DEL?",
        "CALC:STAT3:BEG:DEL?",
        "CALC:STAT4:BEG:DEL?",
        "CALC:STAT1:END:DEL?",
        "CALC:STAT2:END:DEL?",
        "CALC:STAT3:END:DEL?",
        "CALC:STAT4:END:DEL?",
        "CALC:GATE:BEG:DEL?",
        "CALC:GATE:END:DEL?",
        "TRIG:SOUR?",
        "TRIG:SLOP?",
        "TRIG:LEV:AUTO?",
        "TRIG:LEV?",
        "TRIG:DEL?",
        "PNP:AVA?",
        "PNP:VERS?",
        "PNP:FILE:SIZE?",
        "PNP:FILE:BLOC:TOT?",
        "PNP:FILE:BLOC:DATA?",
        "PNP:FILE:BLOC:NUMB?",
    };
    ASSERT_EQ(std::size(texts), static_cast<size_t>(Q_END));
    for (size_t row = 0; row < std::size(texts); ++row) {
        EXPECT_STREQ(sensor_qry_param[row].text, texts[row]);
    }
    EXPECT_STREQ(sensor_qry_param[Q_SENSE_RELECTED_EN].text, "SENS:REFL:ENAB?");
}

TEST(UsbTmcCommands, RepliesAreTextsForTheseQueriesAndIntegersForThose) {
    const std::set<uint32_t> textQueries = {
        Q_SYSTEM_MODEL,  Q_SYSTEM_SERIAL_NUM, Q_SYSTEM_FIRMWARE_REV, Q_TRIGGER_SOURCE,
        Q_TRIGGER_SLOPE, Q_PNP_VERSION,       Q_PNP_FILE_BLOCK_DATA};
    const std::set<uint32_t> integerQueries = {0,  1,  5,  6,  8,  10, 11, 13, 14, 18,
                                               39, 40, 41, 42, 55, 58, 60, 61, 63};
    for (const sensor_qry_param_t& row : sensor_qry_param) {
        const sensor_reply_e expected = textQueries.count(row.query) != 0      ? reply_text
                                        : integerQueries.count(row.query) != 0 ? reply_integer
                                                                               : reply_float;
        EXPECT_EQ(row.reply, expected) << row.text;
    }
}

} // namespace
