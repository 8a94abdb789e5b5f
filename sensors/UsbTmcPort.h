#ifndef SENSORS_USB_TMC_PORT_H
#define SENSORS_USB_TMC_PORT_H

#include "UsbTmcCommands.h"

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

/// Commands and queries over the operating system's USB test-and-measurement device nodes. Every
/// function takes a descriptor that its calling thread owns, and a receive buffer of at least 65
/// bytes. Failures are returned, never logged.

constexpr const char* usbPort1Name = "/dev/usbtmc0";
constexpr const char* usbPort2Name = "/dev/usbtmc1";

/// Longest reply, without its terminator.
constexpr size_t usbTmcReplySize = 64;

struct cmd_type {
    int ival;
    float fval;
    char sval[64];
};
using qry_type = cmd_type;

/// Status of an exchange with error check.
enum enUSBTMCErrors : int {
    usbtmc_success = 0,
    usbtmc_transportError = 1, ///< nothing or no reply went through
    usbtmc_sensorError222 = 2, ///< the sensor reported "data out of range"
    usbtmc_sensorError = 3     ///< the sensor reported another error
};

/// Opens a device node for reading and writing; the channel is not used. Returns the descriptor or
/// -1.
int32_t UsbTmcPort_Open(int channel, const char* path);

/// Closes a descriptor above 0.
void UsbTmcPort_Close(int32_t fd);

/// Writes the text without its terminator. Returns write's result, -1 for a descriptor below 1.
ssize_t UsbTmcPort_Send(int32_t fd, const char* text);

/// One read of up to `length` bytes, which are terminated: the buffer holds one more. An error
/// clears the device. Returns read's result, -1 for a descriptor below 1.
ssize_t UsbTmcPort_Receive(int32_t fd, char* buffer, size_t length);

/// Forgets that a call of this thread found the sensor gone, and counts its silence from now.
void UsbTmcPort_forgetUnplugged();

/// True when a call of this thread has found the sensor gone since then: a transfer broken off, no
/// such device, or a broken pipe.
bool UsbTmcPort_wasUnplugged();

/// True when it is of no use to ask on: a call of this thread has found the sensor gone, or none
/// has had an answer for 30 s.
bool UsbTmcPort_isGivenUp();

/// Sends a query and parses the reply into the field of the query's type; the others are cleared,
/// and all of them when no reply arrives. Returns the count received, or the failing result.
ssize_t handleQuery(int32_t fd, char* buffer, sensor_qry_e query, qry_type* reply);

/// Sends a setting unless the sensor already has it; without a reply to the question for that,
/// nothing is sent. Clears the value once sent. Positive when the sensor has the setting.
ssize_t handleCmd(int32_t fd, char* buffer, sensor_cmd_e command, cmd_type* value);

/// The same exchanges, after which the sensor's error queue is drained.
enUSBTMCErrors handleQueryWithStatus(int32_t fd, char* buffer, sensor_qry_e query, qry_type* reply);
enUSBTMCErrors handleCmdWithStatus(int32_t fd, char* buffer, sensor_cmd_e command, cmd_type* value);

/// Drains the sensor's error queue, 256 errors at most, whatever answers are lost meanwhile.
/// Returns the last negative error code, the number of errors if none was negative, 0 for an empty
/// queue, or the result of a query that failed behind that code (-1 for the count's, which ends
/// it).
int clearSysErrCount(int32_t fd, char* buffer);

// A sensor that does not answer one of the questions below for 30 s is given up.

/// Asks at most `tries` times, 50 ms apart, whether the measurement is complete. 1 when it is, 0
/// when the tries are used up or the sensor is given up, negative when nothing could be sent or the
/// sensor has gone.
int waitOperationComplete(int32_t fd, char* buffer, int tries);

/// Triggers a measurement and waits for its end, at most 1200 tries. Result as above.
int handleInitCmd(int32_t fd, char* buffer);

/// Ask for the status byte or the questionable condition; up to 100 reads, 50 ms apart, and a new
/// question after each read that failed. The reply stays in the buffer. Return the last read's
/// result, or the failing send's.
ssize_t handleReadStatusByteQuery(int32_t fd, char* buffer);
ssize_t handleQuestionableEventQuery(int32_t fd, char* buffer);

/// Clears both endpoints and the device. Negative at the first failure; -1 for a descriptor
/// below 1.
int handleUsbTmcClear(int32_t fd);

#endif
