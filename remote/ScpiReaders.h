#ifndef REMOTE_SCPI_READERS_H
#define REMOTE_SCPI_READERS_H

#include "scpi/scpi.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

/// Readers of command parameters. A refused parameter leaves exactly one error in the queue; then
/// the result is empty, or SCPI_RES_ERR.

constexpr size_t scpiStringSize = 256; ///< no parameter is longer than the parser's input

/// A parameter's text in upper case, terminated.
using ScpiString = std::array<char, scpiStringSize>;

/// The optional channel number (1 when absent) as a channel index 0 or 1, which has a sensor. No
/// number: -220; other numbers: 101; no sensor: 102.
scpi_result_t SCPI_ReadChannelParameter(scpi_t* context, size_t* channel);

/// Refreshes the channels, and the working copy of a channel whose sensor has started. False when
/// there is no sensor.
bool SCPI_IsChannelValid(size_t channel);

/// The next parameter's text as it was sent, without its quotes; mandatory. A number to another
/// base (#H10) would lose its base and leaves the error `refusal`.
std::optional<std::string_view> ScpiReaders_raw(scpi_t* context, int16_t refusal);

/// The next parameter's text, cut at the first comma, blank, carriage return or line feed.
/// Missing: -109.
scpi_result_t SCPI_ReadStringParameter(scpi_t* context, ScpiString* text);

/// ON, OFF, or a number, which is rounded. No number: -220; negative: 103.
std::optional<bool> SCPI_ReadBooleanParameter(scpi_t* context);

/// PULS(E) as false, TRIG(GERED) as true; anything else -220.
std::optional<bool> SCPI_ReadGateModelParameter(scpi_t* context);

/// POS(ITIVE) as 1, NEG(ATIVE) as 0; anything else -220.
std::optional<uint8_t> SCPI_ReadSlopeParameter(scpi_t* context);

/// Seconds, watts, and the frequency's number with its factor. No number: -220. The units are
/// searched in an order in which only S, W, MW and HZ ever work (docs/compatibility.md:
/// time-suffix, level-suffix, frequency-suffix).
std::optional<float> SCPI_ReadTimeParameter(scpi_t* context);
std::optional<float> SCPI_ReadLevelParameter(scpi_t* context);
std::optional<float> SCPI_ReadFrequencyParameter(scpi_t* context);

/// Turns a text into upper case in place.
void convertScpiStringToUpperCase(char* text);

/// True for a finite decimal number followed by nothing but white space.
bool stringIsFloat(const char* text, double* value);

#endif
