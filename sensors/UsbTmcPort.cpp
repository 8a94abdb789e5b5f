#include "UsbTmcPort.h"

#include "CSimpleTimer.h"
#include "Numbers.h"
#include "RetryInterrupted.h"
#include "ThreadWatch.h"
#include "Threads.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <linux/usb/tmc.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr uint32_t askAgain_ms = 50;
constexpr uint32_t afterTrigger_ms = 10;
constexpr int triggerTries = 1200;
constexpr int statusTries = 100;
/// A sensor that has not answered for so long is lost, however many tries are left.
constexpr uint32_t silenceLimit_ms = 30000;
constexpr int dataOutOfRange = -222;
/// No sensor keeps more errors than this, whatever count it claims.
constexpr int mostErrors = 256;

/// Longest command: its text, a blank, the digits of the largest float with six decimals.
constexpr size_t commandSize = 128;
using CommandText = std::array<char, commandSize>;

/// Like errno, of the calling thread's last transport calls.
thread_local bool isUnplugged = false;
thread_local uint32_t lastAnswer_ms = 0; ///< when an answer came, or was first waited for

/// Looks at what a call has come to. A transfer that the pulling of its sensor breaks off ends with
/// ESHUTDOWN, later ones with ENODEV; a halted endpoint, EPIPE, is freed by opening the device
/// anew.
ssize_t noteOutcome(ssize_t result) {
    ThreadWatch_beat(); // a step has many transfers, each of which may take the driver's limit
    if (result < 0 && (errno == EPIPE || errno == ENODEV || errno == ESHUTDOWN)) {
        isUnplugged = true;
    }
    return result;
}

int control(int32_t fd, unsigned long request) {
    return static_cast<int>(noteOutcome(retryInterrupted([&] { return ioctl(fd, request); })));
}

void parseReply(const char* text, sensor_reply_e type, qry_type* reply) {
    switch (type) {
    case reply_text:
        snprintf(reply->sval, sizeof reply->sval, "%s", text);
        break;
    case reply_integer:
        reply->ival = Numbers_toInt(text);
        break;
    case reply_float:
        reply->fval = Numbers_toFloat(text, nullptr);
        break;
    }
}

/// The command's line; false for an argument of no known type.
bool composeCommand(const sensor_cmd_param_t& command, const cmd_type& value, CommandText* line) {
    const ScopedNumberLocale numbers;
    switch (command.argument) {
    case argument_none:
        snprintf(line->data(), line->size(), "%s\n", command.text);
        return true;
    case argument_integer:
        snprintf(line->data(), line->size(), "%s %d\n", command.text, value.ival);
        return true;
    case argument_float:
        snprintf(line->data(), line->size(), "%s %f\n", command.text,
                 static_cast<double>(value.fval));
        return true;
    case argument_text:
        snprintf(line->data(), line->size(), "%s %s\n", command.text, value.sval);
        return true;
    }
    return false;
}

/// The field of the command's own type decides: a text command whose read-back is a number is equal
/// while its text is empty, so that the sensors are never sent an automatic trigger level
/// (docs/compatibility.md: auto-level-not-sent).
bool isSame(sensor_argument_e type, const cmd_type& wanted, const qry_type& present) {
    switch (type) {
    case argument_integer:
        return wanted.ival == present.ival;
    case argument_float:
        return wanted.fval == present.fval;
    case argument_text:
        return strcmp(wanted.sval, present.sval) == 0;
    case argument_none:
        break;
    }
    return false;
}

enUSBTMCErrors statusOf(int32_t fd, char* buffer, ssize_t result) {
    if (result <= 0) {
        return usbtmc_transportError;
    }
    const int error = clearSysErrCount(fd, buffer);
    if (error == dataOutOfRange) {
        return usbtmc_sensorError222;
    }
    return error < 0 ? usbtmc_sensorError : usbtmc_success;
}

/// True when it is of no use to ask on: the sensor has gone, or has been silent since `since_ms`
/// for too long.
bool isGivenUp(uint32_t since_ms) {
    return isUnplugged || getTime_ms() - since_ms >= silenceLimit_ms;
}

/// Asks and reads until an answer is there, the tries are used up or the sensor is given up. It is
/// asked anew after a read that failed: the clear that followed has thrown the answer away.
ssize_t askPatiently(int32_t fd, char* buffer, const char* question) {
    const uint32_t begun_ms = getTime_ms();
    ssize_t result = -1;
    for (int count = 0; count < statusTries; ++count) {
        if (result < 0) {
            result = UsbTmcPort_Send(fd, question);
            if (result <= 0) {
                return result;
            }
        }
        result = UsbTmcPort_Receive(fd, buffer, usbTmcReplySize);
        if (result > 0 || isGivenUp(begun_ms)) {
            break;
        }
        Thread_sleep_ms(askAgain_ms);
    }
    return result;
}

} // namespace

int32_t UsbTmcPort_Open(int /*channel*/, const char* path) {
    return retryInterrupted([&] { return open(path, O_RDWR | O_CLOEXEC); });
}

void UsbTmcPort_Close(int32_t fd) {
    if (fd > 0) {
        close(fd);
    }
}

ssize_t UsbTmcPort_Send(int32_t fd, const char* text) {
    if (fd < 1) {
        return -1;
    }
    return noteOutcome(retryInterrupted([&] { return write(fd, text, strlen(text)); }));
}

ssize_t UsbTmcPort_Receive(int32_t fd, char* buffer, size_t length) {
    if (fd < 1) {
        return -1;
    }
    const ssize_t count = noteOutcome(retryInterrupted([&] { return read(fd, buffer, length); }));
    if (count < 0) {
        const int error = errno;
        control(fd, USBTMC_IOCTL_CLEAR);
        errno = error;
        return count;
    }
    buffer[count] = '\0';
    if (count > 0) {
        lastAnswer_ms = getTime_ms();
    }
    return count;
}

void UsbTmcPort_forgetUnplugged() {
    isUnplugged = false;
    lastAnswer_ms = getTime_ms();
}

bool UsbTmcPort_wasUnplugged() {
    return isUnplugged;
}

bool UsbTmcPort_isGivenUp() {
    return isGivenUp(lastAnswer_ms);
}

ssize_t handleQuery(int32_t fd, char* buffer, sensor_qry_e query, qry_type* reply) {
    *reply = {};
    const sensor_qry_param_t& row = sensor_qry_param[query];
    CommandText line;
    snprintf(line.data(), line.size(), "%s\n", row.text);
    const ssize_t sent = UsbTmcPort_Send(fd, line.data());
    if (sent < 0) {
        return sent;
    }
    const ssize_t count = UsbTmcPort_Receive(fd, buffer, usbTmcReplySize);
    if (count > 0) {
        parseReply(buffer, row.reply, reply);
    }
    return count;
}

ssize_t handleCmd(int32_t fd, char* buffer, sensor_cmd_e command, cmd_type* value) {
    const sensor_cmd_param_t& row = sensor_cmd_param[command];
    CommandText line;
    if (!composeCommand(row, *value, &line)) {
        return -1;
    }
    if (row.readBack != Q_END) {
        qry_type present;
        const ssize_t count = handleQuery(fd, buffer, row.readBack, &present);
        if (count <= 0 || isSame(row.argument, *value, present)) {
            return count;
        }
    }
    const ssize_t sent = UsbTmcPort_Send(fd, line.data());
    *value = {};
    return sent;
}

enUSBTMCErrors handleQueryWithStatus(int32_t fd, char* buffer, sensor_qry_e query,
                                     qry_type* reply) {
    return statusOf(fd, buffer, handleQuery(fd, buffer, query, reply));
}

enUSBTMCErrors handleCmdWithStatus(int32_t fd, char* buffer, sensor_cmd_e command,
                                   cmd_type* value) {
    return statusOf(fd, buffer, handleCmd(fd, buffer, command, value));
}

int clearSysErrCount(int32_t fd, char* buffer) {
    qry_type reply;
    if (handleQuery(fd, buffer, Q_SYSTEM_ERROR_COUNT, &reply) <= 0) {
        return -1;
    }
    int result = reply.ival;
    const int count = std::min(reply.ival, mostErrors);
    uint32_t heard_ms = getTime_ms();
    for (int index = 0; index < count && !isGivenUp(heard_ms); ++index) {
        const ssize_t received = handleQuery(fd, buffer, Q_SYSTEM_ERROR, &reply);
        if (received <= 0) {
            result = static_cast<int>(received); // the errors behind the lost one remain
            continue;
        }
        heard_ms = getTime_ms();
        if (reply.ival < 0) {
            result = reply.ival;
        }
    }
    return result;
}

int waitOperationComplete(int32_t fd, char* buffer, int tries) {
    bool isComplete = false;
    uint32_t heard_ms = getTime_ms();
    for (int count = 0; !isComplete;) {
        const ssize_t sent = UsbTmcPort_Send(fd, "*OPC?\n");
        if (sent < 0) {
            return static_cast<int>(sent);
        }
        const ssize_t received = UsbTmcPort_Receive(fd, buffer, usbTmcReplySize);
        if (isUnplugged) {
            return -1;
        }
        // A sensor that answers 0 is busy; only one that answers nothing is given up early.
        heard_ms = received > 0 ? getTime_ms() : heard_ms;
        isComplete = received > 0 && strcmp(buffer, "1\n") == 0;
        // The last try is a time-out even if it brought the answer: a sensor that took so long is
        // reset (docs/compatibility.md: last-try-lost).
        if (++count >= tries || isGivenUp(heard_ms)) {
            return 0;
        }
        Thread_sleep_ms(askAgain_ms);
    }
    return 1;
}

int handleInitCmd(int32_t fd, char* buffer) {
    const ssize_t sent = UsbTmcPort_Send(fd, "INIT\n");
    Thread_sleep_ms(afterTrigger_ms);
    return sent != 0 ? waitOperationComplete(fd, buffer, triggerTries) : 0;
}

ssize_t handleReadStatusByteQuery(int32_t fd, char* buffer) {
    return askPatiently(fd, buffer, "*STB?\n");
}

ssize_t handleQuestionableEventQuery(int32_t fd, char* buffer) {
    return askPatiently(fd, buffer, "STAT:QUES:COND?\n");
}

int handleUsbTmcClear(int32_t fd) {
    if (fd < 1) {
        return -1;
    }
    int result = 0;
    for (const unsigned long request :
         {USBTMC_IOCTL_CLEAR_OUT_HALT, USBTMC_IOCTL_CLEAR_IN_HALT, USBTMC_IOCTL_CLEAR}) {
        result = control(fd, request);
        if (result < 0) {
            break;
        }
    }
    return result;
}
