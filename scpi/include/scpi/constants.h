/*
 * Constants of the SCPI standard.
 */
#ifndef SCPI_CONSTANTS_H
#define SCPI_CONSTANTS_H

#ifdef __cplusplus
extern "C" {
#endif

/* Answer of SYSTem:VERSion?: the year and revision of the standard. */
#define SCPI_STD_VERSION_REVISION "1999.0"

/* Longest text between the quotes of an error answer; a doubled quote counts two. */
#define SCPI_STD_ERROR_DESC_MAX_STRING_LENGTH 255

#ifdef __cplusplus
}
#endif

#endif
