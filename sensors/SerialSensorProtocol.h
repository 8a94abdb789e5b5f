#ifndef SENSORS_SERIAL_SENSOR_PROTOCOL_H
#define SENSORS_SERIAL_SENSOR_PROTOCOL_H

#include "SensorTypes.h"

#include <cstdint>

/// The byte protocol of the RS232 sensors: one-letter commands, fixed-length binary replies. The
/// functions keep no state; each buffer is the port's receive buffer of at least 64 bytes. None of
/// them returns early and none of them spins on a descriptor that is invalid or hung up.

/// Length of the reply to Identify, and the memory that holds the serial number.
constexpr uint32_t serialIdentitySize = 40;
constexpr uint8_t serialNumberAddress = 48;
constexpr uint32_t serialNumberCount = 9;

/// Discards what arrives. True once the line has been quiet for a second, false when bytes kept
/// coming for two. Takes 250 ms at least.
bool flushSensorBuffer(int fd, char* buffer);

/// Discards what follows a reply closely: within 20 ms, or within 250 ms from a sensor that has
/// left a command unanswered before. True once the line is quiet, false when bytes kept coming for
/// two seconds.
bool discardKeptAnswers(int fd, char* buffer, bool wasSilent);

/// Clears `length` bytes of the buffer and reads until they are full or the time is over. The read
/// that is under way then still has its second (serialReadTimeout_ms) for a reply to begin, and a
/// reply that has begun is read on while its bytes are less than 100 ms apart. Returns the count;
/// read errors add nothing.
int waitForSensorResponse(int fd, char* buffer, int length, uint32_t timeout_ms);

// The time limits of the commands are those of waitForSensorResponse.

/// Sync: true when the last byte received within 500 ms is 'S'.
bool handleCommandS(int fd, char* buffer);

/// Identify: true when exactly 40 bytes arrived within 1000 ms.
bool handleCommandI(int fd, char* buffer);

/// Reads `count` (at most 62) characters of the sensor's memory into the buffer, terminated; a
/// character whose second reply byte is not 0 is dropped. True when any address answered. Bytes
/// that were pending before stay in the buffer when no character is stored.
bool handleCommandZ(int fd, char* buffer, uint8_t firstAddress, uint32_t count);

/// A measurement: sends the command text; true when exactly 4 bytes arrived within 500 ms.
bool handleMeasCommand(int fd, char* buffer, const char* commandText);

/// The number in a 4-byte reply, most significant byte first.
float parseMeasurement(const char* buffer);

/// Decodes the 40-byte identity: model, firmware revision, supported commands, power limits (W).
/// Positions of the supported commands that hold a blank keep their previous content.
void parseIdentity(const char* buffer, SENSOR_IDENTITY* identity);

/// True when every one of the first `count` characters of `list` occurs in `str`.
bool strContainsList(const char* str, const char* list, uint32_t count);

/// True for the models without a serial number in their memory.
bool SerialSensorProtocol_hasNoSerialNumber(const char* model);

#endif
