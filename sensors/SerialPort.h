#ifndef SENSORS_SERIAL_PORT_H
#define SENSORS_SERIAL_PORT_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <termios.h>

/// Terminal devices in two levels. The serial_* and tty_* functions work on a descriptor that the
/// caller owns; each sensor port has one. The SerialPort_* functions share one descriptor, that of
/// the remote-control port.
///
/// Nothing is retried but interrupted calls: a failure is logged with its errno, and the raw result
/// is handed back.

constexpr const char* serialPort1Name = "/dev/ttyS1";
constexpr const char* serialPort2Name = "/dev/ttyS2";
constexpr const char* serialCommandPortName = "/dev/ttyS4";

/// How long a read of a sensor's port waits for a byte; the sensor protocol rests on it.
constexpr uint32_t serialReadTimeout_ms = 1000;

/// Opens read-write, blocking, close-on-exec and not as controlling terminal. Returns the
/// descriptor or -1.
int32_t serial_open(const char* path);

/// serial_open, then tty_set_attributes, which is tried (and logs its failures) even on -1.
int32_t serial_open_forsensor(const char* path);

/// Reads one byte. After an error or at the end of the device's life it is 0.
uint8_t serial_getc(int32_t fd);

/// One read of up to `length` bytes. Adds no terminator. Returns the count, 0 on a time-out or
/// hang-up, or -1.
int32_t serial_gets(int32_t fd, char* buffer, size_t length);

/// Writes the text's bytes in one write, nothing appended. Returns the count or -1; an empty text
/// writes nothing and gives 0.
int32_t serial_puts(int32_t fd, const char* text);

int32_t serial_close(int32_t fd);

/// Raw mode in which each read blocks until a byte arrives. Pending input is discarded. Size and
/// parity become 8 bits without parity; the speed stays.
void tty_set_raw(int32_t fd);

/// 9600 baud 8N1 for a sensor port: a read returns with the first bytes, or with 0 after 1.0 s.
/// Pending input is discarded.
void tty_set_attributes(int32_t fd);

/// Opens the remote-control port in raw mode. Speed, character size, stop bits and parity are those
/// of the last SerialPort_SetConfig, once there was one, whatever raw mode and the driver make of
/// them; other threads see the descriptor only when it is set up. An open descriptor is
/// overwritten, so callers close first. Returns the descriptor or -1.
int32_t SerialPort_Open(const char* path);

/// Opens a port anew whose device has gone, with the same settings as SerialPort_Open. An open
/// descriptor keeps its number, so that a reply that is just being written never meets another
/// device. False while the device is missing, which is not logged, or cannot be opened.
bool SerialPort_Reopen(const char* path);

uint8_t SerialPort_getc();
int32_t SerialPort_gets(char* buffer, size_t length);
int32_t SerialPort_puts(const char* text);

/// Discards what is queued in both directions.
void SerialPort_flush();

/// Where the descriptor stands, -1 while the port is closed. Other threads change it at any time.
const std::atomic<int32_t>* SerialPort_getfd();

/// Reads the port's terminal settings. Returns 0, or the failing result.
int32_t SerialPort_GetConfig(termios* settings);

/// Applies terminal settings; pending input is discarded, and what is queued for sending is waited
/// for. They are remembered for SerialPort_Open even where they could not be applied, so that a
/// missing port takes them when it comes. Returns 0, or the failing result.
int32_t SerialPort_SetConfig(const termios* settings);

/// The settings that are remembered: of them the port has size, stop bits, parity and speed, or
/// will have them when it comes. False when none were set yet. Waits for nothing.
bool SerialPort_GetRemembered(termios* settings);

/// Closes the port. The descriptor becomes -1, so that no late call meets another device that has
/// been given the same number.
int32_t SerialPort_Close();

#endif
