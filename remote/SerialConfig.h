#ifndef REMOTE_SERIAL_CONFIG_H
#define REMOTE_SERIAL_CONFIG_H

#include <cstdint>
#include <cstdio>
#include <termios.h>

/// Speed, data bits, stop bits and parity of the serial command port: between its terminal
/// settings, codes, labels and the lines of the settings file.

enum data_bits_t : int8_t { DATA_BITS_7 = 0, DATA_BITS_8 = 1, DATA_BITS_LENGTH = 2 };
enum stop_bits_t : int8_t { STOP_BITS_1 = 0, STOP_BITS_2 = 1, STOP_BITS_LENGTH = 2 };
enum parity_t : int8_t { PARITY_NONE = 0, PARITY_ODD = 1, PARITY_EVEN = 2, PARITY_LENGTH = 3 };

struct speeds_item_t {
    speed_t speed; ///< a terminal speed code
    const char* label;
};
struct parity_item_t {
    parity_t parity;
    const char* label;
};

constexpr speeds_item_t speed_table[] = {{B300, "300"},   {B600, "600"},   {B1200, "1200"},
                                         {B2400, "2400"}, {B4800, "4800"}, {B9600, "9600"}};

constexpr const char* data_bits_label[DATA_BITS_LENGTH] = {"7", "8"};
constexpr const char* data_bits_name[DATA_BITS_LENGTH] = {"data7", "data8"}; ///< of the widgets
constexpr const char* stop_bits_label[STOP_BITS_LENGTH] = {"1", "2"};
constexpr const char* stop_bits_name[STOP_BITS_LENGTH] = {"stop1", "stop2"}; ///< of the widgets
constexpr const char* parity_label[PARITY_LENGTH] = {"NONE", "ODD", "EVEN"};

constexpr parity_item_t parity_table_config[PARITY_LENGTH] = {
    {PARITY_NONE, "NONE"}, {PARITY_ODD, "ODD"}, {PARITY_EVEN, "EVEN"}};

/// The settings file's keys, numbered in the order in which they are written.
enum config_file_label_id_t : int {
    CONFIG_FILE_SERIAL_NONE = -1, ///< not a serial key
    CONFIG_FILE_SERIAL_SPEED = 0,
    CONFIG_FILE_SERIAL_DATA_BITS = 1,
    CONFIG_FILE_SERIAL_STOP_BITS = 2,
    CONFIG_FILE_SERIAL_PARITY = 3,
    CONFIG_FILE_LABEL_ID_LENGTH = 4
};
constexpr const char* config_file_label[CONFIG_FILE_LABEL_ID_LENGTH] = {
    "serialSpeed", "serialDataBits", "serialStopBits", "serialParity"};

/// Terminal settings to codes and back. A size other than 7 or 8 reads as 7 bits; an unknown code
/// puts 7 bits, one stop bit, or leaves the parity alone. What is unsupported is logged.
speed_t SerialConfig_TermiosGetSpeed(const termios* settings);
void SerialConfig_TermiosPutSpeed(termios* settings, speed_t speed);
data_bits_t SerialConfig_TermiosGetDataBits(const termios* settings);
void SerialConfig_TermiosPutDataBits(termios* settings, data_bits_t dataBits);
stop_bits_t SerialConfig_TermiosGetStopBits(const termios* settings);
void SerialConfig_TermiosPutStopBits(termios* settings, stop_bits_t stopBits);
parity_t SerialConfig_TermiosGetParity(const termios* settings);
void SerialConfig_TermiosPutParity(termios* settings, parity_t parity);

/// Codes to labels and back. What is unknown is logged and becomes 2400 baud, 8 data bits, 2 stop
/// bits or no parity.
const char* SerialConfig_SpeedToLabel(speed_t speed);
speed_t SerialConfig_LabelToSpeed(const char* label);
const char* SerialConfig_DataBitsToLabel(data_bits_t dataBits);
data_bits_t SerialConfig_LabelToDataBits(const char* label);
const char* SerialConfig_StopBitsToLabel(stop_bits_t stopBits);
stop_bits_t SerialConfig_LabelToStopBits(const char* label);
const char* SerialConfig_ParityToLabel(parity_t parity);
parity_t SerialConfig_LabelToParity(const char* label);

/// Number of a settings-file key; CONFIG_FILE_SERIAL_NONE for any other text.
config_file_label_id_t serial_config_id(const char* key);

/// The port's terminal settings. While it cannot be read those that it will have when it comes: the
/// last that were set, or else the last that were read, or else 9600 baud 8N1. Waits for nothing.
/// Any thread.
termios SerialConfig_portSettings();

/// Lets the settings file carry the four lines. Main thread, before readConfigFile.
void SerialConfig_registerWithSettings();

/// Appends the four lines from SerialConfig_portSettings. Called by the settings writer with its
/// mutex held.
void SerialConfig_File_Write(FILE* file);

/// Takes the value behind the key `line`, as the next word of the line that strtok has begun, and
/// applies that one item to the port at once. False when there is no value; true without effect
/// for a key that is none of the four. Called by the settings reader with its mutex held.
bool SerialConfig_File_Read(const char* line);

#endif
