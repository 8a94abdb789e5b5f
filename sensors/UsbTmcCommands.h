#ifndef SENSORS_USB_TMC_COMMANDS_H
#define SENSORS_USB_TMC_COMMANDS_H

#include <array>
#include <cstdint>

/// What a USB sensor understands: its commands and queries, as two tables that are indexed by their
/// identifiers.

/// Frequencies go over the wire in megahertz.
constexpr float hzPerMHz = 1e6F;

enum sensor_qry_e : uint32_t {
    Q_COMMON_STB = 0,
    Q_OPERATION_COMPLETE = 1,
    Q_SYSTEM_MODEL = 2,
    Q_SYSTEM_SERIAL_NUM = 3,
    Q_SYSTEM_FIRMWARE_REV = 4,
    Q_SYSTEM_ERROR = 5,
    Q_SYSTEM_ERROR_COUNT = 6,
    Q_SENSE_FREQUENCY = 7,
    Q_SENSE_FREQUENCY_AUTO = 8,
    Q_SENSE_PERIOD = 9,
    Q_SENSE_PERIOD_AUTO = 10,
    Q_SENSE_RELECTED_EN = 11,
    Q_SENSE_SWE_TIME = 12,
    Q_SENSE_SWE_TIME_AUTO = 13,
    Q_STATUS_QUESTIONABLE = 14,
    Q_FETCH_TEMPERATURE = 15,
    Q_FETCH_DUTY_CYCLE = 16,
    Q_FETCH_FREQUENCY = 17,
    Q_FETCH_GATE_COUNT = 18,
    Q_FETCH_GATE_MAX = 19,
    Q_FETCH_GATE_MIN = 20,
    Q_FETCH_GATE_MEAN = 21,
    Q_FETCH_PERIOD = 22,
    Q_FETCH_PRF = 23,
    Q_FETCH_WIDTH = 24,
    Q_FETCH_FORWARD_AVERAGE = 25,
    Q_FETCH_REFLECTED_AVERAGE = 26,
    Q_FETCH_STATE1_MEAN = 27,
    Q_FETCH_STATE2_MEAN = 28,
    Q_FETCH_STATE3_MEAN = 29,
    Q_FETCH_STATE4_MEAN = 30,
    Q_FETCH_STATE1_MAX = 31,
    Q_FETCH_STATE2_MAX = 32,
    Q_FETCH_STATE3_MAX = 33,
    Q_FETCH_STATE4_MAX = 34,
    Q_FETCH_STATE1_MIN = 35,
    Q_FETCH_STATE2_MIN = 36,
    Q_FETCH_STATE3_MIN = 37,
    Q_FETCH_STATE4_MIN = 38,
    Q_CALCULATE_STATE1_EN = 39,
    Q_CALCULATE_STATE2_EN = 40,
    Q_CALCULATE_STATE3_EN = 41,
    Q_CALCULATE_STATE4_EN = 42,
    Q_CALCULATE_STATE1_BEGIN = 43,
    Q_CALCULATE_STATE2_BEGIN = 44,
    Q_CALCULATE_STATE3_BEGIN = 45,
    Q_CALCULATE_STATE4_BEGIN = 46,
    Q_CALCULATE_STATE1_END = 47,
    Q_CALCULATE_STATE2_END = 48,
    Q_CALCULATE_STATE3_END = 49,
    Q_CALCULATE_STATE4_END = 50,
    Q_CALC_GATE_BEGIN_DELAY = 51,
    Q_CALC_GATE_END_DELAY = 52,
    Q_TRIGGER_SOURCE = 53,
    Q_TRIGGER_SLOPE = 54,
    Q_TRIGGER_LEVEL_AUTO = 55,
    Q_TRIGGER_LEVEL = 56,
    Q_TRIGGER_DELAY = 57,
    Q_PNP_AVAILABLE = 58,
    Q_PNP_VERSION = 59,
    Q_PNP_FILE_SIZE = 60,
    Q_PNP_FILE_BLOCK_TOTAL = 61,
    Q_PNP_FILE_BLOCK_DATA = 62,
    Q_PNP_FILE_BLOCK_NUMBER = 63,
    Q_END = 64 ///< ends the list; in the command table, a command that cannot be read back
};

enum sensor_cmd_e : uint32_t {
    C_COMMON_RST = 0,
    C_COMMON_CLS = 1,
    C_TRIGGER_INIT = 2,
    C_SENSE_FREQ = 3,
    C_SENSE_PER = 4,
    C_SENSE_FREQ_AUTO = 5,
    C_SENSE_PER_AUTO = 6,
    C_SENSE_RELFECT_EN = 7,
    C_SENSE_SWE_TIME = 8,
    C_SENSE_SWE_TIME_AUTO = 9,
    C_CALCULATE_STATE1_EN = 10,
    C_CALCULATE_STATE2_EN = 11,
    C_CALCULATE_STATE3_EN = 12,
    C_CALCULATE_STATE4_EN = 13,
    C_CALCULATE_STATE1_BEGIN = 14,
    C_CALCULATE_STATE2_BEGIN = 15,
    C_CALCULATE_STATE3_BEGIN = 16,
    C_CALCULATE_STATE4_BEGIN = 17,
    C_CALCULATE_STATE1_END = 18,
    C_CALCULATE_STATE2_END = 19,
    C_CALCULATE_STATE3_END = 20,
    C_CALCULATE_STATE4_END = 21,
    C_CALC_GATE_BEGIN_DELAY = 22,
    C_CALC_GATE_END_DELAY = 23,
    C_PNP_INITIATE_TRANSFER = 24,
    C_PNP_FILE_BLOCK_NUMBER = 25,
    C_TRIGGER_SOURCE = 26,
    C_TRIGGER_SLOPE = 27,
    C_TRIGGER_LEVEL_AUTO = 28,
    C_TRIGGER_LEVEL = 29,
    C_TRIGGER_DELAY = 30,
    C_END = 31
};

enum sensor_argument_e : uint32_t {
    argument_none = 0,
    argument_integer = 1,
    argument_float = 2,
    argument_text = 3
};

enum sensor_reply_e : uint32_t { reply_text = 0, reply_integer = 1, reply_float = 2 };

struct sensor_cmd_param_t {
    sensor_cmd_e command;
    const char* text;
    sensor_argument_e argument;
    sensor_qry_e readBack;
};

struct sensor_qry_param_t {
    sensor_qry_e query;
    const char* text;
    sensor_reply_e reply;
};

inline constexpr std::array<sensor_cmd_param_t, C_END> sensor_cmd_param = {{
    {C_COMMON_RST, "*RST", argument_none, Q_END},
    {C_COMMON_CLS, "*CLS", argument_none, Q_END},
    {C_TRIGGER_INIT, "INIT", argument_none, Q_END},
    {C_SENSE_FREQ, "SENS:FREQ", argument_float, Q_SENSE_FREQUENCY},
    {C_SENSE_PER, "SENS:PER", argument_float, Q_SENSE_PERIOD},
    {C_SENSE_FREQ_AUTO, "SENS:FREQ:AUTO", argument_integer, Q_SENSE_FREQUENCY_AUTO},
    {C_SENSE_PER_AUTO, "SENS:PER:AUTO", argument_integer, Q_SENSE_PERIOD_AUTO},
    {C_SENSE_RELFECT_EN, "SENS:REFL:ENAB", argument_integer, Q_SENSE_RELECTED_EN},
    {C_SENSE_SWE_TIME, "SENS:SWE:TIME", argument_float, Q_SENSE_SWE_TIME},
    {C_SENSE_SWE_TIME_AUTO, "SENS:SWE:TIME:AUTO", argument_integer, Q_SENSE_SWE_TIME_AUTO},
    {C_CALCULATE_STATE1_EN, "CALC:STAT1:ENAB", argument_integer, Q_CALCULATE_STATE1_EN},
    {C_CALCULATE_STATE2_EN, "CALC:STAT2:ENAB", argument_integer, Q_CALCULATE_STATE2_EN},
    {C_CALCULATE_STATE3_EN, "CALC:STAT3:ENAB", argument_integer, Q_CALCULATE_STATE3_EN},
    {C_CALCULATE_STATE4_EN, "CALC:STAT4:ENAB", argument_integer, Q_CALCULATE_STATE4_EN},
    {C_CALCULATE_STATE1_BEGIN, "CALC:STAT1:BEG:DEL", argument_float, Q_CALCULATE_STATE1_BEGIN},
    {C_CALCULATE_STATE2_BEGIN, "CALC:STAT2:BEG:DEL", argument_float, Q_CALCULATE_STATE2_BEGIN},
    {C_CALCULATE_STATE3_BEGIN, "CALC:STAT3:BEG:DEL", argument_float, Q_CALCULATE_STATE3_BEGIN},
    {C_CALCULATE_STATE4_BEGIN, "CALC:STAT4:BEG:DEL", argument_float, Q_CALCULATE_STATE4_BEGIN},
    {C_CALCULATE_STATE1_END, "CALC:STAT1:END:DEL", argument_float, Q_CALCULATE_STATE1_END},
    {C_CALCULATE_STATE2_END, "CALC:STAT2:END:DEL", argument_float, Q_CALCULATE_STATE2_END},
    {C_CALCULATE_STATE3_END, "CALC:STAT3:END:DEL", argument_float, Q_CALCULATE_STATE3_END},
    {C_CALCULATE_STATE4_END, "CALC:STAT4:END:DEL", argument_float, Q_CALCULATE_STATE4_END},
    {C_CALC_GATE_BEGIN_DELAY, "CALC:GATE:BEG:DEL", argument_float, Q_CALC_GATE_BEGIN_DELAY},
    {C_CALC_GATE_END_DELAY, "CALC:GATE:END:DEL", argument_float, Q_CALC_GATE_END_DELAY},
    {C_PNP_INITIATE_TRANSFER, "PNP:ITR", argument_none, Q_END},
    {C_PNP_FILE_BLOCK_NUMBER, "PNP:FILE:BLOC:NUMB", argument_integer, Q_END},
    {C_TRIGGER_SOURCE, "TRIG:SOUR", argument_text, Q_TRIGGER_SOURCE},
    {C_TRIGGER_SLOPE, "TRIG:SLOP", argument_text, Q_TRIGGER_SLOPE},
    {C_TRIGGER_LEVEL_AUTO, "TRIG:LEV:AUTO", argument_text, Q_TRIGGER_LEVEL_AUTO},
    {C_TRIGGER_LEVEL, "TRIG:LEV", argument_float, Q_TRIGGER_LEVEL},
    {C_TRIGGER_DELAY, "TRIG:DEL", argument_float, Q_TRIGGER_DELAY},
}};

inline constexpr std::array<sensor_qry_param_t, Q_END> sensor_qry_param = {{
    {Q_COMMON_STB, "*STB?", reply_integer},
    {Q_OPERATION_COMPLETE, "*OPC?", reply_integer},
    {Q_SYSTEM_MODEL, "SYST:IDEN:MOD?", reply_text},
    {Q_SYSTEM_SERIAL_NUM, "SYST:IDEN:SN?", reply_text},
    {Q_SYSTEM_FIRMWARE_REV, "SYST:IDEN:FWR?", reply_text},
    {Q_SYSTEM_ERROR, "SYST:ERR?", reply_integer},
    {Q_SYSTEM_ERROR_COUNT, "SYST:ERR:COUN?", reply_integer},
    {Q_SENSE_FREQUENCY, "SENS:FREQ?", reply_float},
    {Q_SENSE_FREQUENCY_AUTO, "SENS:FREQ:AUTO?", reply_integer},
    {Q_SENSE_PERIOD, "SENS:PER?", reply_float},
    {Q_SENSE_PERIOD_AUTO, "SENS:PER:AUTO?", reply_integer},
    {Q_SENSE_RELECTED_EN, "SENS:REFL:ENAB?", reply_integer},
    {Q_SENSE_SWE_TIME, "SENS:SWE:TIME?", reply_float},
    {Q_SENSE_SWE_TIME_AUTO, "SENS:SWE:TIME:AUTO?", reply_integer},
    {Q_STATUS_QUESTIONABLE, "STAT:QUES:COND?", reply_integer},
    {Q_FETCH_TEMPERATURE, "FETC:TEMP?", reply_float},
    {Q_FETCH_DUTY_CYCLE, "FETC:DCYC?", reply_float},
    {Q_FETCH_FREQUENCY, "FETC:FREQ?", reply_float},
    {Q_FETCH_GATE_COUNT, "FETC:GATE:COUN?", reply_integer},
    {Q_FETCH_GATE_MAX, "FETC:GATE:MAX?", reply_float},
    {Q_FETCH_GATE_MIN, "FETC:GATE:MIN?", reply_float},
    {Q_FETCH_GATE_MEAN, "FETC:GATE:MEAN?", reply_float},
    {Q_FETCH_PERIOD, "FETC:PER?", reply_float},
    {Q_FETCH_PRF, "FETC:PRF?", reply_float},
    {Q_FETCH_WIDTH, "FETC:WIDT?", reply_float},
    {Q_FETCH_FORWARD_AVERAGE, "FETC:FORW:AVER?", reply_float},
    {Q_FETCH_REFLECTED_AVERAGE, "FETC:REFL:AVER?", reply_float},
    {Q_FETCH_STATE1_MEAN, "FETC:STAT1:MEAN?", reply_float},
    {Q_FETCH_STATE2_MEAN, "FETC:STAT2:MEAN?", reply_float},
    {Q_FETCH_STATE3_MEAN, "FETC:STAT3:MEAN?", reply_float},
    {Q_FETCH_STATE4_MEAN, "FETC:STAT4:MEAN?", reply_float},
    {Q_FETCH_STATE1_MAX, "FETC:STAT1:MAX?", reply_float},
    {Q_FETCH_STATE2_MAX, "FETC:STAT2:MAX?", reply_float},
    {Q_FETCH_STATE3_MAX, "FETC:STAT3:MAX?", reply_float},
    {Q_FETCH_STATE4_MAX, "FETC:STAT4:MAX?", reply_float},
    {Q_FETCH_STATE1_MIN, "FETC:STAT1:MIN?", reply_float},
    {Q_FETCH_STATE2_MIN, "FETC:STAT2:MIN?", reply_float},
    {Q_FETCH_STATE3_MIN, "FETC:STAT3:MIN?", reply_float},
    {Q_FETCH_STATE4_MIN, "FETC:STAT4:MIN?", reply_float},
    {Q_CALCULATE_STATE1_EN, "CALC:STAT1:ENAB?", reply_integer},
    {Q_CALCULATE_STATE2_EN, "CALC:STAT2:ENAB?", reply_integer},
    {Q_CALCULATE_STATE3_EN, "CALC:STAT3:ENAB?", reply_integer},
    {Q_CALCULATE_STATE4_EN, "CALC:STAT4:ENAB?", reply_integer},
    {Q_CALCULATE_STATE1_BEGIN, "CALC:STAT1:BEG:DEL?", reply_float},
    {Q_CALCULATE_STATE2_BEGIN, "CALC:STAT2:BEG:DEL?", reply_float},
    {Q_CALCULATE_STATE3_BEGIN, "CALC:STAT3:BEG:DEL?", reply_float},
    {Q_CALCULATE_STATE4_BEGIN, "CALC:STAT4:BEG:DEL?", reply_float},
    {Q_CALCULATE_STATE1_END, "CALC:STAT1:END:DEL?", reply_float},
    {Q_CALCULATE_STATE2_END, "CALC:STAT2:END:DEL?", reply_float},
    {Q_CALCULATE_STATE3_END, "CALC:STAT3:END:DEL?", reply_float},
    {Q_CALCULATE_STATE4_END, "CALC:STAT4:END:DEL?", reply_float},
    {Q_CALC_GATE_BEGIN_DELAY, "CALC:GATE:BEG:DEL?", reply_float},
    {Q_CALC_GATE_END_DELAY, "CALC:GATE:END:DEL?", reply_float},
    {Q_TRIGGER_SOURCE, "TRIG:SOUR?", reply_text},
    {Q_TRIGGER_SLOPE, "TRIG:SLOP?", reply_text},
    {Q_TRIGGER_LEVEL_AUTO, "TRIG:LEV:AUTO?", reply_integer},
    {Q_TRIGGER_LEVEL, "TRIG:LEV?", reply_float},
    {Q_TRIGGER_DELAY, "TRIG:DEL?", reply_float},
    {Q_PNP_AVAILABLE, "PNP:AVA?", reply_integer},
    {Q_PNP_VERSION, "PNP:VERS?", reply_text},
    {Q_PNP_FILE_SIZE, "PNP:FILE:SIZE?", reply_integer},
    {Q_PNP_FILE_BLOCK_TOTAL, "PNP:FILE:BLOC:TOT?", reply_integer},
    {Q_PNP_FILE_BLOCK_DATA, "PNP:FILE:BLOC:DATA?", reply_text},
    {Q_PNP_FILE_BLOCK_NUMBER, "PNP:FILE:BLOC:NUMB?", reply_integer},
}};

/// The command or query of one of the four measurement states (0 to 3), given that of the first.
constexpr sensor_cmd_e UsbTmcCommands_commandOfState(sensor_cmd_e first, uint32_t state) {
    return static_cast<sensor_cmd_e>(first + state);
}
constexpr sensor_qry_e UsbTmcCommands_queryOfState(sensor_qry_e first, uint32_t state) {
    return static_cast<sensor_qry_e>(first + state);
}

#endif
