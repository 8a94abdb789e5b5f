#ifndef SENSORS_USB_PNP_FILE_H
#define SENSORS_USB_PNP_FILE_H

#include "SensorTypes.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <sys/types.h>

/// The plug-and-play file that a USB sensor carries: read in blocks, and searched for the sensor's
/// limits. Bounded whatever the sensor sends.

/// One block, without its terminator.
constexpr size_t pnpBlockSize = 1024;
constexpr size_t pnpFileSize = 24576;

/// Asks for the chosen block and reads it into a cleared buffer of pnpBlockSize + 1. Returns the
/// count, not positive on failure.
ssize_t getPnPBlock(int32_t fd, char* buffer);

/// The length in a block's header: behind the first '#' one digit that counts the digits of the
/// length. Below 1 when there is no such header.
int getBlockSize(const char* buffer);

/// Reads the whole file into `output`, terminated. `buffer` holds pnpBlockSize + 1 bytes. 0, or -1
/// on any failure and for a file that does not fit.
int openPnPFile(int32_t fd, char* buffer, std::span<char> output);

/// Limits of a parameter: the numbers between the first tags of these names behind the parameter's
/// name, before the element's end. A limit that is not there is NaN.
void getMaxMin(const char* file, const char* element, const char* parameter, float* max,
               float* min);

/// Reads the file and stores the sensor's ranges; those that it does not give take their defaults.
/// 0, or negative when the file cannot be read.
int getMinMaxParameters(int32_t fd, char* buffer, SENSOR_IDENTITY* identity);

#endif
