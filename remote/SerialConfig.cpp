#include "SerialConfig.h"

#include "Configuration.h"
#include "SerialPort.h"
#include "Threads.h"
#include "message.h"

#include <cstring>
#include <span>

namespace {

constexpr speed_t fallbackSpeed = B2400;
constexpr const char* fallbackSpeedLabel = "2400";
constexpr const char* wordSeparators = " \n\r";

/// The four settings of the port.
struct PortSettings {
    speed_t speed;
    data_bits_t dataBits;
    stop_bits_t stopBits;
    parity_t parity;
};

/// As they were when the port could be read last. Guarded by the mutex, which is innermost.
PortSettings lastRead{B9600, DATA_BITS_8, STOP_BITS_1, PARITY_NONE};
pthread_mutex_t lastReadMutex = PTHREAD_MUTEX_INITIALIZER;

PortSettings takeFrom(const termios& settings) {
    return {SerialConfig_TermiosGetSpeed(&settings), SerialConfig_TermiosGetDataBits(&settings),
            SerialConfig_TermiosGetStopBits(&settings), SerialConfig_TermiosGetParity(&settings)};
}

void putInto(termios& settings, const PortSettings& port) {
    SerialConfig_TermiosPutSpeed(&settings, port.speed);
    SerialConfig_TermiosPutDataBits(&settings, port.dataBits);
    SerialConfig_TermiosPutStopBits(&settings, port.stopBits);
    SerialConfig_TermiosPutParity(&settings, port.parity);
}

/// What is offered for a port that was never there.
termios presetSettings() {
    termios settings{};
    cfmakeraw(&settings);
    settings.c_cflag |= CREAD | CLOCAL;
    settings.c_cc[VMIN] = 1;
    const ScopedLock lock(lastReadMutex);
    putInto(settings, lastRead);
    return settings;
}

/// The label of a code, or that of the fallback for a code outside the table.
template <typename Code>
const char* labelOf(std::span<const char* const> labels, Code code, Code fallback) {
    if (code < 0 || static_cast<size_t>(code) >= labels.size()) {
        DIAGNOSTIC("Unsupported %d", code);
        return labels[static_cast<size_t>(fallback)];
    }
    return labels[static_cast<size_t>(code)];
}

template <typename Code>
Code codeOf(std::span<const char* const> labels, const char* label, Code fallback) {
    for (size_t code = 0; code < labels.size(); ++code) {
        if (strcmp(labels[code], label) == 0) {
            return static_cast<Code>(code);
        }
    }
    DIAGNOSTIC("Unsupported '%s'", label);
    return fallback;
}

void put_config_file_value(FILE* file, config_file_label_id_t id, const char* label) {
    fprintf(file, "%s %s\n", config_file_label[id], label);
}

void putItem(termios& settings, config_file_label_id_t id, const char* label) {
    switch (id) {
    case CONFIG_FILE_SERIAL_SPEED:
        SerialConfig_TermiosPutSpeed(&settings, SerialConfig_LabelToSpeed(label));
        break;
    case CONFIG_FILE_SERIAL_DATA_BITS:
        SerialConfig_TermiosPutDataBits(&settings, SerialConfig_LabelToDataBits(label));
        break;
    case CONFIG_FILE_SERIAL_STOP_BITS:
        SerialConfig_TermiosPutStopBits(&settings, SerialConfig_LabelToStopBits(label));
        break;
    case CONFIG_FILE_SERIAL_PARITY:
        SerialConfig_TermiosPutParity(&settings, SerialConfig_LabelToParity(label));
        break;
    case CONFIG_FILE_SERIAL_NONE:
    case CONFIG_FILE_LABEL_ID_LENGTH:
        break;
    }
}

} // namespace

speed_t SerialConfig_TermiosGetSpeed(const termios* settings) {
    const speed_t inputSpeed = cfgetispeed(settings);
    const speed_t outputSpeed = cfgetospeed(settings);
    if (inputSpeed != outputSpeed) {
        DIAGNOSTIC("ispeed (%d) <> ospeed (%d)", static_cast<int>(inputSpeed),
                   static_cast<int>(outputSpeed));
    }
    return inputSpeed;
}

void SerialConfig_TermiosPutSpeed(termios* settings, speed_t speed) {
    cfsetispeed(settings, speed);
    cfsetospeed(settings, speed);
}

data_bits_t SerialConfig_TermiosGetDataBits(const termios* settings) {
    switch (settings->c_cflag & CSIZE) {
    case CS7:
        return DATA_BITS_7;
    case CS8:
        return DATA_BITS_8;
    default:
        DIAGNOSTIC("Unsupported (c_cflag = %04x)", settings->c_cflag);
        return DATA_BITS_7;
    }
}

void SerialConfig_TermiosPutDataBits(termios* settings, data_bits_t dataBits) {
    if (dataBits != DATA_BITS_7 && dataBits != DATA_BITS_8) {
        DIAGNOSTIC("Unsupported %d", dataBits);
    }
    settings->c_cflag &= ~static_cast<tcflag_t>(CSIZE);
    settings->c_cflag |= static_cast<tcflag_t>(dataBits == DATA_BITS_8 ? CS8 : CS7);
}

stop_bits_t SerialConfig_TermiosGetStopBits(const termios* settings) {
    return (settings->c_cflag & CSTOPB) != 0 ? STOP_BITS_2 : STOP_BITS_1;
}

void SerialConfig_TermiosPutStopBits(termios* settings, stop_bits_t stopBits) {
    settings->c_cflag &= ~static_cast<tcflag_t>(CSTOPB);
    if (stopBits == STOP_BITS_2) {
        settings->c_cflag |= CSTOPB;
    }
}

parity_t SerialConfig_TermiosGetParity(const termios* settings) {
    if ((settings->c_cflag & PARENB) == 0) {
        return PARITY_NONE;
    }
    return (settings->c_cflag & PARODD) != 0 ? PARITY_ODD : PARITY_EVEN;
}

void SerialConfig_TermiosPutParity(termios* settings, parity_t parity) {
    switch (parity) {
    case PARITY_NONE:
        settings->c_cflag &= ~static_cast<tcflag_t>(PARENB); // the odd flag stays as it was
        break;
    case PARITY_ODD:
        settings->c_cflag |= PARENB | PARODD;
        break;
    case PARITY_EVEN:
        settings->c_cflag |= PARENB;
        settings->c_cflag &= ~static_cast<tcflag_t>(PARODD);
        break;
    default:
        DIAGNOSTIC("Unsupported %d", parity);
        break;
    }
}

const char* SerialConfig_SpeedToLabel(speed_t speed) {
    for (const speeds_item_t& item : speed_table) {
        if (item.speed == speed) {
            return item.label;
        }
    }
    DIAGNOSTIC("Unsupported %d", static_cast<int>(speed));
    return fallbackSpeedLabel;
}

speed_t SerialConfig_LabelToSpeed(const char* label) {
    for (const speeds_item_t& item : speed_table) {
        if (strcmp(item.label, label) == 0) {
            return item.speed;
        }
    }
    DIAGNOSTIC("Unsupported '%s'", label);
    return fallbackSpeed;
}

const char* SerialConfig_DataBitsToLabel(data_bits_t dataBits) {
    return labelOf(data_bits_label, dataBits, DATA_BITS_8);
}

data_bits_t SerialConfig_LabelToDataBits(const char* label) {
    return codeOf(data_bits_label, label, DATA_BITS_8);
}

const char* SerialConfig_StopBitsToLabel(stop_bits_t stopBits) {
    return labelOf(stop_bits_label, stopBits, STOP_BITS_2);
}

stop_bits_t SerialConfig_LabelToStopBits(const char* label) {
    // Two: saved files with an unknown label mean this (docs/compatibility.md:
    // unknown-stop-bits-2).
    return codeOf(stop_bits_label, label, STOP_BITS_2);
}

const char* SerialConfig_ParityToLabel(parity_t parity) {
    return labelOf(parity_label, parity, PARITY_NONE);
}

parity_t SerialConfig_LabelToParity(const char* label) {
    return codeOf(parity_label, label, PARITY_NONE);
}

config_file_label_id_t serial_config_id(const char* key) {
    for (int id = 0; id < CONFIG_FILE_LABEL_ID_LENGTH; ++id) {
        if (strcmp(config_file_label[id], key) == 0) {
            return static_cast<config_file_label_id_t>(id);
        }
    }
    return CONFIG_FILE_SERIAL_NONE;
}

void SerialConfig_registerWithSettings() {
    configuration_registerSerialLines({SerialConfig_File_Write, SerialConfig_File_Read});
}

termios SerialConfig_portSettings() {
    termios settings{};
    if (SerialPort_GetConfig(&settings) == 0) {
        const PortSettings read = takeFrom(settings);
        const ScopedLock lock(lastReadMutex);
        lastRead = read;
    } else if (!SerialPort_GetRemembered(&settings)) {
        settings = presetSettings();
    }
    return settings;
}

void SerialConfig_File_Write(FILE* file) {
    const PortSettings port = takeFrom(SerialConfig_portSettings());
    put_config_file_value(file, CONFIG_FILE_SERIAL_SPEED, SerialConfig_SpeedToLabel(port.speed));
    put_config_file_value(file, CONFIG_FILE_SERIAL_DATA_BITS,
                          SerialConfig_DataBitsToLabel(port.dataBits));
    put_config_file_value(file, CONFIG_FILE_SERIAL_STOP_BITS,
                          SerialConfig_StopBitsToLabel(port.stopBits));
    put_config_file_value(file, CONFIG_FILE_SERIAL_PARITY, SerialConfig_ParityToLabel(port.parity));
}

bool SerialConfig_File_Read(const char* line) {
    const char* value = strtok(nullptr, wordSeparators);
    if (value == nullptr) {
        return false;
    }
    const config_file_label_id_t id = serial_config_id(line);
    if (id == CONFIG_FILE_SERIAL_NONE) {
        return true;
    }
    termios settings = SerialConfig_portSettings();
    putItem(settings, id, value);
    SerialPort_SetConfig(&settings); // a missing port takes the settings when it is opened
    return true;
}
