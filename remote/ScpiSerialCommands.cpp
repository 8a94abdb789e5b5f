// Settings of the serial command port: staged, then applied by a restart.
#include "Configuration.h"
#include "ScpiAnswers.h"
#include "ScpiCallback.h"
#include "ScpiErrors.h"
#include "ScpiLink.h"
#include "ScpiReaders.h"
#include "ScpiRecord.h"
#include "ScpiSerialTables.h"
#include "SerialPort.h"
#include "Threads.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>
#include <optional>
#include <string_view>

namespace {

constexpr tcflag_t parityMask = PARENB | PARODD;

struct Staged {
    TTY_CONFIG_S numbers;
    TTY_CONFIG_BITS_S bits;
};

template <typename Change> void changeStaged(Change change) {
    SCPI_S* record = scpi;
    const ScopedLock lock(record->lock);
    change(record->newTty, record->newTtyBits);
}

Staged takeStaged() {
    SCPI_S* record = scpi;
    const ScopedLock lock(record->lock);
    const Staged staged{record->newTty, record->newTtyBits};
    record->newTty = {};
    record->newTtyBits = {};
    return staged;
}

/// A mandatory number without its fraction; -1 for whatever is no number or none of the tables'.
scpi_result_t readWholeNumber(scpi_t* context, int32_t* value) {
    scpi_parameter_t parameter{};
    double number = 0;
    if (!SCPI_Parameter(context, &parameter, TRUE)) {
        return SCPI_RES_ERR;
    }
    *value = -1;
    if (SCPI_ParamIsNumber(&parameter, FALSE) && SCPI_ParamToDouble(context, &parameter, &number) &&
        number >= 0 && number < 1e6) {
        *value = static_cast<int32_t>(number);
    }
    return SCPI_RES_OK;
}

template <typename Item, size_t Count>
const Item* findValue(const Item (&table)[Count], int32_t value) {
    const Item* found = std::find_if(std::begin(table), std::end(table),
                                     [value](const Item& item) { return item.value == value; });
    return found == std::end(table) ? nullptr : found;
}

template <size_t Count>
const flag_item_t* findFlags(const flag_item_t (&table)[Count], tcflag_t flags) {
    const flag_item_t* found =
        std::find_if(std::begin(table), std::end(table),
                     [flags](const flag_item_t& item) { return item.flags == flags; });
    return found == std::end(table) ? nullptr : found;
}

/// Stages the number that the command gives; one that is not in the table clears what was staged.
template <typename Item, size_t Count, typename Bits>
scpi_result_t stage(scpi_t* context, const Item (&table)[Count], int32_t TTY_CONFIG_S::*number,
                    Bits TTY_CONFIG_BITS_S::*bits, Bits Item::*code) {
    int32_t value = 0;
    if (readWholeNumber(context, &value) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    const Item* item = findValue(table, value);
    changeStaged([&](TTY_CONFIG_S& numbers, TTY_CONFIG_BITS_S& flags) {
        numbers.*number = item == nullptr ? 0 : item->value;
        flags.*bits = item == nullptr ? 0 : item->*code;
    });
    return item == nullptr ? ScpiErrors_refuse(context, SCPI_ERROR_ILLEGAL_PARAMETER_VALUE)
                           : SCPI_RES_OK;
}

template <size_t Count>
scpi_result_t answerFlags(scpi_t* context, const flag_item_t (&table)[Count], tcflag_t mask) {
    termios settings{};
    if (SerialPort_GetConfig(&settings) != 0) {
        return SCPI_RES_ERR;
    }
    const flag_item_t* item = findFlags(table, settings.c_cflag & mask);
    return item == nullptr ? SCPI_RES_ERR : ScpiAnswers_integer(context, item->value);
}

scpi_result_t answerBaud(scpi_t* context) {
    termios settings{};
    if (SerialPort_GetConfig(&settings) != 0) {
        return SCPI_RES_ERR;
    }
    const speed_t speed = cfgetispeed(&settings);
    for (const baud_item_t& item : baud_table) {
        if (item.code == speed) {
            return ScpiAnswers_integer(context, item.value);
        }
    }
    return SCPI_RES_ERR;
}

scpi_result_t answerParity(scpi_t* context) {
    termios settings{};
    if (SerialPort_GetConfig(&settings) != 0) {
        return SCPI_RES_ERR;
    }
    // Without parity the odd flag means nothing.
    const tcflag_t flags = (settings.c_cflag & PARENB) == 0 ? 0 : settings.c_cflag & parityMask;
    for (const parity_flags_t& item : parity_table) {
        if (item.flags == flags) {
            return ScpiAnswers_text(context, item.label);
        }
    }
    return SCPI_RES_ERR;
}

/// Row whose label is the letter, 0 for none.
int32_t parityRow(char letter) {
    const char lower = static_cast<char>(tolower(static_cast<unsigned char>(letter)));
    for (size_t row = 1; row < std::size(parity_table); ++row) {
        if (parity_table[row].label[0] == lower) {
            return static_cast<int32_t>(row);
        }
    }
    return 0;
}

scpi_result_t stageParity(scpi_t* context) {
    const std::optional<std::string_view> text =
        ScpiReaders_raw(context, SCPI_ERROR_ILLEGAL_PARAMETER_VALUE);
    if (!text) {
        return SCPI_RES_ERR;
    }
    const int32_t row = text->empty() ? 0 : parityRow(text->front());
    if (row != 0) {
        changeStaged([row](TTY_CONFIG_S& numbers, TTY_CONFIG_BITS_S& bits) {
            numbers.parity = row;
            bits.parity = parity_table[row].flags;
        });
    }
    // A longer word is refused, though its first letter has been staged: remote programs rely
    // on what is then applied (docs/compatibility.md: parity-staged).
    return row == 0 || text->size() != 1
               ? ScpiErrors_refuse(context, SCPI_ERROR_ILLEGAL_PARAMETER_VALUE)
               : SCPI_RES_OK;
}

void replaceFlags(termios* settings, tcflag_t mask, tcflag_t flags) {
    settings->c_cflag = (settings->c_cflag & ~mask) | flags;
}

void putStaged(termios* settings, const Staged& staged) {
    if (staged.numbers.speed != 0) {
        cfsetispeed(settings, staged.bits.speed);
        cfsetospeed(settings, staged.bits.speed);
    }
    if (staged.numbers.size != 0) {
        replaceFlags(settings, CSIZE, staged.bits.size);
    }
    if (staged.numbers.stopb != 0) {
        replaceFlags(settings, CSTOPB, staged.bits.stopb);
    }
    if (staged.numbers.parity != 0) {
        replaceFlags(settings, parityMask, staged.bits.parity);
    }
}

scpi_result_t SCPI_SystemCommRs232Baud(scpi_t* context) {
    return ScpiLink_isQuery(context) ? answerBaud(context)
                                     : stage(context, baud_table, &TTY_CONFIG_S::speed,
                                             &TTY_CONFIG_BITS_S::speed, &baud_item_t::code);
}

scpi_result_t SCPI_SystemCommRs232Length(scpi_t* context) {
    return ScpiLink_isQuery(context) ? answerFlags(context, csize_table, CSIZE)
                                     : stage(context, csize_table, &TTY_CONFIG_S::size,
                                             &TTY_CONFIG_BITS_S::size, &flag_item_t::flags);
}

scpi_result_t SCPI_SystemCommRs232Stopbits(scpi_t* context) {
    return ScpiLink_isQuery(context) ? answerFlags(context, cstopb_table, CSTOPB)
                                     : stage(context, cstopb_table, &TTY_CONFIG_S::stopb,
                                             &TTY_CONFIG_BITS_S::stopb, &flag_item_t::flags);
}

scpi_result_t SCPI_SystemCommRs232Parity(scpi_t* context) {
    return ScpiLink_isQuery(context) ? answerParity(context) : stageParity(context);
}

scpi_result_t SCPI_SystemCommRs232Flowcontrol(scpi_t* context) {
    return ScpiAnswers_text(context, "none");
}

scpi_result_t SCPI_SystemCommRs232Restart(scpi_t* context) {
    (void)context;
    termios settings{};
    if (SerialPort_GetConfig(&settings) != 0) {
        return SCPI_RES_ERR;
    }
    putStaged(&settings, takeStaged());
    if (SerialPort_SetConfig(&settings) != 0) {
        return SCPI_RES_ERR;
    }
    writeConfigFile();
    return SCPI_RES_OK;
}

// clang-format off
constexpr scpi_command_t rows[] = {
    {"SYSTem:COMMunicate:RS232:BAUD?", SCPI_SystemCommRs232Baud, 0},
    {"SYSTem:COMMunicate:RS232:BAUD", SCPI_SystemCommRs232Baud, 0},
    {"SYSTem:COMMunicate:RS232:LENGTH?", SCPI_SystemCommRs232Length, 0},
    {"SYSTem:COMMunicate:RS232:LENGTH", SCPI_SystemCommRs232Length, 0},
    {"SYSTem:COMMunicate:RS232:STOPbits?", SCPI_SystemCommRs232Stopbits, 0},
    {"SYSTem:COMMunicate:RS232:STOPbits", SCPI_SystemCommRs232Stopbits, 0},
    {"SYSTem:COMMunicate:RS232:PARity?", SCPI_SystemCommRs232Parity, 0},
    {"SYSTem:COMMunicate:RS232:PARity", SCPI_SystemCommRs232Parity, 0},
    {"SYSTem:COMMunicate:RS232:FLOWcontrol?", SCPI_SystemCommRs232Flowcontrol, 0},
    {"SYSTem:COMMunicate:RS232:RESTart", SCPI_SystemCommRs232Restart, 0},
};
// clang-format on

} // namespace

constinit const std::span<const scpi_command_t> scpiSerialCommands = rows;
