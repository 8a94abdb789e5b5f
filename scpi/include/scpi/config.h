/*
 * Build-time configuration. Every USE_ macro, SCPI_LINE_ENDING and SCPI_INDEX_SIZE may be
 * predefined on the command line or in the program's scpi_user_config.h, which is read when
 * SCPI_USER_CONFIG is defined. Library and program must be built with the same values.
 */
#ifndef SCPI_CONFIG_H
#define SCPI_CONFIG_H

#include "scpi/cc.h"

#ifdef SCPI_USER_CONFIG
#include "scpi_user_config.h"
#endif

#include <math.h>

#ifdef __cplusplus
extern "C" {
#endif

#define LINE_ENDING_CR "\r"
#define LINE_ENDING_LF "\n"
#define LINE_ENDING_CRLF "\r\n"

/* Written once behind the responses of a line. */
#ifndef SCPI_LINE_ENDING
#define SCPI_LINE_ENDING LINE_ENDING_CRLF
#endif

#define SYSTEM_BARE_METAL 0
#define SYSTEM_FULL_BLOWN 1

#if defined(_WIN32) || defined(_WIN64) || defined(__unix) || defined(__unix__) || defined(__APPLE__)
#define SYSTEM_TYPE SYSTEM_FULL_BLOWN
#else
#define SYSTEM_TYPE SYSTEM_BARE_METAL
#endif

/* 1: names and texts of all standard errors; 0: only of those that the library needs. */
#ifndef USE_FULL_ERROR_LIST
#define USE_FULL_ERROR_LIST SYSTEM_TYPE
#endif

/* 1: the program's LIST_OF_USER_ERRORS, rows X(name, code, "text"), joins the error list. */
#ifndef USE_USER_ERROR_LIST
#define USE_USER_ERROR_LIST 0
#endif

/* 1: an error may carry a text of its own behind the standard one. */
#ifndef USE_DEVICE_DEPENDENT_ERROR_INFORMATION
#define USE_DEVICE_DEPENDENT_ERROR_INFORMATION SYSTEM_TYPE
#endif

/* 1: error texts are allocated; 0: they live in the ring that SCPI_InitHeap is given. */
#ifndef USE_MEMORY_ALLOCATION_FREE
#if USE_DEVICE_DEPENDENT_ERROR_INFORMATION
#define USE_MEMORY_ALLOCATION_FREE 1
#else
#define USE_MEMORY_ALLOCATION_FREE 0
#endif
#endif

#ifndef USE_COMMAND_TAGS
#define USE_COMMAND_TAGS 1
#endif

#ifndef USE_DEPRECATED_FUNCTIONS
#define USE_DEPRECATED_FUNCTIONS 1
#endif

#ifndef USE_CUSTOM_REGISTERS
#define USE_CUSTOM_REGISTERS 0
#endif

#ifndef USE_CUSTOM_DTOSTRE
#define USE_CUSTOM_DTOSTRE 0
#endif

#ifndef USE_UNITS_IMPERIAL
#define USE_UNITS_IMPERIAL 0
#endif

#ifndef USE_UNITS_ANGLE
#define USE_UNITS_ANGLE SYSTEM_TYPE
#endif

#ifndef USE_UNITS_PARTICLES
#define USE_UNITS_PARTICLES SYSTEM_TYPE
#endif

#ifndef USE_UNITS_DISTANCE
#define USE_UNITS_DISTANCE SYSTEM_TYPE
#endif

#ifndef USE_UNITS_MAGNETIC
#define USE_UNITS_MAGNETIC SYSTEM_TYPE
#endif

#ifndef USE_UNITS_LIGHT
#define USE_UNITS_LIGHT SYSTEM_TYPE
#endif

#ifndef USE_UNITS_ENERGY_FORCE_MASS
#define USE_UNITS_ENERGY_FORCE_MASS SYSTEM_TYPE
#endif

#ifndef USE_UNITS_TIME
#define USE_UNITS_TIME SYSTEM_TYPE
#endif

#ifndef USE_UNITS_TEMPERATURE
#define USE_UNITS_TEMPERATURE SYSTEM_TYPE
#endif

#ifndef USE_UNITS_RATIO
#define USE_UNITS_RATIO SYSTEM_TYPE
#endif

#ifndef USE_UNITS_POWER
#define USE_UNITS_POWER 1
#endif

#ifndef USE_UNITS_FREQUENCY
#define USE_UNITS_FREQUENCY 1
#endif

#ifndef USE_UNITS_ELECTRIC
#define USE_UNITS_ELECTRIC 1
#endif

#ifndef USE_UNITS_ELECTRIC_CHARGE_CONDUCTANCE
#define USE_UNITS_ELECTRIC_CHARGE_CONDUCTANCE SYSTEM_TYPE
#endif

/*
 * Slots of each context's command index, a power of two; 0 leaves the index out. A table of n rows
 * without optional nodes takes n slots, each optional node doubles its row. Rows that do not fit
 * in three quarters of the slots are searched one by one behind the indexed ones.
 */
#ifndef SCPI_INDEX_SIZE
#define SCPI_INDEX_SIZE 1024
#endif

#if USE_DEVICE_DEPENDENT_ERROR_INFORMATION && USE_MEMORY_ALLOCATION_FREE
#include <stdlib.h>
#include <string.h>
#endif

#ifndef NAN
#define NAN (0.0 / 0.0)
#endif

#ifndef INFINITY
#define INFINITY (1.0 / 0.0)
#endif

#ifdef __cplusplus
}
#endif

#endif
