/*
 * The parser: input, parameter readers, result writers, pattern matching.
 */
#ifndef SCPI_PARSER_H
#define SCPI_PARSER_H

#include "scpi/types.h"

#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Clears the whole context and stores what it is given; nothing is copied, so that all of it must
 * outlive the context. A line has room for input_buffer_length - 1 bytes with its terminator.
 * user_context and options are set behind this call.
 */
void SCPI_Init(scpi_t* context, const scpi_command_t* commands, scpi_interface_t* interface,
               const scpi_unit_def_t* units, const char* idn1, const char* idn2, const char* idn3,
               const char* idn4, char* input_buffer, size_t input_buffer_length,
               scpi_error_t* error_queue_data, int16_t error_queue_size);
#if USE_DEVICE_DEPENDENT_ERROR_INFORMATION && !USE_MEMORY_ALLOCATION_FREE
/* Gives the ring that error texts live in; behind SCPI_Init. */
void SCPI_InitHeap(scpi_t* context, char* error_info_heap, size_t error_info_heap_length);
#endif

/*
 * Takes received bytes in pieces of any size and runs each line as it becomes complete; len 0 runs
 * what is pending. Returns the result of the last line run, TRUE if none was. Bytes that do not
 * fit are dropped with all that is pending: -363, FALSE.
 */
scpi_bool_t SCPI_Input(scpi_t* context, const char* data, int len);

/*
 * Runs a complete line of len bytes; the text is written into, and the byte behind it must be
 * readable and end a number. FALSE if anything in it failed.
 */
scpi_bool_t SCPI_Parse(scpi_t* context, char* data, int len);

/* Result writers: a comma if it is not the first, the text; all return the bytes written. */
size_t SCPI_ResultCharacters(scpi_t* context, const char* data, size_t len);
#define SCPI_ResultMnemonic(context, data) SCPI_ResultCharacters((context), (data), strlen(data))
/* Bases 2, 8 and 16 with their prefix; any other base is 10. */
size_t SCPI_ResultUInt32Base(scpi_t* context, uint32_t val, int8_t base);
size_t SCPI_ResultInt32(scpi_t* context, int32_t val);
size_t SCPI_ResultUInt64Base(scpi_t* context, uint64_t val, int8_t base);
size_t SCPI_ResultInt64(scpi_t* context, int64_t val);
/* 6 significant digits. */
size_t SCPI_ResultFloat(scpi_t* context, float val);
/* 15 significant digits. */
size_t SCPI_ResultDouble(scpi_t* context, double val);
/* In double quotes, those inside doubled; data must not be NULL. */
size_t SCPI_ResultText(scpi_t* context, const char* data);
/* Code and quoted text of an error, at most 255 characters between the quotes. */
size_t SCPI_ResultError(scpi_t* context, scpi_error_t* error);
size_t SCPI_ResultArbitraryBlock(scpi_t* context, const void* data, size_t len);
/* Announces a block of len bytes (at most 999999999) that ...BlockData then sends in pieces. */
size_t SCPI_ResultArbitraryBlockHeader(scpi_t* context, size_t len);
size_t SCPI_ResultArbitraryBlockData(scpi_t* context, const void* data, size_t len);
size_t SCPI_ResultBool(scpi_t* context, scpi_bool_t val);

/* Arrays: comma separated for SCPI_FORMAT_ASCII, else one block in the given byte order. */
size_t SCPI_ResultArrayInt8(scpi_t* context, const int8_t* array, size_t count,
                            scpi_array_format_t format);
size_t SCPI_ResultArrayUInt8(scpi_t* context, const uint8_t* array, size_t count,
                             scpi_array_format_t format);
size_t SCPI_ResultArrayInt16(scpi_t* context, const int16_t* array, size_t count,
                             scpi_array_format_t format);
size_t SCPI_ResultArrayUInt16(scpi_t* context, const uint16_t* array, size_t count,
                              scpi_array_format_t format);
size_t SCPI_ResultArrayInt32(scpi_t* context, const int32_t* array, size_t count,
                             scpi_array_format_t format);
size_t SCPI_ResultArrayUInt32(scpi_t* context, const uint32_t* array, size_t count,
                              scpi_array_format_t format);
size_t SCPI_ResultArrayInt64(scpi_t* context, const int64_t* array, size_t count,
                             scpi_array_format_t format);
size_t SCPI_ResultArrayUInt64(scpi_t* context, const uint64_t* array, size_t count,
                              scpi_array_format_t format);
size_t SCPI_ResultArrayFloat(scpi_t* context, const float* array, size_t count,
                             scpi_array_format_t format);
size_t SCPI_ResultArrayDouble(scpi_t* context, const double* array, size_t count,
                              scpi_array_format_t format);

#define SCPI_ResultInt8(c, v) SCPI_ResultInt32((c), (int8_t)(v))
#define SCPI_ResultUInt8(c, v) SCPI_ResultUInt32Base((c), (uint8_t)(v), 10)
/* The base is narrowed to 8 bits, the value is not; programs rely on it. */
#define SCPI_ResultUInt8Base(c, v, b) SCPI_ResultUInt32Base((c), (v), (uint8_t)(b))
#define SCPI_ResultInt16(c, v) SCPI_ResultInt32((c), (int16_t)(v))
#define SCPI_ResultUInt16(c, v) SCPI_ResultUInt32Base((c), (uint16_t)(v), 10)
#define SCPI_ResultUInt16Base(c, v, b) SCPI_ResultUInt32Base((c), (uint16_t)(v), (b))
#define SCPI_ResultUInt32(c, v) SCPI_ResultUInt32Base((c), (v), 10)
#define SCPI_ResultUInt64(c, v) SCPI_ResultUInt64Base((c), (v), 10)

/*
 * Takes the next parameter. Absent and mandatory: -109; no comma: -103; unreadable: -151; all
 * return FALSE, as does an absent optional one, without an error.
 */
scpi_bool_t SCPI_Parameter(scpi_t* context, scpi_parameter_t* parameter, scpi_bool_t mandatory);
/* FALSE after an error; an optional parameter that is absent is valid. */
scpi_bool_t SCPI_ParamIsValid(scpi_parameter_t* parameter);
/* An error was pushed since the current command began. */
scpi_bool_t SCPI_ParamErrorOccurred(scpi_t* context);
scpi_bool_t SCPI_ParamIsNumber(scpi_parameter_t* parameter, scpi_bool_t suffixAllowed);

/*
 * Conversions of a token by the C library, which stops at the first byte that it cannot use.
 * FALSE without an error if the token is no number or has no digit to use.
 */
scpi_bool_t SCPI_ParamToInt32(scpi_t* context, scpi_parameter_t* parameter, int32_t* value);
scpi_bool_t SCPI_ParamToUInt32(scpi_t* context, scpi_parameter_t* parameter, uint32_t* value);
scpi_bool_t SCPI_ParamToInt64(scpi_t* context, scpi_parameter_t* parameter, int64_t* value);
scpi_bool_t SCPI_ParamToUInt64(scpi_t* context, scpi_parameter_t* parameter, uint64_t* value);
scpi_bool_t SCPI_ParamToFloat(scpi_t* context, scpi_parameter_t* parameter, float* value);
scpi_bool_t SCPI_ParamToDouble(scpi_t* context, scpi_parameter_t* parameter, double* value);
/* No keyword: -104; not in the options: -224. */
scpi_bool_t SCPI_ParamToChoice(scpi_t* context, scpi_parameter_t* parameter,
                               const scpi_choice_def_t* options, int32_t* value);
/* The name of a tag as the table spells it. */
scpi_bool_t SCPI_ChoiceToName(const scpi_choice_def_t* options, int32_t tag, const char** text);

/*
 * Readers of the next parameter. Absent and optional: FALSE, no error, nothing stored. Wrong kind:
 * -104; with a suffix: -138.
 */
scpi_bool_t SCPI_ParamInt32(scpi_t* context, int32_t* value, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamUInt32(scpi_t* context, uint32_t* value, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamInt64(scpi_t* context, int64_t* value, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamUInt64(scpi_t* context, uint64_t* value, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamFloat(scpi_t* context, float* value, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamDouble(scpi_t* context, double* value, scpi_bool_t mandatory);
/* Any parameter as text in the input buffer, without outer quotes or prefix; not terminated. */
scpi_bool_t SCPI_ParamCharacters(scpi_t* context, const char** value, size_t* len,
                                 scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamArbitraryBlock(scpi_t* context, const char** value, size_t* len,
                                     scpi_bool_t mandatory);
/* Quoted text with its doubled quotes made single, cut to the buffer and terminated. */
scpi_bool_t SCPI_ParamCopyText(scpi_t* context, char* buffer, size_t buffer_len, size_t* copy_len,
                               scpi_bool_t mandatory);
extern const scpi_choice_def_t scpi_bool_def[];
scpi_bool_t SCPI_ParamBool(scpi_t* context, scpi_bool_t* value, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamChoice(scpi_t* context, const scpi_choice_def_t* options, int32_t* value,
                             scpi_bool_t mandatory);

/* Up to i_count values; *o_count tells how many were read. Only SCPI_FORMAT_ASCII is readable. */
scpi_bool_t SCPI_ParamArrayInt32(scpi_t* context, int32_t* data, size_t i_count, size_t* o_count,
                                 scpi_array_format_t format, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamArrayUInt32(scpi_t* context, uint32_t* data, size_t i_count, size_t* o_count,
                                  scpi_array_format_t format, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamArrayInt64(scpi_t* context, int64_t* data, size_t i_count, size_t* o_count,
                                 scpi_array_format_t format, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamArrayUInt64(scpi_t* context, uint64_t* data, size_t i_count, size_t* o_count,
                                  scpi_array_format_t format, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamArrayFloat(scpi_t* context, float* data, size_t i_count, size_t* o_count,
                                 scpi_array_format_t format, scpi_bool_t mandatory);
scpi_bool_t SCPI_ParamArrayDouble(scpi_t* context, double* data, size_t i_count, size_t* o_count,
                                  scpi_array_format_t format, scpi_bool_t mandatory);

/* The text matches the pattern of the current or last command. */
scpi_bool_t SCPI_IsCmd(scpi_t* context, const char* cmd);
#if USE_COMMAND_TAGS
/* Tag of the current or last command, 0 before the first. */
int32_t SCPI_CmdTag(scpi_t* context);
#endif
/* A header of len bytes, or up to a NUL before, matches a pattern. */
scpi_bool_t SCPI_Match(const char* pattern, const char* value, size_t len);
/* The numbers received for each # of the current command's pattern, from the left. */
scpi_bool_t SCPI_CommandNumbers(scpi_t* context, int32_t* numbers, size_t len,
                                int32_t default_value);

#if USE_DEPRECATED_FUNCTIONS
#define SCPI_ResultIntBase(context, val, base) SCPI_ResultInt32Base((context), (val), (base), TRUE)
#define SCPI_ResultInt(context, val) SCPI_ResultInt32((context), (val))
#define SCPI_ParamToInt(context, parameter, value)                                                 \
    SCPI_ParamToInt32((context), (parameter), (value))
#define SCPI_ParamToUnsignedInt(context, parameter, value)                                         \
    SCPI_ParamToUInt32((context), (parameter), (value))
#define SCPI_ParamInt(context, value, mandatory) SCPI_ParamInt32((context), (value), (mandatory))
#define SCPI_ParamUnsignedInt(context, value, mandatory)                                           \
    SCPI_ParamUInt32((context), (value), (mandatory))
#endif

#ifdef __cplusplus
}
#endif

#endif
